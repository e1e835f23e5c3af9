// The plain functions on one pattern and one text, called as a host calls them.

#include "tests/heap_text.h"
#include "tests/host_locale.h"

#include <trovex/trovex.h>

#include <gtest/gtest.h>
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using trovex::testing::BuiltHostLocale;
using trovex::testing::HeapText;
using trovex::testing::HostLocale;

constexpr int kUntouched = -4711;

struct Range {
  int start;
  int end;
  friend bool operator==(const Range& a, const Range& b) {
    return a.start == b.start && a.end == b.end;
  }
  friend std::ostream& operator<<(std::ostream& out, const Range& range) {
    return out << range.start << ".." << range.end;
  }
};

/// What Search finds in `text`; a search that finds nothing must write nothing.
std::optional<Range> Find(std::string_view text, int group = 0) {
  const HeapText heap(text);
  Range range{kUntouched, kUntouched};
  const int found = Search(heap.Data(), heap.Length(), &range.start, &range.end, group);
  if (found == 1) return range;
  EXPECT_EQ(found, 0);
  EXPECT_EQ(range, (Range{kUntouched, kUntouched}));
  return std::nullopt;
}

/// Starts and ends every test with a matcher that has nothing installed.
class PlainFunctions : public ::testing::Test {
 protected:
  void SetUp() override { FreeBuffersInTrovexDll(); }
  void TearDown() override { FreeBuffersInTrovexDll(); }
};

using CompileFunction = PlainFunctions;
using SearchFunction = PlainFunctions;
using SubExpressionCount = PlainFunctions;
using FreeBuffers = PlainFunctions;

TEST_F(CompileFunction, ReturnsNullOnSuccess) {
  EXPECT_EQ(Compile("abc", 0, 0), nullptr);
  EXPECT_EQ(Find("xxabc"), (Range{2, 5}));
}

TEST_F(CompileFunction, ANullPatternLeavesThePreviousOneInstalled) {
  ASSERT_EQ(Compile("abc", 0, 0), nullptr);
  EXPECT_EQ(Compile(nullptr, 1, 1), nullptr);
  EXPECT_EQ(Find("abc"), (Range{0, 3}));
}

TEST_F(CompileFunction, ANullPatternLeavesTheFlagsAsTheyAre) {
  ASSERT_EQ(Compile("abc", 0, 0), nullptr);
  ASSERT_EQ(Compile(nullptr, 1, 1), nullptr);
  EXPECT_EQ(Find("xabcx"), (Range{1, 4})) << "whole words were not asked for";
  EXPECT_EQ(Find("ABC"), std::nullopt) << "case folding was not asked for";

  ASSERT_EQ(Compile("abc", 1, 1), nullptr);
  ASSERT_EQ(Compile(nullptr, 0, 0), nullptr);
  EXPECT_EQ(Find("xabcx"), std::nullopt);
  EXPECT_EQ(Find("ABC"), (Range{0, 3}));
}

TEST_F(CompileFunction, ANullPatternLeavesTheFlagsOfAPatternThatIsNoFixedString) {
  // Whose matches are judged by the flag at every search.
  ASSERT_EQ(Compile("be[rq]", 0, 0), nullptr);
  ASSERT_EQ(Compile(nullptr, 1, 1), nullptr);
  EXPECT_EQ(Find("xberx"), (Range{1, 4}));

  ASSERT_EQ(Compile("be[rq]", 0, 1), nullptr);
  ASSERT_EQ(Compile(nullptr, 0, 0), nullptr);
  EXPECT_EQ(Find("xberx ber"), (Range{6, 9}));
}

TEST_F(CompileFunction, AFaultOfAStageBeforeTheEngineIsForgottenToo) {
  // The engine takes this one; what throws out lines without a match does not.
  ASSERT_STREQ(Compile("*{", 0, 0), "The repetition statement is incomplete.");
  EXPECT_EQ(Find("*{"), std::nullopt);
  EXPECT_EQ(Compile("abc", 0, 0), nullptr);
  EXPECT_EQ(Find("abc"), (Range{0, 3}));
}

