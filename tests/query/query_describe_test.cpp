// Descriptions of queries.

#include "query/describe.h"

#include "phonetic/sound_key.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <variant>

namespace trovex {
namespace {

using namespace std::string_view_literals;

std::string Describe(std::string_view expression) {
  const auto result = ParseQuery(expression, QueryOptions());
  return DescribeQuery(std::get<ParsedQuery>(result), expression, ExpressionEncoding::kUtf8);
}

TEST(DescribeQuery, APatternIsShownAsItWasTyped) {
  EXPECT_EQ(Describe(" Haus(es)? "), "pattern Haus(es)? (its bracket is tag 1)\n");
  EXPECT_EQ(Describe("(x(a)(b))"), "pattern x(a)(b) (tag 1) (its brackets are tags 2 to 3)\n");
  EXPECT_EQ(Describe("Stra\xC3\x9F"
                     "e"),
            "pattern Stra\xC3\x9F"
            "e\n");
}

TEST(DescribeQuery, WhatCannotBeShownIsWrittenInHexadecimal) {
  EXPECT_EQ(Describe("a\0b\x81"sv), "pattern a\\x00b\\x81\n");
  EXPECT_EQ(Describe("a\nb"), "pattern a\\x0Ab\n");
}

TEST(DescribeQuery, ALetterThatWasTypedInTwoPartsIsShownAsOne) {
  EXPECT_EQ(Describe("a\xCC\x88"), "pattern \xC3\xA4\n");
}

TEST(DescribeQuery, OperandsStandBelowTheirOperator) {
  EXPECT_EQ(Describe("((Haus & !Hof)) & b|~Meier"),
            "and\n"
            "  and (tags 2, 1)\n"
            "    pattern Haus\n"
            "    not\n"
            "      pattern Hof\n"
            "  or\n"
            "    pattern b\n"
            "    sounds like Meier: " +
                DescribeSoundKey(MakeSoundKey("Meier")) + "\n");
}

TEST(DescribeQuery, DistancesStandBetweenTheirOperands) {
  EXPECT_EQ(Describe("a &1 b &>5w c & d &> e"),
            "and, grouped from the right\n"
            "  pattern a\n"
            "  at most 1 character between\n"
            "  pattern b\n"
            "  at most 5 words between, in this order\n"
            "  pattern c\n"
            "  anywhere\n"
            "  pattern d\n"
            "  in this order\n"
            "  pattern e\n");
  EXPECT_EQ(Describe("a &20 b"),
            "and\n  pattern a\n  at most 20 characters between\n  pattern b\n");
}

}  // namespace
}  // namespace trovex
