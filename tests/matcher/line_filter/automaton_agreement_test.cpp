// The automaton against the engine: every small pattern over a small alphabet with every small
// line, and random patterns with random texts.
//
// The automaton stands in front of the engine, so it must never turn away a line that the engine
// matches. Without anchors, back-references and intervals from zero it must accept no other line
// either. What the two read differently has a test of its own at the end.

#include "matcher/engine/regular_expression.h"
#include "tests/matcher/line_filter/automaton_run.h"
#include "tests/matcher/small_cases.h"
#include "tests/sanitizers.h"
#include "text/case_helpers.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::AllStrings;
using testing::Alphabet;
using testing::Compiled;
using testing::EndOfMatch;
using testing::Strings;
using testing::TakeError;

enum class Agreement {
  kNeverTurnsAway,  // the automaton accepts what the engine matches, and maybe more
  kSame,
};

ByteMap UpperCaseMap() {
  ByteMap map{};
  for (std::size_t c = 0; c < map.size(); ++c) {
    map[c] = static_cast<unsigned char>(ToUpperGer(static_cast<int>(c)));
  }
  return map;
}

bool CompileRegex(RegularExpression& regex, const std::string& pattern, bool fold) {
  const ByteMap map = UpperCaseMap();
  return regex.Compile(pattern.data(), pattern.size(), fold ? &map : nullptr) ==
         MessageNumber::kNone;
}

bool EngineMatches(RegularExpression& regex, std::string_view line) {
  MatchRegisters registers(true);
  return regex.Search(line.data(), static_cast<int>(line.size()), 0, registers) >= 0;
}

/// Holds both against each other on every line of `lines`; returns false at the first failure.
/// Patterns that either of them refuses are left out; `compared` counts the others.
bool AgreeOnLines(const std::string& pattern, const Strings& lines, bool fold, Agreement agreement,
                  int& compared) {
  RegularExpression regex;
  if (!CompileRegex(regex, pattern, fold)) return true;
  PatternAutomaton automaton = Compiled(pattern, fold);
  if (TakeError() != MessageNumber::kNone) return true;
  ++compared;
  for (const std::string& line : lines) {
    const bool matches = EngineMatches(regex, line);
    const bool accepts = EndOfMatch(automaton, line) >= 0;
    if (accepts == matches || (accepts && agreement == Agreement::kNeverTurnsAway)) continue;
    ADD_FAILURE() << "pattern /" << pattern << "/ line \"" << line << "\": the engine "
                  << (matches ? "matches" : "does not match") << ", the automaton "
                  << (accepts ? "accepts" : "turns away");
    return false;
  }
  return true;
}

void ExpectAgreement(const Alphabet& alphabet, Agreement agreement, int atLeast,
                     bool fold = false) {
  const Strings lines = AllStrings(alphabet.letters, alphabet.maxLetters);
  int failures = 0;
  int compared = 0;
  for (const std::string& pattern : AllStrings(alphabet.pieces, alphabet.maxPieces)) {
    if (!AgreeOnLines(pattern, lines, fold, agreement, compared) && ++failures == 20) break;
  }
  EXPECT_GE(compared, atLeast);
}

TEST(AutomatonAgreement, OperatorsAreReadAlike) {
  ExpectAgreement({{"a", "b", "(", ")", "|", "*", "?", "+", ".", "[^a]"}, 5, {"a", "b"}, 4},
                  Agreement::kSame, 30000);
}

TEST(AutomatonAgreement, NoLineIsTurnedAwayForItsAnchors) {
  ExpectAgreement({{"a", "b", "(", ")", "|", "*", "?", "^", "$", "."}, 5, {"a", "b"}, 4},
                  Agreement::kNeverTurnsAway, 30000);
}

TEST(AutomatonAgreement, NoLineIsTurnedAwayForItsWordAnchors) {
  ExpectAgreement({{"a", "\\<", "\\>", "\\b", "\\B", "(", ")", "|", "*", " "}, 5, {"a", " "}, 4},
                  Agreement::kNeverTurnsAway, 30000);
}

TEST(AutomatonAgreement, AnchorsOutsideOfRepetitionsAreReadAlike) {
  ExpectAgreement({{"a", "b", "(", ")", "|", "^", "$", "."}, 5, {"a", "b"}, 4}, Agreement::kSame,
                  10000);
  ExpectAgreement({{"a", "\\`", "\\'", "(", ")", "|", "."}, 5, {"a", "b"}, 3}, Agreement::kSame,
                  5000);
}

TEST(AutomatonAgreement, SetsAreReadAlike) {
  ExpectAgreement({{"a", "\\w", "\\W", "\\s", "\\S", ".", "[^a]", "(", ")", "|", "*"},
                   4,
                   {"a", "-", "\t", "\xE4"},
                   3},
                  Agreement::kSame, 7000);
}

TEST(AutomatonAgreement, BracketExpressionsAreReadAlike) {
  ExpectAgreement({{"a", "[", "]", "^", "-", "b", "."}, 6, {"a", "b", "-", "]", "^", "[", "."}, 2},
                  Agreement::kNeverTurnsAway, 50000);
  ExpectAgreement({{"a", "[", "]", "\\", "-", "w"}, 6, {"a", "w", "-", "]", "[", "\\"}, 2},
                  Agreement::kSame, 20000);
}

