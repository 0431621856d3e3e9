// The counted reference to an entity.
//
// A Ptr is nullable, copies and moves like a value, compares by identity and tests as bool. Each
// non-null Ptr holds one use of its entity; the entity is destroyed when the last one goes.
// Ptr<T> converts to Ptr<T const>, a read-only reference that keeps the entity alive all the same.
#pragma once

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

#include "platform/Nubis/Node.h"

namespace Nubis {

template <class T>
class Ptr {
 public:
  Ptr() = default;
  Ptr(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): null converts like a pointer.

  // Takes a use of `entity`; a newly created entity is handed over this way: Ptr<T>(new T(...)).
  explicit Ptr(T* entity) : entity_(entity) { retain(); }

  Ptr(Ptr const& other) : entity_(other.entity_) { retain(); }
  Ptr(Ptr&& other) noexcept : entity_(std::exchange(other.entity_, nullptr)) {}

  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(Ptr<U> const& other) : entity_(other.get()) {  // NOLINT(google-explicit-constructor)
    retain();
  }
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(Ptr<U>&& other) noexcept  // NOLINT(google-explicit-constructor)
      : entity_(std::exchange(other.entity_, nullptr)) {}

  ~Ptr() { drop(); }

  Ptr& operator=(Ptr other) noexcept {
    std::swap(entity_, other.entity_);
    return *this;
  }

  T* get() const { return entity_; }
  T* operator->() const { return entity_; }
  T& operator*() const { return *entity_; }
  explicit operator bool() const { return entity_ != nullptr; }

 private:
  template <class U>
  friend class Ptr;

  void retain() const {
    if (entity_ != nullptr) {
      static_cast<Node const*>(entity_)->ref();
    }
  }
  void drop() {
    if (T* const entity = std::exchange(entity_, nullptr)) {
      static_cast<Node const*>(entity)->unref();
    }
  }

  T* entity_ = nullptr;
};

template <class T, class U>
bool operator==(Ptr<T> const& a, Ptr<U> const& b) {
  return a.get() == b.get();
}
template <class T, class U>
bool operator!=(Ptr<T> const& a, Ptr<U> const& b) {
  return a.get() != b.get();
}
template <class T>
bool operator==(Ptr<T> const& a, std::nullptr_t) {
  return a.get() == nullptr;
}
template <class T>
bool operator!=(Ptr<T> const& a, std::nullptr_t) {
  return a.get() != nullptr;
}

}  // namespace Nubis
