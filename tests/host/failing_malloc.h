// A memory allocator that fails when a test wants it to.
//
// The program that is linked with this file defines malloc and its kin, so everything in the
// process asks here: the host, the library, and the C library's regular-expression engine below it.
//
// Blocks are told apart by who asked for them. When its own allocation fails, the engine loses some
// of the blocks that it had already, and nobody else knows them.

#ifndef TROVEX_TESTS_HOST_FAILING_MALLOC_H
#define TROVEX_TESTS_HOST_FAILING_MALLOC_H

namespace trovex::testing {

/// Who asked for a block: the C library for itself, the rest of the process, or either.
enum class Owner { kCLibrary, kOthers, kAnybody };

/// How many blocks of `owner` are allocated at this moment.
long LiveBlocks(Owner owner);

/// Which allocations fail: the n-th alone, or the n-th and all after it.
enum class FailureKind { kOnce, kFromThenOn };

/// While it lives, allocations of `owner` fail; the next one is number 1.
class MallocFailure {
 public:
  MallocFailure(Owner owner, long number, FailureKind kind);
  ~MallocFailure();
  MallocFailure(const MallocFailure&) = delete;
  MallocFailure& operator=(const MallocFailure&) = delete;

  /// Whether an allocation was refused so far.
  static bool Happened();
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_HOST_FAILING_MALLOC_H
