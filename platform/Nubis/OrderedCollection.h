// Ordered keyed collections: collection attributes that iterate in ascending key order and can be
// walked from any key on (for example the subinterfaces of one port, which follow the port).
//
// Like Collection (see Collection.h) they map keys to child entities or value records, give V{}
// for a missing key, and announce each change through the owning entity's publisher. An Iterator
// survives any change of the collection: entries present for the whole walk are visited exactly
// once, in ascending order, none twice. Reading the value of an entry deleted under the iterator,
// or of an iterator at its end, stops the process with the framework's assertion "iter_".
#pragma once

#include <cstddef>
#include <map>
#include <utility>

#include "platform/Nubis/Attribute.h"
#include "platform/Nubis/Key.h"
#include "platform/Nubis/Node.h"
#include "platform/Nubis/OrderedCursor.h"
#include "platform/Nubis/Publisher.h"
#include "platform/Vok/Assert.h"

namespace Nubis {

template <class K, class V>
class OrderedCollection : public Impl::KeyedAttribute<OrderedCollection<K, V>, K, V> {
 public:
  class Iterator {
   public:
    explicit Iterator(OrderedCollection const& collection, K const* from = nullptr)
        : collection_(&collection), cursor_(collection.entries_, from) {}

    explicit operator bool() const { return bool(cursor_); }
    Iterator& operator++() {
      cursor_.advance();
      return *this;
    }
    K const& key() const { return cursor_.key(); }
    V const& value() const {
      auto const found = collection_->entries_.find(cursor_.key());
      bool const iter_ = found != collection_->entries_.end();
      VOK_ASSERT(iter_, "Nubis/OrderedCollection");
      return found->second;
    }
    V const& operator*() const { return value(); }
    V const* operator->() const { return &value(); }

   private:
    OrderedCollection const* collection_;
    Impl::OrderedCursor<std::map<K, V>, K> cursor_;
  };

  // `owner` announces the changes; `attrId` names the attribute in its notifications.
  OrderedCollection(Node const& owner, AttrId attrId)
      : Impl::KeyedAttribute<OrderedCollection, K, V>(owner, attrId) {}

  std::size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  bool has(K const& key) const { return entries_.count(key) != 0; }

  // The stored value, or null when absent. Valid until that entry is removed.
  V const* find(K const& key) const {
    auto const found = entries_.find(key);
    return found == entries_.end() ? nullptr : &found->second;
  }
  // Stores `value` under `key`; announces it unless nothing changed.
  void set(K const& key, V value) {
    auto const [position, inserted] = entries_.try_emplace(key, value);
    if (!inserted) {
      if (position->second == value) {
        return;
      }
      // The replaced value (perhaps the last use of a child) goes after the announcement.
      [[maybe_unused]] V const replaced = std::exchange(position->second, std::move(value));
      this->announce(key);
      return;
    }
    this->announce(key);
  }

  // Removes the entry and returns its value (V{} when absent), announcing the removal.
  V del(K const& key) {
    auto const found = entries_.find(key);
    if (found == entries_.end()) {
      return V{};
    }
    V removed = std::move(found->second);
    entries_.erase(found);
    this->announce(key);
    return removed;
  }

  // Removes every entry, announcing each removal; removed children are released at the end.
  void delAll() {
    std::map<K, V> removed;
    removed.swap(entries_);
    for (auto const& entry : removed) {
      this->announce(entry.first);
    }
  }

  Iterator iter() const { return Iterator(*this); }
  // A walk that starts at the first entry whose key is not less than `from`.
  Iterator iterFrom(K const& from) const { return Iterator(*this, &from); }

 private:
  std::map<K, V> entries_;
};

}  // namespace Nubis
