// Rows of runs found from a string in their middle, against a walk that tries every length of every run from every
// place.

#include "matcher/runs/run_middle.h"

#include "matcher/tuning.h"
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
using Runs = std::vector<ByteRun>;
using Ranges = std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>>;

/// Where the longest match of the runs from `index` on ends before a byte of `after`; null if none does.
const Byte* LongestEnd(const Runs& runs, std::size_t index, const Byte* place, const Byte* end,
                       const CharSet& after) {
  if (index == runs.size()) return after[place != end ? *place : Byte{'\n'}] ? place : nullptr;
  const Byte* longest = nullptr;
  const ByteRun& run = runs[index];
  for (std::uint32_t taken = 0;; ++taken, ++place) {
    if (taken >= run.least) {
      const Byte* const last = LongestEnd(runs, index + 1, place, end, after);
      if (last != nullptr && (longest == nullptr || last > longest)) longest = last;
    }
    if (taken == run.most || place == end || !run.bytes[*place]) return longest;
  }
}

Ranges TrivialMatches(const Runs& runs, const Block& text, const Byte* place, const Byte* end,
                      const Beside& beside = {}) {
  Ranges matches;
  while (place < end) {
    const bool mayStart = beside.before[place != text.begin() ? place[-1] : Byte{'\n'}];
    const Byte* const stop = mayStart ? LongestEnd(runs, 0, place, end, beside.after) : nullptr;
    if (stop != nullptr) matches.emplace_back(place - text.begin(), stop - text.begin());
    place = stop != nullptr ? stop : place + 1;
  }
  return matches;
}

/// What a host does: it asks for `atOnce` matches at a time.
Ranges FoundMatches(const RunScan& scan, const RunMiddle& middle, const Block& text,
                    const Byte* place, const Byte* end, std::size_t atOnce) {
  RunScan::Notes notes;
  PlaceCursor cursor;
  Ranges matches;
  for (std::size_t taken = atOnce; taken == atOnce;) {
    taken = 0;
    middle.ForEach(place, text.begin(), end, scan, notes, cursor,
                   [&](const Byte* start, const Byte* stop) {
                     matches.emplace_back(start - text.begin(), stop - text.begin());
                     place = stop;
                     return ++taken < atOnce;
                   });
  }
  return matches;
}

Ranges FirstMatch(const RunScan& scan, const RunMiddle& middle, const Block& text,
                  const Byte* end) {
  RunScan::Notes notes;
  const auto [start, stop] = middle.First(text.begin(), end, scan, notes);
  if (start == nullptr) return {};
  return {{start - text.begin(), stop - text.begin()}};
}

Ranges OnlyFirst(Ranges matches) {
  if (!matches.empty()) matches.resize(1);
  return matches;
}

const std::vector<Beside> kBeside = {{},
                                     {SetOf("\n"), ~CharSet()},
                                     {~CharSet(), SetOf("\n")},
                                     {SetOf("-\n"), SetOf("-\n")},
                                     {~CharSet(), SetOf("a-")},
                                     {SetOf("a"), SetOf("b\n")},
                                     {SetOf("b\n"), SetOf("\n")},
                                     {~CharSet(), SetOf("b")}};

