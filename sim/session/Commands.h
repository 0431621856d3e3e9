// The commands of the simulator, one entry each: its syntax (name and usage forms), what `help`
// says of it, whether it changes the switch's state (and so is refused to a read-only session and
// committed to the store), and the function that runs it. Reading a line, usage errors, `help`,
// TAB completion and the read-only refusal all follow this table, so adding a command is adding
// an entry.
#pragma once

#include <string_view>
#include <vector>

#include "sim/language/Grammar.h"
#include "sim/model/Monitor.h"
#include "sim/model/Switch.h"
#include "sim/session/Transcript.h"
#include "sim/views/View.h"
#include "sim/views/Views.h"

namespace sim {

// What a command works on: the switch, the transcript it writes to and the resource monitor,
// and how many columns the transcript's text may take.
struct CommandContext {
  Switch& host;
  Transcript& transcript;
  ResourceMonitor& monitor;
  std::size_t columns;

  Snapshot snapshot() const { return {host, monitor}; }
};

struct Command {
  Syntax syntax;
  std::string_view summary;  // what it does, a few lines
  bool changesState;
  // Runs the command with the arguments of its line: reads every argument before it changes
  // anything, and throws ScenarioError or RefusedError, having changed nothing, when it cannot
  // apply.
  void (*run)(CommandContext& context, Arguments const& arguments);
};

// Every command, in the order `help` lists them.
std::vector<Command> const& commands();

// The command named `name`, or null.
Command const* findCommand(std::string_view name);

// The usage of every command (an empty topic), or the usage and summary of one. Throws
// ScenarioError for an unknown command.
View helpView(std::string_view topic);

}  // namespace sim
