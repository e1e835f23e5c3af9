// States by number: equal ones are one, tables fill up entry by entry, and the whole is bounded.

#include "matcher/automata/state_cache.h"

#include "matcher/limits.h"

#include <gtest/gtest.h>
#include <cstdint>

namespace trovex {
namespace {

using Number = StateCache::Number;

TEST(StateCacheTest, EqualStatesAreOne) {
  StateCache cache;
  const Number first = cache.NumberOf({{1, 2, 3}, 0});
  EXPECT_EQ(cache.NumberOf({{1, 2, 3}, 0}), first);
  EXPECT_NE(cache.NumberOf({{1, 2, 3}, 1}), first);
  EXPECT_NE(cache.NumberOf({{1, 2}, 0}), first);
  EXPECT_NE(cache.NumberOf({{3, 2, 1}, 0}), first);
  EXPECT_EQ(cache.Count(), 4);
  EXPECT_EQ(cache.At(first).content, (std::vector<std::uint32_t>{1, 2, 3}));
  EXPECT_EQ(cache.Tags()[cache.NumberOf({{1, 2, 3}, 1})], 1U);
}

TEST(StateCacheTest, AnEntryHoldsForAllBytesOfItsClass) {
  StateCache cache;
  ByteMap classes{};
  classes['b'] = 1;
  classes['c'] = 1;
  const Number from = cache.NumberOf({{0}, 0});
  const Number to = cache.NumberOf({{1}, 0});
  const StateCache::Entry row = StateCache::RowOf(to);
  EXPECT_EQ(cache.Entries()[StateCache::RowOf(from) + 'b'], StateCache::kUnknownEntry);
  cache.SetEntry(from, 'b', classes, row);
  EXPECT_EQ(cache.Entries()[StateCache::RowOf(from) + 'b'], row);
  EXPECT_EQ(cache.Entries()[StateCache::RowOf(from) + 'c'], row);
  EXPECT_EQ(cache.Entries()[StateCache::RowOf(from) + 'a'], StateCache::kUnknownEntry);
  EXPECT_EQ(cache.Entries()[StateCache::RowOf(to) + 'b'], StateCache::kUnknownEntry);
  EXPECT_EQ(StateCache::StateOf(row), to);
}

TEST(StateCacheTest, StopsAreToldFromRowsAndFromWhatIsUnknown) {
  for (const Number state : {0, 1, 1'023}) {
    EXPECT_LT(StateCache::StopAt(state), StateCache::kUnknownEntry);
    EXPECT_EQ(StateCache::StoppedAt(StateCache::StopAt(state)), state);
    EXPECT_GE(StateCache::RowOf(state), 0);
  }
}

TEST(StateCacheTest, BeyondTheBoundAllAreThrownAway) {
  StateCache cache;
  for (std::uint32_t i = 0; i < kMaxLocatorTables; ++i)
    cache.NumberOf({{i}, 0});
  EXPECT_EQ(cache.Generation(), 0U);
  const Number next = cache.NumberOf({{7'777'777}, 0});
  EXPECT_EQ(cache.Generation(), 1U);
  EXPECT_EQ(cache.Count(), 1);
  EXPECT_EQ(cache.Entries()[StateCache::RowOf(next) + 5], StateCache::kUnknownEntry);
}

TEST(StateCacheTest, LargeStatesCountByTheirSize) {
  StateCache cache;
  const std::vector<std::uint32_t> content(kMaxLocatorPositions / 2, 3);
  for (std::uint32_t tag = 0; tag < 3; ++tag)
    cache.NumberOf({content, tag});
  EXPECT_EQ(cache.Generation(), 0U);
  cache.NumberOf({content, 3});
  EXPECT_EQ(cache.Generation(), 1U);
}

}  // namespace
}  // namespace trovex
