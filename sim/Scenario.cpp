#include "sim/Scenario.h"

#include <fmt/format.h>
#include <charconv>

namespace sim {

std::vector<std::string_view> words(std::string_view line) {
  line = line.substr(0, line.find('#'));
  std::vector<std::string_view> out;
  std::size_t pos = 0;
  while (pos < line.size()) {
    auto const start = line.find_first_not_of(" \t\r", pos);
    if (start == std::string_view::npos) {
      break;
    }
    auto const end = std::min(line.find_first_of(" \t\r", start), line.size());
    out.push_back(line.substr(start, end - start));
    pos = end;
  }
  return out;
}

namespace {

// A decimal number within [low, high]; `what` names it in the error.
std::uint64_t number(std::string_view text, std::uint64_t low, std::uint64_t high,
                     std::string_view what) {
  std::uint64_t value = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || value < low ||
      value > high) {
    throw ScenarioError(
        fmt::format("{} must be a number from {} to {}, not \"{}\"", what, low, high, text));
  }
  return value;
}

U16 fapNumber(std::string_view text) {
  return U16(number(text, 0, 65535, "a logical FAP"));
}

bool yesNo(std::string_view text, std::string_view key) {
  if (text == "yes") {
    return true;
  }
  if (text == "no") {
    return false;
  }
  throw ScenarioError(fmt::format("{} must be yes or no, not \"{}\"", key, text));
}

ScenarioError malformedInterface(std::string_view token) {
  return ScenarioError(fmt::format(
      "malformed interface \"{}\" (expected Ethernet<N> or Ethernet<N>.<M> with N and M from 1, "
      "or ranges and lists such as Ethernet1-4.1-8 or Ethernet1,3,5-8)",
      token));
}

// An interface number: from 1 to 2^32 - 1, without leading zeros (as interface names write it).
std::uint64_t interfaceNumber(std::string_view text, std::string_view token) {
  std::uint64_t value = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || text[0] == '0' || error != std::errc() || end != text.data() + text.size() ||
      value > 0xffffffffu) {
    throw malformedInterface(token);
  }
  return value;
}

// A number, a range "<a>-<b>" (ascending), or a comma list of those: the spans it names.
std::vector<std::pair<std::uint64_t, std::uint64_t>> spans(std::string_view text,
                                                           std::string_view token) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> out;
  for (;;) {
    auto const comma = text.find(',');
    std::string_view const item = text.substr(0, comma);
    auto const dash = item.find('-');
    std::uint64_t const first = interfaceNumber(item.substr(0, dash), token);
    std::uint64_t const last =
        dash == std::string_view::npos ? first : interfaceNumber(item.substr(dash + 1), token);
    if (last < first) {
      throw ScenarioError(fmt::format("the range in \"{}\" runs backwards", token));
    }
    out.emplace_back(first, last);
    if (comma == std::string_view::npos) {
      return out;
    }
    text = text.substr(comma + 1);
  }
}

// How many numbers the spans name together (at most kMaxRange + 1: more is too many anyway).
std::uint64_t spanCount(std::vector<std::pair<std::uint64_t, std::uint64_t>> const& list) {
  std::uint64_t count = 0;
  for (auto const& [first, last] : list) {
    count = std::min<std::uint64_t>(count + (last - first + 1), kMaxRange + 1);
  }
  return count;
}

std::vector<Portix::IntfId> interfaceList(std::vector<std::string_view> const& tokens,
                                          std::size_t from, std::size_t to) {
  std::vector<Portix::IntfId> out;
  for (std::size_t i = from; i < to; ++i) {
    auto const expanded = expandInterfaces(tokens[i]);
    out.insert(out.end(), expanded.begin(), expanded.end());
  }
  return out;
}

// The usage of a command, its forms separated, for an error that says how to write it.
std::string usage(std::string_view name) {
  std::string text(commandHelp(name).usage);
  for (auto newline = text.find('\n'); newline != std::string::npos; newline = text.find('\n')) {
    text.replace(newline, 1, " | ");
  }
  return "usage: " + text;
}

