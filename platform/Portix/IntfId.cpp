#include "platform/Portix/IntfId.h"

#include <ostream>
#include <stdexcept>

namespace Portix {

namespace {

constexpr std::string_view kPortPrefix = "Ethernet";

// Reads a decimal number from 1 to 2^32 - 1 without sign or leading zeros; consumes it.
bool readNumber(std::string_view& text, std::uint64_t& number) {
  std::size_t digits = 0;
  while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9') {
    ++digits;
  }
  if (digits == 0 || digits > 10 || text[0] == '0') {
    return false;
  }
  number = 0;
  for (std::size_t i = 0; i < digits; ++i) {
    number = number * 10 + std::uint64_t(text[i] - '0');
  }
  text.remove_prefix(digits);
  return number <= 0xffffffffull;
}

IntfId parse(std::string_view const name) {
  std::string_view rest = name;
  std::uint64_t port = 0;
  std::uint64_t sub = 0;
  bool ok = rest.substr(0, kPortPrefix.size()) == kPortPrefix;
  if (ok) {
    rest.remove_prefix(kPortPrefix.size());
    ok = readNumber(rest, port);
  }
  if (ok && !rest.empty()) {
    ok = rest[0] == '.';
    rest.remove_prefix(1);
    ok = ok && readNumber(rest, sub) && rest.empty();
  }
  if (!ok) {
    throw std::invalid_argument("malformed interface name \"" + std::string(name) +
                                "\" (expected Ethernet<N> or Ethernet<N>.<M>, N and M from 1)");
  }
  return IntfId::fromNumbers(std::uint32_t(port), std::uint32_t(sub));
}

}  // namespace

IntfId::IntfId(std::string_view name) : value_(parse(name).value()) {}

std::string valueToStrep(IntfId id) {
  if (id.portNumber() == 0) {
    return "IntfId(" + std::to_string(id.value()) + ")";
  }
  std::string name = std::string(kPortPrefix) + std::to_string(id.portNumber());
  if (SubIntfId::isSubIntfId(id)) {
    name += '.';
    name += std::to_string(id.subNumber());
  }
  return name;
}

std::ostream& operator<<(std::ostream& out, IntfId id) {
  return out << valueToStrep(id);
}

}  // namespace Portix
