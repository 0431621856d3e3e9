// The change feed against writers killed at random moments: a follower started before them sees
// every committed change exactly once, in seq order, and its set/del lines replayed over the
// starting state give the final state's records.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <thread>

#include "sim/store/Database.h"
#include "sim/store/Feed.h"

namespace {

using json = nlohmann::json;

// Runs the simulator with `arguments` and returns its process id.
pid_t start(std::vector<std::string> arguments, std::string const& output) {
  arguments.insert(arguments.begin(), SIM_PROGRAM);
  pid_t const pid = ::fork();
  if (pid == 0) {
    // Only async-signal-safe calls between fork and exec: the follower's thread runs meanwhile.
    int const fd = ::open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    ::dup2(fd, STDOUT_FILENO);
    ::dup2(fd, STDERR_FILENO);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& a : arguments) {
      argv.push_back(a.data());
    }
    argv.push_back(nullptr);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  return pid;
}

int wait(pid_t pid) {
  int status = 0;
  ::waitpid(pid, &status, 0);
  return status;
}

// The published records of an exported state, keyed as the feed keys them.
std::map<std::string, json> records(json const& state) {
  std::map<std::string, json> out;
  for (json const& fap : state["published"]) {
    std::string const id = std::to_string(fap["fap"].get<int>());
    out["fap " + id] = {{"fap", fap["fap"]},
                        {"engines", fap["engines"]},
                        {"esec-disabled", fap["esec-disabled"]},
                        {"isec-disabled", fap["isec-disabled"]}};
    for (char const* kind : {"egress", "ingress", "disabled"}) {
      for (json const& r : fap[kind]) {
        out[id + " " + kind + " " + r.value("interface", r.value("port", ""))] = r;
      }
    }
  }
  return out;
}

TEST(ChangeFeed, AFollowerSeesEveryCommittedChangeOnceWhileWritersAreKilled) {
  std::string const base = ::testing::TempDir() + "feed-" + std::to_string(::getpid());
  std::string const db = base + ".db", scenario = base + ".scn", log = base + ".log";
  for (char const* suffix : {"", "-wal", "-shm"}) {
    std::remove((db + suffix).c_str());
  }
  std::mt19937 random(7);
  {
    std::ofstream setup(scenario);
    setup << "chip 1 engines=2 isec-disabled=24 esec-disabled=24 per-port-disabled=yes\n"
          << "fap add 1 Ethernet1-40\n";
  }
  ASSERT_EQ(wait(start({"--state", db, scenario}, log)), 0);
  {
    std::ofstream commands(scenario);
    for (int i = 0; i < 3000; ++i) {
      commands << "macsec " << (random() % 3 != 0 ? "on" : "off") << " Ethernet"
               << 1 + random() % 40 << (random() % 2 != 0 ? ".1" : "") << '\n';
    }
  }

  std::ostringstream feed;
  std::atomic<bool> stop{false};
  sim::FollowOptions options;
  options.since = 0;
  options.pollMilliseconds = 2;
  options.stop = [&] { return stop.load(); };
  std::string failure;
  std::thread follower([&] {
    try {
      sim::followFeed(db, options, feed);
    } catch (std::exception const& error) {
      failure = error.what();
    }
  });

  for (int round = 0; round < 6; ++round) {
    pid_t const writer = start({"--state", db, scenario}, log);
    std::this_thread::sleep_for(std::chrono::milliseconds(30 + random() % 150));
    ::kill(writer, SIGKILL);
    wait(writer);
  }
  // A last writer that runs to its end, then the follower catches up with the database.
  ASSERT_EQ(wait(start({"--state", db, "--export", base + ".json"}, log)), 0);
  std::int64_t const newest =
      sim::Database(db, SQLITE_OPEN_READONLY).value("SELECT max(seq) FROM change");
  for (int i = 0;
       i < 2000 && feed.str().find("\"seq\":" + std::to_string(newest) + ",") == std::string::npos;
       ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  stop = true;
  follower.join();
  ASSERT_EQ(failure, "");

  std::map<std::string, json> replayed;
  std::istringstream lines(feed.str());
  std::int64_t seq = 0;
  for (std::string line; std::getline(lines, line);) {
    json const entry = json::parse(line);
    ASSERT_EQ(entry["seq"], ++seq) << "missed or repeated: " << line;
    std::string const fap = std::to_string(entry["fap"].get<int>());
    json const& record = entry["record"];
    std::string const key = entry["kind"] == "fap"
                                ? "fap " + fap
                                : fap + " " + entry["kind"].get<std::string>() + " " +
                                      record.value("interface", record.value("port", ""));
    if (entry["op"] == "set") {
      replayed[key] = record;
    } else if (entry["op"] == "del") {
      ASSERT_EQ(replayed.erase(key), 1u) << "deletes what was never set: " << line;
    }
  }
  EXPECT_EQ(seq, newest);
  EXPECT_GT(seq, 100) << "the writers committed too little to test anything";
  std::ifstream exported(base + ".json");
  EXPECT_EQ(replayed, records(json::parse(exported)));
  for (std::string const& file : {db, db + "-wal", db + "-shm", scenario, log, base + ".json"}) {
    std::remove(file.c_str());
  }
}

}  // namespace
