// The must string: for many patterns the string and whether it is exact, worked out by hand; and
// the promise that every line the engine matches contains it.

#include "matcher/line_filter/must_string.h"

#include "matcher/engine/regular_expression.h"
#include "tests/matcher/line_filter/automaton_run.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::Compiled;
using testing::TakeError;

struct Case {
  std::string_view pattern;
  std::string_view text;  // empty: no must string
  bool exact;
};

void ExpectMustStrings(const std::vector<Case>& cases, bool fold) {
  for (const Case& expected : cases) {
    const PatternAutomaton automaton = Compiled(expected.pattern, fold);
    EXPECT_EQ(TakeError(), MessageNumber::kNone) << expected.pattern;
    if (expected.text.empty()) {
      EXPECT_TRUE(automaton.mustList.empty()) << expected.pattern;
      continue;
    }
    ASSERT_EQ(automaton.mustList.size(), 1U) << expected.pattern;
    EXPECT_EQ(automaton.mustList[0].text, expected.text) << expected.pattern;
    EXPECT_EQ(automaton.mustList[0].exact, expected.exact) << expected.pattern;
  }
}

TEST(MustString, PlainStringIsExact) {
  ExpectMustStrings({{"a", "a", true},
                     {"abc", "abc", true},
                     {"(ab)", "ab", true},
                     {"(a)(b(c))", "abc", true},
                     {"a\\.b\\*", "a.b*", true},
                     {"\\d", "d", true},
                     {"\xFC"
                      "ber",
                      "\xFC"
                      "ber",
                      true}},
                    false);
}

TEST(MustString, NothingIsFixedInAnEmptyPatternOrASet) {
  ExpectMustStrings({{"", "", false},
                     {"()", "", false},
                     {".", "", false},
                     {"[ab]", "", false},
                     {"[a]", "", false},
                     {"\\w", "", false},
                     {"\\s", "", false},
                     {"^", "", false},
                     {"a*", "", false},
                     {"a?", "", false},
                     {"(abc)*", "", false}},
                    false);
}

TEST(MustString, SetsAnchorsAndEmptyStringsSplitAString) {
  ExpectMustStrings({{"ab.c", "ab", false},
                     {"a.bc", "bc", false},
                     {"ab.cd", "ab", false},  // the first of the longest
                     {"ab[x]cde", "cde", false},
                     {"ab^cde", "cde", false},
                     {"ab\\bcde", "cde", false},
                     {"ab()cde", "cde", false}},
                    false);
}

TEST(MustString, AnchoredStringIsNotExact) {
  ExpectMustStrings({{"^abc", "abc", false},
                     {"abc$", "abc", false},
                     {"^abc$", "abc", false},
                     {"\\<abc\\>", "abc", false},
                     {"\\`abc\\'", "abc", false}},
                    false);
}

TEST(MustString, OptionalOperandsAreLeftOut) {
  ExpectMustStrings({{"a*b", "b", false},
                     {"ab*", "a", false},
                     {"ab?c", "a", false},
                     {"abc?d", "ab", false},
                     {"(abc)*de", "de", false},
                     {"x?abc?", "ab", false}},
                    false);
}

TEST(MustString, RepeatedOperandGivesItsEnds) {
  ExpectMustStrings({{"a+", "a", false},
                     {"(ab)+", "ab", false},
                     {"xa+", "xa", false},
                     {"a+x", "ax", false},
                     {"x(ab)+y", "xab", false},
                     {"(ab)+(cd)+", "abcd", false}},
                    false);
}

TEST(MustString, IntervalsAreWrittenOut) {
  ExpectMustStrings({{"a{3}", "aaa", true},
                     {"(ab){2}", "abab", true},
                     {"a{1}", "a", true},
                     {"a{2,}", "aa", false},
                     {"a{2,3}", "aa", false},
                     {"xa{0}y", "x", false},
                     {"xa{,3}", "x", false},
                     {"a{3,1}", "aaa", true},
                     {"{2}ab", "ab", false}},
                    false);
}

TEST(MustString, AlternativesKeepWhatTheyShare) {
  ExpectMustStrings({{"ab|ac", "a", false},
                     {"ab|cb", "b", false},
                     {"a|b", "", false},
                     {"abc|abc", "abc", true},
                     {"(abc|abc)d", "abcd", true},
                     {"xabcy|zabcw", "abc", false},
                     {"(ab|ac)d", "a", false},
                     {"x(ab|ac)", "xa", false},
                     {"(ba|ca)d", "ad", false},
                     {"x(ab|ac|ad)y", "xa", false},
                     {"abcd|bcd|xbcdy", "bcd", false},
                     {"a.bc|xbc.a", "bc", false},
                     {"a\nb", "", false},
                     {"ab|", "", false},
                     {"(ab|)c", "c", false}},
                    false);
}