TEST_F(CompileFunction, ANewPatternReplacesTheOldOne) {
  ASSERT_EQ(Compile("abc", 0, 0), nullptr);
  ASSERT_EQ(Compile("xyz", 0, 0), nullptr);
  EXPECT_EQ(Find("abc"), std::nullopt);
  EXPECT_EQ(Find("xyz"), (Range{0, 3}));
}

TEST_F(CompileFunction, FlagsAreTrueForEveryValueButZero) {
  for (const int flag : {1, 2, -1, 256, INT_MAX, INT_MIN}) {
    ASSERT_EQ(Compile("abc", flag, 0), nullptr);
    EXPECT_EQ(Find("xABCx"), (Range{1, 4})) << "fold " << flag;
    ASSERT_EQ(Compile("abc", 0, flag), nullptr);
    EXPECT_EQ(Find("xabcx abc"), (Range{6, 9})) << "words " << flag;
  }
}

TEST_F(CompileFunction, FaultsComeBackAsTheirSentences) {
  EXPECT_STREQ(Compile("ab)", 0, 0), "The opening bracket is missing in a subexpression.");
  EXPECT_STREQ(Compile("(ab", 0, 0), "The closing bracket ) is missing in a subexpression.");
  EXPECT_STREQ(Compile("[ab", 0, 0), "The bracket [ or ] is missing in an enumeration.");
}

TEST_F(CompileFunction, TwoFaultsUseTheSameBuffer) {
  const char* first = Compile("ab)", 0, 0);
  ASSERT_STREQ(first, "The opening bracket is missing in a subexpression.");
  const char* second = Compile("[ab", 0, 0);
  EXPECT_EQ(first, second);
  EXPECT_STREQ(first, "The bracket [ or ] is missing in an enumeration.");
}

TEST_F(CompileFunction, TheSentencesAreOursWhateverTheHostsLanguageIs) {
  const HostLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.IsSet());
  setenv("LANGUAGE", "de", 1);
  EXPECT_STREQ(Compile("ab)", 0, 0), "The opening bracket is missing in a subexpression.");
  EXPECT_STREQ(Compile("(ab", 0, 0), "The closing bracket ) is missing in a subexpression.");
  EXPECT_STREQ(Compile("a{3,1}", 0, 0), "The repetition statement is invalid.");
  EXPECT_STREQ(Compile("a\\", 0, 0),
               "The search expression contains a single backslash \\, which isn't followed by a "
               "character.");
  unsetenv("LANGUAGE");
}

TEST_F(CompileFunction, AFaultInstallsNothingThatCouldBeFound) {
  ASSERT_EQ(Compile("abc", 0, 0), nullptr);
  ASSERT_NE(Compile("abc)", 0, 0), nullptr);
  EXPECT_EQ(Find("abc"), std::nullopt) << "the pattern before was freed";
}

TEST_F(CompileFunction, AFaultIsForgottenByTheNextCompile) {
  ASSERT_NE(Compile("abc)", 0, 0), nullptr);
  EXPECT_EQ(Compile("abc", 0, 0), nullptr);
  EXPECT_EQ(Find("abc"), (Range{0, 3}));
}

TEST_F(CompileFunction, TheEmptyPatternMatchesTheEmptyString) {
  ASSERT_EQ(Compile("", 0, 0), nullptr);
  EXPECT_EQ(Find("abc"), (Range{0, 0}));
}

TEST_F(CompileFunction, APatternMayBeVeryLong) {
  const std::string pattern(20000, 'a');
  ASSERT_EQ(Compile(pattern.c_str(), 1, 1), nullptr);
  EXPECT_EQ(Find("b " + pattern), (Range{2, 20002}));
}

