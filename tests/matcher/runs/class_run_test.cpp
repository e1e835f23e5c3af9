// Runs of one set of bytes against a search that looks at one byte after the other.

#include "matcher/runs/class_run.h"

#include "tests/dice.h"
#include "tests/matcher/scan/byte_blocks.h"
#include "tests/matcher/scan/scan_roads.h"
#include "tests/matcher/small_cases.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace trovex {
namespace {

using testing::AllScanRoads;
using testing::AllStrings;
using testing::Block;
using testing::Dice;
using testing::OnScanRoad;
using testing::ScanRoad;
using testing::SetOf;
using testing::Without;
using Byte = unsigned char;
using ByteRun = trovex::Run;  // the tests have a Run of their own
using Ranges = std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>>;

/// The matches from `place` up to `end`, as places from `begin`.
Ranges TrivialMatches(const ByteRun& run, const Byte* begin, const Byte* place, const Byte* end) {
  Ranges matches;
  while (place < end) {
    const Byte* stop = place;
    while (stop != end && run.bytes[*stop] && stop - place < std::ptrdiff_t{run.most})
      ++stop;
    const bool isMatch = stop - place >= std::ptrdiff_t{run.least};
    if (isMatch) matches.emplace_back(place - begin, stop - begin);
    place = isMatch ? stop : place + 1;
  }
  return matches;
}

/// The same by the scan, of which each call takes `atOnce` of them.
Ranges FoundMatches(const ClassRun& scan, const Block& text, std::size_t atOnce) {
  Ranges matches;
  ClassRun::Cursor cursor;
  const Byte* place = text.begin();
  for (std::size_t taken = atOnce; taken == atOnce;) {
    taken = 0;
    scan.ForEach(place, text.end(), cursor, [&](const Byte* start, const Byte* stop) {
      matches.emplace_back(start - text.begin(), stop - text.begin());
      place = stop;
      return ++taken < atOnce;
    });
  }
  return matches;
}

/// The first of the matches in [place, end).
Ranges FirstMatch(const ClassRun& scan, const Byte* begin, const Byte* place, const Byte* end) {
  const auto [start, stop] = scan.First(place, end);
  if (start == nullptr) return {};
  return {{start - begin, stop - begin}};
}

Ranges OnlyFirst(Ranges matches) {
  if (!matches.empty()) matches.resize(1);
  return matches;
}

TEST(ClassRun, FindsTheRunsOfAllSmallTexts) {
  std::vector<ByteRun> runs;
  for (const CharSet& set : {SetOf("a"), SetOf("ab"), Without("a"), SetOf("a0Zz~\x80\xFF")}) {
    for (const auto& [least, most] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
             {1, 1}, {1, 2}, {1, ByteRun::kEndless}, {2, 2}, {2, 3}, {3, ByteRun::kEndless}})
      runs.push_back({set, least, most});
  }
  std::vector<Block> texts;
  // Also across the border of two words, with what is no run around it, and with what is.
  for (const std::string& text : AllStrings({"a", "b", "-"}, 5)) {
    for (const std::string& piece : {std::string(), std::string(61, '-'), std::string(62, 'a')})
      texts.emplace_back(piece + text + piece.substr(0, piece.size() / 2));
  }
  std::size_t count = 0;
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    for (const ByteRun& run : runs) {
      const std::optional<ClassRun> scan = ClassRun::For(run);
      if (!scan) continue;
      for (const Block& text : texts) {
        const Ranges expected = TrivialMatches(run, text.begin(), text.begin(), text.end());
        const std::string told(text.begin(), text.end());
        ASSERT_EQ(FoundMatches(*scan, text, 1), expected) << road.name << ": " << told;
        ASSERT_EQ(FoundMatches(*scan, text, 100), expected) << road.name << ": " << told;
        ASSERT_EQ(FirstMatch(*scan, text.begin(), text.begin(), text.end()), OnlyFirst(expected))
            << road.name << ": " << told;
        count += expected.size();
      }
    }
  }
  EXPECT_TRUE(count > 100'000U || !ClassRun::For(runs[0]));
}

/// Stretches of bytes of the run and of others, some of them long.
std::string RandomStretches(Dice& dice, int most) {
  std::string text;
  for (int i = dice.Between(1, 60); i > 0; --i) {
    const int length = dice.OneIn(12) ? dice.Between(1, most) : dice.Between(1, 12);
    text += dice.OneIn(2) ? std::string(static_cast<std::size_t>(length), 'a')
                          : dice.Bytes("ab-\n", length);
  }
  return text;
}

