// Dynamic allocation and release of an interface's four entries: what is chosen, in which order
// things happen, the full state of an engine and its two log messages.
#include <gtest/gtest.h>

#include "platform/Vok/RingTrace.h"
#include "support/Capture.h"
#include "support/IndexHost.h"

namespace {

using OruMacSec::EsecIndexInfo;
using OruMacSec::IndexFapStatus;
using OruMacSec::IsecIndexInfo;
using OruMacSec::SecIntfId;
using OruMacSec::TableIndex;
using testsupport::Capture;
using testsupport::chip;
using testsupport::esecRecord;
using testsupport::IndexHost;
using testsupport::intf;
using testsupport::isecRecord;

// Records, at each change of a FAP's published records, which collection changed and whether the
// interface's entries were booked in its engine's tables at that moment.
class PublishObserver : public Nubis::Node {
 public:
  PublishObserver(IndexHost& host, U16 fapId) : host_(host), fap_(fapId), slot_(*this) {
    slot_.handlerIs(&PublishObserver::handle);
    host.fapStatus(fapId)->publisher()->subscriberAdd(slot_, false);
  }

  std::vector<std::string> events;

 private:
  static void handle(Nubis::Notification const& notification) {
    auto& self = static_cast<PublishObserver&>(notification.subscriber.owner());
    auto const key = notification.key.as<SecIntfId>();
    auto const status = self.host_.fapStatus(self.fap_);
    auto const engine = self.host_.engine(self.fap_, 0);
    std::string event = Portix::valueToStrep(key.intfId());
    if (notification.attrId == IndexFapStatus::kEsecIndexInfoAttr) {
      bool const present = status->esecIndexInfoHas(key);
      event += present ? " egress published" : " egress removed";
      U16 const index = present ? status->esecIndexInfo(key).esecScIndex().value() : 0;
      if (present) {
        event += engine->esecScIndex()->allocatedIndexHas(index) ? ", booked" : ", NOT booked";
      }
    } else if (notification.attrId == IndexFapStatus::kIsecIndexInfoAttr) {
      bool const present = status->isecIndexInfoHas(key);
      event += present ? " ingress published" : " ingress removed";
      if (present) {
        auto const record = status->isecIndexInfo(key);
        bool const allBooked =
            engine->isecScIndex()->allocatedIndexHas(record.isecScIndex().value()) &&
            engine->isecSpIndex()->allocatedIndexHas(record.isecSpIndex().value()) &&
            engine->msSubportNum()->allocatedIndexHas(record.msSubportNum().value());
        event += allBooked ? ", booked" : ", NOT booked";
      }
    } else {
      event += " disabled entry changed";
    }
    if (!notification.key.as<SecIntfId>().intfId().value()) {
      event += "?";
    }
    self.events.push_back(event);
  }

  IndexHost& host_;
  U16 const fap_;
  Nubis::Subscriber slot_;
};

class AllocationTest : public ::testing::Test {
 protected:
  void SetUp() override { baseline_ = Nubis::Node::liveCount(); }
  void TearDown() override {
    host = IndexHost();
    EXPECT_EQ(Nubis::Node::liveCount(), baseline_) << "an entity leaked";
  }
  void startWith(testsupport::ChipConfig config, std::vector<std::string> const& ports) {
    host.configs[1] = std::move(config);
    host.addFap(1, ports);
    host.start();
  }
  Nubis::Ptr<OruMacSec::EngineResources> engine0() { return host.engine(1, 0); }

