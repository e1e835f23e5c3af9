// Patterns of the second door: what each sign stands for, sets, groups and back-references.

#include "query/query_parser.h"

#include "query/expression/set_reader.h"

#include "tests/query/query_text.h"
#include "tests/query/tree_matcher.h"
#include "text/code_page.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <variant>

namespace trovex {
namespace {

using namespace std::string_view_literals;

QueryOptions Latin1(bool caseSensitive) {
  QueryOptions options;
  options.encoding = ExpressionEncoding::kLatin1;
  options.caseSensitive = caseSensitive;
  return options;
}

/// The tree of an expression that is one pattern, or the number of its fault.
std::string Tree(std::string_view expression) {
  const auto result = ParseQuery(expression, Latin1(true));
  if (const auto* fault = std::get_if<QueryFault>(&result)) {
    return std::to_string(static_cast<unsigned>(fault->number));
  }
  return testing::TreeText(std::get<ParsedQuery>(result).root->pattern->tree);
}

/// What of the expression its fault is about.
std::string FaultIn(std::string_view expression) {
  const auto result = ParseQuery(expression, Latin1(true));
  const auto* fault = std::get_if<QueryFault>(&result);
  if (fault == nullptr) return "no fault";
  return std::string(expression.substr(fault->typed.begin, fault->typed.end - fault->typed.begin));
}

/// The bytes that an expression of one character matches.
CharSet Bytes(std::string_view expression, bool caseSensitive = true) {
  const auto result = ParseQuery(expression, Latin1(caseSensitive));
  const SyntaxTree& tree = std::get<ParsedQuery>(result).root->pattern->tree;
  CharSet bytes;
  for (unsigned c = 0; c < 256; ++c) {
    const char text = static_cast<char>(c);
    if (testing::TreeMatcher(tree, std::string_view(&text, 1)).MatchesAll()) bytes.set(c);
  }
  return bytes;
}

CharSet Of(std::string_view bytes) {
  CharSet set;
  for (const char c : bytes)
    set.set(static_cast<unsigned char>(c));
  return set;
}

CharSet Range(unsigned low, unsigned high) {
  CharSet set;
  for (unsigned c = low; c <= high; ++c)
    set.set(c);
  return set;
}

CharSet AllBut(CharSet set) {
  return set.set('\n').flip();
}

TEST(QueryPattern, ADotIsAnyCharacterButALineFeed) {
  EXPECT_EQ(Bytes("."), AllBut({}));
}

TEST(QueryPattern, ALineFeedIsMatchedByNothing) {
  EXPECT_EQ(Bytes("\\\n"), CharSet());
  EXPECT_EQ(Bytes("[\na]"), Of("a"));
  EXPECT_EQ(Bytes("[^a]"), AllBut(Of("a")));
  EXPECT_EQ(Bytes("[\t-\r]"), Of("\t\v\f\r"));
}

TEST(QueryPattern, ClassesAfterABackslashAreOfTheCodePage) {
  EXPECT_EQ(Bytes("\\w"), CodePageWords());
  EXPECT_EQ(Bytes("\\W"), AllBut(CodePageWords()));
  EXPECT_EQ(Bytes("\\d"), Of("0123456789"));
  EXPECT_EQ(Bytes("\\D"), AllBut(Of("0123456789")));
  EXPECT_EQ(Bytes("\\s"), Of(" \t\v\f\r\xA0"));
  EXPECT_EQ(Bytes("\\S"), AllBut(Of(" \t\v\f\r\xA0")));
  EXPECT_EQ(Bytes("\\t"), Of("\t"));
}

TEST(QueryPattern, PosixClassesAreOfTheCodePage) {
  for (const std::string_view name : {"alpha", "digit", "alnum", "upper", "lower", "space", "blank",
                                      "punct", "print", "graph", "cntrl", "xdigit"}) {
    const std::string expression = testing::Joined({"[[:", name, ":]]"});
    EXPECT_EQ(Bytes(expression), CodePageClass(name)->reset('\n')) << name;
  }
  EXPECT_EQ(Bytes("[^[:alpha:]]"), AllBut(*CodePageClass("alpha")));
  EXPECT_EQ(Bytes("[x[:digit:]-]"), Of("x0123456789-"));
  EXPECT_EQ(Bytes("[[:upper:]]", false), ClosedUnderCase(*CodePageClass("upper")));
}

TEST(QueryPattern, WithoutCaseEveryPairOfThePageIsOneLetter) {
  EXPECT_EQ(Bytes("\xE9", false), Of("\xE9\xC9"));
  EXPECT_EQ(Bytes("\xC9", false), Of("\xE9\xC9"));
  EXPECT_EQ(Bytes("\x9A", false), Of("\x9A\x8A"));
  EXPECT_EQ(Bytes("\xFF", false), Of("\xFF\x9F"));
  EXPECT_EQ(Bytes("\xDF", false), Of("\xDF"));
  EXPECT_EQ(Bytes("\xD7", false), Of("\xD7"));
  for (unsigned c = 0; c < 256; ++c) {
    if (c == '\n' || !IsCodePageLetter(static_cast<unsigned char>(c))) continue;
    const std::string expression(1, static_cast<char>(c));
    EXPECT_EQ(Bytes(expression, false), ClosedUnderCase(Range(c, c))) << c;
    EXPECT_EQ(Bytes(expression, true), Range(c, c)) << c;
  }
}

TEST(QueryPattern, ASetIsClosedUnderCaseBeforeItIsNegated) {
  EXPECT_EQ(Bytes("[a-c]", false), Of("abcABC"));
  EXPECT_EQ(Bytes("[^a-c]", false), AllBut(Of("abcABC")));
  EXPECT_EQ(Bytes("[A-z]", false), Range('A', 'z'));
  EXPECT_EQ(Bytes("[\xE0-\xE2]", false), Of("\xE0\xE1\xE2\xC0\xC1\xC2"));
}

TEST(QueryPattern, MembersOfSets) {
  EXPECT_EQ(Bytes("[]a]"), Of("]a"));
  EXPECT_EQ(Bytes("[^]a]"), AllBut(Of("]a")));
  EXPECT_EQ(Bytes("[a-]"), Of("a-"));
  EXPECT_EQ(Bytes("[-a]"), Of("-a"));
  EXPECT_EQ(Bytes("[+--]"), Of("+,-"));
  EXPECT_EQ(Bytes("[--/]"), Of("-./"));
  EXPECT_EQ(Bytes("[a^]"), Of("a^"));
  EXPECT_EQ(Bytes("[\\d]"), Of("\\d"));
  EXPECT_EQ(Tree("[\\]a]"), "<\\a]>");
  EXPECT_EQ(Bytes("[z-a]"), CharSet());
  EXPECT_EQ(Bytes("[z-ab]"), Of("b"));
  EXPECT_EQ(Bytes("[^z-a]"), AllBut({}));
  EXPECT_EQ(Bytes("[[.a.][=b=]c]"), Of("abc"));
  EXPECT_EQ(Bytes("[[.-.]-/]"), Of("-./"));
  EXPECT_EQ(Bytes("[a-[.c.]]"), Of("abc"));
  EXPECT_EQ(Bytes("[[]"), Of("["));
  EXPECT_EQ(Bytes("[[:]"), Of("[:"));
  EXPECT_EQ(Bytes("[[.]"), Of("[."));
  EXPECT_EQ(Bytes("[[:a]"), Of("[:a"));
  EXPECT_EQ(Bytes("[\0\xFF]"sv), Of("\0\xFF"sv));
}

TEST(QueryPattern, FaultsInSets) {
  EXPECT_EQ(Tree("[[:foo:]]"), "9803");
  EXPECT_EQ(FaultIn("x[a[:foo:]]"), "[:foo:]");
  EXPECT_EQ(Tree("[a-[:digit:]]"), "9810");
  EXPECT_EQ(FaultIn("[a-[:digit:]]"), "[:digit:]");
  EXPECT_EQ(Tree("[[:digit:]-z]"), "9810");
  EXPECT_EQ(Tree("[a-c-e]"), "9810");
  EXPECT_EQ(FaultIn("[a-c-e]"), "-");
  EXPECT_EQ(Tree("[[.space.]]"), "9802");
  EXPECT_EQ(FaultIn("[[.space.]]"), "[.space.]");
  for (const char* open : {"[", "[]", "[^", "[^]", "[a", "[a-", "[a-b", "[[:alpha:]", "[[.a.]",
                           "x[[.", "[[:", "[[.a", "[[.a."}) {
    EXPECT_EQ(Tree(open), "9806") << open;
    EXPECT_EQ(FaultIn(open), "[") << open;
  }
}

TEST(QueryPattern, ARangeHoldsTheSubstituteOnlyWhereItIsTyped) {
  EXPECT_FALSE(Bytes("[\x80-\xFF]")[0x81]);
  EXPECT_TRUE(Bytes("[\x80-\xFF]")[0x8D]);
  EXPECT_TRUE(Bytes("[^\x80-\xFF]")[0x81]);
  EXPECT_TRUE(Bytes(".")[0x81]);
  EXPECT_TRUE(Bytes("\\W")[0x81]);
  EXPECT_TRUE(Bytes("[\x81-\x82]")[0x81]) << "it is 8D then";
  EXPECT_FALSE(Bytes("[\x81-\xFF]")[0x8D]);
}

TEST(QueryPattern, Repetitions) {
  EXPECT_EQ(Tree("a*b+c?"), "<a{0,}b{1,}c{0,1}>");
  EXPECT_EQ(Tree("a{3}b{2,}c{2,5}d{,3}e{,}"), "<a{3,3}b{2,}c{2,5}d{0,3}e{0,}>");
  EXPECT_EQ(Tree("a{0}b{0,0}"), "<a{0,0}b{0,0}>");
  EXPECT_EQ(Tree("(ab)*"), "1(<ab>){0,}");
  EXPECT_EQ(Tree("a}"), "<a}>");
  EXPECT_EQ(Tree("a{32767}"), "a{32767,32767}");
}

TEST(QueryPattern, RepetitionsOfRepetitions) {
  EXPECT_EQ(Tree("a**"), "a{0,}");
  EXPECT_EQ(Tree("a+?"), "a{0,}");
  EXPECT_EQ(Tree("a?+"), "a{0,}");
  EXPECT_EQ(Tree("a??"), "a{0,1}");
  EXPECT_EQ(Tree("a++"), "a{1,}");
  EXPECT_EQ(Tree("a{2}{3}"), "a{2,2}{3,3}");
  EXPECT_EQ(Tree("a{2}*"), "a{2,2}{0,}");
}

TEST(QueryPattern, FaultsInRepetitions) {
  EXPECT_EQ(Tree("a{"), "9808");
  EXPECT_EQ(Tree("a{3,"), "9808");
  EXPECT_EQ(Tree("a{x}"), "9809");
  EXPECT_EQ(Tree("a{}"), "9809");
  EXPECT_EQ(Tree("a{3,1}"), "9809");
  EXPECT_EQ(FaultIn("xa{3,1}b"), "{3,1}");
  EXPECT_EQ(Tree("a{-1}"), "9809");
  EXPECT_EQ(Tree("a{ 1}"), "9809");
  EXPECT_EQ(Tree("a{32768}"), "9814");
  EXPECT_EQ(Tree("a{1,99999999999999999999}"), "9814");
}

TEST(QueryPattern, ThereMustBeSomethingToRepeat) {
  for (const char* expression :
       {"*a", "a|*b", "x(*a)", "x(a|+)", "^*", "\\b?", "^{2}", " *a", "{2}", "x(|?)"}) {
    EXPECT_EQ(Tree(expression), "9816") << expression;
  }
  EXPECT_EQ(FaultIn("a|*b"), "*");
  EXPECT_EQ(FaultIn("^{2}"), "{2}");
}

TEST(QueryPattern, Anchors) {
  EXPECT_EQ(Tree("^a$"), "<\\^a\\$>");
  EXPECT_EQ(Tree("\\<a\\>\\b\\B\\`\\'"), "<\\<a\\>\\b\\B\\`\\'>");
  EXPECT_EQ(Tree("a^b"), "<a\\^b>");
  EXPECT_EQ(Tree("(^|x)*"), "1(<\\^|x>){0,}");
}

TEST(QueryPattern, ABackReferenceNamesAGroupOfItsOwnPattern) {
  EXPECT_EQ(Tree("(a)\\1"), "<1(a)\\1>");
  EXPECT_EQ(Tree("(a)(b)\\2\\1"), "<1(a)2(b)\\2\\1>");
  const auto result = ParseQuery("(x) & (a)\\1", Latin1(true));
  EXPECT_EQ(testing::QueryText(std::get<ParsedQuery>(result)), "{'x'#1 & '2:<1(a)\\1>'}");
  EXPECT_TRUE(std::get<ParsedQuery>(result).root->children[1]->pattern->hasBackReferences);
}

TEST(QueryPattern, BracketsAroundTheWholePatternAreNotCountedForBackReferences) {
  EXPECT_EQ(Tree("((b)\\1)"), "<1(b)\\1>");
  EXPECT_EQ(Tree("((b)\\1|c)"), "<<1(b)\\1>|c>");
  EXPECT_EQ(Tree("(a)|(b)\\2"), "<1(a)|<2(b)\\2>>");
  EXPECT_EQ(Tree("((b)\\2)|c"), "<1(<2(b)\\2>)|c>");
}

TEST(QueryPattern, ABackReferenceWantsAGroupThatIsComplete) {
  EXPECT_EQ(Tree("\\1"), "9805");
  EXPECT_EQ(Tree("(a)\\2"), "9805");
  EXPECT_EQ(Tree("x(a\\1)"), "9805");
  EXPECT_EQ(Tree("(a)|b\\1"), "9805");
  EXPECT_EQ(Tree("(a)|(b)\\1"), "9805");
  EXPECT_EQ(Tree("((a)|b)\\2"), "<1(<2(a)|b>)\\2>");
  EXPECT_EQ(FaultIn("(a)x\\2y"), "\\2");
  EXPECT_EQ(Tree("(a) & (b)\\2"), "9805");
}

TEST(QueryPattern, AnAlternationMayBeEmptyInAPieceOnly) {
  EXPECT_EQ(Tree("x(a|)"), "<x1(<a|()>)>");
  EXPECT_EQ(Tree("(a|)"), "9819");
}

}  // namespace
}  // namespace trovex
