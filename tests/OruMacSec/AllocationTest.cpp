// Allocation and release of an interface's four entries where the scenarios cannot show it: the
// order of bookings and publications, what release frees, the contracts of the disabled-entry
// operations, and static indexes that the simulator's policy never gives.
#include <gtest/gtest.h>

#include "support/Capture.h"
#include "support/HostTest.h"
#include "support/IndexHost.h"
#include "support/StatusDump.h"

namespace {

using OruMacSec::IndexFapStatus;
using OruMacSec::SecIntfId;
using testsupport::chip;
using testsupport::esecRecord;
using testsupport::IndexHost;
using testsupport::intf;
using testsupport::isecRecord;

// Notes each change of FAP 1's records as a reader hears it (after the handler that made it), with
// the number of entries that engine 0 has booked in its four tables at that moment.
class PublishObserver : public Nubis::Node {
 public:
  explicit PublishObserver(IndexHost& host) : host_(host), slot_(*this) {
    slot_.handlerIs([](Nubis::Notification const& notification) {
      auto& self = static_cast<PublishObserver&>(notification.subscriber.owner());
      auto const& engine = *self.host_.engine(1, 0);
      self.events.push_back(fmt::format(
          "{} {} with {} booked", notification.key.as<SecIntfId>(),
          notification.attrId == IndexFapStatus::kEsecIndexInfoAttr ? "egress" : "ingress",
          engine.esecScIndex()->allocatedIndexSize() + engine.isecScIndex()->allocatedIndexSize() +
              engine.isecSpIndex()->allocatedIndexSize() +
              engine.msSubportNum()->allocatedIndexSize()));
    });
    host.fapStatus(1)->publisher()->subscriberAdd(slot_, false);
  }
  std::vector<std::string> events;