TEST_F(SearchFunction, ANullTextIsNotFoundAndWritesNothing) {
  ASSERT_EQ(Compile("a*", 0, 0), nullptr);
  Range range{kUntouched, kUntouched};
  EXPECT_EQ(Search(nullptr, 5, &range.start, &range.end, 0), 0);
  EXPECT_EQ(range, (Range{kUntouched, kUntouched}));
}

TEST_F(SearchFunction, ANullOutputIsNotFoundAndWritesNothing) {
  ASSERT_EQ(Compile("a", 0, 0), nullptr);
  const HeapText text("a");
  int written = kUntouched;
  EXPECT_EQ(Search(text.Data(), text.Length(), nullptr, &written, 0), 0);
  EXPECT_EQ(Search(text.Data(), text.Length(), &written, nullptr, 0), 0);
  EXPECT_EQ(Search(text.Data(), text.Length(), nullptr, nullptr, 0), 0);
  EXPECT_EQ(written, kUntouched);
}

TEST_F(SearchFunction, WithoutAPatternNothingIsFound) {
  EXPECT_EQ(Find("abc"), std::nullopt);
  EXPECT_EQ(Find("abc", 1), std::nullopt);
}

TEST_F(SearchFunction, ALengthBelowOneIsNotFound) {
  ASSERT_EQ(Compile("a*", 0, 0), nullptr);
  const HeapText text("aaa");
  for (const int length : {0, -1, -1000, INT_MIN}) {
    Range range{kUntouched, kUntouched};
    EXPECT_EQ(Search(text.Data(), length, &range.start, &range.end, 0), 0) << length;
    EXPECT_EQ(range, (Range{kUntouched, kUntouched})) << length;
  }
}

TEST_F(SearchFunction, OnlyTheGivenLengthIsSearched) {
  ASSERT_EQ(Compile("c", 0, 0), nullptr);
  std::string text = "abcabc";
  Range range{};
  EXPECT_EQ(Search(text.data(), 2, &range.start, &range.end, 0), 0);
  EXPECT_EQ(Search(text.data(), 3, &range.start, &range.end, 0), 1);
  EXPECT_EQ(range, (Range{2, 3}));
}

TEST_F(SearchFunction, TheGroupNumberSaysWhoseRangeIsReported) {
  ASSERT_EQ(Compile("x(a+)(b+)", 0, 0), nullptr);
  EXPECT_EQ(Find("__xaabbb"), (Range{2, 8}));
  EXPECT_EQ(Find("__xaabbb", 1), (Range{3, 5}));
  EXPECT_EQ(Find("__xaabbb", 2), (Range{5, 8}));
}

TEST_F(SearchFunction, AGroupNumberBelowZeroIsTheWholeMatch) {
  ASSERT_EQ(Compile("x(a+)(b+)", 0, 0), nullptr);
  for (const int group : {-1, -2, -100000, INT_MIN}) {
    EXPECT_EQ(Find("__xaabbb", group), (Range{2, 8})) << group;
  }
}

TEST_F(SearchFunction, AGroupNumberAboveTheCountTookNoPart) {
  ASSERT_EQ(Compile("x(a+)(b+)", 0, 0), nullptr);
  for (const int group : {3, 4, 9, 29, 30, 31, 1000, 1 << 20, INT_MAX}) {
    EXPECT_EQ(Find("__xaabbb", group), (Range{-1, -1})) << group;
    EXPECT_EQ(Find("zzz\nxab", group), (Range{3, 3})) << group;
  }
}

TEST_F(SearchFunction, SearchingAgainGivesTheSameAnswer) {
  ASSERT_EQ(Compile("(b+)", 0, 1), nullptr);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(Find("ab bb", 0), (Range{3, 5}));
    EXPECT_EQ(Find("ab bb", 1), (Range{3, 5}));
    EXPECT_EQ(Find("ab"), std::nullopt);
  }
}

