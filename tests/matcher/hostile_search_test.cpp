// Searches that are made to be slow: for each kind, the processor time stays within what all searches of
// a text may take together.

#include "matcher/limits.h"
#include "tests/heap_text.h"

#include <gtest/gtest.h>
#include <trovex/trovex.h>
#include <cstddef>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using trovex::testing::HeapText;

std::string Repeated(std::string_view piece, std::size_t bytes) {
  std::string text;
  while (text.size() < bytes)
    text += piece;
  return text;
}

/// Letters "a" and "b" without a pattern.
std::string Mixed(std::size_t bytes) {
  std::string text;
  unsigned state = 1;
  while (text.size() < bytes) {
    state = state * 1'103'515'245 + 12'345;
    text += "ab"[(state >> 16U) & 1U];
  }
  return text;
}

struct Case {
  const char* pattern;
  int words;
  int tag;
  std::function<std::string(std::size_t)> text;  // of about so many bytes
  std::size_t bytes;
};

const Case kCases[] = {
    {"(a{1,100}){1,100}b", 1, 0, [](std::size_t n) { return Repeated("a", n) + "b_"; }, 800},
    {"a{1,1000}b", 1, 0, [](std::size_t n) { return Repeated("a", n); }, 2'500},
    {"a{1,1000}b", 1, 0, [](std::size_t n) { return Repeated("a", n) + "b_"; }, 2'500},
    {"([a-z]+)\\1", 1, 0, [](std::size_t n) { return Repeated("a", n) + "_"; }, 2'000},
    {"([a-z-]+)\\1", 1, 0, [](std::size_t n) { return Repeated("a-b-", n) + "_"; }, 2'000},
    {"(.)\\1", 0, 0, [](std::size_t n) { return Repeated("aa", n); }, 60'000},
    {"(^a|a)*b|q", 0, 0, [](std::size_t n) { return Repeated("a", n) + Repeated("q", n); }, 20'000},
    {"(^a|a)*b|q", 0, 1, [](std::size_t n) { return Repeated("aaaaaaab", n); }, 20'000},
    {"(([ab]*a[ab]{10})+[ab]{10})+", 0, 1, Mixed, 20'000},
    {"(([ab]*a[ab]{10})+[ab]{10})+", 0, 2, Mixed, 20'000},
    {"([^q]*q)+\\1", 0, 0, [](std::size_t n) { return Repeated("aq", n); }, 20'000},
    {"(.+).*\\1x", 0, 0, [](std::size_t n) { return Repeated("ein Satz ", n) + "x"; }, 20'000},
    {"(Haus).*Katze", 0, 1, [](std::size_t n) { return Repeated("Haus xx ", n) + "Katze"; }, 8'000},
    {"(\\w*\\b ?)+x", 0, 1, [](std::size_t n) { return Repeated("ab cd ", n) + "x"; }, 20'000},
    {"(-|\\b)*-a", 1, 0, [](std::size_t n) { return Repeated("-a_", n); }, 8'000},
};

double Seconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

/// The processor time of all searches of one text.
double SecondsOf(const Case& c, std::size_t bytes) {
  CSearchTreeItem* root = nullptr;
  int tags = 0;
  EXPECT_EQ(GetSearchTree(c.pattern, 1, 0, c.words, 1, root, &tags), nullptr) << c.pattern;
  const std::unique_ptr<CSearchTreeItem> tree(root);
  const HeapText text(c.text(bytes));
  const double begin = Seconds();
  const std::unique_ptr<CFoundItemArray> found(tree->Search(text.Data(), text.Length(), c.tag));
  return Seconds() - begin;
}

TEST(HostileSearch, TakesNoLongerThanTheTextAllows) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.pattern);
    const double seconds = SecondsOf(c, 4 * c.bytes);
    const double units =
        static_cast<double>(trovex::kWorkAtLeast) +
        static_cast<double>(trovex::kWorkPerByte) * 8.0 * static_cast<double>(c.bytes);
    EXPECT_LT(seconds, 4 * units / 1e9);
  }
}

}  // namespace
