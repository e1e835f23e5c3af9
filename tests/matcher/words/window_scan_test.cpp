// Windows that are looked up many at a time against those that are looked up one by one.

#include "matcher/words/window_scan.h"

#include "tests/dice.h"
#include "tests/matcher/words/plain_words.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <bit>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using testing::ExactBytes;

constexpr std::size_t kLongestOf[] = {0, 8, 8, 7, 4};

WindowTable RandomTable(Dice& dice, std::size_t stride, std::size_t length, std::string_view text) {
  WindowTable table;
  table.stride = stride;
  table.length = length;
  std::array<unsigned char, 8> mask{};
  std::fill_n(mask.begin(), length, dice.OneIn(2) ? 0xFF : 0xDF);
  table.mask = std::bit_cast<Window>(mask);
  const int bits = dice.Between(5, 14);
  table.shift = 32 - bits;
  table.bits.assign(std::size_t{1} << (bits - 5), 0);
  const ExactBytes bytes(text);
  for (int i = dice.Between(0, 6); i > 0 && !text.empty(); --i) {
    const auto place = static_cast<std::size_t>(dice.Between(0, static_cast<int>(text.size()) - 1));
    table.Add(table.At<false>(bytes.View().data() + place, bytes.View().data() + text.size()));
  }
  return table;
}

TEST(WindowScan, FindsTheWindowsThatAreFoundOneByOne) {
  for (std::uint32_t seed = 0; seed < 4000; ++seed) {
    Dice dice(seed);
    const auto stride = static_cast<std::size_t>(dice.Between(1, 4));
    const auto length =
        static_cast<std::size_t>(dice.Between(1, static_cast<int>(kLongestOf[stride])));
    std::string text = dice.Bytes("abcdABCD \n", seed % 8 == 0 ? 3000 : 300);
    text += 'a';
    const WindowTable table = RandomTable(dice, stride, length, text);
    const ExactBytes bytes(text);
    const auto count =
        static_cast<std::size_t>(dice.Between(0, static_cast<int>(text.size()) + 70));
    std::vector<std::uint32_t> fast(count + kWindowsAtOnce);
    std::vector<std::uint32_t> plain(count + kWindowsAtOnce);
    const unsigned char* const begin = bytes.View().data();
    const unsigned char* const end = begin + text.size();
    fast.resize(ChooseWindowScan(table)(table, begin, count, end, fast.data()));
    plain.resize(FindWindowsPlainly(table, begin, count, end, plain.data()));
    ASSERT_EQ(fast, plain) << "seed " << seed << " stride " << stride << " length " << length;
    const std::size_t few = std::min({count, (text.size() + stride - 1) / stride, std::size_t{64}});
    const std::uint64_t bits = ChooseWindowTest(table)(table, begin, few, end);
    ASSERT_EQ(bits, TestWindowsPlainly(table, begin, few, end)) << "seed " << seed;
    for (std::size_t i = 0; i < few; ++i) {
      const bool isHit = std::find(plain.begin(), plain.end(), i * stride) != plain.end();
      ASSERT_EQ(bits >> i & 1, isHit ? 1U : 0U) << "seed " << seed << " window " << i;
    }
  }
}

}  // namespace
}  // namespace trovex
