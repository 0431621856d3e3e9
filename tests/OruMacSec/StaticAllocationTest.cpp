// Chips with a fixed index per interface.
#include <gtest/gtest.h>

#include "support/Capture.h"
#include "support/IndexHost.h"

namespace {

using OruMacSec::EsecIndexInfo;
using OruMacSec::IsecIndexInfo;
using OruMacSec::SecIntfId;
using OruMacSec::TableIndex;
using testsupport::Capture;
using testsupport::chip;
using testsupport::IndexHost;
using testsupport::intf;

class StaticAllocationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto config = chip(2, 255, 255, /*perPortDisabled=*/false, /*staticAllocation=*/true);
    config.staticIndexOf[intf("Ethernet2")] = 7;
    config.staticIndexOf[intf("Ethernet2.1")] = 8;
    config.staticIndexOf[intf("Ethernet4")] = 255;  // a faulty policy: the reserved index
    config.staticIndexOf[intf("Ethernet6")] = 7;    // a faulty policy: Ethernet2's index
    config.staticIndexOf[intf("Ethernet8")] = 256;  // a faulty policy: beyond the tables
    host.configs[1] = config;
  }
  IndexHost host;
};

TEST_F(StaticAllocationTest, APresentInterfaceGetsItsIndexInAllFourTablesWithoutMacsec) {
  host.addFap(1, {"Ethernet2"});
  Capture capture(Vok::traceLevelBit(4));
  host.start();
  SecIntfId const key(intf("Ethernet2"));
  EXPECT_EQ(host.esec(1, "Ethernet2"), EsecIndexInfo(key, TableIndex(7), 0));
  EXPECT_EQ(host.isec(1, "Ethernet2"),
            IsecIndexInfo(key, TableIndex(7), TableIndex(7), TableIndex(7), 0));
  auto const engine = host.engine(1, 0);
  for (auto const& table : {engine->esecScIndex(), engine->isecScIndex(), engine->isecSpIndex(),
                            engine->msSubportNum()}) {
    EXPECT_TRUE(table->allocatedIndexHas(7)) << table->name();
  }
  EXPECT_EQ(capture.texts(4).back(), "Static index for Ethernet2 is 7");
  EXPECT_FALSE(engine->hwResourcesFull());
}

TEST_F(StaticAllocationTest, MacsecStatusPlaysNoPartOnlyThePortsMembershipDoes) {
  host.addFap(1, {"Ethernet2"});
  host.start();
  host.macsecOn("Ethernet2.1");
  host.macsecOff("Ethernet2.1");
  EXPECT_TRUE(host.esec(1, "Ethernet2.1")) << "MACsec going away does not release it";

  Capture capture(Vok::kAllTraceLevels);
  host.fapSm(1)->allocateStaticIndexesForIntf(intf("Ethernet2"));
  EXPECT_EQ(capture.texts(9),
            (std::vector<std::string>{"Ethernet2 is already statically allocated"}));
  EXPECT_EQ(capture.traces.size(), 2u);

  host.delIntf(1, "Ethernet2");
  EXPECT_FALSE(host.esec(1, "Ethernet2"));
  // A port re-examines only those of its subinterfaces that have a MACsec status, so this one
  // keeps its records until it is itself reconciled.
  EXPECT_TRUE(host.esec(1, "Ethernet2.1"));
  host.fapSm(1)->handleIntf(intf("Ethernet2.1"));
  EXPECT_FALSE(host.esec(1, "Ethernet2.1"));
  EXPECT_EQ(host.engine(1, 0)->isecScIndex()->allocatedIndexSize(), 0u);
}

TEST_F(StaticAllocationTest, ARecordWithoutItsPartnerIsAllocatedAfresh) {
  host.addFap(1, {"Ethernet2"});
  host.start();
  host.fapStatus(1)->isecIndexInfoDel(SecIntfId(intf("Ethernet2")));
  Capture capture(Vok::traceLevelBit(1));
  host.fapSm(1)->handleIntf(intf("Ethernet2"));
  EXPECT_TRUE(host.isec(1, "Ethernet2"));
  EXPECT_EQ(capture.texts(1).size(), 4u) << "all four tables still hold 7 and say so";
}

TEST_F(StaticAllocationTest, AnIndexAlreadyBookedIsRefusedByThatTableButPublishedAllTheSame) {
  host.addFap(1, {"Ethernet4"});
  Capture capture(Vok::traceLevelBit(1));
  host.start();
  EXPECT_EQ(
      capture.texts(1),
      (std::vector<std::string>{
          "Unable to allocate index 255 in table EsecScTable. The index is not free.",
          "Unable to allocate index 255 in table IsecSpTcam. The index is not free.",
          "Unable to allocate index 255 in table SubPortPolicyTable. The index is not free."}));
  EXPECT_EQ(host.esec(1, "Ethernet4")->esecScIndex(), TableIndex(255));
}

// Two interfaces of one engine given one index: each table refuses the second booking, and both
// are published with it. Releasing either frees the entry for both, which is why the policy must
// keep static indexes unique per engine.
TEST_F(StaticAllocationTest, ADuplicateStaticIndexIsTracedAndPublishedAsThePolicySaysIt) {
  host.addFap(1, {"Ethernet2", "Ethernet6"});
  Capture capture(Vok::traceLevelBit(1));
  host.start();
  EXPECT_EQ(capture.texts(1).size(), 4u);
  EXPECT_EQ(capture.texts(1).front(),
            "Unable to allocate index 7 in table EsecScTable. The index is not free.");
  EXPECT_EQ(host.esec(1, "Ethernet6")->esecScIndex(), TableIndex(7));
}

TEST_F(StaticAllocationTest, AnIndexBeyondTheTablesIsRefusedAndNothingIsPublished) {
  host.addFap(1, {"Ethernet8"});
  Capture capture(Vok::traceLevelBit(1));
  host.start();
  EXPECT_FALSE(host.esec(1, "Ethernet8"));
  EXPECT_FALSE(host.isec(1, "Ethernet8"));
  EXPECT_EQ(capture.texts(1), (std::vector<std::string>{
                                  "Static index 256 for Ethernet8 is beyond the largest index 255 "
                                  "of its tables"}));
  EXPECT_EQ(host.engine(1, 0)->esecScIndex()->allocatedIndexSize(), 1u) << "the reservation only";
}

}  // namespace
