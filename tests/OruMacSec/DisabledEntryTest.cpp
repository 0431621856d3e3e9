// Egress disabled entries of ports on chips that need one per port. Each test walks one or more
// transitions of a port between None (no entry, no egress record of its own), Disabled(D) (an
// entry with index D) and Own(E) (its own egress record with index E), and checks the published
// status and the egress table after each.
#include <gtest/gtest.h>

#include "support/Capture.h"
#include "support/IndexHost.h"

namespace {

using OruMacSec::EsecIndexInfo;
using OruMacSec::SecIntfId;
using OruMacSec::TableIndex;
using testsupport::Capture;
using testsupport::chip;
using testsupport::IndexHost;
using testsupport::intf;

class DisabledEntryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    baseline_ = Nubis::Node::liveCount();
    host.configs[1] = chip(1, 10, 10, /*perPortDisabled=*/true);
    host.addFap(1, {"Ethernet1", "Ethernet2"});
    host.start();
  }
  void TearDown() override {
    host = IndexHost();
    EXPECT_EQ(Nubis::Node::liveCount(), baseline_) << "an entity leaked";
  }

  // The port's state, as "None", "Disabled(D)" or "Own(E)".
  std::string state(char const* port) const {
    auto const own = host.esec(1, port);
    auto const disabled = host.disabled(1, port);
    EXPECT_FALSE(own && disabled) << port << " holds both an egress record and a disabled entry";
    if (own) {
      return "Own(" + std::to_string(own->esecScIndex().value()) + ")";
    }
    if (disabled) {
      EXPECT_EQ(disabled->engineInstance(), 0);
      return "Disabled(" + std::to_string(disabled->esecScIndex().value()) + ")";
    }
    return "None";
  }
  U16 egress(char const* name) const { return host.esec(1, name)->esecScIndex().value(); }
  std::vector<U16> egressTable() const {
    std::vector<U16> out;
    for (auto entry = host.engine(1, 0)->esecScIndex()->allocatedIndexIter(); entry; ++entry) {
      out.push_back(entry.key());
    }
    std::sort(out.begin(), out.end());
    return out;
  }

  IndexHost host;
  std::int64_t baseline_ = 0;
};

TEST_F(DisabledEntryTest, SubinterfacesShareTheirPortsEntryUntilTheLastOneGoes) {
  host.macsecOn("Ethernet1.1");
  EXPECT_EQ(state("Ethernet1"), "Disabled(0)") << "None -> Disabled: the lowest free index";
  EXPECT_EQ(egress("Ethernet1.1"), 1) << "the subinterface's own entry is the next one";

  host.macsecOn("Ethernet1.2");
  EXPECT_EQ(state("Ethernet1"), "Disabled(0)") << "a further subinterface shares the entry";
  EXPECT_EQ(egress("Ethernet1.2"), 2);

  host.macsecOff("Ethernet1.1");
  EXPECT_EQ(state("Ethernet1"), "Disabled(0)") << "another subinterface still holds indexes";

  Capture capture(Vok::traceLevelBit(4));
  host.macsecOff("Ethernet1.2");
  EXPECT_EQ(state("Ethernet1"), "None") << "the last subinterface frees the entry";
  EXPECT_EQ(egressTable(), std::vector<U16>{});
  EXPECT_EQ(capture.texts(4),
            (std::vector<std::string>{" Removing intfId: Ethernet1 from disabled intf collection, "
                                      "freeing esecScIndex: 0"}));
}

TEST_F(DisabledEntryTest, APortThatGetsMacsecTakesOverItsEntry) {
  host.macsecOn("Ethernet1.1");
  ASSERT_EQ(state("Ethernet1"), "Disabled(0)");
  Capture capture(Vok::traceLevelBit(1) | Vok::traceLevelBit(4));
  host.macsecOn("Ethernet1");
  EXPECT_EQ(state("Ethernet1"), "Own(0)") << "Disabled(D) -> Own(D)";
  EXPECT_EQ(egressTable(), (std::vector<U16>{0, 1})) << "the entry stays booked, once";
  auto const texts = capture.texts(4);
  ASSERT_FALSE(texts.empty());
  EXPECT_EQ(texts.front(), "intfId: Ethernet1 re-using esecScIndex: 0");
  EXPECT_EQ(capture.texts(1), (std::vector<std::string>{
                                  "Unable to allocate index 0 in table EsecScTable. The index is "
                                  "not free."}));

  host.macsecOn("Ethernet1.2");
  EXPECT_EQ(state("Ethernet1"), "Own(0)") << "a subinterface of a port with its own record";
  EXPECT_EQ(egress("Ethernet1.2"), 2);
  host.macsecOff("Ethernet1.2");
  EXPECT_EQ(state("Ethernet1"), "Own(0)");
}