void expectArguments(std::vector<std::string_view> const& tokens, std::size_t least,
                     std::size_t most) {
  if (tokens.size() < least || tokens.size() > most) {
    throw ScenarioError(usage(tokens[0]));
  }
}

ChipCommand chip(std::vector<std::string_view> const& tokens) {
  expectArguments(tokens, 2, 7);
  ChipCommand command{fapNumber(tokens[1]), {}};
  for (std::size_t i = 2; i < tokens.size(); ++i) {
    auto const equals = tokens[i].find('=');
    std::string_view const key = tokens[i].substr(0, equals);
    std::string_view const value =
        equals == std::string_view::npos ? std::string_view() : tokens[i].substr(equals + 1);
    if (key == "engines") {
      // Every interface of a FAP is served by one of its engines, so a chip has at least one.
      command.settings.engines = U16(number(value, 1, 1024, "engines"));
    } else if (key == "isec-disabled") {
      command.settings.isecDisabled = U16(number(value, 0, 65533, "isec-disabled"));
    } else if (key == "esec-disabled") {
      command.settings.esecDisabled = U16(number(value, 0, 65535, "esec-disabled"));
    } else if (key == "per-port-disabled") {
      command.settings.perPortDisabled = yesNo(value, key);
    } else if (key == "static") {
      command.settings.staticAllocation = yesNo(value, key);
    } else {
      throw ScenarioError(fmt::format("unknown chip parameter \"{}\"; {}", key, usage("chip")));
    }
  }
  return command;
}

Vok::TraceLevelMask traceLevels(std::string_view text) {
  if (text == "off") {
    return 0;
  }
  if (text == "all") {
    return Vok::kAllTraceLevels;
  }
  Vok::TraceLevelMask mask = 0;
  while (!text.empty()) {
    auto const comma = text.find(',');
    std::string_view const item = text.substr(0, comma);
    auto const dash = item.find('-');
    std::string_view const what = "a trace level";
    auto const first = number(item.substr(0, dash), 0, Vok::kMaxTraceLevel, what);
    auto const last = dash == std::string_view::npos
                          ? first
                          : number(item.substr(dash + 1), first, Vok::kMaxTraceLevel, what);
    for (auto level = first; level <= last; ++level) {
      mask |= Vok::traceLevelBit(U16(level));
    }
    text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
  }
  return mask;
}

// `threshold <fap>|all [upper=<percent>] [clear=<percent>]`
ThresholdCommand threshold(std::vector<std::string_view> const& tokens) {
  expectArguments(tokens, 3, 4);
  ThresholdCommand command;
  if (tokens[1] != "all") {
    command.fapId = fapNumber(tokens[1]);
  }
  for (std::size_t i = 2; i < tokens.size(); ++i) {
    auto const equals = tokens[i].find('=');
    std::string_view const key = tokens[i].substr(0, equals);
    std::string_view const value =
        equals == std::string_view::npos ? std::string_view() : tokens[i].substr(equals + 1);
    if (key != "upper" && key != "clear") {
      throw ScenarioError(fmt::format("unknown threshold \"{}\"; {}", key, usage("threshold")));
    }
    (key == "upper" ? command.upper : command.clear) = unsigned(number(value, 0, 100, key));
  }
  return command;
}

// `show [<fap>] [json]`, `show utilization [<fap>] [json]`, `show interface <names>... [json]`
ShowCommand show(std::vector<std::string_view> tokens) {
  ShowCommand command;
  command.json = tokens.size() > 1 && tokens.back() == "json";
  if (command.json) {
    tokens.pop_back();
  }
  std::string_view const what = tokens.size() > 1 ? tokens[1] : std::string_view();
  if (what == "interface") {
    expectArguments(tokens, 3, SIZE_MAX);
    command.what = ShowCommand::kInterface;
    command.interfaces = interfaceList(tokens, 2, tokens.size());
    return command;
  }
  std::size_t first = 1;
  if (what == "utilization") {
    command.what = ShowCommand::kUtilization;
    first = 2;
  }
  expectArguments(tokens, first, first + 1);
  if (tokens.size() > first) {
    command.fapId = fapNumber(tokens[first]);
  }
  return command;
}

}  // namespace

