// Line feeds that are looked for sixty-four bytes at a time, held against one byte after the other.

#include "hosts/cli/search/line_feeds.h"

#include "tests/dice.h"
#include "tests/heap_text.h"

#include <gtest/gtest.h>
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

}  // namespace
}  // namespace trovex::cli
