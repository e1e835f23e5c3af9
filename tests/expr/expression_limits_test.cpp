// How deep a typed expression may be, that a chain of ANDs may be as long as it likes, and that all of it
// fits on a small stack: parsing, compiling, searching and deleting the tree.

#include "tests/heap_text.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <trovex/trovex.h>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace trovex {
namespace {

using testing::HeapText;

constexpr int kDeepest = 200;

std::string Times(std::string_view part, int count) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += part;
  return all;
}

/// Runs `work` on a thread with a stack of 256 KB; sanitizers, whose frames are larger, get 2 MB.
void OnASmallStack(std::function<void()> work) {
#if defined(__SANITIZE_ADDRESS__)
  constexpr std::size_t kStack = std::size_t{2048} * 1024;
#else
  constexpr std::size_t kStack = std::size_t{256} * 1024;
#endif
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStack), 0);
  pthread_t thread{};
  const auto run = [](void* argument) -> void* {
    (*static_cast<std::function<void()>*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

/// The message for `expression`, or "" where it becomes a tree that can be searched.
std::string MessageFor(const std::string& expression) {
  std::string answer = "not run";
  OnASmallStack([&] {
    CSearchTreeItem* root = nullptr;
    int tags = 0;
    const char* message = GetSearchTree(expression.c_str(), 1, 0, 0, 0, root, &tags);
    const std::unique_ptr<CSearchTreeItem> tree(root);
    answer = message != nullptr ? message : "";
    if (message != nullptr) return;
    const HeapText text("a b\na");
    const std::unique_ptr<CFoundItemArray> found(tree->Search(text.Data(), text.Length(), 1));
    if (found == nullptr) answer = "no result";
  });
  return answer;
}

constexpr const char* kTooLong = "The search expression is too long.";

TEST(ExpressionLimits, BracketsUpToTheLimitAreRead) {
  EXPECT_EQ(MessageFor(Times("(", kDeepest) + "a" + Times(")", kDeepest)), "");
  EXPECT_EQ(MessageFor(Times("(a & ", kDeepest / 2) + "a" + Times(")", kDeepest / 2)), "");
  EXPECT_EQ(MessageFor(Times("(", kDeepest + 1) + "a" + Times(")", kDeepest + 1)), kTooLong);
}

TEST(ExpressionLimits, NotsUpToTheLimitAreRead) {
  EXPECT_EQ(MessageFor(Times("!", kDeepest) + "a"), "");
  EXPECT_EQ(MessageFor(Times("!", kDeepest + 1) + "a"), kTooLong);
}

TEST(ExpressionLimits, FarBeyondTheLimitIsRefusedToo) {
  for (const char* part : {"(", "!", "(a & ", "!("}) {
    EXPECT_EQ(MessageFor(Times(part, 1'000'000)), kTooLong) << part;
  }
}

/// What the chain `expression` finds in a text with two a's, one b and no x: how many items, or a
/// message.
std::string ItemsOfChain(const std::string& expression) {
  std::string answer = "not run";
  OnASmallStack([&] {
    CSearchTreeItem* root = nullptr;
    int tags = 0;
    const char* message = GetSearchTree(expression.c_str(), 1, 0, 0, 0, root, &tags);
    const std::unique_ptr<CSearchTreeItem> tree(root);
    answer = message != nullptr ? message : "";
    if (message != nullptr) return;
    tree->SetSearchOptions(kSearchModeRegularExpression);
    const HeapText text("a b\na");
    const std::unique_ptr<CFoundItemArray> found(tree->Search(text.Data(), text.Length(), 1));
    answer = found == nullptr ? "no result" : std::to_string(found->GetSize());
  });
  return answer;
}

constexpr int kChain = 10'000;

TEST(ExpressionLimits, AChainOfAndsMayBeLong) {
  EXPECT_EQ(ItemsOfChain(Times("a & ", kChain) + "b"), std::to_string(2 * kChain + 1));
  EXPECT_EQ(ItemsOfChain(Times("b &9 ", kChain) + "b"), std::to_string(kChain + 1));
  EXPECT_EQ(ItemsOfChain(Times("a & ", kChain) + "x"), "0");
}

TEST(ExpressionLimits, AChainThatGoesOnOnTheLeftMayBeLongToo) {
  EXPECT_EQ(ItemsOfChain("a" + Times(" & !x", kChain)), "2");
  EXPECT_EQ(ItemsOfChain("a & b" + Times(" & !x & b", kChain / 2)), std::to_string(3 + kChain / 2));
  EXPECT_EQ(ItemsOfChain("a" + Times(" &3 !x", kChain)), "2");
}

/// A tree as a host makes it by hand: all ANDs in left operands, over leaves that are one letter.
std::unique_ptr<CSearchTreeItem> LeftDeepTree(int operands) {
  const auto leaf = [] {
    auto made = std::make_unique<CSubExpression>();
    made->SetSubExpression(CString("a"));
    return made;
  };
  std::unique_ptr<CSearchTreeItem> tree = leaf();
  for (int i = 1; i < operands; ++i) {
    auto both = std::make_unique<CAndOperator>();
    both->SetLeftChild(tree.release());
    both->SetRightChild(leaf().release());
    tree = std::move(both);
  }
  return tree;
}

TEST(ExpressionLimits, ATreeThatAHostMadeDeepOnTheLeftNeedsNoStack) {
  OnASmallStack([] {
    const std::unique_ptr<CSearchTreeItem> tree = LeftDeepTree(100'000);
    tree->SetSearchOptions(kSearchModeRegularExpression);
    const HeapText text("a b");
    EXPECT_EQ(std::unique_ptr<CFoundItemArray>(tree->Search(text.Data(), text.Length(), 0)),
              nullptr)
        << "it was not compiled";
    int cost = 0;
    EXPECT_STREQ(tree->OptimizeAndCompile(&cost), "Memory overflow!")
        << "all its patterns share one budget";
  });
  OnASmallStack([] {
    const std::unique_ptr<CSearchTreeItem> tree = LeftDeepTree(5'000);
    tree->SetSearchOptions(kSearchModeRegularExpression);
    int cost = 0;
    ASSERT_EQ(tree->OptimizeAndCompile(&cost), nullptr);
    const HeapText text("a b");
    const std::unique_ptr<CFoundItemArray> found(tree->Search(text.Data(), text.Length(), 0));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->GetSize(), 5'000);
  });
  ResetEnvironment();
}

TEST(ExpressionLimits, AChainMayStandInBracketsAndAfterNots) {
  const std::string chain = Times("a & ", kChain / 100) + "b";
  EXPECT_EQ(ItemsOfChain("(" + chain + ") & b"), std::to_string(kChain / 50 + 2));
  EXPECT_EQ(ItemsOfChain("!(" + chain + ")"), std::to_string(kChain / 50 + 1));
}

TEST(ExpressionLimits, MorePatternsThanAnyonesAreRefused) {
  for (const char* part : {"a & ", "a &5 ", "a & !a & "}) {
    EXPECT_EQ(MessageFor(Times(part, 1'000'000) + "a"), kTooLong) << part;
  }
}

TEST(ExpressionLimits, ALongChainWithAFaultLeavesNothingBehind) {
  for (const char* end : {"", "&", "(", "!", "[a", "(b & c", "b !c"}) {
    const std::string answer = ItemsOfChain(Times("a & !b & c & ", kChain / 3) + end);
    EXPECT_TRUE(answer.find('.') != std::string::npos) << end << ": " << answer;
  }
}

TEST(ExpressionLimits, ATreeOfAHostsMakingMayBeAChainOnEitherSide) {
  OnASmallStack([] {
    std::unique_ptr<CSearchTreeItem> tree;
    for (int i = 0; i < kChain; ++i) {
      auto leaf = std::make_unique<CSubExpression>();
      leaf->SetSubExpression(CString("a"));
      leaf->SetSearchOptions(kSearchModeRegularExpression);
      if (tree == nullptr) {
        tree = std::move(leaf);
        continue;
      }
      auto both = std::make_unique<CAndOperator>();
      both->SetLeftChild(i % 3 == 0 ? leaf.release() : tree.release());
      if (both->GetLeftChild() != nullptr && tree != nullptr) {
        both->SetRightChild(tree.release());
      } else {
        both->SetRightChild(leaf.release());
      }
      tree = std::move(both);
    }
    ResetEnvironment();
    int cost = 0;
    ASSERT_EQ(tree->OptimizeAndCompile(&cost), nullptr);
    EXPECT_EQ(cost, 2 * kChain - 1);
    const HeapText text("a");
    const std::unique_ptr<CFoundItemArray> found(tree->Search(text.Data(), text.Length(), 0));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->GetSize(), kChain);
  });
}

TEST(ExpressionLimits, ARefusedExpressionLeavesNothingBehind) {
  CSearchTreeItem* tree = nullptr;
  int tags = -7;
  const std::string expression = Times("!", kDeepest + 1) + "a";
  EXPECT_STREQ(GetSearchTree(expression.c_str(), 1, 0, 0, 0, tree, &tags), kTooLong);
  EXPECT_EQ(tree, nullptr);
  EXPECT_EQ(tags, -7);
}

}  // namespace
}  // namespace trovex
