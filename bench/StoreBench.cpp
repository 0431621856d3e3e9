// The simulator's store: what one scenario command costs once its changes are written to the
// database, with 1K and 16K MACsec interfaces already stored, and how long a simulator takes to
// start from a database holding 16K of them (open, load, a new agent, the first commit).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <sstream>

#include <fmt/format.h>

#include "sim/session/Session.h"

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

  std::int64_t const ports;
  std::ostringstream quiet;
  TempDatabase database;
  std::unique_ptr<sim::Session> session;
};

void storeCommand(benchmark::State& state) {
  StoredSwitch world(state.range(0));
  std::string const port = fmt::format("Ethernet{}", world.ports + 1);
  std::string const on = "macsec on " + port;
  std::string const off = "macsec off " + port;
  for (auto _ : state) {
    world.session->runLine(on, false);
    world.session->runLine(off, false);
  }
  state.SetItemsProcessed(state.iterations() * 2);
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
    ->Name("store: macsec on + off with commits, MACsec interfaces stored")
    ->Arg(1024)
    ->Arg(16384)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(startFromStore)
    ->Name("store: start from a database, MACsec interfaces stored")
    ->Arg(16384)
    ->Unit(benchmark::kMillisecond);

}  // namespace
