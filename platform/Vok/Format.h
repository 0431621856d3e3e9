// fmt formatters for the platform's value types.
//
// A type that should print in traces the way valueToString renders it specialises fmt::formatter
// by deriving from Vok::ValueFormatter<T>; width and alignment specs apply to the rendered text.
#pragma once

#include <fmt/format.h>

#include <string_view>

#include "platform/Vok/ValueToString.h"

namespace Vok {

template <class T>
struct ValueFormatter : fmt::formatter<std::string_view> {
  template <class FormatContext>
  auto format(T const& value, FormatContext& ctx) const {
    return fmt::formatter<std::string_view>::format(valueToString(value), ctx);
  }
};

}  // namespace Vok
