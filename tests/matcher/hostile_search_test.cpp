// Searches that are made to be slow: for each kind, the work stays within what all searches of a text may
// take together, and grows with the text and no faster. How long a unit of it takes says
// bench/hostile/.

#include "matcher/limits.h"
#include "matcher/tuning.h"
#include "tests/matcher/both_doors.h"
#include "tests/matcher/hostile_searches.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

namespace trovex {
namespace {

using testing::AllMatches;
using testing::CompileProgram;
using testing::CostOf;
using testing::HostileCost;
using testing::HostileSearch;

CompileResult Compiled(const HostileSearch& search) {
  return CompileMatcher(search.pattern, {.matchWords = search.words});
}

/// The most that the searches of a text of so many bytes may take. A piece of work that goes beyond what
/// is left is charged, but not done.
std::int64_t UnitsAtMost(const HostileSearch& search, std::size_t bytes) {
  const bool hasReferences = search.pattern.find_first_of("\\123") != std::string::npos;
  const auto length = static_cast<std::int64_t>(bytes);
  return kWorkAtLeast - (hasReferences ? 0 : kWorkForReferences) + 2 * length * kWorkPerByte;
}

TEST(HostileSearch, TakesNoMoreWorkThanTheTextAllows) {
  for (const HostileSearch& search : testing::HostileSearches()) {
    SCOPED_TRACE(search.pattern);
    const CompileResult compiled = Compiled(search);
    ASSERT_EQ(compiled.fault, MessageNumber::kNone);
    PatternWork pattern(compiled.pattern);
    const HostileCost cost = CostOf(pattern, search, 4 * search.bytes);
    EXPECT_LE(cost.units, UnitsAtMost(search, cost.bytes));
  }
}

/// A row with back-references has many ways at each place, and nothing that it asks for.
TEST(HostileSearch, RowsThatAreReadInVainAreLeft) {
  const std::string pattern = "([ab])[ab]*c*\\1\\1d";
  const auto program = CompileProgram(ParsePattern(pattern.data(), pattern.size(), nullptr), {});
  PatternWork work(CompileMatcher(pattern, {}).pattern);
  for (const std::size_t bytes : {20'000U, 80'000U}) {
    const auto most = static_cast<std::int64_t>(2 * kRowUnitsPerText + kRowUnitsPerByte * bytes);
    const HostileSearch search = {pattern, false, 0, testing::Repeating("a", ""), bytes};
    const std::string text = search.text(bytes);
    PatternSearch second(*program);
    second.Begin({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
    ByteRange match;
    EXPECT_EQ(second.Next(match), SearchOutcome::kNotFound);
    EXPECT_LE(second.Work(), most);
    const HostileCost first = CostOf(work, search, bytes);
    EXPECT_FALSE(first.gaveUp);
    EXPECT_LE(first.units, most);
  }
}

TEST(HostileSearch, WhatIsFoundAfterARowWasLeftIsTheSame) {
  const std::string pattern = "([ab])[ab]*c*\\1\\1d";
  const std::string before(3'000, 'a');
  const std::string text = "aaad\n" + before + "\nab aaad abaacd\nbbbd\nbaad";
  const std::size_t line = 5 + before.size() + 1;
  const std::vector<ByteRange> expected = {{0, 4}, {line + 3, line + 7}, {line + 15, line + 19}};
  const auto program = CompileProgram(ParsePattern(pattern.data(), pattern.size(), nullptr), {});
  EXPECT_EQ(AllMatches(*program, text), expected);
  // The searches of a text are told by its notes.
  PatternWork work(CompileMatcher(pattern, {}).pattern);
  const testing::HeapText heap(text);
  TextNotes notes;
  std::vector<ByteRange> found;
  for (int from = 0; from < heap.Length();) {
    const MatchResult result =
        ExecuteMatcher(work, {}, heap.Data() + from, heap.Length() - from, 0, &notes);
    if (result.outcome != SearchOutcome::kFound) break;
    found.push_back({static_cast<std::size_t>(from + result.range.start),
                     static_cast<std::size_t>(from + result.range.end)});
    from += result.range.end;
  }
  EXPECT_EQ(found, expected);
  EXPECT_FALSE(work.references->IsFast());
}

TEST(HostileSearch, RandomOnesTakeNoMoreEither) {
  // What is searched on a short text alone: states, graphs, the first credit.
  constexpr double kFloor = 2e6;
  double worst = 0;
  double worstGrowth = 0;
  std::string worstPattern;
  std::string growingPattern;
  for (unsigned seed = 1; seed <= 500; ++seed) {
    const HostileSearch search = testing::RandomHostileSearch(seed);
    SCOPED_TRACE(::testing::Message() << "seed " << seed << ", pattern " << search.pattern);
    const CompileResult compiled = Compiled(search);
    if (compiled.fault != MessageNumber::kNone) continue;
    PatternWork pattern(compiled.pattern);
    const HostileCost once = CostOf(pattern, search, search.bytes);
    const HostileCost fourTimes = CostOf(pattern, search, 4 * search.bytes);
    EXPECT_LE(fourTimes.units, UnitsAtMost(search, fourTimes.bytes));
    const double perByte =
        static_cast<double>(fourTimes.units) / static_cast<double>(fourTimes.bytes);
    const double growth =
        static_cast<double>(fourTimes.units) / std::max(static_cast<double>(once.units), kFloor);
    if (growth > worstGrowth)
      std::tie(worstGrowth, growingPattern) = std::tie(growth, search.pattern);
    if (perByte > worst) std::tie(worst, worstPattern) = std::tie(perByte, search.pattern);
  }
  std::printf("worst: %.0f units a byte, %s; growth %.1f times on four times the text, %s\n", worst,
              worstPattern.c_str(), worstGrowth, growingPattern.c_str());
}

}  // namespace
}  // namespace trovex
