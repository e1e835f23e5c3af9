// The matcher's search: what it finds and where, with and without whole words or whole lines, and
// which group's range it reports.
//
// The yardstick at the end is the plainest driver there is: it tries every line in turn, straight
// on the engine, always with all registers. Tens of thousands of random searches must agree with
// it, in several locales.

#include "api/matcher_state.h"
#include "tests/heap_text.h"
#include "tests/host_locale.h"
#include "tests/visible.h"
#include "text/case_helpers.h"

#include <gtest/gtest.h>
#include <locale.h>
#include <regex.h>
#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {

static bool operator==(const MatchRange& a, const MatchRange& b) {
  return a.start == b.start && a.end == b.end;
}

static std::ostream& operator<<(std::ostream& out, const MatchRange& range) {
  return out << range.start << ".." << range.end;
}

namespace {

using testing::BuiltHostLocale;
using testing::HeapText;
using testing::HostLocale;
using testing::Visible;

using Flags = PatternOptions;

constexpr Flags kNoFlags{};
constexpr Flags kFoldCase{true, false, false};
constexpr Flags kWords{false, true, false};
constexpr Flags kLines{false, false, true};

MessageNumber CompileWith(std::string_view pattern, const Flags& flags) {
  CompileResult result = CompileMatcher(pattern, flags);
  Matcher().options = flags;
  Matcher().installed = std::make_shared<PatternWork>(std::move(result.pattern));
  return result.fault;
}

/// What the installed pattern finds. A search may use the byte after the text, but must leave text
/// and byte as they were, and it writes nothing when it finds nothing.
std::optional<MatchRange> Execute(std::string_view text, int group = 0, char after = '\0') {
  constexpr MatchRange kUntouched{-4711, -4712};
  const HeapText heap(text, after);
  MatchRange range = kUntouched;
  const bool found = SearchInstalled(heap.Data(), heap.Length(), group, range);
  EXPECT_EQ(std::string_view(heap.Data(), text.size()), text) << "the text was changed";
  EXPECT_EQ(heap.After(), after) << "the byte after the text was changed";
  if (found) return range;
  EXPECT_EQ(range, kUntouched) << "a range was written without a match";
  return std::nullopt;
}

std::optional<MatchRange> Find(std::string_view pattern, std::string_view text,
                               const Flags& flags = kNoFlags, int group = 0, char after = '\0') {
  EXPECT_EQ(CompileWith(pattern, flags), MessageNumber::kNone) << pattern;
  return Execute(text, group, after);
}

MatchRange At(int start, int end) {
  return {start, end};
}

class SearchDriver : public ::testing::Test {
 protected:
  void TearDown() override { Matcher() = MatcherState{}; }
};

using LineSearch = SearchDriver;
using GroupRange = SearchDriver;
using WordSearch = SearchDriver;
using WholeLineSearch = SearchDriver;
using FoldedSearch = SearchDriver;
using ByteAfter = SearchDriver;

/// The plain road alone: how the faster one compares with it is pipeline_agreement_test.cpp's affair.
class DriverModel : public SearchDriver {
 protected:
  void SetUp() override { Matcher().engineOnly = true; }
};

// ---- Lines ----

TEST_F(LineSearch, AnEmptyTextHoldsNoMatch) {
  EXPECT_EQ(Find("a", ""), std::nullopt);
  EXPECT_EQ(Find("", ""), std::nullopt);
  EXPECT_EQ(Find("^$", ""), std::nullopt);
}

TEST_F(LineSearch, ANegativeLengthHoldsNoMatch) {
  ASSERT_EQ(CompileWith("", kNoFlags), MessageNumber::kNone);
  const HeapText text("abc");
  for (const int length : {-1, -3, INT_MIN}) {
    MatchRange range{-5, -6};
    EXPECT_FALSE(SearchInstalled(text.Data(), length, 0, range));
    EXPECT_EQ(range, At(-5, -6));
  }
}

TEST_F(LineSearch, FindsAFixedStringWithinALine) {
  EXPECT_EQ(Find("abc", "x\nzabcz"), At(3, 6));
}

TEST_F(LineSearch, FindsTheFirstMatchOfTheFirstLineThatHasOne) {
  EXPECT_EQ(Find("[ab]c", "xx\nbcac\nac"), At(3, 5));
}

TEST_F(LineSearch, FindsTheLongestMatchAtThatPlace) {
  EXPECT_EQ(Find("a|ab|abc", "zabcd"), At(1, 4));
}

TEST_F(LineSearch, AMatchNeverCrossesALineEnd) {
  EXPECT_EQ(Find("a.b", "a\nb"), std::nullopt);
  EXPECT_EQ(Find("a[^x]b", "a\nb"), std::nullopt);
  EXPECT_EQ(Find("a*", "\naa"), At(0, 0));
  EXPECT_EQ(Find("a+", "a\na"), At(0, 1));
}

TEST_F(LineSearch, AnchorsAreTheEndsOfEveryLine) {
  EXPECT_EQ(Find("^b", "ab\nba"), At(3, 4));
  EXPECT_EQ(Find("a$", "ab\nba"), At(4, 5));
  EXPECT_EQ(Find("a$", "ba\nb"), At(1, 2));
  EXPECT_EQ(Find("^ab$", "abc\nab\nab"), At(4, 6));
}

TEST_F(LineSearch, AnEmptyLineBetweenOthersIsFound) {
  EXPECT_EQ(Find("^$", "a\n\nb"), At(2, 2));
  EXPECT_EQ(Find("^$", "\na"), At(0, 0));
}

TEST_F(LineSearch, TheEmptyLineAfterTheLastLineFeedIsALine) {
  EXPECT_EQ(Find("^$", "a\n"), At(2, 2));
  EXPECT_EQ(Find("^b*$", "a\n"), At(2, 2));
  EXPECT_EQ(Find("^$", "a\nb"), std::nullopt);
}

TEST_F(LineSearch, AnEmptyMatchLiesAtTheStartOfTheFirstLine) {
  EXPECT_EQ(Find("", "abc"), At(0, 0));
  EXPECT_EQ(Find("x*", "abc"), At(0, 0));
}

TEST_F(LineSearch, ALineFeedInThePatternSeparatesAlternatives) {
  EXPECT_EQ(Find("b\nc", "xc\nb"), At(1, 2));
}

TEST_F(LineSearch, ZeroBytesAreBytesLikeAnyOther) {
  const std::string_view text("x\0a\nab\0c", 8);
  EXPECT_EQ(Find("ab", text), At(4, 6));
  EXPECT_EQ(Find("b.c", text), At(5, 8));
  EXPECT_EQ(Find("[^x]a", text), At(1, 3));
  EXPECT_EQ(Find(std::string_view("b\0c", 3), text), At(5, 8));
  EXPECT_EQ(Find(std::string_view("\0", 1), text), At(1, 2));
}

TEST_F(LineSearch, BracketExpressionsKnowNoClassNames) {
  EXPECT_EQ(Find("[[:alpha:]]", "a]"), At(0, 2));
  EXPECT_EQ(Find("[[:alpha:]]", "a"), std::nullopt);
}

TEST_F(LineSearch, BackReferencesAreMatched) {
  EXPECT_EQ(Find("(a|b)x\\1", "axb\nbxb"), At(4, 7));
}

TEST_F(LineSearch, ALongLineWithAKeywordSaysNothingOfTheNextOne) {
  // The automaton takes any line with "xx" for a candidate; the keyword "]b" is what the next one lacks.
  for (const std::size_t size : {10U, 4'000U, 4'094U, 4'095U, 4'096U, 5'000U, 20'000U}) {
    const std::string line = "]b" + std::string(size, 'z') + "\n";
    EXPECT_EQ(Find("(x)\\1[[.a.]]b", line + "xxab xxd"), std::nullopt) << size;
    const int start = static_cast<int>(line.size()) + 12;
    EXPECT_EQ(Find("(x)\\1[[.a.]]b", line + "xxab xxd\n]b xxab"), At(start, start + 4)) << size;
  }
}

TEST_F(LineSearch, WithoutAPatternNothingIsFound) {
  EXPECT_EQ(Execute("abc"), std::nullopt);
  EXPECT_EQ(Execute("abc", 1), std::nullopt);
}

TEST_F(LineSearch, AfterAFaultNothingIsFound) {
  ASSERT_EQ(CompileWith("abc", kNoFlags), MessageNumber::kNone);
  ASSERT_NE(CompileWith("(abc", kNoFlags), MessageNumber::kNone);
  EXPECT_EQ(Execute("abc"), std::nullopt);
  EXPECT_EQ(Execute("abc", 1), std::nullopt);
}

TEST_F(LineSearch, ALateMatchInALongTextIsFound) {
  std::string text;
  for (int line = 0; line < 5000; ++line)
    text += "no such thing\n";
  const int length = static_cast<int>(text.size());
  EXPECT_EQ(Find("ab+c", text + "abbc"), At(length, length + 4));
  EXPECT_EQ(Find("ab+c", text), std::nullopt);
}

// ---- Groups ----

TEST_F(LineSearch, ThatGivesALineUpSaysWhereAndGoesOnAfterIt) {
  ASSERT_EQ(CompileWith("(.*)(.*)(.*)(.*)\\1\\2\\3\\4x", kNoFlags), MessageNumber::kNone);
  std::string hard;
  for (int i = 0; i < 500; ++i)
    hard += "ab";
  const auto resultFor = [](const std::string& text) {
    const HeapText heap(text);
    return ExecuteMatcher(*Matcher().installed, {}, heap.Data(), heap.Length(), 0);
  };
  EXPECT_EQ(resultFor("ab\n").outcome, SearchOutcome::kNotFound);
  EXPECT_EQ(resultFor("ab\n").gaveUpAt, -1);
  EXPECT_EQ(resultFor(hard + "x").outcome, SearchOutcome::kGaveUp);
  EXPECT_EQ(resultFor(hard + "x").gaveUpAt, 0);
  const MatchResult after = resultFor("\n" + hard + "y x\nabx");
  EXPECT_EQ(after.outcome, SearchOutcome::kFound);
  EXPECT_EQ(after.gaveUpAt, 1);
}

TEST_F(GroupRange, IsTheRangeOfTheGroup) {
  EXPECT_EQ(Find("(a+)(b+)", "x\nxaabbb", kNoFlags, 0), At(3, 8));
  EXPECT_EQ(Find("(a+)(b+)", "x\nxaabbb", kNoFlags, 1), At(3, 5));
  EXPECT_EQ(Find("(a+)(b+)", "x\nxaabbb", kNoFlags, 2), At(5, 8));
}

TEST_F(GroupRange, OfAGroupThatTookNoPartLiesOneByteBeforeTheLine) {
  EXPECT_EQ(Find("(a)|(b)", "b", kNoFlags, 2), At(0, 1));
  EXPECT_EQ(Find("(a)|(b)", "b", kNoFlags, 1), At(-1, -1));
  EXPECT_EQ(Find("(a)|(b)", "xx\nb", kNoFlags, 1), At(2, 2));
  EXPECT_EQ(Find("(a)|(b)", "x\ny\nzb", kNoFlags, 1), At(3, 3));
}

TEST_F(GroupRange, OfAGroupThatDoesNotExistIsThatOfOneThatTookNoPart) {
  for (const char* pattern : {"b", "(b)"}) {
    for (const int group : {2, 3, 9, 28, 29, 30, 31, 32, 1000000, INT_MAX}) {
      EXPECT_EQ(Find(pattern, "ab", kNoFlags, group), At(-1, -1)) << pattern << ' ' << group;
      EXPECT_EQ(Find(pattern, "a\nab", kNoFlags, group), At(1, 1)) << pattern << ' ' << group;
    }
  }
}

TEST_F(GroupRange, BelowZeroIsThatOfTheWholeMatch) {
  for (const int group : {-1, -2, -1000000, INT_MIN}) {
    EXPECT_EQ(Find("a(b)", "xab", kNoFlags, group), At(1, 3)) << group;
    EXPECT_EQ(Find("ab", "xab", kNoFlags, group), At(1, 3)) << group;
  }
}

TEST_F(GroupRange, IsFoundAmongMoreGroupsThanAnEngineKeepsBesides) {
  std::string pattern;
  for (int group = 1; group <= 40; ++group)
    pattern += "(a)";
  const std::string text = "x" + std::string(40, 'a');
  for (int group = 1; group <= 40; ++group) {
    EXPECT_EQ(Find(pattern, text, kNoFlags, group), At(group, group + 1));
  }
  EXPECT_EQ(Find(pattern, text, kNoFlags, 41), At(-1, -1));
  EXPECT_EQ(Find(pattern, text, kNoFlags, 42), At(-1, -1));
}

TEST_F(GroupRange, FollowsTheWordThatIsFoundInTheEnd) {
  EXPECT_EQ(Find("(a)(b*)", "abbbx ab", kWords, 0), At(6, 8));
  EXPECT_EQ(Find("(a)(b*)", "abbbx ab", kWords, 2), At(7, 8));
  EXPECT_EQ(Find("(a)(b*)(x)?", "abbb_ ab", kWords, 3), At(-1, -1));
}

TEST_F(GroupRange, OfAMatchThatIsDeniedWithItsGroupsIsThatOfOneThatTookNoPart) {
  // An anchor in a repetition: asked for the match alone, the engine has one that it has not with groups.
  const std::string_view text = "-1-_ -_a -\n-11^-";
  for (const bool engineOnly : {false, true}) {
    Matcher().engineOnly = engineOnly;
    const std::optional<MatchRange> whole = Find("11{,3}(^-){,3}", text);
    ASSERT_NE(whole, std::nullopt);
    EXPECT_EQ(whole, At(1, 3));
    EXPECT_EQ(Find("11{,3}(^-){,3}", text, kNoFlags, 1), At(-1, -1));
    EXPECT_EQ(Find("11{,3}(^-){,3}", text, kNoFlags, 2), At(-1, -1));
  }
}

TEST_F(GroupRange, AnEmptyGroupHasARange) {
  EXPECT_EQ(Find("a(b*)c", "xac", kNoFlags, 1), At(2, 2));
}

// ---- Whole words ----

TEST_F(WordSearch, AWordMayNotFollowALetter) {
  EXPECT_EQ(Find("cat", "concat cat", kWords), At(7, 10));
}

TEST_F(WordSearch, TheUnderscoreBelongsToAWord) {
  EXPECT_EQ(Find("cat", "cat_s cat", kWords), At(6, 9));
  EXPECT_EQ(Find("cat", "_cat cat", kWords), At(5, 8));
}

TEST_F(WordSearch, DigitsBelongToAWord) {
  EXPECT_EQ(Find("cat", "cat1 2cat cat", kWords), At(10, 13));
}

TEST_F(WordSearch, AMatchIsShortenedThenSoughtFurtherRight) {
  EXPECT_EQ(Find("ab*", "abbbx ab", kWords), At(6, 8));
}

TEST_F(WordSearch, AShorterMatchAtTheSamePlaceIsTaken) {
  EXPECT_EQ(Find("ab( cd)?", "ab cdx", kWords), At(0, 2));
  EXPECT_EQ(Find("a.*", "a bc", kWords), At(0, 4));
}

TEST_F(WordSearch, UmlautsDoNotBelongToAWord) {
  EXPECT_EQ(Find("ber",
                 "\xFC"
                 "ber",
                 kWords),
            At(1, 4));
  EXPECT_EQ(Find("ber", "Xber", kWords), std::nullopt);
  EXPECT_EQ(Find("f", "f\xFCr", kWords), At(0, 1));
}

TEST_F(WordSearch, TheEndsOfALineEndAWord) {
  EXPECT_EQ(Find("cat", "x\ncat\nx", kWords), At(2, 5));
  EXPECT_EQ(Find("cat", "cat", kWords), At(0, 3));
  EXPECT_EQ(Find("cat", "a cat\nb", kWords), At(2, 5));
}

TEST_F(WordSearch, AMatchThatFillsItsLineIsAWord) {
  EXPECT_EQ(Find("cat", "cat", kWords, 0, 's'), At(0, 3)) << "the byte after is not looked at";
}

TEST_F(WordSearch, OnTheLastLineTheByteAfterTheTextCounts) {
  EXPECT_EQ(Find("cat", "a cat", kWords, 0, '\0'), At(2, 5));
  EXPECT_EQ(Find("cat", "a cat", kWords, 0, ' '), At(2, 5));
  EXPECT_EQ(Find("cat", "a cat", kWords, 0, '\xE4'), At(2, 5));
  EXPECT_EQ(Find("cat", "a cat", kWords, 0, 's'), std::nullopt);
  EXPECT_EQ(Find("cat", "a cat", kWords, 0, '_'), std::nullopt);
  EXPECT_EQ(Find("cat", "a cat\n", kWords, 0, 's'), At(2, 5)) << "not on an earlier line";
}

TEST_F(WordSearch, TheLineEndIsNoLineEndForAShortenedMatch) {
  // "ab" is refused, "a" would need the line to end after it.
  EXPECT_EQ(Find("ab?$", "x ab", kWords, 0, 'c'), std::nullopt);
}

TEST_F(WordSearch, AnEmptyMatchBetweenNonWordsIsAWord) {
  EXPECT_EQ(Find("x*", " a", kWords), At(0, 0));
  EXPECT_EQ(Find("x*", "a  ", kWords), At(2, 2));
  EXPECT_EQ(Find("x*", "ab ", kWords), At(3, 3));
  EXPECT_EQ(Find("x*", "ab ", kWords, 0, 'c'), std::nullopt);
  EXPECT_EQ(Find("x*", "ab", kWords), std::nullopt);
}

TEST_F(WordSearch, AWordWithinAMatchIsJudgedByItsOwnEnds) {
  EXPECT_EQ(Find("a b", "xa b a b", kWords), At(5, 8));
  EXPECT_EQ(Find("-a-", "x-a-y", kWords), std::nullopt);
  EXPECT_EQ(Find("-a-", "x -a- y", kWords), At(2, 5));
}

TEST_F(WordSearch, TheWordOfALaterLineIsFound) {
  EXPECT_EQ(Find("cat", "cats\nconcat\na cat b", kWords), At(14, 17));
}

TEST_F(WordSearch, ALineStartIsNotSeenAgainFurtherRight) {
  EXPECT_EQ(Find("^a|b", "ax b", kWords), At(3, 4));
}

// ---- Whole lines ----

TEST_F(WholeLineSearch, OnlyAMatchThatFillsItsLineCounts) {
  EXPECT_EQ(Find("ab", "ab", kLines), At(0, 2));
  EXPECT_EQ(Find("ab", "abc", kLines), std::nullopt);
  EXPECT_EQ(Find("ab", "abc\nxab\nab\nab", kLines), At(8, 10));
}

TEST_F(WholeLineSearch, TheLongestMatchIsTheOneThatCounts) {
  EXPECT_EQ(Find("a|ab", "ab", kLines), At(0, 2));
  EXPECT_EQ(Find("a*", "aab\naa", kLines), At(4, 6));
}

TEST_F(WholeLineSearch, AnEmptyLineIsFilledByAnEmptyMatch) {
  EXPECT_EQ(Find("a*", "b\n\na", kLines), At(2, 2));
  EXPECT_EQ(Find("a*", "b\n", kLines), At(2, 2));
}

TEST_F(WholeLineSearch, GroupsAreReportedAsEver) {
  EXPECT_EQ(Find("(a)(b)|c", "x\nab", kLines, 2), At(3, 4));
  EXPECT_EQ(Find("(a)(b)|c", "x\nc", kLines, 2), At(1, 1));
}

TEST_F(WholeLineSearch, ACompileOfTheHostsEndsIt) {
  ASSERT_EQ(CompileWith("ab", kLines), MessageNumber::kNone);
  ASSERT_EQ(Execute("abc"), std::nullopt);
  ASSERT_EQ(CompileWith("ab", kNoFlags), MessageNumber::kNone);
  EXPECT_EQ(Execute("abc"), At(0, 2));
}

TEST_F(WholeLineSearch, APatternThatWasCompiledForLinesKeepsThatCondition) {
  for (const char* pattern : {"ab", "a.", "(a)b"}) {
    ASSERT_EQ(CompileWith(pattern, kLines), MessageNumber::kNone);
    Matcher().options.matchLines = false;
    EXPECT_EQ(Execute("xab\nabc"), std::nullopt) << pattern;
    EXPECT_EQ(Execute("xab\nab\nc"), At(4, 6)) << pattern;
  }
}

TEST_F(WholeLineSearch, AlsoWithWholeWordsTheFilledLineCounts) {
  EXPECT_EQ(Find("ab", "ab", {false, true, true}), At(0, 2));
  EXPECT_EQ(Find("ab", "x\nab", {false, true, true}, 0, 'c'), At(2, 4));
  EXPECT_EQ(Find("ab", "xab", {false, true, true}), std::nullopt);
}

// ---- Case ----

TEST_F(FoldedSearch, UmlautsAreFolded) {
  EXPECT_EQ(Find("\xC4RGER", "der \xE4rger", kFoldCase), At(4, 9));
  EXPECT_EQ(Find("\xE4rger", "der \xC4RGER", kFoldCase), At(4, 9));
  EXPECT_EQ(Find("[\xD6\xDC]l", "\xF6l", kFoldCase), At(0, 2));
  EXPECT_EQ(Find("\xC4RGER", "der \xE4rger"), std::nullopt);
}

TEST_F(FoldedSearch, TheSharpSIsNotFolded) {
  EXPECT_EQ(Find("stra\xDF"
                 "e",
                 "STRA\xDF"
                 "E",
                 kFoldCase),
            At(0, 6));
  EXPECT_EQ(Find("stra\xDF"
                 "e",
                 "STRASSE", kFoldCase),
            std::nullopt);
}

TEST_F(FoldedSearch, AnEscapedLetterIsFoundInShortTextsAsInLongOnes) {
  ASSERT_EQ(CompileWith("\\a", kFoldCase), MessageNumber::kNone);
  for (const std::string text : {"xa", "xA", "xx"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Execute(text).has_value(), text != "xx");
    EXPECT_EQ(Execute(text), Execute(text + std::string(300, '-')));
    EXPECT_EQ(Execute(text, 1), Execute(text + std::string(300, '-'), 1));
  }
}

TEST_F(FoldedSearch, AlsoWithWholeWords) {
  EXPECT_EQ(Find("kater", "Muskater KATER", {true, true, false}), At(9, 14));
}

TEST_F(FoldedSearch, FollowsALocaleThatKnowsMoreLetters) {
  EXPECT_EQ(Find("\xC9TUDE", "\xE9tude", kFoldCase), std::nullopt);
  const BuiltHostLocale locale("de_DE", "ISO-8859-1");
  if (!locale.IsSet()) GTEST_SKIP() << "no locale sources on this machine";
  EXPECT_EQ(Find("\xC9TUDE", "une \xE9tude", kFoldCase), At(4, 9));
  EXPECT_EQ(Find("\xC9TUDE", "une \xE9tude"), std::nullopt);
}

TEST_F(FoldedSearch, KeepsTheLettersOfTheLocaleItWasCompiledIn) {
  const BuiltHostLocale locale("de_DE", "ISO-8859-1");
  if (!locale.IsSet()) GTEST_SKIP() << "no locale sources on this machine";
  ASSERT_EQ(CompileWith("\xC9+", kFoldCase), MessageNumber::kNone);
  EXPECT_EQ(Execute("\xE9\xC9"), At(0, 2));
}

// ---- The byte after the text ----

TEST_F(ByteAfter, HoldsItsOldValueAfterEverySearch) {
  // Execute checks it; here for matches, for none, and for every value.
  for (int after = 0; after <= 255; ++after) {
    EXPECT_EQ(Find("b+", "a\nabb", kNoFlags, 0, static_cast<char>(after)), At(3, 5));
    EXPECT_EQ(Find("(b)+", "a\nabb", kNoFlags, 1, static_cast<char>(after)), At(4, 5));
    EXPECT_EQ(Find("c", "a\nabb", kNoFlags, 0, static_cast<char>(after)), std::nullopt);
  }
}

TEST_F(ByteAfter, BelongsToNoMatch) {
  EXPECT_EQ(Find("ab", "xa", kNoFlags, 0, 'b'), std::nullopt);
  EXPECT_EQ(Find("b*", "b", kNoFlags, 0, 'b'), At(0, 1));
  EXPECT_EQ(Find("b$", "ab", kNoFlags, 0, 'c'), At(1, 2)) << "the text ends its last line";
  EXPECT_EQ(Find("b\\>", "ab", kNoFlags, 0, 'c'), At(1, 2));
}

TEST_F(ByteAfter, IsNoLineOfItsOwn) {
  EXPECT_EQ(Find("^c", "ab\n", kNoFlags, 0, 'c'), std::nullopt);
  EXPECT_EQ(Find("^$", "ab", kNoFlags, 0, '\n'), std::nullopt);
}

// ---- The yardstick ----

/// A pattern compiled by the engine for the model: bytes, and the case table of the host's locale.
class ModelRegex {
 public:
  ModelRegex(std::string_view pattern, bool foldCase) {
    if (foldCase) {
      buffer_.translate = static_cast<unsigned char*>(std::malloc(256));
      for (int c = 0; c < 256; ++c)
        buffer_.translate[c] = static_cast<unsigned char>(ToUpperGer(c));
    }
    const locale_t bytes = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    const locale_t host = uselocale(bytes);
    re_set_syntax(0xBB18);
    buffer_.newline_anchor = 1;
    isRight_ = re_compile_pattern(pattern.data(), pattern.size(), &buffer_) == nullptr;
    uselocale(host);
    freelocale(bytes);
  }
  ~ModelRegex() { regfree(&buffer_); }
  ModelRegex(const ModelRegex&) = delete;
  ModelRegex& operator=(const ModelRegex&) = delete;