TEST(MustString, BackReferenceLeavesNothingFixed) {
  ExpectMustStrings({{"(ab)\\1", "ab", false}, {"(a)bc\\1d", "abc", false}}, false);
}

TEST(MustString, NulEndsTheExtraction) {
  ExpectMustStrings({{std::string_view("abc\0", 4), "", false}}, false);
}

TEST(MustString, WordConditionsAroundAPatternLeaveItInexact) {
  ExpectMustStrings({{"(^|[^0-9A-Za-z_])(cat)([^0-9A-Za-z_]|$)", "cat", false}}, false);
}

TEST(MustString, FoldedPatternGivesALowerCaseString) {
  ExpectMustStrings({{"Hello", "hello", true}, {"HE.LLO", "llo", false}, {"A|a", "a", true}}, true);
}

TEST(MustString, FoldedBytesFrom128StayAsTheyAre) {
  ExpectMustStrings({{"\xC4RGER", "\xC4rger", true}, {"\xE4RGER", "\xE4rger", true}}, true);
}

TEST(MustString, FaultyPatternsHaveNone) {
  for (const char* pattern : {"ab)", "ab[", "ab(", "ab{x", "ab\\"}) {
    for (const bool fold : {false, true}) {
      const PatternAutomaton automaton = Compiled(pattern, fold);
      EXPECT_NE(TakeError(), MessageNumber::kNone) << pattern;
      EXPECT_LE(automaton.mustList.size(), 1U) << pattern;
    }
  }
}

TEST(MustString, OnlyTheFirstPatternOfARecordCounts) {
  PatternAutomaton automaton = testing::Parsed("abc");
  AutomatonParse("de", 2, automaton);
  ExtractMustString(automaton);
  ASSERT_EQ(automaton.mustList.size(), 1U);
  EXPECT_EQ(automaton.mustList[0].text, "abc");
}

TEST(MustString, NewEntryGoesToTheFront) {
  PatternAutomaton automaton = testing::Parsed("abc");
  automaton.mustList.push_back({"earlier", false});
  ExtractMustString(automaton);
  ASSERT_EQ(automaton.mustList.size(), 2U);
  EXPECT_EQ(automaton.mustList[0].text, "abc");
  EXPECT_EQ(automaton.mustList[1].text, "earlier");
}

TEST(MustString, EveryMatchOfTheEngineContainsItAndAnExactOneIsAMatch) {
  constexpr unsigned kSeed = 31;
  std::mt19937 random(kSeed);
  const auto below = [&random](std::size_t limit) { return random() % limit; };
  const std::vector<std::string> pieces = {"a",   "b",   "c",   "ab", "(",    ")", "|", "*",
                                           "+",   "?",   "{2}", ".",  "[ab]", "^", "$", "\\<",
                                           "\\1", "\\B", "a",   "b",  "c",    "(", ")"};
  int matched = 0;
  for (int round = 0; round < 30000; ++round) {
    std::string pattern;
    for (std::size_t i = below(8) + 1; i > 0; --i)
      pattern += pieces[below(pieces.size())];
    RegularExpression regex;
    if (regex.Compile(pattern.data(), pattern.size(), nullptr) != MessageNumber::kNone) continue;
    const PatternAutomaton automaton = Compiled(pattern);
    if (TakeError() != MessageNumber::kNone || automaton.mustList.empty()) continue;
    const MustEntry& must = automaton.mustList[0];

    MatchRegisters registers(true);
    if (must.exact) {
      ASSERT_EQ(regex.Search(must.text.data(), static_cast<int>(must.text.size()), 0, registers), 0)
          << pattern;
      ASSERT_EQ(registers.End(0), static_cast<int>(must.text.size())) << pattern;
    }
    for (int i = 0; i < 20; ++i) {
      std::string line;
      for (std::size_t n = below(9); n > 0; --n)
        line += "abcc"[below(4)];
      const int start = regex.Search(line.data(), static_cast<int>(line.size()), 0, registers);
      if (start < 0) continue;
      ++matched;
      const std::string match = line.substr(static_cast<std::size_t>(start),
                                            static_cast<std::size_t>(registers.End(0) - start));
      ASSERT_NE(match.find(must.text), std::string::npos)
          << "pattern " << pattern << ", line " << line << ", seed " << kSeed;
      if (must.exact) {
        ASSERT_EQ(match, must.text) << "pattern " << pattern << ", line " << line;
      }
    }
  }
  EXPECT_GT(matched, 1000);
}

}  // namespace
}  // namespace trovex
