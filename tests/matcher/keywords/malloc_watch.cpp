#include "tests/matcher/keywords/malloc_watch.h"

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr long kUnlimited = std::numeric_limits<long>::max();

long allocationCount = 0;
long allocationsAllowed = kUnlimited;

}  // namespace

// The names are the linker's: `__real_malloc` is the allocator's own malloc.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size);

extern "C" void* __wrap_malloc(std::size_t size) {
  ++allocationCount;
  if (allocationsAllowed == 0) return nullptr;
  if (allocationsAllowed != kUnlimited) --allocationsAllowed;
  return __real_malloc(size);
}
// NOLINTEND(bugprone-reserved-identifier)

void* operator new(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
  return std::malloc(size == 0 ? 1 : size);
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace trovex::testing {

long AllocationCount() {
  return allocationCount;
}

AllocationLimit::AllocationLimit(long allowed) {
  allocationsAllowed = allowed;
}

AllocationLimit::~AllocationLimit() {
  allocationsAllowed = kUnlimited;
}

}  // namespace trovex::testing
