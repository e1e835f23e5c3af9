// A host that passes numbers and pointers that mean nothing: the least and the greatest int where a
// length, a tag, a distance, a position or an environment is asked for, and null for every pointer.
//
// The answer is "no", null, an empty array or a message, and nothing is touched.

#include "tests/heap_text.h"

#include <trovex/trovex.h>

#include <gtest/gtest.h>
#include <algorithm>
#include <climits>
#include <iterator>
#include <memory>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

using trovex::testing::HeapText;

constexpr const char* kEmptySubexpression =
    "The search expression contains an empty subexpression.";

const int kOddNumbers[] = {INT_MIN, INT_MIN + 1, -65536, -2, -1, 1 << 16, INT_MAX - 1, INT_MAX};

class OddArguments : public ::testing::Test {
 protected:
  void TearDown() override {
    FreeBuffersInTrovexDll();
    ResetEnvironment();
  }
};

std::unique_ptr<CSearchTreeItem> TreeOf(const char* expression, int phonetic = 0) {
  CSearchTreeItem* root = nullptr;
  int tags = 0;
  EXPECT_EQ(GetSearchTree(expression, 0, phonetic, 1, 0, root, &tags), nullptr);
  return std::unique_ptr<CSearchTreeItem>(root);
}

std::unique_ptr<CFoundItemArray> Find(CSearchTreeItem& tree, const HeapText& text, int length,
                                      int tag) {
  return std::unique_ptr<CFoundItemArray>(tree.Search(text.Data(), length, tag));
}

const char* ClassOf(const CSearchTreeItem& node) {
  return typeid(node).name();
}

bool IsBase(const CSearchTreeItem& node) {
  return typeid(node) == typeid(CSearchTreeItem);
}

TEST_F(OddArguments, AnEnvironmentsNumberIsNoIfThereIsNoSuchEnvironment) {
  int number = -1;
  ASSERT_EQ(CompileToEnvironment("b", 1, 0, 1, 0, &number), nullptr);
  ASSERT_EQ(Compile("a", 0, 0), nullptr);
  const HeapText text("ba");
  for (const int odd : kOddNumbers) {
    EXPECT_EQ(ActivateEnvironment(odd), 0) << odd;
    EXPECT_EQ(RestoreEnvironment(odd), 0) << odd;
  }
  int start = -1;
  int end = -1;
  ASSERT_EQ(Search(text.Data(), text.Length(), &start, &end, 0), 1);
  EXPECT_EQ(start, 1) << "the installed pattern is still the one";
}

TEST_F(OddArguments, AnyNumberButZeroSwitchesSomethingOn) {
  const HeapText text("HAUSTIER HAUS Mayr");
  for (const int odd : kOddNumbers) {
    int start = -1;
    int end = -1;
    ASSERT_EQ(Compile("haus", odd, odd), nullptr);
    ASSERT_EQ(Search(text.Data(), text.Length(), &start, &end, 0), 1) << odd;
    EXPECT_EQ(start, 9) << odd;
    int number = -1;
    ASSERT_EQ(CompileToEnvironment("HAUS", odd, odd, odd, odd, &number), nullptr) << odd;
    ASSERT_EQ(ActivateEnvironment(number), 1);
    ASSERT_EQ(Search(text.Data(), text.Length(), &start, &end, 0), 1) << odd;
    EXPECT_EQ(start, 9) << odd;
    EXPECT_EQ(RestoreEnvironment(number), 1);
    ASSERT_NE(CompileSoundex("Meier", odd), 0);
    ASSERT_EQ(SearchSoundex(text.Data(), &start, &end), 1) << odd;
    EXPECT_EQ(start, 14) << odd;
    SoundexEnvironmentRecord record{};
    int wordMode = 0;
    GetSoundexEnvironment(&record, &wordMode);
    EXPECT_EQ(wordMode, odd);
  }
}

TEST_F(OddArguments, ASoundexRecordOfAnyBytesFindsNothingOrSomethingWithinTheText) {
  SoundexEnvironmentRecord record{};
  const HeapText text("ABCabc 123 \xE4\xF6\xFC");
  for (int first = 0; first <= 255; ++first) {
    for (const char rest :
         "\x01"
         "067A\xFF") {
      std::fill(std::begin(record.code), std::end(record.code), rest);
      record.code[0] = static_cast<char>(first);
      for (const int wordMode : {0, 1, INT_MIN}) {
        SetSoundexEnvironment(&record, wordMode);
        int start = 0;
        int end = 0;
        const int found = SearchSoundex(text.Data(), &start, &end);
        EXPECT_TRUE(found == 0 || (0 <= start && start < end && end <= text.Length()))
            << first << " " << static_cast<int>(rest) << " " << wordMode;
      }
    }
  }
}