  bool IsRight() const { return isRight_; }
  std::size_t GroupCount() const { return buffer_.re_nsub; }

  int Search(std::string_view line, int from, re_registers& registers) {
    buffer_.not_eol = 0;
    const int length = static_cast<int>(line.size());
    return re_search(&buffer_, line.data(), length, from, length - from, &registers);
  }

  int Match(std::string_view line, int size, int start, re_registers& registers) {
    buffer_.not_eol = 1;
    return re_match(&buffer_, line.data(), size, start, &registers);
  }

 private:
  re_pattern_buffer buffer_{};
  bool isRight_ = false;
};

bool ModelWordByte(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

/// Whether the line holds a match that satisfies the flags; it is then in the registers. `line` is
/// a part of a longer block: the byte after it may be read.
bool ModelMatchesLine(ModelRegex& regex, std::string_view line, const Flags& flags,
                      re_registers& registers) {
  const int lineLength = static_cast<int>(line.size());
  int start = regex.Search(line, 0, registers);
  if (start < 0) return false;
  int length = registers.end[0] - start;
  if (flags.matchLines && length == lineLength) return true;
  if (!flags.matchWords) return !flags.matchLines;
  while (start >= 0) {
    const bool wordBefore = start > 0 && ModelWordByte(line.data()[start - 1]);
    if (!wordBefore && length == lineLength) return true;
    if (!wordBefore && !ModelWordByte(line.data()[start + length])) return true;
    if (length > 0) length = regex.Match(line, start + length - 1, start, registers);
    if (length > 0) continue;
    if (start == lineLength) return false;
    start = regex.Search(line, start + 1, registers);
    if (start >= 0) length = registers.end[0] - start;
  }
  return false;
}

std::optional<MatchRange> ModelExecute(ModelRegex& regex, const HeapText& text, const Flags& flags,
                                       int group) {
  const std::string_view all(text.Data(), static_cast<std::size_t>(text.Length()));
  if (all.empty()) return std::nullopt;
  re_registers registers{};
  std::optional<MatchRange> found;
  for (std::size_t begin = 0; !found && begin <= all.size();) {
    const std::size_t end = std::min(all.find('\n', begin), all.size());
    if (ModelMatchesLine(regex, all.substr(begin, end - begin), flags, registers)) {
      const int lineStart = static_cast<int>(begin);
      const int wanted = std::max(group, 0);
      const bool exists = static_cast<std::size_t>(wanted) <= regex.GroupCount();
      found = exists ? At(lineStart + registers.start[wanted], lineStart + registers.end[wanted])
                     : At(lineStart - 1, lineStart - 1);
    }
    begin = end + 1;
  }
  std::free(registers.start);
  std::free(registers.end);
  return found;
}

/// Random patterns that the engine matches in bounded time with all its registers: what repeats is
/// never empty and holds no anchor.
///
/// A pattern either speaks of word edges or of underscores, because the stages in front of the
/// engine need not call the underscore a letter; the texts for it follow suit.
class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed), underscores_(Below(2) == 0) {}