 private:
  IndexHost& host_;
  Nubis::Subscriber slot_;
};

class AllocationTest : public testsupport::HostTest {
 protected:
  void startWith(testsupport::ChipConfig config, std::vector<std::string> const& ports) {
    host.configs[1] = std::move(config);
    host.addFap(1, ports);
    host.start();
  }
  Nubis::Ptr<OruMacSec::EngineResources> engine0() { return host.engine(1, 0); }
};

TEST_F(AllocationTest, ReadersHearEgressFirstAndFindTheEntriesBooked) {
  startWith(chip(1, 255, 0), {"Ethernet1"});
  PublishObserver observer(host);
  host.macsecOn("Ethernet1");
  EXPECT_EQ(host.esec(1, "Ethernet1"), esecRecord("Ethernet1", 1, 0)) << "egress 0 is reserved";
  EXPECT_EQ(host.isec(1, "Ethernet1"), isecRecord("Ethernet1", 0, 0, 0, 0));
  host.macsecOff("Ethernet1");
  // Three reserved entries, four of the interface's.
  EXPECT_EQ(observer.events,
            (std::vector<std::string>{
                "Ethernet1 egress with 7 booked", "Ethernet1 ingress with 7 booked",
                "Ethernet1 egress with 3 booked", "Ethernet1 ingress with 3 booked"}));
  EXPECT_EQ(engine0()->esecScIndex()->allocatedIndexSize(), 1u) << "only the reservation left";
}

// A record without its partner (left by a crash) must not make release free entries that other
// interfaces hold; and release frees in the engine the policy names, whatever the records say.
TEST_F(AllocationTest, ReleaseFreesOnlyWhatExistingRecordsNameInThePolicysEngine) {
  startWith(chip(2, 255, 255), {"Ethernet1", "Ethernet2", "Ethernet4"});
  host.macsecOn("Ethernet2");
  auto const status = host.fapStatus(1);
  status->esecIndexInfoIs(esecRecord("Ethernet4", 7, 0));
  engine0()->esecScIndex()->allocateIndex(7);
  host.fapSm(1)->deallocateIndexesForIntf(intf("Ethernet4"));
  EXPECT_FALSE(host.esec(1, "Ethernet4"));
  EXPECT_EQ(testsupport::bookingDump(*host.agent),
            "fap 1 engine 0 esecSc 0 255 | isecSc 0 | isecSp 0 255 | subport 0 255\n"
            "fap 1 engine 1 esecSc 255 | isecSc | isecSp 255 | subport 255\n");
  status->esecIndexInfoIs(esecRecord("Ethernet4", 7, 0));
  host.macsecOn("Ethernet4");
  EXPECT_TRUE(host.isec(1, "Ethernet4")) << "a lone record is allocated afresh";

  // Someone rewrote Ethernet2's engine fields; release still frees in engine 0.
  status->esecIndexInfoIs(esecRecord("Ethernet2", 0, 1));
  status->isecIndexInfoIs(isecRecord("Ethernet2", 0, 0, 0, 1));
  host.engine(1, 1)->isecScIndex()->allocateIndex(0);
  host.macsecOff("Ethernet2");
  EXPECT_FALSE(engine0()->isecScIndex()->allocatedIndexHas(0));
  EXPECT_TRUE(host.engine(1, 1)->isecScIndex()->allocatedIndexHas(0));
}

// An engine that the policy names but the FAP lacks, and the disabled-entry operations outside
// their preconditions.
TEST_F(AllocationTest, BrokenContractsStopTheProcess) {
  testsupport::ChipConfig config = chip(1, 10, 10, /*perPortDisabled=*/true);
  config.engineOf[intf("Ethernet3")] = 5;
  startWith(config, {"Ethernet1", "Ethernet2", "Ethernet3"});
  EXPECT_DEATH(host.macsecOn("Ethernet3"),
               "the chip policy names an engine instance that does not exist.*"
               "OruMacSec/OruMacSecIndexSm");
  EXPECT_DEATH(host.fapSm(1)->removeIntfFromEsecLoopbackDisabledIndexInfo(intf("Ethernet2")),
               "indexFapStatus\\(\\)->esecLoopbackDisabledIndexInfoHas\\( secIntfId \\)");
  for (U16 i = 0; i < 10; ++i) {
    engine0()->esecScIndex()->allocateIndex(i);
  }
  EXPECT_DEATH(host.fapSm(1)->addIntfToEsecLoopbackDisabledIndexInfo(intf("Ethernet2")),
               "esecScIndex != TableIndex::invalid\\(\\)");
  IndexHost shared;
  shared.configs[1] = chip(1, 10, 10);
  shared.addFap(1, {"Ethernet1"});
  shared.start();
  EXPECT_DEATH(shared.fapSm(1)->maybeAllocateEsecDisabledIndex(intf("Ethernet1.1")),
               "indexHelper\\(\\)->esecDisabledIndexPerPortRequired\\(\\)");
}

// --- Static indexes ----------------------------------------------------------------------------

// Keeping static indexes unique and clear of the reserved ones is the policy's duty: a table that
// holds the index refuses it, and the records are published all the same. An index beyond the
// tables is refused outright. A record that lost its partner is allocated afresh.
TEST(StaticAllocation, TablesRefuseWhatTheyHoldAndNothingBeyondThemIsPublished) {
  testsupport::IndexHost host;
  auto config =
      testsupport::chip(2, 255, 255, /*perPortDisabled=*/false, /*staticAllocation=*/true);
  config.staticIndexOf[intf("Ethernet2")] = 7;
  config.staticIndexOf[intf("Ethernet4")] = 255;  // the reserved index
  config.staticIndexOf[intf("Ethernet8")] = 256;  // beyond the tables
  host.configs[1] = config;
  host.addFap(1, {"Ethernet2", "Ethernet4", "Ethernet8"});
  testsupport::Capture capture(Vok::traceLevelBit(1));
  host.start();
  auto const notFree = [](char const* table) {
    return fmt::format("Unable to allocate index 255 in table {}. The index is not free.", table);
  };
  EXPECT_EQ(capture.texts(1),
            (std::vector<std::string>{
                notFree("EsecScTable"), notFree("IsecSpTcam"), notFree("SubPortPolicyTable"),
                "Static index 256 for Ethernet8 is beyond the largest index 255 of its tables"}));
  EXPECT_EQ(testsupport::publishedDump(*host.status),
            "fap 1 Ethernet2 egress 7 engine 0\n"
            "fap 1 Ethernet2 ingress sp 7 subport 7 sc 7 engine 0\n"
            "fap 1 Ethernet4 egress 255 engine 0\n"
            "fap 1 Ethernet4 ingress sp 255 subport 255 sc 255 engine 0\n"
            "fap 1 engines 2 esec 255 isec 255\n");
  EXPECT_EQ(testsupport::bookingDump(*host.agent),
            "fap 1 engine 0 esecSc 7 255 | isecSc 7 255 | isecSp 7 255 | subport 7 255\n"
            "fap 1 engine 1 esecSc 255 | isecSc | isecSp 255 | subport 255\n");

  host.fapStatus(1)->isecIndexInfoDel(OruMacSec::SecIntfId(intf("Ethernet2")));
  capture.clear();
  host.fapSm(1)->handleIntf(intf("Ethernet2"));
  EXPECT_TRUE(host.isec(1, "Ethernet2"));
  EXPECT_EQ(capture.texts(1).size(), 4u) << "all four tables still hold 7 and say so";
}

}  // namespace
