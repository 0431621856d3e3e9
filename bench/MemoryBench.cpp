// Memory the state machine keeps per allocated interface, beyond the published records: the heap
// that starting a FAP with N MACsec subinterfaces takes, less what the same FAP takes with none
// and less what publishing the same records alone takes, divided by N.
#include <benchmark/benchmark.h>

#include "OruMacSec/IndexFapSm.h"
#include "bench/AllocationCounter.h"
#include "bench/BenchWorld.h"
#include "bench/baseline/IndexFapSm.h"

namespace {

using bench::World;

constexpr std::uint32_t kSubinterfaces = 16384;

// Heap taken by starting FAP 1 with `subinterfaces` MACsec subinterfaces, inputs excluded.
template <class FapSm>
std::int64_t startCost(std::uint32_t subinterfaces, bool perPort) {
  World<FapSm> world;
  world.addInputs({1, 1, World<FapSm>::kPorts, subinterfaces / World<FapSm>::kPorts});
  std::int64_t const before = bench::heapBytesInUse();
  world.start(1, perPort);
  return bench::heapBytesInUse() - before;
}

// Heap taken by the same FAP's published records alone, copied into a fresh status.
template <class FapSm>
std::int64_t recordsCost(bool perPort) {
  World<FapSm> world;
  world.addInputs({1, 1, World<FapSm>::kPorts, kSubinterfaces / World<FapSm>::kPorts});
  auto const published = world.start(1, perPort)->indexFapStatus();
  std::int64_t const before = bench::heapBytesInUse();
  Nubis::Ptr<OruMacSec::IndexFapStatus> copy(
      new OruMacSec::IndexFapStatus(LogicalFap::LogicalFapId(9), 2, 0, 0));
  for (auto record = published->esecIndexInfoIter(); record; ++record) {
    copy->esecIndexInfoIs(*record);
    copy->isecIndexInfoIs(published->isecIndexInfo(record.key()));
  }
  for (auto record = published->esecLoopbackDisabledIndexInfoIter(); record; ++record) {
    copy->esecLoopbackDisabledIndexInfoIs(*record);
  }
  return bench::heapBytesInUse() - before;
}

template <class FapSm>
void memoryPerInterface(benchmark::State& state) {
  bool const perPort = state.range(0) != 0;
  double perInterface = 0;
  for (auto _ : state) {
    std::int64_t const full = startCost<FapSm>(kSubinterfaces, perPort);
    std::int64_t const empty = startCost<FapSm>(0, perPort);
    std::int64_t const records = recordsCost<FapSm>(perPort);
    perInterface = double(full - empty - records) / kSubinterfaces;
  }
  state.counters["bytes/interface"] = perInterface;
}

BENCHMARK_TEMPLATE(memoryPerInterface, OruMacSecBaseline::IndexFapSm)
    ->Name("memory per allocated interface/baseline")
    ->ArgName("perPortDisabled")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(memoryPerInterface, OruMacSec::IndexFapSm)
    ->Name("memory per allocated interface/ours")
    ->ArgName("perPortDisabled")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
