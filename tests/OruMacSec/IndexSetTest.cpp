#include "OruMacSec/IndexSet.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <set>

namespace {

using OruMacSec::IndexSet;

// The lowest value missing from a sorted set, by the obvious walk.
std::optional<U16> lowestMissing(std::set<U16> const& model) {
  std::uint32_t candidate = 0;
  for (U16 const value : model) {
    if (value != candidate) {
      break;
    }
    ++candidate;
  }
  return candidate < IndexSet::kRange ? std::optional<U16>(U16(candidate)) : std::nullopt;
}

// Random adds and removes, clustered so that whole words and groups of words fill up and empty,
// against a std::set.
RC_GTEST_PROP(IndexSet, AgreesWithASortedSetOnEveryOperation, ()) {
  auto const base = *rc::gen::element<std::uint32_t>(0, 4032, 65472);
  auto const operations = *rc::gen::container<std::vector<std::pair<bool, std::uint32_t>>>(
      rc::gen::pair(rc::gen::arbitrary<bool>(), rc::gen::inRange<std::uint32_t>(0, 130)));
  IndexSet set;
  std::set<U16> model;
  for (auto const& [add, offset] : operations) {
    U16 const value = U16((base + offset) % IndexSet::kRange);
    if (add) {
      RC_ASSERT(set.add(value) == model.insert(value).second);
    } else {
      RC_ASSERT(set.remove(value) == (model.erase(value) == 1));
    }
    RC_ASSERT(set.size() == model.size());
    RC_ASSERT(set.lowestMissing() == lowestMissing(model));
  }
  std::vector<U16> walked;
  for (auto value = set.next(0); value; value = set.next(std::uint32_t(*value) + 1)) {
    walked.push_back(*value);
  }
  RC_ASSERT(walked == std::vector<U16>(model.begin(), model.end()));
}

TEST(IndexSet, FindsTheHoleAfterTheWholeRangeFilledUp) {
  IndexSet set;
  for (std::uint32_t i = 0; i < IndexSet::kRange; ++i) {
    set.add(U16(i));
  }
  EXPECT_EQ(set.lowestMissing(), std::nullopt);
  set.remove(40000);
  EXPECT_EQ(set.lowestMissing(), std::optional<U16>(40000));
  set.remove(65535);
  set.remove(7);
  EXPECT_EQ(set.lowestMissing(), std::optional<U16>(7));
  set.clear();
  EXPECT_EQ(set.size(), 0u);
  EXPECT_EQ(set.lowestMissing(), std::optional<U16>(0));
  EXPECT_EQ(set.next(0), std::nullopt);
}

}  // namespace
