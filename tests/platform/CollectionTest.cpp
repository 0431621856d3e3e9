// Keyed collections and ordered sets: contents against a std::map model under random changes,
// walks that survive deletion, and the "iter_" check on a deleted entry.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <vector>

#include "platform/Nubis/OrderedCollection.h"
#include "tests/platform/Entities.h"

namespace {

using platformtest::Source;

// One random change: set (key, value) or delete key; keys are drawn from a small range so that
// changes collide.
struct Change {
  bool del;
  int key;
  int value;
};

rc::Gen<std::vector<Change>> changes() {
  return rc::gen::container<std::vector<Change>>(rc::gen::construct<Change>(
      rc::gen::arbitrary<bool>(), rc::gen::inRange(0, 40), rc::gen::inRange(1, 4)));
}

// Applies `change` to the collection and to the model alike.
template <class C>
void apply(C& collection, std::map<int, int>& model, Change const& change) {
  if (change.del) {
    auto const found = model.find(change.key);
    RC_ASSERT(collection.del(change.key) == (found == model.end() ? 0 : found->second));
    model.erase(change.key);
    return;
  }
  collection.set(change.key, change.value);
  model[change.key] = change.value;
}

// Walks the collection while applying `during` at the walk's own pace, one change per step, and
// checks the walk's promises: every key present throughout is visited once and, for ordered
// collections, keys come strictly ascending. (An unordered walk may meet a key again when it was
// deleted and added anew during the walk: that is a new entry.)
template <class C>
void checkWalkAgainstModel(C& collection, std::map<int, int>& model,
                           std::vector<Change> const& during, bool ordered) {
  std::set<int> untouched;
  for (auto const& [key, value] : model) {
    untouched.insert(key);
  }
  for (auto const& change : during) {
    untouched.erase(change.key);
  }
  std::vector<int> visited;
  std::size_t next = 0;
  for (auto it = collection.iter(); it; ++it) {
    RC_ASSERT(collection.has(it.key()));
    RC_ASSERT(it.value() == model.at(it.key()));
    visited.push_back(it.key());
    if (next < during.size()) {
      apply(collection, model, during[next++]);
    }
  }
  for (int const key : untouched) {
    RC_ASSERT(std::count(visited.begin(), visited.end(), key) == 1);
  }
  if (ordered) {
    RC_ASSERT(std::adjacent_find(visited.begin(), visited.end(), std::greater_equal<>()) ==
              visited.end());
  }
  RC_ASSERT(collection.size() == model.size());
  for (auto const& [key, value] : model) {
    RC_ASSERT(collection.get(key) == value);
  }
}

RC_GTEST_PROP(Collection, MatchesAMapAndWalksSurviveChanges, ()) {
  Nubis::Ptr<Source> owner(new Source);
  Nubis::Collection<int, int> collection(*owner, 140);
  std::map<int, int> model;
  for (auto const& change : *changes()) {
    apply(collection, model, change);
  }
  checkWalkAgainstModel(collection, model, *changes(), false);
}

RC_GTEST_PROP(OrderedCollection, MatchesAMapAndWalksAscendingThroughChanges, ()) {
  Nubis::Ptr<Source> owner(new Source);
  Nubis::OrderedCollection<int, int> collection(*owner, 140);
  std::map<int, int> model;
  for (auto const& change : *changes()) {
    apply(collection, model, change);
  }
  checkWalkAgainstModel(collection, model, *changes(), true);
}

TEST(Collection, DeletingTheEntryUnderTheIteratorMovesOnToTheNext) {
  Nubis::Ptr<Source> owner(new Source);
  auto& collection = owner->value;
  for (int key = 0; key < 100; ++key) {
    collection.set(key, key);
  }
  // Delete every entry as it is visited: enough tombstones that compaction would be due.
  int visited = 0;
  for (auto it = collection.iter(); it; ++it) {
    collection.del(it.key());
    ++visited;
  }
  EXPECT_EQ(visited, 100);
  EXPECT_TRUE(collection.empty());

  collection.set(1, 1);
  collection.set(2, 2);
  auto it = collection.iter();
  collection.delAll();  // an open walk survives emptying the collection
  EXPECT_FALSE(++it);
}

TEST(CollectionDeathTest, ReadingADeletedEntryStopsTheProcess) {
  Nubis::Ptr<Source> owner(new Source);
  owner->value.set(1, 1);
  auto it = owner->value.iter();
  owner->value.del(1);
  EXPECT_DEATH((void)it.value(), "iter_");

  Nubis::OrderedCollection<int, int> ordered(*owner, 140);
  ordered.set(1, 1);
  auto orderedIt = ordered.iter();
  ordered.del(1);
  EXPECT_DEATH((void)orderedIt.value(), "iter_");
}

TEST(OrderedSet, WalksAscendingFromAnyKeyAndSurvivesChanges) {
  Nubis::Ptr<Source> owner(new Source);
  auto& set = owner->member;
  for (int key : {50, 10, 40, 20, 30}) {
    set.add(key);
  }
  std::vector<int> visited;
  for (auto it = set.iterFrom(15); it; ++it) {
    visited.push_back(*it);
    if (*it == 20) {
      set.del(20);  // the member under the walk
      set.del(40);  // one ahead of it
      set.add(35);  // one ahead, added
      set.add(5);   // one behind, added
    }
  }
  EXPECT_EQ(visited, (std::vector<int>{20, 30, 35, 50}));
  EXPECT_FALSE(set.del(40));
  EXPECT_EQ(set.size(), 5u);
}

}  // namespace
