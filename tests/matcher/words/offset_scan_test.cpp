// Windows that are looked up with their offsets, against each of them by itself.

#include "matcher/words/offset_scan.h"

#include "tests/dice.h"
#include "tests/matcher/words/plain_words.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using testing::ExactBytes;

/// The eight bytes at `place`, those after the end of the text zero.
std::uint64_t BytesAt(const std::string& text, std::size_t place) {
  std::uint64_t bytes = 0;
  for (std::size_t i = 0; i < 8 && place + i < text.size(); ++i)
    bytes |= std::uint64_t{static_cast<unsigned char>(text[place + i])} << (8 * i);
  return bytes;
}

OffsetTable RandomTable(Dice& dice, const std::string& text) {
  OffsetTable table;
  table.stride = static_cast<std::size_t>(dice.Between(1, 4));
  const std::uint64_t each = (dice.OneIn(2) ? 0xFFU : 0xDFU) * 0x0101010101010101U;
  table.mask = each >> (8 * dice.Between(0, 7));
  const int bits = dice.Between(3, 14);
  table.shift = 64 - bits;
  table.places.resize(std::size_t{1} << bits);
  for (int i = dice.Between(0, 12); i > 0 && !text.empty(); --i) {
    const auto place = static_cast<std::size_t>(dice.Between(0, static_cast<int>(text.size()) - 1));
    const int offset = dice.Between(0, static_cast<int>(table.stride) - 1);
    table.Add(BytesAt(text, place), static_cast<std::size_t>(offset));
  }
  return table;
}

TEST(OffsetScan, FindsTheWindowsThatTheTableHas) {
  for (std::uint32_t seed = 0; seed < 6000; ++seed) {
    Dice dice(seed);
    const std::string text = dice.Bytes("abcdABCD \n", dice.Between(0, seed % 8 == 0 ? 3000 : 90));
    const OffsetTable table = RandomTable(dice, text);
    const ExactBytes bytes(text);
    const unsigned char* const begin = bytes.View().data();
    // All that there is room for, or fewer.
    const std::size_t most =
        text.size() < table.stride ? 0 : (text.size() - table.stride) / table.stride + 1;
    const std::size_t count = most - std::min(most, static_cast<std::size_t>(dice.Between(0, 3)));
    std::vector<std::uint32_t> expected;
    for (std::size_t place = 0; place < count * table.stride; place += table.stride) {
      const std::uint8_t places =
          table.places[table.HashOf(BytesAt(text, place + table.stride - 1))];
      if (places != 0) expected.push_back(OffsetHit::Of(place, places));
    }
    std::vector<std::uint32_t> hits(count + 1);
    hits.resize(FindOffsets(table, begin, count, begin + text.size(), hits.data()));
    ASSERT_EQ(hits, expected) << "seed " << seed;
  }
}

TEST(OffsetScan, AWindowLeadsToThePlaceWhereItsWordBegins) {
  const std::string text = "xxGartenxx";
  for (std::size_t stride = 1; stride <= OffsetTable::kMostStride; ++stride) {
    OffsetTable table;
    table.stride = stride;
    table.mask = 0xFFFFFF;
    table.shift = 64 - 16;
    table.places.resize(1 << 16);
    for (std::size_t offset = 0; offset < stride; ++offset)
      table.Add(BytesAt("Garten", offset), offset);
    const ExactBytes bytes(text);
    const unsigned char* const begin = bytes.View().data();
    const std::size_t count = (text.size() - stride) / stride + 1;
    std::vector<std::uint32_t> hits(count + 1);
    hits.resize(FindOffsets(table, begin, count, begin + text.size(), hits.data()));
    ASSERT_EQ(hits.size(), 1U) << stride;
    ASSERT_LE(OffsetHit::PlaceOf(hits[0]), 2U) << stride;
    ASSERT_EQ(OffsetHit::PlacesOf(hits[0]), 1U << (2 - OffsetHit::PlaceOf(hits[0]))) << stride;
  }
}

TEST(OffsetScan, BeginningsAreLookedForAtThePlacesOfHits) {
  for (std::uint32_t seed = 0; seed < 2000; ++seed) {
    Dice dice(seed);
    FollowerTable table;
    table.length = static_cast<std::size_t>(dice.Between(1, 7));
    table.mask = ~std::uint64_t{0} >> (8 * (8 - table.length));
    table.shift = 32 - 8;
    table.followers.resize(1 << 8);
    for (std::uint32_t& followers : table.followers)
      followers = dice.OneIn(2) ? 0x55555555U : ~0U;
    const auto stride = static_cast<std::size_t>(dice.Between(1, 4));
    const std::string text = dice.Bytes("abcdABCD \n", dice.Between(12, 400));
    const ExactBytes bytes(text);
    const unsigned char* const begin = bytes.View().data();
    std::vector<std::uint32_t> hits;
    std::set<std::pair<std::uint32_t, std::uint32_t>> expected;
    for (std::size_t hit = 0; hit + stride - 1 + 8 <= text.size(); hit += stride) {
      const auto places = static_cast<std::uint8_t>(dice.Between(0, (1 << stride) - 1));
      if (places == 0 || hits.size() == Beginnings::kMostHits) continue;
      hits.push_back(OffsetHit::Of(hit, places));
      for (std::size_t step = 0; step < stride; ++step) {
        const std::uint64_t here = BytesAt(text, hit + step);
        const std::uint32_t hash = table.HashOf(here);
        if ((places >> step & 1) != 0 && table.MayBegin(here, hash))
          expected.insert({static_cast<std::uint32_t>(hit + step), hash});
      }
    }
    Beginnings found;
    FindBeginningsOf(table, begin, hits, stride, found);
    std::set<std::pair<std::uint32_t, std::uint32_t>> pairs;
    for (std::size_t i = 0; i < found.count; ++i)
      pairs.insert({found.places[i], found.hashes[i]});
    ASSERT_EQ(pairs.size(), found.count) << "seed " << seed;
    ASSERT_EQ(pairs, expected) << "seed " << seed;
  }
}

}  // namespace
}  // namespace trovex
