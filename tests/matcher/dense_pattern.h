// Random patterns in which everything meets that is hard for the C library's engine to compile.

#ifndef TROVEX_TESTS_MATCHER_DENSE_PATTERN_H
#define TROVEX_TESTS_MATCHER_DENSE_PATTERN_H

#include <cstddef>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace trovex::testing {

/// Patterns of up to 40 bytes in which anchors, empty alternatives and repetitions meet.
class DensePattern {
 public:
  explicit DensePattern(unsigned seed) : random_(seed) {}

  std::string Next() {
    static constexpr std::string_view kPieces[] = {
        "a",   "b",   "\\w", "[ab]", ".",   "(",   "(",    "(",    ")",      ")",     ")", "|",
        "|",   "*",   "+",   "?",    "{2}", "{9}", "{,3}", "{2,}", "{0,40}", "{250}", "^", "$",
        "\\b", "\\B", "\\<", "\\>",  "\\`", "\\1", "()",   "(|",   "*)",     "+)",    " "};
    std::string pattern;
    int open = 0;
    const std::size_t size = 1 + random_() % 34;
    while (pattern.size() < size) {
      const std::string_view piece = kPieces[random_() % std::size(kPieces)];
      const bool closes = piece.back() == ')' && piece != "()";
      if (closes && open == 0) continue;
      open += piece == "(" || piece == "(|" ? 1 : closes ? -1 : 0;
      pattern += piece;
    }
    return pattern.append(static_cast<std::size_t>(open), ')').substr(0, 40);
  }

 private:
  std::mt19937 random_;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_DENSE_PATTERN_H
