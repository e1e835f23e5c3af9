// Every small pattern and every small text over a few pieces each, for tests that leave no small case
// out.

#ifndef TROVEX_TESTS_MATCHER_SMALL_CASES_H
#define TROVEX_TESTS_MATCHER_SMALL_CASES_H

#include <cstddef>
#include <string>
#include <vector>

namespace trovex::testing {

using Strings = std::vector<std::string>;

/// What patterns and texts are made of, and how long they become.
struct Alphabet {
  Strings pieces;   // of the patterns
  int maxPieces;    // in a pattern
  Strings letters;  // of the texts
  int maxLetters;   // in a text
};

/// All strings of up to `maxCount` of `pieces`.
inline Strings AllStrings(const Strings& pieces, int maxCount) {
  Strings all = {""};
  std::size_t begin = 0;
  for (int count = 1; count <= maxCount; ++count) {
    const std::size_t end = all.size();
    for (std::size_t i = begin; i < end; ++i) {
      for (const std::string& piece : pieces)
        all.push_back(all[i] + piece);
    }
    begin = end;
  }
  return all;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_SMALL_CASES_H
