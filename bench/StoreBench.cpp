// The simulator's store: what one scenario command costs once its changes are written to the
// database, with 1K and 16K MACsec interfaces already stored, and how long a simulator takes to
// start from a database holding 16K of them (open, load, a new agent, the first commit).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <sstream>

#include "sim/Output.h"
#include "sim/Store.h"

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

// A quiet switch whose state is in a database holding one FAP with `count` MACsec subinterfaces
// (64 per port) and one more port without MACsec.
struct StoredSwitch {
  explicit StoredSwitch(std::int64_t count) : ports(count / 64) {
    store->follow(*host);
    host->agentStart();
    run("chip 1 isec-disabled=65533");
    run(fmt::format("fap add 1 Ethernet1-{}.1-64 Ethernet{}", ports, ports + 1));
    run(fmt::format("macsec on Ethernet1-{}.1-64", ports));
    store->commit();
  }
  void run(std::string const& line) const { host->run(*sim::parseLine(line)); }

  std::int64_t const ports;
  std::ostringstream quiet;
  sim::Transcript logs{quiet};
  sim::TranscriptSinks sinks{logs};
  TempDatabase database;
  std::unique_ptr<sim::SimHost> host = std::make_unique<sim::SimHost>(quiet);
  std::unique_ptr<sim::Store> store =
      std::make_unique<sim::Store>(database.path, sim::Store::Access::kWrite);
};

void storeCommand(benchmark::State& state) {
  StoredSwitch world(state.range(0));
  std::string const port = fmt::format("Ethernet{}", world.ports + 1);
  auto const on = *sim::parseLine("macsec on " + port);
  auto const off = *sim::parseLine("macsec off " + port);
  for (auto _ : state) {
    world.host->run(on);
    world.store->commit();
    world.host->run(off);
    world.store->commit();
  }
  state.SetItemsProcessed(state.iterations() * 2);
}

void startFromStore(benchmark::State& state) {
  StoredSwitch world(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();  // tearing the last switch down is not part of a start
    world.store.reset();
    world.host.reset();
    state.ResumeTiming();
    world.host = std::make_unique<sim::SimHost>(world.quiet);
    world.store = std::make_unique<sim::Store>(world.database.path, sim::Store::Access::kWrite);
    world.store->load(*world.host);
    world.store->follow(*world.host);
    world.host->agentStart();
    world.store->commit();
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
