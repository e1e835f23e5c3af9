// The cursor against the scan itself, on every road that the machine has.

#include "matcher/scan/place_cursor.h"

#include "tests/dice.h"
#include "tests/matcher/scan/scan_roads.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::AllScanRoads;
using testing::Dice;
using testing::OnScanRoad;
using testing::ScanRoad;
using Byte = unsigned char;

CharSet SetOf(std::string_view bytes) {
  CharSet set;
  for (const char c : bytes)
    set.set(static_cast<Byte>(c));
  return set;
}

std::vector<PlaceScan> SomeScans() {
  std::vector<PlaceScan> scans;
  scans.emplace_back(Probes{{0, SetOf("x")}});
  scans.emplace_back(Probes{{0, SetOf("x")}, {3, SetOf("yY")}});
  scans.emplace_back(Probes{{1, SetOf("xyz")}, {70, ~SetOf("y")}});
  scans.emplace_back(Probes{{0, SetOf(".y")}, {2, SetOf("xz")}});
  scans.emplace_back(Probes{{0, SetOf("WY")}});
  scans.push_back(PlaceScan::ForAlternatives(
      {{{0, SetOf("x")}, {1, SetOf("y")}}, {{0, SetOf("Y")}, {1, SetOf(".x")}}}));
  return scans;
}

TEST(PlaceCursor, FindsWhatTheScanFindsFromAnyPlaceToAnyEnd) {
  constexpr std::uint32_t kRounds = 1'500;
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    const std::vector<PlaceScan> scans = SomeScans();
    for (std::uint32_t seed = 1; seed <= kRounds; ++seed) {
      Dice dice(seed);
      const PlaceScan& scan = scans[seed % scans.size()];
      const std::string content =
          dice.Bytes(dice.OneIn(2) ? "xyY." : "x.........................................y",
                     dice.OneIn(3) ? 9'000 : 400);
      const std::unique_ptr<Byte[]> text(new Byte[content.size()]);
      std::copy(content.begin(), content.end(), text.get());
      const Byte* const end = text.get() + content.size();
      PlaceCursor cursor;
      const Byte* place = text.get();
      for (int step = 0; step < 60; ++step) {
        const Byte* const limit =
            dice.OneIn(8) ? end - dice.Between(0, static_cast<int>(end - place)) : end;
        const Byte* const expected = scan.Find(place, limit);
        ASSERT_EQ(cursor.Find(scan, place, limit), expected)
            << road.name << " seed " << seed << " step " << step;
        place = expected == nullptr || dice.OneIn(10)
                    ? text.get() + dice.Between(0, static_cast<int>(content.size()))
                    : expected + 1;
      }
    }
  }
}

TEST(PlaceCursor, TakesEveryPlaceOnce) {
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    for (const PlaceScan& scan : SomeScans()) {
      for (std::uint32_t seed = 1; seed <= 40; ++seed) {
        Dice dice(seed);
        const std::string content = dice.Bytes("xyY...", 6'000);
        const auto* const begin = reinterpret_cast<const Byte*>(content.data());
        const Byte* const end = begin + content.size();
        std::vector<const Byte*> expected;
        for (const Byte* at = begin; (at = scan.Find(at, end)) != nullptr; at += 2)
          expected.push_back(at);
        std::vector<const Byte*> taken;
        PlaceCursor cursor;
        cursor.ForEach(scan, begin, end, [&](const Byte* at) {
          taken.push_back(at);
          return at + 2;
        });
        ASSERT_EQ(taken, expected) << road.name << " seed " << seed;
      }
    }
  }
}

}  // namespace
}  // namespace trovex
