// The items that a leaf makes: objects like any other, whoever deletes them, when, where and in what
// order, and nothing is kept of them but a stock of bounded size.

#include "expr/item_blocks.h"
#include "tests/dice.h"
#include "tests/expr/found_items_model.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace trovex::testing {
namespace {

/// More items than any block holds.
constexpr int kSeveralBlocks = 1000;

using ItemList = std::vector<std::unique_ptr<CFoundItem>>;

std::unique_ptr<CFoundItemArray> MakeItems(int count) {
  auto array = std::make_unique<CFoundItemArray>();
  ItemMaker maker;
  for (int i = 0; i < count; ++i)
    maker.Append(*array, i, i + 2, i % 3);
  return array;
}

/// The items of `array`, which is left empty.
ItemList TakeItems(CFoundItemArray& array) {
  ItemList items;
  for (int i = 0; i < array.GetSize(); ++i)
    items.emplace_back(array.GetAt(i));
  array.SetSize(0);
  return items;
}

void Shuffle(ItemList& items, Dice& dice) {
  for (std::size_t i = items.size(); i > 1; --i)
    std::swap(items[i - 1],
              items[static_cast<std::size_t>(dice.Between(0, static_cast<int>(i) - 1))]);
}

void ExpectItems(CFoundItemArray& array, int count) {
  ASSERT_EQ(array.GetSize(), count);
  for (int i = 0; i < count; ++i) {
    CFoundItem* const item = array.GetAt(i);
    ASSERT_NE(item, nullptr) << i;
    ASSERT_EQ(item->GetStartPos(), i);
    ASSERT_EQ(item->GetEndPos(), i + 2);
    ASSERT_EQ(item->TagMatched(), i % 3);
  }
}

/// Begins and ends with an empty stock.
class ItemBlocks : public ::testing::Test {
 protected:
  void SetUp() override { FreeStockedItemBlocks(); }
  void TearDown() override { FreeStockedItemBlocks(); }
};

TEST_F(ItemBlocks, AreNotNeededForTheArrayWhichTakesThePlaceOfTheOneBeforeIt) {
  const void* place = nullptr;
  {
    const auto before = trovex::MakeResult();
    place = before.get();
  }
  const auto next = trovex::MakeResult();
  const auto besides = trovex::MakeResult();
  EXPECT_EQ(next.get(), place);
  EXPECT_NE(besides.get(), place);
}

TEST_F(ItemBlocks, HoldTheItemsAsTheyWereMade) {
  for (int count = 0; count < kSeveralBlocks; count += count < 300 ? 1 : 97) {
    const auto array = MakeItems(count);
    ASSERT_NO_FATAL_FAILURE(ExpectItems(*array, count));
  }
}

TEST_F(ItemBlocks, AreBegunAfterTheItemsThatAreAllocatedSingly) {
  MakeItems(kSingleItems);
  EXPECT_EQ(StockedItemBlocks(), 0U);
  MakeItems(kSingleItems + 1);
  EXPECT_EQ(StockedItemBlocks(), 1U);
}

TEST_F(ItemBlocks, AreGivenBackInWhateverOrderTheirItemsGo) {
  MakeItems(kSeveralBlocks);
  const std::size_t blocks = StockedItemBlocks();
  ASSERT_GT(blocks, 2U);
  for (std::uint32_t seed = 1; seed <= 50; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    FreeStockedItemBlocks();
    Dice dice(seed);
    ItemList items = TakeItems(*MakeItems(kSeveralBlocks));
    Shuffle(items, dice);
    items.clear();
    ASSERT_EQ(StockedItemBlocks(), blocks);
  }
}

TEST_F(ItemBlocks, StayForAsLongAsOneOfTheirItemsLives) {
  ItemList items = TakeItems(*MakeItems(kSeveralBlocks));
  std::unique_ptr<CFoundItem> last = std::move(items[kSeveralBlocks / 2]);
  items.clear();
  const std::size_t others = StockedItemBlocks();
  EXPECT_EQ(last->GetStartPos(), kSeveralBlocks / 2);
  last.reset();
  EXPECT_EQ(StockedItemBlocks(), others + 1);
}

TEST_F(ItemBlocks, StayWhileTheirMakerFillsThem) {
  CFoundItemArray array;
  ItemMaker maker;
  for (int i = 0; i < kSeveralBlocks; ++i) {
    maker.Append(array, i, i + 2, 0);
    array.DeleteItems();
  }
  const std::size_t stocked = StockedItemBlocks();
  maker.Append(array, 7, 9, 1);
  EXPECT_EQ(Describe(array), "negative 0: [7,9)1");
  array.DeleteItems();
  EXPECT_EQ(StockedItemBlocks(), stocked);
}

TEST_F(ItemBlocks, ServeOneResultAfterAnother) {
  MakeItems(kSeveralBlocks);
  const std::size_t blocks = StockedItemBlocks();
  for (int round = 0; round < 100; ++round) {
    const auto array = MakeItems(kSeveralBlocks);
    ASSERT_EQ(StockedItemBlocks(), 0U);
    ASSERT_NO_FATAL_FAILURE(ExpectItems(*array, kSeveralBlocks));
  }
  EXPECT_EQ(StockedItemBlocks(), blocks);
}

TEST_F(ItemBlocks, OfResultsThatAreMadeSideBySideAreApart) {
  CFoundItemArray first;
  CFoundItemArray second;
  {
    ItemMaker firstMaker;
    ItemMaker secondMaker;
    for (int i = 0; i < kSeveralBlocks; ++i) {
      firstMaker.Append(first, i, i + 2, i % 3);
      secondMaker.Append(second, i, i + 2, i % 3);
    }
  }
  ASSERT_NO_FATAL_FAILURE(ExpectItems(first, kSeveralBlocks));
  first.DeleteItems();
  ASSERT_NO_FATAL_FAILURE(ExpectItems(second, kSeveralBlocks));
}

TEST_F(ItemBlocks, HoldManyItemsAsIfTheyWereMadeOneByOne) {
  const std::vector<unsigned char> text(3 * kSeveralBlocks);
  std::vector<LocatedRange> matches;
  for (int i = 0; i < kSeveralBlocks; ++i)
    matches.push_back({text.data() + i, text.data() + i + 2});
  for (const std::size_t atOnce : {0U, 1U, 7U, 32U, 500U}) {
    CFoundItemArray array;
    {
      ItemMaker maker;
      for (std::size_t done = 0; done < matches.size(); done += atOnce + 1) {
        const std::size_t count = std::min(atOnce, matches.size() - done - 1);
        maker.Append(array, std::span(matches).subspan(done, count), text.data(), 1);
        const auto place = static_cast<int>(done + count);
        maker.Append(array, place, place + 2, 1);
      }
    }
    ASSERT_EQ(array.GetSize(), kSeveralBlocks);
    for (int i = 0; i < kSeveralBlocks; ++i) {
      ASSERT_EQ(array.GetAt(i)->GetStartPos(), i);
      ASSERT_EQ(array.GetAt(i)->GetEndPos(), i + 2);
      ASSERT_EQ(array.GetAt(i)->TagMatched(), 1);
    }
  }
}

TEST_F(ItemBlocks, AreGivenBackWhereItemsOfSeveralBlocksAndOthersTakeTurns) {
  constexpr int kCount = 5 * kSeveralBlocks;
  MakeItems(kCount);
  const std::size_t blocks = StockedItemBlocks();
  for (std::uint32_t seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    FreeStockedItemBlocks();
    Dice dice(seed);
    ItemList items = TakeItems(*MakeItems(kCount));
    for (int i = 0; i < kSeveralBlocks; ++i)
      items.push_back(std::make_unique<LiveItem>(i, i + 1, 0));
    for (int i = 0; i < kSeveralBlocks; ++i)
      items.push_back(nullptr);
    Shuffle(items, dice);
    CFoundItemArray array;
    for (std::unique_ptr<CFoundItem>& item : items)
      array.Add(item.release());
    array.DeleteItems();
    ASSERT_EQ(StockedItemBlocks(), blocks);
    ASSERT_EQ(LiveItem::Alive(), 0);
  }
}

TEST_F(ItemBlocks, ShareAnArrayWithItemsOfOtherKinds) {
  CFoundItemArray array;
  {
    ItemMaker maker;
    for (int i = 0; i < kSeveralBlocks; ++i) {
      maker.Append(array, i, i + 1, 1);
      array.Add(new CFoundItem(i, i + 1, 0));
      array.Add(new LiveItem(i, i + 1, i % 2));
    }
  }
  ASSERT_EQ(LiveItem::Alive(), kSeveralBlocks);
  array.DeleteItemsWithTagNotMatched();
  EXPECT_EQ(array.GetSize(), kSeveralBlocks + kSeveralBlocks / 2);
  EXPECT_EQ(LiveItem::Alive(), kSeveralBlocks / 2);
  array.DeleteItems();
  EXPECT_EQ(LiveItem::Alive(), 0);
}

TEST_F(ItemBlocks, LetTheirItemsBeCopiedAndAssigned) {
  auto array = MakeItems(kSeveralBlocks);
  const auto copy = std::make_unique<CFoundItem>(*array->GetAt(500));
  *array->GetAt(501) = *array->GetAt(900);
  array.reset();
  EXPECT_EQ(copy->GetStartPos(), 500);
  array = MakeItems(kSeveralBlocks);
  CFoundItem alone(-1, -2, -3);
  *array->GetAt(999) = alone;
  EXPECT_EQ(array->GetAt(999)->GetEndPos(), -2);
}

TEST_F(ItemBlocks, TakeTheDeletionByAnotherThread) {
  MakeItems(kSeveralBlocks);
  const std::size_t blocks = StockedItemBlocks();
  FreeStockedItemBlocks();
  auto array = MakeItems(kSeveralBlocks);
  std::thread([&array] { array.reset(); }).join();
  EXPECT_EQ(StockedItemBlocks(), blocks);
}

TEST_F(ItemBlocks, TakeTheDeletionByManyThreadsWhileOthersAreMade) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 50;
  for (int round = 0; round < kRounds; ++round) {
    ItemList items = TakeItems(*MakeItems(kThreads * kSeveralBlocks));
    // Neighbours in a block go to different threads.
    std::vector<ItemList> shares(kThreads);
    for (std::size_t i = 0; i < items.size(); ++i)
      shares[i % kThreads].push_back(std::move(items[i]));
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (ItemList& share : shares) {
      threads.emplace_back([&share, &go] {
        while (!go.load()) {
        }
        share.clear();
      });
    }
    go = true;
    for (int i = 0; i < 10; ++i)
      ASSERT_NO_FATAL_FAILURE(ExpectItems(*MakeItems(kSeveralBlocks), kSeveralBlocks));
    for (std::thread& thread : threads)
      thread.join();
  }
  // No block was lost, and none is there twice: as many as were needed at once can be taken.
  const std::size_t stocked = StockedItemBlocks();
  FreeStockedItemBlocks();
  EXPECT_EQ(StockedItemBlocks(), 0U);
  MakeItems(kThreads * kSeveralBlocks);
  EXPECT_GE(stocked, StockedItemBlocks());
}

