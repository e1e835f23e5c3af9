// The automaton's parser: token streams, character sets, every syntax bit, every error.

#include "matcher/line_filter/automaton_parser.h"

#include "tests/matcher/line_filter/automaton_text.h"
#include "text/case_helpers.h"

#include <gtest/gtest.h>
#include <regex.h>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::Members;
using testing::Parsed;
using testing::StreamText;
using testing::TakeError;

constexpr unsigned long kNothing = 0;  // the syntax without any bit

/// The stream of `pattern` without its end, " END0 .".
std::string Stream(std::string_view pattern, unsigned long syntax = kPatternSyntax,
                   bool fold = false) {
  const PatternAutomaton automaton = Parsed(pattern, syntax, fold);
  EXPECT_EQ(TakeError(), MessageNumber::kNone) << pattern;
  std::string text = StreamText(automaton);
  constexpr std::string_view kEnd = " END0 .";
  EXPECT_TRUE(text.ends_with(kEnd)) << text;
  return text.substr(0, text.size() - kEnd.size());
}

/// The members of the one set that `pattern` consists of.
std::string SetMembers(std::string_view pattern, unsigned long syntax = kPatternSyntax,
                       bool fold = false) {
  EXPECT_EQ(Stream(pattern, syntax, fold), "S0") << pattern;
  return Members(Parsed(pattern, syntax, fold).sets.at(0));
}

MessageNumber ErrorOf(std::string_view pattern, unsigned long syntax = kPatternSyntax) {
  Parsed(pattern, syntax);
  return TakeError();
}

// The stream.

TEST(AutomatonParser, WritesOperandsBeforeOperators) {
  EXPECT_EQ(Stream("a"), "a");
  EXPECT_EQ(Stream("abc"), "a b . c .");
  EXPECT_EQ(Stream("ab*"), "a b * .");
  EXPECT_EQ(Stream("a+b?"), "a + b ? .");
  EXPECT_EQ(Stream("a*+?"), "a * + ?");
  EXPECT_EQ(Stream("(ab)*c"), "a b . * c .");
}

TEST(AutomatonParser, TellsAlternativesOfTheWholePatternFromThoseInAGroup) {
  EXPECT_EQ(Stream("a|b|c"), "a b || c ||");
  EXPECT_EQ(Stream("(a|b)"), "a b |");
  EXPECT_EQ(Stream("(a|b)|c"), "a b | c ||");
}

TEST(AutomatonParser, MissingOperandIsTheEmptyString) {
  EXPECT_EQ(Stream(""), "e");
  EXPECT_EQ(Stream("()"), "e");
  EXPECT_EQ(Stream("a||b"), "a e || b ||");
  EXPECT_EQ(Stream("a|"), "a e ||");
  EXPECT_EQ(Stream("|a"), "e a ||");
  EXPECT_EQ(Stream("*a"), "e * a .");
  EXPECT_EQ(Stream("(|)"), "e e |");
  EXPECT_EQ(Stream("{2}a"), "e e . a .");
}

TEST(AutomatonParser, SecondPatternIsJoinedToTheFirst) {
  PatternAutomaton automaton = Parsed("ab");
  AutomatonParse("c", 1, automaton);
  EXPECT_EQ(StreamText(automaton), "a b . END0 . c END1 . ||");
  EXPECT_EQ(automaton.patterns, 2);
  EXPECT_EQ(automaton.tokens.at(6), -2);
}

TEST(AutomatonParser, CountsStackDepthAndLeaves) {
  PatternAutomaton automaton = Parsed("a(b|cd*)");
  EXPECT_EQ(StreamText(automaton), "a b c d * . | . END0 .");
  EXPECT_EQ(automaton.depth, 4);
  EXPECT_EQ(automaton.leaves, 5);  // a, b, c, d and the end marker
}

