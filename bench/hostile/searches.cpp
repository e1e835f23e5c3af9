// Hostile searches: time beside counted work.

#include "bench/hostile/hostile.h"
#include "matcher/matcher.h"
#include "tests/matcher/hostile_searches.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace trovex::bench {

namespace {

using testing::HostileCost;
using testing::HostileSearch;

struct Timed {
  HostileCost cost;
  double seconds = 0;
};

Timed Time(PatternWork& pattern, const HostileSearch& search, std::size_t bytes) {
  const double begin = ProcessorSeconds();
  const HostileCost cost = testing::CostOf(pattern, search, bytes);
  return {cost, ProcessorSeconds() - begin};
}

void Print(const HostileSearch& search, const Timed& once, const Timed& fourTimes) {
  const auto bytes = static_cast<double>(fourTimes.cost.bytes);
  const auto units = static_cast<double>(std::max<std::int64_t>(fourTimes.cost.units, 1));
  std::printf(
      "%-32s %s group %d  %8zu bytes  %7.3f us/byte  %6.2f ns/unit  growth %4.1f  %d matches%s\n",
      search.pattern.c_str(), search.words ? "words" : "     ", search.group, fourTimes.cost.bytes,
      fourTimes.seconds / bytes * 1e6, fourTimes.seconds / units * 1e9,
      fourTimes.seconds / std::max(once.seconds, 1e-4), fourTimes.cost.matches,
      fourTimes.cost.gaveUp ? ", gave up" : "");
}

}  // namespace

void PrintHostileSearches() {
  std::vector<HostileSearch> searches = testing::HostileSearches();
  for (const HostileSearch& search : searches) {
    const CompileResult compiled = CompileMatcher(search.pattern, {.matchWords = search.words});
    PatternWork pattern(compiled.pattern);
    const Timed once = Time(pattern, search, search.bytes);
    Print(search, once, Time(pattern, search, 4 * search.bytes));
  }
  std::printf("The worst of 500 random ones:\n");
  HostileSearch worst{};
  Timed worstOnce;
  Timed worstFourTimes;
  for (unsigned seed = 1; seed <= 500; ++seed) {
    const HostileSearch search = testing::RandomHostileSearch(seed);
    const CompileResult compiled = CompileMatcher(search.pattern, {.matchWords = search.words});
    if (compiled.fault != MessageNumber::kNone) continue;
    PatternWork pattern(compiled.pattern);
    const Timed once = Time(pattern, search, search.bytes);
    const Timed fourTimes = Time(pattern, search, 4 * search.bytes);
    if (fourTimes.seconds <= worstFourTimes.seconds) continue;
    worst = search;
    worstOnce = once;
    worstFourTimes = fourTimes;
  }
  Print(worst, worstOnce, worstFourTimes);
}

}  // namespace trovex::bench
