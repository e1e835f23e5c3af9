// What an expression may cost until it can be searched: the steps of a second, and 256 MB, for all its
// patterns together. An expression beyond that is refused with a sentence. The steps are counted; how long
// they take measures bench/hostile/.

#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <trovex/trovex.h>
#include <unistd.h>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace trovex {
namespace {

enum Answer { kRead, kRefused, kAnotherSentence };

std::string Times(std::string_view part, int count) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += part;
  return all;
}

std::string Joined(const std::string& pattern, int count) {
  return Times(pattern + " & ", count - 1) + pattern;
}

/// Compiles `expression` in a process of its own, which may have 256 MB of memory. A status above
/// `kAnotherSentence` tells of a crash.
int AnswerFor(const std::string& expression) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit memory{256 << 20, 256 << 20};
    setrlimit(RLIMIT_AS, &memory);
    const rlimit seconds{60, 60};
    setrlimit(RLIMIT_CPU, &seconds);
    CSearchTreeItem* tree = nullptr;
    int tags = 0;
    const char* message = GetSearchTree(expression.c_str(), 1, 0, 0, 0, tree, &tags);
    if (message == nullptr) _exit(kRead);
    const bool isRefusal = std::strcmp(message, "Memory overflow!") == 0 ||
                           std::strcmp(message, "The search expression is too long.") == 0;
    _exit(isRefusal ? kRefused : kAnotherSentence);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

const std::string& ManyAlternatives() {
  static const std::string pattern = std::string("((a") + Times("|a", 99) + "){1,100})+x";
  return pattern;
}

TEST(CompileBudget, HostileExpressionsAreReadOrRefused) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "sanitizers take more memory and time";
  for (const std::string& expression :
       {ManyAlternatives(), Joined(ManyAlternatives(), 6), Joined("(\\`{,3}|.|\\W){255}", 6),
        Joined("(\\<{0,600}){10}", 6), Joined("a{0,1000}", 1'980), Joined("abc{0,100}", 2'000),
        Joined("(c*|a{2}{0,3}+){14}", 30), Joined("{30000}{30000}a", 20),
        Joined(Times("[^a]", 1'000), 100), Joined("(^|a)*(b|$)+\\b", 2'000)}) {
    const int answer = AnswerFor(expression);
    EXPECT_TRUE(answer == kRead || answer == kRefused)
        << answer << " for " << expression.substr(0, 60);
  }
}

TEST(CompileBudget, WhatAPersonTypesIsRead) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "sanitizers take more memory and time";
  std::string words = "Wort0";
  for (int i = 1; i < 1'000; ++i)
    words += "|Wort" + std::to_string(i);
  for (const std::string& expression :
       {Times("a", 60'000), words, "(" + words + ") & (" + words + ") & !(" + words + ")",
        std::string("a{32767}"), Joined("a{0,1000}", 5), Joined("(Haus|Hof)[a-z]{1,20}", 200),
        Joined("\\bHaus(es|e)?\\b", 1'000)}) {
    EXPECT_EQ(AnswerFor(expression), kRead) << expression.substr(0, 60);
  }
}

TEST(CompileBudget, EachExpressionHasABudgetOfItsOwn) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "sanitizers take more memory and time";
  const std::string hostile = Joined(ManyAlternatives(), 6);
  for (int i = 0; i < 3; ++i) {
    CSearchTreeItem* tree = nullptr;
    int tags = 0;
    EXPECT_NE(GetSearchTree(hostile.c_str(), 1, 0, 0, 0, tree, &tags), nullptr);
    delete tree;
    EXPECT_EQ(GetSearchTree("Haus & Hof", 1, 0, 0, 0, tree, &tags), nullptr);
    delete tree;
  }
}

}  // namespace
}  // namespace trovex
