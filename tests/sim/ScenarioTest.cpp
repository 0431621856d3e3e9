#include "sim/Scenario.h"

#include <gtest/gtest.h>

#include <sstream>

#include "sim/SimHost.h"

namespace {

using sim::parseLine;
using sim::ScenarioError;

std::vector<std::string> names(std::vector<Portix::IntfId> const& ids) {
  std::vector<std::string> out;
  for (auto const id : ids) {
    out.push_back(Portix::valueToStrep(id));
  }
  return out;
}

TEST(ScenarioReader, ExpandsRangesOfPortsAndSubinterfaces) {
  EXPECT_EQ(names(sim::expandInterfaces("Ethernet7")), (std::vector<std::string>{"Ethernet7"}));
  EXPECT_EQ(names(sim::expandInterfaces("Ethernet1-3")),
            (std::vector<std::string>{"Ethernet1", "Ethernet2", "Ethernet3"}));
  EXPECT_EQ(names(sim::expandInterfaces("Ethernet2.9-10")),
            (std::vector<std::string>{"Ethernet2.9", "Ethernet2.10"}));
  EXPECT_EQ(names(sim::expandInterfaces("Ethernet1-2.1-2")),
            (std::vector<std::string>{"Ethernet1.1", "Ethernet1.2", "Ethernet2.1", "Ethernet2.2"}));
  EXPECT_EQ(sim::expandInterfaces("Ethernet1-48.1-100").size(), 4800u);
}

TEST(ScenarioReader, RejectsMalformedInterfacesWithAMessageNamingThem) {
  for (char const* bad :
       {"Ethernet0", "Ethernet01", "Ethernet3-1", "Ethernet1.0", "Ethernet1.", "Ethernet1.2.3",
        "Ethernet", "eth1", "Ethernet1-", "Ethernet1-99999999"}) {
    try {
      sim::expandInterfaces(bad);
      ADD_FAILURE() << bad << " was accepted";
    } catch (std::exception const& error) {
      std::string const message = error.what();
      EXPECT_TRUE(message.find(bad) != std::string::npos ||
                  message.find("at most") != std::string::npos)
          << bad << ": " << message;
    }
  }
}

TEST(ScenarioReader, ReadsEveryCommandAndIgnoresComments) {
  EXPECT_FALSE(parseLine("   # nothing here"));
  EXPECT_FALSE(parseLine(""));
  auto const chip =
      std::get<sim::ChipCommand>(*parseLine("chip 3 static=yes engines=2 size=100  # comment"));
  EXPECT_EQ(chip.fapId, 3);
  EXPECT_EQ(chip.settings.engines, 2);
  EXPECT_EQ(chip.settings.size, 100);
  EXPECT_EQ(chip.settings.esecDisabled, 255) << "the default";
  EXPECT_TRUE(chip.settings.staticAllocation);
  EXPECT_FALSE(chip.settings.perPortDisabled);

  auto const add = std::get<sim::FapAddCommand>(*parseLine("fap add 2 Ethernet1-2 Ethernet5.1"));
  EXPECT_EQ(names(add.interfaces),
            (std::vector<std::string>{"Ethernet1", "Ethernet2", "Ethernet5.1"}));
  EXPECT_TRUE(std::get<sim::IntfCommand>(*parseLine("intf add 2 Ethernet9")).add);
  EXPECT_FALSE(std::get<sim::MacsecCommand>(*parseLine("macsec off Ethernet9")).on);
  EXPECT_EQ(std::get<sim::ShowCommand>(*parseLine("show 4")).fapId, std::optional<U16>(4));
  EXPECT_EQ(std::get<sim::TraceCommand>(*parseLine("trace 0,4-5")).levels,
            Vok::traceLevelBit(0) | Vok::traceLevelBit(4) | Vok::traceLevelBit(5));
  EXPECT_EQ(std::get<sim::TraceCommand>(*parseLine("trace off")).levels, 0);
  EXPECT_EQ(std::get<sim::AgentCommand>(*parseLine("agent restart")).action,
            sim::AgentCommand::kRestart);
}

TEST(ScenarioReader, RejectsBadCommandsWithUsefulMessages) {
  auto const message = [](char const* line) -> std::string {
    try {
      parseLine(line);
    } catch (ScenarioError const& error) {
      return error.what();
    } catch (std::exception const& error) {
      return error.what();
    }
    return "accepted";
  };
  EXPECT_EQ(message("fapp add 1"), "unknown command \"fapp\"");
  EXPECT_EQ(message("fap move 1"), "unknown action \"fap move\"");
  EXPECT_EQ(message("fap del"), "usage: fap del <fap>");
  EXPECT_EQ(message("fap add 70000"),
            "a logical FAP must be a number from 0 to 65535, not \"70000\"");
  EXPECT_EQ(message("chip 1 colour=red").rfind("unknown chip parameter \"colour\"", 0), 0u);
  EXPECT_EQ(message("chip 1 static=maybe"), "static must be yes or no, not \"maybe\"");
  EXPECT_EQ(message("chip 1 size=65534"), "size must be a number from 0 to 65533, not \"65534\"");
  EXPECT_EQ(message("trace 10"), "a trace level must be a number from 0 to 9, not \"10\"");
  EXPECT_EQ(message("agent pause"), "usage: agent stop|start|restart");
  EXPECT_EQ(message("macsec on"), "usage: macsec on|off <interfaces>...");
}

TEST(SimHost, ACommandThatCannotApplyChangesNothing) {
  std::ostringstream out;
  sim::SimHost host(out);
  host.agentStart();
  EXPECT_THROW(host.run(*parseLine("intf add 1 Ethernet1")), ScenarioError);
  EXPECT_THROW(host.run(*parseLine("fap del 1")), ScenarioError);
  host.run(*parseLine("fap add 1 Ethernet1"));
  EXPECT_THROW(host.run(*parseLine("fap add 1")), ScenarioError);
  EXPECT_THROW(host.run(*parseLine("agent start")), ScenarioError);
  host.run(*parseLine("agent stop"));
  EXPECT_THROW(host.run(*parseLine("agent stop")), ScenarioError);
  EXPECT_EQ(host.faps()->logicalFapSize(), 1u);
  EXPECT_FALSE(host.agentRunning());
}

TEST(SimHost, AChipCannotChangeUnderAFapThatExistsOrHasPublishedStatus) {
  std::ostringstream out;
  sim::SimHost host(out);
  host.agentStart();
  host.run(*parseLine("chip 1 engines=2 size=10"));
  host.run(*parseLine("fap add 1 Ethernet1"));
  EXPECT_THROW(host.run(*parseLine("chip 1 engines=3 size=10")), ScenarioError);
  host.run(*parseLine("chip 1 engines=2 size=10"));  // the same chip again is harmless
  host.run(*parseLine("agent stop"));
  host.run(*parseLine("fap del 1"));
  EXPECT_THROW(host.run(*parseLine("chip 1 engines=3 size=10")), ScenarioError)
      << "its status stays until the agent starts";
  host.run(*parseLine("agent start"));
  host.run(*parseLine("chip 1 engines=3 size=10"));
  host.run(*parseLine("fap add 1 Ethernet1"));
  EXPECT_EQ(host.status()->indexFapStatus(LogicalFap::LogicalFapId(1))->numEngineInstances(), 3);
}

}  // namespace
