// Chains of strings, searched for all strings at once, against the operators over what each leaf finds alone.

#include "expr/string_chain.h"

#include "expr/leaf_pattern.h"
#include "tests/dice.h"
#include "tests/expr/tree_model.h"
#include "tests/heap_text.h"

#include <trovex/trovex.h>

#include <gtest/gtest.h>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace trovex::testing {
namespace {

constexpr int kAnywhere = -1;

/// A tree of plain nodes over patterns, and the same as a model.
class Tree {
 public:
  explicit Tree(bool foldCase = false) : foldCase_(foldCase) { ResetEnvironment(); }
  ~Tree() {
    root_.reset();
    ResetEnvironment();
  }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  /// A tree below the one that it is given to, and its model.
  struct Node {
    CSearchTreeItem* item;
    std::unique_ptr<ModelNode> model;
  };

  Node Leaf(const std::string& pattern) {
    auto* const leaf = new CSubExpression;
    leaf->SetSubExpression(CString(pattern.c_str()));
    leaf->SetSearchOptions(kSearchModeRegularExpression |
                           (foldCase_ ? 0UL : static_cast<unsigned long>(kSearchCaseSensitive)));
    int cost = 0;
    EXPECT_STREQ(leaf->OptimizeAndCompile(&cost), nullptr) << pattern;
    Node node = {leaf, std::make_unique<ModelNode>()};
    node.model->text = pattern;
    leaves_[node.model.get()] = leaf;
    return node;
  }
  static Node Not(Node operand) {
    auto* const negation = new CNotOperator;
    negation->SetChild(operand.item);
    Node node = {negation, std::make_unique<ModelNode>()};
    node.model->kind = ModelNode::Kind::kNot;
    node.model->left = std::move(operand.model);
    return node;
  }
  static Node And(Node left, Node right, int nearBy) {
    auto* const both = new CAndOperator;
    both->SetLeftChild(left.item);
    both->SetRightChild(right.item);
    both->SetNearBy(nearBy);
    Node node = {both, std::make_unique<ModelNode>()};
    node.model->kind = ModelNode::Kind::kAnd;
    node.model->left = std::move(left.model);
    node.model->right = std::move(right.model);
    node.model->nearBy = nearBy;
    return node;
  }
  void Plant(Node root) {
    root_.reset(root.item);
    model_ = std::move(root.model);
  }

  CAndOperator& Root() const { return dynamic_cast<CAndOperator&>(*root_); }

  /// Has it searched so often that what it takes to search for its strings at once is made. False where it never is.
  bool WarmUp() const {
    const std::string filler(std::size_t{1} << 15, '-');
    return StringChain::Search(Root(), filler.data(), static_cast<int>(filler.size()), false) !=
           nullptr;
  }

  /// What is found by strings, if anything is; and by the tree.
  std::optional<std::string> AsStrings(const HeapText& text) const {
    const auto found = StringChain::Search(Root(), text.Data(), text.Length(), false);
    return found != nullptr ? std::optional(Describe(*found)) : std::nullopt;
  }
  std::string AsTree(const HeapText& text) const {
    const std::unique_ptr<CFoundItemArray> found(root_->Search(text.Data(), text.Length(), 0));
    return found != nullptr ? Describe(*found) : "null";
  }

  /// Has the leaves searched as the operators do, one after the other until the rest is decided.
  std::string AsLeaves(const HeapText& text) const { return Expected(text); }

  /// What the operators come to over what each leaf finds by itself.
  std::string Expected(const HeapText& text) const {
    const auto searchLeaf = [&](const ModelNode& leaf) {
      const std::unique_ptr<CFoundItemArray> found(
          leaves_.at(&leaf)->Search(text.Data(), text.Length(), 0));
      ModelArray matches;
      for (int i = 0; i < found->GetSize(); ++i) {
        CFoundItem* const item = found->GetAt(i);
        matches.slots.emplace_back(ModelItem{item->GetStartPos(), item->GetEndPos(), 0});
      }
      return std::optional(matches);
    };
    return Describe(*Evaluate(model_.get(), 0, searchLeaf));
  }

