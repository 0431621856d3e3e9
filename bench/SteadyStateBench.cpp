// The cost of one event on a single FAP whose interfaces have settled: MACsec goes on and off on
// one further subinterface of a FAP with N MACsec subinterfaces, 64 per port. EventBench spreads
// its interfaces over four FAPs; here every record is in the one FAP's collections.
//
// Measured in steady state, after a warm-up long enough for a collection that compacts its deleted
// entries to have done so at least once, and over the first 2,000 events after the FAP's state
// machine starts. The minor page faults per 1,000 events tell whether toggling one interface keeps
// taking fresh memory from the system; the heap allocations per event whether it allocates at all
// (the input's own entity, created by each "on", is one).
//
// Times are the thread's CPU time, which includes the kernel's handling of page faults but not
// the time another process holds the core: the machines these run on are shared.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <ctime>
#include <optional>

#include "OruMacSec/IndexFapSm.h"
#include "bench/AllocationCounter.h"
#include "bench/BenchWorld.h"
#include "bench/SteadyState.h"

namespace {

constexpr std::uint32_t kPerPort = 64;

double cpuNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return double(now.tv_sec) * 1e9 + double(now.tv_nsec);
}

// One FAP with `subinterfaces` MACsec subinterfaces on ports of 64, its state machine started.
class OneFap {
 public:
  OneFap(std::uint32_t subinterfaces, bool perPort) {
    bench::holdAllocatorAtStartThresholds();
    world_.addInputs({1, 1, subinterfaces / kPerPort, kPerPort});
    world_.start(1, perPort);
  }

  // MACsec on, then off, on a further subinterface of port 5: two events.
  void onOff() {
    world_.macsec->cpStatusIs(target_);
    world_.macsec->cpStatusDel(target_);
  }

 private:
  bench::World<OruMacSec::IndexFapSm> world_;
  Portix::IntfId const target_ = bench::sub(5, kPerPort + 1);
};

// What a run of `events` events cost, from the counts taken before it.
struct Tally {
  double start = cpuNanoseconds();
  std::int64_t faults = bench::minorPageFaults();
  std::int64_t allocations = bench::heapAllocations();

  void report(benchmark::State& state, double nsTotal, double events) const {
    state.counters["ns/event"] = nsTotal / events;
    state.counters["faults/1k events"] =
        1000.0 * double(bench::minorPageFaults() - faults) / events;
    state.counters["allocs/event"] = double(bench::heapAllocations() - allocations) / events;
    state.counters["subinterfaces"] = double(state.range(0));
  }
};

// The measured loop stands in a function of its own, so that a profiler can collect it alone.
[[gnu::noinline]] void measuredOnOff(benchmark::State& state, OneFap& fap) {
  for (auto _ : state) {
    fap.onOff();
  }
}

void steadyState(benchmark::State& state) {
  auto const subinterfaces = std::uint32_t(state.range(0));
  OneFap fap(subinterfaces, state.range(1) != 0);
  for (std::uint32_t i = 0; i < 2 * subinterfaces + 1000; ++i) {
    fap.onOff();
  }
  Tally const tally;
  measuredOnOff(state, fap);
  tally.report(state, cpuNanoseconds() - tally.start, 2.0 * double(state.iterations()));
}

// Each iteration starts the FAP afresh (not measured) and times its first 2,000 events.
void firstEvents(benchmark::State& state) {
  constexpr int kPairs = 1000;
  double nsTotal = 0;
  std::int64_t faults = 0;
  std::int64_t allocations = 0;
  for (auto _ : state) {
    std::optional<OneFap> fap;
    fap.emplace(std::uint32_t(state.range(0)), state.range(1) != 0);
    Tally const tally;
    for (int i = 0; i < kPairs; ++i) {
      fap->onOff();
    }
    double const elapsed = cpuNanoseconds() - tally.start;
    faults += bench::minorPageFaults() - tally.faults;
    allocations += bench::heapAllocations() - tally.allocations;
    nsTotal += elapsed;
    state.SetIterationTime(elapsed / 1e9);
  }
  double const events = 2.0 * kPairs * double(state.iterations());
  state.counters["ns/event"] = nsTotal / events;
  state.counters["faults/1k events"] = 1000.0 * double(faults) / events;
  state.counters["allocs/event"] = double(allocations) / events;
  state.counters["subinterfaces"] = double(state.range(0));
}

void sizes(benchmark::internal::Benchmark* b) {
  b->ArgNames({"subinterfaces", "perPortDisabled"});
  for (int perPort : {0, 1}) {
    for (int count : {1024, 4096, 16384, 61440}) {
      b->Args({count, perPort});
    }
  }
  b->Unit(benchmark::kMicrosecond);
}

}  // namespace

void bench::registerSteadyStateBenchmarks() {
  benchmark::RegisterBenchmark("one FAP, steady state", steadyState)->Apply(sizes);
  // A fixed count of starts: each costs far more than the 2,000 events it is there for.
  benchmark::RegisterBenchmark("one FAP, first 2000 events", firstEvents)
      ->Apply(sizes)
      ->UseManualTime()
      ->Iterations(20);
}
