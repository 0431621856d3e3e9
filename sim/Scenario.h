// The scenario language of the simulator: one command per line, `#` starts a comment.
//
//   chip <fap> [engines=<n>] [size=<n>] [esec-disabled=<n>] [per-port-disabled=yes|no]
//              [static=yes|no]
//   fap add <fap> [<interfaces>...]      fap del <fap>
//   intf add|del <fap> <interfaces>...
//   macsec on|off <interfaces>...
//   show [<fap>]
//   trace <levels>|off                   levels: "1,4", "0-9", "all"
//   agent stop|start|restart
//
// Interfaces are named Ethernet<N> or Ethernet<N>.<M>; ranges expand in place: Ethernet1-4
// (ports 1 to 4), Ethernet2.1-100 (subinterfaces 1 to 100 of port 2), Ethernet1-4.1-8 (each of
// ports 1 to 4, subinterfaces 1 to 8). Malformed text is a ScenarioError that says what is wrong.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/Portix/IntfId.h"
#include "platform/Vok/Trace.h"
#include "sim/ChipPolicy.h"

namespace sim {

class ScenarioError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ChipCommand {
  U16 fapId;
  ChipSettings settings;
};
struct FapAddCommand {
  U16 fapId;
  std::vector<Portix::IntfId> interfaces;
};
struct FapDelCommand {
  U16 fapId;
};
struct IntfCommand {
  bool add;
  U16 fapId;
  std::vector<Portix::IntfId> interfaces;
};
struct MacsecCommand {
  bool on;
  std::vector<Portix::IntfId> interfaces;
};
struct ShowCommand {
  std::optional<U16> fapId;
};
struct TraceCommand {
  Vok::TraceLevelMask levels;
};
struct AgentCommand {
  enum Action { kStop, kStart, kRestart } action;
};

using Command = std::variant<ChipCommand, FapAddCommand, FapDelCommand, IntfCommand, MacsecCommand,
                             ShowCommand, TraceCommand, AgentCommand>;

// The command on `line`, or nothing for a blank or comment-only line.
std::optional<Command> parseLine(std::string_view line);

// The interfaces a name or range stands for, in ascending order. At most kMaxRange of them.
std::vector<Portix::IntfId> expandInterfaces(std::string_view token);
inline constexpr std::size_t kMaxRange = 1u << 20;

}  // namespace sim
