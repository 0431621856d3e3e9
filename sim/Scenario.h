// The scenario language of the simulator: one command per line, `#` starts a comment.
//
//   chip <fap> [engines=<n>] [isec-disabled=<n>] [esec-disabled=<n>] [per-port-disabled=yes|no]
//              [static=yes|no]
//   fap add <fap> [<interfaces>...]      fap del <fap>
//   intf add|del <fap> <interfaces>...
//   macsec on|off <interfaces>...        macsec retry [<interfaces>...]
//   show [<fap>] [json]                  show utilization [<fap>] [json]
//   show interface <interfaces>... [json]
//   threshold <fap>|all [upper=<percent>] [clear=<percent>]
//   logs all|<n>
//   trace <levels>|off                   levels: "1,4", "0-9", "all"
//   agent stop|start|restart
//   help [<command>]
//
// Interfaces are named Ethernet<N> or Ethernet<N>.<M>. Each number may be a range or a comma
// list, which expand in place and in the order written: Ethernet1-4 (ports 1 to 4),
// Ethernet1,3,5-8, Ethernet2.1-100 (subinterfaces 1 to 100 of port 2), Ethernet1-4.1-8 (each of
// ports 1 to 4, subinterfaces 1 to 8). Malformed text is a ScenarioError that says what is wrong.
#pragma once

#include <cstddef>
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
// Announces the interfaces' MACsec status to the agent again, unchanged; no interfaces: every
// interface that should hold indexes and holds none.
struct RetryCommand {
  std::vector<Portix::IntfId> interfaces;
};
struct ShowCommand {
  enum What { kStatus, kUtilization, kInterface } what = kStatus;
  std::optional<U16> fapId;
  std::vector<Portix::IntfId> interfaces;  // for kInterface
  bool json = false;
};
// Thresholds in percent of a table's largest index; no FAP: every FAP.
struct ThresholdCommand {
  std::optional<U16> fapId;
  std::optional<unsigned> upper;
  std::optional<unsigned> clear;
};
// How many log messages of one kind a command prints before it counts the rest.
struct LogsCommand {
  std::size_t limit;
};
struct TraceCommand {
  Vok::TraceLevelMask levels;
};
struct AgentCommand {
  enum Action { kStop, kStart, kRestart } action;
};
struct HelpCommand {
  std::string topic;  // empty: every command
};

using Command = std::variant<ChipCommand, FapAddCommand, FapDelCommand, IntfCommand, MacsecCommand,
                             RetryCommand, ShowCommand, ThresholdCommand, LogsCommand, TraceCommand,
                             AgentCommand, HelpCommand>;

// The words of `line` before its comment, split at blanks.
std::vector<std::string_view> words(std::string_view line);

// The command on `line`, or nothing for a blank or comment-only line.
std::optional<Command> parseLine(std::string_view line);

// The interfaces a name, range or list stands for, in the order written. At most kMaxRange.
std::vector<Portix::IntfId> expandInterfaces(std::string_view token);
inline constexpr std::size_t kMaxRange = 1u << 20;

// One command of the language, as `help` presents it.
struct CommandHelp {
  std::string_view name;     // the first word
  std::string_view usage;    // one line per form
  std::string_view summary;  // what it does, a few lines
};
// Every command, in the order `help` lists them.
std::vector<CommandHelp> const& commandHelp();
// The help of the command named `name`; throws ScenarioError for an unknown name.
CommandHelp const& commandHelp(std::string_view name);

}  // namespace sim