 private:
  bool foldCase_;
  std::unique_ptr<CSearchTreeItem> root_;
  std::unique_ptr<ModelNode> model_;
  std::map<const ModelNode*, CSubExpression*> leaves_;
};

/// A tree of `leaves` strings: ANDs in any order, NOTs of strings beside what is none.
Tree::Node RandomTree(Dice& dice, Tree& tree, const std::vector<std::string>& patterns, int leaves,
                      const std::vector<int>& distances) {
  if (leaves == 1) return tree.Leaf(dice.OneOf(patterns));
  const int onTheLeft = dice.OneIn(2) ? 1 : dice.Between(1, leaves - 1);
  Tree::Node left = RandomTree(dice, tree, patterns, onTheLeft, distances);
  Tree::Node right = RandomTree(dice, tree, patterns, leaves - onTheLeft, distances);
  const bool leftIsLeaf = onTheLeft == 1;
  const bool rightIsLeaf = leaves - onTheLeft == 1;
  if (leftIsLeaf && dice.OneIn(5)) {
    left = Tree::Not(std::move(left));
  } else if (rightIsLeaf && dice.OneIn(4)) {
    right = Tree::Not(std::move(right));
  }
  if (dice.OneIn(2)) std::swap(left, right);
  const int nearBy =
      distances[static_cast<std::size_t>(dice.Between(0, static_cast<int>(distances.size()) - 1))];
  return Tree::And(std::move(left), std::move(right), nearBy);
}

TEST(StringChain, RandomTreesFindWhatTheOperatorsComeTo) {
  const std::vector<std::string> patterns = {"a",    "b",  "ab", "ba",    "aa", "aba",
                                             "[ab]", "^a", "b$", "[bc]a", "c",  "a.c"};
  const std::vector<std::vector<int>> distances = {
      {kAnywhere}, {0, 1, 2}, {kAnywhere, 1, 3}, {2, 5, 9}, {kAnywhere, kAnywhere, 4}, {40}};
  int found = 0;
  for (std::uint32_t seed = 1; seed <= 1'500; ++seed) {
    Dice dice(seed);
    Tree tree;
    const std::vector<int>& some = distances[seed % distances.size()];
    const int leaves = dice.OneIn(4) ? dice.Between(6, 14) : dice.Between(2, 5);
    tree.Plant(RandomTree(dice, tree, patterns, leaves, some));
    ASSERT_TRUE(tree.WarmUp()) << Describe(&tree.Root());
    for (int i = 0; i < 12; ++i) {
      const int longest = dice.OneIn(3) ? 400 : 40;
      const HeapText text(dice.Bytes(dice.OneIn(2) ? "abc\n" : "aabbc.....\n", longest));
      if (text.Length() == 0) continue;
      const std::optional<std::string> strings = tree.AsStrings(text);
      const std::string whole = tree.AsTree(text);
      const std::string expected = tree.Expected(text);
      ASSERT_TRUE(strings.has_value());
      ASSERT_EQ(*strings, expected)
          << "seed " << seed << " " << Describe(&tree.Root()) << " in \"" << text.Data() << "\"";
      ASSERT_EQ(whole, expected) << "seed " << seed << " " << Describe(&tree.Root()) << " in \""
                                 << text.Data() << "\"";
      found += strings->find('[') != std::string::npos ? 1 : 0;
    }
  }
  EXPECT_GT(found, 3'000);
}

/// Every text of `bytes` up to `longest`, after each other.
template <typename Visit>
void ForEachText(const std::string& bytes, std::size_t longest, Visit visit) {
  std::vector<std::string> texts = {""};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (texts[i].size() == longest) break;
    for (const char byte : bytes)
      texts.push_back(texts[i] + byte);
  }
  for (std::size_t i = 1; i < texts.size(); ++i)
    visit(HeapText(texts[i]));
}

TEST(StringChain, SmallTreesFindWhatTheOperatorsComeToInEverySmallText) {
  const std::vector<std::string> patterns = {"a", "ab", "b"};
  for (const int nearBy : {kAnywhere, 0, 2}) {
    for (int shape = 0; shape < 27 * 6; ++shape) {
      Tree tree;
      const auto leaf = [&](int at) {
        return tree.Leaf(patterns[static_cast<std::size_t>(at % 3)]);
      };
      const int kind = shape / 27;
      Tree::Node a = leaf(shape);
      Tree::Node b = leaf(shape / 3);
      Tree::Node c = leaf(shape / 9);
      if (kind % 3 == 1) b = Tree::Not(std::move(b));
      if (kind % 3 == 2) c = Tree::Not(std::move(c));
      Tree::Node both = Tree::And(std::move(a), std::move(b), nearBy);
      const int other = kind < 3 ? nearBy : nearBy < 0 ? 1 : kAnywhere;
      tree.Plant(kind % 2 == 0 ? Tree::And(std::move(both), std::move(c), other)
                               : Tree::And(std::move(c), std::move(both), other));
      ASSERT_TRUE(tree.WarmUp());
      ForEachText("ab.", 5, [&](const HeapText& text) {
        ASSERT_EQ(tree.AsStrings(text), tree.Expected(text))
            << Describe(&tree.Root()) << " in \"" << text.Data() << "\"";
      });
    }
  }
}

TEST(StringChain, LargeTextsFindWhatTheOperatorsComeTo) {
  const std::vector<std::string> patterns = {"ab", "ba", "abc", "cab", "bb", "[cd]a", "d", "ddc"};
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    Dice dice(seed);
    Tree tree;
    tree.Plant(RandomTree(dice, tree, patterns, dice.Between(2, 16),
                          seed % 2 == 0 ? std::vector<int>{kAnywhere} : std::vector<int>{3, 30}));
    ASSERT_TRUE(tree.WarmUp());
    std::string text;
    for (int i = 0; i < 300; ++i)
      text +=
          std::string(static_cast<std::size_t>(dice.Between(0, 600)), '-') + dice.Bytes("abcd", 12);
    const HeapText heap(text);
    ASSERT_EQ(tree.AsStrings(heap), tree.Expected(heap)) << "seed " << seed;
  }
}