TEST(AutomatonParser, EmptyStringRaisesTheDepthButIsNoLeaf) {
  const PatternAutomaton automaton = Parsed("()");
  EXPECT_EQ(automaton.depth, 2);
  EXPECT_EQ(automaton.leaves, 1);
}

TEST(AutomatonParser, NulIsAnOrdinaryByte) {
  const PatternAutomaton automaton = Parsed(std::string_view("a\0b", 3));
  EXPECT_EQ(automaton.tokens,
            (std::vector<Token>{'a', 0, TokConcat, 'b', TokConcat, TokEnd, TokConcat}));
}

TEST(AutomatonParser, BytesFrom128AreOrdinary) {
  const PatternAutomaton automaton = Parsed("\xFC");
  EXPECT_EQ(automaton.tokens.at(0), 0xFC);
}

TEST(AutomatonParser, SubexpressionLengthCoversOneOperand) {
  const PatternAutomaton automaton = Parsed("a(bc|d)*");
  ASSERT_EQ(StreamText(automaton), "a b c . d | * . END0 .");
  EXPECT_EQ(SubexpressionLength(automaton, 1), 1U);
  EXPECT_EQ(SubexpressionLength(automaton, 4), 3U);
  EXPECT_EQ(SubexpressionLength(automaton, 6), 5U);
  EXPECT_EQ(SubexpressionLength(automaton, 7), 6U);
  EXPECT_EQ(SubexpressionLength(automaton, 8), 8U);
}

// Intervals.

TEST(AutomatonParser, IntervalIsWrittenOut) {
  EXPECT_EQ(Stream("a{1}"), "a");
  EXPECT_EQ(Stream("a{3}"), "a a . a .");
  EXPECT_EQ(Stream("a{2,4}"), "a a . a ? . a ? .");
  EXPECT_EQ(Stream("(ab){2}"), "a b . a b . .");
  EXPECT_EQ(Stream("xa{2}"), "x a a . .");
  EXPECT_EQ(Stream("a{2}{2}"), "a a . a a . .");
  EXPECT_EQ(Stream("a{2}*"), "a a . *");
}

TEST(AutomatonParser, IntervalWithoutMaximumRepeatsTheFirstCopy) {
  EXPECT_EQ(Stream("a{2,}"), "a + a .");
  EXPECT_EQ(Stream("a{1,}"), "a +");
}

TEST(AutomatonParser, IntervalFromZeroMakesTheFirstCopyOptional) {
  EXPECT_EQ(Stream("a{0,1}"), "a ?");
  EXPECT_EQ(Stream("a{0,2}"), "a ? a ? .");
  EXPECT_EQ(Stream("a{,5}"), "a ? a ? . a ? . a ? . a ? .");
}

TEST(AutomatonParser, IntervalOfZeroIsAStar) {
  EXPECT_EQ(Stream("a{0}"), "a + ?");
  EXPECT_EQ(Stream("a{0,0}"), "a + ?");
  EXPECT_EQ(Stream("a{0,}"), "a + ?");
  EXPECT_EQ(Stream("a{,}"), "a + ?");
}

TEST(AutomatonParser, MaximumBelowTheMinimumIsExceeded) {
  EXPECT_EQ(Stream("a{3,1}"), "a a . a .");
}

TEST(AutomatonParser, IntervalAtTheStartRepeatsNothing) {
  EXPECT_EQ(Stream("{3}"), "e e . e .");
  EXPECT_EQ(Stream("({2,})"), "e + e .");
}

TEST(AutomatonParser, TooGreatBoundWrapsAround) {
  EXPECT_EQ(Stream("a{4294967298}"), "a a .");
}

TEST(AutomatonParser, BadByteInAnIntervalIsInvalid) {
  for (const char* pattern : {"a{x", "a{}", "a{3x}", "a{3,x}", "a{3,4x", "a{-1}", "a{ 1}"}) {
    EXPECT_EQ(ErrorOf(pattern), MessageNumber::kInvalidRepetition) << pattern;
  }
}