TEST_F(DisabledEntryTest, APortThatLosesMacsecWhileASubinterfaceKeepsItGetsANewEntry) {
  host.macsecOn("Ethernet1");
  host.macsecOn("Ethernet1.1");
  ASSERT_EQ(state("Ethernet1"), "Own(0)");
  Capture capture(Vok::traceLevelBit(4));
  host.macsecOff("Ethernet1");
  // Its own entry 0 is freed first and is then the lowest free index again.
  EXPECT_EQ(state("Ethernet1"), "Disabled(0)") << "Own(E) -> Disabled(D')";
  EXPECT_EQ(capture.texts(4),
            (std::vector<std::string>{"Ethernet1 has an allocated subinterface: Ethernet1.1",
                                      " Disabling intfId: Ethernet1 with esecScIndex: 0"}));

  // With a lower free index, the new entry is that one, not the one just freed.
  host.macsecOn("Ethernet2");     // Own(2)
  host.macsecOn("Ethernet2.1");   // 3
  host.macsecOff("Ethernet1.1");  // frees 1, and Ethernet1's entry 0 with it
  ASSERT_EQ(egressTable(), (std::vector<U16>{2, 3}));
  host.macsecOff("Ethernet2");
  EXPECT_EQ(state("Ethernet2"), "Disabled(0)");
  EXPECT_EQ(egressTable(), (std::vector<U16>{0, 3}));
}

TEST_F(DisabledEntryTest, APortThatLosesMacsecWithNoSubinterfaceLeftEndsWithNothing) {
  host.macsecOn("Ethernet1");
  host.macsecOff("Ethernet1");
  EXPECT_EQ(state("Ethernet1"), "None") << "Own(E) -> None";
  EXPECT_EQ(egressTable(), std::vector<U16>{});
}

TEST_F(DisabledEntryTest, APortReleasedWhileItHoldsOnlyItsEntryKeepsIt) {
  host.macsecOn("Ethernet1.1");
  host.fapSm(1)->handleIntf(intf("Ethernet1"));  // the port has no MACsec: it is released
  EXPECT_EQ(state("Ethernet1"), "Disabled(0)");
  EXPECT_TRUE(host.esec(1, "Ethernet1.1")) << "re-examined, still served";
}

TEST_F(DisabledEntryTest, AFailedPortAllocationKeepsTheEntry) {
  host.macsecOn("Ethernet1.1");
  auto const engine = host.engine(1, 0);
  // Fill the ingress SC table (10 entries) so that the port's own allocation fails there.
  for (U16 i = 1; i < 10; ++i) {
    engine->isecScIndex()->allocateIndex(i);
  }
  host.macsecOn("Ethernet1");
  EXPECT_EQ(state("Ethernet1"), "Disabled(0)") << "Disabled(D) -> Disabled(D)";
  EXPECT_TRUE(engine->hwResourcesFull());
}

TEST_F(DisabledEntryTest, ASubinterfaceRefusedForLackOfEgressEntriesChangesNothing) {
  auto const engine = host.engine(1, 0);
  for (U16 i = 0; i < 9; ++i) {
    engine->esecScIndex()->allocateIndex(i);
  }
  // One egress entry left: enough for the port's entry, not for the subinterface's own.
  Capture capture(Vok::traceLevelBit(1) | Vok::traceLevelBit(4));
  EXPECT_EQ(host.fapSm(1)->maybeAllocateEsecDisabledIndex(intf("Ethernet1.1")),
            TableIndex::invalid());
  EXPECT_EQ(state("Ethernet1"), "None") << "None -> None";
  EXPECT_EQ(engine->esecScIndex()->allocatedIndexSize(), 9u) << "the port's entry was given back";
  EXPECT_EQ(capture.texts(1),
            (std::vector<std::string>{"There are no more free entries in table EsecScTable.",
                                      " allocation failed for intfId: Ethernet1.1, no free "
                                      "esecScIndex"}));

  engine->esecScIndex()->allocateIndex(9);
  capture.clear();
  host.macsecOn("Ethernet1.1");
  EXPECT_EQ(state("Ethernet1"), "None");
  EXPECT_FALSE(host.esec(1, "Ethernet1.1"));
  EXPECT_EQ(capture.texts(1),
            (std::vector<std::string>{"There are no more free entries in table EsecScTable.",
                                      " allocation failed for intfId: Ethernet1.1, no free "
                                      "esecScIndex for Ethernet1"}));
}

