// Runs that stand twice, against the trivial search for them.

#include "matcher/groups/doubled_run.h"

#include "tests/dice.h"
#include "tests/visible.h"

#include <gtest/gtest.h>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using testing::Visible;

/// The longest string of `shortest` to `longest` bytes of `set` that stands at `place` twice.
std::size_t HalfAt(std::string_view text, std::size_t place, std::string_view set,
                   std::size_t shortest, std::size_t longest) {
  std::size_t half = 0;
  for (std::size_t length = shortest; length <= longest; ++length) {
    if (place + 2 * length > text.size()) break;
    const std::string_view one = text.substr(place, length);
    if (one.find_first_not_of(set) != std::string_view::npos) break;
    if (one == text.substr(place + length, length)) half = length;
  }
  return half;
}

void Compare(const std::string& text, std::string_view set, std::size_t shortest,
             std::size_t longest = kNowhere) {
  std::string pattern = "([";
  pattern.append(set).append("]{").append(std::to_string(shortest)).append(",");
  if (longest != kNowhere) pattern.append(std::to_string(longest));
  pattern.append("})\\1");
  const auto run =
      DoubledRun::Make(ParsePattern(pattern.data(), pattern.size(), nullptr), kSameBytes);
  ASSERT_TRUE(run.has_value()) << pattern;
  const auto bytes = std::make_unique<unsigned char[]>(text.size());
  if (!text.empty()) std::memcpy(bytes.get(), text.data(), text.size());
  const TextView view(bytes.get(), text.size());
  std::vector<std::size_t> same;
  std::uint64_t used = 0;
  std::size_t from = 0;
  for (std::size_t place = 0; place < text.size(); ++place) {
    const std::size_t expected = HalfAt(text, place, set, shortest, longest);
    if (expected == 0) continue;
    std::size_t half = 0;
    ASSERT_EQ(run->Next(view, from, text.size(), half, used, UINT64_MAX, same), place)
        << pattern << " in " << Visible(text);
    ASSERT_EQ(half, expected) << pattern << " in " << Visible(text);
    from = place + 1;
  }
  std::size_t half = 0;
  ASSERT_EQ(run->Next(view, from, text.size(), half, used, UINT64_MAX, same), kNowhere);
}

void CompareAtRandom(bool areBounded) {
  for (std::uint32_t seed = 0; seed < 1200; ++seed) {
    Dice dice(seed);
    std::string text = dice.Bytes(dice.OneIn(2) ? "ab" : "aab.", dice.OneIn(4) ? 300 : 20);
    if (dice.OneIn(3)) text += text;
    if (dice.OneIn(8)) text.append(150, 'a');
    const int shortest = dice.Between(1, 3);
    const std::size_t longest =
        areBounded ? static_cast<std::size_t>(dice.Between(shortest, 6)) : kNowhere;
    Compare(text, dice.OneIn(3) ? "a" : "ab", static_cast<std::size_t>(shortest), longest);
    ASSERT_FALSE(::testing::Test::HasFatalFailure()) << "seed " << seed;
  }
}

TEST(DoubledRun, FindsNoLongerHalvesThanItMay) {
  CompareAtRandom(true);
}

TEST(DoubledRun, FindsWhatTheTrivialSearchFinds) {
  CompareAtRandom(false);
}

TEST(DoubledRun, StopsWhereItMayDoNoMore) {
  const std::string pattern = "([ab]+)\\1";
  const auto run =
      DoubledRun::Make(ParsePattern(pattern.data(), pattern.size(), nullptr), kSameBytes);
  ASSERT_TRUE(run.has_value());
  const std::string text = "......ab...";
  const TextView view(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  std::vector<std::size_t> same;
  std::size_t half = 1;
  std::uint64_t used = 5;
  EXPECT_EQ(run->Next(view, 0, text.size(), half, used, 4, same), 6U);
  EXPECT_EQ(half, 0U);
}

TEST(DoubledRun, OtherPatternsAreNone) {
  for (const std::string pattern : {"(a*)\\1", "(ab+)\\1", "(a+)b\\1", "(a+)\\1b", "(a+)(b)\\1",
                                    "((a+))\\1", "(a+?)\\1", "a+", "(a{1,33})\\1"}) {
    const SyntaxTree tree = ParsePattern(pattern.data(), pattern.size(), nullptr);
    EXPECT_FALSE(DoubledRun::Make(tree, kSameBytes).has_value()) << pattern;
  }
}

TEST(DoubledRun, WhatIsComparedAsOneMustBelongToTheSetTogether) {
  ByteMap fold = kSameBytes;
  fold['A'] = 'a';
  const std::string lower = "(a+)\\1";
  const std::string both = "([aA]+)\\1";
  EXPECT_FALSE(DoubledRun::Make(ParsePattern(lower.data(), lower.size(), nullptr), fold));
  EXPECT_TRUE(DoubledRun::Make(ParsePattern(both.data(), both.size(), nullptr), fold));
}

}  // namespace
}  // namespace trovex