TEST_F(ItemBlocks, AreStockedInBoundedNumber) {
  constexpr int kFarTooMany = 600000;
  std::unique_ptr<CFoundItemArray> arrays[] = {MakeItems(kFarTooMany), MakeItems(kFarTooMany)};
  arrays[0].reset();
  EXPECT_EQ(StockedItemBlocks(), kMaxStockedItemBlocks);
  arrays[1].reset();
  EXPECT_EQ(StockedItemBlocks(), kMaxStockedItemBlocks);
  FreeStockedItemBlocks();
  EXPECT_EQ(StockedItemBlocks(), 0U);
}

TEST(Results, AreEmptyAndNotNegativeWhateverTheOneBeforeWas) {
  for (int round = 0; round < 3; ++round) {
    const auto result = MakeResult();
    EXPECT_EQ(Describe(*result), "negative 0:");
    ItemMaker().Append(*result, 3, 5, 1);
    result->Negate();
  }
}

TEST(Results, AreArraysOfTheirOwnInWhateverOrderTheyGo) {
  for (std::uint32_t seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    std::vector<std::pair<int, std::unique_ptr<CFoundItemArray>>> results;
    for (int made = 0; made < 20;) {
      if (results.empty() || dice.Between(0, 1) == 0) {
        results.emplace_back(made, MakeResult());
        ItemMaker().Append(*results.back().second, made, made + 1, 0);
        ++made;
      } else {
        const auto last = static_cast<int>(results.size()) - 1;
        results.erase(results.begin() + dice.Between(0, last));
      }
      for (const auto& [number, result] : results) {
        ASSERT_EQ(result->GetSize(), 1);
        ASSERT_EQ(result->GetAt(0)->GetStartPos(), number);
      }
    }
  }
}

