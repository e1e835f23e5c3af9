// Searches that are made to be slow: for each kind, the work stays within what all searches of a text may
// take together, and grows with the text and no faster. How long a unit of it takes says
// bench/hostile/.

#include "matcher/limits.h"
#include "tests/matcher/hostile_searches.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <tuple>

namespace trovex {
namespace {

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