TEST_F(OddArguments, ATextOfNegativeLengthIsEmptyForEveryNode) {
  const HeapText text("Haus Hof");
  for (const int phonetic : {0, 1}) {
    const std::pair<const char*, int> expressions[] = {{"Haus", 0},           {"!Haus", 1},
                                                       {"Haus & Hof", 0},     {"Haus &3 Hof", 0},
                                                       {"Haus & !Garten", 0}, {"!Haus & !Hof", 1}};
    for (const auto& [expression, negative] : expressions) {
      const auto tree = TreeOf(expression, phonetic);
      for (const int length : {0, -1, -65536, INT_MIN}) {
        const auto found = Find(*tree, text, length, 0);
        ASSERT_NE(found, nullptr) << expression << " " << length;
        EXPECT_EQ(found->GetSize(), 0) << expression << " " << length;
        EXPECT_EQ(found->IsNegative(), negative) << expression << " " << length;
      }
    }
  }
}

TEST_F(OddArguments, ATagThatNoBracketHasMarksNothing) {
  const HeapText text("Haus Hof");
  for (const char* expression : {"(Haus)", "(Haus & (H)of)", "!(Garten)", "(H(au)s) &9 (Hof)"}) {
    const auto tree = TreeOf(expression);
    const int size = Find(*tree, text, text.Length(), 0)->GetSize();
    for (const int tag : kOddNumbers) {
      const auto found = Find(*tree, text, text.Length(), tag);
      ASSERT_NE(found, nullptr) << tag;
      EXPECT_EQ(found->GetSize(), size) << tag;
      for (int i = 0; i < found->GetSize(); ++i)
        EXPECT_EQ(found->GetAt(i)->TagMatched(), 0) << expression << " " << tag;
    }
  }
}

TEST_F(OddArguments, ANodesTagBelowOneIsNeverAskedFor) {
  const HeapText text("Haus Hof");
  const auto tree = TreeOf("Haus & Hof");
  for (const int tag : kOddNumbers) {
    tree->SetTagNr(tag);
    EXPECT_EQ(tree->GetTagNr(), tag);
    const auto found = Find(*tree, text, text.Length(), tag);
    ASSERT_EQ(found->GetSize(), 2);
    EXPECT_EQ(found->GetAt(0)->TagMatched(), tag > 0 ? 1 : 0) << tag;
  }
}

TEST_F(OddArguments, ALeafTakesAnyLengthAndAnyTag) {
  for (const int odd : kOddNumbers) {
    CSubExpression leaf;
    leaf.SetSubExpression("((a))b", odd < 0 ? odd : 6, odd);
    EXPECT_EQ(leaf.GetSubExpression(), odd < 0 ? "" : "((a))b") << odd;
    EXPECT_EQ(leaf.IsEmpty(), odd < 0 ? 1 : 0) << odd;
    leaf.SetSubExpression("((a)b)", 6, odd);
    leaf.SetSearchOptions(kSearchModeRegularExpression);
    int cost = -1;
    ASSERT_EQ(leaf.OptimizeAndCompile(&cost), nullptr);
    const HeapText text("ab");
    for (const int tag : kOddNumbers) {
      const auto found = Find(leaf, text, text.Length(), tag);
      ASSERT_NE(found, nullptr);
      EXPECT_LE(found->GetSize(), 1) << odd << " " << tag;
    }
  }
}

TEST_F(OddArguments, ALeafOfAnyOptionsAnswers) {
  const HeapText text("ab");
  for (const unsigned long options : {0UL, 3UL, 0x0FUL, 0xFFFFFFF0UL, ULONG_MAX}) {
    CSubExpression leaf;
    leaf.SetSubExpression(CString("a"));
    leaf.SetSearchOptions(options);
    int cost = -1;
    ASSERT_EQ(leaf.OptimizeAndCompile(&cost), nullptr) << options;
    const auto found = Find(leaf, text, text.Length(), 0);
    ASSERT_NE(found, nullptr) << options;
    EXPECT_EQ(found->GetSize(), 0) << options << ": no such search mode";
  }
}

TEST_F(OddArguments, ADistanceBelowZeroIsAnywhereAndAGreatOneReachesAll) {
  const HeapText text("Haus und Hof");
  const auto tree = TreeOf("Haus & Hof");
  auto& conjunction = dynamic_cast<CAndOperator&>(*tree);
  for (const int distance : kOddNumbers) {
    conjunction.SetNearBy(distance);
    EXPECT_EQ(conjunction.GetNearBy(), distance);
    EXPECT_EQ(Find(*tree, text, text.Length(), 0)->GetSize(), 2) << distance;
  }
}