TEST(Results, TakeTheDeletionByAnotherThread) {
  for (int round = 0; round < 3; ++round) {
    auto first = MakeResult();
    auto second = MakeResult();
    std::thread([&first] { first.reset(); }).join();
    const auto third = MakeResult();
    EXPECT_NE(third.get(), second.get());
  }
}

// The sanitizers have an allocator of their own, which does not count like this.
#ifndef TROVEX_SANITIZE
TEST_F(ItemBlocks, LeaveNothingAllocatedBehindTheStock) {
  constexpr int kCount = 100 * kSeveralBlocks;
  // The allocator counts the small blocks in its own stock as allocated; more are there in time.
  constexpr std::size_t kAllocatorsStock = 64 * kItemBlockSize;
  const std::size_t before = mallinfo2().uordblks;
  for (int round = 0; round < 200; ++round) {
    auto array = MakeItems(kCount);
    EXPECT_GT(mallinfo2().uordblks, before + std::size_t{kCount} * sizeof(CFoundItem));
    array.reset();
    EXPECT_LE(mallinfo2().uordblks,
              before + kAllocatorsStock + kMaxStockedItemBlocks * kItemBlockSize);
    FreeStockedItemBlocks();
    EXPECT_LE(mallinfo2().uordblks, before + kAllocatorsStock) << "round " << round;
  }
}
#endif

}  // namespace
}  // namespace trovex::testing
