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

TEST(StaleStatusCleanup, AnEmptyStatusStaysEmpty) {
  IndexHost host;
  host.start();
  EXPECT_EQ(host.status->indexFapStatusSize(), 0u);
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

TEST(Restart, InterfacesThatKeepMacsecKeepEveryIndex) {
  IndexHost host;
  host.configs[1] = chip(2, 255, 255, /*perPortDisabled=*/true);
  host.configs[2] = chip(1, 255, 255, false, /*staticAllocation=*/true);
  host.addFap(1, {"Ethernet1", "Ethernet1.1", "Ethernet1.2", "Ethernet2"});
  host.addFap(2, {"Ethernet3"});
  host.start();
  for (auto const* name : {"Ethernet1.1", "Ethernet1.2", "Ethernet2", "Ethernet1"}) {
    host.macsecOn(name);
  }
  host.macsecOff("Ethernet1");
  auto const published = testsupport::publishedDump(*host.status);
  auto const booked = testsupport::bookingDump(*host.sm);
  host.stop();
  host.start();
  EXPECT_EQ(testsupport::publishedDump(*host.status), published);
  EXPECT_EQ(testsupport::bookingDump(*host.sm), booked);
}

// --- Restarting at any point changes nothing ---------------------------------------------------

// A small world: three FAPs with different chips; tables large enough that nothing is refused.
// The dynamic FAPs 1 and 2 share ports 1 to 4 with two subinterfaces each, and every subinterface
// is a member of their sets from the start, so that a start never drops the records of a
// subinterface that runs MACsec. The static FAP 3 serves ports 5 and 6 only: the start-up sweep
// reconciles every member, while a running static FAP reconciles a subinterface without MACsec
// only on its own changes (shown by the tests after this one).
struct Command {
  enum Kind { kFapAdd, kFapDel, kPortAdd, kPortDel, kMacsecOn, kMacsecOff } kind;
  U16 fapId;
  std::string intfName;
};

std::vector<std::string> const kPorts = {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4"};
std::vector<std::string> const kStaticPorts = {"Ethernet5", "Ethernet6"};
std::vector<std::string> const kInterfaces = {
    "Ethernet1",   "Ethernet1.1", "Ethernet1.2", "Ethernet2",   "Ethernet2.1",
    "Ethernet2.2", "Ethernet3",   "Ethernet3.1", "Ethernet3.2", "Ethernet4",
    "Ethernet4.1", "Ethernet4.2", "Ethernet5",   "Ethernet6"};
constexpr U16 kStaticFap = 3;

std::ostream& operator<<(std::ostream& out, Command const& command) {
  static char const* const kNames[] = {"fap add",  "fap del",   "intf add",
                                       "intf del", "macsec on", "macsec off"};
  out << kNames[command.kind];
  if (command.kind <= Command::kPortDel) {
    out << " " << command.fapId;
  }
  if (command.kind >= Command::kPortAdd) {
    out << " " << command.intfName;
  }
  return out;
}

void configure(IndexHost& host) {
  host.configs[1] = testsupport::chip(2, 255, 255);
  host.configs[2] = testsupport::chip(2, 255, 255, /*perPortDisabled=*/true);
  host.configs[3] = testsupport::chip(1, 255, 255, false, /*staticAllocation=*/true);
}

void apply(IndexHost& host, Command const& command) {
  switch (command.kind) {
    case Command::kFapAdd:
      if (!host.faps->logicalFapHas(fap(command.fapId))) {
        std::vector<std::string> subinterfaces;
        std::copy_if(kInterfaces.begin(), kInterfaces.end(), std::back_inserter(subinterfaces),
                     [](auto const& name) { return name.find('.') != std::string::npos; });
        host.addFap(command.fapId,
                    command.fapId == kStaticFap ? std::vector<std::string>{} : subinterfaces);
      }
      return;
    case Command::kFapDel:
      host.faps->logicalFapDel(fap(command.fapId));
      return;
    case Command::kPortAdd:
    case Command::kPortDel:
      if (auto const set = host.faps->logicalFap(fap(command.fapId))) {
        if (command.kind == Command::kPortAdd) {
          set->intfIdIs(intf(command.intfName));
        } else {
          set->intfIdDel(intf(command.intfName));
        }
      }
      return;
    case Command::kMacsecOn:
      host.macsecOn(command.intfName);
      return;
    case Command::kMacsecOff:
      host.macsecOff(command.intfName);
      return;
  }
}

rc::Gen<Command> genCommand() {
  return rc::gen::apply(
      [](int kind, U16 fapId, std::string const& port, std::string const& staticPort,
         std::string const& any) {
        auto const k = static_cast<Command::Kind>(kind);
        bool const onPort = k == Command::kPortAdd || k == Command::kPortDel;
        return Command{k, fapId, onPort ? (fapId == kStaticFap ? staticPort : port) : any};
      },
      rc::gen::inRange(0, 6), rc::gen::inRange<U16>(1, 4), rc::gen::elementOf(kPorts),
      rc::gen::elementOf(kStaticPorts), rc::gen::elementOf(kInterfaces));
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

// Where a start differs from a running FAP, and why.
TEST(Restart, ASubinterfaceThatIsNotItselfInTheSetLosesItsRecordsAtStart) {
  IndexHost host;
  host.addFap(1, {"Ethernet1"});
  host.start();
  host.macsecOn("Ethernet1.1");
  host.macsecOn("Ethernet1.2");
  EXPECT_EQ(host.esec(1, "Ethernet1.2")->esecScIndex(), TableIndex(1));
  host.stop();
  host.start();
  // Its records were removed as stale, then the sweep (through the port) allocated it again:
  // Ethernet1.1 first or second, whichever the MACsec status yields first.
  EXPECT_TRUE(host.esec(1, "Ethernet1.1"));
  EXPECT_TRUE(host.esec(1, "Ethernet1.2"));
  EXPECT_NE(host.esec(1, "Ethernet1.1")->esecScIndex(), host.esec(1, "Ethernet1.2")->esecScIndex());
}

TEST(Restart, AnInterfaceRefusedEarlierIsRetriedByTheStartUpSweep) {
  IndexHost host;
  host.configs[1] = chip(1, 2, 2);
  host.addFap(1, {"Ethernet1", "Ethernet2", "Ethernet3"});
  host.start();
  host.macsecOn("Ethernet1");
  host.macsecOn("Ethernet2");
  EXPECT_FALSE(host.esec(1, "Ethernet2")) << "ingress SP and sub-port tables hold 2 entries: full";
  host.fapSm(1)->oruMacSecEngineResources(0)->isecSpIndex()->freeIndex(2);
  host.fapSm(1)->oruMacSecEngineResources(0)->msSubportNum()->freeIndex(2);
  host.stop();
  host.start();
  EXPECT_FALSE(host.esec(1, "Ethernet2")) << "the reservations come back with the restart";
  host.configs[1] = chip(1, 3, 3);
  host.stop();
  host.status->indexFapStatusDel(fap(1));  // a bigger chip is a new FAP status
  host.start();
  EXPECT_TRUE(host.esec(1, "Ethernet2")) << "retried by the sweep, not by any notification";
}

TEST(Restart, AStaticSubinterfaceWithoutMacsecIsServedByTheSweepButNotWhenItsPortJoins) {
  IndexHost host;
  host.configs[1] = chip(1, 255, 255, false, /*staticAllocation=*/true);
  host.addFap(1, {"Ethernet2.1"});
  host.start();
  host.addIntf(1, "Ethernet2");
  EXPECT_TRUE(host.esec(1, "Ethernet2"));
  EXPECT_FALSE(host.esec(1, "Ethernet2.1")) << "a joining port re-examines MACsec subinterfaces";
  host.stop();
  host.start();
  EXPECT_TRUE(host.esec(1, "Ethernet2.1")) << "the sweep reconciles every member";
}

TEST(Restart, AStaticSubinterfaceLeftBehindByItsPortIsRemovedAtStart) {
  IndexHost host;
  host.configs[1] = chip(1, 255, 255, false, /*staticAllocation=*/true);
  host.addFap(1, {"Ethernet2"});
  host.start();
  host.macsecOn("Ethernet2.1");
  host.macsecOff("Ethernet2.1");
  host.delIntf(1, "Ethernet2");
  EXPECT_TRUE(host.esec(1, "Ethernet2.1")) << "not re-examined: it has no MACsec status";
  host.stop();
  host.start();
  EXPECT_FALSE(host.esec(1, "Ethernet2.1")) << "not itself a member: stale";
}

}  // namespace
