// Watches, and on request refuses, what a test program's own code asks of the memory allocator.
//
// The linker sends every call of malloc in the program's objects to the watch
// (`-Wl,--wrap=malloc`), and operator new goes the same way.

#ifndef TROVEX_TESTS_MATCHER_KEYWORDS_MALLOC_WATCH_H
#define TROVEX_TESTS_MATCHER_KEYWORDS_MALLOC_WATCH_H

namespace trovex::testing {

/// The number of allocations since the program started, refused ones included.
long AllocationCount();

/// While it lives, `allowed` allocations succeed and all further ones fail.
class AllocationLimit {
 public:
  explicit AllocationLimit(long allowed);
  ~AllocationLimit();
  AllocationLimit(const AllocationLimit&) = delete;
  AllocationLimit& operator=(const AllocationLimit&) = delete;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_KEYWORDS_MALLOC_WATCH_H
