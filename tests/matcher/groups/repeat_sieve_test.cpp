// What a sieve tells of the starts of rows with a back-reference, against trying all lengths of the run at each place.

#include "matcher/groups/repeat_sieve.h"

#include "tests/dice.h"
#include "tests/matcher/scan/byte_blocks.h"
#include "tests/matcher/scan/scan_roads.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::AllScanRoads;
using testing::Block;
using testing::Dice;
using testing::OnScanRoad;
using testing::ScanRoad;
using testing::SetOf;
using testing::Without;
using Byte = unsigned char;

/// Whether `sets` stand at `place`.
bool StandAt(const std::vector<CharSet>& sets, const Byte* place, const Byte* end) {
  if (static_cast<std::size_t>(end - place) < sets.size()) return false;
  return std::all_of(sets.begin(), sets.end(), [&](const CharSet& set) { return set[*place++]; });
}

/// How many bytes the longest match has that begins at `place`; 0: there is none.
std::size_t LongestAt(const RepeatRow& row, const Byte* place, const Byte* end) {
  if (!StandAt(row.beginning, place, end)) return 0;
  const Byte* const group = place + row.group;
  const Byte* const run = place + row.beginning.size();
  std::size_t longest = 0;
  for (std::size_t length = 0; length <= row.most; ++length) {
    const Byte* const again = run + length;
    if (static_cast<std::size_t>(end - again) < row.length) break;
    const bool isMatch = length >= row.least && std::equal(group, group + row.length, again) &&
                         StandAt(row.ending, again + row.length, end);
    if (isMatch) longest = row.beginning.size() + length + row.length + row.ending.size();
    if (!row.run[*again]) break;
  }
  return longest;
}

RepeatRow RandomRow(Dice& dice) {
  const std::vector<CharSet> sets = {SetOf("a"),  SetOf("ab"), SetOf("abc"), SetOf("-"),
                                     SetOf("a-"), Without(""), Without("-")};
  const auto randomSet = [&] {
    return sets[static_cast<std::size_t>(dice.Between(0, static_cast<int>(sets.size()) - 1))];
  };
  RepeatRow row;
  for (int i = dice.OneIn(8) ? 8 : dice.Between(1, 3); i > 0; --i)
    row.beginning.push_back(randomSet());
  const auto size = static_cast<int>(row.beginning.size());
  row.group = static_cast<std::size_t>(dice.Between(0, size - 1));
  row.length = static_cast<std::size_t>(dice.Between(1, size - static_cast<int>(row.group)));
  row.run = randomSet();
  row.least = static_cast<std::size_t>(dice.OneIn(20) ? dice.Between(30, 34) : dice.Between(0, 2));
  row.most = dice.OneIn(2) ? SIZE_MAX : row.least + static_cast<std::size_t>(dice.Between(0, 40));
  for (int i = dice.OneIn(8) ? 8 : dice.Between(0, 2); i > 0; --i)
    row.ending.push_back(randomSet());
  return row;
}

TEST(RepeatSieve, TellsTheFirstMatchFromAnyPlaceToAnyOther) {
  constexpr std::uint32_t kRounds = 5'000;
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    std::size_t told = 0;
    bool hasVectors = false;
    for (std::uint32_t seed = 1; seed <= kRounds; ++seed) {
      Dice dice(seed);
      const RepeatRow row = RandomRow(dice);
      const std::optional<RepeatSieve> sieve = RepeatSieve::For(row);
      if (!sieve) continue;
      hasVectors = true;
      const char* const alphabet = dice.OneIn(2) ? "aaaaaaaaaaaabc-" : "abc-\n";
      const Block text(dice.Bytes(alphabet, dice.OneIn(20) ? 3'000 : 150));
      const auto size = static_cast<int>(text.end() - text.begin());
      RepeatSieve::Workspace work;
      const Byte* place = text.begin();
      while (place < text.end()) {
        const Byte* const end = dice.OneIn(10) ? text.end() - dice.Between(0, size) : text.end();
        const Byte* const last = dice.OneIn(5) ? text.begin() + dice.Between(0, size) : text.end();
        const RepeatSieve::Start start = sieve->Find(place, last, end, work);
        ASSERT_TRUE(start.place == nullptr ||
                    (start.place >= place && start.place <= last && start.place < end));
        const Byte* const limit =
            start.place != nullptr ? start.place : std::min(last + 1, std::max(place, end));
        for (; place < limit; ++place)
          ASSERT_EQ(LongestAt(row, place, end), 0U) << road.name << " seed " << seed;
        if (start.place == nullptr) {
          place += dice.Between(1, 20);
          continue;
        }
        if (start.length != 0) {
          ++told;
          ASSERT_EQ(start.length, LongestAt(row, place, end)) << road.name << " seed " << seed;
        }
        place += start.length != 0 && dice.OneIn(2) ? start.length : 1;
        if (dice.OneIn(50)) place = text.begin() + dice.Between(0, size);
      }
    }
    EXPECT_TRUE(!hasVectors || told > kRounds) << road.name;
  }
}

TEST(RepeatSieve, DoesNotTellWhatLiesBeyondWhatIsSeen) {
  RepeatRow row = {{SetOf("a")}, 0, 1, SetOf("b"), 1, SIZE_MAX, {}};
  const std::optional<RepeatSieve> sieve = RepeatSieve::For(row);
  if (!sieve) GTEST_SKIP() << "there are no vector instructions";
  RepeatSieve::Workspace work;
  const Block text("-a" + std::string(31, 'b') + "a-a" + std::string(32, 'b') + "a");
  const RepeatSieve::Start first = sieve->Find(text.begin(), text.end(), text.end(), work);
  EXPECT_EQ(first.place, text.begin() + 1);
  EXPECT_EQ(first.length, 33U);
  const RepeatSieve::Start second =
      sieve->Find(first.place + first.length, text.end(), text.end(), work);
  EXPECT_EQ(second.place, text.begin() + 35);
  EXPECT_EQ(second.length, 0U) << "it is not known";
}

TEST(RepeatSieve, IsNotMadeForLongRows) {
  const RepeatRow row = {std::vector<CharSet>(9, SetOf("a")), 0, 1, SetOf("b"), 1, SIZE_MAX, {}};
  EXPECT_FALSE(RepeatSieve::For(row));
}

}  // namespace
}  // namespace trovex
