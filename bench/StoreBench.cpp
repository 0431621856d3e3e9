// The simulator's store: what one scenario command costs once its changes are written to the
// database, with 1K and 16K MACsec interfaces already stored, with and without a follower of the
// change feed; how long a committed change takes to reach the follower; what a metrics scrape
// costs, of the writer and of a reader; and how long a simulator takes to start from a database
// holding 16K of them (open, load, a new agent, the first commit).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <streambuf>
#include <thread>

#include <fmt/format.h>

#include "sim/metrics/SessionMetrics.h"
#include "sim/session/Session.h"
#include "sim/store/Feed.h"

namespace {

// A database file in the temporary folder, removed with its WAL files.
struct TempDatabase {
  TempDatabase() { remove(); }
  ~TempDatabase() { remove(); }
  void remove() const {
    for (char const* suffix : {"", "-wal", "-shm"}) {
      std::remove((path + suffix).c_str());
    }
  }
  std::string const path = "/tmp/macsec-index-bench-" + std::to_string(::getpid()) + ".db";
};

// A quiet session whose state is in a database holding one FAP with `count` MACsec subinterfaces
// (64 per port, served through their ports, which are the set's members) and one more port without
// MACsec. A start hands the subinterfaces their indexes again.
struct StoredSwitch {
  explicit StoredSwitch(std::int64_t count) : ports(count / 64) {
    open();
    session->runLine("chip 1 isec-disabled=65533", false);
    session->runLine(fmt::format("fap add 1 Ethernet1-{}", ports + 1), false);
    session->runLine(fmt::format("macsec on Ethernet1-{}.1-64", ports), false);
  }
  // A simulator's start: open, load, a new agent, the first commit.
  void open() {
    sim::SessionOptions options;
    options.statePath = database.path;
    session = std::make_unique<sim::Session>(options, quiet, quiet);
  }
  // Switches MACsec on the port without it on, or off again: one command, with its commit.
  void toggle() {
    session->runLine(fmt::format("macsec {} Ethernet{}", spareOn ? "off" : "on", ports + 1), false);
    spareOn = !spareOn;
  }

  std::int64_t const ports;
  std::ostringstream quiet;
  TempDatabase database;
  std::unique_ptr<sim::Session> session;
  bool spareOn = false;
};

// Counts the lines written to it, dropping the text.
class LineCounter : public std::streambuf {
 public:
  std::uint64_t lines() const { return lines_.load(); }

 protected:
  int overflow(int c) override {
    if (c == '\n') {
      lines_.fetch_add(1);
    }
    return c;
  }

 private:
  std::atomic<std::uint64_t> lines_{0};
};

// `--follow` of the database on a thread of its own until destroyed.
class Follower {
 public:
  explicit Follower(std::string const& path)
      : thread_([this, path] {
          sim::FollowOptions options;
          options.stop = [this] { return stop_.load(); };
          std::ostream out(&counter_);
          sim::followFeed(path, options, out);
        }) {}
  ~Follower() {
    stop_ = true;
    thread_.join();
  }
  std::uint64_t lines() const { return counter_.lines(); }

 private:
  LineCounter counter_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

// With a follower of the change feed running when range 1 is 1.
void storeCommand(benchmark::State& state) {
  StoredSwitch world(state.range(0));
  std::optional<Follower> follower;
  if (state.range(1) != 0) {
    follower.emplace(world.database.path);
  }
  for (auto _ : state) {
    world.toggle();
    world.toggle();
  }
  state.SetItemsProcessed(state.iterations() * 2);
}

// From the end of a command's commit to its first feed line printed by the follower (which looks
// at the database every 10 ms while nothing changes). Commits come at random moments of the
// follower's sleep, as a writer's would.
void feedLatency(benchmark::State& state) {
  StoredSwitch world(state.range(0));
  Follower const follower(world.database.path);
  std::minstd_rand random(1);
  for (auto _ : state) {
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 10'000));
    std::uint64_t const before = follower.lines();
    world.toggle();
    auto const committed = std::chrono::steady_clock::now();
    while (follower.lines() == before) {
      std::this_thread::yield();
    }
    state.SetIterationTime(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - committed).count());
  }
}

// A metrics scrape: of the writer's own state (range 1 == 0) or of a reader of its database, after
// a command of the writer, or for a reader also with nothing committed since the scrape before
// (range 2 == 0).
void scrape(benchmark::State& state) {
  StoredSwitch world(state.range(0));
  sim::SessionOptions options;
  options.statePath = world.database.path;
  options.readOnly = true;
  std::optional<sim::Session> reader;
  if (state.range(1) != 0) {
    reader.emplace(options, world.quiet, world.quiet);
  }
  sim::SessionMetrics metrics(reader ? *reader : *world.session);
  for (auto _ : state) {
    if (state.range(2) != 0) {
      state.PauseTiming();
      world.toggle();
      state.ResumeTiming();
    }
    benchmark::DoNotOptimize(metrics.input());
  }
}

void startFromStore(benchmark::State& state) {
  StoredSwitch world(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();  // tearing the last switch down is not part of a start
    world.session.reset();
    world.quiet.str("");
    state.ResumeTiming();
    world.open();
  }
}

// Two commands per iteration (MACsec on, then off, for one port); the figure per command is half.
BENCHMARK(storeCommand)
    ->Name("store: macsec on + off with commits, MACsec interfaces stored, feed followed")
    ->Args({1024, 0})
    ->Args({16384, 0})
    ->Args({1024, 1})
    ->Args({16384, 1})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(feedLatency)
    ->Name("store: a commit to its first feed line at the follower")
    ->Arg(1024)
    ->Arg(16384)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(scrape)
    ->Name("metrics: a scrape of the writer / a reader, after a commit / nothing committed")
    ->Args({1024, 0, 1})
    ->Args({16384, 0, 1})
    ->Args({1024, 1, 1})
    ->Args({16384, 1, 1})
    ->Args({16384, 1, 0})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(startFromStore)
    ->Name("store: start from a database, MACsec interfaces stored")
    ->Arg(16384)
    ->Unit(benchmark::kMillisecond);

}  // namespace
