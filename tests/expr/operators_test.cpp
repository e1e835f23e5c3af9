// AND and NOT over leaves that hand out prepared results: what is combined, what is marked, what is
// not searched at all, and that every array and item has exactly one owner at the end.

#include "tests/dice.h"
#include "tests/expr/tree_model.h"

#include <trovex/functions.h>
#include <trovex/search_tree.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace trovex::testing {
namespace {

/// What the leaves of one tree were asked, in order.
struct SearchLog {
  std::vector<int> leaves;
  const char* text = nullptr;
  int length = 0;
  int tagNr = 0;
};

/// A leaf that hands out a prepared array, or null.
class StubLeaf : public CSearchTreeItem {
 public:
  StubLeaf(SearchLog& log, int number, std::optional<ModelArray> result)
      : log_(log), number_(number), result_(std::move(result)) {}

  CFoundItemArray* Search(const char* text, int length, int tagNr) override {
    log_.leaves.push_back(number_);
    log_.text = text;
    log_.length = length;
    log_.tagNr = tagNr;
    return result_ ? MakeArray(*result_).release() : nullptr;
  }

 private:
  SearchLog& log_;
  int number_;
  std::optional<ModelArray> result_;
};

ModelArray Ranges(const std::vector<std::vector<int>>& ranges, int negative = 0) {
  ModelArray model;
  for (const auto& range : ranges)
    model.slots.emplace_back(ModelItem{range[0], range[1], 0});
  model.negative = negative;
  return model;
}

class OperatorTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(LiveItem::Alive(), 0); }

  CSearchTreeItem* Stub(int number, std::optional<ModelArray> result) {
    return new StubLeaf(log_, number, std::move(result));
  }

  static CNotOperator* Not(CSearchTreeItem* child) {
    auto* node = new CNotOperator;
    node->SetChild(child);
    return node;
  }

  static std::unique_ptr<CAndOperator> And(CSearchTreeItem* left, CSearchTreeItem* right,
                                           int nearBy = -1) {
    auto node = std::make_unique<CAndOperator>();
    node->SetLeftChild(left);
    node->SetRightChild(right);
    node->SetNearBy(nearBy);
    return node;
  }

  std::string Found(CSearchTreeItem& root, int tagNr = 0) {
    const std::unique_ptr<CFoundItemArray> found(root.Search(kText, 4, tagNr));
    return found == nullptr ? "null" : Describe(*found);
  }

  static constexpr char kText[] = "text";
  SearchLog log_;
};

// ---- NOT ----

TEST_F(OperatorTest, NotTurnsTheFlagAndKeepsTheItems) {
  const std::unique_ptr<CNotOperator> node(Not(Stub(1, Ranges({{0, 1}, {2, 3}}))));
  EXPECT_EQ(Found(*node), "negative 1: [0,1)0 [2,3)0");
}

TEST_F(OperatorTest, NotOfNotIsPositiveAgain) {
  const std::unique_ptr<CNotOperator> node(Not(Not(Stub(1, Ranges({{0, 1}})))));
  EXPECT_EQ(Found(*node), "negative 0: [0,1)0");
}

TEST_F(OperatorTest, NotMarksItsOwnTagOnANegativeResult) {
  const std::unique_ptr<CNotOperator> node(Not(Stub(1, Ranges({{0, 1}, {2, 3}}))));
  node->SetTagNr(2);
  EXPECT_EQ(Found(*node, 2), "negative 1: [0,1)1 [2,3)1");
  EXPECT_EQ(Found(*node, 1), "negative 1: [0,1)0 [2,3)0");
}

TEST_F(OperatorTest, ATagNumberBelowOneMarksNothing) {
  const std::unique_ptr<CNotOperator> node(Not(Stub(1, Ranges({{0, 1}}))));
  auto both = And(Stub(2, Ranges({{0, 1}})), Stub(3, Ranges({{2, 3}})));
  for (const int tag : {0, -1}) {
    node->SetTagNr(tag);
    both->SetTagNr(tag);
    EXPECT_EQ(Found(*node, tag), "negative 1: [0,1)0");
    EXPECT_EQ(Found(*both, tag), "negative 0: [0,1)0 [2,3)0");
  }
}

TEST_F(OperatorTest, NotOfNothingIsNull) {
  CNotOperator childless;
  EXPECT_EQ(Found(childless), "null");
  const std::unique_ptr<CNotOperator> node(Not(Stub(1, std::nullopt)));
  EXPECT_EQ(Found(*node), "null");
}

