#include "sim/StateFile.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>
#include <sstream>

namespace {

using sim::StateFileError;

// A switch in the state a few commands leave it in.
void build(sim::SimHost& host, std::vector<char const*> const& lines) {
  for (char const* line : lines) {
    host.run(*sim::parseLine(line));
  }
}

std::string readFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

class StateFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = ::testing::TempDir() + "state-" + std::to_string(::getpid()) + ".json";
    std::remove(path_.c_str());
  }
  void TearDown() override { std::remove(path_.c_str()); }

  std::string path_;
  std::ostringstream out_;
};

TEST_F(StateFileTest, KeepsEveryPartOfTheSharedStateAcrossASaveAndALoad) {
  sim::SimHost host(out_);
  host.agentStart();
  build(host, {"chip 1 engines=2 size=16 esec-disabled=16 per-port-disabled=yes",
               "chip 3 static=yes", "fap add 1 Ethernet1-2", "fap add 3 Ethernet7",
               "macsec on Ethernet1.1 Ethernet2 Ethernet9"});
  sim::saveState(host, path_);

  sim::SimHost loaded(out_);
  ASSERT_TRUE(sim::loadState(loaded, path_));
  EXPECT_EQ(sim::stateText(loaded), sim::stateText(host));
  EXPECT_EQ(loaded.chip(3).staticAllocation, true);
  EXPECT_TRUE(loaded.macsec()->cpStatusHas(Portix::IntfId("Ethernet9")));
  auto const fap1 = loaded.status()->indexFapStatus(LogicalFap::LogicalFapId(1));
  ASSERT_TRUE(fap1);
  EXPECT_TRUE(
      fap1->esecLoopbackDisabledIndexInfoHas(OruMacSec::SecIntfId(Portix::IntfId("Ethernet1"))));

  // A new agent over the loaded state keeps every index.
  loaded.agentStart();
  EXPECT_EQ(sim::stateText(loaded), sim::stateText(host));
}

TEST_F(StateFileTest, AMissingFileIsAFreshStart) {
  sim::SimHost host(out_);
  EXPECT_FALSE(sim::loadState(host, path_));
}

TEST_F(StateFileTest, AMalformedFileIsRefusedNamingTheFileAndThePlaceAndIsLeftAsItIs) {
  struct Case {
    char const* text;
    char const* message;
  };
  Case const cases[] = {
      {"{\"format\": \"macsec-index-sim state\",\n \"version\": 1,\n \"chips\": [,]}",
       "line 3, column 12: not valid JSON"},
      {"[1, 2]", "at the top: not a macsec-index-sim state file"},
      {"{\"format\": \"macsec-index-sim state\", \"version\": 2}",
       "at version: this simulator "
       "reads version 1"},
      {"{\"format\": \"macsec-index-sim state\", \"version\": 1, \"chips\": [], \"faps\": "
       "[{\"fap\": 1, \"interfaces\": [\"Ethernet1\", \"Ethernet1.0\"]}], \"macsec\": [], "
       "\"published\": []}",
       "at faps[0].interfaces[1]: malformed interface name \"Ethernet1.0\""},
      {"{\"format\": \"macsec-index-sim state\", \"version\": 1, \"chips\": [{\"fap\": 1, "
       "\"engines\": -1}], \"faps\": [], \"macsec\": [], \"published\": []}",
       "at chips[0].engines: expected a whole number from 0 to 1024"},
      {"{\"format\": \"macsec-index-sim state\", \"version\": 1, \"chips\": [], \"faps\": [], "
       "\"macsec\": [], \"published\": [{\"fap\": 2, \"engines\": 1, \"esec-disabled\": 5, "
       "\"isec-disabled\": 5, \"egress\": [{\"interface\": \"Ethernet1\", \"engine\": 0}], "
       "\"ingress\": [], \"disabled\": []}]}",
       "at published[0].egress[0]: missing \"esec-sc\""},
  };
  for (Case const& c : cases) {
    {
      std::ofstream file(path_, std::ios::binary);
      file << c.text;
    }
    sim::SimHost host(out_);
    try {
      sim::loadState(host, path_);
      ADD_FAILURE() << "accepted: " << c.text;
    } catch (StateFileError const& error) {
      std::string const message = error.what();
      EXPECT_NE(message.find("state file " + path_ + ": "), std::string::npos) << message;
      EXPECT_NE(message.find(c.message), std::string::npos) << message;
    }
    EXPECT_EQ(readFile(path_), c.text) << "the file is left as it is";
    EXPECT_EQ(host.faps()->logicalFapSize(), 0u) << "nothing of a bad file is taken in";
    EXPECT_EQ(host.status()->indexFapStatusSize(), 0u);
  }
}

// A writer killed at a random moment, again and again: the file is always one whole state.
TEST_F(StateFileTest, SurvivesTheWriterBeingKilledMidWrite) {
  sim::SimHost small(out_);
  build(small, {"fap add 1 Ethernet1", "macsec on Ethernet1"});
  sim::SimHost large(out_);
  build(large,
        {"chip 2 engines=4 size=4000", "fap add 2 Ethernet1-40", "macsec on Ethernet1-40.1-50"});
  large.agentStart();
  std::string const smallText = sim::stateText(small);
  std::string const largeText = sim::stateText(large);
  sim::saveState(small, path_);

  std::mt19937 random(12345);
  for (int round = 0; round < 20; ++round) {
    pid_t const writer = ::fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
      for (;;) {
        sim::saveState(large, path_);
        sim::saveState(small, path_);
      }
    }
    ::usleep(std::uniform_int_distribution<useconds_t>(500, 20000)(random));
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
    std::string const text = readFile(path_);
    ASSERT_TRUE(text == smallText || text == largeText) << "round " << round;
    sim::SimHost loaded(out_);
    EXPECT_NO_THROW(sim::loadState(loaded, path_));
  }
}

}  // namespace
