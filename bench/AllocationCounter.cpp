#include "bench/AllocationCounter.h"

#include <malloc.h>
#include <sys/resource.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::int64_t> bytesInUse{0};
std::atomic<std::int64_t> allocations{0};

void* allocate(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  bytesInUse.fetch_add(std::int64_t(malloc_usable_size(memory)), std::memory_order_relaxed);
  allocations.fetch_add(1, std::memory_order_relaxed);
  return memory;
}

void release(void* memory) noexcept {
  if (memory == nullptr) {
    return;
  }
  bytesInUse.fetch_sub(std::int64_t(malloc_usable_size(memory)), std::memory_order_relaxed);
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
  return allocate(size);
}
void* operator new[](std::size_t size) {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  release(memory);
}
void operator delete[](void* memory) noexcept {
  release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  release(memory);
}

namespace bench {

std::int64_t heapBytesInUse() {
  return bytesInUse.load(std::memory_order_relaxed);
}

std::int64_t heapAllocations() {
  return allocations.load(std::memory_order_relaxed);
}

void holdAllocatorAtStartThresholds() {
  // Setting a threshold also stops glibc from adjusting it.
  int const kStartThreshold = 128 * 1024;
  mallopt(M_MMAP_THRESHOLD, kStartThreshold);
  mallopt(M_TRIM_THRESHOLD, kStartThreshold);
}

std::int64_t minorPageFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt;
}

}  // namespace bench