TEST(StringChain, WhereCaseDoesNotMatterStringsAreOfSets) {
  Tree tree(true);
  tree.Plant(Tree::And(tree.Leaf("Ab"), tree.Leaf("c\xE4"), 3));
  ASSERT_TRUE(tree.WarmUp());
  const HeapText text("aB-C\xC4-----ab-----cc\xE4");
  EXPECT_EQ(tree.AsStrings(text), "negative 0: [0,2)0 [3,5)0");
  EXPECT_EQ(tree.Expected(text), "negative 0: [0,2)0 [3,5)0");
}

TEST(StringChain, OtherTreesAreNotTaken) {
  const auto isTaken = [](Tree& tree, Tree::Node root) {
    tree.Plant(std::move(root));
    return tree.WarmUp();
  };
  {
    Tree tree;
    EXPECT_TRUE(isTaken(tree, Tree::And(tree.Leaf("a"), Tree::Not(tree.Leaf("b")), 1)));
  }
  {
    Tree tree;
    EXPECT_FALSE(isTaken(tree, Tree::And(tree.Leaf("a"), tree.Leaf("b+"), 1)));
  }
  {
    Tree tree;
    EXPECT_FALSE(isTaken(tree, Tree::And(Tree::Not(tree.Leaf("a")), Tree::Not(tree.Leaf("b")), 1)));
  }
  {
    Tree tree;
    EXPECT_FALSE(isTaken(
        tree,
        Tree::And(tree.Leaf("a"), Tree::Not(Tree::And(tree.Leaf("b"), tree.Leaf("c"), 1)), 1)));
  }
  {
    Tree tree;
    EXPECT_FALSE(isTaken(tree, Tree::And(tree.Leaf("a"), Tree::Not(Tree::Not(tree.Leaf("b"))), 1)));
  }
  {
    Tree tree;
    Tree::Node root = tree.Leaf("a");
    for (int i = 1; i < 17; ++i)
      root = Tree::And(tree.Leaf("b"), std::move(root), 1);
    EXPECT_FALSE(isTaken(tree, std::move(root)));
  }
}

TEST(StringChain, AChangedTreeIsSearchedAsItIsNow) {
  Tree tree;
  tree.Plant(Tree::And(tree.Leaf("a"), tree.Leaf("b"), 2));
  ASSERT_TRUE(tree.WarmUp());
  const HeapText text("a---b");
  EXPECT_EQ(tree.AsTree(text), "negative 0:");
  tree.Root().SetNearBy(3);
  ASSERT_TRUE(tree.WarmUp());
  EXPECT_EQ(tree.AsTree(text), "negative 0: [0,1)0 [4,5)0");
  // The same strings, the one without which there is nothing a NOT now.
  auto* const negation = new CNotOperator;
  negation->SetChild(tree.Root().GetRightChild());
  tree.Root().SetRightChild(negation);
  ASSERT_TRUE(tree.WarmUp());
  EXPECT_EQ(tree.AsTree(text), "negative 0:");
  EXPECT_EQ(tree.AsTree(HeapText("a----b")), "negative 0: [0,1)0");
}

