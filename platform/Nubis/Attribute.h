// What the collection attributes of entities share: the entity that announces their changes, the
// attribute's identifier, and the lookups that follow from a collection's own find and set.
#pragma once

#include "platform/Nubis/Key.h"
#include "platform/Nubis/Node.h"
#include "platform/Nubis/Publisher.h"

namespace Nubis::Impl {

class Attribute {
 public:
  Attribute(Attribute const&) = delete;
  Attribute& operator=(Attribute const&) = delete;

  AttrId attrId() const { return attrId_; }

 protected:
  // `owner` announces the changes; `attrId` names the attribute in its notifications.
  Attribute(Node const& owner, AttrId attrId) : owner_(owner), attrId_(attrId) {}
  ~Attribute() = default;

  // Tells the owner's subscribers, if it has a publisher, that the entry at `key` changed.
  template <class K>
  void announce(K const& key) const {
    if (Publisher* const publisher = owner_.publisher()) {
      publisher->notify(attrId_, Key::of(key));
    }
  }

 private:
  Node const& owner_;
  AttrId const attrId_;
};

// get and findOrAdd for a keyed collection `Derived` that offers find(key) and set(key, value).
template <class Derived, class K, class V>
class KeyedAttribute : public Attribute {
 public:
  // A copy of the stored value, or V{} when absent.
  V get(K const& key) const {
    V const* const value = self().find(key);
    return value != nullptr ? *value : V{};
  }

  // The value stored under `key`; when absent, stores make() there first (and announces it).
  template <class Make>
  V findOrAdd(K const& key, Make&& make) {
    if (V const* const existing = self().find(key)) {
      return *existing;
    }
    V created = make();
    static_cast<Derived&>(*this).set(key, created);
    return created;
  }

 protected:
  using Attribute::Attribute;
  ~KeyedAttribute() = default;

 private:
  Derived const& self() const { return static_cast<Derived const&>(*this); }
};

}  // namespace Nubis::Impl
