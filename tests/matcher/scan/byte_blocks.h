// What the tests of scans are made of: sets of bytes as they are typed, and texts in blocks of their length.

#ifndef TROVEX_TESTS_MATCHER_SCAN_BYTE_BLOCKS_H
#define TROVEX_TESTS_MATCHER_SCAN_BYTE_BLOCKS_H

#include "text/char_set.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>

namespace trovex::testing {

inline CharSet SetOf(std::string_view bytes) {
  CharSet set;
  for (const char c : bytes)
    set.set(static_cast<unsigned char>(c));
  return set;
}

/// Every byte but these and the line feed.
inline CharSet Without(std::string_view bytes) {
  CharSet set = ~SetOf(bytes);
  set.reset('\n');
  return set;
}

/// A text in a block of exactly its length.
class Block {
 public:
  explicit Block(std::string_view text)
      : bytes_(new unsigned char[text.size()]), size_(text.size()) {
    std::copy(text.begin(), text.end(), bytes_.get());
  }
  const unsigned char* begin() const { return bytes_.get(); }
  const unsigned char* end() const { return bytes_.get() + size_; }

 private:
  std::unique_ptr<unsigned char[]> bytes_;
  std::size_t size_;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_SCAN_BYTE_BLOCKS_H
