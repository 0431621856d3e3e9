// Identifier of a logical FAP (a logical forwarding chip): a 16-bit number.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>

#include "platform/Nubis/Key.h"
#include "platform/Vok/Format.h"
#include "platform/Vok/Types.h"

namespace LogicalFap {

class LogicalFapId {
 public:
  constexpr LogicalFapId() = default;
  constexpr explicit LogicalFapId(U16 value) : value_(value) {}

  constexpr U16 value() const { return value_; }

  friend constexpr bool operator==(LogicalFapId a, LogicalFapId b) { return a.value_ == b.value_; }
  friend constexpr bool operator!=(LogicalFapId a, LogicalFapId b) { return a.value_ != b.value_; }
  friend constexpr bool operator<(LogicalFapId a, LogicalFapId b) { return a.value_ < b.value_; }

 private:
  U16 value_ = 0;
};

// Writes the number.
std::ostream& operator<<(std::ostream& out, LogicalFapId id);

}  // namespace LogicalFap

template <>
struct std::hash<LogicalFap::LogicalFapId> {
  std::size_t operator()(LogicalFap::LogicalFapId id) const noexcept { return id.value(); }
};

template <>
struct Nubis::KeyTraits<LogicalFap::LogicalFapId> {
  static std::uint64_t toBits(LogicalFap::LogicalFapId id) { return id.value(); }
  static LogicalFap::LogicalFapId fromBits(std::uint64_t bits) {
    return LogicalFap::LogicalFapId(static_cast<U16>(bits));
  }
};

template <>
struct fmt::formatter<LogicalFap::LogicalFapId> : Vok::ValueFormatter<LogicalFap::LogicalFapId> {};
