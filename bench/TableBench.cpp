// The free-entry search of one table: the largest table a chip may have, at several fill levels.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "OruMacSec/TableResources.h"
#include "bench/baseline/TableResources.h"
#include "platform/Nubis/Ptr.h"

namespace {

constexpr U16 kMaxIndex = 65533;

// A table whose lowest `percent` of the search range is in use, as a table that filled up from
// the bottom is.
template <class Table>
Nubis::Ptr<Table> filledTable(int percent) {
  Nubis::Ptr<Table> table(new Table("EsecScTable", kMaxIndex));
  std::uint32_t const used = std::uint32_t(kMaxIndex) * std::uint32_t(percent) / 100;
  for (std::uint32_t i = 0; i < used; ++i) {
    table->allocateIndex(U16(i));
  }
  return table;
}

// One search plus allocation. Every 1024 of them the entries taken are given back, outside the
// measurement, so that the table stays at its fill level.
template <class Table>
void searchAndAllocate(benchmark::State& state) {
  auto const table = filledTable<Table>(int(state.range(0)));
  std::vector<U16> taken;
  taken.reserve(1024);
  for (auto _ : state) {
    auto const index = table->getNextFreeIndex();
    benchmark::DoNotOptimize(table->allocateIndex(index.value()));
    taken.push_back(index.value());
    if (taken.size() == taken.capacity()) {
      state.PauseTiming();
      for (U16 const entry : taken) {
        table->freeIndex(entry);
      }
      taken.clear();
      state.ResumeTiming();
    }
  }
}

// On a full table: free an entry, then search and allocate, which finds that entry again.
template <class Table>
void freeThenReallocate(benchmark::State& state) {
  auto const table = filledTable<Table>(100);
  std::uint32_t position = 0;
  for (auto _ : state) {
    // A different entry each time, spread over the table.
    position = (position + 40503u) % kMaxIndex;
    table->freeIndex(U16(position));
    auto const index = table->getNextFreeIndex();
    benchmark::DoNotOptimize(table->allocateIndex(index.value()));
  }
}

BENCHMARK_TEMPLATE(searchAndAllocate, OruMacSecBaseline::TableResources)
    ->Name("table search+allocate/baseline")
    ->ArgName("fill%")
    ->Arg(0)
    ->Arg(50)
    ->Arg(99);
BENCHMARK_TEMPLATE(searchAndAllocate, OruMacSec::TableResources)
    ->Name("table search+allocate/ours")
    ->ArgName("fill%")
    ->Arg(0)
    ->Arg(50)
    ->Arg(99);
BENCHMARK_TEMPLATE(freeThenReallocate, OruMacSecBaseline::TableResources)
    ->Name("table free+reallocate on full table/baseline");
BENCHMARK_TEMPLATE(freeThenReallocate, OruMacSec::TableResources)
    ->Name("table free+reallocate on full table/ours");

}  // namespace