  std::string Pattern() {
    std::string pattern;
    if (Below(12) == 0) pattern = "(a|b|ab)c?\\1";
    pattern += Alternatives(2);
    return pattern;
  }

  std::string Text() {
    std::string text;
    for (int length = Below(Below(4) == 0 ? 60 : 16); length > 0; --length) {
      switch (Below(12)) {
        case 0:
          text += '\n';
          break;
        case 1:
          text += ' ';
          break;
        case 2:
          text += Below(8) == 0 ? '\0' : Letter();
          break;
        default:
          text += Letter();
      }
    }
    return text;
  }

  char After() {
    constexpr std::array<char, 6> kBytes = {'\0', 'a', '1', '\n', '\xE4', ' '};
    return kBytes.at(static_cast<std::size_t>(Below(6)));
  }

  Flags AnyFlags() {
    Flags flags;
    flags.foldCase = Below(2) == 0;
    const int condition = Below(5);
    flags.matchWords = condition < 2;
    flags.matchLines = condition == 2;
    return flags;
  }

  int Group(std::size_t groupCount) { return Below(static_cast<int>(groupCount) + 4) - 1; }

 private:
  int Below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

  char Letter() {
    constexpr std::array<char, 16> kLetters = {'a', 'a', 'a',    'b',    'b',    'B',    'A', 'c',
                                               'i', 'I', '\xE4', '\xC4', '\xE9', '\xC9', '1', '_'};
    return kLetters.at(static_cast<std::size_t>(Below(underscores_ ? 16 : 15)));
  }

