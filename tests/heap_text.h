// Texts for tests: bytes in a heap block of exactly their length and one more, so that a sanitizer
// sees every read or write beyond the one byte that a search may use.

#ifndef TROVEX_TESTS_HEAP_TEXT_H
#define TROVEX_TESTS_HEAP_TEXT_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace trovex::testing {

class HeapText {
 public:
  /// A copy of `text` with `after` as the byte after it.
  explicit HeapText(std::string_view text, char after = '\0')
      : bytes_(std::make_unique<char[]>(text.size() + 1)), length_(static_cast<int>(text.size())) {
    if (!text.empty()) std::memcpy(bytes_.get(), text.data(), text.size());
    bytes_[text.size()] = after;
  }

  char* Data() { return bytes_.get(); }
  const char* Data() const { return bytes_.get(); }
  int Length() const { return length_; }
  char After() const { return bytes_[static_cast<std::size_t>(length_)]; }

 private:
  std::unique_ptr<char[]> bytes_;
  int length_;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_HEAP_TEXT_H
