// The walk shared by ordered sets and ordered collections: a cursor that remembers the key it
// stands on and advances to the smallest key greater than it. It survives any change of the
// container: keys present for the whole walk are visited exactly once, in ascending order.
#pragma once

#include "platform/Vok/Assert.h"

namespace Nubis::Impl {

// `Container` is a std::set or std::map (anything ordered with begin, lower_bound, upper_bound).
template <class Container, class K>
class OrderedCursor {
 public:
  // At the first key not less than `from`, or at the first key when `from` is null.
  OrderedCursor(Container const& container, K const* from) : container_(&container) {
    settle(from != nullptr ? container.lower_bound(*from) : container.begin());
  }

  explicit operator bool() const { return !atEnd_; }

  void advance() {
    if (!atEnd_) {
      settle(container_->upper_bound(key_));
    }
  }

  // The key the cursor stands on; the process stops if the walk has ended.
  K const& key() const {
    bool const iter_ = !atEnd_;
    VOK_ASSERT(iter_, "Nubis/OrderedCursor");
    return key_;
  }

 private:
  template <class Position>
  void settle(Position position) {
    atEnd_ = position == container_->end();
    if (!atEnd_) {
      key_ = keyOf(*position);
    }
  }
  template <class Entry>
  static K const& keyOf(Entry const& entry) {
    if constexpr (std::is_same_v<Entry, K>) {
      return entry;
    } else {
      return entry.first;
    }
  }

  Container const* container_;
  K key_{};
  bool atEnd_ = true;
};

}  // namespace Nubis::Impl