TEST(AutomatonAgreement, NoLineIsTurnedAwayForItsIntervals) {
  ExpectAgreement({{"a", "b", "(", ")", "|", "{0}", "{2}", "{,2}", "{2,}", "{1,2}", "*"},
                   4,
                   {"a", "b", "1", "{"},
                   4},
                  Agreement::kNeverTurnsAway, 7000);
  ExpectAgreement({{"a", "{", "}", "1", "2", ","}, 6, {"a", "1", "2", "{", "}"}, 2},
                  Agreement::kNeverTurnsAway, 20000);
}

TEST(AutomatonAgreement, IntervalsAfterAnOperandAreReadAlike) {
  ExpectAgreement({{"a{2}", "a{1,2}", "b{2,}", "(", "){2}", "){,2}", "|", "a"}, 5, {"a", "b"}, 5},
                  Agreement::kSame, 2000);
}

TEST(AutomatonAgreement, NoLineIsTurnedAwayForItsBackReferences) {
  ExpectAgreement({{"a", "b", "(", ")", "|", "*", "\\1", "?", "^"}, 5, {"a", "b"}, 4},
                  Agreement::kNeverTurnsAway, 5000);
}

TEST(AutomatonAgreement, FoldedPatternsAreReadAlike) {
  ExpectAgreement(
      {{"a", "A", "\xE4", "\xC4", "\xDF", "[^a]", "[\xE4]", "\\w", "\\W", ".", "(", ")", "|", "*"},
       4,
       {"a", "A", "\xE4", "\xC4", "\xDF", "b"},
       3},
      Agreement::kSame, 20000, true);
}

// At random.

/// A text of several lines, and random patterns over all that both read alike.
class RandomCases {
 public:
  explicit RandomCases(unsigned seed) : random_(seed) {}

  std::size_t Below(std::size_t limit) { return random_() % limit; }

  /// At most one anchor, and no repeated group besides it.
  std::string Pattern() {
    std::string pattern = Alternatives(3);
    if (Below(3) == 0) {
      static const Strings kAnchors = {"^", "$", "\\<", "\\>", "\\b", "\\B", "\\`", "\\'"};
      const std::string& anchor = kAnchors[Below(kAnchors.size())];
      pattern = Below(2) == 0 ? anchor + pattern : pattern + anchor;
    }
    return pattern;
  }

  std::string Text() {
    static const std::string kBytes("abcABC01 -\t\xE4\xC4\xFC\xDC\xDF\xFF\0\n\n", 20);
    std::string text;
    for (std::size_t i = Below(40); i > 0; --i)
      text += kBytes[Below(kBytes.size())];
    return text;
  }

 private:
  std::string Alternatives(int depth) {
    std::string alternatives = Concatenation(depth);
    while (Below(4) == 0)
      alternatives.append(Below(5) == 0 ? "\n" : "|").append(Concatenation(depth));
    return alternatives;
  }

  std::string Concatenation(int depth) {
    static const Strings kPostfixes = {"*", "+", "?", "{2}", "{1,3}", "{2,}", "{,2}"};
    std::string concatenation;
    for (std::size_t i = 1 + Below(3); i > 0; --i) {
      concatenation += Atom(depth);
      if (Below(3) == 0) concatenation += kPostfixes[Below(kPostfixes.size())];
    }
    return concatenation;
  }

  std::string Atom(int depth) {
    static const Strings kAtoms = {"a",    "b",   "B",     "0",      "\xE4",       "\xDC",
                                   "\xDF", ".",   "[ab]",  "[^b]",   "\\w",        "\\W",
                                   "\\s",  "\\S", "[0-9]", "[a-c]",  "[\xE4\xFC]", "\\.",
                                   "-",    " ",   "[A-C]", "[^\t ]", "[]\\a-]"};
    if (depth > 0 && Below(5) == 0) {
      return std::string("(").append(Alternatives(depth - 1)).append(")");
    }
    return kAtoms[Below(kAtoms.size())];
  }

  std::mt19937 random_;
};

/// The number of the line on which `offset` lies.
std::ptrdiff_t LineOf(std::string_view text, std::ptrdiff_t offset) {
  return std::count(text.begin(), text.begin() + offset, '\n');
}

/// The number of the first line of `text` that the engine matches; -1 when there is none.
std::ptrdiff_t FirstLineOfEngine(RegularExpression& regex, std::string_view text) {
  for (std::ptrdiff_t number = 0;; ++number) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    if (EngineMatches(regex, text.substr(0, length))) return number;
    if (length == text.size()) return -1;
    text.remove_prefix(length + 1);
  }
}

