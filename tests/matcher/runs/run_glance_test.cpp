// What a glance tells of sixty-four bytes against asking the sets of each.

#include "matcher/runs/run_glance.h"

#include "tests/dice.h"
#include "tests/matcher/scan/byte_blocks.h"
#include "tests/matcher/small_cases.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace trovex {
namespace {

using testing::Block;
using testing::Dice;
using testing::SetOf;
using testing::Without;

/// A bit for each byte of `text` from `place` on that belongs to `set`; with the line feed after it if `takesFeed`.
std::uint64_t BitsOf(const CharSet& set, const unsigned char* place, const Block& text,
                     bool takesFeed) {
  std::uint64_t bits = 0;
  for (std::ptrdiff_t i = 0; i < RunGlance::kBytes && place + i <= text.end(); ++i) {
    const bool belongs = place + i < text.end() ? set[place[i]] : takesFeed && set['\n'];
    bits |= std::uint64_t{belongs} << i;
  }
  return bits;
}

TEST(RunGlance, TellsWhatBelongsToBothSetsFromAnyPlaceOfATextOfAnyLength) {
  if (!RunGlance::For(SetOf("a"), SetOf("b"))) GTEST_SKIP() << "there are no vector instructions";
  constexpr std::uint32_t kRounds = 2'000;
  std::size_t told = 0;
  for (std::uint32_t seed = 1; seed <= kRounds; ++seed) {
    Dice dice(seed);
    CharSet sets[2];
    for (CharSet& set : sets) {
      for (int range = dice.Between(0, 3); range >= 0; --range) {
        const int first = dice.Between(0, 255);
        const int last = std::min(255, first + dice.Between(0, 40));
        for (int c = first; c <= last; ++c)
          set.set(static_cast<std::size_t>(c));
      }
      if (dice.OneIn(4)) set = ~set;
    }
    std::string content(static_cast<std::size_t>(dice.Between(1, 2 * RunGlance::kBytes + 2)), '\0');
    for (char& c : content)
      c = static_cast<char>(dice.Between(0, 255));
    const Block text(content);
    const std::optional<RunGlance> glance = RunGlance::For(sets[0], sets[1]);
    if (!glance) continue;
    ++told;
    for (const unsigned char* place = text.begin(); place < text.end(); ++place) {
      const GlanceBits bits = glance->At(place, text.begin(), text.end());
      ASSERT_EQ(bits.members, BitsOf(sets[0], place, text, false)) << "seed " << seed;
      ASSERT_EQ(bits.next, BitsOf(sets[1], place, text, true)) << "seed " << seed;
    }
  }
  EXPECT_GT(told, kRounds / 2);
}

TEST(RunGlance, ServesForNoSetThatItCannotTell) {
  // Each half of the bytes has members of its own: more kinds than there are bits.
  CharSet many;
  for (std::size_t half = 0; half < 16; ++half)
    for (std::size_t low = 0; low <= half; ++low)
      many.set(16 * half + low);
  EXPECT_FALSE(RunGlance::For(many, SetOf("a")));
  EXPECT_FALSE(RunGlance::For(SetOf("a"), many));
}

}  // namespace
}  // namespace trovex