TEST(RunMiddle, FindsTheMatchesOfAllSmallRowsInAllSmallTexts) {
  Runs choices;
  for (const char* set : {"a", "b", "ab"}) {
    for (const auto& [least, most] :
         std::vector<std::pair<std::uint32_t, std::uint32_t>>{{1, 1},
                                                              {0, 1},
                                                              {0, 3},
                                                              {0, ByteRun::kEndless},
                                                              {1, ByteRun::kEndless},
                                                              {2, ByteRun::kEndless},
                                                              {1, 2},
                                                              {2, 2},
                                                              {2, 3}})
      choices.push_back({SetOf(set), least, most});
  }
  std::vector<Runs> rows;
  for (const ByteRun& first : choices) {
    for (const ByteRun& second : choices) {
      rows.push_back({first, second});
      for (const ByteRun& third : Runs{{SetOf("a"), 1, 1},
                                       {SetOf("b"), 1, 1},
                                       {SetOf("b"), 1, 2},
                                       {SetOf("ab"), 1, ByteRun::kEndless}}) {
        rows.push_back({first, second, third});
        if (second.least == 0) rows.push_back({first, second, third, {SetOf("-"), 1, 1}});
      }
    }
  }
  std::vector<Block> texts;
  for (const std::string& text : AllStrings({"a", "b", "-"}, 5))
    texts.emplace_back(text);
  std::size_t found = 0;
  std::size_t searched = 0;
  const auto tryAll = [&](const Runs& runs, const Beside& beside) {
    if (!RunScan::CanTake(runs, beside.after)) return;
    const std::optional<RunMiddle> middle = RunMiddle::For(runs, beside);
    if (!middle) return;
    ++searched;
    const RunScan scan(runs, beside.after);
    for (const Block& text : texts) {
      const Ranges expected = TrivialMatches(runs, text, text.begin(), text.end(), beside);
      const std::string told(text.begin(), text.end());
      ASSERT_EQ(FoundMatches(scan, *middle, text, text.begin(), text.end(), 1), expected) << told;
      ASSERT_EQ(FoundMatches(scan, *middle, text, text.begin(), text.end(), 9), expected) << told;
      ASSERT_EQ(FirstMatch(scan, *middle, text, text.end()), OnlyFirst(expected)) << told;
      found += expected.size();
    }
  };
  for (const Runs& runs : rows) {
    for (const Beside& beside : kBeside) {
      tryAll(runs, beside);
      if (HasFatalFailure()) return;
    }
  }
  EXPECT_GT(searched, 800U);
  EXPECT_GT(found, 20'000U);
}

Runs RandomRuns(Dice& dice) {
  const std::vector<CharSet> sets = {SetOf("a"),    SetOf("b"),    SetOf("c"),   SetOf("ab"),
                                     SetOf("bc"),   SetOf("-"),    Without("-"), SetOf("a-"),
                                     Without("ab"), SetOf("abcd"), Without("c"), SetOf("d")};
  Runs runs(static_cast<std::size_t>(dice.Between(2, 6)));
  for (ByteRun& run : runs) {
    run.bytes = sets[static_cast<std::size_t>(dice.Between(0, static_cast<int>(sets.size()) - 1))];
    run.least = static_cast<std::uint32_t>(dice.OneIn(4) ? 0 : dice.Between(1, 3));
    run.most = dice.OneIn(2) ? run.least + static_cast<std::uint32_t>(dice.Between(0, 2))
                             : ByteRun::kEndless;
    if (run.most == 0) run.most = 1;
  }
  return runs;
}

TEST(RunMiddle, FindsTheMatchesOfRandomRowsFromAnywhereToAnyEnd) {
  constexpr std::uint32_t kRounds = 30'000;
  std::size_t searched = 0;
  std::size_t found = 0;
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    for (std::uint32_t seed = 1; seed <= kRounds; ++seed) {
      Dice dice(seed);
      const Runs runs = RandomRuns(dice);
      const Beside& beside =
          kBeside[dice.OneIn(2) ? 0 : static_cast<std::size_t>(dice.Between(1, 7))];
      if (!RunScan::CanTake(runs, beside.after)) continue;
      const std::optional<RunMiddle> middle = RunMiddle::For(runs, beside);
      if (!middle) continue;
      ++searched;
      const char* const alphabet = dice.OneIn(2) ? "aaabbbccd-" : "abcd-\n";
      const Block text(dice.Bytes(alphabet, dice.OneIn(20) ? 700 : 80));
      const auto size = static_cast<int>(text.end() - text.begin());
      const Byte* const end = dice.OneIn(2) ? text.end() - dice.Between(0, size) : text.end();
      const Byte* const place =
          dice.OneIn(2) ? text.begin() + dice.Between(0, static_cast<int>(end - text.begin()))
                        : text.begin();
      const Ranges expected = TrivialMatches(runs, text, place, end, beside);
      const std::size_t atOnce = dice.OneIn(2) ? 1 : 10;
      const RunScan scan(runs, beside.after);
      ASSERT_EQ(FoundMatches(scan, *middle, text, place, end, atOnce), expected)
          << road.name << " seed " << seed << ": " << std::string(text.begin(), text.end());
      found += expected.size();
    }
  }
  EXPECT_GT(searched, 1'000U);
  EXPECT_GT(found, 1'000U);
}

TEST(RunMiddle, FindsRowsThatBeginLinesBehindLinesOfAnyLength) {
  constexpr std::uint32_t kRounds = 300;
  const Beside lineBefore = {SetOf("\n"), ~CharSet()};
  const std::vector<Runs> rows = {
      {{SetOf("a"), 0, ByteRun::kEndless}, {SetOf("bc"), 1, ByteRun::kEndless}, {SetOf(":"), 1, 1}},
      {{SetOf("abc"), 1, ByteRun::kEndless}, {SetOf(":"), 1, 1}},
      {{SetOf("abc"), 1, ByteRun::kEndless}, {SetOf(":"), 2, 2}}};
  std::size_t found = 0;
  for (const Runs& runs : rows) {
    const std::optional<RunMiddle> middle = RunMiddle::For(runs, lineBefore);
    ASSERT_TRUE(middle);
    const RunScan scan(runs);
    for (std::uint32_t seed = 1; seed <= kRounds; ++seed) {
      Dice dice(seed);
      std::string content = dice.Bytes("abc:", 3 * static_cast<int>(kNearLineFeed));
      for (int feeds = dice.Between(0, 4); feeds > 0; --feeds)
        content[static_cast<std::size_t>(dice.Between(0, static_cast<int>(content.size()) - 1))] =
            '\n';
      const Block text(content);
      const std::size_t feed = content.find('\n');
      const Byte* place = text.begin();
      if (dice.OneIn(2)) place += dice.Between(0, static_cast<int>(content.size()));
      if (dice.OneIn(3) && feed != std::string::npos) place = text.begin() + feed + 1;
      const Ranges expected = TrivialMatches(runs, text, place, text.end(), lineBefore);
      const std::size_t atOnce = dice.OneIn(2) ? 1 : 10;
      ASSERT_EQ(FoundMatches(scan, *middle, text, place, text.end(), atOnce), expected)
          << "seed " << seed;
      found += expected.size();
    }
  }
  EXPECT_GT(found, 300U);
}

TEST(RunMiddle, GoesBackOverNoTextAgainAndAgain) {
  // Would it go back to the beginning from each of the strings, it would take minutes.
  const CharSet letters = SetOf("gnu");
  const Runs runs = {{SetOf("X"), 1, 1},
                     {letters, 1, ByteRun::kEndless},
                     {SetOf("u"), 1, 1},
                     {SetOf("n"), 1, 1},
                     {SetOf("g"), 1, 1}};
  const std::optional<RunMiddle> middle = RunMiddle::For(runs);
  ASSERT_TRUE(middle);
  std::string content;
  for (int i = 0; i < 500'000; ++i)
    content += "ung";
  const Block text(content);
  const RunScan scan(runs);
  EXPECT_TRUE(FoundMatches(scan, *middle, text, text.begin(), text.end(), 1).empty());
}

TEST(RunMiddle, TheRarestStringIsTaken) {
  const CharSet digits = SetOf("0123456789");
  const Runs dotted = {{digits, 1, 3}, {SetOf("."), 1, 1}, {digits, 1, ByteRun::kEndless}};
  ASSERT_TRUE(RunMiddle::For(dotted));
  EXPECT_LT(RunMiddle::For(dotted)->Rate(), 10);
  const CharSet letters = SetOf("abcdefghijklmnopqrstuvwxyz");
  const Runs ending = {{letters, 1, ByteRun::kEndless}, {SetOf("q"), 1, 1}};
  ASSERT_TRUE(RunMiddle::For(ending));
  EXPECT_LT(RunMiddle::For(ending)->Rate(), 100);
  const Beside atLineEnd = {~CharSet(), SetOf("\n")};
  const Runs word = {{letters, 1, ByteRun::kEndless}};
  ASSERT_TRUE(RunMiddle::For(word, atLineEnd));
  EXPECT_LT(RunMiddle::For(word, atLineEnd)->Rate(), 5'000);
}

TEST(RunMiddle, ARowOfWhichTheWayBackIsNotOneHasNone) {
  const ByteRun letters = {SetOf("ab"), 1, ByteRun::kEndless};
  const ByteRun few = {SetOf("ab"), 1, 5};
  const ByteRun b = {SetOf("b"), 1, 1};
  const ByteRun dash = {SetOf("-"), 1, 1};
  EXPECT_FALSE(RunMiddle::For({letters}));
  EXPECT_FALSE(RunMiddle::For({{SetOf("ab"), 5, 9}, b}));
  EXPECT_FALSE(RunMiddle::For({dash, few, b}));
  EXPECT_FALSE(RunMiddle::For({b, letters}));
  EXPECT_FALSE(RunMiddle::For({{SetOf("a"), 0, 1}, {SetOf("b"), 0, 3}, dash}));
  EXPECT_FALSE(RunMiddle::For({{SetOf("a"), 1, 1}, {SetOf("b"), 0, 1}, letters, dash}));
  EXPECT_FALSE(RunMiddle::For({letters}, {~CharSet(), SetOf("-\n")}));
  EXPECT_FALSE(RunMiddle::For({letters}, {~CharSet(), SetOf("b")}));
  EXPECT_FALSE(RunMiddle::For({{SetOf("a"), 0, ByteRun::kEndless}}, {~CharSet(), SetOf("\n")}));
  EXPECT_TRUE(RunMiddle::For({letters}, {~CharSet(), SetOf("\n")}));
  EXPECT_TRUE(RunMiddle::For({letters, b}));
  EXPECT_TRUE(RunMiddle::For({few, b}));
  EXPECT_TRUE(RunMiddle::For({few, dash}));
  EXPECT_TRUE(RunMiddle::For({{SetOf("a"), 0, 1}, dash}));
  EXPECT_TRUE(RunMiddle::For({{SetOf("a"), 0, 1}, {SetOf("b"), 0, ByteRun::kEndless}, dash}));
}

}  // namespace
}  // namespace trovex
