#include "OruMacSec/IndexSm.h"

#include <gtest/gtest.h>

#include "support/IndexHost.h"

namespace {

using testsupport::fap;
using testsupport::IndexHost;
using testsupport::intf;

class IndexSmTest : public ::testing::Test {
 protected:
  void SetUp() override { baseline_ = Nubis::Node::liveCount(); }
  void TearDown() override {
    host_ = IndexHost();
    EXPECT_EQ(Nubis::Node::liveCount(), baseline_) << "an entity leaked";
  }

  IndexHost host_;
  std::int64_t baseline_ = 0;
};

TEST_F(IndexSmTest, AFapAddedGetsItsPublishedStatusAndStateMachine) {
  host_.configs[1] = testsupport::chip(2, 255, 511);
  host_.start();
  host_.addFap(1, {"Ethernet1", "Ethernet2", "Ethernet3"});

  auto const status = host_.fapStatus(1);
  ASSERT_TRUE(status);
  EXPECT_EQ(status->logicalFapId(), fap(1));
  EXPECT_EQ(status->numEngineInstances(), 2);
  EXPECT_EQ(status->esecDisabledIndex(), 511);
  EXPECT_EQ(status->isecDisabledIndex(), 255);
  auto const machine = host_.fapSm(1);
  ASSERT_TRUE(machine);
  EXPECT_TRUE(machine->hasNotificationActive());
  EXPECT_EQ(machine->indexFapStatus(), status) << "it writes to the entry the root holds";
  EXPECT_EQ(machine->intfIdCol(), host_.faps->logicalFap(fap(1)));
  EXPECT_EQ(machine->indexHelper(), host_.sm->policies[1]);
  EXPECT_EQ(machine->logicalFapId(), fap(1));
}

TEST_F(IndexSmTest, ASecondNotificationForAServedFapChangesNothing) {
  host_.start();
  host_.addFap(1, {"Ethernet1"});
  host_.macsecOn("Ethernet1");
  auto const machine = host_.fapSm(1);
  auto const status = host_.fapStatus(1);
  auto const record = host_.esec(1, "Ethernet1");
  ASSERT_TRUE(record);

  host_.sm->handleLogicalFapId(fap(1));
  host_.sm->handleLogicalFapId();
  EXPECT_EQ(host_.fapSm(1), machine) << "no state machine is rebuilt";
  EXPECT_EQ(host_.fapStatus(1), status);
  EXPECT_EQ(host_.esec(1, "Ethernet1"), record);
  EXPECT_EQ(host_.fapStatus(1)->esecIndexInfoSize(), 1u);
}

// Watches the published root while a FAP goes away, to see what IndexSm holds at that moment.
class RemovalObserver : public Nubis::Node {
 public:
  explicit RemovalObserver(IndexHost& host) : host_(host), slot_(*this) {
    slot_.handlerIs(&RemovalObserver::handle);
    host.status->publisher()->subscriberAdd(slot_, false);
  }

  bool machineGoneBeforeStatus = false;

 private:
  static void handle(Nubis::Notification const& notification) {
    auto& self = static_cast<RemovalObserver&>(notification.subscriber.owner());
    auto const id = notification.key.as<LogicalFap::LogicalFapId>();
    if (!self.host_.status->indexFapStatusHas(id)) {
      self.machineGoneBeforeStatus = !self.host_.sm->indexFapSmHas(id);
    }
  }

