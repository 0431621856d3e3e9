// Ordered sets of keys: set attributes of entities that iterate in ascending key order.
//
// Each key added or removed is announced through the owning entity's publisher, if it has one.
// An Iterator survives any change of the set: members present for the whole walk are visited
// exactly once, in ascending order, and no member is visited twice.
#pragma once

#include <cstddef>
#include <set>

#include "platform/Nubis/Attribute.h"
#include "platform/Nubis/Key.h"
#include "platform/Nubis/Node.h"
#include "platform/Nubis/OrderedCursor.h"
#include "platform/Nubis/Publisher.h"

namespace Nubis {

template <class K>
class OrderedSet : public Impl::Attribute {
 public:
  class Iterator {
   public:
    explicit Iterator(OrderedSet const& set, K const* from = nullptr)
        : cursor_(set.members_, from) {}

    explicit operator bool() const { return bool(cursor_); }
    Iterator& operator++() {
      cursor_.advance();
      return *this;
    }
    K const& key() const { return cursor_.key(); }
    K const& operator*() const { return cursor_.key(); }

   private:
    Impl::OrderedCursor<std::set<K>, K> cursor_;
  };

  // `owner` announces the changes; `attrId` names the attribute in its notifications.
  OrderedSet(Node const& owner, AttrId attrId) : Attribute(owner, attrId) {}

  std::size_t size() const { return members_.size(); }
  bool empty() const { return members_.empty(); }
  bool has(K const& key) const { return members_.count(key) != 0; }

  // Adds `key`; announces it if it was not a member.
  void add(K const& key) {
    if (members_.insert(key).second) {
      announce(key);
    }
  }

  // Removes `key`; announces it if it was a member. Returns whether it was.
  bool del(K const& key) {
    if (members_.erase(key) == 0) {
      return false;
    }
    announce(key);
    return true;
  }

  void delAll() {
    std::set<K> removed;
    removed.swap(members_);
    for (K const& key : removed) {
      announce(key);
    }
  }

  Iterator iter() const { return Iterator(*this); }
  // A walk that starts at the first member not less than `from`.
  Iterator iterFrom(K const& from) const { return Iterator(*this, &from); }

 private:
  std::set<K> members_;
};

}  // namespace Nubis