TEST(AutomatonParser, EndInsideAnIntervalIsIncomplete) {
  for (const char* pattern : {"a{", "a{3", "a{3,", "a{3,4", "a{,", "{"}) {
    EXPECT_EQ(ErrorOf(pattern), MessageNumber::kIncompleteRepetition) << pattern;
  }
}

TEST(AutomatonParser, BackslashedIntervalClosesWithABackslashToo) {
  EXPECT_EQ(Stream("a\\{2\\}", RE_INTERVALS), "a a .");
  EXPECT_EQ(Stream("a\\{2,3\\}", RE_INTERVALS), "a a . a ? .");
  EXPECT_EQ(Stream("a{2}", RE_INTERVALS), "a { . 2 . } .");
  EXPECT_EQ(ErrorOf("a\\{2}", RE_INTERVALS), MessageNumber::kInvalidRepetition);
  EXPECT_EQ(ErrorOf("a\\{2\\", RE_INTERVALS), MessageNumber::kIncompleteRepetition);
  EXPECT_EQ(ErrorOf("a\\{2\\x", RE_INTERVALS), MessageNumber::kInvalidRepetition);
}

TEST(AutomatonParser, WithoutIntervalsBracesAreOrdinary) {
  EXPECT_EQ(Stream("a{2}", RE_NO_BK_BRACES), "a { . 2 . } .");
  EXPECT_EQ(Stream("a\\{2", kNothing), "a { . 2 .");
}

// Operators and the syntax bits.

TEST(AutomatonParser, NewlineSeparatesAlternativesUnderItsBit) {
  EXPECT_EQ(Stream("a\nb"), "a b ||");
  EXPECT_EQ(Stream("a\nb", kNothing), "a \n . b .");
  EXPECT_EQ(Stream("a\nb", RE_NEWLINE_ALT | RE_LIMITED_OPS), "a \n . b .");
  EXPECT_EQ(Stream("a\\\nb"), "a \n . b .");
}

TEST(AutomatonParser, DollarIsAnAnchorAnywhereUnderIndependentAnchors) {
  EXPECT_EQ(Stream("a$b"), "a $ . b .");
}

TEST(AutomatonParser, DollarIsOtherwiseAnAnchorAtAnEndOnly) {
  EXPECT_EQ(Stream("a$", kNothing), "a $ .");
  EXPECT_EQ(Stream("a$b", kNothing), "a $ . b .");
  EXPECT_EQ(Parsed("a$b", kNothing).tokens.at(1), '$');
  EXPECT_EQ(Parsed("a$", kNothing).tokens.at(1), TokLineEnd);
  TakeError();
}

TEST(AutomatonParser, DollarIsAnAnchorBeforeTheCloseOfAGroup) {
  EXPECT_EQ(Parsed("(a$)", RE_NO_BK_PARENS).tokens.at(1), TokLineEnd);
  EXPECT_EQ(Parsed("(a$\\)", RE_NO_BK_PARENS).tokens.at(1), '$');
  EXPECT_EQ(Parsed("\\(a$\\)", kNothing).tokens.at(1), TokLineEnd);
  EXPECT_EQ(Parsed("a$)", kNothing).tokens.at(1), '$');
  TakeError();
}

TEST(AutomatonParser, DollarIsAnAnchorBeforeAnAlternation) {
  EXPECT_EQ(Parsed("a$|b", RE_NO_BK_VBAR).tokens.at(1), TokLineEnd);
  EXPECT_EQ(Parsed("a$\\|b", RE_NO_BK_VBAR).tokens.at(1), '$');
  EXPECT_EQ(Parsed("a$\\|b", kNothing).tokens.at(1), TokLineEnd);
  EXPECT_EQ(Parsed("a$|b", kNothing).tokens.at(1), '$');
  EXPECT_EQ(Parsed("a$|b", RE_NO_BK_VBAR | RE_LIMITED_OPS).tokens.at(1), TokLineEnd);
  EXPECT_EQ(Parsed("a$\nb", RE_NEWLINE_ALT).tokens.at(1), TokLineEnd);
  EXPECT_EQ(Parsed("a$\nb", kNothing).tokens.at(1), '$');
  EXPECT_EQ(TakeError(), MessageNumber::kNone);
}