  IndexHost& host_;
  Nubis::Subscriber slot_;
};

TEST_F(IndexSmTest, AFapRemovedLosesItsStateMachineFirstThenItsStatus) {
  host_.configs[1].perPortDisabled = true;
  host_.start();
  host_.addFap(1, {"Ethernet1"});
  host_.macsecOn("Ethernet1.1");
  ASSERT_TRUE(host_.disabled(1, "Ethernet1"));
  {
    RemovalObserver observer(host_);
    host_.faps->logicalFapDel(fap(1));
    EXPECT_TRUE(observer.machineGoneBeforeStatus);
  }
  EXPECT_FALSE(host_.fapSm(1));
  EXPECT_FALSE(host_.status->indexFapStatusHas(fap(1)));

  // A FAP that is neither present nor served: nothing happens.
  host_.sm->handleLogicalFapId(fap(7));
  EXPECT_EQ(host_.status->indexFapStatusSize(), 0u);
}

TEST_F(IndexSmTest, NothingIsHandledWhileZombie) {
  host_.start();
  host_.sm->vokDoZombieReactors(true);
  host_.addFap(1, {"Ethernet1"});
  EXPECT_FALSE(host_.fapSm(1));
  EXPECT_FALSE(host_.status->indexFapStatusHas(fap(1)));
  host_.sm->vokDoZombieReactors(false);
  host_.addFap(2);
  EXPECT_TRUE(host_.fapSm(2));
  EXPECT_FALSE(host_.fapSm(1)) << "the missed notification is not replayed";
}

TEST_F(IndexSmTest, ActivationSubscribesOnceAndPassesTheValueOnToEveryFap) {
  host_.addFap(1);
  host_.addFap(2);
  host_.start();
  auto* const fapPublisher = host_.faps->publisher();
  EXPECT_EQ(fapPublisher->subscriberCount(), 1u);
  host_.sm->hasNotificationActiveIs(true);
  EXPECT_EQ(fapPublisher->subscriberCount(), 1u);

  host_.sm->hasNotificationActiveIs(false);
  EXPECT_EQ(fapPublisher->subscriberCount(), 0u);
  EXPECT_FALSE(host_.fapSm(1)->hasNotificationActive());
  EXPECT_EQ(host_.macsec->publisher()->subscriberCount(), 0u);
  host_.addFap(3);
  EXPECT_FALSE(host_.fapSm(3)) << "switched off";

  host_.sm->hasNotificationActiveIs(true);
  EXPECT_TRUE(host_.fapSm(2)->hasNotificationActive());
  EXPECT_EQ(host_.macsec->publisher()->subscriberCount(), 2u) << "both FAPs follow MACsec";
}

TEST_F(IndexSmTest, ANullInputIsNeverFollowed) {
  Nubis::Ptr<testsupport::TestIndexSm> sm(new testsupport::TestIndexSm(nullptr, nullptr, nullptr));
  sm->hasNotificationActiveIs(true);
  sm->hasNotificationActiveIs(false);
  EXPECT_FALSE(sm->hasNotificationActive());
}

TEST_F(IndexSmTest, StoppingLeavesThePublishedStatusAndDestroysEveryStateMachine) {
  host_.configs[1].engines = 2;
  host_.addFap(1, {"Ethernet1", "Ethernet2"});
  host_.macsecOn("Ethernet1");
  host_.macsecOn("Ethernet2");
  auto const beforeStart = Nubis::Node::liveCount();
  host_.start();
  auto const record = host_.esec(1, "Ethernet2");
  host_.stop();
  EXPECT_EQ(Nubis::Node::liveCount(), beforeStart + 1) << "only the FAP's published status stays";
  EXPECT_EQ(host_.esec(1, "Ethernet2"), record);
  EXPECT_EQ(host_.faps->publisher()->subscriberCount(), 0u);
  EXPECT_EQ(host_.macsec->publisher()->subscriberCount(), 0u);
  EXPECT_EQ(host_.faps->logicalFap(fap(1))->publisher()->subscriberCount(), 0u);
}

TEST_F(IndexSmTest, ServingAFapWithOtherInputsIsAReinstantiation) {
  host_.start();
  host_.addFap(1);
  auto const machine = host_.fapSm(1);
  Nubis::Ptr<OruMacSec::IndexHelper> other(new testsupport::TestPolicy(fap(1), {}));
  EXPECT_THROW(host_.sm->indexFapSmIs(fap(1), machine->intfIdCol(), machine->macsecStatus(),
                                      machine->indexFapStatus(), other),
               Vok::MutatorReinstantiatingError);
  Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> otherSet(new LogicalFap::IntfIdOrderedCol(fap(1)));
  try {
    host_.sm->indexFapSmIs(fap(1), otherSet, nullptr, nullptr, other);
    FAIL() << "expected the reinstantiation error";
  } catch (Vok::MutatorReinstantiatingError const& error) {
    EXPECT_NE(std::string(error.what()).find("intfIdCol"), std::string::npos)
        << "the first differing attribute is named: " << error.what();
  }
  EXPECT_EQ(host_.sm->indexFapSmIs(fap(1), machine->intfIdCol(), machine->macsecStatus(),
                                   machine->indexFapStatus(), machine->indexHelper()),
            machine);
}

TEST_F(IndexSmTest, ANewPolicyObjectForAServedFapStopsTheProcess) {
  host_.start();
  host_.addFap(1);
  host_.sm->policies[1] =
      Nubis::Ptr<testsupport::TestPolicy>(new testsupport::TestPolicy(fap(1), {}));
  // As if another agent rewrote the FAP's entry: the notification reaches a served FAP.
  EXPECT_DEATH(host_.faps->publisher()->notify(LogicalFap::LogicalFapOrderedCol::kLogicalFapAttr,
                                               Nubis::Key::of(fap(1))),
               "cannot reinstantiate IndexFapSm: attribute indexHelper");
}

TEST_F(IndexSmTest, TheChipPolicyIsAskedOnlyForFapsPresent) {
  host_.start();
  host_.addFap(4);
  host_.faps->logicalFapDel(fap(4));
  EXPECT_EQ(host_.sm->getIndexHelperCalls, 1);
}

}  // namespace
