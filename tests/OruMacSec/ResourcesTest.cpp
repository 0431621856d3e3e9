// The allocators: a table's free-entry search and bookings on its index set, and an engine's four
// tables.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <set>

#include "OruMacSec/EngineResources.h"
#include "OruMacSec/IndexSet.h"
#include "support/Capture.h"

namespace {

using OruMacSec::IndexSet;
using OruMacSec::TableIndex;
using OruMacSec::TableResources;

// The lowest value missing from a sorted set, by the obvious walk.
std::uint32_t lowestMissing(std::set<U16> const& model) {
  std::uint32_t candidate = 0;
  for (auto value = model.begin(); value != model.end() && *value == candidate; ++value) {
    ++candidate;
  }
  return candidate;
}

// Random bookings, releases and clears against a std::set, clustered so that whole words and
// groups of words of the index set fill up and empty: the search gives the lowest free index in
// 0..maxIndex until the table holds maxIndex entries (entries above maxIndex included), and
// records nothing.
RC_GTEST_PROP(TableResources, AgreesWithASortedSetOnEveryOperation, ()) {
  U16 const maxIndex = *rc::gen::element<U16>(0, 3, 70, 65535);
  auto const base = *rc::gen::element<std::uint32_t>(0, 4032, 65472);
  auto const operations = *rc::gen::container<std::vector<std::pair<int, std::uint32_t>>>(
      rc::gen::pair(rc::gen::weightedElement<int>({{10, 0}, {10, 1}, {1, 2}}),
                    rc::gen::inRange<std::uint32_t>(0, 130)));
  Nubis::Ptr<TableResources> const table(new TableResources("EsecScTable", maxIndex));
  std::set<U16> model;
  for (auto const& [operation, offset] : operations) {
    U16 const index = U16((base + offset) % IndexSet::kRange);
    if (operation == 0) {
      bool const added = model.insert(index).second;
      RC_ASSERT(table->allocateIndex(index) == (added ? TableIndex(index) : TableIndex::invalid()));
    } else if (operation == 1) {
      RC_ASSERT(table->allocatedIndexDel(index) ==
                (model.erase(index) == 1 ? TableIndex(index) : TableIndex::unused()));
    } else {
      table->allocatedIndexDelAll();
      model.clear();
    }
    auto const missing = lowestMissing(model);
    TableIndex const expected =
        model.size() >= maxIndex ? TableIndex::invalid() : TableIndex(U16(missing));
    RC_ASSERT(table->getNextFreeIndex() == expected);
    RC_ASSERT(table->getNextFreeIndex() == expected);
    RC_ASSERT(table->allocatedIndexSize() == model.size());
    RC_ASSERT(table->allocatedIndexHas(index) == (model.count(index) == 1));
  }
  std::vector<U16> walked;
  for (auto entry = table->allocatedIndexIter(); entry; ++entry) {
    walked.push_back(entry.key());
  }
  RC_ASSERT(walked == std::vector<U16>(model.begin(), model.end()));
}

TEST(IndexSet, FindsHolesAfterWholeWordsAndTheWholeRangeFilledUpAndAfterAClear) {
  IndexSet set;
  for (std::uint32_t i = 0; i < IndexSet::kRange; ++i) {
    set.add(U16(i));
  }
  EXPECT_EQ(set.lowestMissing(), std::nullopt);
  set.remove(40000);
  EXPECT_EQ(set.lowestMissing(), std::optional<U16>(40000));
  set.remove(65535);
  EXPECT_EQ(set.next(65535), std::nullopt) << "nothing beyond the last word";
  set.remove(7);
  EXPECT_EQ(set.lowestMissing(), std::optional<U16>(7));
  set.clear();
  EXPECT_EQ(set.size(), 0u);
  EXPECT_EQ(set.next(0), std::nullopt);
  set.add(5);
  EXPECT_EQ(set.lowestMissing(), std::optional<U16>(0)) << "no word is left marked full";
  set.add(0);
  EXPECT_EQ(set.lowestMissing(), std::optional<U16>(1));
}

TEST(TableResources, TracesItsRefusalsAndSearchesTheWholeSixteenBitRange) {
  testsupport::Capture capture(Vok::traceLevelBit(1));
  Nubis::Ptr<TableResources> const table(new TableResources("IsecScTcam", 65535));
  EXPECT_EQ(table->allocateIndex(7), TableIndex(7));
  EXPECT_EQ(table->allocateIndex(7), TableIndex::invalid());
  EXPECT_EQ(capture.texts(1), (std::vector<std::string>{
                                  "Unable to allocate index 7 in table IsecScTcam. The index is "
                                  "not free."}));
  for (std::uint32_t i = 0; i < 65535; ++i) {
    table->allocatedIndexIs(TableIndex(U16(i)));
  }
  capture.clear();
  EXPECT_EQ(table->getNextFreeIndex(), TableIndex::invalid()) << "65535 entries: full";
  EXPECT_EQ(capture.texts(1),
            (std::vector<std::string>{"There are no more free entries in table IsecScTcam."}));
  EXPECT_EQ(table->allocatedIndexDel(65534), TableIndex(65534));
  EXPECT_EQ(table->allocatedIndexDel(65534), TableIndex::unused());
  EXPECT_EQ(table->getNextFreeIndex(), TableIndex(65534));
  EXPECT_EQ(table->allocatedIndex(65533), TableIndex(65533));
  EXPECT_EQ(table->allocatedIndex(65534), TableIndex::unused());
  table->allocatedIndexDelAll();
  EXPECT_EQ(table->getNextFreeIndex(), TableIndex(0));
  EXPECT_DEATH((void)table->allocatedIndexIter().key(), "iter_");
}

TEST(EngineResources, KeepsATableOfTheSameNameAndSizeAndStartsAfreshOtherwise) {
  auto const baseline = Nubis::Node::liveCount();
  {
    Nubis::Ptr<OruMacSec::EngineResources> engine(new OruMacSec::EngineResources(3));
    EXPECT_EQ(engine->engineInstance(), 3);
    EXPECT_FALSE(engine->hwResourcesFull());
    EXPECT_FALSE(engine->esecScIndex() || engine->isecScIndex() || engine->isecSpIndex() ||
                 engine->msSubportNum());
    auto const first = engine->esecScIndexIs("EsecScTable", 100);
    first->allocateIndex(5);
    EXPECT_EQ(engine->esecScIndexIs("EsecScTable", 100), first);
    auto const resized = engine->esecScIndexIs("EsecScTable", 101);
    EXPECT_NE(resized, first);
    EXPECT_EQ(resized->allocatedIndexSize(), 0u);
    EXPECT_NE(engine->esecScIndexIs("OtherTable", 101), resized);
    EXPECT_EQ(engine->esecScIndex()->name(), "OtherTable");
    engine->msSubportNumIs("SubPortPolicyTable", 12);
    EXPECT_EQ(engine->msSubportNumDel()->maxIndex(), 12);
    EXPECT_FALSE(engine->msSubportNum() || engine->msSubportNumDel());
  }
  EXPECT_EQ(Nubis::Node::liveCount(), baseline) << "engine and tables are all destroyed";
}

}  // namespace
