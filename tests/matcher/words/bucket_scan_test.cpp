// Beginnings that are looked up in buckets, many at a time, against those that are looked up one by one; and that
// no word is lost in them.

#include "matcher/words/bucket_scan.h"

#include "tests/dice.h"
#include "tests/matcher/words/plain_words.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using testing::ExactBytes;

constexpr std::string_view kAlphabet = "abcdABCD \n\xE4\xC4";

std::vector<BucketBeginning> RandomBeginnings(Dice& dice, std::size_t length) {
  std::vector<BucketBeginning> beginnings(static_cast<std::size_t>(dice.Between(1, 30)));
  for (BucketBeginning& beginning : beginnings) {
    for (std::size_t i = 0; i < length; ++i) {
      for (int bytes = dice.OneIn(4) ? 3 : 1; bytes > 0; --bytes)
        beginning[i].set(static_cast<unsigned char>(dice.Byte(kAlphabet)));
    }
  }
  return beginnings;
}

Buckets BucketsOf(const std::vector<BucketBeginning>& beginnings, std::size_t length) {
  std::array<double, 256> even{};
  even.fill(1.0 / 256);
  return MakeBuckets(beginnings, length, even, 1);
}

/// The places in the first `count` of `text` at which the bytes of a beginning stand; zeros are behind it.
std::vector<std::uint32_t> Standing(const std::vector<BucketBeginning>& beginnings,
                                    std::size_t length, const std::string& text,
                                    std::size_t count) {
  std::vector<std::uint32_t> places;
  for (std::size_t place = 0; place < std::min(count, text.size()); ++place) {
    const bool stands =
        std::any_of(beginnings.begin(), beginnings.end(), [&](const BucketBeginning& beginning) {
          for (std::size_t i = 0; i < length; ++i) {
            const char byte = place + i < text.size() ? text[place + i] : '\0';
            if (!beginning[i][static_cast<unsigned char>(byte)]) return false;
          }
          return true;
        });
    if (stands) places.push_back(static_cast<std::uint32_t>(place));
  }
  return places;
}

TEST(BucketScan, FindsWhatIsFoundOneByOneAndAllBeginnings) {
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    Dice dice(seed);
    const auto length = static_cast<std::size_t>(dice.Between(1, 4));
    const auto beginnings = RandomBeginnings(dice, length);
    const BucketTable table = BucketsOf(beginnings, length).table;
    const std::string text = dice.Bytes(kAlphabet, dice.Between(0, seed % 8 == 0 ? 1000 : 150));
    const ExactBytes bytes(text);
    const unsigned char* const begin = bytes.View().data();
    const unsigned char* const end = begin + text.size();
    const auto count =
        static_cast<std::size_t>(dice.Between(0, static_cast<int>(text.size()) + 70));
    std::vector<std::uint32_t> plain(count + kPlacesAtOnce);
    plain.resize(FindInBucketsPlainly(table, begin, count, end, plain.data()));
    const auto standing = Standing(beginnings, length, text, count);
    ASSERT_TRUE(std::includes(plain.begin(), plain.end(), standing.begin(), standing.end()))
        << "seed " << seed;
    const FindInBuckets find = ChooseBucketScan();
    if (find == nullptr) continue;
    std::vector<std::uint32_t> fast(count + kPlacesAtOnce);
    fast.resize(find(table, begin, count, end, fast.data()));
    ASSERT_EQ(fast, plain) << "seed " << seed << " length " << length;
    const std::size_t few = std::min({count, text.size(), std::size_t{64}});
    std::uint64_t expected = 0;
    for (const std::uint32_t place : plain)
      expected |= place < few ? std::uint64_t{1} << place : 0;
    ASSERT_EQ(ChooseBucketTest()(table, begin, few, end), expected) << "seed " << seed;
  }
}

TEST(BucketScan, WordsThatFillNoMoreThanTheBucketsAreFoundNowhereElse) {
  std::vector<BucketBeginning> beginnings(BucketTable::kBuckets);
  for (std::size_t i = 0; i < beginnings.size(); ++i) {
    beginnings[i][0].set('a' + i);
    beginnings[i][1].set('P' - i);
  }
  const Buckets buckets = BucketsOf(beginnings, 2);
  for (std::size_t first = 0; first < 256; ++first) {
    for (std::size_t second = 0; second < 256; ++second) {
      const unsigned both = buckets.table.With(static_cast<unsigned char>(first), 0) &
                            buckets.table.With(static_cast<unsigned char>(second), 1);
      const bool isOne = first >= 'a' && first - 'a' < 8 && second == 'P' - (first - 'a');
      ASSERT_EQ(both != 0, isOne) << first << " " << second;
    }
  }
  EXPECT_DOUBLE_EQ(buckets.rate, 8.0 / 65536);
}

TEST(BucketScan, TheRateIsThatOfTheBytesInTheBuckets) {
  // Words that are alike lie together: with chance as a guide, the rate would be larger.
  std::vector<BucketBeginning> beginnings;
  for (std::size_t bucket = 0; bucket < BucketTable::kBuckets; ++bucket) {
    for (std::size_t word = 0; word < 2; ++word) {
      BucketBeginning& beginning = beginnings.emplace_back();
      beginning[0].set(16 * bucket + bucket);
      beginning[1].set('p' + word);
    }
  }
  Dice dice(7);
  for (std::size_t i = beginnings.size(); i > 1; --i)
    std::swap(beginnings[i - 1],
              beginnings[static_cast<std::size_t>(dice.Between(0, static_cast<int>(i) - 1))]);
  EXPECT_DOUBLE_EQ(BucketsOf(beginnings, 2).rate, 16.0 / 65536);
}

}  // namespace
}  // namespace trovex