// ---- AND anywhere in the text ----

TEST_F(OperatorTest, AndAnywhereIsTheUnionWhenBothOccur) {
  auto node = And(Stub(1, Ranges({{0, 1}, {8, 9}})), Stub(2, Ranges({{3, 4}})));
  EXPECT_EQ(Found(*node), "negative 0: [0,1)0 [3,4)0 [8,9)0");
}

TEST_F(OperatorTest, AndIsEmptyWhenTheLeftOperandDoesNotOccurAndAsksNoFurther) {
  auto node = And(Stub(1, Ranges({})), Stub(2, Ranges({{3, 4}})));
  EXPECT_EQ(Found(*node), "negative 0:");
  EXPECT_EQ(log_.leaves, (std::vector<int>{1}));
}

TEST_F(OperatorTest, AndIsEmptyWhenTheRightOperandDoesNotOccur) {
  auto node = And(Stub(1, Ranges({{0, 1}})), Stub(2, Ranges({})));
  EXPECT_EQ(Found(*node), "negative 0:");
}

TEST_F(OperatorTest, AndIsEmptyAndPositiveWhenTheExcludedOperandOccurs) {
  auto node = And(Stub(1, Ranges({{0, 1}})), Not(Stub(2, Ranges({{5, 6}}))));
  EXPECT_EQ(Found(*node), "negative 0:");
  EXPECT_EQ(log_.leaves, (std::vector<int>{1, 2}));
}

TEST_F(OperatorTest, AndGivesThePositiveOperandWhenTheExcludedOneDoesNotOccur) {
  auto right = And(Stub(1, Ranges({{0, 1}})), Not(Stub(2, Ranges({}))));
  EXPECT_EQ(Found(*right), "negative 0: [0,1)0");
  auto left = And(Not(Stub(1, Ranges({}))), Stub(2, Ranges({{0, 1}})));
  EXPECT_EQ(Found(*left), "negative 0: [0,1)0");
}

TEST_F(OperatorTest, AnExcludedLeftOperandThatOccursEndsTheSearch) {
  auto node = And(Not(Stub(1, Ranges({{5, 6}}))), Stub(2, Ranges({{0, 1}})));
  EXPECT_EQ(Found(*node), "negative 0:");
  EXPECT_EQ(log_.leaves, (std::vector<int>{1}));
}

TEST_F(OperatorTest, TwoExcludedOperandsThatDoNotOccurStayNegative) {
  auto node = And(Not(Stub(1, Ranges({}))), Not(Stub(2, Ranges({}))));
  EXPECT_EQ(Found(*node), "negative 1:");
}

// ---- AND within a distance ----

TEST_F(OperatorTest, AndWithADistanceKeepsWhatLiesWithinIt) {
  auto near = And(Stub(1, Ranges({{0, 3}})), Stub(2, Ranges({{7, 9}})), 5);
  EXPECT_EQ(Found(*near), "negative 0: [0,3)0 [7,9)0");
  auto far = And(Stub(1, Ranges({{0, 3}})), Stub(2, Ranges({{7, 9}})), 3);
  EXPECT_EQ(Found(*far), "negative 0:");
}

TEST_F(OperatorTest, AndWithADistanceSearchesTheRightOperandAfterAnExcludedOne) {
  auto node = And(Not(Stub(1, Ranges({{20, 21}}))), Stub(2, Ranges({{0, 1}})), 5);
  EXPECT_EQ(Found(*node), "negative 0: [0,1)0");
  EXPECT_EQ(log_.leaves, (std::vector<int>{1, 2}));
}

TEST_F(OperatorTest, AnExcludedMatchWithinTheDistanceTakesAllAway) {
  auto node = And(Stub(1, Ranges({{0, 1}, {90, 91}})), Not(Stub(2, Ranges({{3, 4}}))), 5);
  EXPECT_EQ(Found(*node), "negative 0:");
}

TEST_F(OperatorTest, TwoExcludedOperandsWithinTheDistanceStayNegative) {
  auto node = And(Not(Stub(1, Ranges({{0, 1}, {50, 51}}))), Not(Stub(2, Ranges({{3, 4}}))), 5);
  EXPECT_EQ(Found(*node), "negative 1: [0,1)0 [3,4)0");
}

TEST_F(OperatorTest, ADistanceOfZeroIsADistance) {
  auto node = And(Stub(1, Ranges({{0, 3}})), Stub(2, Ranges({{3, 5}, {9, 9}})), 0);
  EXPECT_EQ(Found(*node), "negative 0: [0,3)0 [3,5)0");
}

