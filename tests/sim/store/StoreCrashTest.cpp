// The store under crashes: the simulator program runs a long scenario on a database and is killed
// with SIGKILL at random moments; what it leaves must load, pass the invariants, and be the state
// after a whole number of the commands, not fewer than it had reported done.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "sim/session/Session.h"
#include "sim/store/StateJson.h"
#include "support/Invariants.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

// A valid command line at random over two small FAPs; the host refuses the ones that cannot apply.
std::string randomCommand(std::mt19937& random) {
  auto const pick = [&](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  auto const intf = [&] {
    int const port = pick(1, 8);
    return pick(0, 2) == 0 ? fmt::format("Ethernet{}", port)
                           : fmt::format("Ethernet{}.{}", port, pick(1, 4));
  };
  int const fap = pick(1, 2);
  switch (pick(0, 9)) {
    case 0:
      return fmt::format("chip {} engines={} isec-disabled={} per-port-disabled={}", fap,
                         pick(1, 3), pick(4, 12), pick(0, 1) == 1 ? "yes" : "no");
    case 1:
      return fmt::format("fap add {} Ethernet{}-{}", fap, fap * 4 - 3, fap * 4);
    case 2:
      return pick(0, 3) == 0 ? fmt::format("fap del {}", fap) : "agent restart";
    case 3:
    case 4:
      return fmt::format("intf {} {} {}", pick(0, 1) == 1 ? "add" : "del", fap, intf());
    default:
      return fmt::format("macsec {} {} {}", pick(0, 2) != 0 ? "on" : "off", intf(), intf());
  }
}

struct Outcome {
  int echoed = 0;  // commands whose echo reached the output before the kill
  bool finished = false;
};

// Runs the simulator on `scenario` over `database`, killing it after `delay` unless it is null.
Outcome runSimulator(std::string const& database, std::string const& scenario,
                     std::string const& out, std::optional<std::chrono::microseconds> delay) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&files, 2, "/dev/null", O_WRONLY, 0);
  std::string program = SIM_PROGRAM, state = "--state";
  std::string db = database, file = scenario;
  char* argv[] = {program.data(), state.data(), db.data(), file.data(), nullptr};
  pid_t pid = 0;
  EXPECT_EQ(posix_spawn(&pid, SIM_PROGRAM, &files, nullptr, argv, environ), 0);
  posix_spawn_file_actions_destroy(&files);
  if (delay) {
    std::this_thread::sleep_for(*delay);
    ::kill(pid, SIGKILL);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  Outcome run;
  run.finished = WIFEXITED(status) && WEXITSTATUS(status) == 0;
  std::ifstream output(out);
  for (std::string line; std::getline(output, line);) {
    run.echoed += line.rfind("> ", 0) == 0 ? 1 : 0;
  }
  return run;
}

TEST(StoreCrash, AKilledSimulatorLeavesTheStateAfterAWholeNumberOfCommands) {
  std::string const base = ::testing::TempDir() + "crash-" + std::to_string(::getpid());
  std::string const database = base + ".db", scenario = base + ".scn", out = base + ".out";
  // The scenario, and the states after each of its prefixes (a state may recur).
  std::map<std::string, std::vector<int>> prefixes;
  {
    std::ostringstream quiet;
    sim::Session session({}, quiet, quiet);
    prefixes[sim::stateText(session.host())].push_back(0);
    std::ofstream file(scenario);
    std::mt19937 random(11);
    for (int accepted = 0; accepted < 1500;) {
      std::string const line = randomCommand(random);
      try {
        session.runLine(line, false);
      } catch (std::runtime_error const&) {
        continue;  // refused: not part of the scenario
      }
      file << line << '\n';
      prefixes[sim::stateText(session.host())].push_back(++accepted);
    }
  }
  auto const removeDatabase = [&] {
    for (char const* suffix : {"", "-wal", "-shm"}) {
      std::remove((database + suffix).c_str());
    }
  };

  std::mt19937 random(std::random_device{}());
  auto const started = Clock::now();
  auto full = std::chrono::microseconds(0);
  for (int kills = 0; kills < 40 && Clock::now() - started < std::chrono::seconds(20); ++kills) {
    removeDatabase();
    std::optional<std::chrono::microseconds> delay;
    if (kills > 0) {  // the first run goes to the end and times the whole scenario
      delay = std::chrono::microseconds(
          std::uniform_int_distribution<std::int64_t>(0, full.count() * 5 / 4)(random));
    }
    auto const begin = Clock::now();
    Outcome const run = runSimulator(database, scenario, out, delay);
    if (!delay) {
      ASSERT_TRUE(run.finished);
      full = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
    }

    std::ostringstream quiet;
    sim::Transcript transcript(quiet);
    sim::TranscriptSinks sinks(transcript);
    sim::Switch loaded;
    sim::ResourceMonitor monitor;
    ASSERT_NO_THROW(sim::Store(database, sim::Store::Access::kWrite).load(loaded, monitor));
    auto const found = prefixes.find(sim::stateText(loaded));
    ASSERT_NE(found, prefixes.end()) << "not the state after any number of commands";
    // A command is committed before the next one is echoed, and its output flushed after.
    bool const consistent = std::any_of(found->second.begin(), found->second.end(), [&](int n) {
      return n >= run.echoed - 1 && n <= run.echoed + 1 && (!run.finished || n == 1500);
    });
    EXPECT_TRUE(consistent) << run.echoed << " commands echoed, killed after "
                            << (delay ? delay->count() : 0) << " us";
    loaded.agentStart();
    EXPECT_THAT(testsupport::checkAgent(*loaded.agent()), ::testing::IsEmpty());
  }
  removeDatabase();
  std::remove(scenario.c_str());
  std::remove(out.c_str());
}

}  // namespace
