// Keys carried by change notifications.
//
// A notification names the changed collection entry by its key, whatever the key's type. Key
// keeps the key's 64 bits; a key type says how to pack and unpack itself by specialising
// KeyTraits (integral types are packed as they are).
#pragma once

#include <cstdint>
#include <type_traits>

namespace Nubis {

// Attribute identifiers, numbered by the runtime per type from 130 upwards in declaration order.
using AttrId = std::int16_t;

template <class K, class Enable = void>
struct KeyTraits;

template <class K>
struct KeyTraits<K, std::enable_if_t<std::is_integral_v<K>>> {
  static std::uint64_t toBits(K key) { return static_cast<std::uint64_t>(key); }
  static K fromBits(std::uint64_t bits) { return static_cast<K>(bits); }
};

class Key {
 public:
  template <class K>
  static Key of(K const& key) {
    return Key(KeyTraits<K>::toBits(key));
  }

  // The key as the type the notified attribute is keyed by.
  template <class K>
  K as() const {
    return KeyTraits<K>::fromBits(bits_);
  }

  std::uint64_t bits() const { return bits_; }

 private:
  explicit Key(std::uint64_t bits) : bits_(bits) {}
  std::uint64_t bits_;
};

}  // namespace Nubis
