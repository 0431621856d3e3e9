// A 16-bit hardware table index.
//
// Values min() to max() (0 to 65533) name table entries. unused() (65534), the default, means no
// index has been chosen; invalid() (65535) is only ever the answer of an allocation that found no
// free entry. The text form is the decimal value.
#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string_view>

#include "platform/Vok/Format.h"
#include "platform/Vok/Types.h"

namespace OruMacSec {

class TableIndex {
 public:
  constexpr TableIndex() = default;
  constexpr explicit TableIndex(U16 value) : value_(value) {}

  static constexpr TableIndex min() { return TableIndex(0x0000); }
  static constexpr TableIndex max() { return TableIndex(0xFFFD); }
  static constexpr TableIndex unused() { return TableIndex(0xFFFE); }
  static constexpr TableIndex invalid() { return TableIndex(0xFFFF); }

  constexpr U16 value() const { return value_; }
  // Writes only when the value differs.
  void valueIs(U16 value) {
    if (value_ != value) {
      value_ = value;
    }
  }

  // Parses the attribute form "value=<n>" (blanks around the parts allowed), n from 0 to 65535.
  static std::optional<TableIndex> fromStrep(std::string_view text);

  friend constexpr bool operator==(TableIndex a, TableIndex b) { return a.value_ == b.value_; }
  friend constexpr bool operator!=(TableIndex a, TableIndex b) { return a.value_ != b.value_; }
  friend constexpr bool operator<(TableIndex a, TableIndex b) { return a.value_ < b.value_; }

 private:
  U16 value_ = 0xFFFE;
};

// Writes the decimal value.
std::ostream& operator<<(std::ostream& out, TableIndex index);

}  // namespace OruMacSec

template <>
struct std::hash<OruMacSec::TableIndex> {
  std::size_t operator()(OruMacSec::TableIndex index) const noexcept { return index.value(); }
};

template <>
struct fmt::formatter<OruMacSec::TableIndex> : Vok::ValueFormatter<OruMacSec::TableIndex> {};