std::vector<Portix::IntfId> expandInterfaces(std::string_view token) {
  constexpr std::string_view kPrefix = "Ethernet";
  if (token.substr(0, kPrefix.size()) != kPrefix) {
    throw malformedInterface(token);
  }
  std::string_view const rest = token.substr(kPrefix.size());
  auto const dot = rest.find('.');
  auto const ports = spans(rest.substr(0, dot), token);
  std::vector<std::pair<std::uint64_t, std::uint64_t>> subs{{0, 0}};
  if (dot != std::string_view::npos) {
    subs = spans(rest.substr(dot + 1), token);
  }
  std::uint64_t const portCount = spanCount(ports);
  std::uint64_t const subCount = spanCount(subs);
  if (portCount > kMaxRange || subCount > kMaxRange || portCount * subCount > kMaxRange) {
    throw ScenarioError(fmt::format("\"{}\" names {} interfaces; at most {} at once", token,
                                    portCount * subCount, kMaxRange));
  }
  std::vector<Portix::IntfId> out;
  out.reserve(portCount * subCount);
  for (auto const& [firstPort, lastPort] : ports) {
    for (auto port = firstPort; port <= lastPort; ++port) {
      for (auto const& [firstSub, lastSub] : subs) {
        for (auto sub = firstSub; sub <= lastSub; ++sub) {
          out.push_back(Portix::IntfId::fromValue((port << 32) | sub));
        }
      }
    }
  }
  return out;
}

std::optional<Command> parseLine(std::string_view line) {
  auto const tokens = words(line);
  if (tokens.empty()) {
    return std::nullopt;
  }
  std::string_view const verb = tokens[0];
  std::string_view const action = tokens.size() > 1 ? tokens[1] : std::string_view();
  if (verb == "chip") {
    return chip(tokens);
  }
  if (verb == "fap" && action == "add") {
    expectArguments(tokens, 3, SIZE_MAX);
    return FapAddCommand{fapNumber(tokens[2]), interfaceList(tokens, 3, tokens.size())};
  }
  if (verb == "fap" && action == "del") {
    expectArguments(tokens, 3, 3);
    return FapDelCommand{fapNumber(tokens[2])};
  }
  if (verb == "intf" && (action == "add" || action == "del")) {
    expectArguments(tokens, 4, SIZE_MAX);
    return IntfCommand{action == "add", fapNumber(tokens[2]),
                       interfaceList(tokens, 3, tokens.size())};
  }
  if (verb == "macsec" && (action == "on" || action == "off")) {
    expectArguments(tokens, 3, SIZE_MAX);
    return MacsecCommand{action == "on", interfaceList(tokens, 2, tokens.size())};
  }
  if (verb == "macsec" && action == "retry") {
    return RetryCommand{interfaceList(tokens, 2, tokens.size())};
  }
  if (verb == "show") {
    return show(tokens);
  }
  if (verb == "threshold") {
    return threshold(tokens);
  }
  if (verb == "logs") {
    expectArguments(tokens, 2, 2);
    return LogsCommand{action == "all" ? SIZE_MAX
                                       : std::size_t(number(action, 0, 1000000, "logs"))};
  }
  if (verb == "trace") {
    expectArguments(tokens, 2, 2);
    return TraceCommand{traceLevels(action)};
  }
  if (verb == "agent") {
    expectArguments(tokens, 2, 2);
    if (action == "stop") {
      return AgentCommand{AgentCommand::kStop};
    }
    if (action == "start") {
      return AgentCommand{AgentCommand::kStart};
    }
    if (action == "restart") {
      return AgentCommand{AgentCommand::kRestart};
    }
    throw ScenarioError(usage(verb));
  }
  if (verb == "help") {
    expectArguments(tokens, 1, 2);
    if (tokens.size() == 2) {
      commandHelp(action);  // an unknown topic is an error of this line
    }
    return HelpCommand{std::string(action)};
  }
  if (verb == "fap" || verb == "intf" || verb == "macsec") {
    throw ScenarioError(fmt::format("unknown action \"{} {}\"; {}", verb, action, usage(verb)));
  }
  throw ScenarioError(fmt::format("unknown command \"{}\" (\"help\" lists the commands)", verb));
}

