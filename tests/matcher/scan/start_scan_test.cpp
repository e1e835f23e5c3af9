// The search for places where a match can start against looking at each place.

#include "matcher/scan/start_scan.h"

#include "tests/dice.h"
#include "tests/matcher/scan/byte_blocks.h"
#include "tests/matcher/scan/scan_roads.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
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

using Byte = unsigned char;
using Places = std::vector<std::ptrdiff_t>;
using Way = std::vector<CharSet>;

/// Ways to start after a byte of `before`, which are probed at all offsets.
struct Starts {
  CharSet before;
  std::vector<Way> ways;

  StartScan Scan() const {
    std::vector<Probes> probes;
    CharSet first;
    for (const Way& way : ways) {
      Probes all;
      if (!before.all()) all.push_back({0, before});
      for (const CharSet& set : way)
        all.push_back({static_cast<int>(all.size()), set});
      probes.push_back(all);
      first |= way.front();
    }
    return {probes, before, first};
  }

  bool IsAt(const Byte* place, const Byte* begin, const Byte* end) const {
    if (!before[place != begin ? place[-1] : Byte{'\n'}]) return false;
    return std::any_of(ways.begin(), ways.end(), [&](const Way& way) {
      if (end - place < static_cast<std::ptrdiff_t>(way.size())) return false;
      for (std::size_t i = 0; i < way.size(); ++i) {
        if (!way[i][place[i]]) return false;
      }
      return true;
    });
  }
};

TEST(StartScan, MissesNoPlaceAndTellsNoOtherButTheBeginOfTheText) {
  constexpr std::uint32_t kRounds = 3'000;
  const std::vector<CharSet> befores = {~CharSet(), SetOf("\n"), SetOf("-\n"), SetOf("-a")};
  const std::vector<CharSet> sets = {SetOf("a"), SetOf("b"), SetOf("ab"), SetOf("c-")};
  std::size_t found = 0;
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    for (std::uint32_t seed = 1; seed <= kRounds; ++seed) {
      Dice dice(seed);
      const auto anyOf = [&](const std::vector<CharSet>& all) {
        return all[static_cast<std::size_t>(dice.Between(0, static_cast<int>(all.size()) - 1))];
      };
      Starts starts = {anyOf(befores), std::vector<Way>(dice.OneIn(2) ? 1 : 2)};
      const auto length = static_cast<std::size_t>(dice.Between(1, 2));
      for (Way& way : starts.ways) {
        for (std::size_t i = 0; i < length; ++i)
          way.push_back(anyOf(sets));
      }
      const StartScan scan = starts.Scan();
      const Block text(dice.Bytes("aaabbc-\n", dice.OneIn(3) ? 900 : 60));
      const auto size = static_cast<int>(text.end() - text.begin());
      const Byte* const begin = text.begin();
      const Byte* const end = dice.OneIn(2) ? text.end() - dice.Between(0, size) : text.end();
      const Byte* const from = begin + dice.Between(0, static_cast<int>(end - begin));
      Places expected;
      Places each;
      Places oneByOne;
      Places kept;
      for (const Byte* place = from; place < end; ++place) {
        const bool isFirst = place == begin && !starts.before.all() && starts.before['\n'] &&
                             std::any_of(starts.ways.begin(), starts.ways.end(),
                                         [&](const Way& way) { return way.front()[*place]; });
        if (isFirst || starts.IsAt(place, begin, end)) expected.push_back(place - begin);
      }
      PlaceCursor cursor;
      scan.ForEach(from, begin, end, cursor, [&](const Byte* place) {
        each.push_back(place - begin);
        return place + 1;
      });
      for (const Byte* place = from; (place = scan.Find(place, begin, end)) != nullptr; ++place)
        oneByOne.push_back(place - begin);
      cursor.Reset();
      for (const Byte* place = from; (place = scan.Find(place, begin, end, cursor)) != nullptr;
           ++place)
        kept.push_back(place - begin);
      const std::string told = road.name + " seed " + std::to_string(seed);
      ASSERT_EQ(each, expected) << told;
      ASSERT_EQ(oneByOne, expected) << told;
      ASSERT_EQ(kept, expected) << told;
      found += expected.size();
    }
  }
  EXPECT_GT(found, 10'000U);
}

TEST(StartScan, LineFeedsAreFoundHoweverFarTheyAreApart) {
  constexpr int kNear = static_cast<int>(kNearLineFeed);
  const StartScan scan({{{0, SetOf("\n")}, {1, SetOf("a")}}}, SetOf("\n"), SetOf("a"));
  for (const int distance : {1, 70, kNear - 1, kNear, kNear + 1, 20'000}) {
    std::string line(static_cast<std::size_t>(distance), 'b');
    const Block text("a" + line + "\na" + line + "\nb" + line + "\na" + line);
    Places expected = {0, distance + 2, 3 * distance + 6};
    Places found;
    PlaceCursor cursor;
    scan.ForEach(text.begin(), text.begin(), text.end(), cursor, [&](const Byte* place) {
      found.push_back(place - text.begin());
      return place + 1;
    });
    EXPECT_EQ(found, expected) << distance;
    expected.erase(expected.begin());
    found.clear();
    for (const Byte* place = text.begin() + 1;
         (place = scan.Find(place, text.begin(), text.end())) != nullptr; ++place)
      found.push_back(place - text.begin());
    EXPECT_EQ(found, expected) << distance;
  }
}

TEST(StartScan, WhatStandsBeforeIsAskedThoughNoProbeLooksForIt) {
  const StartScan scan({{{1, SetOf("a")}}}, SetOf("\n"), SetOf("a"));
  const Block text("aaa\naa");
  EXPECT_EQ(scan.Find(text.begin(), text.begin(), text.end()), text.begin());
  EXPECT_EQ(scan.Find(text.begin() + 1, text.begin(), text.end()), text.begin() + 4);
  EXPECT_EQ(scan.Find(text.begin() + 5, text.begin(), text.end()), nullptr);
  EXPECT_TRUE(scan.MayStartAfter(text.begin(), text.begin()));
  EXPECT_FALSE(scan.MayStartAfter(text.begin(), text.begin() + 1));
  EXPECT_TRUE(scan.MayStartAfter(text.begin(), text.begin() + 4));
}

}  // namespace
}  // namespace trovex
