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

void run(sim::SimHost& host, std::string const& line) {
  host.run(*sim::parseLine(line));
}

// One FAP with `count` MACsec subinterfaces (64 per port) in a database.
void fill(sim::SimHost& host, sim::Store& store, std::int64_t count) {
  store.follow(host);
  host.agentStart();
  run(host, "chip 1 size=65533");
  std::int64_t const ports = count / 64;
  run(host, fmt::format("fap add 1 Ethernet1-{}.1-64 Ethernet{}", ports, ports + 1));
  run(host, fmt::format("macsec on Ethernet1-{}.1-64", ports));
  store.commit();
}

void storeCommand(benchmark::State& state) {
  std::ostringstream quiet;
  sim::TranscriptSinks sinks(quiet);
  TempDatabase database;
  sim::SimHost host(quiet);
  sim::Store store(database.path, sim::Store::Access::kWrite);
  fill(host, store, state.range(0));
  std::string const port = fmt::format("Ethernet{}", state.range(0) / 64 + 1);
  auto const on = *sim::parseLine("macsec on " + port);
  auto const off = *sim::parseLine("macsec off " + port);
  for (auto _ : state) {
    host.run(on);
    store.commit();
    host.run(off);
    store.commit();
  }
  state.SetItemsProcessed(state.iterations() * 2);
}

void startFromStore(benchmark::State& state) {
  std::ostringstream quiet;
  sim::TranscriptSinks sinks(quiet);
  TempDatabase database;
  {
    sim::SimHost host(quiet);
    sim::Store store(database.path, sim::Store::Access::kWrite);
    fill(host, store, state.range(0));
  }
  std::unique_ptr<sim::SimHost> host;
  std::unique_ptr<sim::Store> store;
  for (auto _ : state) {
    state.PauseTiming();  // tearing the last switch down is not part of a start
    store.reset();
    host.reset();
    state.ResumeTiming();
    host = std::make_unique<sim::SimHost>(quiet);
    store = std::make_unique<sim::Store>(database.path, sim::Store::Access::kWrite);
    store->load(*host);
    store->follow(*host);
    host->agentStart();
    store->commit();
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
