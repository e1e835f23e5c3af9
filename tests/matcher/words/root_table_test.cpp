// The table of trees against a list of entries that is gone through.

#include "matcher/words/root_table.h"

#include "tests/dice.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using Entries = std::vector<RootTable::Entry>;

/// Some of the bytes of `text`, as a tail of random length.
std::uint64_t RandomTail(Dice& dice, std::uint64_t text) {
  const auto length = static_cast<std::uint64_t>(dice.Between(0, 7));
  const std::uint64_t bytes = length == 0 ? 0 : text & (~std::uint64_t{0} >> (64 - 8 * length));
  return bytes | length << 56;
}

std::uint64_t RandomText(Dice& dice) {
  std::uint64_t text = 0;
  for (int i = 0; i < 8; ++i)
    text = text << 8 | static_cast<std::uint64_t>(dice.Between('a', 'b'));
  return text;
}

TEST(RootTable, FindsTheEntriesOfAHashWhoseBytesStandThere) {
  for (std::uint32_t seed = 0; seed < 500; ++seed) {
    Dice dice(seed);
    // Few hashes and many: buckets that are full, and entries that stand further on, after the last one, too.
    const int hashes = dice.Between(1, 60);
    const int shift = dice.OneIn(2) ? 26 : 0;
    const auto hashOf = [&] {
      return ~(static_cast<std::uint32_t>(dice.Between(0, hashes)) << shift);
    };
    Entries entries;
    for (int i = dice.Between(0, 100); i > 0; --i) {
      const auto root = static_cast<std::uint32_t>(entries.size());
      entries.push_back({hashOf(), root, RandomTail(dice, RandomText(dice))});
    }
    RootTable table;
    table.Fill(entries);
    for (int i = 0; i < 200; ++i) {
      const std::uint32_t hash = hashOf();
      const std::uint64_t bytes = RandomText(dice);
      std::vector<std::uint32_t> expected;
      for (const RootTable::Entry& entry : entries) {
        if (entry.hash != hash) continue;
        const std::uint64_t length = entry.tail >> 56;
        const auto byteAt = [](std::uint64_t from, std::uint64_t at) {
          return from >> (8 * at) & 0xFF;
        };
        bool stands = true;
        for (std::uint64_t at = 0; at < length; ++at)
          stands = stands && byteAt(entry.tail, at) == byteAt(bytes, at);
        if (stands) expected.push_back(entry.root);
      }
      std::vector<std::uint32_t> found;
      table.ForEach(hash, bytes,
                    [&](const RootTable::Entry& entry) { found.push_back(entry.root); });
      std::sort(found.begin(), found.end());
      ASSERT_EQ(found, expected) << "seed " << seed;
      std::uint32_t root = 0;
      ASSERT_EQ(table.Has(hash, bytes, root), !expected.empty()) << "seed " << seed;
      if (expected.empty()) continue;
      ASSERT_TRUE(std::binary_search(expected.begin(), expected.end(), root)) << "seed " << seed;
    }
  }
}

TEST(RootTable, WithoutEntriesHasNone) {
  RootTable table;
  table.Fill({});
  std::uint32_t root = 0;
  for (std::uint64_t hash = 0; hash <= UINT32_MAX; hash += 0x00FFFFFF)
    EXPECT_FALSE(table.Has(static_cast<std::uint32_t>(hash), 0, root)) << hash;
}

}  // namespace
}  // namespace trovex