TEST(AutomatonParser, CaretIsAnAnchorAnywhereUnderIndependentAnchors) {
  EXPECT_EQ(Parsed("a^b").tokens.at(1), TokLineStart);
  EXPECT_EQ(Parsed("[a]^b").tokens.at(1), TokLineStart);
}

TEST(AutomatonParser, CaretIsOtherwiseAnAnchorAtAStartOnly) {
  EXPECT_EQ(Parsed("^a", kNothing).tokens.at(0), TokLineStart);
  EXPECT_EQ(Parsed("(^a)", RE_NO_BK_PARENS).tokens.at(0), TokLineStart);
  EXPECT_EQ(Parsed("a|^b", RE_NO_BK_VBAR).tokens.at(1), TokLineStart);
  EXPECT_EQ(Parsed("[a]^b", kNothing).tokens.at(1), '^');
  EXPECT_EQ(Parsed("(a)^b", RE_NO_BK_PARENS).tokens.at(1), '^');
  EXPECT_EQ(Parsed("a*^b", kNothing).tokens.at(2), '^');
  EXPECT_EQ(TakeError(), MessageNumber::kNone);
}

TEST(AutomatonParser, OrdinaryBytesLeaveNoTraceBeforeACaret) {
  EXPECT_EQ(Parsed("a^b", kNothing).tokens.at(1), TokLineStart);
  EXPECT_EQ(Parsed("(ab^c)", RE_NO_BK_PARENS).tokens.at(3), TokLineStart);
  EXPECT_EQ(TakeError(), MessageNumber::kNone);
}

TEST(AutomatonParser, FoldedLetterLeavesATraceBeforeACaret) {
  EXPECT_EQ(Stream("a^b", kNothing, true), "S0 ^ . S1 .");
  EXPECT_EQ(Parsed("a^b", kNothing, true).tokens.at(1), '^');
}

TEST(AutomatonParser, BackslashedAnchorsAreOrdinary) {
  EXPECT_EQ(Parsed("\\^").tokens.at(0), '^');
  EXPECT_EQ(Parsed("\\$").tokens.at(0), '$');
}

TEST(AutomatonParser, GroupsAreBackslashedUnlessTheBitSaysOtherwise) {
  EXPECT_EQ(Stream("\\(a\\)*", kNothing), "a *");
  EXPECT_EQ(Stream("(a)", kNothing), "( a . ) .");
  EXPECT_EQ(Stream("\\(a\\)", RE_NO_BK_PARENS), "( a . ) .");
}

TEST(AutomatonParser, UnmatchedClosingBracketIsAnErrorOrOrdinary) {
  EXPECT_EQ(ErrorOf("ab)"), MessageNumber::kMissingOpeningBracket);
  EXPECT_EQ(ErrorOf(")"), MessageNumber::kMissingOpeningBracket);
  EXPECT_EQ(Stream("ab)", kPatternSyntax | RE_UNMATCHED_RIGHT_PAREN_ORD), "a b . ) .");
  EXPECT_EQ(Stream("(a))", kPatternSyntax | RE_UNMATCHED_RIGHT_PAREN_ORD), "a ) .");
}

TEST(AutomatonParser, UnmatchedClosingBracketLeavesNoEndMarker) {
  const PatternAutomaton automaton = Parsed("ab)");
  EXPECT_EQ(TakeError(), MessageNumber::kMissingOpeningBracket);
  EXPECT_EQ(StreamText(automaton), "a b .");
  EXPECT_EQ(automaton.patterns, 0);
}

