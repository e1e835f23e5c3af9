#include "query/search/text_blocks.h"

#include "tests/dice.h"
#include "tests/heap_text.h"
#include "tests/query/search/given_stream.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::Dice;
using trovex::testing::ViewOf;

constexpr unsigned char kSubstitute = 0x81;

std::string StringOf(TextView text) {
  return {text.begin(), text.end()};
}

TEST(TextBlocks, ATextOfNoBytesIsOneEmptyBlock) {
  TextBlocks blocks;
  blocks.Begin({}, TextBlocks::Reading::kUtf8, kSubstitute);
  ASSERT_TRUE(blocks.Has(0));
  EXPECT_FALSE(blocks.Has(1));
  OpenBlock& block = blocks.Open(0);
  EXPECT_TRUE(block.Text().empty());
  EXPECT_EQ(block.ByteOf(0), 0U);
}

TEST(TextBlocks, EndWithLinesAndAreTheTextTogether) {
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    Dice dice(seed);
    const std::string text = dice.Bytes("abc\n\xC3\xBC", 40);
    TextBlocks blocks(static_cast<std::size_t>(dice.Between(1, 10)));
    blocks.Begin(ViewOf(text), TextBlocks::Reading::kPlain, kSubstitute);
    std::string whole;
    std::size_t number = 0;
    for (; blocks.Has(number); ++number) {
      const ByteRange range = blocks.RangeOf(number);
      EXPECT_EQ(range.begin, whole.size()) << "seed " << seed;
      whole += text.substr(range.begin, range.Length());
      const bool endsLine = range.end == text.size() || text[range.end - 1] == '\n';
      EXPECT_TRUE(endsLine) << "seed " << seed;
      EXPECT_TRUE(range.Length() > 0 || text.empty()) << "seed " << seed;
    }
    ASSERT_EQ(whole, text) << "seed " << seed;
    for (std::size_t byte = 0; byte < text.size(); ++byte) {
      TextBlocks fresh(3);
      fresh.Begin(ViewOf(text), TextBlocks::Reading::kPlain, kSubstitute);
      const ByteRange range = fresh.RangeOf(fresh.Holding(byte));
      ASSERT_TRUE(range.begin <= byte && byte < range.end) << "seed " << seed;
    }
  }
}

TEST(TextBlocks, PlainAsciiIsTheTextItself) {
  const std::string text = "Haus\nHof\n";
  TextBlocks blocks;
  blocks.Begin(ViewOf(text), TextBlocks::Reading::kUtf8, kSubstitute);
  ASSERT_TRUE(blocks.Has(0));
  OpenBlock& block = blocks.Open(0);
  EXPECT_TRUE(block.IsPlain());
  EXPECT_EQ(block.Text().data(), ViewOf(text).data());
}

TEST(TextBlocks, OtherUtf8IsDecodedWithTheWayBack) {
  const std::string text =
      "a\n\xC3\xBC"
      "b\nu\xCC\x88"
      "c\n";
  TextBlocks blocks(1);
  blocks.Begin(ViewOf(text), TextBlocks::Reading::kUtf8, kSubstitute);
  ASSERT_TRUE(blocks.Has(2));
  OpenBlock& second = blocks.Open(1);
  OpenBlock& third = blocks.Open(2);
  EXPECT_EQ(StringOf(second.Text()),
            "\xFC"
            "b\n");
  EXPECT_EQ(StringOf(third.Text()),
            "\xFC"
            "c\n");
  EXPECT_EQ(second.ByteOf(1), 4U);
  EXPECT_EQ(third.ByteOf(1), 9U);
  EXPECT_EQ(third.ByteOf(3), text.size());
  EXPECT_EQ(blocks.CharactersBefore(2), 5U);
  EXPECT_EQ(blocks.WordsBefore(2), 2U);
}

TEST(TextBlocks, ABlockThatSomebodyHasStays) {
  std::string text;
  for (int i = 0; i < 50; ++i)
    text.append("\xC3\xBC").append(std::to_string(i)).append("\n");
  TextBlocks blocks(1);
  blocks.Begin(ViewOf(text), TextBlocks::Reading::kUtf8, kSubstitute);
  ASSERT_TRUE(blocks.Has(49));
  OpenBlock& first = blocks.Open(0);
  OpenBlock& again = blocks.Open(0);
  EXPECT_EQ(&first, &again);
  blocks.Close(again);
  for (std::size_t i = 1; i < 50; ++i) {
    OpenBlock& other = blocks.Open(i);
    ASSERT_NE(&other, &first);
    EXPECT_EQ(StringOf(other.Text()), std::string("\xFC").append(std::to_string(i)).append("\n"));
    blocks.Close(other);
  }
  EXPECT_EQ(StringOf(first.Text()),
            "\xFC"
            "0\n");
}

TEST(Words, AreCountedWhereTheyBegin) {
  const std::string text =
      "ein Haus_1, \xFC"
      "ber";
  const auto begun = [&](std::size_t begin, std::size_t end) {
    return WordsBegunIn(ViewOf(text), begin, end);
  };
  EXPECT_EQ(begun(0, text.size()), 3U);
  EXPECT_EQ(begun(0, 4), 1U);
  EXPECT_EQ(begun(0, 5), 2U);
  EXPECT_EQ(begun(1, 4), 0U);
  EXPECT_TRUE(IsInsideWord(ViewOf(text), 1));
  EXPECT_FALSE(IsInsideWord(ViewOf(text), 3));
  EXPECT_FALSE(IsInsideWord(ViewOf(text), 0));
  EXPECT_FALSE(IsInsideWord(ViewOf(text), text.size()));
}

}  // namespace
