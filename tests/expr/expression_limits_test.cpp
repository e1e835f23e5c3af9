// How deep a typed expression may be, and that everything up to there fits on a small stack: parsing,
// compiling, searching and deleting the tree.

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

TEST(ExpressionLimits, OperatorsUpToTheLimitAreRead) {
  EXPECT_EQ(MessageFor(Times("a & ", kDeepest) + "a"), "");
  EXPECT_EQ(MessageFor(Times("a & ", kDeepest + 1) + "a"), kTooLong);
  EXPECT_EQ(MessageFor(Times("!", kDeepest) + "a"), "");
  EXPECT_EQ(MessageFor(Times("!", kDeepest + 1) + "a"), kTooLong);
}

TEST(ExpressionLimits, FarBeyondTheLimitIsRefusedToo) {
  for (const char* part : {"(", "!", "a &", "(a & ", "!("}) {
    EXPECT_EQ(MessageFor(Times(part, 1'000'000)), kTooLong) << part;
  }
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
