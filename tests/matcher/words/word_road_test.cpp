// Lists of words on the whole road of a search: those of both doors against the most trivial matcher, and
// against the engine alone.

#include "tests/dice.h"
#include "tests/heap_text.h"
#include "tests/matcher/both_doors.h"
#include "tests/matcher/tree_matcher.h"
#include "tests/matcher/words/plain_words.h"
#include "tests/visible.h"
#include "text/code_page.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <string>
#include <vector>

namespace trovex {

namespace {

using testing::AllMatches;
using testing::CompileProgram;
using testing::Dice;
using testing::ExactBytes;
using testing::HeapText;
using testing::RandomWords;
using testing::TextOfWords;
using testing::TreeMatcher;
using testing::Visible;

using Ranges = std::vector<ByteRange>;

/// `word`, perhaps with sets in the place of some bytes.
std::string WithSets(Dice& dice, const std::string& word) {
  if (!dice.OneIn(3)) return word;
  std::string pattern;
  for (const char c : word) {
    if (dice.OneIn(2)) {
      pattern += c;
    } else {
      pattern.append(dice.OneIn(2) ? "[abc" : "[^-").append(1, c == '-' ? 'b' : c).append("]");
    }
  }
  return pattern;
}

/// A pattern that is a list of words, in one of the ways to write one, or one that has it at its begin or end.
std::string RandomList(Dice& dice, const std::vector<std::string>& words) {
  std::string pattern;
  for (const std::string& word : words) {
    if (!pattern.empty()) pattern += '|';
    const bool isBracket = dice.OneIn(8);
    if (isBracket) pattern += '(';
    pattern += WithSets(dice, word);
    if (isBracket) pattern += ')';
    if (dice.OneIn(8)) pattern += "(a|b)?";
  }
  if (dice.OneIn(5)) return "\\<(" + pattern + ")\\>";
  if (dice.OneIn(8)) return "^(" + pattern + ")";
  if (dice.OneIn(8)) return "(" + pattern + ")\\B";
  if (dice.OneIn(4)) return "(" + pattern + (dice.OneIn(2) ? ")[ab]+" : ")b?[^a]{2,}");
  if (dice.OneIn(8)) return "[ab]*(" + pattern + ")";
  return pattern;
}

/// What is found of the first match alone, which is looked for in a short text before a search is set up.
ByteRange FirstMatch(const PatternProgram& program, std::string_view text) {
  const ExactBytes bytes(text);
  ByteRange match;
  const bool isFound = PatternSearch(program).First(bytes.View(), match) == SearchOutcome::kFound;
  return isFound ? match : ByteRange();
}

TEST(WordRoad, FindsWhatTheTrivialMatcherFinds) {
  for (std::uint32_t seed = 0; seed < 1'000; ++seed) {
    Dice dice(seed);
    const std::string_view alphabet = dice.OneIn(2) ? "ab" : "abcx";
    const int count = dice.OneIn(2) ? dice.Between(2, 8) : dice.Between(9, 20);
    const auto words = RandomWords(dice, alphabet, count, dice.Between(1, 4), 9);
    const std::string pattern = RandomList(dice, words);
    const SyntaxTree tree = ParsePattern(pattern.data(), pattern.size(), nullptr);
    ProgramOptions options;
    options.wholeWords = dice.OneIn(3);
    options.wordBytes = CodePageWords();
    const auto program = CompileProgram(tree, options);
    TreeMatcher reference(tree, options);
    for (int round = 0; round < 3; ++round) {
      const std::string text = TextOfWords(dice, words, dice.OneIn(2) ? "ab \n-" : "abcx\n",
                                           dice.Between(0, dice.OneIn(5) ? 260 : 120));
      const Ranges expected = reference.AllMatches(text);
      ASSERT_EQ(AllMatches(*program, text), expected)
          << "seed " << seed << " pattern " << pattern << " text " << Visible(text);
      ASSERT_EQ(FirstMatch(*program, text), expected.empty() ? ByteRange() : expected.front())
          << "seed " << seed << " pattern " << pattern << " text " << Visible(text);
    }
  }
}

TEST(WordRoad, FindsWhatTheEngineFinds) {
  for (std::uint32_t seed = 0; seed < 1'000; ++seed) {
    Dice dice(seed);
    const std::string_view alphabet = dice.OneIn(2) ? "ab" : "aBcX\xE4\xC4";
    const int count = dice.OneIn(2) ? dice.Between(2, 8) : dice.Between(9, 14);
    const auto words = RandomWords(dice, alphabet, count, dice.Between(1, 4), 9);
    std::string pattern;
    for (const std::string& word : words) {
      if (!pattern.empty()) pattern += '|';
      pattern += word;
    }
    PatternOptions options;
    options.foldCase = dice.OneIn(2);
    options.matchWords = dice.OneIn(2);
    const CompileResult compiled = CompileMatcher(pattern, options);
    ASSERT_TRUE(compiled.pattern->searchable) << pattern;
    PatternWork work(compiled.pattern);
    SearchConditions conditions;
    conditions.matchWords = options.matchWords;
    SearchConditions engineOnly = conditions;
    engineOnly.engineOnly = true;
    const std::string text =
        TextOfWords(dice, words, dice.OneIn(2) ? "ab \n-" : "abcx\n", dice.Between(1, 80));
    const char after = dice.Byte("a \n");
    ASSERT_EQ(AllMatches(work, conditions, text, after), AllMatches(work, engineOnly, text, after))
        << "seed " << seed << " pattern " << Visible(pattern) << " text " << Visible(text)
        << " after " << after << (options.matchWords ? " words" : "")
        << (options.foldCase ? " folded" : "");
  }
}

TEST(WordRoad, AListThatTheEngineIsNotGivenIsFoundLikeOthers) {
  // The same words as a list that the engine has, and as one that is too large for it.
  for (const bool words : {false, true}) {
    for (const bool folds : {false, true}) {
      Dice dice(words ? 1 : 2);
      const auto list = RandomWords(dice, "abcdefgh", 300, 3, 12);
      std::string pattern;
      for (const std::string& word : list) {
        if (!pattern.empty()) pattern += '|';
        pattern += word;
      }
      std::string large = pattern;
      while (large.size() < 70'000)
        large.append("|").append(pattern);
      const PatternOptions options = {.foldCase = folds, .matchWords = words};
      const CompileResult small = CompileMatcher(pattern, options);
      const CompileResult alone = CompileMatcher(large, options);
      ASSERT_TRUE(small.pattern->searchable && alone.pattern->searchable);
      EXPECT_TRUE(small.pattern->regex.IsCompiled());
      EXPECT_FALSE(alone.pattern->regex.IsCompiled());
      PatternWork workSmall(small.pattern);
      PatternWork workAlone(alone.pattern);
      const SearchConditions conditions = {.matchWords = words};
      const std::string text = TextOfWords(dice, list, "abcDEF \n", 3000);
      ASSERT_EQ(AllMatches(workAlone, conditions, text, 'a'),
                AllMatches(workSmall, conditions, text, 'a'));
      const SearchConditions others = {.matchWords = !words};
      const HeapText heap(text);
      const MatchResult result = ExecuteMatcher(workAlone, others, heap.Data(), heap.Length(), 0);
      EXPECT_EQ(result.outcome, SearchOutcome::kGaveUp);
      EXPECT_EQ(result.gaveUpAt, 0);
    }
  }
}

/// `count` words of a and one b each, from `shortest` bytes on.
std::string NearlyRepeated(std::size_t shortest, std::size_t count) {
  std::string pattern;
  for (std::size_t i = 0; i < count; ++i) {
    if (!pattern.empty()) pattern += '|';
    pattern.append(shortest + i, 'a');
    pattern += 'b';
  }
  return pattern;
}

TEST(WordRoad, LongWordsThatNearlyMatchEverywhereAreFound) {
  ProgramOptions options;
  const std::string pattern = NearlyRepeated(2000, 12);
  const auto program =
      CompileProgram(ParsePattern(pattern.data(), pattern.size(), nullptr), options);
  std::string text(400'000, 'a');
  EXPECT_EQ(AllMatches(*program, text).size(), 0U);
  text += 'b';
  const Ranges matches = AllMatches(*program, text);
  ASSERT_EQ(matches.size(), 1U);
  EXPECT_EQ(matches[0].begin, 400'000U - 2011U);
  EXPECT_EQ(matches[0].end, 400'001U);
}

TEST(WordRoad, WordsOfOneByteFromOneToManyAreFoundInATextOfThatByte) {
  std::string pattern;
  for (std::size_t length = 1; length <= 50; ++length) {
    if (!pattern.empty()) pattern += '|';
    pattern.append(length, 'a');
  }
  ProgramOptions options;
  const auto program =
      CompileProgram(ParsePattern(pattern.data(), pattern.size(), nullptr), options);
  const Ranges matches = AllMatches(*program, std::string(100'020, 'a'));
  ASSERT_EQ(matches.size(), 2001U);
  EXPECT_EQ(matches[1999], (ByteRange{99'950, 100'000}));
  EXPECT_EQ(matches[2000], (ByteRange{100'000, 100'020}));
}

}  // namespace
}  // namespace trovex
