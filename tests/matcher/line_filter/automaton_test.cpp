// The automaton: analysis, closure, states, tables, execution, and growth.

#include "matcher/line_filter/automaton_builder.h"
#include "matcher/line_filter/automaton_executor.h"
#include "tests/matcher/line_filter/automaton_run.h"

#include <gtest/gtest.h>
#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::Compiled;
using testing::CountTables;
using testing::EndOfMatch;
using testing::HeapText;
using testing::StreamText;
using testing::TakeError;

std::ptrdiff_t End(std::string_view pattern, std::string_view text, bool multiline = false) {
  PatternAutomaton automaton = Compiled(pattern);
  EXPECT_EQ(TakeError(), MessageNumber::kNone) << pattern;
  return EndOfMatch(automaton, text, {.multiline = multiline});
}

std::ptrdiff_t FoldedEnd(std::string_view pattern, std::string_view text) {
  PatternAutomaton automaton = Compiled(pattern, true);
  EXPECT_EQ(TakeError(), MessageNumber::kNone) << pattern;
  return EndOfMatch(automaton, text);
}

// Analysis and closure.

TEST(AutomatonAnalysis, FollowSetsOfAConcatenation) {
  const PatternAutomaton automaton = Compiled("ab");
  ASSERT_EQ(StreamText(automaton), "a b . END0 .");
  EXPECT_EQ(automaton.followSets[0], (PositionSet{{1, kNoConstraint}}));
  EXPECT_EQ(automaton.followSets[1], (PositionSet{{3, kNoConstraint}}));
  EXPECT_TRUE(automaton.followSets[3].empty());
}

TEST(AutomatonAnalysis, RepetitionFollowsItself) {
  const PatternAutomaton star = Compiled("(ab)*");
  ASSERT_EQ(StreamText(star), "a b . * END0 .");
  EXPECT_EQ(star.followSets[1], (PositionSet{{4, kNoConstraint}, {0, kNoConstraint}}));
  EXPECT_EQ(star.states[0].positions, (PositionSet{{4, kNoConstraint}, {0, kNoConstraint}}));

  const PatternAutomaton plus = Compiled("(ab)+");
  EXPECT_EQ(plus.followSets[1], (PositionSet{{4, kNoConstraint}, {0, kNoConstraint}}));
  EXPECT_EQ(plus.states[0].positions, (PositionSet{{0, kNoConstraint}}));
}

TEST(AutomatonAnalysis, OptionalOperandCanBeSkipped) {
  const PatternAutomaton automaton = Compiled("ab?c");
  ASSERT_EQ(StreamText(automaton), "a b ? . c . END0 .");
  EXPECT_EQ(automaton.followSets[0], (PositionSet{{4, kNoConstraint}, {1, kNoConstraint}}));
}

TEST(AutomatonAnalysis, AlternativesBeginAndEndTogether) {
  const PatternAutomaton automaton = Compiled("(a|b)c");
  ASSERT_EQ(StreamText(automaton), "a b | c . END0 .");
  EXPECT_EQ(automaton.states[0].positions, (PositionSet{{1, kNoConstraint}, {0, kNoConstraint}}));
  EXPECT_EQ(automaton.followSets[0], (PositionSet{{3, kNoConstraint}}));
  EXPECT_EQ(automaton.followSets[1], (PositionSet{{3, kNoConstraint}}));
}

TEST(AutomatonAnalysis, BackReferenceMayMatchNothing) {
  const PatternAutomaton automaton = Compiled("a\\1b");
  ASSERT_EQ(StreamText(automaton), "a \\1 . b . END0 .");
  EXPECT_EQ(automaton.followSets[0], (PositionSet{{3, kNoConstraint}, {1, kNoConstraint}}));
}

TEST(AutomatonAnalysis, EmptyStringIsNoPosition) {
  const PatternAutomaton automaton = Compiled("a()b");
  ASSERT_EQ(StreamText(automaton), "a e . b . END0 .");
  EXPECT_EQ(automaton.followSets[0], (PositionSet{{3, kNoConstraint}}));
}

TEST(AutomatonAnalysis, EachAnchorLeavesItsConstraint) {
  const std::vector<std::pair<std::string, Constraint>> anchors = {
      {"^", 0xCF}, {"$", 0xAF}, {"\\<", 0xF2}, {"\\>", 0xF4}, {"\\b", 0xF6}, {"\\B", 0xF9}};
  for (const auto& [anchor, constraint] : anchors) {
    const PatternAutomaton automaton = Compiled("a" + anchor + "b");
    EXPECT_EQ(automaton.followSets[0], (PositionSet{{3, constraint}})) << anchor;
  }
}

