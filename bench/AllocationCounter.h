// Heap bytes in use by the process, as counted by the benchmark binary's own operator new and
// delete: the means to measure what a structure costs in memory.
#pragma once

#include <cstdint>

namespace bench {

std::int64_t heapBytesInUse();

}  // namespace bench
