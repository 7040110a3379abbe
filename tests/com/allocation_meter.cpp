// Replaces the global operator new and delete of the test program with ones
// that count the bytes held (by the allocator's usable size, which is known
// again on delete) and keep their peak.
#include "com/allocation_meter.hpp"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> held{0};
std::atomic<std::size_t> peak{0};

void* Allocate(std::size_t size) noexcept {
  void* p = std::malloc(size == 0 ? 1 : size);
  if (!p) return nullptr;
  const std::size_t now = held.fetch_add(malloc_usable_size(p)) + malloc_usable_size(p);
  std::size_t top = peak.load();
  while (now > top && !peak.compare_exchange_weak(top, now)) {
  }
  return p;
}

void Release(void* p) noexcept {
  if (!p) return;
  held.fetch_sub(malloc_usable_size(p));
  std::free(p);
}

void* AllocateOrThrow(std::size_t size) {
  void* p = Allocate(size);
  if (!p) throw std::bad_alloc();
  return p;
}

}  // namespace

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* p) noexcept { Release(p); }
void operator delete[](void* p) noexcept { Release(p); }
void operator delete(void* p, std::size_t) noexcept { Release(p); }
void operator delete[](void* p, std::size_t) noexcept { Release(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { Release(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { Release(p); }

namespace velmora::test {

AllocationMeter::AllocationMeter() : start_(held.load()) { peak.store(start_); }

std::size_t AllocationMeter::PeakBytes() const { return peak.load() - start_; }

}  // namespace velmora::test