TEST(AutomatonAnalysis, AnchorsInARowNarrowTheConstraintTogether) {
  EXPECT_EQ(Compiled("a$\\>b").followSets[0], (PositionSet{{5, 0xA4}}));
}

TEST(AutomatonAnalysis, RoadsToOnePositionWidenItsConstraint) {
  EXPECT_EQ(Compiled("a(^|$)b").followSets[0], (PositionSet{{5, 0xEF}}));
  EXPECT_EQ(Compiled("a^?b").followSets[0], (PositionSet{{4, kNoConstraint}}));
}

TEST(AutomatonAnalysis, AnchorIsEnteredOnceInAClosure) {
  // From "a" the line start is reached directly and through the line end, which has the greater
  // index and is taken out first. What the line end leads to is merged before the line start is
  // taken out, so the line start passes on no constraint of the line end.
  const PatternAutomaton automaton = Compiled("a(^|$)*b");
  ASSERT_EQ(StreamText(automaton), "a ^ $ | * . b . END0 .");
  EXPECT_EQ(automaton.followSets[0], (PositionSet{{6, kNoConstraint}}));

  // The second time an anchor comes up, it is dropped: the constraint stays that of the first.
  const PatternAutomaton repeated = Compiled("a(^$)+b");
  ASSERT_EQ(StreamText(repeated), "a ^ $ . + . b . END0 .");
  EXPECT_EQ(repeated.followSets[0], (PositionSet{{6, 0x8F}}));
}

TEST(AutomatonAnalysis, StartDependsOnTheNewlineBeforeIt) {
  EXPECT_TRUE(Compiled("^a").states[0].newlineContext);
  EXPECT_FALSE(Compiled("a").states[0].newlineContext);
  EXPECT_FALSE(Compiled("\\<a").states[0].newlineContext);
  EXPECT_FALSE(Compiled("\\<a").states[0].letterContext);
}

TEST(AutomatonAnalysis, StateKnowsItsEnds) {
  const PatternAutomaton plain = Compiled("a*");
  EXPECT_EQ(plain.states[0].acceptConstraint, kNoConstraint);
  EXPECT_EQ(plain.states[0].firstEnd, EndMarker(0));
  EXPECT_FALSE(plain.states[0].hasBackref);

  const PatternAutomaton none = Compiled("a");
  EXPECT_EQ(none.states[0].acceptConstraint, 0);
  EXPECT_EQ(none.states[0].firstEnd, 0);

  EXPECT_EQ(Compiled("$").states[0].acceptConstraint, 0xAF);

  const PatternAutomaton backref = Compiled("\\1a");
  EXPECT_TRUE(backref.states[0].hasBackref);
  EXPECT_EQ(backref.states[0].acceptConstraint, kNoConstraint);
}

TEST(AutomatonAnalysis, SeveralPatternsEndWithTheirOwnMarkers) {
  PatternAutomaton automaton;
  AutomatonSetSyntax(automaton, kPatternSyntax, false);
  AutomatonParse("ab", 2, automaton);
  AutomatonParse("c*", 2, automaton);
  AnalyseAutomaton(automaton, true);
  EXPECT_EQ(automaton.states[0].firstEnd, EndMarker(1));
  EXPECT_EQ(EndOfMatch(automaton, "xab"), 0);
}

// The record.

TEST(AutomatonRecord, IsEmptyOnceItIsInitialised) {
  PatternAutomaton automaton = Compiled("(ab|[cd])*e", true);
  ASSERT_EQ(EndOfMatch(automaton, "xABe"), 4);
  AutomatonInit(automaton);
  EXPECT_TRUE(automaton.tokens.empty() && automaton.sets.empty() && automaton.states.empty() &&
              automaton.followSets.empty() && automaton.mustList.empty());
  EXPECT_EQ(automaton.depth + automaton.leaves + automaton.patterns + automaton.builtTableCount, 0);
  EXPECT_FALSE(automaton.searchFlag);
  EXPECT_TRUE(automaton.syntax.wasSet && automaton.syntax.fold) << "the syntax stays";
}

