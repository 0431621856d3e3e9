#include "sim/language/Words.h"

#include <fmt/format.h>
#include <charconv>
#include <limits>

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

bool yesNo(std::string_view text, std::string_view what) {
  if (text == "yes") {
    return true;
  }
  if (text == "no") {
    return false;
  }
  throw ScenarioError(fmt::format("{} must be yes or no, not \"{}\"", what, text));
}

namespace {

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
      value > std::numeric_limits<std::uint32_t>::max()) {
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

}  // namespace

Vok::TraceLevelMask traceLevels(std::string_view text) {
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
  // Each count is at most kMaxRange + 1, so the product cannot overflow.
  if (portCount * subCount > kMaxRange) {
    throw ScenarioError(fmt::format("\"{}\" names {} interfaces; at most {} at once", token,
                                    portCount * subCount, kMaxRange));
  }
  std::vector<Portix::IntfId> out;
  out.reserve(portCount * subCount);
  for (auto const& [firstPort, lastPort] : ports) {
    for (auto port = firstPort; port <= lastPort; ++port) {
      for (auto const& [firstSub, lastSub] : subs) {
        for (auto sub = firstSub; sub <= lastSub; ++sub) {
          out.push_back(Portix::IntfId::fromNumbers(std::uint32_t(port), std::uint32_t(sub)));
        }
      }
    }
  }
  return out;
}

}  // namespace sim
