// Texts and ranges for the tests of matcher/groups/.

#ifndef TROVEX_TESTS_MATCHER_GROUPS_EXACT_TEXT_H
#define TROVEX_TESTS_MATCHER_GROUPS_EXACT_TEXT_H

#include "text/byte_range.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

namespace trovex {

inline void PrintTo(const ByteRange& range, std::ostream* out) {
  if (range.IsNowhere()) {
    *out << "nowhere";
  } else {
    *out << range.begin << "-" << range.end;
  }
}

namespace testing {

/// Bytes in a heap block of exactly their length.
class ExactText {
 public:
  explicit ExactText(std::string_view text)
      : bytes_(std::make_unique<unsigned char[]>(text.size())), size_(text.size()) {
    std::copy(text.begin(), text.end(), bytes_.get());
  }
  TextView View() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<unsigned char[]> bytes_;
  std::size_t size_;
};

inline std::string Repeated(std::string_view piece, std::size_t count) {
  std::string repeated;
  for (std::size_t i = 0; i < count; ++i)
    repeated += piece;
  return repeated;
}

}  // namespace testing
}  // namespace trovex

#endif  // TROVEX_TESTS_MATCHER_GROUPS_EXACT_TEXT_H