TEST(AutomatonRecord, TakesAnotherPatternInPlaceOfTheOneItHeld) {
  const PatternAutomatonPtr automaton(new PatternAutomaton(Compiled("[ab]+c")));
  ASSERT_EQ(EndOfMatch(*automaton, "abc"), 3);
  AutomatonCompile("x(y|z)", 6, *automaton, true);
  EXPECT_EQ(StreamText(*automaton), StreamText(Compiled("x(y|z)")));
  EXPECT_EQ(EndOfMatch(*automaton, "abc"), -1);
  EXPECT_EQ(EndOfMatch(*automaton, "abxz"), 4);
}

// Execution.

TEST(AutomatonExecution, ReturnsThePlaceAfterTheFirstMatch) {
  EXPECT_EQ(End("abc", "xxabcabc"), 5);
  EXPECT_EQ(End("ab|abc", "xabc"), 3);
  EXPECT_EQ(End("a.c", "abxaxc"), 6);
  EXPECT_EQ(End("abc", "xxabd"), -1);
}

TEST(AutomatonExecution, MatchMayEndAtTheEndOfTheText) {
  EXPECT_EQ(End("abc", "abc"), 3);
  EXPECT_EQ(End("c", "abc"), 3);
}

TEST(AutomatonExecution, EmptyTextMatchesWhatMatchesNothing) {
  EXPECT_EQ(End("x*", ""), 0);
  EXPECT_EQ(End("", ""), 0);
  EXPECT_EQ(End("^$", ""), 0);
  EXPECT_EQ(End("x", ""), -1);
}

TEST(AutomatonExecution, WritesANewlineAfterTheText) {
  PatternAutomaton automaton = Compiled("abc");
  HeapText text("xyz", 'c');
  EXPECT_EQ(AutomatonExecute(automaton, text.Data(), text.Data() + 3, false, nullptr, nullptr),
            nullptr);
  EXPECT_EQ(text.After(), '\n');
}

TEST(AutomatonExecution, LinesAreMatchedByThemselves) {
  EXPECT_EQ(End("ab", "a\nb"), -1);
  EXPECT_EQ(End("ab", "a\nb\nab"), 6);
  EXPECT_EQ(End("a[^x]b", "a\nb"), -1);
  EXPECT_EQ(End("a.b", "a\nb"), -1);
  EXPECT_EQ(End("a\\Wb", "a\nb"), -1);
}

TEST(AutomatonExecution, LineAnchors) {
  EXPECT_EQ(End("^b", "ab\nb"), 4);
  EXPECT_EQ(End("a$", "ab\na"), 4);
  EXPECT_EQ(End("a$", "ab\na\n"), 4);
  EXPECT_EQ(End("^$", "a\n\nb"), 2);
  EXPECT_EQ(End("^$", "a\n"), 2);
  EXPECT_EQ(End("^a$", "aa\nba\nab"), -1);
  EXPECT_EQ(End("\\`b\\'", "ab\nb\nb"), 4);
}

TEST(AutomatonExecution, LineStartInsideALineNeverMatches) {
  EXPECT_EQ(End("a^b", "ab"), -1);
  EXPECT_EQ(End("a^b", "a\nb"), -1);
  EXPECT_EQ(End("a$b", "ab"), -1);
  EXPECT_EQ(End("a$b", "a\nb"), -1);
}

TEST(AutomatonExecution, WordAnchors) {
  EXPECT_EQ(End("\\<b", "ab b"), 4);
  EXPECT_EQ(End("a\\>", "ab a"), 4);
  EXPECT_EQ(End("a\\>", "ab a-"), 4);
  EXPECT_EQ(End("\\bb\\b", "ab b"), 4);
  EXPECT_EQ(End("\\Bb", "b ab"), 4);
  EXPECT_EQ(End("a\\B", "a ab"), 3);
  EXPECT_EQ(End("\\<a\\>", "aa ba ab"), -1);
  EXPECT_EQ(End("\\<", "-- a"), 3);
  EXPECT_EQ(End("\\>", "-- a-"), 4);
  EXPECT_EQ(End("\\<a", "a"), 1);
  EXPECT_EQ(End("\\<a", "b\na"), 3);
}

TEST(AutomatonExecution, UnderscoreAndHighBytesAreNoLettersForWordAnchors) {
  EXPECT_EQ(End("\\<b", "_b"), 2);
  EXPECT_EQ(End("a\\>", "a_"), 1);
  EXPECT_EQ(End("\\<ber\\>",
                "\xFC"
                "ber"),
            4);
  EXPECT_EQ(End("\\w", "_\xE4"), -1);
  EXPECT_EQ(End("\\W", "_"), 1);
}

