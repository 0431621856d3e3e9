// The collections alone: one key added to and removed from a collection of N entries, over and
// over, after a warm-up. Shows what each kind costs per change and whether its steady state takes
// memory: minor page faults per 1,000 changes (fresh memory from the system) and heap allocations
// per change.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <type_traits>

#include "bench/AllocationCounter.h"
#include "bench/SteadyState.h"
#include "platform/Nubis/Collection.h"
#include "platform/Nubis/Node.h"
#include "platform/Nubis/OrderedCollection.h"
#include "platform/Nubis/OrderedSet.h"

namespace {

// An owner without a publisher: its collections announce nothing.
class Owner : public Nubis::Node {};

// Keys as the published records have them: interface identifiers, port in the upper half.
std::uint64_t keyOf(std::uint32_t n) {
  return (std::uint64_t(n / 64 + 1) << 32) | (n % 64 + 1);
}

struct Record {
  std::uint64_t a = 0;
  std::uint64_t b = 0;
  friend bool operator==(Record const& x, Record const& y) { return x.a == y.a && x.b == y.b; }
};

template <class C>
void add(C& collection, std::uint64_t key) {
  if constexpr (std::is_same_v<C, Nubis::OrderedSet<std::uint64_t>>) {
    collection.add(key);
  } else {
    collection.set(key, Record{key, 1});
  }
}

template <class C>
void addRemove(benchmark::State& state) {
  bench::holdAllocatorAtStartThresholds();
  Owner owner;
  C collection(owner, 130);
  auto const entries = std::uint32_t(state.range(0));
  for (std::uint32_t n = 0; n < entries; ++n) {
    add(collection, keyOf(n));
  }
  std::uint64_t const extra = keyOf(entries);
  for (std::uint32_t i = 0; i < 2 * entries + 1000; ++i) {
    add(collection, extra);
    collection.del(extra);
  }
  std::int64_t const faults = bench::minorPageFaults();
  std::int64_t const allocations = bench::heapAllocations();
  for (auto _ : state) {
    add(collection, extra);
    collection.del(extra);
  }
  double const changes = 2.0 * double(state.iterations());
  state.counters["faults/1k changes"] =
      1000.0 * double(bench::minorPageFaults() - faults) / changes;
  state.counters["allocs/change"] = double(bench::heapAllocations() - allocations) / changes;
}

void sizes(benchmark::internal::Benchmark* b) {
  b->ArgName("entries")->Arg(1024)->Arg(16384)->Arg(61440);
}

}  // namespace

void bench::registerCollectionBenchmarks() {
  using Key = std::uint64_t;
  benchmark::RegisterBenchmark("Collection add+remove", addRemove<Nubis::Collection<Key, Record>>)
      ->Apply(sizes);
  benchmark::RegisterBenchmark("OrderedCollection add+remove",
                               addRemove<Nubis::OrderedCollection<Key, Record>>)
      ->Apply(sizes);
  benchmark::RegisterBenchmark("OrderedSet add+remove", addRemove<Nubis::OrderedSet<Key>>)
      ->Apply(sizes);
}
