// Searches that are made to be slow: for each kind, the processor time stays within what all searches of
// a text may take together.

#include "matcher/limits.h"
#include "tests/heap_text.h"
#include "tests/matcher/random_pattern.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <trovex/trovex.h>
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>

namespace {

using trovex::testing::HeapText;
using trovex::testing::RandomPattern;

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
    if (trovex::testing::kUnderSanitizer) continue;  // sanitizers take a multiple of the time
    EXPECT_LT(seconds, 4 * units / 1e9);
  }
}

/// Random patterns, with every kind of part, on texts that repeat what occurs in them.
Case RandomCase(unsigned seed, std::string& pattern) {
  RandomPattern random(seed, {seed % 2 == 0, seed % 3 == 0});
  pattern = random.Pattern();
  if (seed % 5 == 0) pattern = "(" + pattern + "){1,40}" + random.Pattern();
  std::string piece = random.Line(6) + "a";
  const std::string tail = random.Line(3);
  Case c{pattern.c_str(), random.Below(2), random.Below(3), nullptr, 1'000};
  c.text = [piece, tail](std::size_t bytes) { return Repeated(piece, bytes) + tail; };
  return c;
}

TEST(HostileSearch, RandomOnesTakeNoLongerEither) {
  double worst = 0;
  double worstGrowth = 0;
  std::string worstPattern;
  std::string growingPattern;
  for (unsigned seed = 1; seed <= 500; ++seed) {
    std::string pattern;
    const Case c = RandomCase(seed, pattern);
    SCOPED_TRACE(::testing::Message() << "seed " << seed << ", pattern " << pattern);
    CSearchTreeItem* root = nullptr;
    int tags = 0;
    const bool compiles = GetSearchTree(c.pattern, 1, 0, c.words, 1, root, &tags) == nullptr;
    delete root;
    if (!compiles) continue;
    const double once = SecondsOf(c, c.bytes);
    const double fourTimes = SecondsOf(c, 4 * c.bytes);
    if (trovex::testing::kUnderSanitizer) continue;
    EXPECT_LT(fourTimes, 4 * static_cast<double>(trovex::kWorkAtLeast) / 1e9);
    const double growth = fourTimes / std::max(once, 1e-3);
    if (growth > worstGrowth) std::tie(worstGrowth, growingPattern) = std::tie(growth, pattern);
    if (fourTimes > worst) std::tie(worst, worstPattern) = std::tie(fourTimes, pattern);
  }
  std::printf("worst: %.2f us a byte, %s; growth %.1f times on four times the text, %s\n",
              worst * 1e6 / 4'000, worstPattern.c_str(), worstGrowth, growingPattern.c_str());
}

}  // namespace