TEST(AutomatonExecution, WhiteSpaceAndItsComplement) {
  EXPECT_EQ(End("a\\sb", "a_b a\tb"), 7);
  EXPECT_EQ(End("a\\Sb",
                "a b a\xE4"
                "b"),
            7);
  EXPECT_EQ(End("\\S", " \t \n \r"), -1);
}

TEST(AutomatonExecution, SharpEndsOfIntervals) {
  EXPECT_EQ(End("xa{2}y", "xay xaaay xaay"), 14);
  EXPECT_EQ(End("xa{0}y", "xaay"), 4);
  EXPECT_EQ(End("xa{3,1}y", "xay xaay xaaay"), 14);
  EXPECT_EQ(End("xa{,2}y", "xaaay"), -1);
}

TEST(AutomatonExecution, NulIsAByteLikeAnyOther) {
  EXPECT_EQ(End(std::string_view("a\0b", 3), std::string_view("ab\0a\0b", 6)), 6);
  EXPECT_EQ(End("a.b", std::string_view("a\0b", 3)), 3);
}

TEST(AutomatonExecution, FoldedPatternMatchesBothCases) {
  EXPECT_EQ(FoldedEnd("Hello", "say hELLO"), 9);
  EXPECT_EQ(FoldedEnd("\xC4rger", "\xE4RGER"), 5);
  EXPECT_EQ(FoldedEnd("[a-c]x", "BX"), 2);
  EXPECT_EQ(FoldedEnd("stra\xDF"
                      "e",
                      "STRASSE"),
            -1);
}

TEST(AutomatonExecution, FoldingStaysSwitchedOnAfterACompile) {
  EXPECT_TRUE(Compiled("a", true).syntax.fold);
}

TEST(AutomatonExecution, BackReferenceMakesACandidate) {
  PatternAutomaton automaton = Compiled("(a|b)x\\1");
  bool backref = false;
  EXPECT_EQ(EndOfMatch(automaton, "--axb", {.backref = &backref}), 4);
  EXPECT_TRUE(backref);
}

TEST(AutomatonExecution, MatchWithoutABackReferenceIsNoCandidate) {
  PatternAutomaton automaton = Compiled("ab|(c)\\1");
  bool backref = true;
  EXPECT_EQ(EndOfMatch(automaton, "xab", {.backref = &backref}), 3);
  EXPECT_FALSE(backref);
  EXPECT_EQ(EndOfMatch(automaton, "xc", {.backref = &backref}), 2);
  EXPECT_TRUE(backref);
}

TEST(AutomatonExecution, BackrefOutputIsUntouchedWithoutAMatch) {
  PatternAutomaton automaton = Compiled("(c)\\1");
  bool backref = true;
  EXPECT_EQ(EndOfMatch(automaton, "xyz", {.backref = &backref}), -1);
  EXPECT_TRUE(backref);
}

TEST(AutomatonExecution, MultilineMatchGoesOnAfterANewline) {
  EXPECT_EQ(End("a\\\nb", "a\nb", true), 3);
  EXPECT_EQ(End("a\\Wb", "a\nb", true), 3);
  EXPECT_EQ(End("a\\W^b", "a\nb", true), 3);
  EXPECT_EQ(End("a$\\Wb", "a\nb", true), 3);
  EXPECT_EQ(End("a$\\W^b", "ab a-b a\nb", true), 10);
  EXPECT_EQ(End("a\\\nb", "a\nb", false), -1);
}

TEST(AutomatonExecution, MultilineScanFindsWhatLiesOnOneLine) {
  EXPECT_EQ(End("ab", "a\nb\nab", true), 6);
  EXPECT_EQ(End("^b", "ab\nb", true), 4);
  EXPECT_EQ(End("a$", "ab\na", true), 4);
}

TEST(AutomatonExecution, CountsTheNewlinesPassed) {
  for (const bool multiline : {false, true}) {
    PatternAutomaton automaton = Compiled("x");
    int count = 5;
    EXPECT_EQ(EndOfMatch(automaton, "a\n\nbx\n", {.multiline = multiline, .newlineCount = &count}),
              5);
    EXPECT_EQ(count, 7);
  }
}