  std::string Alternatives(int depth) {
    std::string pattern = Sequence(depth);
    while (Below(5) == 0) {
      pattern += Below(6) == 0 ? '\n' : '|';
      pattern += Sequence(depth);
    }
    return pattern;
  }

  std::string Sequence(int depth) {
    std::string pattern;
    for (int pieces = Below(4); pieces >= 0; --pieces)
      pattern += Piece(depth);
    return pattern;
  }

  std::string Piece(int depth) {
    switch (Below(13)) {
      case 0:
        return "^";
      case 1:
        return "$";
      case 2:
      case 3:
        return InBrackets(RepeatableAlternatives()) + Repetition();
      case 4:
        return InBrackets(depth > 0 ? Alternatives(depth - 1) : "");
      case 5:
        return underscores_ ? "_" : Edge();
      case 6:
        return " ";
      default:
        return Atom() + Repetition();
    }
  }

  /// Alternatives of atoms: never empty.
  std::string RepeatableAlternatives() {
    std::string pattern = Atom();
    while (Below(2) == 0) {
      if (Below(3) == 0) pattern += '|';
      pattern += Atom();
    }
    return pattern;
  }

  static std::string InBrackets(const std::string& pattern) {
    std::string group = "(";
    group += pattern;
    group += ')';
    return group;
  }

