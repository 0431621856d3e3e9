// What a new agent removes from the status an earlier one published, and the record pairs its
// bookkeeping rebuild relies on. (The model test checks that restarting changes nothing that
// carrying on would not; the restart scenario traces a start-up step by step.)
#include <gtest/gtest.h>

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

TEST(StaleStatusCleanup, RemovesWhatTheInputNoLongerJustifiesAndTheRebuildBooksTheRest) {
  IndexHost host;
  host.configs[1] = chip(2, 255, 255, /*perPortDisabled=*/true);
  host.addFap(1, {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4", "Ethernet5"});
  host.addFap(2, {"Ethernet9"});
  auto const status = host.status;
  auto const published = status->indexFapStatusIs(fap(1), 2, 255, 255);
  // Kept: an interface in its set with both records, with or without MACsec (and whatever engine
  // its records name: the policy puts Ethernet1 on engine 1).
  host.macsecOn("Ethernet1");
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
  sm->configs = host.configs;
  sm->cleanupStaleStatus();
  EXPECT_EQ(testsupport::publishedDump(*status),
            "fap 1 Ethernet1 egress 3 engine 0\n"
            "fap 1 Ethernet1 ingress sp 4 subport 5 sc 6 engine 0\n"
            "fap 1 Ethernet8 disabled 12 engine 0\n"
            "fap 1 engines 2 esec 255 isec 255\n"
            "fap 2 engines 1 esec 255 isec 255\n");
  sm->hasNotificationActiveIs(true);
  sm->handleInitialized();
  EXPECT_EQ(testsupport::bookingDump(*sm),
            "fap 1 engine 0 esecSc 12 | isecSc | isecSp 255 | subport 255\n"
            "fap 1 engine 1 esecSc 3 | isecSc 6 | isecSp 4 255 | subport 5 255\n"
            "fap 2 engine 0 esecSc 255 | isecSc | isecSp 255 | subport 255\n");
}

TEST(BookkeepingRebuild, AnEgressRecordWithoutItsPartnerBreaksTheInvariant) {
  IndexHost host;
  host.addFap(1, {"Ethernet1"});
  host.start();
  host.fapStatus(1)->esecIndexInfoIs(esecRecord("Ethernet1", 1, 0));
  EXPECT_DEATH(host.fapSm(1)->initializeBookkeeping(),
               "indexFapStatus\\(\\)->isecIndexInfoHas\\( iter.key\\(\\) \\)");
}

}  // namespace
