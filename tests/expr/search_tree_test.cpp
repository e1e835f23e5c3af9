// The nodes of a search tree apart from searching: emptiness, options, costs and the exchange of
// operands, ownership, copies.

#include <trovex/functions.h>
#include <trovex/search_tree.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace trovex::testing {
namespace {

constexpr char kEmptySubexpression[] = "The search expression contains an empty subexpression.";

/// A node that writes what happens to it into a record: its name in lower case when it gets its options,
/// in upper case when it is deleted.
class RecordedNode : public CSearchTreeItem {
 public:
  RecordedNode(char name, std::string& record) : name_(name), record_(record) {}
  RecordedNode(const RecordedNode&) = delete;
  RecordedNode& operator=(const RecordedNode&) = delete;
  ~RecordedNode() override { record_ += static_cast<char>(name_ - 'a' + 'A'); }

  void SetSearchOptions(unsigned long /*options*/) override { record_ += name_; }

 private:
  char name_;
  std::string& record_;
};

/// A node that counts how many of its kind are alive and remembers the options it was given.
class CountedNode : public CSearchTreeItem {
 public:
  CountedNode() { ++Alive(); }
  CountedNode(const CountedNode&) = delete;
  CountedNode& operator=(const CountedNode&) = delete;
  ~CountedNode() override { --Alive(); }

  void SetSearchOptions(unsigned long options) override { options_ = options; }
  unsigned long Options() const { return options_; }

  static int& Alive() {
    static int alive = 0;
    return alive;
  }

 private:
  unsigned long options_ = 0;
};

/// A node whose compiling gives a fixed cost and message, and is counted.
class FixedCost : public CSearchTreeItem {
 public:
  FixedCost(int cost, const char* message) : cost_(cost), message_(message) {}

  const char* OptimizeAndCompile(int* cost) override {
    ++calls_;
    *cost = cost_;
    return message_;
  }
  int Calls() const { return calls_; }

