// Interface identifiers.
//
// An IntfId names a port ("Ethernet<N>", N from 1) or a subinterface of a port
// ("Ethernet<N>.<M>", M from 1). Components treat it as an opaque 64-bit value: equality, a total
// order by the unsigned value, a hash and a text form. The order puts ports by N, each port just
// before its own subinterfaces, which follow by M. A default-constructed IntfId names nothing.
// Hosts and chip layers that number things by port read N and M with portNumber() and
// subNumber(), and make an identifier from them with fromNumbers(); nothing else knows the layout.
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
  // Ethernet<port>, or Ethernet<port>.<sub> when `sub` is not 0. Names an interface when `port`
  // is not 0.
  static constexpr IntfId fromNumbers(std::uint32_t port, std::uint32_t sub = 0) {
    return IntfId((std::uint64_t(port) << kSubBits) | sub, 0);
  }

  constexpr std::uint64_t value() const { return value_; }
  // N of Ethernet<N> and Ethernet<N>.<M>: the port's number, shared by its subinterfaces.
  constexpr std::uint32_t portNumber() const { return std::uint32_t(value_ >> kSubBits); }
  // M of Ethernet<N>.<M>; 0 for a port.
  constexpr std::uint32_t subNumber() const { return std::uint32_t(value_ & kSubMask); }

  friend constexpr bool operator==(IntfId a, IntfId b) { return a.value_ == b.value_; }
  friend constexpr bool operator!=(IntfId a, IntfId b) { return a.value_ != b.value_; }
  friend constexpr bool operator<(IntfId a, IntfId b) { return a.value_ < b.value_; }
  friend constexpr bool operator>(IntfId a, IntfId b) { return a.value_ > b.value_; }
  friend constexpr bool operator<=(IntfId a, IntfId b) { return a.value_ <= b.value_; }
  friend constexpr bool operator>=(IntfId a, IntfId b) { return a.value_ >= b.value_; }

 private:
  static constexpr int kSubBits = 32;
  static constexpr std::uint64_t kSubMask = 0xffffffffu;

  constexpr IntfId(std::uint64_t value, int /*tag*/) : value_(value) {}
  std::uint64_t value_ = 0;
};

// The name of the interface ("Ethernet3", "Ethernet3.10").
std::string valueToStrep(IntfId id);
std::ostream& operator<<(std::ostream& out, IntfId id);

namespace SubIntfId {

// Whether `id` names a subinterface.
constexpr bool isSubIntfId(IntfId id) {
  return id.subNumber() != 0;
}

// The port of a subinterface; meaningful only when isSubIntfId(id).
constexpr IntfId parentIntfId(IntfId id) {
  return IntfId::fromNumbers(id.portNumber());
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
