// Feeds arbitrary bytes to the simulator as a scenario: each line the reader accepts is carried out
// on a simulated switch, and after each one the index manager's invariants must hold. Any
// violation, crash, sanitizer report or exception other than a refused command is a finding.
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "sim/Output.h"
#include "sim/Scenario.h"
#include "sim/SimHost.h"
#include "support/Invariants.h"

namespace {

// Commands that would only make a run slow or large without reaching new behaviour.
bool worthRunning(sim::Command const& command) {
  if (auto const* chip = std::get_if<sim::ChipCommand>(&command)) {
    return chip->settings.engines <= 8;
  }
  auto const small = [](std::vector<Portix::IntfId> const& interfaces) {
    return interfaces.size() <= 64;
  };
  if (auto const* fap = std::get_if<sim::FapAddCommand>(&command)) {
    return small(fap->interfaces);
  }
  if (auto const* intf = std::get_if<sim::IntfCommand>(&command)) {
    return small(intf->interfaces);
  }
  if (auto const* macsec = std::get_if<sim::MacsecCommand>(&command)) {
    return small(macsec->interfaces);
  }
  if (auto const* retry = std::get_if<sim::RetryCommand>(&command)) {
    return small(retry->interfaces);
  }
  if (auto const* show = std::get_if<sim::ShowCommand>(&command)) {
    return small(show->interfaces);
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Vok::traceLevelsIs(OruMacSec::kTraceHandleName, 0);
  std::ostringstream transcript;
  sim::SimHost host(transcript);
  sim::TranscriptSinks sinks(host.transcript());
  host.agentStart();
  std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
  std::string line;
  while (std::getline(in, line)) {
    try {
      auto const command = sim::parseLine(line);
      if (!command || !worthRunning(*command)) {
        continue;
      }
      host.run(*command);
    } catch (sim::ScenarioError const&) {
      continue;
    }
    if (!host.agentRunning()) {
      continue;
    }
    auto const problems = testsupport::checkAgent(*host.agent());
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