 private:
  int cost_;
  const char* message_;
  int calls_ = 0;
};

CSubExpression* Leaf(const char* text) {
  auto* leaf = new CSubExpression;
  leaf->SetSubExpression(CString(text));
  leaf->SetSearchOptions(kSearchModeRegularExpression);
  return leaf;
}

std::string Text(CSearchTreeItem* node) {
  return static_cast<const char*>(dynamic_cast<CSubExpression&>(*node).GetSubExpression());
}

// ---- The base ----

TEST(SearchTreeItem, IsEmptyCompilesToNothingAndFindsNothing) {
  CSearchTreeItem item;
  EXPECT_EQ(item.IsEmpty(), 1);
  item.SetSearchOptions(0x31);
  int cost = 77;
  EXPECT_EQ(item.OptimizeAndCompile(&cost), nullptr);
  EXPECT_EQ(cost, 77);
  EXPECT_EQ(item.Search("a", 1, 0), nullptr);
}

TEST(SearchTreeItem, KeepsItsTagNumber) {
  CSearchTreeItem item;
  EXPECT_EQ(item.GetTagNr(), 0);
  item.SetTagNr(-3);
  EXPECT_EQ(item.GetTagNr(), -3);
  const CSearchTreeItem copy(item);
  CSearchTreeItem assigned;
  assigned = copy;
  EXPECT_EQ(assigned.GetTagNr(), -3);
}

// ---- Nodes with one child ----

TEST(UnaryNode, IsEmptyWithoutAChildOnly) {
  CUnarySearchTreeItem node;
  EXPECT_EQ(node.GetChild(), nullptr);
  EXPECT_EQ(node.IsEmpty(), 1);
  node.SetChild(new CSearchTreeItem);  // itself empty: only the child's presence counts
  EXPECT_EQ(node.IsEmpty(), 0);
}

TEST(UnaryNode, DeletesItsChildButNotTheOneThatWasReplaced) {
  auto first = std::make_unique<CountedNode>();
  {
    CNotOperator node;
    node.SetChild(first.get());
    auto* second = new CountedNode;
    node.SetChild(second);
    EXPECT_EQ(node.GetChild(), second);
    EXPECT_EQ(CountedNode::Alive(), 2);
  }
  EXPECT_EQ(CountedNode::Alive(), 1);
}

TEST(UnaryNode, WithoutAChildCostsNothingAndGivesTheEmptyMessage) {
  CNotOperator node;
  int cost = 5;
  EXPECT_STREQ(node.OptimizeAndCompile(&cost), kEmptySubexpression);
  EXPECT_EQ(cost, 0);
}

TEST(UnaryNode, AddsOneToItsChildsCostAlsoWhenTheChildFails) {
  CNotOperator node;
  auto* child = new FixedCost(6, "wrong");
  node.SetChild(child);
  int cost = 0;
  EXPECT_STREQ(node.OptimizeAndCompile(&cost), "wrong");
  EXPECT_EQ(cost, 7);
  EXPECT_EQ(child->Calls(), 1);
}

TEST(UnaryNode, HandsItsOwnCostVariableToTheChild) {
  CNotOperator node;
  node.SetChild(new CSearchTreeItem);  // compiles to nothing and leaves the cost alone
  int cost = 10;
  EXPECT_EQ(node.OptimizeAndCompile(&cost), nullptr);
  EXPECT_EQ(cost, 11);
}

TEST(UnaryNode, NotOverALeafOfFourCostsFive) {
  CNotOperator node;
  node.SetChild(Leaf("abcd"));
  int cost = 0;
  EXPECT_EQ(node.OptimizeAndCompile(&cost), nullptr);
  EXPECT_EQ(cost, 5);
}

TEST(UnaryNode, WithoutAnOperatorOfItsOwnFindsNothing) {
  CUnarySearchTreeItem node;
  node.SetChild(new CSearchTreeItem);
  EXPECT_EQ(node.Search("a", 1, 0), nullptr);
}

// ---- Nodes with two children ----

TEST(BinaryNode, IsEmptyUnlessBothChildrenAreThere) {
  CBinarySearchTreeItem node;
  EXPECT_EQ(node.IsEmpty(), 1);
  node.SetLeftChild(new CSearchTreeItem);
  EXPECT_EQ(node.IsEmpty(), 1);
  node.SetRightChild(new CSearchTreeItem);
  EXPECT_EQ(node.IsEmpty(), 0);
  CBinarySearchTreeItem rightOnly;
  rightOnly.SetRightChild(new CSearchTreeItem);
  EXPECT_EQ(rightOnly.IsEmpty(), 1);
}

TEST(BinaryNode, DeletesBothChildrenButNotThoseThatWereReplaced) {
  auto oldLeft = std::make_unique<CountedNode>();
  auto oldRight = std::make_unique<CountedNode>();
  {
    CAndOperator node;
    node.SetLeftChild(oldLeft.get());
    node.SetRightChild(oldRight.get());
    node.SetLeftChild(new CountedNode);
    node.SetRightChild(new CountedNode);
    EXPECT_EQ(CountedNode::Alive(), 4);
  }
  EXPECT_EQ(CountedNode::Alive(), 2);
}

TEST(BinaryNode, GivesOptionsToTheLeftChildFirstAndDeletesItFirst) {
  std::string record;
  auto node = std::make_unique<CBinarySearchTreeItem>();
  node->SetLeftChild(new RecordedNode('a', record));
  node->SetRightChild(new RecordedNode('b', record));
  node->SetSearchOptions(1);
  EXPECT_EQ(record, "ab");
  node.reset();
  EXPECT_EQ(record, "abAB");
}

TEST(BinaryNode, PutsTheCheaperOperandOnTheLeft) {
  CAndOperator node;
  node.SetLeftChild(Leaf("abcdef"));
  node.SetRightChild(Leaf("xy"));
  int cost = 0;
  EXPECT_EQ(node.OptimizeAndCompile(&cost), nullptr);
  EXPECT_EQ(cost, 9);
  EXPECT_EQ(Text(node.GetLeftChild()), "xy");
  EXPECT_EQ(Text(node.GetRightChild()), "abcdef");
}

TEST(BinaryNode, KeepsTheOrderOfEqualCosts) {
  CAndOperator node;
  node.SetLeftChild(Leaf("ab"));
  node.SetRightChild(Leaf("cd"));
  int cost = 0;
  EXPECT_EQ(node.OptimizeAndCompile(&cost), nullptr);
  EXPECT_EQ(cost, 5);
  EXPECT_EQ(Text(node.GetLeftChild()), "ab");
}

TEST(BinaryNode, WithoutALeftChildCompilesNothing) {
  CAndOperator node;
  auto* right = new FixedCost(1, nullptr);
  node.SetRightChild(right);
  int cost = 8;
  EXPECT_STREQ(node.OptimizeAndCompile(&cost), kEmptySubexpression);
  EXPECT_EQ(cost, 0);
  EXPECT_EQ(right->Calls(), 0);
}

TEST(BinaryNode, WithoutARightChildCompilesTheLeftOneFirst) {
  CAndOperator node;
  auto* left = new FixedCost(3, nullptr);
  node.SetLeftChild(left);
  int cost = 8;
  EXPECT_STREQ(node.OptimizeAndCompile(&cost), kEmptySubexpression);
  EXPECT_EQ(cost, 0);
  EXPECT_EQ(left->Calls(), 1);
}

TEST(BinaryNode, AFailingLeftChildEndsTheCompiling) {
  CAndOperator node;
  auto* right = new FixedCost(1, nullptr);
  node.SetLeftChild(new FixedCost(3, "left is wrong"));
  node.SetRightChild(right);
  int cost = 8;
  EXPECT_STREQ(node.OptimizeAndCompile(&cost), "left is wrong");
  EXPECT_EQ(cost, 0);
  EXPECT_EQ(right->Calls(), 0);
}

TEST(BinaryNode, AFailingRightChildLeavesTheOrder) {
  CAndOperator node;
  auto* left = new FixedCost(3, nullptr);
  node.SetLeftChild(left);
  node.SetRightChild(new FixedCost(1, "right is wrong"));
  int cost = 8;
  EXPECT_STREQ(node.OptimizeAndCompile(&cost), "right is wrong");
  EXPECT_EQ(cost, 0);
  EXPECT_EQ(node.GetLeftChild(), left);
}

TEST(BinaryNode, OperandsExchangedBeforeAFailureStayExchanged) {
  CAndOperator root;
  auto* inner = new CAndOperator;
  inner->SetLeftChild(Leaf("long"));
  inner->SetRightChild(Leaf("s"));
  root.SetLeftChild(inner);
  root.SetRightChild(new FixedCost(1, "wrong"));
  int cost = 0;
  EXPECT_STREQ(root.OptimizeAndCompile(&cost), "wrong");
  EXPECT_EQ(root.GetLeftChild(), inner);
  EXPECT_EQ(Text(inner->GetLeftChild()), "s");
}

TEST(BinaryNode, AChildThatLeavesTheCostAloneCostsNothing) {
  CAndOperator node;
  node.SetLeftChild(new CSearchTreeItem);
  node.SetRightChild(new CSearchTreeItem);
  int cost = 50;
  EXPECT_EQ(node.OptimizeAndCompile(&cost), nullptr);
  EXPECT_EQ(cost, 1);
}

TEST(AndOperator, HasNoDistanceAtFirstAndStoresAnyUnchanged) {
  CAndOperator node;
  EXPECT_EQ(node.GetNearBy(), -1);
  node.SetNearBy(-17);
  EXPECT_EQ(node.GetNearBy(), -17);
  node.SetNearBy(12);
  EXPECT_EQ(node.GetNearBy(), 12);
}

// ---- Options ----

TEST(SearchOptionsWord, SetAtTheRootReachesEveryLeafUnchanged) {
  CAndOperator root;
  auto* left = new CountedNode;
  auto* inverted = new CNotOperator;
  auto* right = new CountedNode;
  inverted->SetChild(right);
  root.SetLeftChild(left);
  root.SetRightChild(inverted);
  root.SetSearchOptions(0xABCD1234UL);
  EXPECT_EQ(left->Options(), 0xABCD1234UL);
  EXPECT_EQ(right->Options(), 0xABCD1234UL);
}

TEST(SearchOptionsWord, SkipsMissingChildren) {
  CAndOperator both;
  CNotOperator inverted;
  auto* right = new CountedNode;
  both.SetRightChild(right);
  both.SetSearchOptions(0x11);
  inverted.SetSearchOptions(0x11);
  EXPECT_EQ(right->Options(), 0x11UL);
  EXPECT_EQ(inverted.GetChild(), nullptr);
}

TEST(SearchOptionsWord, TellsTheModeAsAYesAndTheSwitchesAsTheirBits) {
  CSubExpression leaf;
  leaf.SetSearchOptions(0x31);
  EXPECT_EQ(leaf.RegularExpression(), 1);
  EXPECT_EQ(leaf.PhoneticSearch(), 0);
  EXPECT_EQ(leaf.MatchWords(), 16);
  EXPECT_EQ(leaf.CaseSensitive(), 32);
  leaf.SetSearchOptions(0x02);
  EXPECT_EQ(leaf.RegularExpression(), 0);
  EXPECT_EQ(leaf.PhoneticSearch(), 1);
  EXPECT_EQ(leaf.MatchWords(), 0);
  EXPECT_EQ(leaf.CaseSensitive(), 0);
}

TEST(SearchOptionsWord, OneModeBitMoreIsAnotherMode) {
  CSubExpression leaf;
  for (unsigned long mode = 0; mode <= 15; ++mode) {
    leaf.SetSearchOptions(mode);
    EXPECT_EQ(leaf.RegularExpression(), mode == 1 ? 1 : 0) << mode;
    EXPECT_EQ(leaf.PhoneticSearch(), mode == 2 ? 1 : 0) << mode;
  }
}

// ---- Copies ----

TEST(ShallowCopy, OfAnOperatorSharesTheChildren) {
  CAndOperator source;
  auto* left = new CSearchTreeItem;
  auto* right = new CSearchTreeItem;
  source.SetLeftChild(left);
  source.SetRightChild(right);
  source.SetNearBy(4);
  source.SetTagNr(2);
  CAndOperator copy(source);
  CAndOperator assigned;
  assigned = source;
  for (CAndOperator* other : {&copy, &assigned}) {
    EXPECT_EQ(other->GetLeftChild(), left);
    EXPECT_EQ(other->GetRightChild(), right);
    EXPECT_EQ(other->GetNearBy(), 4);
    EXPECT_EQ(other->GetTagNr(), 2);
    other->SetLeftChild(nullptr);
    other->SetRightChild(nullptr);
  }
  EXPECT_EQ(source.GetLeftChild(), left);
}

TEST(ShallowCopy, OfANotSharesTheChild) {
  CNotOperator source;
  auto* child = new CSearchTreeItem;
  source.SetChild(child);
  source.SetTagNr(9);
  CNotOperator copy(source);
  CNotOperator assigned;
  assigned = source;
  for (CNotOperator* other : {&copy, &assigned}) {
    EXPECT_EQ(other->GetChild(), child);
    EXPECT_EQ(other->GetTagNr(), 9);
    other->SetChild(nullptr);
  }
  EXPECT_EQ(source.GetChild(), child);
}

TEST(ShallowCopy, OfALeafHasItsOwnTextAndTheSameCounts) {
  CSubExpression source;
  source.SetSubExpression(" ((a(b))) ", 10, 7);
  source.SetSearchOptions(0x32);
  source.SetTagNr(5);
  CSubExpression copy(source);
  CSubExpression assigned;
  assigned = source;
  source.SetSubExpression(CString("other"));
  source.SetSearchOptions(0);
  for (CSubExpression* other : {&copy, &assigned}) {
    EXPECT_EQ(other->GetSubExpression(), "a(b)");
    EXPECT_EQ(other->GetTagBase(), 4);
    EXPECT_EQ(other->GetGroupCount(), 3);
    EXPECT_EQ(other->GetStrippedBrackets(), 2);
    EXPECT_EQ(other->PhoneticSearch(), 1);
    EXPECT_EQ(other->MatchWords(), 16);
    EXPECT_EQ(other->CaseSensitive(), 32);
    EXPECT_EQ(other->GetTagNr(), 5);
  }
}

TEST(ShallowCopy, OfACompiledLeafSearchesTheSameEnvironment) {
  ResetEnvironment();
  CSubExpression source;
  source.SetSubExpression(CString("b"));
  source.SetSearchOptions(kSearchModeRegularExpression);
  int cost = 0;
  ASSERT_EQ(source.OptimizeAndCompile(&cost), nullptr);
  CSubExpression copy(source);
  char text[] = "abc";
  const std::unique_ptr<CFoundItemArray> found(copy.Search(text, 3, 0));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->GetSize(), 1);
}

}  // namespace
}  // namespace trovex::testing