TEST_F(SubExpressionCount, CountsThePairsOfBracketsOfThePattern) {
  const std::vector<std::pair<const char*, int>> counts = {
      {"", 0},       {"abc", 0},      {"(a)", 1},   {"(a)(b)", 2},
      {"((a)b)", 2}, {R"(\(a\))", 0}, {"[(a)]", 0}, {"(a)|(b)|(c)", 3},
  };
  for (const auto& [pattern, count] : counts) {
    ASSERT_EQ(Compile(pattern, 0, 0), nullptr) << pattern;
    EXPECT_EQ(GetSubExpressionCount(), count) << pattern;
  }
}

TEST_F(SubExpressionCount, WholeWordsAddNoGroup) {
  ASSERT_EQ(Compile("(a)(b)", 1, 1), nullptr);
  EXPECT_EQ(GetSubExpressionCount(), 2);
  EXPECT_EQ(Find("x ab", 1), (Range{2, 3}));
  EXPECT_EQ(Find("x ab", 2), (Range{3, 4}));
}

TEST_F(SubExpressionCount, IsZeroWithoutAPattern) {
  EXPECT_EQ(GetSubExpressionCount(), 0);
}

TEST_F(FreeBuffers, FreesThePattern) {
  ASSERT_EQ(Compile("abc", 0, 0), nullptr);
  FreeBuffersInTrovexDll();
  EXPECT_EQ(Find("abc"), std::nullopt);
  EXPECT_EQ(GetSubExpressionCount(), 0);
}

TEST_F(FreeBuffers, MayBeCalledAgainAndAgain) {
  FreeBuffersInTrovexDll();
  FreeBuffersInTrovexDll();
  ASSERT_EQ(Compile("abc", 0, 0), nullptr);
  EXPECT_EQ(Find("abc"), (Range{0, 3}));
}

TEST_F(FreeBuffers, FreesWhatAFaultLeftBehind) {
  ASSERT_NE(Compile("(a", 1, 1), nullptr);
  FreeBuffersInTrovexDll();
  EXPECT_EQ(GetSubExpressionCount(), 0);
}

TEST_F(SearchFunction, AFixedStringCompiledWithoutWordsIsFoundWhateverTheLatestFlagIs) {
  ResetEnvironment();
  int number = kUntouched;
  ASSERT_EQ(CompileToEnvironment("(abc)", 1, 0, 1, 0, &number), nullptr);
  ASSERT_EQ(Compile("x", 0, 1), nullptr);
  ASSERT_EQ(ActivateEnvironment(number), 1);
  EXPECT_EQ(Find("xabcx abc"), (Range{1, 4}));
  EXPECT_EQ(Find("xabcx abc", 1), (Range{6, 9})) << "a group is judged by the flag";
  EXPECT_EQ(RestoreEnvironment(number), 1);
  ResetEnvironment();
}

TEST_F(SearchFunction, APatternCompiledForWordsPassesOverLinesWithoutOneWhateverTheLatestFlagIs) {
  ResetEnvironment();
  int number = kUntouched;
  ASSERT_EQ(CompileToEnvironment("ab[cd]", 1, 0, 1, 1, &number), nullptr);
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  ASSERT_EQ(ActivateEnvironment(number), 1);
  EXPECT_EQ(Find("xabcx\nxabcx abc"), (Range{7, 10}));
  EXPECT_EQ(RestoreEnvironment(number), 1);
  ResetEnvironment();
}

TEST_F(FreeBuffers, LeavesEnvironmentsAlone) {
  ResetEnvironment();
  int number = kUntouched;
  ASSERT_EQ(CompileToEnvironment("abc", 1, 0, 1, 0, &number), nullptr);
  FreeBuffersInTrovexDll();
  ASSERT_EQ(ActivateEnvironment(number), 1);
  EXPECT_EQ(Find("abc"), (Range{0, 3}));
  EXPECT_EQ(RestoreEnvironment(number), 1);
  ResetEnvironment();
}