TEST_F(OddArguments, DistancesBetweenItemsOfAnyNumbersAreRight) {
  for (const int nearBy : {INT_MIN, -1, 0, 1, INT_MAX}) {
    CFoundItemArray first;
    CFoundItemArray second;
    CFoundItemArray merged;
    first.Add(new CFoundItem(INT_MIN, INT_MIN, INT_MIN));
    second.Add(new CFoundItem(INT_MAX, INT_MAX, INT_MAX));
    merged.Merge(&first, &second, nearBy);
    EXPECT_EQ(merged.GetSize(), nearBy < 0 ? 2 : 0)
        << nearBy << ": they are further apart than an int can say";
  }
}

TEST_F(OddArguments, SlotsThatAnArrayLacksAreNull) {
  CFoundItemArray array;
  array.Add(new CFoundItem(1, 2, 0));
  CFoundItem stray(3, 4, 0);
  for (const int index : kOddNumbers) {
    EXPECT_EQ(array.GetAt(index), nullptr) << index;
    array.SetAt(index, &stray);
  }
  EXPECT_EQ(array.GetSize(), 1);
  EXPECT_EQ(array.GetAt(0)->GetStartPos(), 1);
}

TEST_F(OddArguments, AnyPositionHasANextItemOfANonEmptyArray) {
  CFoundItemArray array;
  array.Add(new CFoundItem(1, 2, 0));
  array.Add(new CFoundItem(INT_MAX, INT_MAX, 0));
  for (const int position : kOddNumbers) {
    EXPECT_NE(array.GetItem(position, 1), nullptr) << position;
    EXPECT_NE(array.GetItem(position, 0), nullptr) << position;
    EXPECT_NE(array.GetItem(position, position), nullptr) << position;
  }
}

TEST_F(OddArguments, AnArraysSizeBelowZeroIsZero) {
  for (const int size : {-1, INT_MIN}) {
    CFoundItem item(1, 2, 0);
    CPointerArray<CFoundItem> array;
    array.Add(&item);
    array.SetSize(size);
    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_EQ(array.Add(&item), 0);
  }
}

// ---- Null pointers ----

/// One node of every class, with the children that its class takes, or without.
std::vector<std::unique_ptr<CSearchTreeItem>> EveryNode(bool withChildren) {
  std::vector<std::unique_ptr<CSearchTreeItem>> nodes;
  const auto leaf = [] {
    auto item = std::make_unique<CSubExpression>();
    item->SetSubExpression(CString("a"));
    return item.release();
  };
  nodes.push_back(std::make_unique<CSearchTreeItem>());
  nodes.push_back(std::make_unique<CSubExpression>());
  auto unary = std::make_unique<CUnarySearchTreeItem>();
  auto binary = std::make_unique<CBinarySearchTreeItem>();
  auto negation = std::make_unique<CNotOperator>();
  auto conjunction = std::make_unique<CAndOperator>();
  unary->SetChild(withChildren ? leaf() : nullptr);
  negation->SetChild(withChildren ? leaf() : nullptr);
  binary->SetLeftChild(withChildren ? leaf() : nullptr);
  binary->SetRightChild(withChildren ? leaf() : nullptr);
  conjunction->SetLeftChild(withChildren ? leaf() : nullptr);
  conjunction->SetRightChild(withChildren ? leaf() : nullptr);
  nodes.push_back(std::move(unary));
  nodes.push_back(std::move(binary));
  nodes.push_back(std::move(negation));
  nodes.push_back(std::move(conjunction));
  return nodes;
}

TEST_F(OddArguments, ANullTextIsNullForEveryNode) {
  for (const bool withChildren : {false, true}) {
    for (const auto& node : EveryNode(withChildren)) {
      int cost = 0;
      node->SetSearchOptions(kSearchModeRegularExpression);
      node->OptimizeAndCompile(&cost);
      for (const int length : {0, 1, -1, INT_MIN, INT_MAX}) {
        for (const int tag : {0, 1, INT_MIN, INT_MAX}) {
          EXPECT_EQ(node->Search(nullptr, length, tag), nullptr) << ClassOf(*node);
        }
      }
    }
  }
  CAndOperator conjunction;
  EXPECT_EQ(conjunction.SearchChilds(nullptr, 5, 0), nullptr);
}

TEST_F(OddArguments, ANullCostFailsWithAMessageAndCompilesNothing) {
  for (const bool withChildren : {false, true}) {
    for (const auto& node : EveryNode(withChildren)) {
      const char* const message = node->OptimizeAndCompile(nullptr);
      if (IsBase(*node)) {
        EXPECT_EQ(message, nullptr) << "the base has nothing to compile";
      } else {
        EXPECT_STREQ(message, kEmptySubexpression) << ClassOf(*node);
      }
      EXPECT_EQ(ActivateEnvironment(0), 0) << ClassOf(*node);
    }
  }
}

