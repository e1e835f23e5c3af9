// Beginnings of words that are looked up many at a time against those that are looked up one by one.

#include "matcher/words/beginning_scan.h"

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

FollowerTable RandomTable(Dice& dice) {
  FollowerTable table;
  table.length = static_cast<std::size_t>(dice.Between(1, 7));
  const std::uint64_t each = (dice.OneIn(2) ? 0xFFU : 0xDFU) * 0x0101010101010101U;
  table.mask = each >> (8 * (8 - table.length));
  const int bits = dice.Between(1, 9);
  table.shift = 32 - bits;
  table.followers.resize(std::size_t{1} << bits);
  for (std::uint32_t& followers : table.followers) {
    for (int i = dice.Between(0, 4); i > 0; --i)
      followers |= std::uint32_t{1} << dice.Between(0, 31);
  }
  return table;
}

TEST(BeginningScan, FindsTheBeginningsThatAreFoundOneByOne) {
  for (std::uint32_t seed = 0; seed < 4000; ++seed) {
    Dice dice(seed);
    const FollowerTable table = RandomTable(dice);
    const auto stride = static_cast<std::size_t>(dice.Between(1, 4));
    const std::string text = dice.Bytes("abcdABCD \n", dice.Between(12, 300));
    const ExactBytes bytes(text);
    const unsigned char* const begin = bytes.View().data();
    // Hits as near to the end as eight bytes can be read after all of them.
    std::vector<std::uint32_t> hits;
    for (std::size_t hit = 0; hit + stride - 1 + 8 <= text.size(); hit += stride) {
      if (dice.OneIn(2) && hits.size() < Beginnings::kMostHits)
        hits.push_back(static_cast<std::uint32_t>(hit));
    }
    Beginnings fast;
    ChooseBeginningScan(table)(table, begin, hits, stride, fast);
    Beginnings plain;
    FindBeginningsPlainly(table, begin, hits, stride, plain);
    std::set<std::pair<std::uint32_t, std::uint32_t>> expected;
    for (const std::uint32_t hit : hits) {
      for (std::uint32_t place = hit; place < hit + stride; ++place) {
        const std::uint64_t here = EightBytes(begin + place);
        const std::uint32_t hash = table.HashOf(here);
        const unsigned follower = static_cast<unsigned char>(text[place + table.length]) % 32;
        if ((table.followers[hash >> table.shift] >> follower & 1) != 0)
          expected.insert({place, hash});
      }
    }
    for (const Beginnings* found : {&fast, &plain}) {
      std::set<std::pair<std::uint32_t, std::uint32_t>> pairs;
      for (std::size_t i = 0; i < found->count; ++i)
        pairs.insert({found->places[i], found->hashes[i]});
      ASSERT_EQ(pairs.size(), found->count) << "seed " << seed;
      ASSERT_EQ(pairs, expected) << "seed " << seed << " stride " << stride << " length "
                                 << table.length << (found == &fast ? " fast" : " plain");
    }
  }
}

TEST(BeginningScan, BytesAfterTheEndOfATextAreZero) {
  for (std::size_t size = 0; size < 20; ++size) {
    const std::string text = std::string("abcdefghijklmnopqrstuvwxyz").substr(0, size);
    const ExactBytes bytes(text);
    const unsigned char* const begin = bytes.View().data();
    for (std::size_t from = 0; from <= size; ++from) {
      for (std::size_t place = from; place <= size; ++place) {
        std::uint64_t expected = 0;
        for (std::size_t i = place; i < std::min(place + 8, size); ++i)
          expected |= std::uint64_t{static_cast<unsigned char>(text[i])} << (8 * (i - place));
        ASSERT_EQ(EightBytes(begin + place, begin + from, begin + size), expected)
            << size << " " << from << " " << place;
      }
    }
  }
}

}  // namespace
}  // namespace trovex
