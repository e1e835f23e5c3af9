// The language of the second door: operators, brackets, tags, distances, and every sentence that an
// expression may get.

#include "query/query_parser.h"

#include "tests/query/query_text.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <variant>

namespace trovex {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

QueryOptions Options() {
  QueryOptions options;
  options.caseSensitive = true;
  return options;
}

QueryOptions Phonetic() {
  QueryOptions options = Options();
  options.phonetic = true;
  return options;
}

/// The tree of an expression, or its fault: the number and what of the expression it is about.
std::string Read(std::string_view expression, const QueryOptions& options = Options()) {
  const auto result = ParseQuery(expression, options);
  if (const auto* fault = std::get_if<QueryFault>(&result)) {
    const TypedRange typed = fault->typed;
    return std::to_string(static_cast<unsigned>(fault->number)) + " at " +
           std::string(expression.substr(typed.begin, typed.end - typed.begin));
  }
  return testing::TypedText(std::get<ParsedQuery>(result), expression);
}

/// With the trees of the patterns.
std::string Trees(std::string_view expression, const QueryOptions& options = Options()) {
  const auto result = ParseQuery(expression, options);
  if (const auto* fault = std::get_if<QueryFault>(&result)) {
    return std::to_string(static_cast<unsigned>(fault->number));
  }
  return testing::QueryText(std::get<ParsedQuery>(result));
}

TEST(QueryParser, APatternIsEverythingBetweenTheOperators) {
  EXPECT_EQ(Read("Haus"), "'Haus'");
  EXPECT_EQ(Read("kleines Haus & Garten"), "{'kleines Haus' & 'Garten'}");
  EXPECT_EQ(Read("  Haus  "), "'Haus'");
  EXPECT_EQ(Read("\tHaus\r\n"), "'Haus'");
}

TEST(QueryParser, OrBindsTighterThanAnd) {
  EXPECT_EQ(Read("Haus|Hof & Garten"), "{'Haus|Hof' & 'Garten'}");
  EXPECT_EQ(Read("~Haus|Hof & Garten"), "{{~Haus|'Hof'} & 'Garten'}");
}

TEST(QueryParser, ChainsAreOneNode) {
  EXPECT_EQ(Read("a & b &5 c&d"), "{'a' & 'b' &5 'c' & 'd'}");
  EXPECT_EQ(Read("~a|b|~c|d|e"), "{~a|'b'|~c|'d|e'}");
}

TEST(QueryParser, NotReachesOverAnEither) {
  EXPECT_EQ(Read("!a & b"), "{!'a' & 'b'}");
  EXPECT_EQ(Read("!a|b & c"), "{!'a|b' & 'c'}");
  EXPECT_EQ(Read("a & !b & c"), "{'a' & !'b' & 'c'}");
  EXPECT_EQ(Read("a &!b"), "{'a' & !'b'}");
  EXPECT_EQ(Read("! a"), "!'a'");
}

TEST(QueryParser, TwoNotsTakeEachOtherAway) {
  EXPECT_EQ(Read("!!a"), "'a'");
  EXPECT_EQ(Read("! ! ! a"), "!'a'");
  EXPECT_EQ(Read("!(!a)"), "'a'#1");
  EXPECT_EQ(Read("(!(!(a)))"), "'a'#3#2#1");
  EXPECT_EQ(Read("!!(!a)"), "!'a'#1");
}

TEST(QueryParser, ABracketThatIsAWholeTermGroupsOperands) {
  EXPECT_EQ(Read("((a & b))"), "{'a' & 'b'}#2#1");
  EXPECT_EQ(Read("(a & b) &5 c"), "{{'a' & 'b'}#1 &5 'c'}");
  EXPECT_EQ(Read("a & (b & c)"), "{'a' & {'b' & 'c'}#1}");
  EXPECT_EQ(Read("( Haus )"), "'Haus'#1");
  EXPECT_EQ(Read("(Haus & Garten)|(Hof & Zaun)"), "{{'Haus' & 'Garten'}#1|{'Hof' & 'Zaun'}#2}");
  EXPECT_EQ(Read("a|(!b)"), "{'a'|!'b'#1}");
  EXPECT_EQ(Read("( a & b ) | c"), "{{'a' & 'b'}#1|'c'}");
}

TEST(QueryParser, ABracketBesideSomethingIsAPieceOfAPattern) {
  EXPECT_EQ(Trees("(a)(b)"), "'1:<1(a)2(b)>'");
  EXPECT_EQ(Trees("(ein|eine) (Hund)"), "'1:<1(<<ein>|<eine>>) 2(<Hund>)>'");
  EXPECT_EQ(Trees("(a )?b"), "'1:<1(<a >){0,1}b>'");
  EXPECT_EQ(Trees("x( a | b )"), "'1:<x1(<< a >|< b >>)>'");
  EXPECT_EQ(Trees("((a)) b"), "'1:<1(2(a)) b>'");
  EXPECT_EQ(Trees("(a)\\ "), "'1:<1(a) >'");
}

TEST(QueryParser, TagsCountEveryBracketThatIsNoOrdinaryCharacter) {
  EXPECT_EQ(Read("(a) & \\(b\\) & [(] & (c)"), "{'a'#1 & '\\(b\\)' & '[(]' & 'c'#2}");
  EXPECT_EQ(Trees("(a & (b)) & x(c)(d) & (e)"), "{{'a' & 'b'#2}#1 & '3:<x1(c)2(d)>' & 'e'#5}");
}

TEST(QueryParser, NeighbouringAlternativesThatArePatternsAreOnePattern) {
  EXPECT_EQ(Trees("(Haus)|(Hof)"), "'1:<1(<Haus>)|2(<Hof>)>'");
  EXPECT_EQ(Trees("((a)|(b))|c"), "'1:<1(<2(a)|3(b)>)|c>'");
  EXPECT_EQ(Trees("( a | b )|c"), "'1:<1(<a|b>)|c>'");
  EXPECT_EQ(Trees("a | b"), "'<a|b>'");
  EXPECT_EQ(Trees("a|~b|c|d"), "{'a'|~b|'<c|d>'}");
  EXPECT_EQ(Trees("(a)|~b"), "{'a'#1|~b}");
  EXPECT_EQ(Trees("(a|(b & c))|d"), "{{'a'|{'b' & 'c'}#2}#1|'d'}");
}

TEST(QueryParser, ALineFeedSeparatesAlternatives) {
  EXPECT_EQ(Trees("a\nb"), "'<a|b>'");
  EXPECT_EQ(Trees("a \n b"), "'<a|b>'");
  EXPECT_EQ(Trees("a &\nb\n"), "{'a' & 'b'}");
  EXPECT_EQ(Trees("(\na\n)"), "'a'#1");
}

TEST(QueryParser, BlanksInsideAPatternCount) {
  EXPECT_EQ(Trees("a  b"), "'<a  b>'");
  EXPECT_EQ(Trees("a *"), "'<a {0,}>'");
  EXPECT_EQ(Trees("\\ a\\ "), "'< a >'");
  EXPECT_EQ(Trees("[ ]|a"), "'< |a>'");
}

TEST(QueryParser, InASetNoOperatorCounts) {
  EXPECT_EQ(Trees("[.!?]"), "'[!.?]'");
  EXPECT_EQ(Trees("[&]"), "'&'");
  EXPECT_EQ(Trees("[(]|[|~]"), "'<(|[|~]>'");
}

TEST(QueryParser, ADistanceStandsDirectlyAfterTheSign) {
  EXPECT_EQ(Read("a &20 b"), "{'a' &20 'b'}");
  EXPECT_EQ(Read("a & 20 b"), "{'a' & '20 b'}");
  EXPECT_EQ(Read("a &20Haus"), "{'a' &20 'Haus'}");
  EXPECT_EQ(Read("a &-5"), "{'a' & '-5'}");
  EXPECT_EQ(Read("a &0 b"), "{'a' &0 'b'}");
  EXPECT_EQ(Read("a &99999999999999999999999 b"), "{'a' &9223372036854775807 'b'}");
  EXPECT_EQ(Read("a &9223372036854775806 b"), "{'a' &9223372036854775806 'b'}");
  EXPECT_EQ(Read("a &20!b"), "{'a' &20 !'b'}");
  EXPECT_EQ(Read("a &20~b"), "{'a' &20 ~b}");
}

TEST(QueryParser, ADistanceInWordsEndsAtABlankOrABracket) {
  EXPECT_EQ(Read("a &5w b"), "{'a' &5w 'b'}");
  EXPECT_EQ(Read("a &5w(b)"), "{'a' &5w 'b'#1}");
  EXPECT_EQ(Read("a &5wb"), "{'a' &5 'wb'}");
  EXPECT_EQ(Read("a &5W b"), "{'a' &5 'W b'}");
  EXPECT_EQ(Read("a &w b"), "{'a' & 'w b'}");
  EXPECT_EQ(Read("a &5 w"), "{'a' &5 'w'}");
  EXPECT_EQ(Read("a &5w"), "9823 at &5w");
  EXPECT_EQ(Read("(a &5w)"), "9823 at &5w");
}

TEST(QueryParser, AnOrderIsPartOfTheDistance) {
  EXPECT_EQ(Read("a &>20 b"), "{'a' &>20 'b'}");
  EXPECT_EQ(Read("a &>5w b"), "{'a' &>5w 'b'}");
  EXPECT_EQ(Read("a &> b"), "{'a' &> 'b'}");
  EXPECT_EQ(Read("a &>b"), "{'a' &> 'b'}");
  EXPECT_EQ(Read("a & >b"), "{'a' & '>b'}");
  EXPECT_EQ(Read("a &> 20"), "{'a' &> '20'}");
}

TEST(QueryParser, AWordCanBeLookedForByItsSound) {
  EXPECT_EQ(Read("~Meier & [0-9]{5}"), "{~Meier & '[0-9]{5}'}");
  EXPECT_EQ(Read(" ~Meier "), "~Meier");
  EXPECT_EQ(Read("(~Meier)"), "~Meier#1");
  EXPECT_EQ(Read("!~Meier"), "!~Meier");
  EXPECT_EQ(Read("~M\xC3\xBCller"), "~M\xFCller");
}

TEST(QueryParser, ATildeIsOrdinaryElsewhere) {
  EXPECT_EQ(Trees("\\~Meier"), "'<~Meier>'");
  EXPECT_EQ(Trees("~5"), "'<~5>'");
  EXPECT_EQ(Trees("~ Meier"), "'<~ Meier>'");
  EXPECT_EQ(Trees("a~b"), "'<a~b>'");
  EXPECT_EQ(Trees("a ~b"), "'<a ~b>'");
  EXPECT_EQ(Trees("~"), "'~'");
  EXPECT_EQ(Trees("x(~b)"), "'1:<x1(<~b>)>'");
}

TEST(QueryParser, ASoundIsOneWordOfLetters) {
  EXPECT_EQ(Read("~Meier Schmidt"), "9854 at S");
  EXPECT_EQ(Read("~Mei[ea]r"), "9854 at [ea]");
  EXPECT_EQ(Read("~Meier*"), "9854 at *");
  EXPECT_EQ(Read("~Meier2"), "9854 at 2");
  EXPECT_EQ(Read("~Meier(s)"), "9854 at (");
  EXPECT_EQ(Read("~Meier-Schmidt|b"), "9854 at -");
  EXPECT_EQ(Read("~Meier!"), "9854 at !");
}

TEST(QueryParser, AWordWithoutASoundIsRefused) {
  EXPECT_EQ(Read("a & ~\xC2\xAA"), "9824 at ~\xC2\xAA");
}

TEST(QueryParser, WithThePhoneticOptionEveryWordIsASound) {
  EXPECT_EQ(Read("Meier & 20 Euro & a-b & (M\xC3\xBCller)", Phonetic()),
            "{~Meier & '20 Euro' & 'a-b' & ~M\xFCller#1}");
  EXPECT_EQ(Read("Meier|Schmidt|x.", Phonetic()), "{~Meier|~Schmidt|'x.'}");
  EXPECT_EQ(Read("(Haus|Hof)|Ho[fp]", Phonetic()), "{{~Haus|~Hof}#1|'Ho[fp]'}");
  EXPECT_EQ(Read("(Haus)t", Phonetic()), "'(Haus)t'");
  EXPECT_EQ(Read("Haus\\t", Phonetic()), "'Haus\\t'");
  EXPECT_EQ(Read("~Meier", Phonetic()), "~Meier");
  EXPECT_EQ(Read("ein Haus", Phonetic()), "'ein Haus'");
}

TEST(QueryParser, ANotIsOrdinaryDirectlyAfterACharacter) {
  EXPECT_EQ(Trees("Ha!"), "'<Ha!>'");
  EXPECT_EQ(Trees("a!!b"), "'<a!!b>'");
  EXPECT_EQ(Trees("(a)!"), "'1:<1(a)!>'");
  EXPECT_EQ(Trees("a\\ !b"), "'<a !b>'");
  EXPECT_EQ(Trees("[ab]!"), "'<[ab]!>'");
  EXPECT_EQ(Trees("a*!"), "'<a{0,}!>'");
  EXPECT_EQ(Trees("^!"), "'<\\^!>'");
  EXPECT_EQ(Trees("\\!a"), "'<!a>'");
}

TEST(QueryParser, ANotBetweenTwoPatternsWantsAnAnd) {
  EXPECT_EQ(Read("a !b"), "9820 at !");
  EXPECT_EQ(Read("a|!b"), "9820 at !");
  EXPECT_EQ(Read("a| !b"), "9820 at !");
  EXPECT_EQ(Read("!a !b"), "9820 at !");
  EXPECT_EQ(Read("x(a|!b)"), "9820 at !");
  EXPECT_EQ(Read("x(a !b)"), "9820 at !");
  EXPECT_EQ(Read("(a & b) !c"), "9820 at ) !");
  EXPECT_EQ(Read("~Meier !b"), "9820 at !");
}

TEST(QueryParser, NothingIsDroppedBesideABracketOfOperands) {
  EXPECT_EQ(Read("(A & B) C"), "9851 at ) C");
  EXPECT_EQ(Read("C (A & B)"), "9852 at C (");
  EXPECT_EQ(Read("C(A & B)"), "9852 at C(");
  EXPECT_EQ(Read("(A & B)(C)"), "9851 at )(");
  EXPECT_EQ(Read("(C)(A & B)"), "9852 at )(");
  EXPECT_EQ(Read("((A & B)) C"), "9851 at ) C");
  EXPECT_EQ(Read("x(y|(A & B))"), "9852 at x(");
  EXPECT_EQ(Read("x(y(A & B))"), "9852 at y(");
  EXPECT_EQ(Read("(A & B)*"), "9853 at )*");
  EXPECT_EQ(Read("(A & B){2} C"), "9853 at ){2}");
  EXPECT_EQ(Read("(!A) C"), "9851 at ) C");
  EXPECT_EQ(Read("C|(A & B) D"), "9851 at ) D");
  EXPECT_EQ(Read("(A & B) C & D"), "9851 at ) C");
}

TEST(QueryParser, WhatIsEmptyIsRefused) {
  EXPECT_EQ(Read(""), "9819 at ");
  EXPECT_EQ(Read("  "), "9819 at   ");
  EXPECT_EQ(Read("()"), "9819 at ()");
  EXPECT_EQ(Read("a & ( )"), "9819 at ( )");
  EXPECT_EQ(Read("a|"), "9819 at |");
  EXPECT_EQ(Read("|a"), "9819 at |");
  EXPECT_EQ(Read("a||b"), "9819 at ||");
  EXPECT_EQ(Read("a & |b"), "9819 at & |");
  EXPECT_EQ(Read("(a|)|b"), "9819 at |)");
  EXPECT_EQ(Read("(|a)|b"), "9819 at (|");
  EXPECT_EQ(Read("(a| |c)|b"), "9819 at | |");
  EXPECT_EQ(Read("()|b"), "9819 at ()");
  EXPECT_EQ(Read("!|a"), "9819 at !|");
}

TEST(QueryParser, InAPieceAnEmptyAlternativeIsTheEmptyString) {
  EXPECT_EQ(Trees("(a|)b"), "'1:<1(<a|()>)b>'");
  EXPECT_EQ(Trees("x(|a||)"), "'1:<x1(<()|a|()|()>)>'");
  EXPECT_EQ(Trees("x()"), "'1:<x1(())>'");
}

TEST(QueryParser, OperatorsWantTheirOperands) {
  EXPECT_EQ(Read("& b"), "9822 at &");
  EXPECT_EQ(Read("(&20 b)"), "9822 at &20");
  EXPECT_EQ(Read("a &"), "9823 at &");
  EXPECT_EQ(Read("a & "), "9823 at &");
  EXPECT_EQ(Read("a &20"), "9823 at &20");
  EXPECT_EQ(Read("a & & b"), "9823 at &");
  EXPECT_EQ(Read("(a & ) & b"), "9823 at &");
  EXPECT_EQ(Read("!"), "9821 at !");
  EXPECT_EQ(Read("a & !"), "9821 at !");
  EXPECT_EQ(Read("! & a"), "9821 at !");
  EXPECT_EQ(Read("(!)"), "9821 at !");
}

TEST(QueryParser, BracketsWantTheirPartners) {
  EXPECT_EQ(Read("(a"), "9807 at (");
  EXPECT_EQ(Read("(a & (b)"), "9807 at (");
  EXPECT_EQ(Read("a)"), "9815 at )");
  EXPECT_EQ(Read("(a)) & b"), "9815 at )");
  EXPECT_EQ(Read("[a"), "9806 at [");
  EXPECT_EQ(Read("a]"), "'a]'");
}

TEST(QueryParser, OfADistanceOneOperandMayBeNegated) {
  EXPECT_EQ(Read("a &20 !b"), "{'a' &20 !'b'}");
  EXPECT_EQ(Read("!a &20 b"), "{!'a' &20 'b'}");
  EXPECT_EQ(Read("!a &20 !b"), "9855 at &20");
  EXPECT_EQ(Read("!a &> (!b)"), "9855 at &>");
  EXPECT_EQ(Read("!a & !b"), "{!'a' & !'b'}");
  EXPECT_EQ(Read("a &20 !!b"), "{'a' &20 'b'}");
}

TEST(QueryParser, AnOperandOfADistanceMustBeAbleToHaveItems) {
  EXPECT_EQ(Read("a &20 (!b & !c)"), "9856 at (!b & !c)");
  EXPECT_EQ(Read("a &20 !b & !c"), "9856 at !b & !c");
  EXPECT_EQ(Read("(!b|!c) &20 a"), "9820 at !");
  EXPECT_EQ(Read("((!b)|(!c)) &20 a"), "9856 at (!b)|(!c)");
  EXPECT_EQ(Read("a &20 !(!b & !c)"), "9856 at !(!b & !c)");
  EXPECT_EQ(Read("a &20 (b|(!c))"), "{'a' &20 {'b'|!'c'#2}#1}");
  EXPECT_EQ(Read("a &20 !b & c"), "{'a' &20 !'b' & 'c'}");
  EXPECT_EQ(Read("a &20 !(b & !c)"), "{'a' &20 !{'b' & !'c'}#1}");
  EXPECT_EQ(Read("a &20 (b &5 !c)"), "{'a' &20 {'b' &5 !'c'}#1}");
}

TEST(QueryParser, ABackslashMakesCharactersOrdinary) {
  EXPECT_EQ(Trees("R\\&B"), "'<R&B>'");
  EXPECT_EQ(Trees("\\|\\*\\+\\?\\.\\^\\$\\{\\}\\[\\]\\\\\\-"), "'<|*+?.^${}[]\\->'");
  EXPECT_EQ(Read("a\\"), "9804 at \\");
  EXPECT_EQ(Read("a\\xb"), "9850 at \\x");
  EXPECT_EQ(Read("\\0"), "9850 at \\0");
  EXPECT_EQ(Read("\\\xC3\xA4"), "9850 at \\\xC3\xA4");
}

TEST(QueryParser, TheExpressionMayHoldAnyByte) {
  EXPECT_EQ(Read("a\0b & c"sv), "{'a\0b' & 'c'}"s);
  QueryOptions latin = Options();
  latin.encoding = ExpressionEncoding::kLatin1;
  EXPECT_EQ(Trees("\x81\xE4", latin), "'<\x81\xE4>'");
  EXPECT_EQ(Trees("\x81\xE4"), "'<\x81\xE4>'") << "bytes that are no UTF-8";
  EXPECT_EQ(Trees("a\xCC\x88"), "'\xE4'") << "composed";
}

TEST(QueryParser, ACharacterThatThePageLacksIsRefused) {
  EXPECT_EQ(Read("a\xCE\xA9 b"), "9802 at \xCE\xA9");
  EXPECT_EQ(Read("[\xE2\x86\x92]"), "9802 at \xE2\x86\x92");
}

TEST(QueryParser, TheSubstituteIsAByteThatTheExpressionDoesNotName) {
  const auto substitute = [](std::string_view expression) {
    QueryOptions latin = Options();
    latin.encoding = ExpressionEncoding::kLatin1;
    const auto result = ParseQuery(expression, latin);
    return static_cast<int>(std::get<ParsedQuery>(result).substitute);
  };
  EXPECT_EQ(substitute("a"), 0x81);
  EXPECT_EQ(substitute("\x81"), 0x8D);
  EXPECT_EQ(substitute("\x8F\x81"), 0x8D);
  EXPECT_EQ(substitute("\x81\x8D\x8F\x90"), 0x9D);
}

TEST(QueryParser, TagsAreCounted) {
  const auto result = ParseQuery("(a)(b) & ((c)) & [(] & \\(", Options());
  EXPECT_EQ(std::get<ParsedQuery>(result).tagCount, 4);
}

TEST(QueryParser, EveryFaultHasASentence) {
  for (const std::string_view expression : {"",
                                            "& b",
                                            "a &",
                                            "!",
                                            "a !b",
                                            "(a",
                                            "a)",
                                            "[a",
                                            "a\\",
                                            "\\x",
                                            "(A & B) C",
                                            "C (A & B)",
                                            "(A & B)*",
                                            "~a b",
                                            "!a &5 !b",
                                            "a &5 (!b & !c)",
                                            "*a",
                                            "a{",
                                            "a{x}",
                                            "a{3,1}",
                                            "\\1",
                                            "[[:x:]]",
                                            "[a-[:digit:]]",
                                            "\xCE\xA9"}) {
    const auto result = ParseQuery(expression, Options());
    ASSERT_TRUE(std::holds_alternative<QueryFault>(result)) << expression;
    EXPECT_FALSE(std::get<QueryFault>(result).Sentence().empty()) << expression;
  }
}

}  // namespace
}  // namespace trovex
