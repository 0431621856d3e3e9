#include "OruMacSec/TableResources.h"

#include <gtest/gtest.h>

#include "platform/Nubis/Ptr.h"
#include "support/Capture.h"

namespace {

using OruMacSec::TableIndex;
using OruMacSec::TableResources;
using testsupport::Capture;

Nubis::Ptr<TableResources> table(U16 maxIndex, std::vector<U16> const& booked = {}) {
  Nubis::Ptr<TableResources> made(new TableResources("EsecScTable", maxIndex));
  for (U16 const index : booked) {
    made->allocateIndex(index);
  }
  return made;
}

TEST(TableResources, CountsAsFullOnceItHoldsMaxIndexEntries) {
  Capture capture(Vok::traceLevelBit(1));
  // maxIndex 0: full from the start although index 0 is free, and 0 can still be booked.
  auto empty = table(0);
  EXPECT_EQ(empty->getNextFreeIndex(), TableIndex::invalid());
  EXPECT_EQ(empty->allocateIndex(0), TableIndex(0));

  auto four = table(4, {0, 1, 2});
  EXPECT_EQ(four->getNextFreeIndex(), TableIndex(3));
  four->allocateIndex(3);
  EXPECT_EQ(four->getNextFreeIndex(), TableIndex::invalid()) << "index 4 is free, but 4 entries";
  EXPECT_EQ(capture.texts(1),
            (std::vector<std::string>{"There are no more free entries in table EsecScTable.",
                                      "There are no more free entries in table EsecScTable."}));
}

TEST(TableResources, HandsOutTheLowestFreeIndexAndReusesFreedOnesFirst) {
  auto t = table(10, {0, 1, 2, 3, 4, 5});
  EXPECT_EQ(t->getNextFreeIndex(), TableIndex(6));
  EXPECT_EQ(t->getNextFreeIndex(), TableIndex(6)) << "a search records nothing";
  t->freeIndex(3);
  EXPECT_EQ(t->getNextFreeIndex(), TableIndex(3));
  t->freeIndex(1);
  EXPECT_EQ(t->getNextFreeIndex(), TableIndex(1));
  EXPECT_EQ(t->allocatedIndexSize(), 4u);
}

TEST(TableResources, EntriesAboveMaxIndexCountButAreNeverHandedOut) {
  Capture capture(Vok::traceLevelBit(1));
  auto t = table(100);
  EXPECT_EQ(t->allocateIndex(500), TableIndex(500));
  EXPECT_TRUE(t->allocatedIndexHas(500));
  EXPECT_EQ(t->getNextFreeIndex(), TableIndex(0));

  // An entry above the range and 0..1 booked: the count reaches maxIndex 3 while 2 and 3 are
  // still free in the range.
  auto small = table(3, {0, 1, 7});
  EXPECT_EQ(small->getNextFreeIndex(), TableIndex::invalid());
  EXPECT_EQ(capture.texts(1),
            (std::vector<std::string>{"There are no more free entries in table EsecScTable."}));
}

TEST(TableResources, SearchStopsAtMaxIndex65535WithoutWrapping) {
  Nubis::Ptr<TableResources> t(new TableResources("IsecScTcam", 65535));
  for (std::uint32_t i = 0; i < 65535; ++i) {
    t->allocateIndex(U16(i));
  }
  // 65535 entries is the limit: full, whatever the search range holds.
  EXPECT_EQ(t->getNextFreeIndex(), TableIndex::invalid());
  t->freeIndex(65534);
  EXPECT_EQ(t->getNextFreeIndex(), TableIndex(65534));
}

TEST(TableResources, RefusesAnIndexInUseAndFreesSilently) {
  Capture capture(Vok::traceLevelBit(1) | Vok::traceLevelBit(8));
  auto t = table(10);
  EXPECT_EQ(t->allocateIndex(7), TableIndex(7));
  EXPECT_EQ(t->allocateIndex(7), TableIndex::invalid());
  EXPECT_EQ(t->allocatedIndexSize(), 1u);
  EXPECT_EQ(capture.texts(1), (std::vector<std::string>{
                                  "Unable to allocate index 7 in table EsecScTable. The index is "
                                  "not free."}));
  capture.clear();
  t->freeIndex(9);
  ASSERT_EQ(capture.traces.size(), 1u) << "only the entry trace";
  EXPECT_EQ(capture.traces[0].level, 8);
  EXPECT_EQ(capture.traces[0].className, "TableResources");
  EXPECT_EQ(capture.traces[0].function, "freeIndex");
  EXPECT_EQ(capture.traces[0].text, "");
  EXPECT_TRUE(t->allocatedIndexHas(7));
}

TEST(TableResources, CollectionMutatorsKeepOneEntryPerValue) {
  auto t = table(10);
  t->allocatedIndexIs(TableIndex(4));
  t->allocatedIndexIs(TableIndex(4));
  EXPECT_EQ(t->allocatedIndexSize(), 1u);
  EXPECT_EQ(t->allocatedIndexDel(4), TableIndex(4));
  EXPECT_EQ(t->allocatedIndexDel(4), TableIndex::unused());
  t->allocateIndex(1);
  t->allocateIndex(2);
  t->allocatedIndexDelAll();
  EXPECT_EQ(t->allocatedIndexSize(), 0u);
  EXPECT_EQ(t->name(), "EsecScTable");
  EXPECT_EQ(t->maxIndex(), 10);
}

}  // namespace
