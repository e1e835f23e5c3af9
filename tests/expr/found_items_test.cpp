// The found items and their array as a host sees them: every operation, the growth of the storage,
// the archive stream, and the combination of two arrays held against the model.

#include "tests/dice.h"
#include "tests/expr/found_items_model.h"

#include <trovex/found_items.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace trovex::testing {
namespace {

/// A model array of [start, end) ranges whose items carry no tag.
ModelArray Ranges(const std::vector<std::vector<int>>& ranges, int negative = 0) {
  ModelArray model;
  for (const auto& range : ranges)
    model.slots.emplace_back(ModelItem{range[0], range[1], 0});
  model.negative = negative;
  return model;
}

/// Lets a test see how many slots the storage has room for.
class StorageProbe : public CPointerArray<CFoundItem> {
 public:
  using CPointerArray<CFoundItem>::Capacity;
};

// ---- One item ----

TEST(FoundItem, KeepsItsThreeValuesUnchanged) {
  CFoundItem item(-7, 3, 42);
  EXPECT_EQ(item.GetStartPos(), -7);
  EXPECT_EQ(item.GetEndPos(), 3);
  EXPECT_EQ(item.TagMatched(), 42);
  item.SetTagMatched(-5);
  EXPECT_EQ(item.TagMatched(), -5);
}

TEST(FoundItem, CopyAndAssignmentTakeAllThreeValues) {
  CFoundItem source(1, 2, 3);
  CFoundItem copy(source);
  EXPECT_EQ(copy.GetStartPos(), 1);
  EXPECT_EQ(copy.GetEndPos(), 2);
  EXPECT_EQ(copy.TagMatched(), 3);
  CFoundItem target(0, 0, 0);
  EXPECT_EQ(&(target = source), &target);
  EXPECT_EQ(target.GetStartPos(), 1);
  EXPECT_EQ(target.GetEndPos(), 2);
  EXPECT_EQ(target.TagMatched(), 3);
}

TEST(FoundItem, AssignedToItselfStaysAsItIs) {
  CFoundItem item(4, 5, 6);
  CFoundItem& same = item;
  EXPECT_EQ(&(item = same), &item);
  EXPECT_EQ(item.GetStartPos(), 4);
  EXPECT_EQ(item.GetEndPos(), 5);
  EXPECT_EQ(item.TagMatched(), 6);
}

// ---- Ownership and flags ----

TEST(FoundItemArray, IsEmptyAndPositiveAtFirst) {
  CFoundItemArray array;
  EXPECT_EQ(array.GetSize(), 0);
  EXPECT_EQ(array.IsNegative(), 0);
  EXPECT_EQ(array.GetAt(0), nullptr);
}

TEST(FoundItemArray, DeletesItsItemsThroughTheirOwnDestructor) {
  auto array = MakeArray(Ranges({{0, 1}, {2, 3}}));
  array->Add(nullptr);
  ASSERT_EQ(LiveItem::Alive(), 2);
  array.reset();
  EXPECT_EQ(LiveItem::Alive(), 0);
}

TEST(FoundItemArray, DeleteItemsEmptiesItAndKeepsTheNegativeFlag) {
  auto array = MakeArray(Ranges({{0, 1}, {2, 3}}, 7));
  array->Add(nullptr);
  array->DeleteItems();
  EXPECT_EQ(LiveItem::Alive(), 0);
  EXPECT_EQ(array->GetSize(), 0);
  EXPECT_EQ(array->IsNegative(), 7);
}

TEST(FoundItemArray, SizeZeroDropsTheItemsWithoutDeletingThem) {
  CFoundItemArray array;
  const auto item = std::make_unique<LiveItem>(0, 1, 0);
  array.Add(item.get());
  array.SetSize(0);
  EXPECT_EQ(array.GetSize(), 0);
  EXPECT_EQ(LiveItem::Alive(), 1);
}

TEST(FoundItemArray, SetTagMatchedReachesEveryItemAndSkipsNullSlots) {
  auto array = MakeArray({{ModelItem{0, 1, 0}, {}, ModelItem{2, 3, 1}}});
  array->SetTagMatched(9);
  EXPECT_EQ(Describe(*array), "negative 0: [0,1)9 null [2,3)9");
}

TEST(FoundItemArray, SetTagMatchedLeavesAnEmptyArrayAlone) {
  CFoundItemArray array;
  array.SetTagMatched(1);
  EXPECT_EQ(array.GetSize(), 0);
}

TEST(FoundItemArray, NegateIsALogicalNotOfTheStoredFlag) {
  CFoundItemArray array;
  array.SetNegative(5);
  EXPECT_EQ(array.IsNegative(), 5);
  array.Negate();
  EXPECT_EQ(array.IsNegative(), 0);
  array.Negate();
  EXPECT_EQ(array.IsNegative(), 1);
}

TEST(FoundItemArray, DeletingUntaggedItemsKeepsTheOthersInOrder) {
  auto array = MakeArray(
      {{ModelItem{0, 1, 0}, ModelItem{2, 3, 1}, {}, ModelItem{4, 5, 0}, ModelItem{6, 7, -2}}, 1});
  array->DeleteItemsWithTagNotMatched();
  EXPECT_EQ(Describe(*array), "negative 1: [2,3)1 [6,7)-2");
  EXPECT_EQ(LiveItem::Alive(), 2);
}

TEST(FoundItemArray, DeletingUntaggedItemsLeavesAnArrayOfTaggedOnesAsItWas) {
  auto array = MakeArray({{ModelItem{0, 1, 1}, ModelItem{2, 3, 1}}});
  CFoundItem* first = array->GetAt(0);
  array->DeleteItemsWithTagNotMatched();
  EXPECT_EQ(Describe(*array), "negative 0: [0,1)1 [2,3)1");
  EXPECT_EQ(array->GetAt(0), first);
}

TEST(FoundItemArray, DeletingUntaggedItemsClosesNullSlotsEvenWhenNothingIsDeleted) {
  auto array = MakeArray({{ModelItem{0, 1, 1}, {}, ModelItem{2, 3, 1}}});
  array->DeleteItemsWithTagNotMatched();
  EXPECT_EQ(Describe(*array), "negative 0: [0,1)1 [2,3)1");
}

TEST(FoundItemArray, DeletingUntaggedItemsMayEmptyTheArray) {
  auto array = MakeArray({{ModelItem{0, 1, 0}, {}}});
  array->DeleteItemsWithTagNotMatched();
  EXPECT_EQ(array->GetSize(), 0);
  EXPECT_EQ(LiveItem::Alive(), 0);
  array->DeleteItemsWithTagNotMatched();
  EXPECT_EQ(array->GetSize(), 0);
}

// ---- The host's step ----

TEST(FoundItemArrayGetItem, GoesForwardToTheFirstItemAfterThePosition) {
  auto array = MakeArray(Ranges({{3, 4}, {10, 11}, {20, 21}}));
  EXPECT_EQ(array->GetItem(10, 1), array->GetAt(2));
  EXPECT_EQ(array->GetItem(9, 1), array->GetAt(1));
  EXPECT_EQ(array->GetItem(-1, -1), array->GetAt(0));
}

TEST(FoundItemArrayGetItem, WrapsForwardToTheFirstSlot) {
  auto array = MakeArray(Ranges({{3, 4}, {10, 11}, {20, 21}}));
  EXPECT_EQ(array->GetItem(25, 1), array->GetAt(0));
  EXPECT_EQ(array->GetItem(20, 1), array->GetAt(0));
}

TEST(FoundItemArrayGetItem, GoesBackwardToTheLastItemBeforeThePosition) {
  auto array = MakeArray(Ranges({{3, 4}, {10, 11}, {20, 21}}));
  EXPECT_EQ(array->GetItem(11, 0), array->GetAt(1));
  EXPECT_EQ(array->GetItem(10, 0), array->GetAt(0));
  EXPECT_EQ(array->GetItem(99, 0), array->GetAt(2));
}

TEST(FoundItemArrayGetItem, WrapsBackwardToTheLastSlot) {
  auto array = MakeArray(Ranges({{3, 4}, {10, 11}, {20, 21}}));
  EXPECT_EQ(array->GetItem(3, 0), array->GetAt(2));
}

TEST(FoundItemArrayGetItem, GivesNullOnAnEmptyArray) {
  CFoundItemArray array;
  EXPECT_EQ(array.GetItem(0, 1), nullptr);
  EXPECT_EQ(array.GetItem(0, 0), nullptr);
}

TEST(FoundItemArrayGetItem, SkipsNullSlotsButWrapsToWhatTheEdgeSlotHolds) {
  auto array = MakeArray({{{}, ModelItem{5, 6, 0}, {}}});
  EXPECT_EQ(array->GetItem(0, 1), array->GetAt(1));
  EXPECT_EQ(array->GetItem(9, 0), array->GetAt(1));
  EXPECT_EQ(array->GetItem(5, 1), nullptr);
  EXPECT_EQ(array->GetItem(5, 0), nullptr);
}

// ---- Growth ----

TEST(PointerArray, AddReturnsTheIndexAndKeepsWhatIsThere) {
  CFoundItem item(0, 0, 0);
  CPointerArray<CFoundItem> array;
  constexpr int kCount = 70000;
  for (int i = 0; i < kCount; ++i) {
    ASSERT_EQ(array.Add(i % 3 == 0 ? nullptr : &item), i);
  }
  ASSERT_EQ(array.GetSize(), kCount);
  for (int i = 0; i < kCount; ++i)
    ASSERT_EQ(array.GetAt(i), i % 3 == 0 ? nullptr : &item) << i;
}

TEST(PointerArray, NewSlotsAreNullAlsoWhereSlotsWereDroppedBefore) {
  CFoundItem item(0, 0, 0);
  CPointerArray<CFoundItem> array;
  array.SetSize(6);
  for (int i = 0; i < 6; ++i)
    array.SetAt(i, &item);
  array.SetSize(2);
  EXPECT_EQ(array.GetSize(), 2);
  array.SetSize(6);
  for (int i = 0; i < 6; ++i)
    EXPECT_EQ(array.GetAt(i), i < 2 ? &item : nullptr) << i;
}

TEST(PointerArray, SlotsOutsideTheSizeAreNeitherReadNorWritten) {
  CFoundItem item(0, 0, 0);
  CPointerArray<CFoundItem> array;
  array.SetSize(2);
  array.SetAt(-1, &item);
  array.SetAt(2, &item);
  EXPECT_EQ(array.GetSize(), 2);
  EXPECT_EQ(array.GetAt(-1), nullptr);
  EXPECT_EQ(array.GetAt(0), nullptr);
  EXPECT_EQ(array.GetAt(1), nullptr);
  EXPECT_EQ(array.GetAt(2), nullptr);
}

TEST(PointerArray, SizeBelowOneFreesTheStorage) {
  StorageProbe array;
  array.SetSize(3);
  ASSERT_EQ(array.Capacity(), 3);
  array.SetSize(-4);
  EXPECT_EQ(array.GetSize(), 0);
  EXPECT_EQ(array.Capacity(), 0);
}

TEST(PointerArray, GrowsByAnEighthAtLeastFourAtMostAThousandAndTwentyFour) {
  for (const int begin : {10, 31, 32, 40, 1000, 8191, 8192, 8200, 20000}) {
    StorageProbe array;
    array.SetSize(begin);
    int capacity = begin;
    for (int round = 0; round < 3; ++round) {
      ASSERT_EQ(array.Capacity(), capacity) << "from " << begin << " slots, round " << round;
      int step = capacity / 8;
      if (step < 4) step = 4;
      if (step > 1024) step = 1024;
      array.Add(nullptr);
      capacity += step;
      ASSERT_EQ(array.Capacity(), capacity) << "from " << begin << " slots, round " << round;
      array.SetSize(capacity);
    }
  }
}

// The tests run under the address sanitizer, which sees a slot beyond the storage.
TEST(PointerArray, HasStorageForEveryCapacity) {
  CFoundItem item(0, 0, 0);
  for (const int begin : {1, 8000, 8191, 8192, 8193, 16383, 16384, 16385, 40000}) {
    CPointerArray<CFoundItem> array;
    array.SetSize(begin);
    array.SetAt(begin - 1, &item);
    for (int i = begin; i < begin + 10000; ++i)
      ASSERT_EQ(array.Add(&item), i);
    array.SetSize(3 * begin + 20000);
    array.SetAt(3 * begin + 19999, &item);
    EXPECT_EQ(array.GetAt(begin - 1), &item);
    EXPECT_EQ(array.GetAt(begin + 9999), &item);
    EXPECT_EQ(array.GetAt(begin + 10000), nullptr);
    array.SetSize(begin);
    array.Add(nullptr);
    EXPECT_EQ(array.GetAt(begin - 1), &item);
  }
}

TEST(PointerArray, GrowsToTheAskedSizeWhenTheStepWouldNotReachIt) {
  StorageProbe array;
  array.SetSize(10);
  array.SetSize(100);
  EXPECT_EQ(array.Capacity(), 100);
}

// ---- The archive stream ----

TEST(FoundItemArrayArchive, StoresTheCountAndEachPointerLowWordFirst) {
  CFoundItemArray array;
  auto* item = new LiveItem(1, 2, 3);
  array.Add(item);
  array.Add(nullptr);
  CArchiveStream stored;
  array.Serialize(stored);
  std::vector<unsigned char> expected = {2, 0, 0, 0};
  auto bits = reinterpret_cast<std::uintptr_t>(item);
  for (std::size_t i = 0; i < sizeof(bits); ++i, bits >>= 8)
    expected.push_back(static_cast<unsigned char>(bits & 0xFFu));
  expected.insert(expected.end(), sizeof(bits), 0);
  EXPECT_EQ(stored.Bytes(), expected);
}

TEST(FoundItemArrayArchive, LoadsTheSlotsThatWereStoredAndNotTheNegativeFlag) {
  auto array = MakeArray({{ModelItem{1, 2, 3}, {}, ModelItem{4, 5, 6}}, 1});
  CArchiveStream stored;
  array->Serialize(stored);
  CArchiveStream archive(stored.Bytes());
  CFoundItemArray loaded;
  loaded.SetNegative(3);
  loaded.Add(nullptr);
  loaded.Serialize(archive);
  EXPECT_FALSE(archive.Failed());
  EXPECT_EQ(archive.Remaining(), 0U);
  EXPECT_EQ(Describe(loaded), "negative 3: [1,2)3 null [4,5)6");
  EXPECT_EQ(loaded.GetAt(0), array->GetAt(0));
  loaded.SetSize(0);  // the items are the first array's
}

TEST(FoundItemArrayArchive, LoadingACountOfZeroFreesTheStorage) {
  StorageProbe array;
  array.SetSize(4);
  CArchiveStream archive(std::vector<unsigned char>{0, 0, 0, 0});
  array.Serialize(archive);
  EXPECT_EQ(array.GetSize(), 0);
  EXPECT_EQ(array.Capacity(), 0);
  EXPECT_FALSE(archive.Failed());
}

TEST(FoundItemArrayArchive, AStreamCutShortAnywhereGivesAnEmptyArray) {
  auto array = MakeArray(Ranges({{1, 2}, {3, 4}}));
  CArchiveStream stored;
  array->Serialize(stored);
  const std::vector<unsigned char>& whole = stored.Bytes();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    CArchiveStream archive(std::vector<unsigned char>(
        whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    CFoundItemArray loaded;
    loaded.SetSize(3);
    loaded.Serialize(archive);
    EXPECT_EQ(loaded.GetSize(), 0) << length << " bytes";
    if (length < 4) {
      EXPECT_TRUE(archive.Failed()) << length << " bytes";
    }
  }
}

TEST(FoundItemArrayArchive, ACountFarBeyondTheStreamIsRefused) {
  for (const unsigned top : {0x7FU, 0x80U, 0xFFU}) {
    CArchiveStream archive(
        std::vector<unsigned char>{0xFF, 0xFF, 0xFF, static_cast<unsigned char>(top), 1, 2, 3, 4});
    CFoundItemArray loaded;
    loaded.Serialize(archive);
    EXPECT_EQ(loaded.GetSize(), 0);
  }
}

TEST(FoundItemArrayClass, KnowsWhatItDerivesFrom) {
  const CFoundItemArray array;
  EXPECT_EQ(&array.QueryClass(), &CFoundItemArray::ClassDescription());
  EXPECT_STREQ(array.QueryClass().name, "CFoundItemArray");
  EXPECT_TRUE(array.QueryClass().IsDerivedFrom(CSerializableObject::ClassDescription()));
  EXPECT_TRUE(array.QueryClass().IsDerivedFrom(CPointerArray<CFoundItem>::ClassDescription()));
  EXPECT_FALSE(CSerializableObject::ClassDescription().IsDerivedFrom(array.QueryClass()));
}

TEST(FoundItemArrayClass, ValidityCheckAndDumpDoNothing) {
  auto array = MakeArray(Ranges({{1, 2}}));
  CDumpStream dump;
  array->AssertValid();
  array->Dump(dump);
  EXPECT_EQ(dump.text, "");
  EXPECT_EQ(Describe(*array), "negative 0: [1,2)0");
}

// ---- Merge, case by case ----

struct Merged {
  std::string result;
  std::string first;
  std::string second;
};

Merged MergeOf(const ModelArray& first, const ModelArray& second, int nearBy) {
  auto a = MakeArray(first);
  auto b = MakeArray(second);
  CFoundItemArray result;
  result.Merge(a.get(), b.get(), nearBy);
  return {Describe(result), Describe(*a), Describe(*b)};
}

TEST(FoundItemArrayMerge, UnionTakesTheSecondArrayFirstOnEqualStarts) {
  const Merged merged = MergeOf(Ranges({{0, 2}}), Ranges({{0, 5}}), -1);
  EXPECT_EQ(merged.result, "negative 0: [0,5)0 [0,2)0");
  EXPECT_EQ(merged.first, "negative 0:");
  EXPECT_EQ(merged.second, "negative 0:");
}

TEST(FoundItemArrayMerge, UnionIsNeverNegativeAndLeavesTheFlagsOfItsSources) {
  const Merged merged = MergeOf(Ranges({{0, 2}}, 1), Ranges({{3, 5}}, 1), -20);
  EXPECT_EQ(merged.result, "negative 0: [0,2)0 [3,5)0");
  EXPECT_EQ(merged.first, "negative 1:");
  EXPECT_EQ(merged.second, "negative 1:");
}

TEST(FoundItemArrayMerge, UnionDropsNullSlots) {
  const Merged merged = MergeOf({{{}, ModelItem{1, 2, 1}, {}}}, {{{}, {}}}, -1);
  EXPECT_EQ(merged.result, "negative 0: [1,2)1");
  EXPECT_EQ(merged.first, "negative 0:");
  EXPECT_EQ(merged.second, "negative 0:");
}

TEST(FoundItemArrayMerge, EqualSpansAreNearOnlyFromTheirLengthOn) {
  const Merged apart = MergeOf(Ranges({{5, 10}}), Ranges({{5, 10}}), 0);
  EXPECT_EQ(apart.result, "negative 0:");
  EXPECT_EQ(apart.first, "negative 0: [5,10)0");
  EXPECT_EQ(apart.second, "negative 0: [5,10)0");
  const Merged near = MergeOf(Ranges({{5, 10}}), Ranges({{5, 10}}), 5);
  EXPECT_EQ(near.result, "negative 0: [5,10)0 [5,10)0");
  EXPECT_EQ(near.first, "negative 0: null");
  EXPECT_EQ(near.second, "negative 0: null");
}

TEST(FoundItemArrayMerge, AnEnclosingMatchIsNearOnlyFromItsEndBack) {
  EXPECT_EQ(MergeOf(Ranges({{0, 20}}), Ranges({{5, 7}}), 14).result, "negative 0:");
  EXPECT_EQ(MergeOf(Ranges({{0, 20}}), Ranges({{5, 7}}), 15).result, "negative 0: [0,20)0 [5,7)0");
}

TEST(FoundItemArrayMerge, ExclusionByANearItemLeavesEverythingWhereItIs) {
  const Merged merged = MergeOf(Ranges({{0, 4}}), Ranges({{6, 9}}, 1), 3);
  EXPECT_EQ(merged.result, "negative 0:");
  EXPECT_EQ(merged.first, "negative 0: [0,4)0");
  EXPECT_EQ(merged.second, "negative 1: [6,9)0");
}

TEST(FoundItemArrayMerge, ExclusionByAFarItemGivesThePositiveArray) {
  const Merged merged = MergeOf(Ranges({{0, 4}}), Ranges({{20, 25}}, 1), 3);
  EXPECT_EQ(merged.result, "negative 0: [0,4)0");
  EXPECT_EQ(merged.first, "negative 0:");
  EXPECT_EQ(merged.second, "negative 1: [20,25)0");
}

TEST(FoundItemArrayMerge, TwoNegativeArraysGiveANegativeResultEvenWhenItIsEmpty) {
  EXPECT_EQ(MergeOf(Ranges({{0, 4}}, 1), Ranges({{20, 25}}, 1), 3).result, "negative 1:");
  EXPECT_EQ(MergeOf(Ranges({}, 1), Ranges({}, 1), 0).result, "negative 1:");
}

TEST(FoundItemArrayMerge, AnyNonzeroFlagIsNegativeAndTheResultsFlagIsOne) {
  EXPECT_EQ(MergeOf(Ranges({{0, 4}}, 8), Ranges({{5, 7}}, 4), 3).result,
            "negative 1: [0,4)0 [5,7)0");
}

TEST(FoundItemArrayMerge, TheBoundIsInclusive) {
  EXPECT_EQ(MergeOf(Ranges({{0, 3}}), Ranges({{7, 9}}), 4).result, "negative 0: [0,3)0 [7,9)0");
  EXPECT_EQ(MergeOf(Ranges({{0, 3}}), Ranges({{7, 9}}), 3).result, "negative 0:");
}

TEST(FoundItemArrayMerge, ReplacesWhatTheArrayHeldAndItsFlag) {
  auto result = MakeArray(Ranges({{100, 101}, {102, 103}}, 1));
  auto a = MakeArray(Ranges({{0, 1}}));
  auto b = MakeArray(Ranges({{2, 3}}));
  result->Merge(a.get(), b.get(), -1);
  EXPECT_EQ(Describe(*result), "negative 0: [0,1)0 [2,3)0");
  EXPECT_EQ(LiveItem::Alive(), 2);
}

TEST(FoundItemArrayMerge, WithoutTwoOtherArraysNothingHappens) {
  auto array = MakeArray(Ranges({{0, 1}}, 1));
  auto other = MakeArray(Ranges({{2, 3}}));
  const std::string before = Describe(*array);
  array->Merge(nullptr, other.get(), -1);
  array->Merge(other.get(), nullptr, -1);
  array->Merge(array.get(), other.get(), -1);
  array->Merge(other.get(), array.get(), 3);
  array->Merge(other.get(), other.get(), 3);
  EXPECT_EQ(Describe(*array), before);
  EXPECT_EQ(Describe(*other), "negative 0: [2,3)0");
}

// ---- Merge against the model ----

ModelArray RandomArray(Dice& dice) {
  ModelArray model;
  const bool ordered = !dice.OneIn(8);
  int start = dice.Between(-2, 6);
  for (int i = dice.Between(0, 8); i > 0; --i) {
    if (dice.OneIn(5)) {
      model.slots.emplace_back();
      continue;
    }
    start = ordered ? start + dice.Between(0, 9) : dice.Between(0, 40);
    const int length = dice.OneIn(6) ? dice.Between(0, 30) : dice.Between(0, 6);
    model.slots.emplace_back(ModelItem{start, start + length, dice.Between(0, 2)});
  }
  const int flags[] = {0, 0, 1, 6};
  model.negative = flags[dice.Between(0, 3)];
  return model;
}

TEST(FoundItemArrayMerge, AgreesWithTheModel) {
  for (std::uint32_t seed = 1; seed <= 40000; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    ModelArray first = RandomArray(dice);
    ModelArray second = RandomArray(dice);
    const int nearBy = dice.Between(-1, 20);
    {
      const auto a = MakeArray(first);
      const auto b = MakeArray(second);
      const auto result = MakeArray(RandomArray(dice));
      const std::string given =
          Describe(first) + " / " + Describe(second) + " / " + std::to_string(nearBy);
      result->Merge(a.get(), b.get(), nearBy);
      const ModelArray expected = ModelMerge(first, second, nearBy);
      ASSERT_EQ(Describe(*result), Describe(expected)) << given;
      ASSERT_EQ(Describe(*a), Describe(first)) << given;
      ASSERT_EQ(Describe(*b), Describe(second)) << given;
    }
    ASSERT_EQ(LiveItem::Alive(), 0);
  }
}

TEST(FoundItemArrayGetItem, AgreesWithTheModel) {
  for (std::uint32_t seed = 1; seed <= 5000; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    const ModelArray model = RandomArray(dice);
    const auto array = MakeArray(model);
    const int size = array->GetSize();
    const int position = dice.Between(-3, 60);
    int next = 0;
    while (next < size && (!model.slots[static_cast<std::size_t>(next)] ||
                           model.slots[static_cast<std::size_t>(next)]->start <= position)) {
      ++next;
    }
    ASSERT_EQ(array->GetItem(position, 1), array->GetAt(next < size ? next : 0));
    int previous = size - 1;
    while (previous >= 0 && (!model.slots[static_cast<std::size_t>(previous)] ||
                             model.slots[static_cast<std::size_t>(previous)]->start >= position)) {
      --previous;
    }
    ASSERT_EQ(array->GetItem(position, 0), array->GetAt(previous >= 0 ? previous : size - 1));
  }
}

}  // namespace
}  // namespace trovex::testing