TEST(AutomatonExecution, CountsNeitherTheNewlineWrittenAtTheEndNorOneTwice) {
  PatternAutomaton automaton = Compiled("x");
  int count = 0;
  EXPECT_EQ(EndOfMatch(automaton, "a\nb\n", {.newlineCount = &count}), -1);
  EXPECT_EQ(count, 2);
  count = 0;
  EXPECT_EQ(EndOfMatch(automaton, "", {.newlineCount = &count}), -1);
  EXPECT_EQ(count, 0);
}

TEST(AutomatonExecution, RunsAgainWithTheTablesOfTheLastRun) {
  PatternAutomaton automaton = Compiled("a+b$");
  EXPECT_EQ(EndOfMatch(automaton, "xaab"), 4);
  const std::ptrdiff_t tables = CountTables(automaton);
  EXPECT_EQ(EndOfMatch(automaton, "xaab"), 4);
  EXPECT_EQ(EndOfMatch(automaton, "xaa"), -1);
  EXPECT_EQ(EndOfMatch(automaton, "xaab"), 4);
  EXPECT_EQ(CountTables(automaton), tables);
  EXPECT_EQ(automaton.builtTableCount, tables);
}

TEST(AutomatonExecution, TablesAreBuiltOnlyForStatesThatTheTextReaches) {
  PatternAutomaton automaton = Compiled("abcdefgh");
  EXPECT_EQ(CountTables(automaton), 0);
  EXPECT_EQ(EndOfMatch(automaton, "xxxx"), -1);
  EXPECT_EQ(CountTables(automaton), 1);
  EXPECT_EQ(EndOfMatch(automaton, "xabx"), -1);
  EXPECT_EQ(CountTables(automaton), 3);
}

TEST(AutomatonExecution, AcceptingStatesStayOutOfTheFastLoop) {
  PatternAutomaton automaton = Compiled("ab$");
  EXPECT_EQ(EndOfMatch(automaton, "abab"), 4);
  for (std::size_t state = 0; state < automaton.failTables.size(); ++state) {
    if (automaton.states[state].acceptConstraint != 0) {
      EXPECT_EQ(automaton.transitionsOf[state], kNoTable);
    } else {
      EXPECT_EQ(automaton.failTables[state], nullptr);
    }
  }
}

TEST(AutomatonExecution, EveryTableLeavesTheFastLoopOnANewline) {
  PatternAutomaton automaton = Compiled("a\\Wb|[^x]$");
  EndOfMatch(automaton, "a b\nx\na", {.multiline = true});
  ASSERT_FALSE(automaton.transitions.empty());
  for (std::size_t table = 0; table < automaton.transitions.size(); table += 256) {
    EXPECT_EQ(automaton.transitions[table + '\n'], StopAt(kNoState));
  }
  for (const auto& table : automaton.failTables) {
    EXPECT_TRUE(table == nullptr || (*table)['\n'] == kNoState);
  }
}

TEST(AutomatonExecution, WithoutTheSearchFlagAMatchBeginsAtTheStart) {
  PatternAutomaton automaton = Compiled("ab", false, false);
  EXPECT_EQ(EndOfMatch(automaton, "abx"), 2);
  EXPECT_EQ(automaton.states[1].positions, (PositionSet{{1, kNoConstraint}}));
}

TEST(AutomatonExecution, FaultyPatternsCompileWithoutHarm) {
  for (const char* pattern : {"(", "a)", "[", "a{", "a{x", "\\", "(a|", "((a)", "a|*(b[", "^\\"}) {
    for (const bool fold : {false, true}) {
      Compiled(pattern, fold);
      EXPECT_NE(TakeError(), MessageNumber::kNone) << pattern;
    }
  }
}

// Growth.

/// Has 65536 states: whether "a" stood there is kept for each of the last fifteen bytes.
constexpr std::string_view kManyStates = "(a|b)*a(a|b){14}c";
constexpr std::size_t kReach = 15;

/// Whether a match of kManyStates ends after the byte at `c`.
bool MatchEndsAfter(const std::string& text, std::size_t c) {
  if (text[c] != 'c' || c < kReach || text[c - kReach] != 'a') return false;
  for (std::size_t i = c - kReach; i < c; ++i) {
    if (text[i] != 'a' && text[i] != 'b') return false;
  }
  return true;
}