// The port's entry is taken, then the subinterface's allocation fails in an ingress table: the
// entry stays, a later attempt shares it, and a release with no subinterface served removes it.
TEST_F(DisabledEntryTest, AnEntryLeftByAFailedAttemptIsSharedLaterOrRemovedOnRelease) {
  auto const engine = host.engine(1, 0);
  for (U16 i = 0; i < 10; ++i) {
    engine->isecScIndex()->allocateIndex(i);
  }
  host.macsecOn("Ethernet1.1");
  EXPECT_FALSE(host.esec(1, "Ethernet1.1"));
  EXPECT_EQ(state("Ethernet1"), "Disabled(0)");

  engine->isecScIndex()->freeIndex(9);
  host.fapSm(1)->handleIntf(intf("Ethernet1.1"));
  EXPECT_EQ(egress("Ethernet1.1"), 1) << "the entry is shared, not taken twice";
  EXPECT_EQ(state("Ethernet1"), "Disabled(0)");
  host.macsecOff("Ethernet1.1");
  EXPECT_EQ(state("Ethernet1"), "None");

  // A subinterface that never got indexes also clears an entry left by its failed attempt.
  engine->isecScIndex()->allocateIndex(9);
  host.macsecOn("Ethernet1.3");
  ASSERT_EQ(state("Ethernet1"), "Disabled(0)");
  host.macsecOff("Ethernet1.3");
  EXPECT_EQ(state("Ethernet1"), "None");
  EXPECT_EQ(egressTable(), std::vector<U16>{});
}

TEST_F(DisabledEntryTest, APortLeavingTheFapIsReleasedBeforeItsSubinterfaces) {
  host.macsecOn("Ethernet1");
  host.macsecOn("Ethernet1.1");
  host.macsecOn("Ethernet1.2");
  Capture capture(Vok::traceLevelBit(8));
  host.delIntf(1, "Ethernet1");
  std::vector<std::string> released;
  for (auto const& trace : capture.traces) {
    if (trace.function == "deallocateIndexesForIntf") {
      released.push_back(trace.text);
    }
  }
  ASSERT_EQ(released.size(), 3u);
  EXPECT_EQ(released[0], " intfId: Ethernet1");
  EXPECT_EQ(host.fapStatus(1)->esecIndexInfoSize(), 0u);
  EXPECT_EQ(state("Ethernet1"), "None") << "the entry it got on leaving went with the last one";
  EXPECT_EQ(egressTable(), std::vector<U16>{});

  // Adding the port back re-examines its subinterfaces, which still run MACsec; the port itself
  // gets nothing, having none.
  host.macsecOff("Ethernet1");
  host.addIntf(1, "Ethernet1");
  EXPECT_TRUE(host.esec(1, "Ethernet1.1"));
  EXPECT_TRUE(host.esec(1, "Ethernet1.2"));
  EXPECT_EQ(state("Ethernet1"), "Disabled(0)");
}

TEST_F(DisabledEntryTest, HasAllocatedSubinterfaceLooksAtThePortsOtherSubinterfaces) {
  host.macsecOn("Ethernet1");
  auto const machine = host.fapSm(1);
  EXPECT_FALSE(machine->hasAllocatedSubinterface(intf("Ethernet1"))) << "only the port itself";
  host.macsecOn("Ethernet2.1");
  EXPECT_FALSE(machine->hasAllocatedSubinterface(intf("Ethernet1")));
  host.macsecOn("Ethernet1.4");
  Capture capture(Vok::traceLevelBit(4));
  EXPECT_TRUE(machine->hasAllocatedSubinterface(intf("Ethernet1.9")));
  EXPECT_EQ(capture.texts(4),
            (std::vector<std::string>{"Ethernet1 has an allocated subinterface: Ethernet1.4"}));
}

TEST_F(DisabledEntryTest, TheDisabledEntryOperationsGuardTheirPreconditions) {
  EXPECT_DEATH(host.fapSm(1)->removeIntfFromEsecLoopbackDisabledIndexInfo(intf("Ethernet2")),
               "indexFapStatus\\(\\)->esecLoopbackDisabledIndexInfoHas\\( secIntfId \\)");
  IndexHost shared;
  shared.configs[1] = chip(1, 10, 10);
  shared.addFap(1, {"Ethernet1"});
  shared.start();
  EXPECT_DEATH(shared.fapSm(1)->maybeAllocateEsecDisabledIndex(intf("Ethernet1.1")),
               "indexHelper\\(\\)->esecDisabledIndexPerPortRequired\\(\\)");
  auto const engine = host.engine(1, 0);
  for (U16 i = 0; i < 10; ++i) {
    engine->esecScIndex()->allocateIndex(i);
  }
  EXPECT_DEATH(host.fapSm(1)->addIntfToEsecLoopbackDisabledIndexInfo(intf("Ethernet2")),
               "esecScIndex != TableIndex::invalid\\(\\)");
}

}  // namespace
