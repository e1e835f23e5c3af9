#include "tests/host/failing_malloc.h"

#include <link.h>
#include <regex.h>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace {

using trovex::testing::Owner;

constexpr long kNever = std::numeric_limits<long>::max();

// Plain numbers that are ready before any code runs: the loader allocates, too.
constinit long callsLeft = kNever;  // until the one that fails
constinit Owner failing = Owner::kOthers;
constinit bool failsFromThenOn = false;
constinit bool happened = false;
constinit long otherBlocks = 0;

/// The blocks of the C library, in no order.
constexpr std::size_t kMostCLibraryBlocks = 1 << 16;
constinit void* cLibraryBlocks[kMostCLibraryBlocks] = {};
constinit std::size_t cLibraryBlockCount = 0;

/// Where the C library lies in memory; nowhere, until it is looked for.
struct AddressRange {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;

  bool Has(std::uintptr_t address) const { return begin <= address && address < end; }
};
constinit AddressRange cLibrary;

int FindCLibrary(dl_phdr_info* object, std::size_t /*size*/, void* /*unused*/) {
  const auto engine = reinterpret_cast<std::uintptr_t>(&re_search);
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const auto& segment = object->dlpi_phdr[i];
    const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
    const AddressRange range = {begin, begin + segment.p_memsz};
    if (segment.p_type != PT_LOAD || !range.Has(engine)) continue;
    cLibrary = range;
    return 1;
  }
  return 0;
}

[[maybe_unused]] const int cLibraryFound = dl_iterate_phdr(FindCLibrary, nullptr);

Owner OwnerFor(const void* caller) {
  const bool inside = cLibrary.Has(reinterpret_cast<std::uintptr_t>(caller));
  return inside ? Owner::kCLibrary : Owner::kOthers;
}

/// Counts one call and tells whether it is to fail.
bool IsRefused(const void* caller) {
  if (callsLeft == kNever) return false;
  if (failing != Owner::kAnybody && failing != OwnerFor(caller)) return false;
  if (callsLeft > 1) {
    --callsLeft;
    return false;
  }
  happened = true;
  if (!failsFromThenOn) callsLeft = kNever;
  errno = ENOMEM;
  return true;
}

void* Counted(void* block, const void* caller) {
  if (block == nullptr) return nullptr;
  if (OwnerFor(caller) == Owner::kOthers) {
    ++otherBlocks;
    return block;
  }
  if (cLibraryBlockCount == kMostCLibraryBlocks) std::abort();
  cLibraryBlocks[cLibraryBlockCount++] = block;
  return block;
}

/// The entry of a block of the C library; null for any other block.
void** CLibraryEntry(const void* block) {
  for (std::size_t i = cLibraryBlockCount; i > 0; --i) {
    if (cLibraryBlocks[i - 1] == block) return &cLibraryBlocks[i - 1];
  }
  return nullptr;
}

void Uncount(const void* block) {
  if (block == nullptr) return;
  if (void** const entry = CLibraryEntry(block)) {
    *entry = cLibraryBlocks[--cLibraryBlockCount];
  } else {
    --otherBlocks;
  }
}

}  // namespace

#define TROVEX_TESTS_CALLER __builtin_return_address(0)

// The names with underscores are the C library's own allocator, the one behind malloc and its kin.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-inconsistent-declaration-parameter-name)
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) {
  const void* const caller = TROVEX_TESTS_CALLER;
  return IsRefused(caller) ? nullptr : Counted(__libc_malloc(size), caller);
}

void* calloc(std::size_t count, std::size_t size) {
  const void* const caller = TROVEX_TESTS_CALLER;
  return IsRefused(caller) ? nullptr : Counted(__libc_calloc(count, size), caller);
}

void* realloc(void* block, std::size_t size) {
  const void* const caller = TROVEX_TESTS_CALLER;
  if (IsRefused(caller)) return nullptr;
  if (block == nullptr) return Counted(__libc_malloc(size), caller);
  void** const entry = CLibraryEntry(block);
  void* const moved = __libc_realloc(block, size);
  if (moved == nullptr) std::abort();
  if (entry != nullptr) *entry = moved;
  return moved;
}

void* memalign(std::size_t alignment, std::size_t size) {
  const void* const caller = TROVEX_TESTS_CALLER;
  return IsRefused(caller) ? nullptr : Counted(__libc_memalign(alignment, size), caller);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}

void free(void* block) {
  Uncount(block);
  __libc_free(block);
}
}
// NOLINTEND(bugprone-reserved-identifier, readability-inconsistent-declaration-parameter-name)

namespace trovex::testing {

long LiveBlocks(Owner owner) {
  const long cLibraryCount = static_cast<long>(cLibraryBlockCount);
  if (owner == Owner::kCLibrary) return cLibraryCount;
  return owner == Owner::kOthers ? otherBlocks : otherBlocks + cLibraryCount;
}

MallocFailure::MallocFailure(Owner owner, long number, FailureKind kind) {
  failing = owner;
  happened = false;
  failsFromThenOn = kind == FailureKind::kFromThenOn;
  callsLeft = number;
}

MallocFailure::~MallocFailure() {
  callsLeft = kNever;
}

bool MallocFailure::Happened() {
  return happened;
}

}  // namespace trovex::testing
