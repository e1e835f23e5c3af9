// Line feeds and strings that are looked for sixty-four bytes at a time, held against one byte after the other.

#include "hosts/cli/search/line_scan.h"

#include "tests/dice.h"
#include "tests/heap_text.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {
namespace {

TEST(ForEachLineFeed, FindsThoseOfEveryRangeInOrder) {
  for (std::uint32_t seed = 0; seed < 60; ++seed) {
    testing::Dice dice(seed);
    const std::string bytes = dice.Bytes(dice.OneIn(2) ? "\n\x0B\xF5" : "\nabcdefghijklmn", 200);
    const testing::HeapText heap(bytes, '\n');
    const std::string_view text(heap.Data(), bytes.size());
    for (std::size_t begin = 0; begin <= text.size(); ++begin) {
      for (std::size_t end = begin; end <= text.size(); end += 1 + (begin + end) % 7) {
        std::vector<std::size_t> places;
        ForEachLineFeed(text, begin, end, [&](std::size_t place) { places.push_back(place); });
        std::vector<std::size_t> plainly;
        for (std::size_t i = begin; i < end; ++i) {
          if (text[i] == '\n') plainly.push_back(i);
        }
        ASSERT_EQ(places, plainly) << "seed " << seed << ", " << begin << " to " << end;
      }
    }
  }
}

TEST(LineScan, TellsOfEveryLineWhetherItHoldsTheString) {
  for (std::uint32_t seed = 0; seed < 4000; ++seed) {
    testing::Dice dice(seed);
    const std::string bytes = dice.Bytes(
        dice.OneIn(2) ? std::string("ab\n\0", 4) : std::string("aABb@!\n1\xE1\xC2kK", 12), 300);
    const testing::HeapText heap(bytes, 'a');
    const std::string_view text(heap.Data(), bytes.size());
    std::string string;
    for (int i = dice.Between(1, 6); i > 0; --i)
      string += dice.OneOf(std::vector<std::string>{"a", "b", "a", "B", "A", "1"});
    const bool folds = dice.OneIn(2);
    const std::size_t unsure = dice.OneIn(3) ? static_cast<std::size_t>(dice.Between(1, 4)) : 0;
    const auto isSure = [&](std::size_t end) { return unsure == 0 || end % unsure != 0; };
    const auto folded = [&](char c) {
      return folds && c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    };
    const auto holdsPlainly = [&](std::size_t begin, std::size_t end) {
      for (std::size_t at = begin; at + string.size() <= end; ++at) {
        std::size_t same = 0;
        while (same < string.size() && folded(text[at + same]) == folded(string[same]))
          ++same;
        if (same == string.size() && isSure(at + same)) return true;
      }
      return false;
    };
    std::size_t next = 0;
    const std::size_t stopAt = dice.OneIn(4) ? bytes.size() / 2 : bytes.size();
    LineScan(string, folds)
        .ForEachLine(text, isSure, [&](std::size_t begin, std::size_t end, bool holds) {
          EXPECT_EQ(begin, next) << seed;
          EXPECT_EQ(end, std::min(text.find('\n', begin), text.size())) << seed;
          EXPECT_EQ(holds, holdsPlainly(begin, end))
              << "seed " << seed << " at " << begin << " " << string;
          next = end + 1;
          return end < stopAt;
        });
    EXPECT_GE(next, stopAt) << seed;
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace trovex::cli