TEST_F(OddArguments, ANodeWithoutItsChildrenIsEmptyAndDoesNotCompile) {
  const HeapText text("a");
  for (const auto& node : EveryNode(false)) {
    EXPECT_EQ(node->IsEmpty(), 1) << ClassOf(*node);
    node->SetSearchOptions(ULONG_MAX);
    EXPECT_EQ(Find(*node, text, text.Length(), 0), nullptr) << ClassOf(*node);
  }
}

TEST_F(OddArguments, ANullSliceLeavesALeafAsItIs) {
  CSubExpression leaf;
  leaf.SetSubExpression("(ab)", 4, 1);
  for (const int odd : kOddNumbers)
    leaf.SetSubExpression(nullptr, odd, odd);
  EXPECT_EQ(leaf.GetSubExpression(), "ab");
  EXPECT_EQ(leaf.GetGroupCount(), 1);
}

TEST_F(OddArguments, ANullStringIsTheEmptyOne) {
  CSubExpression leaf;
  leaf.SetSubExpression(CString("ab"));
  leaf.SetSubExpression(CString(nullptr));
  EXPECT_EQ(leaf.IsEmpty(), 1);
  EXPECT_EQ(CString(nullptr, INT_MAX), "");
  EXPECT_EQ(CString("ab", INT_MIN), "");
}

TEST_F(OddArguments, ANullSourceMakesAMergeDoNothing) {
  CFoundItemArray array;
  CFoundItemArray other;
  array.Add(new CFoundItem(1, 2, 0));
  array.SetNegative(1);
  for (const int nearBy : {INT_MIN, -1, 0, INT_MAX}) {
    array.Merge(nullptr, nullptr, nearBy);
    array.Merge(&other, nullptr, nearBy);
    array.Merge(nullptr, &other, nearBy);
    EXPECT_EQ(array.GetSize(), 1);
    EXPECT_EQ(array.IsNegative(), 1);
  }
}

TEST_F(OddArguments, NullItemsArePassedOverByEveryOperationOfAnArray) {
  CFoundItemArray array;
  CFoundItemArray other;
  CFoundItemArray merged;
  array.Add(nullptr);
  array.Add(nullptr);
  other.Add(nullptr);
  array.SetTagMatched(1);
  EXPECT_EQ(array.GetItem(0, 1), nullptr);
  EXPECT_EQ(array.GetItem(0, 0), nullptr);
  for (const int nearBy : {-1, 0, 5}) {
    merged.Merge(&array, &other, nearBy);
    EXPECT_EQ(merged.GetSize(), 0);
  }
  array.Add(nullptr);
  array.DeleteItemsWithTagNotMatched();
  EXPECT_EQ(array.GetSize(), 0);
  array.DeleteItems();
  EXPECT_EQ(array.GetSize(), 0);
}

TEST_F(OddArguments, NullForEveryPointerOfAPlainFunctionIsNo) {
  const HeapText text("abc");
  int number = -77;
  CSearchTreeItem** const noTree = nullptr;
  EXPECT_EQ(Compile(nullptr, INT_MIN, INT_MAX), nullptr);
  EXPECT_EQ(Search(nullptr, INT_MAX, nullptr, nullptr, INT_MAX), 0);
  EXPECT_EQ(Search(text.Data(), INT_MIN, nullptr, nullptr, INT_MIN), 0);
  EXPECT_STREQ(CompileToEnvironment(nullptr, 1, 1, 1, 1, &number), kEmptySubexpression);
  EXPECT_EQ(std::exchange(number, -77), -1);
  EXPECT_STREQ(CompileToEnvironment("a", 1, 1, 1, 1, nullptr), kEmptySubexpression);
  EXPECT_STREQ(GetSearchTree("a", 1, 0, 0, 0, noTree, &number), kEmptySubexpression);
  EXPECT_STREQ(GetSearchTree(nullptr, 1, 0, 0, 0, noTree, nullptr), kEmptySubexpression);
  CSearchTreeItem other;
  CSearchTreeItem* tree = &other;
  EXPECT_STREQ(GetSearchTree(nullptr, 1, 0, 0, 0, tree, &number), kEmptySubexpression);
  EXPECT_EQ(std::exchange(tree, &other), nullptr);
  EXPECT_STREQ(GetSearchTree("a", 1, 0, 0, 0, tree, nullptr), kEmptySubexpression);
  EXPECT_EQ(tree, nullptr);
  EXPECT_EQ(CompileSoundex(nullptr, INT_MIN), 0);
  EXPECT_EQ(SearchSoundex(nullptr, nullptr, nullptr), 0);
  GetSoundexEnvironment(nullptr, nullptr);
  SetSoundexEnvironment(nullptr, INT_MAX);
  ReplaceChars(nullptr);
  EXPECT_EQ(number, -77);
}

}  // namespace
