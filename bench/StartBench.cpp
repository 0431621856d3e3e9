// Starting a FAP's state machine with 16K MACsec subinterfaces: from nothing published (cold
// start), and from the records an earlier run published (restart: rebuild, then the sweep finds
// every interface served).
#include <benchmark/benchmark.h>

#include "OruMacSec/IndexFapSm.h"
#include "bench/BenchWorld.h"
#include "bench/baseline/IndexFapSm.h"

namespace {

using bench::World;

constexpr std::uint32_t kSubinterfaces = 16384;

template <class FapSm>
void coldStart(benchmark::State& state) {
  World<FapSm> world;
  world.addInputs({1, 1, World<FapSm>::kPorts, kSubinterfaces / World<FapSm>::kPorts});
  for (auto _ : state) {
    world.start(1, state.range(0) != 0);
    state.PauseTiming();
    world.machines.clear();
    world.status->indexFapStatusDel(LogicalFap::LogicalFapId(1));
    state.ResumeTiming();
  }
}

template <class FapSm>
void restart(benchmark::State& state) {
  World<FapSm> world;
  world.addInputs({1, 1, World<FapSm>::kPorts, kSubinterfaces / World<FapSm>::kPorts});
  world.start(1, state.range(0) != 0);
  world.machines.clear();
  for (auto _ : state) {
    world.start(1, state.range(0) != 0);
    state.PauseTiming();
    world.machines.clear();
    state.ResumeTiming();
  }
}

BENCHMARK_TEMPLATE(coldStart, OruMacSecBaseline::IndexFapSm)
    ->Name("cold start, 16K subinterfaces/baseline")
    ->ArgName("perPortDisabled")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(coldStart, OruMacSec::IndexFapSm)
    ->Name("cold start, 16K subinterfaces/ours")
    ->ArgName("perPortDisabled")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(restart, OruMacSecBaseline::IndexFapSm)
    ->Name("restart, 16K subinterfaces/baseline")
    ->ArgName("perPortDisabled")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(restart, OruMacSec::IndexFapSm)
    ->Name("restart, 16K subinterfaces/ours")
    ->ArgName("perPortDisabled")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