TEST(AutomatonParser, UnclosedGroupIsAnError) {
  EXPECT_EQ(ErrorOf("(ab"), MessageNumber::kMissingClosingBracket);
  EXPECT_EQ(ErrorOf("("), MessageNumber::kMissingClosingBracket);
  EXPECT_EQ(ErrorOf("((a)"), MessageNumber::kMissingClosingBracket);
}

TEST(AutomatonParser, LaterErrorTakesThePlaceOfAnEarlierOne) {
  EXPECT_EQ(ErrorOf("(a{x"), MessageNumber::kMissingClosingBracket);
}

TEST(AutomatonParser, VerticalBarIsBackslashedUnlessTheBitSaysOtherwise) {
  EXPECT_EQ(Stream("a\\|b", kNothing), "a b ||");
  EXPECT_EQ(Parsed("a|b", kNothing).tokens.at(1), '|');
  EXPECT_EQ(Parsed("a\\|b").tokens.at(1), '|');
}

TEST(AutomatonParser, LimitedOperatorsLackAlternationPlusAndQuestionMark) {
  EXPECT_EQ(Parsed("a|b", RE_NO_BK_VBAR | RE_LIMITED_OPS).tokens.at(1), '|');
  EXPECT_EQ(Parsed("a\\|b", RE_LIMITED_OPS).tokens.at(1), '|');
  EXPECT_EQ(Parsed("a+", RE_LIMITED_OPS).tokens.at(1), '+');
  EXPECT_EQ(Parsed("a?", RE_LIMITED_OPS).tokens.at(1), '?');
  EXPECT_EQ(Parsed("a*", RE_LIMITED_OPS).tokens.at(1), TokStar);
}

TEST(AutomatonParser, PlusAndQuestionMarkAreBackslashedUnderTheirBit) {
  EXPECT_EQ(Stream("a\\+b\\?", RE_BK_PLUS_QM), "a + b ? .");
  EXPECT_EQ(Parsed("a+", RE_BK_PLUS_QM).tokens.at(1), '+');
  EXPECT_EQ(Parsed("a+", RE_BK_PLUS_QM).tokens.at(2), TokConcat);
  EXPECT_EQ(Parsed("a\\+", kNothing).tokens.at(2), TokConcat);
  EXPECT_EQ(Parsed("a\\?", kNothing).tokens.at(2), TokConcat);
  EXPECT_EQ(Parsed("a+", kNothing).tokens.at(1), TokPlus);
  EXPECT_EQ(Parsed("a?", kNothing).tokens.at(1), TokOptional);
}

TEST(AutomatonParser, PostfixOperatorWithoutAnOperandIsOrdinary) {
  for (const std::string op : {"*", "+", "?"}) {
    EXPECT_EQ(Parsed(op + "a", kNothing).tokens.at(0), op[0]) << op;
    EXPECT_EQ(Parsed(std::string("(").append(op).append("a)"), RE_NO_BK_PARENS).tokens.at(0), op[0])
        << op;
    EXPECT_EQ(Parsed(std::string("a|").append(op), RE_NO_BK_VBAR).tokens.at(1), op[0]) << op;
    EXPECT_EQ(Parsed(std::string("^").append(op), kNothing).tokens.at(1), op[0]) << op;
    EXPECT_EQ(Parsed(std::string("\\<").append(op), kNothing).tokens.at(1), op[0]) << op;
    EXPECT_EQ(Parsed(std::string("\\'").append(op), kNothing).tokens.at(1), op[0]) << op;
  }
  EXPECT_EQ(TakeError(), MessageNumber::kNone);
}

TEST(AutomatonParser, PostfixOperatorHasAnOperandAfterEveryAtom) {
  for (const std::string atom : {"a", ".", "[a]", "\\w", "\\s", "\\1", "()", "a{1}"}) {
    const PatternAutomaton automaton =
        Parsed(atom + "*", RE_NO_BK_PARENS | RE_INTERVALS | RE_NO_BK_BRACES);
    EXPECT_EQ(automaton.tokens.at(1), TokStar) << atom;
  }
}

