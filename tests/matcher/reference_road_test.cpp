// Patterns with back-references that are found without the engine, against the engine alone.

#include "matcher/matcher.h"
#include "tests/dice.h"
#include "tests/heap_text.h"
#include "tests/matcher/reference_rows.h"
#include "tests/visible.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <string>
#include <vector>

namespace trovex {

static bool operator==(const MatchRange& a, const MatchRange& b) {
  return a.start == b.start && a.end == b.end;
}

namespace {

using testing::Dice;
using testing::HeapText;
using testing::Visible;

std::vector<MatchRange> AllMatches(PatternWork& pattern, const HeapText& text, int group,
                                   bool engineOnly) {
  SearchConditions conditions;
  conditions.engineOnly = engineOnly;
  std::vector<MatchRange> matches;
  int from = 0;
  while (from < text.Length()) {
    const char* const rest = text.Data() + from;
    const int length = text.Length() - from;
    const MatchResult whole = ExecuteMatcher(pattern, conditions, rest, length, 0);
    if (whole.outcome != SearchOutcome::kFound) break;
    const MatchResult part = ExecuteMatcher(pattern, conditions, rest, length, group);
    matches.push_back({from + part.range.start, from + part.range.end});
    from += std::max(whole.range.end, whole.range.start + 1);
  }
  return matches;
}

void Compare(const std::string& pattern, bool folds, const std::vector<std::string>& texts) {
  PatternOptions options;
  options.foldCase = folds;
  const CompileResult compiled = CompileMatcher(pattern, options);
  ASSERT_TRUE(compiled.pattern->searchable) << pattern;
  PatternWork work(compiled.pattern);
  for (const std::string& text : texts) {
    const HeapText heap(text);
    for (int group = 0; group <= 2; ++group) {
      ASSERT_EQ(AllMatches(work, heap, group, false), AllMatches(work, heap, group, true))
          << Visible(pattern) << (folds ? " folded" : "") << " group " << group << " in "
          << Visible(text);
    }
  }
}

std::vector<std::string> AllTexts(std::string_view alphabet, std::size_t longest) {
  std::vector<std::string> texts = {""};
  for (std::size_t i = 0; i < texts.size() && texts[i].size() < longest; ++i) {
    const std::string text = texts[i];
    for (const char c : alphabet)
      texts.push_back(text + c);
  }
  return texts;
}

TEST(ReferenceRoad, RunsThatStandTwiceInEveryShortText) {
  const auto texts = AllTexts("ab ", 6);
  for (const char* const pattern :
       {"(a+)\\1", "([ab]+)\\1", "(a{2,})\\1", "([^ ]+)\\1", "(.+)\\1"}) {
    for (const bool folds : {false, true}) {
      Compare(pattern, folds, texts);
      if (HasFatalFailure()) return;
    }
  }
  Compare("([aB]+)\\1", true, AllTexts("aAb", 6));
  Compare("([aA]+)\\1", false, AllTexts("aAb", 6));
}

TEST(ReferenceRoad, PiecesOfFixedLengthsInEveryShortText) {
  const auto texts = AllTexts("aB\n", 6);
  for (const char* const pattern : {"(.)(.)\\2\\1", "([ab][ab])\\1", "(a)(.)\\1", "(.)x?\\1",
                                    "\\<([ab]+)\\1\\>", "^(.)\\1", "(.)\\1$", "(.)B\\1"}) {
    for (const bool folds : {false, true}) {
      Compare(pattern, folds, texts);
      if (HasFatalFailure()) return;
    }
  }
}

/// A pattern of one or two groups, what is between them, and a back-reference.
std::string RandomPatternWithReference(Dice& dice) {
  const std::vector<std::string> sets = {"a", "b", "[ab]", "[a-z]", ".", "[^ ]", "[bB]"};
  const std::vector<std::string> counts = {"", "+", "{2}", "{1,2}", "{2,}"};
  const std::vector<std::string> between = {"", " ", "-", "b", " +", "[ -]", "$", "\\>"};
  std::string pattern = dice.OneIn(4) ? "\\<" : dice.OneIn(6) ? "^" : "";
  const auto appendGroup = [&] {
    pattern += '(';
    pattern += dice.OneOf(sets);
    pattern += dice.OneOf(counts);
    pattern += ')';
  };
  appendGroup();
  const bool isTwo = dice.OneIn(3);
  if (isTwo) appendGroup();
  pattern += dice.OneOf(between);
  if (isTwo) pattern += "\\2";
  pattern += "\\1";
  if (dice.OneIn(3)) pattern += dice.OneOf(between);
  return pattern;
}

TEST(ReferenceRoad, RandomPatternsInRandomTexts) {
  for (std::uint32_t seed = 0; seed < 1500; ++seed) {
    Dice dice(seed);
    const std::string pattern = RandomPatternWithReference(dice);
    std::vector<std::string> texts;
    for (int i = 0; i < 3; ++i) {
      std::string text = dice.Bytes("aab B-\n", 60);
      if (!text.empty() && dice.OneIn(2)) text.append(" ").append(text, text.size() / 2);
      texts.push_back(text);
    }
    Compare(pattern, dice.OneIn(3), texts);
    ASSERT_FALSE(HasFatalFailure()) << "seed " << seed;
  }
}

TEST(ReferenceRoad, RandomRowsInRandomTexts) {
  int rows = 0;
  for (std::uint32_t seed = 0; seed < 1500; ++seed) {
    Dice dice(seed);
    const std::string pattern = testing::RandomRow(dice).Pattern();
    rows += CompileMatcher(pattern, {}).pattern->references != nullptr ? 1 : 0;
    std::vector<std::string> texts;
    for (int i = 0; i < 3; ++i)
      texts.push_back(testing::TextForRows(dice, 40));
    Compare(pattern, dice.OneIn(3), texts);
    ASSERT_FALSE(HasFatalFailure()) << "seed " << seed;
  }
  EXPECT_GT(rows, 800);
}

/// The line filter, to which underscores are no letters, still has its say where one stands in a match or beside it.
TEST(ReferenceRoad, TheLineFilterReadsUnderscoresOtherwise) {
  const auto texts = AllTexts("ab ", 6);
  for (const char* const pattern :
       {"\\<(a+) \\1", "\\<([ab]+) \\1\\>", "\\b(a+) b?\\1", "(a+)\\> ?\\1"}) {
    Compare(pattern, false, texts);
    if (HasFatalFailure()) return;
  }
  PatternWork work(CompileMatcher("\\<([a_]+) \\1\\>", {}).pattern);
  EXPECT_EQ(AllMatches(work, HeapText("a a"), 0, false), (std::vector<MatchRange>{{0, 3}}));
  EXPECT_TRUE(AllMatches(work, HeapText("_ _"), 0, false).empty());
}

TEST(ReferenceRoad, TheRoadIsTaken) {
  for (const char* const pattern :
       {"([a-z][a-z][a-z])\\1", "(.)(.)\\2\\1", "\\<([a-z]+) \\1\\>", "([a-z]+)\\1",
        "\"([a-z])[a-z]*\\1\"", "(a|ab)\\1", "([a-z]{2,5})\\1"}) {
    EXPECT_NE(CompileMatcher(pattern, {}).pattern->references, nullptr) << pattern;
  }
  EXPECT_EQ(CompileMatcher("(a*|b)\\1", {}).pattern->references, nullptr);
  EXPECT_EQ(CompileMatcher("(a+)\\1", {.matchWords = true}).pattern->references, nullptr);
}

}  // namespace
}  // namespace trovex
