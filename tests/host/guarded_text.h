// Texts for tests that stand against a page of memory which nobody may touch: the one byte too many
// ends the process at once, whoever reads or writes it, in the library or below it.

#ifndef TROVEX_TESTS_HOST_GUARDED_TEXT_H
#define TROVEX_TESTS_HOST_GUARDED_TEXT_H

#include <sys/mman.h>
#include <unistd.h>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace trovex::testing {

inline std::size_t PageSize() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// On which side of the bytes the forbidden page lies.
enum class Guard { kAfter, kInFront };

/// Bytes of which the last, or the first, is the last one before a forbidden page. On the other
/// side, too, lies such a page, as near as whole pages allow.
class GuardedBytes {
 public:
  GuardedBytes(std::string_view bytes, Guard guard) {
    const std::size_t page = PageSize();
    const std::size_t room = (bytes.size() + page - 1) / page * page;
    size_ = room + 2 * page;
    void* const memory = mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    memory_ = static_cast<char*>(memory);
    char* const begin = memory_ + page;
    if (room > 0 && mprotect(begin, room, PROT_READ | PROT_WRITE) != 0) std::abort();
    data_ = guard == Guard::kAfter ? begin + room - bytes.size() : begin;
    std::memcpy(data_, bytes.data(), bytes.size());
  }
  ~GuardedBytes() { munmap(memory_, size_); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  char* Data() { return data_; }

  /// From now on the bytes cannot be written either: whoever does ends the process.
  void MakeReadOnly() {
    const std::size_t page = PageSize();
    if (size_ > 2 * page && mprotect(memory_ + page, size_ - 2 * page, PROT_READ) != 0)
      std::abort();
  }

 private:
  std::size_t size_;
  char* memory_;
  char* data_;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_HOST_GUARDED_TEXT_H
