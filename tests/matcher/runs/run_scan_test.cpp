// Rows of runs against a walk that tries every length of every run.

#include "matcher/runs/run_scan.h"

#include "tests/dice.h"
#include "tests/matcher/scan/byte_blocks.h"
#include "tests/matcher/small_cases.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex {
namespace {

using testing::AllStrings;
using testing::Block;
using testing::Dice;
using testing::SetOf;
using testing::Without;
using Byte = unsigned char;
using ByteRun = trovex::Run;  // the tests have a Run of their own
using Runs = std::vector<ByteRun>;

/// Where the longest match of the runs from `index` on ends; null if none does.
/// The longest end of what goes on with run `index`, with a byte of `after` after it.
const Byte* LongestEnd(const std::vector<ByteRun>& runs, std::size_t index, const Byte* place,
                       const Byte* end, const CharSet& after) {
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

using Ranges = std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>>;

/// All matches from left to right, as a search asks for them.
template <typename EndOf, typename NextOf>
Ranges Matches(const Block& text, EndOf endOf, NextOf nextOf) {
  Ranges matches;
  for (const Byte* start = text.begin(); start < text.end();) {
    const Byte* const end = endOf(start);
    if (end == nullptr) {
      start = nextOf(start);
      continue;
    }
    matches.emplace_back(start - text.begin(), end - text.begin());
    start = end;
  }
  return matches;
}

std::string Told(const std::vector<ByteRun>& runs, const Block& text) {
  std::ostringstream told;
  for (const ByteRun& run : runs) {
    told << '[' << run.bytes.count() << " from ";
    for (int c = '!'; c < 127 && run.bytes.count() < 30; ++c) {
      if (run.bytes[static_cast<std::size_t>(c)]) told << static_cast<char>(c);
    }
    told << "]{" << run.least << ',';
    if (run.most != ByteRun::kEndless) told << run.most;
    told << '}';
  }
  told << " in " << std::string(text.begin(), text.end());
  return told.str();
}

/// `scan` is of `runs` and `after`.
std::size_t Compare(const RunScan& scan, const std::vector<ByteRun>& runs, std::string_view content,
                    const CharSet& after) {
  const Block text(content);
  RunScan::Notes notes;
  const auto found = Matches(
      text,
      [&](const Byte* start) { return scan.EndOfMatch(start, text.begin(), text.end(), notes); },
      [&](const Byte* start) { return scan.NextStart(start, notes); });
  const auto expected = Matches(
      text, [&](const Byte* start) { return LongestEnd(runs, 0, start, text.end(), after); },
      [](const Byte* start) { return start + 1; });
  EXPECT_EQ(found, expected) << Told(runs, text) << " before one of " << after.count();
  return found.size();
}

/// Whether a scan takes these runs, and a match has a byte.
bool IsTaken(const std::vector<ByteRun>& runs, const CharSet& after = ~CharSet()) {
  const bool hasByte =
      std::any_of(runs.begin(), runs.end(), [](const ByteRun& run) { return run.least > 0; });
  return hasByte && RunScan::CanTake(runs, after);
}

TEST(RunScan, AgreesWithTheTrivialWalkOnAllSmallRowsAndTexts) {
  std::vector<ByteRun> choices;
  for (const char* set : {"a", "b", "ab"}) {
    for (const auto& [least, most] : {std::pair<std::uint32_t, std::uint32_t>{1U, 1U},
                                      {0U, 1U},
                                      {1U, ByteRun::kEndless},
                                      {0U, ByteRun::kEndless},
                                      {1U, 2U},
                                      {2U, 2U}}) {
      choices.push_back({SetOf(set), least, most});
    }
  }
  std::vector<std::string> texts = {""};
  for (std::size_t i = 0; i < texts.size() && texts[i].size() < 5; ++i) {
    for (const char c : {'a', 'b', '-'})
      texts.push_back(texts[i] + c);
  }
  std::size_t matches = 0;
  const auto tryAll = [&](const std::vector<ByteRun>& runs) {
    for (const CharSet& after : {~CharSet(), SetOf("\n"), SetOf("-\n"), SetOf("b")}) {
      if (!IsTaken(runs, after)) continue;
      const RunScan scan(runs, after);
      for (std::size_t i = 0; i < texts.size() && !::testing::Test::HasFailure(); ++i)
        matches += Compare(scan, runs, texts[i], after);
    }
  };
  for (const ByteRun& first : choices) {
    tryAll({first});
    for (const ByteRun& second : choices)
      tryAll({first, second});
  }
  EXPECT_GT(matches, 50'000U);
}

TEST(RunScan, AgreesWhereOneRunTakesOverFromAnother) {
  Runs firsts;
  Runs lasts;
  for (const char* set : {"a", "ab", "ab-"}) {
    for (const std::uint32_t least : {0U, 1U, 2U}) {
      firsts.push_back({SetOf(set), least, ByteRun::kEndless});
      lasts.push_back({SetOf(set), least, ByteRun::kEndless});
    }
    firsts.push_back({SetOf(set), 0, 2});
    lasts.push_back({SetOf(set), 0, 2});
  }
  const std::vector<Runs> bridges = {
      {{SetOf("a"), 1, 1}}, {{SetOf("a"), 2, 2}},
      {{SetOf("b"), 1, 1}}, {{SetOf("b"), 1, 1}, {SetOf("a"), 1, 1}},
      {{SetOf("-"), 1, 1}}, {{SetOf("a"), 0, 1}},
  };
  const std::vector<Runs> tails = {{}, {{SetOf("b"), 1, 1}}, {{SetOf("-"), 1, 1}}};
  const std::vector<std::string> texts = AllStrings({"a", "b", "-"}, 5);
  std::size_t taken = 0;
  std::size_t matches = 0;
  const auto tryAll = [&](const Runs& runs) {
    for (const CharSet& after : {~CharSet(), SetOf("-\n")}) {
      if (!IsTaken(runs, after)) continue;
      ++taken;
      const RunScan scan(runs, after);
      for (std::size_t i = 0; i < texts.size() && !::testing::Test::HasFailure(); ++i)
        matches += Compare(scan, runs, texts[i], after);
    }
  };
  for (const ByteRun& first : firsts) {
    for (const Runs& bridge : bridges) {
      for (const ByteRun& last : lasts) {
        for (const Runs& tail : tails) {
          Runs runs = {first};
          runs.insert(runs.end(), bridge.begin(), bridge.end());
          runs.push_back(last);
          runs.insert(runs.end(), tail.begin(), tail.end());
          tryAll(runs);
        }
      }
    }
  }
  EXPECT_GT(taken, 500U);
  EXPECT_GT(matches, 50'000U);
}

TEST(RunScan, AgreesWithTheTrivialWalkAtRandom) {
  constexpr int kRounds = 30'000;
  const std::vector<CharSet> sets = {SetOf("a"),  SetOf("b"),    SetOf("ab"),   SetOf("-"),
                                     SetOf("c-"), Without("-"),  Without("ab"), Without(""),
                                     SetOf("bc"), Without("abc")};
  for (std::uint32_t seed = 1; seed <= kRounds && !::testing::Test::HasFailure(); ++seed) {
    Dice dice(seed);
    std::vector<ByteRun> runs(static_cast<std::size_t>(dice.Between(1, 5)));
    for (ByteRun& run : runs) {
      run.bytes =
          sets[static_cast<std::size_t>(dice.Between(0, static_cast<int>(sets.size()) - 1))];
      run.least = static_cast<std::uint32_t>(dice.Between(0, 2));
      run.most = dice.OneIn(3)   ? ByteRun::kEndless
                 : dice.OneIn(2) ? std::max(run.least, 1U)
                                 : run.least + static_cast<std::uint32_t>(dice.Between(0, 90));
      if (run.most == 0) run.most = 1;
    }
    const std::vector<CharSet> afters = {~CharSet(), SetOf("\n"), SetOf("-\n"), SetOf("c"),
                                         ~SetOf("a")};
    const CharSet& after = afters[static_cast<std::size_t>(dice.Between(0, 4))];
    if (!IsTaken(runs, after)) continue;
    // In texts that are hardly anything but the one byte, runs go on beyond a glance.
    const char* const alphabet = dice.OneIn(3)   ? "aaaaaaaabc-"
                                 : dice.OneIn(2) ? "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaabc-"
                                                 : "abc-\n";
    SCOPED_TRACE("seed " + std::to_string(seed));
    Compare(RunScan(runs, after), runs, dice.Bytes(alphabet, dice.OneIn(2) ? 300 : 60), after);
  }
}

TEST(RunScan, ReadsNoTextAgainAndAgain) {
  // With a bound on the time: each start would read the rest of the text.
  const std::string text(4'000'000, 'a');
  const Block block(text);
  const std::vector<std::vector<ByteRun>> rows = {
      {{SetOf("a"), 1, 1}, {SetOf("ab"), 0, ByteRun::kEndless}, {SetOf(";"), 1, 1}},
      {{SetOf("a"), 1, 1}, {Without(""), 0, ByteRun::kEndless}, {SetOf("b"), 1, 1}},
      {{SetOf("a"), 1, 1}, {Without(""), 0, 250}, {SetOf("b"), 1, 1}},
      {{SetOf("a"), 1, 1}, {Without(""), 0, 60}, {SetOf("a"), 20, 20}, {SetOf("b"), 1, 1}},
      {{SetOf("a"), 0, ByteRun::kEndless}, {SetOf(";"), 1, 1}},
      {{SetOf("a"), 1, 1},
       {Without(""), 0, ByteRun::kEndless},
       {SetOf("b"), 1, 1},
       {Without(""), 0, ByteRun::kEndless},
       {SetOf("c"), 1, 1}},
      {{SetOf("a"), 1, 1},
       {Without(""), 0, ByteRun::kEndless},
       {SetOf("a"), 3, 3},
       {Without(""), 0, ByteRun::kEndless},
       {SetOf("c"), 1, 1}},
  };
  for (const std::vector<ByteRun>& runs : rows) {
    const RunScan scan(runs);
    RunScan::Notes notes;
    for (const Byte* start = block.begin(); start < block.end();) {
      ASSERT_EQ(scan.EndOfMatch(start, block.begin(), block.end(), notes), nullptr);
      start = scan.NextStart(start, notes);
    }
  }
}

}  // namespace
}  // namespace trovex
