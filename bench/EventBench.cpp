// The cost of one event with many MACsec subinterfaces already allocated: a subinterface's MACsec
// going on and off, and a port leaving and rejoining its FAP.
#include <benchmark/benchmark.h>

#include "OruMacSec/IndexFapSm.h"
#include "bench/BenchWorld.h"
#include "bench/baseline/IndexFapSm.h"

namespace {

using bench::World;

// MACsec on, then off, on a further subinterface of a port of FAP 1 (two events).
template <class FapSm>
void subinterfaceOnOff(benchmark::State& state) {
  World<FapSm> world;
  world.buildFourFaps(std::uint32_t(state.range(0)), state.range(1) != 0);
  Portix::IntfId const target = bench::sub(5, 4000);
  for (auto _ : state) {
    world.macsec->cpStatusIs(target);
    world.macsec->cpStatusDel(target);
  }
  state.counters["subinterfaces"] = double(state.range(0));
}

// A port of FAP 1 with 4 MACsec subinterfaces of its own, while 16K run on the FAP's other
// ports, leaves the FAP's set and rejoins it (two events).
template <class FapSm>
void portLeaveRejoin(benchmark::State& state) {
  World<FapSm> world;
  world.addInputs({1, 100, 1, 4});
  world.buildFourFaps(16384, state.range(0) != 0);
  auto const set = world.faps->logicalFap(LogicalFap::LogicalFapId(1));
  for (auto _ : state) {
    set->intfIdDel(bench::port(100));
    set->intfIdIs(bench::port(100));
  }
}

void subinterfaceArgs(benchmark::internal::Benchmark* b) {
  b->ArgNames({"subinterfaces", "perPortDisabled"});
  for (int perPort : {0, 1}) {
    for (int count : {1024, 4096, 16384}) {
      b->Args({count, perPort});
    }
  }
  b->Unit(benchmark::kMicrosecond);
}

BENCHMARK_TEMPLATE(subinterfaceOnOff, OruMacSecBaseline::IndexFapSm)
    ->Name("subinterface macsec on+off/baseline")
    ->Apply(subinterfaceArgs);
BENCHMARK_TEMPLATE(subinterfaceOnOff, OruMacSec::IndexFapSm)
    ->Name("subinterface macsec on+off/ours")
    ->Apply(subinterfaceArgs);
BENCHMARK_TEMPLATE(portLeaveRejoin, OruMacSecBaseline::IndexFapSm)
    ->Name("port leave+rejoin, 16K subinterfaces/baseline")
    ->ArgName("perPortDisabled")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(portLeaveRejoin, OruMacSec::IndexFapSm)
    ->Name("port leave+rejoin, 16K subinterfaces/ours")
    ->ArgName("perPortDisabled")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