std::vector<CommandHelp> const& commandHelp() {
  static std::vector<CommandHelp> const commands = {
      {"chip",
       "chip <fap> [engines=<n>] [isec-disabled=<n>] [esec-disabled=<n>] "
       "[per-port-disabled=yes|no] [static=yes|no]",
       "Sets the chip policy of a logical FAP: its engine instances, the ingress disabled index\n"
       "(also the largest index of every table), the shared egress disabled index, whether each\n"
       "port needs an egress disabled entry of its own, and static indexes. Defaults: 1 engine,\n"
       "isec-disabled 255, esec-disabled 255, no, no. Fixed while the FAP exists or has\n"
       "published status."},
      {"fap", "fap add <fap> [<interfaces>...]\nfap del <fap>",
       "Adds a logical FAP (announced first, then each interface joins its set), or removes it\n"
       "with its set. An interface belongs to one FAP's set at a time."},
      {"intf", "intf add|del <fap> <interfaces>...", "Changes a logical FAP's interface set."},
      {"macsec", "macsec on|off <interfaces>...\nmacsec retry [<interfaces>...]",
       "Switches MACsec on or off on the interfaces. retry announces the interfaces' MACsec "
       "status\n"
       "to the agent again, unchanged, so that it reconciles them: the index manager does not\n"
       "retry a refused interface by itself when entries are freed. Without interfaces, retry\n"
       "takes every interface that should hold indexes and holds none."},
      {"show",
       "show [<fap>] [json]\nshow utilization [<fap>] [json]\nshow interface <interfaces>... "
       "[json]",
       "show: the published status per logical FAP (engines and their use, each interface's\n"
       "indexes, ports' egress disabled entries, refused interfaces). utilization: used, free,\n"
       "max-limit and high-watermark per FAP, engine and table, with the thresholds.\n"
       "interface: where the interfaces stand. json: one JSON object (--json: every output)."},
      {"threshold", "threshold <fap>|all [upper=<percent>] [clear=<percent>]",
       "Sets the use thresholds of the tables of one logical FAP, or of all (defaults: upper 85,\n"
       "clear 70). A table whose use reaches the upper threshold prints THRESHOLD_EXCEEDED once;\n"
       "when it falls to the clear threshold or below, THRESHOLD_CLEAR once."},
      {"logs", "logs all|<n>",
       "How many log messages of one kind a command prints (default 5) before one line counts\n"
       "the rest; all prints every one."},
      {"trace", "trace <levels>|off",
       "Switches the index manager's trace levels: 1,4 or 0-9 or all (0 hardware full,\n"
       "1 refusals, 4 decisions, 8 entry, 9 already served)."},
      {"agent", "agent stop|start|restart",
       "Destroys the agent (nothing published changes; commands still change the inputs) or\n"
       "starts a new one over the same shared state."},
      {"help", "help [<command>]", "Lists the commands, or describes one."},
  };
  return commands;
}

CommandHelp const& commandHelp(std::string_view name) {
  for (CommandHelp const& command : commandHelp()) {
    if (command.name == name) {
      return command;
    }
  }
  throw ScenarioError(fmt::format("no command \"{}\" (\"help\" lists the commands)", name));
}

}  // namespace sim
