// Eight threads search with one compiled pattern at the same time, each with registers and a credit of its
// own, and find what one finds. Under the thread sanitizer this tells whether anything is shared that
// changes.

#include "matcher/engine/regular_expression.h"
#include "tests/heap_text.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

namespace trovex {
namespace {

using testing::HeapText;

constexpr std::size_t kThreads = 8;

/// Short lines are the engine's, long ones the library's own.
std::vector<std::string> Lines() {
  std::vector<std::string> lines;
  for (int i = 0; i < 60; ++i) {
    std::string line;
    for (int k = 0; k < i; ++k)
      line += k % 3 == 0 ? "ab" : k % 5 == 0 ? "aab" : " xa";
    lines.push_back(line + "b");
  }
  return lines;
}

/// The ranges of the groups of the first match on every line.
std::vector<int> Found(const RegularExpression& regex, const std::vector<std::string>& lines) {
  std::vector<int> found;
  for (const std::string& line : lines) {
    const HeapText heap(line);
    MatchRegisters registers(false);
    found.push_back(regex.Search(heap.Data(), heap.Length(), 0, registers));
    for (int group = 0; group <= static_cast<int>(regex.GroupCount()); ++group) {
      found.push_back(registers.Start(group));
      found.push_back(registers.End(group));
    }
  }
  return found;
}

TEST(RegularExpressionThreads, FindWhatOneFinds) {
  const std::vector<std::string> lines = Lines();
  for (const std::string pattern : {"(a+)(b|x)", "(a{1,3}b ?)+", "([ab]+) \\w\\1", "(a*|^x)+b"}) {
    RegularExpression alone;
    RegularExpression shared;
    ASSERT_EQ(alone.Compile(pattern.data(), pattern.size(), nullptr), MessageNumber::kNone);
    ASSERT_EQ(shared.Compile(pattern.data(), pattern.size(), nullptr), MessageNumber::kNone);
    const std::vector<int> expected = Found(alone, lines);
    std::vector<std::vector<int>> found(kThreads);
    std::vector<std::thread> threads;
    for (std::vector<int>& own : found)
      threads.emplace_back([&] { own = Found(shared, lines); });
    for (std::thread& thread : threads)
      thread.join();
    for (const std::vector<int>& own : found)
      EXPECT_EQ(own, expected) << pattern;
  }
}

}  // namespace
}  // namespace trovex
