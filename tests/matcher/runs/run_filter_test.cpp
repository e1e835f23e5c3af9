// The places where a row of runs can begin, against a walk that tries every length of every run: none where a
// match begins may be missing, and where the row is told to the byte, there is none beside.

#include "matcher/runs/run_filter.h"

#include "tests/dice.h"
#include "tests/matcher/scan/byte_blocks.h"
#include "tests/matcher/scan/scan_roads.h"
#include "tests/matcher/small_cases.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
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
using Runs = std::vector<ByteRun>;
using Places = std::vector<std::ptrdiff_t>;

/// Whether the runs from `index` on stand at `place`.
bool StandAt(const Runs& runs, std::size_t index, const Byte* place, const Byte* end) {
  if (index == runs.size()) return true;
  const ByteRun& run = runs[index];
  for (std::uint32_t taken = 0;; ++taken, ++place) {
    if (taken >= run.least && StandAt(runs, index + 1, place, end)) return true;
    if (taken == run.most || place == end || !run.bytes[*place]) return false;
  }
}

Places TrivialPlaces(const Runs& runs, const Block& text) {
  Places places;
  for (const Byte* place = text.begin(); place < text.end(); ++place) {
    if (StandAt(runs, 0, place, text.end())) places.push_back(place - text.begin());
  }
  return places;
}

Places FoundPlaces(const RunFilter& filter, const Block& text) {
  Places places;
  RunFilter::Cursor cursor;
  for (const Byte* place = text.begin();
       (place = filter.Find(place, text.end(), cursor)) != nullptr; ++place) {
    places.push_back(place - text.begin());
  }
  return places;
}

std::vector<ByteRun> SmallRuns() {
  std::vector<ByteRun> choices;
  for (const char* set : {"a", "b", "ab"}) {
    for (const auto& [least, most] : {std::pair<std::uint32_t, std::uint32_t>{1U, 1U},
                                      {0U, 1U},
                                      {1U, ByteRun::kEndless},
                                      {0U, ByteRun::kEndless},
                                      {1U, 2U},
                                      {2U, 4U}}) {
      choices.push_back({SetOf(set), least, most});
    }
  }
  return choices;
}

TEST(RunFilter, FindsJustThePlacesOfAllSmallRowsInAllSmallTexts) {
  const std::vector<ByteRun> choices = SmallRuns();
  std::vector<Runs> rows;
  for (const ByteRun& first : choices) {
    if (first.least == 0) continue;
    rows.push_back({first});
    for (const ByteRun& second : choices) {
      rows.push_back({first, second});
      rows.push_back({first, second, {SetOf("b"), 1, 1}});
    }
  }
  // Between pieces that hold no place, a small text lies across the border of two words.
  const std::vector<std::string> pieces = {"", std::string(61, '-')};
  std::vector<Block> texts;
  for (const std::string& text : AllStrings({"a", "b", "-"}, 5)) {
    for (const std::string& piece : pieces)
      texts.emplace_back(piece + text + piece.substr(0, piece.size() / 2));
  }
  std::size_t places = 0;
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    for (const Runs& runs : rows) {
      const std::optional<RunFilter> filter = RunFilter::For(runs);
      if (!filter) continue;
      for (const Block& text : texts) {
        const Places expected = TrivialPlaces(runs, text);
        ASSERT_EQ(FoundPlaces(*filter, text), expected)
            << road.name << ": " << std::string(text.begin(), text.end());
        places += expected.size();
      }
    }
  }
  EXPECT_TRUE(places > 100'000U || ChooseMarkPlaces() == nullptr);
}

Runs RandomRuns(Dice& dice) {
  const std::vector<CharSet> sets = {SetOf("a"),  SetOf("b"),     SetOf("ab"),  SetOf("-"),
                                     SetOf("ac"), Without("-"),   Without("b"), Without(""),
                                     SetOf("bc"), Without("abc"), SetOf("a-")};
  Runs runs(static_cast<std::size_t>(dice.Between(1, 5)));
  for (ByteRun& run : runs) {
    run.bytes = sets[static_cast<std::size_t>(dice.Between(0, static_cast<int>(sets.size()) - 1))];
    run.least = static_cast<std::uint32_t>(dice.Between(0, 3));
    run.most = dice.OneIn(3) ? ByteRun::kEndless
               : dice.OneIn(2)
                   ? std::max(run.least, 1U)
                   : std::max(run.least, 1U) + static_cast<std::uint32_t>(dice.Between(0, 12));
  }
  return runs;
}

TEST(RunFilter, MissesNoPlaceFromAnywhereToAnyEnd) {
  constexpr std::uint32_t kRounds = 3'000;
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    for (std::uint32_t seed = 1; seed <= kRounds; ++seed) {
      Dice dice(seed);
      const Runs runs = RandomRuns(dice);
      const std::optional<RunFilter> filter = RunFilter::For(runs);
      if (!filter) continue;
      const char* const alphabet = dice.OneIn(2) ? "aaaaaaaabc-" : "abc-\n";
      const Block text(dice.Bytes(alphabet, dice.OneIn(10) ? 9'000 : 300));
      const auto size = static_cast<int>(text.end() - text.begin());
      RunFilter::Cursor cursor;
      const Byte* place = text.begin();
      for (int step = 0; step < 40; ++step) {
        const Byte* const end = dice.OneIn(6) ? text.end() - dice.Between(0, size) : text.end();
        place = std::min(place, end);
        const Byte* const next = filter->Find(place, end, cursor);
        const Byte* const limit = next != nullptr ? next : end;
        ASSERT_TRUE(place <= limit && limit <= end) << road.name << " seed " << seed;
        for (const Byte* at = place; at < limit; ++at)
          ASSERT_FALSE(StandAt(runs, 0, at, end)) << road.name << " seed " << seed;
        place = next == nullptr || dice.OneIn(10) ? text.begin() + dice.Between(0, size) : next + 1;
      }
    }
  }
}

TEST(RunFilter, FindsHardlyAnyOtherPlacesInLongTexts) {
  const Runs runs = {{SetOf("ab"), 1, 1},
                     {SetOf("abc"), 1, ByteRun::kEndless},
                     {SetOf("-"), 1, 1},
                     {SetOf("ab"), 1, 1}};
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    const std::optional<RunFilter> filter = RunFilter::For(runs);
    if (!filter) continue;
    Dice dice(1);
    std::string content;
    while (content.size() < 100'000)
      content += dice.Bytes("aabbcc--\n", 1'000);
    const Block text(content);
    EXPECT_LE(FoundPlaces(*filter, text).size(), TrivialPlaces(runs, text).size() + 100);
  }
}

TEST(RunFilter, ARowThatMayBeginWithNothingIsNotTaken) {
  EXPECT_FALSE(RunFilter::For({{SetOf("a"), 0, 1}, {SetOf("b"), 1, 1}}));
}

}  // namespace
}  // namespace trovex