  std::string Atom() {
    switch (Below(12)) {
      case 0:
        return ".";
      case 1:
        return std::string("[") + Letter() + Letter() + "]";
      case 2:
        return std::string("[^") + Letter() + "]";
      case 3:
        return "[a-c]";
      case 4:
        return underscores_ ? "." : (Below(2) == 0 ? "\\w" : "\\W");
      default:
        return std::string(1, Letter());
    }
  }

  std::string Repetition() {
    constexpr std::array<const char*, 7> kRepetitions = {"*",     "+",    "?",    "{2}",
                                                         "{1,2}", "{2,}", "{0,2}"};
    return Below(3) == 0 ? kRepetitions.at(static_cast<std::size_t>(Below(7))) : "";
  }

  std::string Edge() {
    constexpr std::array<const char*, 4> kEdges = {"\\b", "\\B", "\\<", "\\>"};
    return kEdges.at(static_cast<std::size_t>(Below(4)));
  }

  std::mt19937 random_;
  bool underscores_;
};

/// One random pattern on some random texts.
void ExpectAgreement(unsigned seed) {
  Generator generator(seed);
  const std::string pattern = generator.Pattern();
  const Flags flags = generator.AnyFlags();
  ModelRegex model(pattern, flags.foldCase);
  ASSERT_TRUE(model.IsRight()) << "seed " << seed << ": " << Visible(pattern);
  ASSERT_EQ(CompileWith(pattern, flags), MessageNumber::kNone);
  for (int i = 0; i < 6; ++i) {
    const std::string text = generator.Text();
    const char after = generator.After();
    const int group = generator.Group(model.GroupCount());
    const HeapText heap(text, after);
    ASSERT_EQ(Execute(text, group, after), ModelExecute(model, heap, flags, group))
        << "seed " << seed << ", pattern " << Visible(pattern) << ", text " << Visible(text)
        << ", after " << Visible({&after, 1}) << ", group " << group << ", fold " << flags.foldCase
        << ", words " << flags.matchWords << ", lines " << flags.matchLines;
  }
}

