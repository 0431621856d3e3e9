// Key of the published per-interface records: the interface's IntfId, carried unchanged.
#pragma once

#include <functional>
#include <iosfwd>

#include "platform/Nubis/Key.h"
#include "platform/Portix/IntfId.h"
#include "platform/Vok/Format.h"

namespace OruMacSec {

class SecIntfId {
 public:
  constexpr SecIntfId() = default;
  constexpr explicit SecIntfId(Portix::IntfId intfId) : intfId_(intfId) {}

  constexpr Portix::IntfId intfId() const { return intfId_; }

  friend constexpr bool operator==(SecIntfId a, SecIntfId b) { return a.intfId_ == b.intfId_; }
  friend constexpr bool operator!=(SecIntfId a, SecIntfId b) { return a.intfId_ != b.intfId_; }
  friend constexpr bool operator<(SecIntfId a, SecIntfId b) { return a.intfId_ < b.intfId_; }

 private:
  Portix::IntfId intfId_;
};

// Writes the interface's name.
std::ostream& operator<<(std::ostream& out, SecIntfId id);

}  // namespace OruMacSec

template <>
struct std::hash<OruMacSec::SecIntfId> {
  std::size_t operator()(OruMacSec::SecIntfId id) const noexcept {
    return std::hash<Portix::IntfId>()(id.intfId());
  }
};

template <>
struct Nubis::KeyTraits<OruMacSec::SecIntfId> {
  static std::uint64_t toBits(OruMacSec::SecIntfId id) { return id.intfId().value(); }
  static OruMacSec::SecIntfId fromBits(std::uint64_t bits) {
    return OruMacSec::SecIntfId(Portix::IntfId::fromValue(bits));
  }
};

template <>
struct fmt::formatter<OruMacSec::SecIntfId> : Vok::ValueFormatter<OruMacSec::SecIntfId> {};
