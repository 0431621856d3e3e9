#include "platform/Vok/Printf.h"

#include <cctype>

namespace Vok {

namespace {

// Length of the conversion that starts at format[pos] == '%', including the conversion letter.
std::size_t conversionLength(std::string_view format, std::size_t pos) {
  std::size_t end = pos + 1;
  while (end < format.size() &&
         std::string_view("-+ #0123456789.hlLqjzt").find(format[end]) != std::string_view::npos) {
    ++end;
  }
  return end < format.size() ? end + 1 - pos : format.size() - pos;
}

}  // namespace

std::string renderPrintf(std::string_view format, std::vector<std::string> const& args) {
  std::string out;
  out.reserve(format.size() + 32);
  std::size_t next = 0;
  for (std::size_t pos = 0; pos < format.size();) {
    if (format[pos] != '%') {
      out.push_back(format[pos++]);
      continue;
    }
    if (pos + 1 < format.size() && format[pos + 1] == '%') {
      out.push_back('%');
      pos += 2;
      continue;
    }
    if (next < args.size()) {
      out += args[next];
    }
    ++next;
    pos += conversionLength(format, pos);
  }
  return out;
}

}  // namespace Vok
