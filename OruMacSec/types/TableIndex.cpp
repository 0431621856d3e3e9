#include "OruMacSec/types/TableIndex.h"

#include <charconv>
#include <ostream>

namespace OruMacSec {

namespace {

std::string_view trim(std::string_view text) {
  auto const first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

}  // namespace

std::optional<TableIndex> TableIndex::fromStrep(std::string_view text) {
  auto const equals = text.find('=');
  if (equals == std::string_view::npos || trim(text.substr(0, equals)) != "value") {
    return std::nullopt;
  }
  std::string_view const number = trim(text.substr(equals + 1));
  unsigned parsed = 0;
  auto const [end, error] = std::from_chars(number.data(), number.data() + number.size(), parsed);
  if (number.empty() || error != std::errc() || end != number.data() + number.size() ||
      parsed > 0xFFFF) {
    return std::nullopt;
  }
  return TableIndex(static_cast<U16>(parsed));
}

std::ostream& operator<<(std::ostream& out, TableIndex index) {
  return out << index.value();
}

}  // namespace OruMacSec
