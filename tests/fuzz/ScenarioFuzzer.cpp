// Feeds arbitrary bytes to the simulator as a scenario: each line the session accepts is carried
// out on a simulated switch, and after each one the index manager's invariants must hold. Any
// violation, crash, sanitizer report or exception other than a refused command is a finding.
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "sim/language/Words.h"
#include "sim/session/Commands.h"
#include "sim/session/Session.h"
#include "support/Invariants.h"

namespace {

// Lines that would only make a run slow or large without reaching new behaviour: many engines, or
// long interface lists. Malformed lines are worth running: the session must refuse them.
bool worthRunning(std::string const& line) {
  auto const lineWords = sim::words(line);
  sim::Command const* const command = lineWords.empty() ? nullptr : sim::findCommand(lineWords[0]);
  if (command == nullptr) {
    return true;
  }
  try {
    sim::Arguments const arguments = sim::readArguments(command->syntax, lineWords);
    return !(arguments.has("engines") && arguments.number("engines", 0, 65535) > 8) &&
           arguments.interfaces().size() <= 64;
  } catch (sim::ScenarioError const&) {
    return true;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Vok::traceLevelsIs(OruMacSec::kTraceHandleName, 0);
  std::ostringstream transcript;
  sim::Session session({}, transcript, transcript);
  std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
  std::string line;
  while (std::getline(in, line)) {
    if (!worthRunning(line)) {
      continue;
    }
    try {
      session.runLine(line, false);
    } catch (std::runtime_error const&) {
      continue;  // a refused line (ScenarioError, RefusedError)
    }
    if (session.host().agent() == nullptr) {
      continue;
    }
    auto const problems = testsupport::checkAgent(*session.host().agent());
    if (!problems.empty()) {
      std::fprintf(stderr, "invariant broken after \"%s\":\n", line.c_str());
      for (auto const& problem : problems) {
        std::fprintf(stderr, "  %s\n", problem.c_str());
      }
      std::abort();
    }
  }
  return 0;
}
