// The search for a string with what must stand beside it against the trivial one.

#include "matcher/scan/string_scan.h"

#include "tests/dice.h"
#include "tests/matcher/scan/byte_blocks.h"
#include "tests/matcher/scan/scan_roads.h"
#include "tests/matcher/small_cases.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <string>
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

using Byte = unsigned char;
using Places = std::vector<std::ptrdiff_t>;
using String = std::vector<CharSet>;

bool Stands(const String& string, const Beside& beside, const Byte* place, const Byte* begin,
            const Byte* end) {
  if (end - place < static_cast<std::ptrdiff_t>(string.size())) return false;
  for (std::size_t i = 0; i < string.size(); ++i) {
    if (!string[i][place[i]]) return false;
  }
  const Byte* const after = place + string.size();
  return beside.before[place != begin ? place[-1] : Byte{'\n'}] &&
         beside.after[after != end ? *after : Byte{'\n'}];
}

/// The places from `place` on, each at or after the end of the one before it.
Places TrivialPlaces(const String& string, const Beside& beside, const Byte* place,
                     const Byte* begin, const Byte* end) {
  Places places;
  while (place < end) {
    const bool stands = Stands(string, beside, place, begin, end);
    if (stands) places.push_back(place - begin);
    place += stands ? string.size() : 1;
  }
  return places;
}

Places FoundPlaces(const StringScan& scan, const Byte* place, const Byte* begin, const Byte* end,
                   std::size_t atOnce) {
  Places places;
  PlaceCursor cursor;
  for (std::size_t taken = atOnce; taken == atOnce;) {
    taken = 0;
    scan.ForEach(place, begin, end, cursor, [&](const Byte* found) -> const Byte* {
      places.push_back(found - begin);
      place = found + scan.Length();
      return ++taken < atOnce ? place : nullptr;
    });
  }
  return places;
}

Places FoundOneByOne(const StringScan& scan, const Byte* place, const Byte* begin,
                     const Byte* end) {
  Places places;
  while ((place = scan.Find(place, begin, end)) != nullptr) {
    places.push_back(place - begin);
    place += scan.Length();
  }
  return places;
}

const std::vector<CharSet> kBeside = {~CharSet(), SetOf("\n"), SetOf("-\n"),
                                      SetOf("-"), SetOf("a"),  ~SetOf("a")};

TEST(StringScan, FindsAllSmallStringsInAllSmallTexts) {
  std::vector<Block> texts;
  for (const std::string& text : AllStrings({"a", "b", "-", "\n"}, 5))
    texts.emplace_back(text);
  std::size_t found = 0;
  for (const String& string : std::vector<String>{
           {SetOf("a")}, {SetOf("ab")}, {SetOf("a"), SetOf("b")}, {SetOf("a"), SetOf("a")}}) {
    for (const CharSet& before : kBeside) {
      for (const CharSet& after : kBeside) {
        const Beside beside = {before, after};
        const StringScan scan(string, beside);
        for (const Block& text : texts) {
          const Places expected =
              TrivialPlaces(string, beside, text.begin(), text.begin(), text.end());
          const std::string told(text.begin(), text.end());
          for (const std::size_t atOnce : std::vector<std::size_t>{1, 2, 9}) {
            ASSERT_EQ(FoundPlaces(scan, text.begin(), text.begin(), text.end(), atOnce), expected)
                << told;
          }
          ASSERT_EQ(FoundOneByOne(scan, text.begin(), text.begin(), text.end()), expected) << told;
          found += expected.size();
        }
      }
    }
  }
  EXPECT_GT(found, 10'000U);
}

TEST(StringScan, FindsRandomStringsFromAnywhereToAnyEnd) {
  constexpr std::uint32_t kRounds = 3'000;
  const std::vector<CharSet> sets = {SetOf("a"), SetOf("b"), SetOf("ab"), SetOf("c-"),
                                     ~SetOf("a\n")};
  std::size_t found = 0;
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    for (std::uint32_t seed = 1; seed <= kRounds; ++seed) {
      Dice dice(seed);
      const auto anyOf = [&](const std::vector<CharSet>& all) {
        return all[static_cast<std::size_t>(dice.Between(0, static_cast<int>(all.size()) - 1))];
      };
      String string(static_cast<std::size_t>(dice.Between(1, 5)));
      for (CharSet& set : string)
        set = anyOf(sets);
      const Beside beside = {anyOf(kBeside), anyOf(kBeside)};
      const Block text(dice.Bytes("aaabbc-\n", dice.OneIn(3) ? 900 : 60));
      const auto size = static_cast<int>(text.end() - text.begin());
      const Byte* const end = dice.OneIn(2) ? text.end() - dice.Between(0, size) : text.end();
      const Byte* const place =
          text.begin() + dice.Between(0, static_cast<int>(end - text.begin()));
      const Places expected = TrivialPlaces(string, beside, place, text.begin(), end);
      const StringScan scan(string, beside);
      ASSERT_EQ(FoundPlaces(scan, place, text.begin(), end, dice.OneIn(2) ? 1 : 10), expected)
          << road.name << " seed " << seed << ": " << std::string(text.begin(), text.end());
      ASSERT_EQ(FoundOneByOne(scan, place, text.begin(), end), expected)
          << road.name << " seed " << seed << ": " << std::string(text.begin(), text.end());
      found += expected.size();
    }
  }
  EXPECT_GT(found, 10'000U);
}

TEST(StringScan, LineFeedsBeforeItAreFoundHoweverFarTheyAreApart) {
  constexpr int kNear = static_cast<int>(kNearLineFeed);
  for (const CharSet& after : {~CharSet(), SetOf("\n")}) {
    const String string = {SetOf("a"), SetOf("b")};
    const Beside beside = {SetOf("\n"), after};
    const StringScan scan(string, beside);
    for (const int distance : {1, 70, kNear - 1, kNear, kNear + 1, 20'000}) {
      const std::string line(static_cast<std::size_t>(distance), 'a');
      const Block text("ab" + line + "\nab\n" + line + "\nab" + line + "\nab");
      for (const Byte* place : {text.begin(), text.begin() + 1, text.begin() + distance}) {
        const Places expected = TrivialPlaces(string, beside, place, text.begin(), text.end());
        EXPECT_EQ(FoundPlaces(scan, place, text.begin(), text.end(), 1'000), expected) << distance;
        EXPECT_EQ(FoundOneByOne(scan, place, text.begin(), text.end()), expected) << distance;
      }
    }
  }
}

}  // namespace
}  // namespace trovex
