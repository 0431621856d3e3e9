// What a restart of the agent keeps and what it removes: the stale-status cleanup, the bookkeeping
// rebuild, and the promise behind both — restarting changes nothing a running agent would not.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "support/Capture.h"
#include "support/IndexHost.h"
#include "support/StatusDump.h"

namespace {

using OruMacSec::EsecIndexInfo;
using OruMacSec::IsecIndexInfo;
using OruMacSec::SecIntfId;
using OruMacSec::TableIndex;
using testsupport::Capture;
using testsupport::chip;
using testsupport::esecRecord;
using testsupport::fap;
using testsupport::IndexHost;
using testsupport::intf;
using testsupport::isecRecord;

TEST(StaleStatusCleanup, RemovesWhatTheInputNoLongerJustifies) {
  IndexHost host;
  host.configs[1] = chip(1, 255, 255, /*perPortDisabled=*/true);
  host.addFap(1, {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4", "Ethernet5"});
  host.addFap(2, {"Ethernet9"});
  auto const status = host.status;
  auto const published = status->indexFapStatusIs(fap(1), 1, 255, 255);
  // Kept: an interface in its set with both records, with or without MACsec.
  published->esecIndexInfoIs(esecRecord("Ethernet1", 3, 0));
  published->isecIndexInfoIs(isecRecord("Ethernet1", 4, 5, 6, 0));
  // Removed: an interface no longer in the set; lone egress and lone ingress records; a
  // subinterface whose port is in the set but which is not itself.
  published->esecIndexInfoIs(esecRecord("Ethernet7", 8, 0));
  published->isecIndexInfoIs(isecRecord("Ethernet7", 8, 8, 8, 0));
  published->esecIndexInfoIs(esecRecord("Ethernet2", 9, 0));
  published->isecIndexInfoIs(isecRecord("Ethernet3", 10, 10, 10, 0));
  published->esecIndexInfoIs(esecRecord("Ethernet4.1", 11, 0));
  published->isecIndexInfoIs(isecRecord("Ethernet4.1", 11, 11, 11, 0));
  // Kept: a disabled entry, even of a port that left the set.
  published->esecLoopbackDisabledIndexInfoIs(esecRecord("Ethernet8", 12, 0));
  // A FAP that is gone loses its status; a FAP present with no records keeps it.
  auto const gone = status->indexFapStatusIs(fap(3), 1, 255, 255);
  gone->esecLoopbackDisabledIndexInfoIs(esecRecord("Ethernet1", 1, 0));
  status->indexFapStatusIs(fap(2), 1, 255, 255);

  // The cleanup alone, before any FAP's reconciliation could release what it kept.
  Nubis::Ptr<testsupport::TestIndexSm> const sm(
      new testsupport::TestIndexSm(host.faps, status, host.macsec));
  sm->cleanupStaleStatus();
  EXPECT_EQ(testsupport::publishedDump(*status),
            "fap 1 Ethernet1 egress 3 engine 0\n"
            "fap 1 Ethernet1 ingress sp 4 subport 5 sc 6 engine 0\n"
            "fap 1 Ethernet8 disabled 12 engine 0\n"
            "fap 1 engines 1 esec 255 isec 255\n"
            "fap 2 engines 1 esec 255 isec 255\n");
}

TEST(BookkeepingRebuild, BooksEveryPublishedIndexInThePolicysEngineBeforeReconciling) {
  IndexHost host;
  host.configs[1] = chip(2, 255, 20, /*perPortDisabled=*/true);
  host.addFap(1, {"Ethernet2", "Ethernet4", "Ethernet5", "Ethernet6"});
  for (auto const* name : {"Ethernet2", "Ethernet4.1", "Ethernet6"}) {
    host.macsecOn(name);
  }
  auto const published = host.status->indexFapStatusIs(fap(1), 2, 20, 255);
  // The engine field says 1, the policy says 0: the policy wins.
  published->esecIndexInfoIs(esecRecord("Ethernet2", 5, 1));
  published->isecIndexInfoIs(isecRecord("Ethernet2", 7, 8, 9, 1));
  published->esecLoopbackDisabledIndexInfoIs(esecRecord("Ethernet4", 0, 0));
  // Lost MACsec while the agent was down: booked, then freed by reconciliation.
  published->esecIndexInfoIs(esecRecord("Ethernet5", 5, 1));
  published->isecIndexInfoIs(isecRecord("Ethernet5", 6, 6, 6, 1));
  // Names the reserved ingress index: refused by that table, kept all the same.
  published->esecIndexInfoIs(esecRecord("Ethernet6", 6, 0));
  published->isecIndexInfoIs(isecRecord("Ethernet6", 255, 10, 10, 0));

  Capture capture(Vok::traceLevelBit(1));
  host.start();
  EXPECT_EQ(host.esec(1, "Ethernet2"), esecRecord("Ethernet2", 5, 1)) << "kept unchanged";
  EXPECT_EQ(host.isec(1, "Ethernet2"), isecRecord("Ethernet2", 7, 8, 9, 1));
  EXPECT_EQ(host.isec(1, "Ethernet6"), isecRecord("Ethernet6", 255, 10, 10, 0));
  EXPECT_FALSE(host.esec(1, "Ethernet5"));
  // Gained MACsec while the agent was down: the lowest entries the rebuild left free, sharing
  // its port's disabled entry.
  EXPECT_EQ(host.esec(1, "Ethernet4.1"), esecRecord("Ethernet4.1", 1, 0));
  EXPECT_EQ(host.isec(1, "Ethernet4.1"), isecRecord("Ethernet4.1", 0, 0, 0, 0));
  EXPECT_EQ(host.disabled(1, "Ethernet4"), esecRecord("Ethernet4", 0, 0));
  EXPECT_EQ(testsupport::bookingDump(*host.sm),
            "fap 1 engine 0 esecSc 0 1 5 6 | isecSc 0 9 10 | isecSp 0 7 255 | subport 0 8 10 255\n"
            "fap 1 engine 1 esecSc | isecSc | isecSp 255 | subport 255\n");
  EXPECT_EQ(capture.texts(1), (std::vector<std::string>{
                                  "Unable to allocate index 255 in table IsecSpTcam. The index is "
                                  "not free."}));
}

TEST(BookkeepingRebuild, AnEgressRecordWithoutItsPartnerBreaksTheInvariant) {
  IndexHost host;
  host.addFap(1, {"Ethernet1"});
  host.start();
  host.fapStatus(1)->esecIndexInfoIs(esecRecord("Ethernet1", 1, 0));
  EXPECT_DEATH(host.fapSm(1)->initializeBookkeeping(),
               "indexFapStatus\\(\\)->isecIndexInfoHas\\( iter.key\\(\\) \\)");
}

// --- Restarting at any point changes nothing ---------------------------------------------------

// A small world: three FAPs with different chips; tables large enough that nothing is refused.
// The dynamic FAPs 1 and 2 share ports 1 to 4 with two subinterfaces each, and every subinterface
// is a member of their sets from the start, so that a start never drops the records of a
// subinterface that runs MACsec. The static FAP 3 serves ports 5 and 6 only: the start-up sweep
// reconciles every member, while a running static FAP reconciles a subinterface without MACsec
// only on its own changes (the static-chip scenario shows that difference).
std::vector<std::string> const kPorts = {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4"};
std::vector<std::string> const kStaticPorts = {"Ethernet5", "Ethernet6"};
std::vector<std::string> const kSubinterfaces = {"Ethernet1.1", "Ethernet1.2", "Ethernet2.1",
                                                 "Ethernet2.2", "Ethernet3.1", "Ethernet3.2",
                                                 "Ethernet4.1", "Ethernet4.2"};
constexpr U16 kStaticFap = 3;

void configure(IndexHost& host) {
  host.configs[1] = chip(2, 255, 255);
  host.configs[2] = chip(2, 255, 255, /*perPortDisabled=*/true);
  host.configs[3] = chip(1, 255, 255, false, /*staticAllocation=*/true);
}

// One change of the inputs: a FAP added (0) or removed (1), a port joining (2) or leaving (3) a
// FAP, MACsec switched on (4) or off (5).
using Command = std::tuple<int, U16, std::string>;

void apply(IndexHost& host, Command const& command) {
  auto const& [kind, fapId, name] = command;
  auto const set = host.faps->logicalFap(fap(fapId));
  if (kind == 0 && !set) {
    host.addFap(fapId, fapId == kStaticFap ? std::vector<std::string>{} : kSubinterfaces);
  } else if (kind == 1) {
    host.faps->logicalFapDel(fap(fapId));
  } else if (kind == 2 && set) {
    set->intfIdIs(intf(name));
  } else if (kind == 3 && set) {
    set->intfIdDel(intf(name));
  } else if (kind == 4) {
    host.macsecOn(name);
  } else if (kind == 5) {
    host.macsecOff(name);
  }
}

rc::Gen<Command> genCommand() {
  std::vector<std::string> interfaces = kSubinterfaces;
  interfaces.insert(interfaces.end(), kPorts.begin(), kPorts.end());
  interfaces.insert(interfaces.end(), kStaticPorts.begin(), kStaticPorts.end());
  return rc::gen::apply(
      [](int kind, U16 fapId, std::string const& port, std::string const& staticPort,
         std::string const& any) {
        bool const onPort = kind == 2 || kind == 3;
        return Command{kind, fapId, onPort ? (fapId == kStaticFap ? staticPort : port) : any};
      },
      rc::gen::inRange(0, 6), rc::gen::inRange<U16>(1, 4), rc::gen::elementOf(kPorts),
      rc::gen::elementOf(kStaticPorts), rc::gen::elementOf(interfaces));
}

RC_GTEST_PROP(Restart, RestartingAtAnyPointGivesWhatCarryingOnGives, ()) {
  auto const commands = *rc::gen::container<std::vector<Command>>(genCommand());
  auto const restartAt = *rc::gen::inRange<std::size_t>(0, commands.size() + 1);
  IndexHost steady;
  IndexHost restarted;
  configure(steady);
  configure(restarted);
  steady.start();
  restarted.start();
  for (std::size_t i = 0; i < commands.size(); ++i) {
    if (i == restartAt) {
      restarted.stop();
      restarted.start();
    }
    apply(steady, commands[i]);
    apply(restarted, commands[i]);
  }
  RC_ASSERT(testsupport::publishedDump(*restarted.status) ==
            testsupport::publishedDump(*steady.status));
  RC_ASSERT(testsupport::bookingDump(*restarted.sm) == testsupport::bookingDump(*steady.sm));
}

}  // namespace
