// Typed expressions against the trivial decoder, and the substitute.

#include "text/decoded_expression.h"

#include "tests/dice.h"
#include "tests/text/trivial_utf8.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::DecodeTrivially;
using testing::Dice;
using testing::EncodeUtf8;

void ExpectAsTrivially(const std::string& typed) {
  const DecodedExpression decoded = DecodeUtf8Expression(typed);
  const auto expected = DecodeTrivially(typed);
  ASSERT_EQ(decoded.bytes, testing::BytesOf(expected, decoded.substitute));
  ASSERT_EQ(decoded.typed.size(), expected.size());
  ASSERT_EQ(decoded.isLacking.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(decoded.typed[i], (ByteRange{expected[i].begin, expected[i].end})) << i;
    EXPECT_EQ(decoded.isLacking[i], !expected[i].byte.has_value()) << i;
    EXPECT_NE(expected[i].byte, decoded.substitute) << "it stands for what is lacking alone";
  }
}

TEST(DecodedExpression, ReadsEveryCodePoint) {
  for (char32_t codePoint = 0; codePoint < 0x110000; ++codePoint) {
    if (codePoint > 0x3000 && codePoint % 251 != 0) continue;
    std::string typed = "a";
    typed += EncodeUtf8(codePoint);
    typed += 'b';
    ExpectAsTrivially(typed);
    if (HasFatalFailure()) FAIL() << static_cast<unsigned long>(codePoint);
  }
}

TEST(DecodedExpression, ReadsMixturesOfAllKinds) {
  const std::vector<std::string> pieces = {"a",
                                           "A",
                                           "\xC3\xA4",
                                           "\xCC\x88",
                                           "\xCC\x81",
                                           "\xCC\xA7",
                                           "c",
                                           "\xE4",
                                           "\xE2\x82\xAC",
                                           "\xE2\x82",
                                           "\xF0\x9F\x98\x80",
                                           "\xC2\x80",
                                           "\x80",
                                           "&",
                                           "\n",
                                           "\xC5\xA0",
                                           "\xFF"};
  for (std::uint32_t seed = 0; seed < 5000; ++seed) {
    Dice dice(seed);
    std::string typed;
    for (int count = dice.Between(0, 12); count > 0; --count)
      typed += dice.OneOf(pieces);
    ExpectAsTrivially(typed);
    if (HasFatalFailure()) FAIL() << "seed " << seed;
  }
}

TEST(DecodedExpression, RangesLeadBackToWhatWasTyped) {
  const DecodedExpression decoded = DecodeUtf8Expression(
      "f\xC3\xBCr u\xCC\x88"
      "ber");
  EXPECT_EQ(decoded.bytes,
            "f\xFCr \xFC"
            "ber");
  EXPECT_EQ(decoded.TypedRange({1, 2}), (ByteRange{1, 3}));
  EXPECT_EQ(decoded.TypedRange({4, 8}), (ByteRange{5, 11}));
  EXPECT_EQ(decoded.TypedRange({2, 2}), (ByteRange{3, 3}));
  EXPECT_EQ(decoded.TypedRange({8, 8}), (ByteRange{11, 11}));
  EXPECT_EQ(DecodeUtf8Expression("").TypedRange({0, 0}), (ByteRange{0, 0}));
}

TEST(DecodedExpression, SubstituteIsTheFirstUndefinedByteThatWasNotTyped) {
  EXPECT_EQ(DecodeUtf8Expression("\xE4\xB8\xAD").substitute, 0x81);
  EXPECT_EQ(DecodeUtf8Expression("\x81\xE4\xB8\xAD").substitute, 0x8D);
  EXPECT_EQ(DecodeUtf8Expression("\xE4\xB8\xAD\x8D\x81").substitute, 0x8F);
  EXPECT_EQ(DecodeUtf8Expression("\xE4\xB8\xAD\x8D\x81").bytes, "\x8F\x8D\x81");
  EXPECT_EQ(DecodeUtf8Expression("\x8D\x81\x8F\x90").substitute, 0x9D);
  EXPECT_EQ(DecodeUtf8Expression("\x8D\x81\x8F\x90\x9D").substitute, 0x9D);
  EXPECT_EQ(DecodeUtf8Expression("\xC2\x81").substitute, 0x81) << "U+0081 is lacking itself";
}

TEST(DecodedExpression, OfTheCodePageIsItself) {
  std::string typed;
  for (int c = 0; c < 256; ++c)
    typed += static_cast<char>(c);
  typed.erase(typed.find('\x8F'), 1);
  const DecodedExpression decoded = DecodeCodePageExpression(typed);
  EXPECT_EQ(decoded.bytes, typed);
  EXPECT_EQ(decoded.substitute, 0x8F);
  for (std::size_t i = 0; i < typed.size(); ++i) {
    EXPECT_EQ(decoded.typed[i], (ByteRange{i, i + 1}));
    EXPECT_FALSE(decoded.isLacking[i]);
  }
}

}  // namespace
}  // namespace trovex