/// Text of "a" and "b" at random, with a "c" now and then that ends no match of kManyStates; every
/// 64 kilobytes or so a new line begins.
std::string TextWithoutMatch(std::size_t length, unsigned seed) {
  std::mt19937 random(seed);
  std::string text(length, 'b');
  for (std::size_t i = 0; i < length; ++i) {
    const unsigned die = static_cast<unsigned>(random());
    text[i] = (die & 1) != 0 ? 'a' : 'b';
    if (die >> 16 == 0) text[i] = '\n';
    if ((die >> 1 & 0xFF) == 0) {
      text[i] = 'c';
      if (MatchEndsAfter(text, i)) text[i] = 'b';
    }
  }
  return text;
}

TEST(AutomatonGrowth, MatchesRightlyFarBeyondTheMostTables) {
  constexpr unsigned kSeed = 20;
  std::mt19937 random(kSeed);
  PatternAutomaton automaton = Compiled(kManyStates);
  for (int round = 0; round < 10; ++round) {
    std::string text = TextWithoutMatch(20000, static_cast<unsigned>(random()));
    EXPECT_EQ(EndOfMatch(automaton, text), -1) << "seed " << kSeed << ", round " << round;

    const std::size_t c = 1000 + random() % (text.size() - 1000);
    text.replace(c - kReach, kReach + 1, "abababababababac");
    ASSERT_TRUE(MatchEndsAfter(text, c));
    EXPECT_EQ(EndOfMatch(automaton, text), static_cast<std::ptrdiff_t>(c + 1))
        << "seed " << kSeed << ", round " << round;
    EXPECT_LE(CountTables(automaton), kMaxBuiltTables);
    EXPECT_EQ(CountTables(automaton), automaton.builtTableCount);
  }
  EXPECT_GT(automaton.states.size(), 20U * kMaxBuiltTables);
}

TEST(AutomatonGrowth, TenMillionBytesNeedNoMoreThanTheStatesThatThereAre) {
  PatternAutomaton automaton = Compiled("(a|b)*a(a|b){8}d");
  const std::string part = TextWithoutMatch(100000, 1);
  EXPECT_EQ(EndOfMatch(automaton, part), -1);
  const std::size_t states = automaton.states.size();
  EXPECT_GE(states, 512U);

  std::string text;
  for (int i = 0; i < 100; ++i)
    text += part;
  EXPECT_EQ(EndOfMatch(automaton, text), -1);
  EXPECT_EQ(automaton.states.size(), states);
  EXPECT_LE(CountTables(automaton), kMaxBuiltTables);
}

TEST(AutomatonGrowth, StatesThatHoldTooManyPositionsAreForgotten) {
  PatternAutomaton automaton = Compiled("(a|b)*a(a|b){400}d");
  const std::string text = TextWithoutMatch(60000, 3);
  // A state holds some 200 positions; all states together would hold 12,000,000.
  EXPECT_EQ(EndOfMatch(automaton, text), -1);
  EXPECT_LE(automaton.heldPositions, kMaxHeldPositions + std::size_t{2000} * kMaxBuiltTables);

  const std::string match = text + "\na" + std::string(400, 'b') + "d";
  EXPECT_EQ(EndOfMatch(automaton, match), static_cast<std::ptrdiff_t>(match.size()));
  EXPECT_LE(CountTables(automaton), kMaxBuiltTables);
}

TEST(AutomatonGrowth, MultilineScanSurvivesTheFlush) {
  PatternAutomaton automaton = Compiled("a(a|b){12}\\W^b");
  std::mt19937 random(7);
  std::string text;
  while (text.size() < 60000) {
    text += (random() & 1) != 0 ? 'a' : 'b';
    // A line that ends in such a way that no match goes on after it.
    if (random() % 500 == 0)
      text += text.size() > 12 && text[text.size() - 13] == 'a' ? "\na" : "\n";
  }
  text += "\na";
  EXPECT_EQ(EndOfMatch(automaton, text, {.multiline = true}), -1);
  const std::string matching = text + "bbbbbabbbbbbbbbbbb\nb";
  EXPECT_EQ(EndOfMatch(automaton, matching, {.multiline = true}),
            static_cast<std::ptrdiff_t>(matching.size()));
  EXPECT_GT(automaton.states.size(), 4U * kMaxBuiltTables);
  EXPECT_LE(CountTables(automaton), kMaxBuiltTables);
}

}  // namespace
}  // namespace trovex