TEST(AutomatonParser, LoneBackslashIsAnError) {
  EXPECT_EQ(ErrorOf("a\\"), MessageNumber::kTrailingBackslash);
  EXPECT_EQ(ErrorOf("\\"), MessageNumber::kTrailingBackslash);
  EXPECT_EQ(Stream("a\\\\"), "a \\ .");
}

TEST(AutomatonParser, BackslashTakesTheMeaningFromAnOperator) {
  EXPECT_EQ(Parsed("\\*").tokens.at(0), '*');
  EXPECT_EQ(Parsed("\\.").tokens.at(0), '.');
  EXPECT_EQ(Parsed("\\[").tokens.at(0), '[');
  EXPECT_EQ(Parsed("\\d").tokens.at(0), 'd');
}

TEST(AutomatonParser, BackReferencesAreDigitsFromOneToNine) {
  for (const char* pattern : {"(a)\\1", "(a)\\9"}) {
    EXPECT_EQ(Parsed(pattern).tokens.at(1), TokBackref) << pattern;
  }
  EXPECT_EQ(Parsed("(a)\\0").tokens.at(1), '0');
  EXPECT_EQ(Parsed("a\\1", kPatternSyntax | RE_NO_BK_REFS).tokens.at(1), '1');
}

TEST(AutomatonParser, WordAndLineAnchors) {
  EXPECT_EQ(Stream("\\<\\>\\b\\B"), "\\< \\> . \\b . \\B .");
  EXPECT_EQ(Stream("\\`a\\'"), "^ a . $ .");
}

TEST(AutomatonParser, PlainAnchorLettersAreOrdinary) {
  EXPECT_EQ(Stream("<>bB`'wWsS"), "< > . b . B . ` . ' . w . W . s . S .");
}

// Sets.

TEST(AutomatonParser, DotIsEveryByteButTheNewline) {
  const CharSet set = Parsed(".").sets.at(0);
  EXPECT_EQ(set.count(), 255U);
  EXPECT_FALSE(set['\n']);
}

TEST(AutomatonParser, DotTakesTheNewlineAndLeavesTheNulUnderTheirBits) {
  EXPECT_EQ(Parsed(".", RE_DOT_NEWLINE).sets.at(0).count(), 256U);
  const CharSet notNull = Parsed(".", RE_DOT_NEWLINE | RE_DOT_NOT_NULL).sets.at(0);
  EXPECT_EQ(notNull.count(), 255U);
  EXPECT_FALSE(notNull[0]);
}

