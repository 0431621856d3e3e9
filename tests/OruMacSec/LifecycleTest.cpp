// How the two state machines come and go: which inputs they follow from construction on, what
// switching notifications off and on and the zombie flag do, and the contracts a host must keep.
// (The restart scenario traces the order of a start-up step by step.)
#include <gmock/gmock.h>

#include "support/HostTest.h"
#include "support/IndexHost.h"

namespace {

using OruMacSec::IndexFapSm;
using testsupport::chip;
using testsupport::fap;
using testsupport::intf;
using testsupport::TestIndexSm;
using testsupport::TestPolicy;

class LifecycleTest : public testsupport::HostTest {
 protected:
  std::size_t followers(Nubis::Node const& input) const {
    return input.publisher()->subscriberCount();
  }
};

TEST_F(LifecycleTest, IndexSmFollowsFapsFromConstructionUntilSwitchedOffOrZombie) {
  host.addFap(1);
  // Built, never switched on: the constructor's own subscription serves a FAP that arrives.
  host.agent = Nubis::Ptr<TestIndexSm>(new TestIndexSm(host.faps, host.status, host.macsec));
  host.addFap(2);
  EXPECT_TRUE(host.fapSm(2));
  EXPECT_FALSE(host.fapSm(1)) << "present before: waits for handleInitialized";
  host.agent->handleInitialized();
  EXPECT_TRUE(host.fapSm(1));
  host.agent->hasNotificationActiveIs(true);
  EXPECT_EQ(followers(*host.faps), 1u) << "switching on follows once";

  host.agent->hasNotificationActiveIs(false);
  EXPECT_EQ(followers(*host.faps), 0u);
  EXPECT_EQ(followers(*host.macsec), 0u) << "passed on to every FAP";
  EXPECT_FALSE(host.fapSm(1)->hasNotificationActive());
  host.addFap(3);
  EXPECT_FALSE(host.fapSm(3));

  host.agent->hasNotificationActiveIs(true);
  EXPECT_TRUE(host.fapSm(2)->hasNotificationActive());
  EXPECT_EQ(followers(*host.macsec), 2u);
  host.addFap(4);
  EXPECT_TRUE(host.fapSm(4)) << "followed again";

  host.agent->vokDoZombieReactors(true);
  host.addFap(5);
  host.agent->vokDoZombieReactors(false);
  host.addFap(6);
  EXPECT_FALSE(host.fapSm(5)) << "a zombie handles nothing, and nothing is replayed";
  EXPECT_TRUE(host.fapSm(6));

  // Never switched on, destroyed: its subscription goes with it.
  host.stop();
  host.agent = Nubis::Ptr<TestIndexSm>(new TestIndexSm(host.faps, host.status, host.macsec));
  host.stop();
  EXPECT_EQ(followers(*host.faps), 0u);
  Nubis::Ptr<TestIndexSm> detached(new TestIndexSm(nullptr, nullptr, nullptr));
  detached->hasNotificationActiveIs(true);
  detached->hasNotificationActiveIs(false);
  EXPECT_FALSE(detached->hasNotificationActive()) << "null inputs are never followed";
}

TEST_F(LifecycleTest, IndexFapSmFollowsItsInputsFromConstructionAndDuringItsSweep) {
  auto const set =
      host.addFap(1, {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet5", "Ethernet6"});
  for (auto const* name : {"Ethernet2", "Ethernet3", "Ethernet4", "Ethernet5", "Ethernet6"}) {
    host.macsecOn(name);
  }
  auto config = chip(1, 255, 255);
  // Another agent's changes landing while the sweep is at Ethernet3: behind it, MACsec on
  // Ethernet1 and Ethernet2 leaving (only notifications can tell); ahead of it, Ethernet5 leaving
  // and Ethernet4 joining (the walk sees both).
  config.onEngineAsked = [this, set, done = false](Portix::IntfId asked) mutable {
    if (asked == intf("Ethernet3") && !done) {
      done = true;
      host.macsecOn("Ethernet1");
      set->intfIdDel(intf("Ethernet2"));
      set->intfIdDel(intf("Ethernet5"));
      set->intfIdIs(intf("Ethernet4"));
    }
  };
  auto const status = host.status->indexFapStatusIs(fap(1), 1, 255, 255);
  Nubis::Ptr<TestPolicy> const policy(new TestPolicy(fap(1), config));
  Nubis::Ptr<IndexFapSm> machine(new IndexFapSm(fap(1), set, host.macsec, status, policy));
  for (auto const* name : {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4", "Ethernet5"}) {
    EXPECT_EQ(bool(host.esec(1, name)),
              name != std::string("Ethernet2") && name != std::string("Ethernet5"))
        << name;
  }
  host.macsecOn("Ethernet1.1");
  EXPECT_TRUE(host.esec(1, "Ethernet1.1")) << "never switched on, it follows all the same";
  machine = nullptr;
  EXPECT_EQ(followers(*set) + followers(*host.macsec), 0u) << "destroyed: follows nothing";
}

TEST_F(LifecycleTest, IndexFapSmHearsOnlyItsAttributesWhileSwitchedOnAndNotZombie) {
  host.addFap(1, {"Ethernet1", "Ethernet2"});
  host.start();
  auto const machine = host.fapSm(1);
  machine->hasNotificationActiveIs(false);
  host.macsecOn("Ethernet1");
  host.macsecOn("Ethernet3");
  host.addIntf(1, "Ethernet3");
  EXPECT_FALSE(host.esec(1, "Ethernet1") || host.esec(1, "Ethernet3")) << "switched off";
  machine->hasNotificationActiveIs(true);
  machine->vokDoZombieReactors(true);
  host.delIntf(1, "Ethernet3");
  host.addIntf(1, "Ethernet3");
  EXPECT_FALSE(host.esec(1, "Ethernet3")) << "zombie";
  machine->vokDoZombieReactors(false);
  host.macsecOn("Ethernet2");
  host.macsecOn("Ethernet4");
  host.addIntf(1, "Ethernet4");
  EXPECT_TRUE(host.esec(1, "Ethernet2") && host.esec(1, "Ethernet4")) << "both inputs followed";
  EXPECT_FALSE(host.esec(1, "Ethernet1")) << "missed notifications are not replayed";

  host.macsec->publisher()->notify(Macsec::Status::kCpStatusAttr + 1,
                                   Nubis::Key::of(intf("Ethernet1")));
  EXPECT_FALSE(host.esec(1, "Ethernet1")) << "another attribute of the MACsec status";
  host.macsec->publisher()->notify(Macsec::Status::kCpStatusAttr,
                                   Nubis::Key::of(intf("Ethernet1")));
  EXPECT_TRUE(host.esec(1, "Ethernet1"));
}

TEST_F(LifecycleTest, BrokenHostContractsStopTheProcess) {
  host.addFap(1);
  host.start();
  auto const machine = host.fapSm(1);
  EXPECT_DEATH(machine->reserveDisabledIndexes(3), "engineInstanceResources");
  EXPECT_DEATH(machine->updateAllSubIntfIndexes(intf("Ethernet1.1")), "isSubIntfId");
  for (auto const& [drop, expression] : std::vector<std::pair<
           Nubis::Ptr<OruMacSec::TableResources> (OruMacSec::EngineResources::*)(), char const*>>{
           {&OruMacSec::EngineResources::esecScIndexDel, "esecScIndex\\(\\)"},
           {&OruMacSec::EngineResources::isecSpIndexDel, "isecSpIndex\\(\\)"},
           {&OruMacSec::EngineResources::msSubportNumDel, "msSubportNum\\(\\)"}}) {
    EXPECT_DEATH(
        {
          ((*host.engine(1, 0)).*drop)();
          machine->reserveDisabledIndexes(0);
        },
        expression);
  }
  // A chip layer that makes a new policy object on every call, for a FAP already served.
  EXPECT_DEATH(
      {
        struct Fickle : TestIndexSm {
          using TestIndexSm::TestIndexSm;
          Nubis::Ptr<OruMacSec::IndexHelper> getIndexHelper(LogicalFap::LogicalFapId id) override {
            return Nubis::Ptr<OruMacSec::IndexHelper>(new TestPolicy(id, {}));
          }
        };
        Nubis::Ptr<Fickle> sm(new Fickle(host.faps, host.status, host.macsec));
        sm->handleInitialized();
        host.faps->publisher()->notify(LogicalFap::LogicalFapOrderedCol::kLogicalFapAttr,
                                       Nubis::Key::of(fap(1)));
      },
      "cannot reinstantiate IndexFapSm: attribute indexHelper");
  EXPECT_THAT(
      [&] { host.agent->indexFapSmIs(fap(1), nullptr, nullptr, nullptr, nullptr); },
      testing::ThrowsMessage<Vok::MutatorReinstantiatingError>(testing::HasSubstr("intfIdCol")));
  EXPECT_EQ(host.agent->indexFapSmIs(fap(1), machine->intfIdCol(), machine->macsecStatus(),
                                     machine->indexFapStatus(), machine->indexHelper()),
            machine);
  // Published status with an egress record whose partner is missing, which the start-up cleanup
  // removes before any rebuild.
  host.fapStatus(1)->esecIndexInfoIs(testsupport::esecRecord("Ethernet1", 1, 0));
  EXPECT_DEATH(machine->initializeBookkeeping(),
               "indexFapStatus\\(\\)->isecIndexInfoHas\\( iter.key\\(\\) \\)");
  // A host whose chip layer has no policy for a FAP present.
  EXPECT_DEATH(
      {
        struct NoPolicy : TestIndexSm {
          using TestIndexSm::TestIndexSm;
          Nubis::Ptr<OruMacSec::IndexHelper> getIndexHelper(LogicalFap::LogicalFapId) override {
            return nullptr;
          }
        };
        Nubis::Ptr<NoPolicy> sm(new NoPolicy(host.faps, host.status, host.macsec));
        sm->handleInitialized();
      },
      "getIndexHelper gives a chip policy for every FAP present");
}

}  // namespace
