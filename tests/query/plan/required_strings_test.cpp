#include "query/plan/required_strings.h"

#include "query/query_parser.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using namespace trovex;

/// What the matches of a pattern, typed alone, must hold.
StringClauses Required(std::string_view pattern, bool caseSensitive = false) {
  QueryOptions options;
  options.caseSensitive = caseSensitive;
  const auto parsed = ParseQuery(pattern, options);
  return RequiredInMatch(std::get<ParsedQuery>(parsed).root->pattern->tree, !caseSensitive);
}

TEST(RequiredStrings, AreAllOfAFixedString) {
  EXPECT_EQ(Required("Haus"), (StringClauses{{"haus"}}));
  EXPECT_EQ(Required("Haus", true), (StringClauses{{"Haus"}}));
}

TEST(RequiredStrings, AreCutWhereSomethingUnknownStands) {
  EXPECT_EQ(Required("ab.cde"), (StringClauses{{"cde"}, {"ab"}}));
  EXPECT_EQ(Required("ab[^x]*cde"), (StringClauses{{"cde"}, {"ab"}}));
  EXPECT_EQ(Required("ab\\<cd"), (StringClauses{{"abcd"}}));
}

TEST(RequiredStrings, GrowThroughGroupsSetsAndRepetitions) {
  EXPECT_EQ(Required("(Ha)us"), (StringClauses{{"haus"}}));
  EXPECT_EQ(Required("H[ao]f"), (StringClauses{{"haf", "hof"}}));
  EXPECT_EQ(Required("(ab){2}c"), (StringClauses{{"ababc"}}));
  EXPECT_EQ(Required("x(ab)+"), (StringClauses{{"xab"}, {"ab"}}));
  EXPECT_EQ(Required("ab+c"), (StringClauses{{"ab"}, {"bc"}}));
  EXPECT_EQ(Required("a{2,3}b"), (StringClauses{{"aa"}, {"ab"}}));
  EXPECT_EQ(Required("a{9}b"), (StringClauses{{"aaaa"}, {"ab"}}));
  EXPECT_EQ(Required("(Haus|Hof)tier"), (StringClauses{{"haustier", "hoftier"}}));
}

TEST(RequiredStrings, PromiseNothingOfWhatMayBeMissing) {
  EXPECT_EQ(Required("a*"), StringClauses{});
  EXPECT_EQ(Required("(abc)?d"), (StringClauses{{"d"}}));
  EXPECT_EQ(Required("abc|[0-9]"), StringClauses{});
  EXPECT_EQ(Required("abc|x?"), StringClauses{});
  EXPECT_EQ(Required("(abc){0}d"), (StringClauses{{"d"}}));
}

TEST(RequiredStrings, AreAsciiAlone) {
  EXPECT_EQ(Required("M\xC3\xBCller"), (StringClauses{{"ller"}, {"m"}}));
  EXPECT_EQ(Required("[\xC3\xBCu]x"), (StringClauses{{"x"}}));
}

TEST(RequiredStrings, ForAScanHaveEverySpellingOfALetter) {
  const auto spelled = [](std::string_view pattern) {
    QueryOptions options;
    options.caseSensitive = true;
    const auto parsed = ParseQuery(pattern, options);
    return SpelledInMatch(std::get<ParsedQuery>(parsed).root->pattern->tree, false);
  };
  EXPECT_EQ(spelled("f\xC3\xBCr"), (StringClauses{{"fu\xCC\x88r", "f\xC3\xBCr", "f\xFCr"}}));
  EXPECT_EQ(spelled("x\xC3\x9F"), (StringClauses{{"x\xC3\x9F", "x\xDF"}}));
  EXPECT_EQ(spelled("Haus"), (StringClauses{{"Haus"}}));
}

TEST(RequiredStrings, StayFewAndShort) {
  const StringClauses clauses = Required(std::string(100, 'x'));
  ASSERT_FALSE(clauses.empty());
  for (const StringClause& clause : clauses)
    EXPECT_LE(clause.front().size(), 24U);
  std::string list = "word0";
  for (int i = 1; i < 100; ++i)
    list.append("|word").append(std::to_string(i));
  EXPECT_EQ(Required(list), StringClauses{});
}

TEST(RequiredStrings, OfAnOrAreThoseOfOneOperandOrTheOther) {
  EXPECT_EQ(AnyOfClauses({{{"haus"}, {"a"}}, {{"hof"}}}), (StringClauses{{"haus", "hof"}}));
  EXPECT_EQ(AnyOfClauses({{{"haus"}}, {}}), StringClauses{});
  EXPECT_EQ(AllOfClauses({{{"haus"}}, {{"hof", "x"}}, {{"haus"}}}),
            (StringClauses{{"haus"}, {"hof", "x"}}));
}

TEST(ScanForClauses, FindsTheRarestString) {
  const auto scan = ScanForClauses({{"e"}, {"xylophon"}}, true);
  ASSERT_TRUE(scan.has_value());
  const std::string text = "eeeee XyLoPhOn";
  const auto* const begin = reinterpret_cast<const unsigned char*>(text.data());
  EXPECT_EQ(scan->Find(begin, begin + text.size()), begin + 6);
  EXPECT_FALSE(ScanForClauses({{"e"}}, true).has_value());
  EXPECT_FALSE(ScanForClauses({}, true).has_value());
}

}  // namespace
