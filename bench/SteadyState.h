// The benchmarks of steady-state churn. main registers them after every other benchmark, since
// they hold the allocator at its start thresholds for the rest of the process (see
// AllocationCounter.h) and the others keep measuring as they always did.
#pragma once

namespace bench {

// One FAP's per-event cost, page faults and allocations at several sizes (SteadyStateBench.cpp).
void registerSteadyStateBenchmarks();
// The same for each kind of collection alone (CollectionBench.cpp).
void registerCollectionBenchmarks();

}  // namespace bench