std::string Replaced(std::string_view text) {
  HeapText heap(text);
  ReplaceChars(heap.Data());
  return {heap.Data(), text.size()};
}

TEST(ReplaceCharsFunction, TurnsCarriageReturnsIntoLineFeedsAndTabsIntoBlanks) {
  EXPECT_EQ(Replaced("a\r\tb"), "a\n b");
}

TEST(ReplaceCharsFunction, KeepsTheLength) {
  EXPECT_EQ(Replaced("a\r\n\t\tb\r"), "a\n\n  b\n");
}

TEST(ReplaceCharsFunction, StopsAtTheFirstZeroByte) {
  EXPECT_EQ(Replaced(std::string_view("\t\0\t\r", 4)), std::string_view(" \0\t\r", 4));
}

TEST(ReplaceCharsFunction, ChangesNoOtherByte) {
  std::string all;
  for (int c = 1; c <= 255; ++c)
    all.push_back(static_cast<char>(c));
  std::string expected = all;
  expected[static_cast<std::size_t>('\r' - 1)] = '\n';
  expected[static_cast<std::size_t>('\t' - 1)] = ' ';
  EXPECT_EQ(Replaced(all), expected);
}

TEST(ReplaceCharsFunction, AnEmptyTextStaysEmpty) {
  EXPECT_EQ(Replaced(""), "");
}

TEST(ReplaceCharsFunctionDeathTest, ANullTextIsIgnored) {
  EXPECT_EXIT(
      {
        ReplaceChars(nullptr);
        std::_Exit(0);
      },
      ::testing::ExitedWithCode(0), "");
}

bool IsUmlaut(int c) {
  constexpr int kUmlauts[] = {196, 214, 220, 228, 246, 252};
  return std::find(std::begin(kUmlauts), std::end(kUmlauts), c) != std::end(kUmlauts);
}

bool IsAsciiLetter(int c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

TEST(IsAlphaGerFunction, KnowsLettersAndUmlautsInTheDefaultLocale) {
  for (int c = 0; c <= 255; ++c) {
    EXPECT_EQ(IsAlphaGer(c), IsAsciiLetter(c) || IsUmlaut(c) ? 1 : 0) << "byte " << c;
  }
}

TEST(IsAlphaGerFunction, TheSharpSAndTheUnderscoreAreNoLetters) {
  EXPECT_EQ(IsAlphaGer(223), 0);
  EXPECT_EQ(IsAlphaGer('_'), 0);
  EXPECT_EQ(IsAlphaGer(252), 1);
}

TEST(IsAlphaGerFunction, BytesOfAMultibyteLocaleAreLettersOnlyWhereTheyStandAlone) {
  const HostLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.IsSet());
  for (int c = 0; c <= 255; ++c) {
    EXPECT_EQ(IsAlphaGer(c), IsAsciiLetter(c) || IsUmlaut(c) ? 1 : 0) << "byte " << c;
  }
}

TEST(IsAlphaGerFunction, TheSharpSIsALetterWhereTheLocaleSaysSo) {
  const BuiltHostLocale locale("de_DE", "ISO-8859-1");
  if (!locale.IsSet()) GTEST_SKIP() << "no locale sources on this machine";
  EXPECT_EQ(IsAlphaGer(223), 1);
  EXPECT_EQ(IsAlphaGer(233), 1);
  EXPECT_EQ(IsAlphaGer(252), 1);
  EXPECT_EQ(IsAlphaGer('_'), 0);
  EXPECT_EQ(IsAlphaGer(215), 0) << "the multiplication sign";
}

TEST(IsAlphaGerFunction, WhatIsNoByteIsNoLetter) {
  for (const int c : {-1, -4, -28, 256, 256 + 'a', 65536 + 'a', INT_MAX, INT_MIN}) {
    EXPECT_EQ(IsAlphaGer(c), 0) << c;
  }
}

}  // namespace
