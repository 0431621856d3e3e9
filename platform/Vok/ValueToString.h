// The platform's generic value-to-text conversion, used by logs and traces.
//
// Booleans render as "true"/"false", integers in decimal (16-bit and 8-bit values as numbers, not
// characters), strings as themselves, and any other type through its stream operator. A type
// whose text form is not its stream output specialises `valueToString` next to its definition.
#pragma once

#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

namespace Vok {

template <class T>
std::string valueToString(T const& value) {
  if constexpr (std::is_same_v<T, bool>) {
    return value ? "true" : "false";
  } else if constexpr (std::is_integral_v<T>) {
    return std::to_string(+value);
  } else if constexpr (std::is_convertible_v<T const&, std::string_view>) {
    return std::string(std::string_view(value));
  } else {
    std::ostringstream out;
    out << value;
    return out.str();
  }
}

}  // namespace Vok