TEST(StringChain, ALeafThatIsCompiledAnewIsSearchedForItsNewPattern) {
  Tree tree;
  tree.Plant(Tree::And(tree.Leaf("a"), tree.Leaf("b"), kAnywhere));
  ASSERT_TRUE(tree.WarmUp());
  auto* const leaf = dynamic_cast<CSubExpression*>(tree.Root().GetLeftChild());
  for (const char* const pattern : {"c", "a", "cc"}) {
    leaf->SetSubExpression(CString(pattern));
    int cost = 0;
    ASSERT_STREQ(leaf->OptimizeAndCompile(&cost), nullptr);
    ASSERT_TRUE(tree.WarmUp());
    const HeapText text(std::string("b.").append(pattern));
    EXPECT_EQ(tree.AsTree(text), "negative 0: [0,1)0 [2," + std::to_string(text.Length()) + ")0");
  }
}

TEST(StringChain, ASearchUnderOtherConditionsIsNone) {
  Tree tree;
  tree.Plant(Tree::And(tree.Leaf("a"), tree.Leaf("b"), kAnywhere));
  ASSERT_TRUE(tree.WarmUp());
  // Whether words must be whole is what the latest compile was asked for.
  ASSERT_STREQ(Compile("x", 0, 1), nullptr);
  EXPECT_FALSE(tree.WarmUp());
  const HeapText text("ab a b");
  EXPECT_EQ(tree.AsTree(text), tree.Expected(text));
  ASSERT_STREQ(Compile("x", 0, 0), nullptr);
  EXPECT_TRUE(tree.WarmUp());
}

TEST(StringChain, AnActiveEnvironmentIsSearchedInItsOwnWay) {
  Tree tree;
  tree.Plant(Tree::And(tree.Leaf("a"), tree.Leaf("b"), kAnywhere));
  ASSERT_STREQ(Compile("x", 0, 0), nullptr);
  ASSERT_EQ(ActivateEnvironment(0), 1);
  EXPECT_FALSE(tree.WarmUp());
  ASSERT_EQ(RestoreEnvironment(0), 1);
  EXPECT_TRUE(tree.WarmUp());
}

/// Which pattern is installed after leaf `number` was restored though nobody has activated it.
std::string InstalledAfterRestoring(int number) {
  static_cast<void>(RestoreEnvironment(number));
  std::string found;
  for (const char* const letter : {"v", "w", "a", "b", "c"}) {
    int start = 0;
    int end = 0;
    if (::Search(letter, 1, &start, &end, 0) != 0) found += letter;
  }
  return found;
}

TEST(StringChain, LeavesBehindWhatTheLeavesDo) {
  for (const bool isLong : {false, true}) {
    for (const std::string start : {"", "a", "b", "c", "ab", "ac", "bc", "abc", "a.b", "a.bc"}) {
      for (const int shape : {0, 1, 2, 3}) {
        for (const int restored : {0, 1, 2}) {
          const std::string text = start + std::string(isLong ? 40'000 : 1, '-');
          std::string installed[2];
          for (const bool isPlain : {false, true}) {
            Tree tree;
            Tree::Node a = tree.Leaf("a");
            Tree::Node b = tree.Leaf("b");
            Tree::Node c = tree.Leaf("c");
            if (shape == 2) b = Tree::Not(std::move(b));
            if (shape == 3) a = Tree::Not(std::move(a));
            tree.Plant(
                shape == 0
                    ? Tree::And(std::move(a), Tree::And(std::move(b), std::move(c), kAnywhere), 0)
                : shape == 1
                    ? Tree::And(Tree::And(std::move(a), std::move(b), 0), std::move(c), kAnywhere)
                    : Tree::And(std::move(a), Tree::And(std::move(b), std::move(c), kAnywhere),
                                kAnywhere));
            ASSERT_STREQ(Compile("v", 0, 0), nullptr);
            static_cast<void>(tree.WarmUp());
            static_cast<void>(tree.AsTree(HeapText("abc")));
            // What was installed then is kept alive; what is installed now is what a search finds.
            const int kept = [] {
              int number = -1;
              EXPECT_STREQ(CompileToEnvironment("w", 1, 0, 1, 0, &number), nullptr);
              return number;
            }();
            ASSERT_STREQ(Compile("v", 0, 0), nullptr);
            ASSERT_EQ(ActivateEnvironment(kept), 1);
            if (isPlain) {
              static_cast<void>(tree.AsTree(HeapText(text)));
            } else {
              static_cast<void>(tree.AsLeaves(HeapText(text)));
            }
            installed[isPlain ? 1 : 0] = InstalledAfterRestoring(restored);
          }
          ASSERT_EQ(installed[0], installed[1]) << "text \"" << start << "\", long " << isLong
                                                << ", shape " << shape << ", leaf " << restored;
        }
      }
    }
  }
}

}  // namespace
}  // namespace trovex::testing
