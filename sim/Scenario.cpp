#include "sim/Scenario.h"

#include <fmt/format.h>
#include <charconv>

namespace sim {

namespace {

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

// An interface number: from 1 to 2^32 - 1, without leading zeros (as interface names write it).
std::uint64_t interfaceNumber(std::string_view text, std::string_view token) {
  std::uint64_t value = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || text[0] == '0' || error != std::errc() || end != text.data() + text.size() ||
      value > 0xffffffffu) {
    throw ScenarioError(fmt::format(
        "malformed interface \"{}\" (expected Ethernet<N> or Ethernet<N>.<M> with N and M from 1, "
        "or ranges such as Ethernet1-4.1-8)",
        token));
  }
  return value;
}

// A number or a range "<a>-<b>" of interface numbers, ascending.
std::pair<std::uint64_t, std::uint64_t> span(std::string_view text, std::string_view token) {
  auto const dash = text.find('-');
  std::uint64_t const first = interfaceNumber(text.substr(0, dash), token);
  if (dash == std::string_view::npos) {
    return {first, first};
  }
  std::uint64_t const last = interfaceNumber(text.substr(dash + 1), token);
  if (last < first) {
    throw ScenarioError(fmt::format("the range in \"{}\" runs backwards", token));
  }
  return {first, last};
}

std::vector<Portix::IntfId> interfaceList(std::vector<std::string_view> const& tokens,
                                          std::size_t from) {
  std::vector<Portix::IntfId> out;
  for (std::size_t i = from; i < tokens.size(); ++i) {
    auto const expanded = expandInterfaces(tokens[i]);
    out.insert(out.end(), expanded.begin(), expanded.end());
  }
  return out;
}

void expectArguments(std::vector<std::string_view> const& tokens, std::size_t least,
                     std::size_t most, std::string_view usage) {
  if (tokens.size() < least || tokens.size() > most) {
    throw ScenarioError(fmt::format("usage: {}", usage));
  }
}

ChipCommand chip(std::vector<std::string_view> const& tokens) {
  constexpr std::string_view kUsage =
      "chip <fap> [engines=<n>] [size=<n>] [esec-disabled=<n>] [per-port-disabled=yes|no] "
      "[static=yes|no]";
  expectArguments(tokens, 2, 7, kUsage);
  ChipCommand command{fapNumber(tokens[1]), {}};
  for (std::size_t i = 2; i < tokens.size(); ++i) {
    auto const equals = tokens[i].find('=');
    std::string_view const key = tokens[i].substr(0, equals);
    std::string_view const value =
        equals == std::string_view::npos ? std::string_view() : tokens[i].substr(equals + 1);
    if (key == "engines") {
      // Every interface of a FAP is served by one of its engines, so a chip has at least one.
      command.settings.engines = U16(number(value, 1, 1024, "engines"));
    } else if (key == "size") {
      command.settings.size = U16(number(value, 0, 65533, "size"));
    } else if (key == "esec-disabled") {
      command.settings.esecDisabled = U16(number(value, 0, 65535, "esec-disabled"));
    } else if (key == "per-port-disabled") {
      command.settings.perPortDisabled = yesNo(value, key);
    } else if (key == "static") {
      command.settings.staticAllocation = yesNo(value, key);
    } else {
      throw ScenarioError(fmt::format("unknown chip parameter \"{}\"; usage: {}", key, kUsage));
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

}  // namespace

std::vector<Portix::IntfId> expandInterfaces(std::string_view token) {
  constexpr std::string_view kPrefix = "Ethernet";
  if (token.substr(0, kPrefix.size()) != kPrefix) {
    // Portix says what a name must look like.
    return {Portix::IntfId(token)};
  }
  std::string_view const rest = token.substr(kPrefix.size());
  auto const dot = rest.find('.');
  auto const ports = span(rest.substr(0, dot), token);
  std::pair<std::uint64_t, std::uint64_t> subs{0, 0};
  if (dot != std::string_view::npos) {
    subs = span(rest.substr(dot + 1), token);
  }
  std::uint64_t const count = (ports.second - ports.first + 1) * (subs.second - subs.first + 1);
  if (count > kMaxRange) {
    throw ScenarioError(
        fmt::format("\"{}\" names {} interfaces; at most {} at once", token, count, kMaxRange));
  }
  std::vector<Portix::IntfId> out;
  out.reserve(count);
  for (auto port = ports.first; port <= ports.second; ++port) {
    for (auto sub = subs.first; sub <= subs.second; ++sub) {
      out.push_back(Portix::IntfId::fromValue((port << 32) | sub));
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
    expectArguments(tokens, 3, SIZE_MAX, "fap add <fap> [<interfaces>...]");
    return FapAddCommand{fapNumber(tokens[2]), interfaceList(tokens, 3)};
  }
  if (verb == "fap" && action == "del") {
    expectArguments(tokens, 3, 3, "fap del <fap>");
    return FapDelCommand{fapNumber(tokens[2])};
  }
  if (verb == "intf" && (action == "add" || action == "del")) {
    expectArguments(tokens, 4, SIZE_MAX, "intf add|del <fap> <interfaces>...");
    return IntfCommand{action == "add", fapNumber(tokens[2]), interfaceList(tokens, 3)};
  }
  if (verb == "macsec" && (action == "on" || action == "off")) {
    expectArguments(tokens, 3, SIZE_MAX, "macsec on|off <interfaces>...");
    return MacsecCommand{action == "on", interfaceList(tokens, 2)};
  }
  if (verb == "show") {
    expectArguments(tokens, 1, 2, "show [<fap>]");
    return ShowCommand{tokens.size() == 2 ? std::optional<U16>(fapNumber(action)) : std::nullopt};
  }
  if (verb == "trace") {
    expectArguments(tokens, 2, 2, "trace <levels>|off");
    return TraceCommand{traceLevels(action)};
  }
  if (verb == "agent") {
    expectArguments(tokens, 2, 2, "agent stop|start|restart");
    if (action == "stop") {
      return AgentCommand{AgentCommand::kStop};
    }
    if (action == "start") {
      return AgentCommand{AgentCommand::kStart};
    }
    if (action == "restart") {
      return AgentCommand{AgentCommand::kRestart};
    }
    throw ScenarioError("usage: agent stop|start|restart");
  }
  if (verb == "fap" || verb == "intf" || verb == "macsec") {
    throw ScenarioError(fmt::format("unknown action \"{} {}\"", verb, action));
  }
  throw ScenarioError(fmt::format("unknown command \"{}\"", verb));
}

}  // namespace sim