TEST(AutomatonAgreement, FindsTheSameFirstLineInRandomTexts) {
  constexpr unsigned kSeed = 4711;
  RandomCases cases(kSeed);
  int found = 0;
  int compared = 0;
  for (int round = 0; round < testing::CasesToTry(20'000); ++round) {
    const std::string pattern = cases.Pattern();
    const bool fold = round % 2 == 1;
    RegularExpression regex;
    ASSERT_TRUE(CompileRegex(regex, pattern, fold)) << pattern;
    PatternAutomaton automaton = Compiled(pattern, fold);
    ASSERT_EQ(TakeError(), MessageNumber::kNone) << pattern;
    for (int i = 0; i < 10; ++i) {
      const std::string text = cases.Text();
      const std::ptrdiff_t line = FirstLineOfEngine(regex, text);
      const std::ptrdiff_t end = EndOfMatch(automaton, text);
      ASSERT_EQ(end < 0 ? -1 : LineOf(text, end), line)
          << "pattern /" << pattern << "/ fold " << fold << " text \"" << text << "\" seed "
          << kSeed << ", round " << round;
      ++compared;
      found += line >= 0 ? 1 : 0;
    }
  }
  EXPECT_GT(found, compared / 4);
  EXPECT_LT(found, compared * 9 / 10);
}

// Readings that differ.

struct Reading {
  bool engine;
  bool automaton;

  bool operator==(const Reading&) const = default;
};

constexpr Reading kTurnedAway = {true, false};
constexpr Reading kCandidate = {false, true};

Reading ReadingOf(const std::string& pattern, std::string_view line, bool fold = false) {
  RegularExpression regex;
  EXPECT_TRUE(CompileRegex(regex, pattern, fold)) << pattern;
  PatternAutomaton automaton = Compiled(pattern, fold);
  EXPECT_EQ(TakeError(), MessageNumber::kNone) << pattern;
  return {EngineMatches(regex, line), EndOfMatch(automaton, line) >= 0};
}

TEST(AutomatonReadings, UnderscoreIsNoLetter) {
  EXPECT_EQ(ReadingOf("\\w", "_"), kTurnedAway);
  EXPECT_EQ(ReadingOf("\\W", "_"), kCandidate);
  EXPECT_EQ(ReadingOf("\\<_", "_"), kTurnedAway);
  EXPECT_EQ(ReadingOf("\\Ba", "_a"), kTurnedAway);
  EXPECT_EQ(ReadingOf("\\ba", "_a"), kCandidate);
}

TEST(AutomatonReadings, IntervalFromZeroToZeroIsAStar) {
  EXPECT_EQ(ReadingOf("^xa{0}y", "xaay"), kCandidate);
}

TEST(AutomatonReadings, IntervalWithoutAnOperandRepeatsNothing) {
  EXPECT_EQ(ReadingOf("{1}b", "b"), kCandidate);
}

TEST(AutomatonReadings, BraceWithoutAnIntervalIsAnError) {
  for (const std::string pattern : {"{", "{x", "a|{"}) {
    RegularExpression regex;
    EXPECT_TRUE(CompileRegex(regex, pattern, false)) << pattern;
    Compiled(pattern);
    EXPECT_NE(TakeError(), MessageNumber::kNone) << pattern;
  }
}

TEST(AutomatonReadings, FoldedRangeCountsBytesAsTheyAre) {
  EXPECT_EQ(ReadingOf("[a-Z]", "b", true), kTurnedAway);
  EXPECT_EQ(ReadingOf("[^Z-a]", "a", true), kTurnedAway);
  EXPECT_EQ(ReadingOf("[Z-a]", "^", true), kCandidate);
}

TEST(AutomatonReadings, CollatingElementIsASetOfItsCharacters) {
  EXPECT_EQ(ReadingOf("[[.a.]]", "a"), kTurnedAway);
  EXPECT_EQ(ReadingOf("[[.a.]]", "a]"), (Reading{true, true}));
  EXPECT_EQ(ReadingOf("[[=a=]]", "a"), kTurnedAway);
}

TEST(AutomatonReadings, EndsAfterSeveralAnchorsAreAcceptedUnderAnyOfTheirConditions) {
  EXPECT_EQ(ReadingOf("\\B|a^", "a"), kCandidate);
}

TEST(AutomatonReadings, QuantifiedAnchorMayBeSkipped) {
  EXPECT_EQ(ReadingOf("^*a", "ba"), kCandidate);
  EXPECT_EQ(ReadingOf("a$?", "ab"), kCandidate);
}

TEST(AutomatonReadings, AnchorThatTwoAnchorsLeadToKeepsTheConditionOfOne) {
  EXPECT_EQ(ReadingOf("(\\b|^)\\b", "-a"), kTurnedAway);
  EXPECT_EQ(ReadingOf("(^|\\b)^", ""), kTurnedAway);
  EXPECT_EQ(ReadingOf("(\\<|\\>)\\<a", "a"), kTurnedAway);
}

TEST(AutomatonReadings, AnchorInARepeatedGroupHoldsInEveryRound) {
  EXPECT_EQ(ReadingOf("(^a){2}", "aa"), kTurnedAway);
  EXPECT_EQ(ReadingOf("(^a)+$", "aa"), kTurnedAway);
  EXPECT_EQ(ReadingOf("(\\ba)+b", "aab"), kTurnedAway);
}

}  // namespace
}  // namespace trovex