void ExpectAgreement(unsigned firstSeed, unsigned count) {
  for (unsigned seed = firstSeed; seed < firstSeed + count; ++seed) {
    ASSERT_NO_FATAL_FAILURE(ExpectAgreement(seed));
  }
}

TEST_F(DriverModel, RandomSearchesAgreeInTheDefaultLocale) {
  ExpectAgreement(1, 20000);
}

TEST_F(DriverModel, RandomSearchesAgreeInAUtf8Locale) {
  const HostLocale locale("C.UTF-8");
  ASSERT_TRUE(locale.IsSet());
  ExpectAgreement(20001, 20000);
}

TEST_F(DriverModel, RandomSearchesAgreeInALocaleOfTheLibrarysOwnCodePage) {
  const BuiltHostLocale locale("de_DE", "ISO-8859-1");
  if (!locale.IsSet()) GTEST_SKIP() << "no locale sources on this machine";
  ExpectAgreement(40001, 3000);
}

TEST_F(DriverModel, RandomSearchesAgreeInATurkishLocale) {
  const BuiltHostLocale locale("tr_TR", "UTF-8");
  if (!locale.IsSet()) GTEST_SKIP() << "no locale sources on this machine";
  ExpectAgreement(60001, 3000);
}

/// All texts up to a length over a few bytes, for patterns that touch every branch of the driver.
TEST_F(DriverModel, AllShortTextsAgree) {
  constexpr std::string_view kAlphabet = "ab \n";
  constexpr const char* kPatterns[] = {"a",   "ab*", "a*",  "^a",     "a$",      "^$",   "a|ab",
                                       "b a", "()",  ".*b", "(a|b)*", "(a)|(b)", "a b?", "(^a|b)"};
  std::vector<std::string> texts = {""};
  for (std::size_t first = 0; texts.back().size() < 5;) {
    for (const std::size_t last = texts.size(); first < last; ++first) {
      for (const char c : kAlphabet)
        texts.push_back(texts[first] + c);
    }
  }
  ASSERT_EQ(texts.size(), 1365U);
  for (const char* pattern : kPatterns) {
    for (const Flags& flags : {kNoFlags, kWords, kLines}) {
      ModelRegex model(pattern, flags.foldCase);
      ASSERT_EQ(CompileWith(pattern, flags), MessageNumber::kNone);
      for (const std::string& text : texts) {
        for (const char after : {'\0', 'b'}) {
          const HeapText heap(text, after);
          ASSERT_EQ(Execute(text, 1, after), ModelExecute(model, heap, flags, 1))
              << pattern << " on " << Visible(text);
          ASSERT_EQ(Execute(text, 0, after), ModelExecute(model, heap, flags, 0))
              << pattern << " on " << Visible(text);
        }
      }
    }
  }
}

}  // namespace
}  // namespace trovex