// ---- Tags, missing operands, arguments ----

TEST_F(OperatorTest, AndMarksItsOwnTagOnAllItems) {
  auto node = And(Stub(1, Ranges({{0, 1}})), Stub(2, Ranges({{3, 4}})));
  node->SetTagNr(3);
  EXPECT_EQ(Found(*node, 3), "negative 0: [0,1)1 [3,4)1");
  EXPECT_EQ(Found(*node, 2), "negative 0: [0,1)0 [3,4)0");
}

TEST_F(OperatorTest, SearchChildsMarksNoTag) {
  auto node = And(Stub(1, Ranges({{0, 1}})), Stub(2, Ranges({{3, 4}})));
  node->SetTagNr(3);
  const std::unique_ptr<CFoundItemArray> found(node->SearchChilds(kText, 4, 3));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(Describe(*found), "negative 0: [0,1)0 [3,4)0");
}

TEST_F(OperatorTest, AndWithoutBothChildrenIsNullAndSearchesNeither) {
  auto leftOnly = And(Stub(1, Ranges({{0, 1}})), nullptr);
  auto rightOnly = And(nullptr, Stub(2, Ranges({{0, 1}})));
  EXPECT_EQ(Found(*leftOnly), "null");
  EXPECT_EQ(Found(*rightOnly), "null");
  EXPECT_TRUE(log_.leaves.empty());
}

TEST_F(OperatorTest, ANullFromEitherChildMakesTheAndNull) {
  auto left = And(Stub(1, std::nullopt), Stub(2, Ranges({{0, 1}})));
  EXPECT_EQ(Found(*left), "null");
  EXPECT_EQ(log_.leaves, (std::vector<int>{1}));
  auto right = And(Stub(1, Ranges({{0, 1}})), Stub(2, std::nullopt));
  EXPECT_EQ(Found(*right), "null");
}

TEST_F(OperatorTest, HandsItsArgumentsToTheLeavesUnchanged) {
  auto node = And(Stub(1, Ranges({{0, 1}})), Not(Stub(2, Ranges({}))));
  Found(*node, -8);
  EXPECT_EQ(log_.text, kText);
  EXPECT_EQ(log_.length, 4);
  EXPECT_EQ(log_.tagNr, -8);
}

// ---- Random trees against the model ----

/// Random trees, each built twice: of the library's nodes over stubs, and as a model over the same
/// prepared arrays. A leaf's number is kept in the model leaf's text.
class TreePair {
 public:
  /// A tree of any shape, or one whose first `chained` nodes are ANDs, each the right operand of the one
  /// before, most of them with a distance or most of them without.
  TreePair(Dice& dice, SearchLog& log, int chained = 0)
      : dice_(dice), log_(log), chained_(chained), isNear_(dice.OneIn(2)) {
    Grow(chained > 0 ? chained + 1 : 4, root_, model_);
  }

  CSearchTreeItem& Root() { return *root_; }
  const ModelNode* Model() const { return model_.get(); }
  const std::optional<ModelArray>& Prepared(int leaf) const {
    return prepared_[static_cast<std::size_t>(leaf)];
  }

 private:
  void Grow(int depth, std::unique_ptr<CSearchTreeItem>& node, std::unique_ptr<ModelNode>& model) {
    model = std::make_unique<ModelNode>();
    const int kind = chained_ > 0 ? 3 : depth <= 0 ? 0 : dice_.Between(0, 5);
    if (kind == 0) {
      GrowLeaf(node, *model);
      return;
    }
    if (kind <= 2) {
      GrowNot(depth, node, *model);
    } else {
      GrowAnd(depth, node, *model);
    }
    model->tag = dice_.Between(-1, 3);
    node->SetTagNr(model->tag);
  }

  void GrowLeaf(std::unique_ptr<CSearchTreeItem>& node, ModelNode& model) {
    const int number = static_cast<int>(prepared_.size());
    prepared_.push_back(dice_.OneIn(25) ? std::optional<ModelArray>() : RandomResult());
    model.text = std::to_string(number);
    node = std::make_unique<StubLeaf>(log_, number, prepared_.back());
  }

  void GrowNot(int depth, std::unique_ptr<CSearchTreeItem>& node, ModelNode& model) {
    model.kind = ModelNode::Kind::kNot;
    auto inverted = std::make_unique<CNotOperator>();
    inverted->SetChild(GrowChild(depth, model.left).release());
    node = std::move(inverted);
  }

