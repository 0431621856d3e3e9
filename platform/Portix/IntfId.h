// Interface identifiers.
//
// An IntfId names a port ("Ethernet<N>", N from 1) or a subinterface of a port
// ("Ethernet<N>.<M>", M from 1). Components treat it as an opaque 64-bit value: equality, a total
// order by the unsigned value, a hash and a text form. The order puts ports by N, each port just
// before its own subinterfaces, which follow by M. A default-constructed IntfId names nothing.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/Nubis/Key.h"
#include "platform/Vok/Format.h"

namespace Portix {

class IntfId {
 public:
  constexpr IntfId() = default;

  // Parses a name; throws std::invalid_argument naming the text when it is malformed (a number
  // that is missing, zero, has leading zeros or does not fit 32 bits, or any other text).
  explicit IntfId(std::string_view name);

  // The identifier with this 64-bit value (as stored by a platform database).
  static constexpr IntfId fromValue(std::uint64_t value) { return IntfId(value, 0); }

  constexpr std::uint64_t value() const { return value_; }

  friend constexpr bool operator==(IntfId a, IntfId b) { return a.value_ == b.value_; }
  friend constexpr bool operator!=(IntfId a, IntfId b) { return a.value_ != b.value_; }
  friend constexpr bool operator<(IntfId a, IntfId b) { return a.value_ < b.value_; }
  friend constexpr bool operator>(IntfId a, IntfId b) { return a.value_ > b.value_; }
  friend constexpr bool operator<=(IntfId a, IntfId b) { return a.value_ <= b.value_; }
  friend constexpr bool operator>=(IntfId a, IntfId b) { return a.value_ >= b.value_; }

 private:
  constexpr IntfId(std::uint64_t value, int /*tag*/) : value_(value) {}
  std::uint64_t value_ = 0;
};

// The name of the interface ("Ethernet3", "Ethernet3.10").
std::string valueToStrep(IntfId id);
std::ostream& operator<<(std::ostream& out, IntfId id);

namespace SubIntfId {

// Whether `id` names a subinterface.
constexpr bool isSubIntfId(IntfId id) {
  return (id.value() & 0xffffffffu) != 0;
}

// The port of a subinterface; meaningful only when isSubIntfId(id).
constexpr IntfId parentIntfId(IntfId id) {
  return IntfId::fromValue(id.value() & ~0xffffffffull);
}

}  // namespace SubIntfId
}  // namespace Portix

template <>
struct std::hash<Portix::IntfId> {
  std::size_t operator()(Portix::IntfId id) const noexcept {
    return std::hash<std::uint64_t>()(id.value());
  }
};

template <>
struct Nubis::KeyTraits<Portix::IntfId> {
  static std::uint64_t toBits(Portix::IntfId id) { return id.value(); }
  static Portix::IntfId fromBits(std::uint64_t bits) { return Portix::IntfId::fromValue(bits); }
};

template <>
struct fmt::formatter<Portix::IntfId> : Vok::ValueFormatter<Portix::IntfId> {};
