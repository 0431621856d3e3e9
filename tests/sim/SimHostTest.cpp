#include <gmock/gmock.h>

#include <iostream>

#include "sim/StateJson.h"

namespace {

using ::testing::StartsWith;
using ::testing::ThrowsMessage;

void run(sim::SimHost& host, std::initializer_list<char const*> lines) {
  for (char const* line : lines) {
    host.run(*sim::parseLine(line));
  }
}

TEST(ScenarioReader, RefusesMalformedLinesSayingWhatIsWrong) {
  std::vector<std::pair<std::string, std::string>> cases = {
      {"fapp add 1", R"(unknown command "fapp")"},
      {"fap move 1", R"(unknown action "fap move")"},
      {"fap del", "usage: fap add <fap> [<interfaces>...] | fap del <fap>"},
      {"show utilization 1 2", "usage: show [<fap>] [json] | show utilization"},
      {"threshold all upper=50 clear=60 x", "usage: threshold"},
      {"threshold 1 lower=5", R"(unknown threshold "lower")"},
      {"help chipp", R"(no command "chipp")"},
      {"fap add 70000", R"(a logical FAP must be a number from 0 to 65535, not "70000")"},
      {"chip 1 colour=red", R"(unknown chip parameter "colour"; usage: chip <fap>)"},
      {"chip 1 static=maybe", R"(static must be yes or no, not "maybe")"},
      {"chip 1 isec-disabled=65534",
       R"(isec-disabled must be a number from 0 to 65533, not "65534")"},
      {"trace 10", R"(a trace level must be a number from 0 to 9, not "10")"},
      {"agent pause", "usage: agent stop|start|restart"},
      {"macsec on", "usage: macsec on|off <interfaces>..."},
      {"intf add 1 Ethernet3-1", R"(the range in "Ethernet3-1" runs backwards)"},
      {"intf add 1 Ethernet1,3-2", R"(the range in "Ethernet1,3-2" runs backwards)"},
      {"macsec on Ethernet1,2.1-1048576", R"("Ethernet1,2.1-1048576" names 2097152 interfaces)"},
      {"intf del 1 eth1", R"(malformed interface "eth1" (expected)"},
      {"macsec on Ethernet1-1048577", R"("Ethernet1-1048577" names 1048577 interfaces; at most)"},
  };
  for (std::string bad :
       {"Ethernet", "Ethernet0", "Ethernet01", "Ethernet1.0", "Ethernet1.", "Ethernet1.2.3",
        "Ethernet1-", "Ethernet4294967296", "Ethernet1,", "Ethernet,1"}) {
    cases.push_back({"macsec on " + bad, "malformed interface \"" + bad + "\" (expected"});
  }
  for (auto const& [line, expected] : cases) {
    EXPECT_THAT([&line = line] { sim::parseLine(line); },
                ThrowsMessage<std::exception>(StartsWith(expected)));
  }
}

TEST(SimHost, ACommandThatCannotApplyIsRefusedAndChangesNothing) {
  sim::SimHost host(std::cout);
  auto const refused = [&](std::initializer_list<char const*> lines) {
    for (char const* line : lines) {
      std::string const before = sim::stateText(host);
      EXPECT_THROW(host.run(*sim::parseLine(line)), sim::ScenarioError) << line;
      EXPECT_EQ(sim::stateText(host), before) << line;
    }
  };
  run(host, {"agent start", "chip 1 engines=2 isec-disabled=10", "fap add 1 Ethernet1"});
  refused({"intf add 2 Ethernet1", "fap del 2", "fap add 1 Ethernet2", "agent start", "chip 1"});
  run(host, {"chip 1 engines=2 isec-disabled=10", "agent stop",
             "fap del 1"});  // the same chip is harmless
  refused(
      {"agent stop", "chip 1 engines=3 isec-disabled=10"});  // FAP 1 keeps its status till a start
  run(host, {"agent start", "chip 1 engines=3 isec-disabled=10", "fap add 1 Ethernet1"});
  EXPECT_EQ(host.status()->indexFapStatus(LogicalFap::LogicalFapId(1))->numEngineInstances(), 3);
}

TEST(StateJson, AMalformedStateIsRefusedNamingTheFileAndThePlace) {
  std::string const top = "{\"format\": \"macsec-index-sim state\",\n\"version\": 1,\n\"chips\": [";
  std::pair<std::string, std::string> const cases[] = {
      {top + ",]}", "line 3, column 11: not valid JSON"},
      {"[1, 2]", "at the top: not a macsec-index-sim state file"},
      {R"({"format": "macsec-index-sim state", "version": 3})",
       "at version: this simulator reads versions 1 to 2"},
      {top + R"({"engines": -1}]})", "at chips[0].engines: expected a whole number from 0 to 1024"},
      {top + R"(], "faps": [], "macsec": [], "published": [{"fap": 2, "engines": 1,
          "esec-disabled": 5, "isec-disabled": 5, "egress": [{}]}]})",
       R"(at published[0].egress[0]: missing "interface")"},
  };
  for (auto const& [text, expected] : cases) {
    sim::SimHost host(std::cout);
    auto const load = [&, &text = text] { sim::stateFromText(host, text, "s.json"); };
    EXPECT_THAT(load,
                ThrowsMessage<sim::StateFileError>(StartsWith("state file s.json: " + expected)));
    EXPECT_EQ(sim::stateText(host), sim::stateText(sim::SimHost(std::cout))) << "partly loaded";
  }
}

}  // namespace
