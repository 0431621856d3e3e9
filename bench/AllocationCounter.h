// Heap use by the process, as counted by the benchmark binary's own operator new and delete: the
// means to measure what a structure costs in memory, and whether an operation allocates.
#pragma once

#include <cstdint>

namespace bench {

// Bytes allocated and not yet freed.
std::int64_t heapBytesInUse();
// Allocations made since the process started.
std::int64_t heapAllocations();

// Holds glibc's allocator at the thresholds a fresh process starts with: a block of 128 KiB or
// more that no free heap memory holds is mapped from the system and unmapped when freed, and free
// memory past 128 KiB at the top of the heap is given back. glibc raises both as large blocks are
// freed, so without this, whether a benchmark sees fresh memory being taken would depend on the
// benchmarks that ran before it. (What free heap memory there is still does: a block that fits in
// it takes no fresh pages.) Lasts for the rest of the process.
void holdAllocatorAtStartThresholds();

// Minor page faults of the process so far: pages it touched for the first time.
std::int64_t minorPageFaults();

}  // namespace bench
