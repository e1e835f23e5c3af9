// Long chains with distances are combined as CFoundItemArray::Merge does it, array by array, and look at no
// more places than there are.

#include "expr/near_items.h"

#include "tests/dice.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using Result = NearItems::Result;

struct Range {
  int start;
  int end;
};
using Ranges = std::vector<Range>;

/// Items with the ranges, marked with the number of their operand, so that each is told from the others.
Result ArrayOf(const Ranges& ranges, int operand) {
  auto result = std::make_unique<CFoundItemArray>();
  for (const Range& range : ranges)
    result->Add(new CFoundItem(range.start, range.end, operand));
  return result;
}

std::string Described(CFoundItemArray& result) {
  std::ostringstream text;
  for (int i = 0; i < result.GetSize(); ++i) {
    CFoundItem* const item = result.GetAt(i);
    text << item->GetStartPos() << "-" << item->GetEndPos() << "/" << item->TagMatched() << " ";
  }
  return text.str();
}

Ranges RandomRanges(Dice& dice, int most, int furthest) {
  Ranges ranges(static_cast<std::size_t>(dice.Between(0, most)));
  for (Range& range : ranges) {
    range.start = dice.Between(0, furthest);
    range.end = range.start + dice.Between(0, 4);
  }
  std::stable_sort(ranges.begin(), ranges.end(),
                   [](const Range& a, const Range& b) { return a.start < b.start; });
  return ranges;
}

TEST(NearItems, AreWhatMergingArrayByArrayGives) {
  int nonEmpty = 0;
  for (std::uint32_t seed = 1; seed <= 4'000; ++seed) {
    Dice dice(seed);
    const int furthest = dice.Between(5, 40);
    NearItems near;
    Result merged = std::make_unique<CFoundItemArray>();
    for (int operand = 1; operand <= 12; ++operand) {
      const Ranges ranges = RandomRanges(dice, 12, furthest);
      const int nearBy = operand == 1 || dice.OneIn(4) ? -1 : dice.Between(0, 6);
      if (nearBy >= 0) {
        const Result left = ArrayOf(ranges, operand);
        const Result right = ArrayOf({}, 0);
        Result again = ArrayOf({}, 0);
        for (int i = 0; i < merged->GetSize(); ++i)
          right->Add(new CFoundItem(*merged->GetAt(i)));
        left->SetNegative(1);
        again->Merge(left.get(), right.get(), nearBy);
        const bool isNear = merged->GetSize() > 0 && again->GetSize() == 0;
        EXPECT_EQ(near.IsNear(*ArrayOf(ranges, operand), nearBy), isNear) << "seed " << seed;
      }
      const Result left = ArrayOf(ranges, operand);
      auto next = std::make_unique<CFoundItemArray>();
      next->Merge(left.get(), merged.get(), nearBy);
      merged = std::move(next);
      Result taken = ArrayOf(ranges, operand);
      ASSERT_TRUE(NearItems::CanTake(*taken));
      if (nearBy < 0) {
        near.Unite(std::move(taken));
      } else {
        near.KeepNear(std::move(taken), nearBy);
      }
      ASSERT_EQ(near.HasItems(), merged->GetSize() > 0) << "seed " << seed;
    }
    nonEmpty += near.HasItems() ? 1 : 0;
    ASSERT_EQ(Described(*near.Take()), Described(*merged)) << "seed " << seed;
    ASSERT_FALSE(near.HasItems());
  }
  EXPECT_GT(nonEmpty, 1'000);
}

TEST(NearItems, LookAtPlacesHoweverManyItemsStandThere) {
  Ranges ranges;
  for (int i = 0; i < 1'000; ++i)
    ranges.push_back({i, i + 1});
  NearItems near;
  near.Unite(ArrayOf(ranges, 0));
  for (int operand = 1; operand < 100; ++operand) {
    near.KeepNear(ArrayOf(ranges, operand), 5);
    ASSERT_LE(near.Looked(), 3'000);
  }
  EXPECT_EQ(near.Take()->GetSize(), 100'000);
}

TEST(NearItems, TakeWhatStandsInOrderAlone) {
  EXPECT_TRUE(NearItems::CanTake(*ArrayOf({{1, 2}, {1, 5}, {3, 4}}, 0)));
  EXPECT_FALSE(NearItems::CanTake(*ArrayOf({{3, 4}, {1, 2}}, 0)));
  const Result gap = ArrayOf({{1, 2}, {3, 4}}, 0);
  delete gap->GetAt(0);
  gap->SetAt(0, nullptr);
  EXPECT_FALSE(NearItems::CanTake(*gap));
}

}  // namespace
}  // namespace trovex