TEST(ClassRun, FindsRunsFromAnywhereToAnyEndAtRandom) {
  constexpr std::uint32_t kRounds = 1'500;
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    for (std::uint32_t seed = 1; seed <= kRounds; ++seed) {
      Dice dice(seed);
      ByteRun run = {dice.OneIn(2) ? SetOf("a") : Without("b"), 1, ByteRun::kEndless};
      run.least =
          static_cast<std::uint32_t>(dice.OneIn(3) ? dice.Between(1, 63) : dice.Between(1, 9));
      if (dice.OneIn(2)) run.most = run.least;
      if (dice.OneIn(3)) run.most = run.least + static_cast<std::uint32_t>(dice.Between(0, 900));
      const std::optional<ClassRun> scan = ClassRun::For(run);
      if (!scan) continue;
      const Block text(RandomStretches(dice, dice.OneIn(20) ? 9'000 : 200));
      const auto size = static_cast<int>(text.end() - text.begin());
      ClassRun::Cursor cursor;
      const Byte* place = text.begin();
      for (int step = 0; step < 12; ++step) {
        const Byte* const end = dice.OneIn(3) ? text.end() - dice.Between(0, size) : text.end();
        place = std::min(place, end);
        const Ranges expected = TrivialMatches(run, text.begin(), place, end);
        ASSERT_EQ(FirstMatch(*scan, text.begin(), place, end), OnlyFirst(expected))
            << road.name << " seed " << seed;
        const std::size_t most = dice.OneIn(2) ? 3 : 10'000;
        Ranges found;
        scan->ForEach(place, end, cursor, [&](const Byte* start, const Byte* stop) {
          found.emplace_back(start - text.begin(), stop - text.begin());
          place = stop;
          return found.size() < most;
        });
        ASSERT_TRUE(found.size() <= expected.size() &&
                    std::equal(found.begin(), found.end(), expected.begin()) &&
                    (found.size() == most || found.size() == expected.size()))
            << road.name << " seed " << seed << " step " << step;
        if (found.size() < most || dice.OneIn(3)) place = text.begin() + dice.Between(0, size);
      }
    }
  }
}

TEST(ClassRun, ARunThatGoesOnForLongIsTakenWholeOrPieceByPiece) {
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    const Block text("-" + std::string(300'001, 'a') + "-aaaa");
    for (const auto& [least, most] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
             {2, ByteRun::kEndless}, {7, 7}, {3, 900}, {63, 1000}}) {
      const ByteRun run = {SetOf("a"), least, most};
      const std::optional<ClassRun> scan = ClassRun::For(run);
      if (!scan) continue;
      const Ranges expected = TrivialMatches(run, text.begin(), text.begin(), text.end());
      EXPECT_EQ(FoundMatches(*scan, text, 1), expected) << road.name;
      EXPECT_EQ(FoundMatches(*scan, text, 32), expected) << road.name;
    }
  }
}

TEST(ClassRun, TakesNoRunsThatMayBeEmptyOrNeedMoreBytesThanAWordHasBits) {
  EXPECT_FALSE(ClassRun::For({SetOf("a"), 0, 1}));
  EXPECT_FALSE(ClassRun::For({SetOf("a"), 64, 64}));
}

TEST(ClassRun, TellsTheBytesOfAnySet) {
  std::string all;
  for (int c = 0; c < 256; ++c)
    all += static_cast<char>(c);
  const Block text(all + all);
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    for (std::uint32_t seed = 1; seed <= 300; ++seed) {
      Dice dice(seed);
      ByteRun run = {CharSet(), 1, 2};
      const int frequency = dice.Between(2, 200);
      const int first = dice.Between(0, 255);
      for (int c = 0; c < 256; ++c) {
        const bool isNear = dice.OneIn(2) && c >= first && c < first + 30;
        run.bytes.set(static_cast<std::size_t>(c), isNear || dice.OneIn(frequency));
      }
      run.bytes.reset('\n');
      const std::optional<ClassRun> scan = ClassRun::For(run);
      if (!scan) continue;
      ASSERT_EQ(FoundMatches(*scan, text, 5),
                TrivialMatches(run, text.begin(), text.begin(), text.end()))
          << road.name << " seed " << seed;
    }
  }
}

}  // namespace
}  // namespace trovex
