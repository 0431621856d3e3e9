// Keyed collections: the collection attributes of entities.
//
// A Collection maps keys to child entities (V = Ptr<Child>) or to value records. Lookup of a
// missing key gives V{} (a null Ptr, or a default-constructed record). Each change is announced
// through the owning entity's publisher, if it has one, with the attribute's identifier and the
// key: an entry added, replaced by a different value, or removed.
//
// Iteration order carries no meaning. An Iterator survives deletion of any entry, the one under
// it included: advancing then moves to the next remaining entry, and every entry present for the
// whole walk is visited exactly once. Entries added during a walk may or may not be visited.
// Reading the key or value of a deleted entry, or of an iterator at its end, stops the process
// with the framework's assertion "iter_". An iterator must not outlive its collection.
#pragma once

#include <cstddef>
#include <functional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/Nubis/Attribute.h"
#include "platform/Nubis/Key.h"
#include "platform/Nubis/Node.h"
#include "platform/Nubis/Publisher.h"
#include "platform/Vok/Assert.h"

namespace Nubis {

template <class K, class V, class Hash = std::hash<K>>
class Collection : public Impl::KeyedAttribute<Collection<K, V, Hash>, K, V> {
  // Entries live in slots; deletion leaves a tombstone so that iterator positions stay valid.
  // Tombstones are compacted away when no iterator is open.
  struct Slot {
    K key;
    V value;
    bool live;
  };

 public:
  class Iterator {
   public:
    explicit Iterator(Collection const& collection) : collection_(&collection) {
      ++collection_->openIterators_;
      skipTombstones();
    }
    Iterator(Iterator const& other) : collection_(other.collection_), pos_(other.pos_) {
      ++collection_->openIterators_;
    }
    Iterator& operator=(Iterator const& other) {
      Iterator copy(other);
      std::swap(collection_, copy.collection_);
      std::swap(pos_, copy.pos_);
      return *this;
    }
    ~Iterator() { --collection_->openIterators_; }

    // True until the walk has passed the last entry.
    explicit operator bool() const { return pos_ < collection_->slots_.size(); }

    Iterator& operator++() {
      if (pos_ < collection_->slots_.size()) {
        ++pos_;
      }
      skipTombstones();
      return *this;
    }

    K const& key() const { return slot().key; }
    V const& value() const { return slot().value; }
    V const& operator*() const { return slot().value; }
    V const* operator->() const { return &slot().value; }

   private:
    Slot const& slot() const {
      bool const iter_ = pos_ < collection_->slots_.size() && collection_->slots_[pos_].live;
      VOK_ASSERT(iter_, "Nubis/Collection");
      return collection_->slots_[pos_];
    }
    void skipTombstones() {
      auto const& slots = collection_->slots_;
      while (pos_ < slots.size() && !slots[pos_].live) {
        ++pos_;
      }
    }

    Collection const* collection_;
    std::size_t pos_ = 0;
  };

  // `owner` announces the changes; `attrId` names the attribute in its notifications.
  Collection(Node const& owner, AttrId attrId)
      : Impl::KeyedAttribute<Collection, K, V>(owner, attrId) {}

  std::size_t size() const { return index_.size(); }
  bool empty() const { return index_.empty(); }
  bool has(K const& key) const { return index_.count(key) != 0; }

  // The stored value, or null when absent. Valid until the collection next changes.
  V const* find(K const& key) const {
    auto const found = index_.find(key);
    return found == index_.end() ? nullptr : &slots_[found->second].value;
  }

  // Stores `value` under `key`, replacing what was there; announces it unless nothing changed.
  void set(K const& key, V value) {
    auto const found = index_.find(key);
    if (found != index_.end()) {
      V& stored = slots_[found->second].value;
      if (stored == value) {
        return;
      }
      // The replaced value (perhaps the last use of a child) goes after the announcement.
      [[maybe_unused]] V const replaced = std::exchange(stored, std::move(value));
      this->announce(key);
      return;
    }
    index_.emplace(key, slots_.size());
    slots_.push_back(Slot{key, std::move(value), true});
    this->announce(key);
  }

  // Removes the entry and returns its value (V{} when absent), announcing the removal.
  V del(K const& key) {
    auto const found = index_.find(key);
    if (found == index_.end()) {
      return V{};
    }
    Slot& slot = slots_[found->second];
    index_.erase(found);
    V removed = std::exchange(slot.value, V{});
    slot.live = false;
    ++tombstones_;
    compactIfWorthIt();
    this->announce(key);
    return removed;
  }

  // Removes every entry, announcing each removal. Removed child entities are released after the
  // collection is empty.
  void delAll() {
    std::vector<Slot> removed;
    removed.swap(slots_);
    index_.clear();
    tombstones_ = 0;
    if (openIterators_ != 0) {
      // Open iterators keep their positions: leave as many tombstones as there were slots.
      slots_.resize(removed.size(), Slot{K{}, V{}, false});
      tombstones_ = slots_.size();
    }
    for (Slot const& slot : removed) {
      if (slot.live) {
        this->announce(slot.key);
      }
    }
  }

  Iterator iter() const { return Iterator(*this); }

 private:
  void compactIfWorthIt() {
    if (openIterators_ != 0 || tombstones_ < 16 || tombstones_ * 2 < slots_.size()) {
      return;
    }
    std::vector<Slot> live;
    live.reserve(index_.size());
    for (Slot& slot : slots_) {
      if (slot.live) {
        index_[slot.key] = live.size();
        live.push_back(std::move(slot));
      }
    }
    slots_.swap(live);
    tombstones_ = 0;
  }

  std::vector<Slot> slots_;
  std::unordered_map<K, std::size_t, Hash> index_;
  std::size_t tombstones_ = 0;
  mutable std::size_t openIterators_ = 0;
};

}  // namespace Nubis
