// All matches of a pattern on the road of each door, one after the other, as hosts ask for them.

#ifndef TROVEX_TESTS_MATCHER_BOTH_DOORS_H
#define TROVEX_TESTS_MATCHER_BOTH_DOORS_H

#include "matcher/matcher.h"
#include "matcher/pattern_search.h"
#include "tests/heap_text.h"
#include "tests/matcher/words/plain_words.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace trovex {

inline bool operator==(const MatchRange& a, const MatchRange& b) {
  return a.start == b.start && a.end == b.end;
}

namespace testing {

inline std::shared_ptr<const PatternProgram> CompileProgram(SyntaxTree tree,
                                                            const ProgramOptions& options) {
  auto result = PatternProgram::Compile(std::move(tree), options);
  EXPECT_TRUE(std::holds_alternative<std::shared_ptr<const PatternProgram>>(result));
  return std::get<std::shared_ptr<const PatternProgram>>(result);
}

inline std::vector<ByteRange> AllMatches(const PatternProgram& program, std::string_view text) {
  const ExactBytes bytes(text);
  PatternSearch search(program);
  search.Begin(bytes.View());
  std::vector<ByteRange> matches;
  ByteRange match;
  SearchOutcome outcome = SearchOutcome::kFound;
  while ((outcome = search.Next(match)) == SearchOutcome::kFound)
    matches.push_back(match);
  EXPECT_EQ(outcome, SearchOutcome::kNotFound);
  return matches;
}

/// The same at the first door; `after` is the byte after the text.
inline std::vector<MatchRange> AllMatches(PatternWork& pattern, const SearchConditions& conditions,
                                          const std::string& text, char after) {
  std::vector<MatchRange> matches;
  HeapText heap(text, after);
  for (int from = 0; from < heap.Length();) {
    const MatchResult result =
        ExecuteMatcher(pattern, conditions, heap.Data() + from, heap.Length() - from, 0);
    if (result.outcome != SearchOutcome::kFound) break;
    matches.push_back({from + result.range.start, from + result.range.end});
    from += std::max(result.range.end, result.range.start + 1);
  }
  return matches;
}

}  // namespace testing
}  // namespace trovex

#endif  // TROVEX_TESTS_MATCHER_BOTH_DOORS_H