TEST(AutomatonParser, WordBytesAreLettersAndDigitsBelow128) {
  EXPECT_EQ(SetMembers("\\w"), "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
  const CharSet other = Parsed("\\W").sets.at(0);
  EXPECT_EQ(other, ~Parsed("\\w").sets.at(0));
  EXPECT_TRUE(other['_'] && other[228] && other['\n']);
}

TEST(AutomatonParser, SpaceBytesAreTheWhiteSpaceBelow128) {
  EXPECT_EQ(SetMembers("\\s"), "\t\n\v\f\r ");
  EXPECT_EQ(Parsed("\\S").sets.at(0), ~Parsed("\\s").sets.at(0));
}

TEST(AutomatonParser, BracketExpressionHoldsItsMembersAndRanges) {
  EXPECT_EQ(SetMembers("[ab]"), "ab");
  EXPECT_EQ(SetMembers("[a-d]"), "abcd");
  EXPECT_EQ(SetMembers("[xa-c0-2]"), "012abcx");
  EXPECT_EQ(SetMembers("[\xF0-\xF2]"), "\xF0\xF1\xF2");
  EXPECT_EQ(Parsed(std::string_view("[\x01-\xFF]", 5)).sets.at(0).count(), 255U);
}

TEST(AutomatonParser, ClosingBracketInTheFirstPlaceIsAMember) {
  EXPECT_EQ(SetMembers("[]a]"), "]a");
  EXPECT_EQ(SetMembers("[]]"), "]");
  EXPECT_FALSE(Parsed("[^]a]").sets.at(0)[']']);
}

TEST(AutomatonParser, HyphenAtAnEndIsAMember) {
  EXPECT_EQ(SetMembers("[a-]"), "-a");
  EXPECT_EQ(SetMembers("[-a]"), "-a");
  EXPECT_EQ(SetMembers("[-]"), "-");
  EXPECT_EQ(SetMembers("[--/]"), "-./");
  EXPECT_EQ(SetMembers("[a-c-e]"), "-abce");
}

TEST(AutomatonParser, ReversedRangeAddsNothing) {
  EXPECT_EQ(SetMembers("[z-a]"), "");
  EXPECT_EQ(SetMembers("[z-ab]"), "b");
  EXPECT_EQ(ErrorOf("[z-a"), MessageNumber::kUnmatchedSquareBracket);
}

TEST(AutomatonParser, ClassNamesAreNotKnown) {
  const PatternAutomaton automaton = Parsed("[[:digit:]]");
  EXPECT_EQ(StreamText(automaton), "S0 ] . END0 .");
  EXPECT_EQ(Members(automaton.sets.at(0)), ":[dgit");
  EXPECT_EQ(Members(Parsed("[[:digit:]]", kPatternSyntax | RE_CHAR_CLASSES).sets.at(0)), ":[dgit");
}

TEST(AutomatonParser, CollatingElementsAreNotKnown) {
  const PatternAutomaton automaton = Parsed("[[.a.]]");
  EXPECT_EQ(StreamText(automaton), "S0 ] . END0 .");
  EXPECT_EQ(Members(automaton.sets.at(0)), ".[a");
}

TEST(AutomatonParser, NegatedBracketExpressionLeavesOutTheNewlineUnderItsBit) {
  const CharSet set = Parsed("[^a]").sets.at(0);
  EXPECT_EQ(set.count(), 254U);
  EXPECT_FALSE(set['a'] || set['\n']);
  EXPECT_EQ(Parsed("[^a]", kNothing).sets.at(0).count(), 255U);
  EXPECT_EQ(SetMembers("[a^]"), "^a");
}

TEST(AutomatonParser, BackslashInABracketExpressionIsAMemberOrAnEscape) {
  EXPECT_EQ(SetMembers("[\\a]"), "\\a");
  constexpr unsigned long kEscapes = kPatternSyntax | RE_BACKSLASH_ESCAPE_IN_LISTS;
  EXPECT_EQ(SetMembers("[\\a]", kEscapes), "a");
  EXPECT_EQ(SetMembers("[a\\]]", kEscapes), "]a");
  EXPECT_EQ(SetMembers("[a-\\c]", kEscapes), "abc");
  EXPECT_EQ(SetMembers("[\\\\]", kEscapes), "\\");
  EXPECT_EQ(ErrorOf("[\\", kEscapes), MessageNumber::kUnmatchedSquareBracket);
  EXPECT_EQ(ErrorOf("[a-\\", kEscapes), MessageNumber::kUnmatchedSquareBracket);
}

TEST(AutomatonParser, EndInsideABracketExpressionIsAnError) {
  for (const char* pattern : {"[", "[^", "[a", "[ab", "[]", "[^]", "[a-", "[a-c"}) {
    EXPECT_EQ(ErrorOf(pattern), MessageNumber::kUnmatchedSquareBracket) << pattern;
  }
}

TEST(AutomatonParser, EqualSetsAreStoredOnce) {
  const PatternAutomaton automaton = Parsed("[ab][ba][c][a-b]");
  EXPECT_EQ(StreamText(automaton), "S0 S0 . S1 . S0 . END0 .");
  EXPECT_EQ(automaton.sets.size(), 2U);
}

// Folding.

TEST(AutomatonParser, FoldedLetterIsTheSetOfBothCases) {
  EXPECT_EQ(SetMembers("a", kPatternSyntax, true), "Aa");
  EXPECT_EQ(SetMembers("A", kPatternSyntax, true), "Aa");
  EXPECT_EQ(SetMembers("\\d", kPatternSyntax, true), "Dd");
  EXPECT_EQ(Stream("a1A", kPatternSyntax, true), "S0 1 . S0 .");
}

TEST(AutomatonParser, FoldedUmlautsArePairs) {
  EXPECT_EQ(SetMembers("\xC4", kPatternSyntax, true), "\xC4\xE4");
  EXPECT_EQ(SetMembers("\xE4", kPatternSyntax, true), "\xC4\xE4");
  EXPECT_EQ(SetMembers("\xF6", kPatternSyntax, true), "\xD6\xF6");
  EXPECT_EQ(SetMembers("\xDC", kPatternSyntax, true), "\xDC\xFC");
}

TEST(AutomatonParser, SharpSHasNoOtherCase) {
  EXPECT_EQ(Parsed("\xDF", kPatternSyntax, true).tokens.at(0), 0xDF);
}

TEST(AutomatonParser, FoldedBracketExpressionHoldsBothCases) {
  EXPECT_EQ(SetMembers("[A-C]", kPatternSyntax, true), "ABCabc");
  EXPECT_EQ(SetMembers("[b]", kPatternSyntax, true), "Bb");
  EXPECT_EQ(SetMembers("[\xE4]", kPatternSyntax, true), "\xC4\xE4");
  const CharSet negated = Parsed("[^a]", kPatternSyntax, true).sets.at(0);
  EXPECT_FALSE(negated['a'] || negated['A']);
}

TEST(AutomatonParser, FoldingPairsAgreeWithTheEnginesTranslation) {
  for (int c = 1; c < 256; ++c) {
    const char byte = static_cast<char>(c);
    const std::string pattern = std::string("[") + byte + "]";
    if (byte == '^') continue;
    const CharSet set = Parsed(pattern, kPatternSyntax, true).sets.at(0);
    for (int d = 0; d < 256; ++d) {
      EXPECT_EQ(set[static_cast<std::size_t>(d)], ToUpperGer(c) == ToUpperGer(d)) << c << ' ' << d;
    }
  }
}

// The syntax.

TEST(AutomatonParser, SyntaxStaysUntilItIsSetAgain) {
  PatternAutomaton automaton;
  AutomatonSetSyntax(automaton, kPatternSyntax, true);
  AutomatonParse("a", 1, automaton);
  AutomatonParse("a", 1, automaton);
  EXPECT_EQ(StreamText(automaton), "S0 END0 . S0 END1 . ||");
  EXPECT_EQ(Members(automaton.sets.at(0)), "Aa");
  AutomatonSetSyntax(automaton, kPatternSyntax, false);
  AutomatonParse("a", 1, automaton);
  EXPECT_EQ(StreamText(automaton), "S0 END0 . S0 END1 . || a END2 . ||");
}

TEST(AutomatonParser, ALaterFaultTakesThePlaceOfAnEarlierOne) {
  PatternAutomaton automaton;
  AutomatonSetSyntax(automaton, kPatternSyntax, false);
  AutomatonParse("a)", 2, automaton);
  EXPECT_EQ(automaton.fault, MessageNumber::kMissingOpeningBracket);
  AutomatonParse("[a", 2, automaton);
  EXPECT_EQ(automaton.fault, MessageNumber::kUnmatchedSquareBracket);
  AutomatonParse("a", 1, automaton);
  EXPECT_EQ(automaton.fault, MessageNumber::kUnmatchedSquareBracket) << "and stays";
}

TEST(AutomatonParser, WithoutASyntaxNothingIsParsed) {
  PatternAutomaton automaton;
  AutomatonParse("a", 1, automaton);
  EXPECT_EQ(automaton.fault, MessageNumber::kInvalidSyntax);
  EXPECT_TRUE(automaton.tokens.empty());
}

}  // namespace
}  // namespace trovex