  void GrowAnd(int depth, std::unique_ptr<CSearchTreeItem>& node, ModelNode& model) {
    model.kind = ModelNode::Kind::kAnd;
    const bool anywhere = chained_ > 0 ? dice_.OneIn(5) == isNear_ : dice_.OneIn(2);
    model.nearBy = anywhere ? -dice_.Between(1, 3) : dice_.Between(0, 20);
    auto both = std::make_unique<CAndOperator>();
    both->SetNearBy(model.nearBy);
    const int chainedBelow = std::exchange(chained_, 0) - 1;
    both->SetLeftChild(GrowChild(chainedBelow >= 0 ? 1 : depth, model.left).release());
    chained_ = std::max(chainedBelow, 0);
    both->SetRightChild(GrowChild(chainedBelow == 0 ? 1 : depth, model.right).release());
    node = std::move(both);
  }

  /// A child of both trees; now and then there is none.
  std::unique_ptr<CSearchTreeItem> GrowChild(int depth, std::unique_ptr<ModelNode>& model) {
    std::unique_ptr<CSearchTreeItem> child;
    if (!dice_.OneIn(60)) Grow(depth - 1, child, model);
    return child;
  }

  ModelArray RandomResult() {
    ModelArray result;
    const bool ordered = !dice_.OneIn(20);  // a host's own nodes may give anything
    int start = 0;
    for (int i = dice_.OneIn(12) ? 0 : dice_.Between(1, 3); i > 0; --i) {
      start += dice_.Between(ordered ? 0 : -12, 12);
      result.slots.emplace_back(ModelItem{start, start + dice_.Between(0, 5), dice_.Between(0, 1)});
    }
    result.negative = dice_.OneIn(8) ? dice_.Between(1, 3) : 0;
    return result;
  }

  Dice& dice_;
  SearchLog& log_;
  int chained_;  // how many ANDs of the chain are yet to come
  bool isNear_;  // whether most of them have a distance
  std::vector<std::optional<ModelArray>> prepared_;
  std::unique_ptr<CSearchTreeItem> root_;
  std::unique_ptr<ModelNode> model_;
};

TEST(Operators, AMatchWhoseGroupTookNoPartIsNoneWhereTheGroupIsAskedFor) {
  CSearchTreeItem* root = nullptr;
  int tags = 0;
  const char* const expression =
      "Datei & !(Haus)|Hund|Katze|Maus|Vogel|Fisch|Baum|Blume|Wald|Wiese";
  ASSERT_STREQ(GetSearchTree(expression, 1, 0, 0, 1, root, &tags), nullptr);
  const std::unique_ptr<CSearchTreeItem> tree(root);
  const auto found = [&tree](const std::string& text, int tagNr) {
    const std::unique_ptr<CFoundItemArray> items(
        tree->Search(text.c_str(), static_cast<int>(text.size()), tagNr));
    return items == nullptr ? "null" : Describe(*items);
  };
  for (const std::string& rest : {std::string(), std::string(300, '-')}) {
    EXPECT_EQ(found("Datei Hund" + rest, 1), "negative 0: [0,5)0");
    EXPECT_EQ(found("Datei Hund" + rest, 0), "negative 0:");
    EXPECT_EQ(found("Datei Haus" + rest, 1), "negative 0:");
  }
}

TEST_F(OperatorTest, RandomTreesAgreeWithTheModel) {
  int nonEmpty = 0;
  for (std::uint32_t seed = 1; seed <= 60000; ++seed) {
    Dice dice(seed);
    log_ = SearchLog{};
    TreePair tree(dice, log_, dice.OneIn(3) ? dice.Between(2, 18) : 0);
    const int tagNr = dice.Between(-1, 3);
    std::vector<int> modelLeaves;
    const std::optional<ModelArray> expected =
        Evaluate(tree.Model(), tagNr, [&](const ModelNode& leaf) {
          modelLeaves.push_back(std::stoi(leaf.text));
          return tree.Prepared(modelLeaves.back());
        });
    const std::string found = Found(tree.Root(), tagNr);
    SCOPED_TRACE("seed " + std::to_string(seed) + ": " + Describe(tree.Model()));
    ASSERT_EQ(found, expected ? Describe(*expected) : "null");
    ASSERT_EQ(log_.leaves, modelLeaves);
    ASSERT_EQ(LiveItem::Alive(), 0);
    nonEmpty += expected && !expected->IsEmpty() ? 1 : 0;
  }
  EXPECT_GT(nonEmpty, 5000);
}

}  // namespace
}  // namespace trovex::testing
