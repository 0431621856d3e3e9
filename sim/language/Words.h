// The words of the simulator's command language and the values they spell: decimal numbers,
// yes/no, trace levels and interface names.
//
// Interfaces are named Ethernet<N> or Ethernet<N>.<M>. Each number may be a range or a comma list,
// which expand in place and in the order written: Ethernet1-4 (ports 1 to 4), Ethernet1,3,5-8,
// Ethernet2.1-100 (subinterfaces 1 to 100 of port 2), Ethernet1-4.1-8 (each of ports 1 to 4,
// subinterfaces 1 to 8). Malformed text is a ScenarioError that says what is wrong and shows the
// text as written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "platform/Portix/IntfId.h"
#include "platform/Vok/Trace.h"

namespace sim {

// A line of the language that cannot be read; the message says what is wrong.
class ScenarioError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The words of `line` before its comment (`#`), split at blanks.
std::vector<std::string_view> words(std::string_view line);

// A decimal number within [low, high]; `what` names it in the error ("engines must be ...").
std::uint64_t number(std::string_view text, std::uint64_t low, std::uint64_t high,
                     std::string_view what);

// "yes" or "no"; `what` names the value in the error.
bool yesNo(std::string_view text, std::string_view what);

// Trace levels: "all", or a comma list of levels and ranges ("1,4", "0-9").
Vok::TraceLevelMask traceLevels(std::string_view text);

// The interfaces a name, range or list stands for, in the order written. At most kMaxRange.
std::vector<Portix::IntfId> expandInterfaces(std::string_view token);
inline constexpr std::size_t kMaxRange = 1u << 20;

}  // namespace sim