  IndexHost host;
  std::int64_t baseline_ = 0;
};

TEST_F(AllocationTest, TheFirstInterfaceGetsTheLowestUnreservedEntriesBookedBeforePublished) {
  startWith(chip(1, 255, 0), {"Ethernet1"});
  PublishObserver observer(host, 1);
  host.macsecOn("Ethernet1");
  EXPECT_EQ(host.esec(1, "Ethernet1"), esecRecord("Ethernet1", 1, 0)) << "egress 0 is reserved";
  EXPECT_EQ(host.isec(1, "Ethernet1"), isecRecord("Ethernet1", 0, 0, 0, 0));
  EXPECT_EQ(observer.events, (std::vector<std::string>{"Ethernet1 egress published, booked",
                                                       "Ethernet1 ingress published, booked"}));
  observer.events.clear();
  host.macsecOff("Ethernet1");
  EXPECT_EQ(observer.events,
            (std::vector<std::string>{"Ethernet1 egress removed", "Ethernet1 ingress removed"}));
  EXPECT_EQ(engine0()->esecScIndex()->allocatedIndexSize(), 1u) << "only the reservation left";
  EXPECT_EQ(engine0()->isecScIndex()->allocatedIndexSize(), 0u);
}

TEST_F(AllocationTest, EveryInterfaceGetsEntriesOfItsOwnAndFreedOnesAreReusedFirst) {
  startWith(chip(2, 255, 255), {"Ethernet1", "Ethernet2", "Ethernet3"});
  for (auto const* name : {"Ethernet1", "Ethernet1.1", "Ethernet3", "Ethernet2"}) {
    host.macsecOn(name);
  }
  // Ethernet1, its subinterface and Ethernet3 share engine 1; Ethernet2 is alone on engine 0.
  EXPECT_EQ(host.esec(1, "Ethernet1"), esecRecord("Ethernet1", 0, 1));
  EXPECT_EQ(host.esec(1, "Ethernet1.1"), esecRecord("Ethernet1.1", 1, 1));
  EXPECT_EQ(host.isec(1, "Ethernet3"), isecRecord("Ethernet3", 2, 2, 2, 1));
  EXPECT_EQ(host.isec(1, "Ethernet2"), isecRecord("Ethernet2", 0, 0, 0, 0));
  host.macsecOff("Ethernet1.1");
  host.macsecOn("Ethernet3.4");
  EXPECT_EQ(host.isec(1, "Ethernet3.4"), isecRecord("Ethernet3.4", 1, 1, 1, 1));
}

TEST_F(AllocationTest, AnInterfaceAlreadyServedIsLeftAsItIs) {
  startWith(chip(1, 255, 255), {"Ethernet1"});
  host.macsecOn("Ethernet1");
  auto const before = host.esec(1, "Ethernet1");
  Capture capture(Vok::kAllTraceLevels);
  host.fapSm(1)->allocateIndexesForIntf(intf("Ethernet1"));
  EXPECT_EQ(host.esec(1, "Ethernet1"), before);
  ASSERT_EQ(capture.traces.size(), 2u);
  EXPECT_EQ(capture.traces[0].text, " intfId: Ethernet1");
  EXPECT_EQ(capture.traces[1].level, 9);
  EXPECT_EQ(capture.traces[1].text, "Ethernet1 is already dynamically allocated");

  // Reconciling again with unchanged inputs changes nothing either.
  host.fapSm(1)->handleIntf(intf("Ethernet1"));
  host.fapSm(1)->handleIntf();
  EXPECT_EQ(host.esec(1, "Ethernet1"), before);
  EXPECT_EQ(engine0()->esecScIndex()->allocatedIndexSize(), 2u);
}

// All four tables searched, and recorded, in the order egress SC, ingress SC, ingress SP,
// sub-port: shown by the tables' own refusal traces.
TEST_F(AllocationTest, TablesAreSearchedAndBookedInTheirFixedOrder) {
  startWith(chip(1, 1, 9), {"Ethernet1"});
  // Size 1: the reservations alone fill the ingress SP and sub-port tables; fill the egress one.
  engine0()->esecScIndex()->allocateIndex(0);
  Capture capture(Vok::traceLevelBit(0) | Vok::traceLevelBit(1));
  host.macsecOn("Ethernet1");
  EXPECT_EQ(capture.texts(1), (std::vector<std::string>{
                                  "There are no more free entries in table EsecScTable.",
                                  "There are no more free entries in table IsecSpTcam.",
                                  "There are no more free entries in table SubPortPolicyTable."}));
  EXPECT_EQ(capture.texts(0), (std::vector<std::string>{
                                  "ESEC_SC_TABLE hardware resources are full on LogicalFapId 1, "
                                  "EngineInstance 0"}))
      << "the first failed table of the four is named";

  capture.clear();
  // Booking four entries that are all taken already: each table refuses in turn.
  for (auto const& table :
       {engine0()->isecScIndex(), engine0()->isecSpIndex(), engine0()->msSubportNum()}) {
    table->allocateIndex(0);
  }
  host.fapSm(1)->addIntfToBookkeeping(intf("Ethernet1"), esecRecord("Ethernet1", 0, 0),
                                      isecRecord("Ethernet1", 0, 0, 0, 0));
  EXPECT_EQ(capture.texts(1),
            (std::vector<std::string>{
                "Unable to allocate index 0 in table EsecScTable. The index is not free.",
                "Unable to allocate index 0 in table IsecScTcam. The index is not free.",
                "Unable to allocate index 0 in table IsecSpTcam. The index is not free.",
                "Unable to allocate index 0 in table SubPortPolicyTable. The index is not free."}));
}

TEST_F(AllocationTest, EachTableIsNamedWhenItAloneIsFull) {
  startWith(chip(1, 2, 2), {"Ethernet1"});
  Capture capture(Vok::traceLevelBit(0));
  // Size 2: entries 0 and 1 fill any table (index 2, the reserved one, is not touched).
  std::vector<std::pair<Nubis::Ptr<OruMacSec::TableResources>, char const*>> const tables = {
      {engine0()->esecScIndex(), "ESEC_SC_TABLE"},
      {engine0()->isecScIndex(), "ISEC_SC_TABLE"},
      {engine0()->isecSpIndex(), "ISEC_SP_TABLE"},
      {engine0()->msSubportNum(), "SUB_PORT_POLICY_TABLE"}};
  for (auto const& [table, name] : tables) {
    table->allocateIndex(0);
    table->allocateIndex(1);
    capture.clear();
    host.macsecOn("Ethernet1");
    EXPECT_EQ(capture.texts(0),
              std::vector<std::string>{std::string(name) +
                                       " hardware resources are full on LogicalFapId 1, "
                                       "EngineInstance 0"});
    host.macsecOff("Ethernet1");
    table->freeIndex(0);
    table->freeIndex(1);
  }
}

TEST_F(AllocationTest, AFullTableIsReportedOnEveryAttemptAndTheEngineEndsFullOnceOnRelease) {
  startWith(chip(2, 4, 4), {"Ethernet2", "Ethernet4", "Ethernet6"});
  // Engine 0 serves all three. Fill its ingress SC table and its sub-port table.
  auto const engine = engine0();
  host.macsecOn("Ethernet2");
  // Ethernet2 holds entry 0 of each; the sub-port table also holds its reserved 4.
  for (U16 i = 1; i < 4; ++i) {
    engine->isecScIndex()->allocateIndex(i);
  }
  engine->msSubportNum()->allocateIndex(1);
  engine->msSubportNum()->allocateIndex(2);
  Capture capture(Vok::traceLevelBit(0));
  Vok::RingTrace ring(8);
  Vok::RingTrace* const previousRing = Vok::defaultRingTrace();
  Vok::defaultRingTraceIs(&ring);

  host.macsecOn("Ethernet4");
  EXPECT_FALSE(host.esec(1, "Ethernet4"));
  EXPECT_TRUE(engine->hwResourcesFull());
  EXPECT_EQ(capture.texts(0), (std::vector<std::string>{
                                  "ISEC_SC_TABLE hardware resources are full on LogicalFapId 1, "
                                  "EngineInstance 0"}))
      << "ingress SC and sub-port are both full: only the first is named";
  EXPECT_EQ(ring.messages(), capture.texts(0)) << "written to both trace channels";
  ASSERT_EQ(capture.logs.size(), 1u);
  EXPECT_EQ(capture.logs[0].name, "MACSEC_INTERFACE_HW_RESOURCE_FULL");
  EXPECT_EQ(capture.logs[0].text,
            "Unable to configure MACsec on Ethernet4 due to insufficient hardware resources on "
            "module 1, engine 0.");
  EXPECT_EQ(engine->esecScIndex()->allocatedIndexSize(), 2u) << "no table gained an entry";
  EXPECT_EQ(engine->isecSpIndex()->allocatedIndexSize(), 2u);

  host.macsecOn("Ethernet6");
  host.fapSm(1)->handleIntf(intf("Ethernet4"));
  EXPECT_EQ(capture.logNames(), (std::vector<std::string>(3, "MACSEC_INTERFACE_HW_RESOURCE_FULL")))
      << "raised at every failed attempt, also while the engine is already full";

  capture.clear();
  host.macsecOff("Ethernet2");
  EXPECT_FALSE(engine->hwResourcesFull());
  ASSERT_EQ(capture.logs.size(), 1u);
  EXPECT_EQ(capture.logs[0].name, "MACSEC_INTERFACE_HW_RESOURCE_NORMAL");
  EXPECT_EQ(capture.logs[0].text,
            "MACsec interface hardware resource utilization has returned to normal on module 1, "
            "engine 0.");
  EXPECT_FALSE(host.esec(1, "Ethernet4")) << "a refused interface waits for its next reconcile";

  host.fapSm(1)->handleIntf(intf("Ethernet4"));
  EXPECT_TRUE(host.esec(1, "Ethernet4"));
  host.macsecOff("Ethernet4");
  EXPECT_EQ(capture.logNames(), (std::vector<std::string>{"MACSEC_INTERFACE_HW_RESOURCE_NORMAL"}))
      << "NORMAL once per transition";
  Vok::defaultRingTraceIs(previousRing);
}

TEST_F(AllocationTest, ReleasingAnInterfaceThatHoldsNothingChangesNothing) {
  startWith(chip(1, 255, 255), {"Ethernet1"});
  host.macsecOn("Ethernet1");
  Capture capture(Vok::kAllTraceLevels);
  host.fapSm(1)->deallocateIndexesForIntf(intf("Ethernet7"));
  ASSERT_EQ(capture.traces.size(), 1u);
  EXPECT_EQ(capture.traces[0].text, " intfId: Ethernet7");
  EXPECT_EQ(host.fapStatus(1)->esecIndexInfoSize(), 1u);
  EXPECT_EQ(engine0()->isecScIndex()->allocatedIndexSize(), 1u);
}

// A record without its partner (left by a crash) must not make release free entries that other
// interfaces hold: the missing partner names no entry.
TEST_F(AllocationTest, ReleaseFreesOnlyEntriesThatAnExistingRecordNames) {
  startWith(chip(1, 255, 255), {"Ethernet1", "Ethernet2"});
  host.macsecOn("Ethernet2");
  ASSERT_EQ(host.isec(1, "Ethernet2"), isecRecord("Ethernet2", 0, 0, 0, 0));
  auto const status = host.fapStatus(1);
  status->esecIndexInfoIs(esecRecord("Ethernet1", 7, 0));
  engine0()->esecScIndex()->allocateIndex(7);

  host.fapSm(1)->deallocateIndexesForIntf(intf("Ethernet1"));
  EXPECT_FALSE(status->esecIndexInfoHas(SecIntfId(intf("Ethernet1"))));
  EXPECT_FALSE(engine0()->esecScIndex()->allocatedIndexHas(7)) << "the lone record's own entry";
  EXPECT_TRUE(engine0()->isecScIndex()->allocatedIndexHas(0)) << "Ethernet2's entries stay";
  EXPECT_TRUE(engine0()->isecSpIndex()->allocatedIndexHas(0));
  EXPECT_TRUE(engine0()->msSubportNum()->allocatedIndexHas(0));
  EXPECT_TRUE(engine0()->esecScIndex()->allocatedIndexHas(0));
}

TEST_F(AllocationTest, TheEngineIsAlwaysThePolicysAnswerNotTheRecordsField) {
  startWith(chip(2, 255, 255), {"Ethernet2"});
  host.macsecOn("Ethernet2");
  auto const status = host.fapStatus(1);
  // Someone rewrote the records' engine fields; release still frees in engine 0.
  status->esecIndexInfoIs(esecRecord("Ethernet2", 0, 1));
  status->isecIndexInfoIs(isecRecord("Ethernet2", 0, 0, 0, 1));
  host.engine(1, 1)->isecScIndex()->allocateIndex(0);
  host.macsecOff("Ethernet2");
  EXPECT_FALSE(engine0()->isecScIndex()->allocatedIndexHas(0));
  EXPECT_TRUE(host.engine(1, 1)->isecScIndex()->allocatedIndexHas(0));
}

TEST_F(AllocationTest, AnEngineThePolicyNamesButTheFapLacksStopsTheProcess) {
  testsupport::ChipConfig config = chip(1, 255, 255);
  config.engineOf[intf("Ethernet3")] = 5;
  startWith(config, {"Ethernet3"});
  EXPECT_DEATH(host.macsecOn("Ethernet3"),
               "the chip policy names an engine instance that does not exist.*"
               "OruMacSec/OruMacSecIndexSm");
}

}  // namespace
