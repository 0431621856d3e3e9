// Start-up of a FAP's state machine: engine set-up, reservations, the sweep, and how
// notifications reach it.
#include <gtest/gtest.h>

#include "support/Capture.h"
#include "support/IndexHost.h"

namespace {

using OruMacSec::TableResources;
using testsupport::Capture;
using testsupport::chip;
using testsupport::IndexHost;
using testsupport::intf;

std::vector<U16> booked(Nubis::Ptr<TableResources> const& table) {
  std::vector<U16> out;
  for (auto entry = table->allocatedIndexIter(); entry; ++entry) {
    out.push_back(entry.key());
  }
  std::sort(out.begin(), out.end());
  return out;
}

TEST(IndexFapSmStartup, SharedEgressDisabledIndexIsReservedInEveryEngine) {
  IndexHost host;
  host.configs[1] = chip(2, 255, 511);
  host.addFap(1);
  host.start();
  auto const machine = host.fapSm(1);
  ASSERT_EQ(machine->oruMacSecEngineResourcesSize(), 2u);
  for (U16 e = 0; e < 2; ++e) {
    auto const engine = host.engine(1, e);
    ASSERT_TRUE(engine);
    EXPECT_EQ(engine->engineInstance(), e);
    EXPECT_EQ(engine->esecScIndex()->name(), "EsecScTable");
    EXPECT_EQ(engine->isecScIndex()->name(), "IsecScTcam");
    EXPECT_EQ(engine->isecSpIndex()->name(), "IsecSpTcam");
    EXPECT_EQ(engine->msSubportNum()->name(), "SubPortPolicyTable");
    for (auto const* table : {&engine->esecScIndex(), &engine->isecScIndex(),
                              &engine->isecSpIndex(), &engine->msSubportNum()}) {
      EXPECT_EQ((*table)->maxIndex(), 255);
    }
    EXPECT_EQ(booked(engine->esecScIndex()), std::vector<U16>{511});
    EXPECT_EQ(booked(engine->isecScIndex()), std::vector<U16>{});
    EXPECT_EQ(booked(engine->isecSpIndex()), std::vector<U16>{255});
    EXPECT_EQ(booked(engine->msSubportNum()), std::vector<U16>{255});
  }
}

TEST(IndexFapSmStartup, PerPortChipsReserveNoEgressEntry) {
  IndexHost host;
  host.configs[1] = chip(2, 255, 511, /*perPortDisabled=*/true);
  host.addFap(1);
  host.start();
  for (U16 e = 0; e < 2; ++e) {
    EXPECT_EQ(booked(host.engine(1, e)->esecScIndex()), std::vector<U16>{});
    EXPECT_EQ(booked(host.engine(1, e)->isecSpIndex()), std::vector<U16>{255});
    EXPECT_EQ(booked(host.engine(1, e)->msSubportNum()), std::vector<U16>{255});
  }
}

TEST(IndexFapSmStartup, NoEnginesMeansNoTablesButTheSweepStillRuns) {
  Capture capture(Vok::traceLevelBit(8));
  IndexHost host;
  host.configs[1] = chip(0, 255, 255);
  host.addFap(1, {"Ethernet1"});
  host.start();
  EXPECT_EQ(host.fapSm(1)->oruMacSecEngineResourcesSize(), 0u);
  EXPECT_EQ(host.fapStatus(1)->numEngineInstances(), 0);
  auto const swept = std::count_if(capture.traces.begin(), capture.traces.end(), [](auto& t) {
    return t.function == "handleIntf" && t.text.find("Ethernet1") != std::string::npos;
  });
  EXPECT_EQ(swept, 1);
}

// The start-up steps, as the trace shows them: each engine is made and reserved before the next,
// then the bookkeeping rebuild, then the sweep.
TEST(IndexFapSmStartup, EnginesAreSetUpInOrderBeforeTheRebuildAndTheSweep) {
  Capture capture(Vok::traceLevelBit(4) | Vok::traceLevelBit(8));
  IndexHost host;
  host.configs[1] = chip(2, 255, 511);
  host.addFap(1);
  host.start();
  std::vector<std::string> steps;
  for (auto const& trace : capture.traces) {
    if (trace.className == "IndexFapSm") {
      steps.push_back(trace.function + ":" + trace.text);
    }
  }
  std::vector<std::string> const expected = {
      "handleInitialized:",
      "initializeEngineResources:",
      "initializeEngineResources: engine instance: 0",
      "reserveDisabledIndexes: engine instance: 0",
      "initializeEngineResources: engine instance: 1",
      "reserveDisabledIndexes: engine instance: 1",
      "initializeBookkeeping:",
      "handleIntf:",
  };
  EXPECT_EQ(steps, expected);
}

TEST(IndexFapSmStartup, TheSweepReconcilesMembersInAscendingOrder) {
  Capture capture(Vok::traceLevelBit(8));
  IndexHost host;
  host.addFap(1, {"Ethernet10", "Ethernet2.7", "Ethernet2", "Ethernet9", "Ethernet2.10"});
  host.start();
  std::vector<std::string> visited;
  for (auto const& trace : capture.traces) {
    if (trace.function == "handleIntf" && !trace.text.empty()) {
      visited.push_back(trace.text.substr(0, trace.text.find(',')));
    }
  }
  // Ports re-examine their subinterfaces only if those run MACsec, so each member shows once.
  std::vector<std::string> const expected = {" IntfId: Ethernet2", " IntfId: Ethernet2.7",
                                             " IntfId: Ethernet2.10", " IntfId: Ethernet9",
                                             " IntfId: Ethernet10"};
  EXPECT_EQ(visited, expected);
}

// A policy that changes the interface set while the sweep runs, as another agent's change would
// if it landed mid-sweep.
TEST(IndexFapSmStartup, TheSweepSurvivesChangesOfTheSetWhileItRuns) {
  IndexHost host;
  auto set = host.addFap(1, {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet5"});
  for (auto const* name : {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4", "Ethernet5"}) {
    host.macsecOn(name);
  }
  host.configs[1].onEngineAsked = [set, done = false](Portix::IntfId asked) mutable {
    if (asked == intf("Ethernet2") && !done) {
      done = true;
      set->intfIdDel(intf("Ethernet3"));
      set->intfIdIs(intf("Ethernet4"));
    }
  };
  host.start();
  // Ethernet4 joined after Ethernet2 was handled and before the walk reached it: it is served by
  // the walk; Ethernet3 left before: not served. Nothing is visited twice (Ethernet5 once).
  EXPECT_TRUE(host.esec(1, "Ethernet1"));
  EXPECT_TRUE(host.esec(1, "Ethernet2"));
  EXPECT_FALSE(host.esec(1, "Ethernet3"));
  EXPECT_TRUE(host.esec(1, "Ethernet4"));
  EXPECT_TRUE(host.esec(1, "Ethernet5"));
}

TEST(IndexFapSmNotifications, AZombieOrAnotherAttributeReconcilesNothing) {
  IndexHost host;
  host.addFap(1, {"Ethernet1", "Ethernet2"});
  host.start();
  auto const machine = host.fapSm(1);

  machine->vokDoZombieReactors(true);
  host.macsecOn("Ethernet1");
  host.addIntf(1, "Ethernet3");
  EXPECT_FALSE(host.esec(1, "Ethernet1"));
  machine->vokDoZombieReactors(false);
  host.macsecOn("Ethernet2");
  EXPECT_TRUE(host.esec(1, "Ethernet2"));
  EXPECT_FALSE(host.esec(1, "Ethernet1")) << "missed notifications are not replayed";

  // Same key, another attribute of the MACsec status: ignored.
  host.macsec->publisher()->notify(Macsec::Status::kCpStatusAttr + 1,
                                   Nubis::Key::of(intf("Ethernet1")));
  EXPECT_FALSE(host.esec(1, "Ethernet1"));
  host.macsec->publisher()->notify(Macsec::Status::kCpStatusAttr,
                                   Nubis::Key::of(intf("Ethernet1")));
  EXPECT_TRUE(host.esec(1, "Ethernet1"));
}

TEST(IndexFapSmNotifications, EveryFapHearsEveryMacsecChangeAndServesOnlyItsOwnPorts) {
  IndexHost host;
  host.addFap(1, {"Ethernet1"});
  host.addFap(2, {"Ethernet2"});
  host.start();
  host.macsecOn("Ethernet2.5");
  EXPECT_FALSE(host.esec(1, "Ethernet2.5"));
  EXPECT_TRUE(host.esec(2, "Ethernet2.5"));
  EXPECT_EQ(host.fapStatus(1)->esecIndexInfoSize(), 0u);
}

}  // namespace
