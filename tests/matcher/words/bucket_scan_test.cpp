// Beginnings that are looked up in buckets, many at a time, against those that are looked up one by one; and that
// no word is lost in them.

// Also the instructions that one of the roads takes.
#define HWY_WANT_AVX3_DL

#include "matcher/words/bucket_scan.h"

#include "tests/dice.h"
#include "tests/matcher/scan/scan_roads.h"
#include "tests/matcher/words/plain_words.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::AllScanRoads;
using testing::Dice;
using testing::ExactBytes;
using testing::OnScanRoad;
using testing::ScanRoad;

constexpr std::string_view kAlphabet = "abcdABCD \n\xE4\xC4";
constexpr std::size_t kMostBytes = BucketTable::kMostBytes;

/// The sets of a word's bytes; any byte where there are no more of them.
BucketBeginning BeginningOf(const std::vector<CharSet>& sets) {
  BucketBeginning beginning;
  for (std::size_t i = 0; i < beginning.size(); ++i)
    beginning[i] = i < sets.size() ? sets[i] : CharSet().set();
  return beginning;
}

std::vector<BucketBeginning> RandomBeginnings(Dice& dice, int most) {
  std::vector<BucketBeginning> beginnings(static_cast<std::size_t>(dice.Between(1, most)));
  for (BucketBeginning& beginning : beginnings) {
    std::vector<CharSet> sets(static_cast<std::size_t>(dice.Between(1, kMostBytes + 1)));
    for (CharSet& set : sets) {
      for (int bytes = dice.OneIn(4) ? 3 : 1; bytes > 0; --bytes)
        set.set(static_cast<unsigned char>(dice.Byte(kAlphabet)));
    }
    beginning = BeginningOf(sets);
  }
  return beginnings;
}

Buckets BucketsOf(const std::vector<BucketBeginning>& beginnings, BucketLookup lookup) {
  std::array<double, 256> even{};
  even.fill(1.0 / 256);
  return MakeBuckets(beginnings, lookup, even, 1);
}

/// The same for texts of small letters.
Buckets BucketsOfLetters(const std::vector<BucketBeginning>& beginnings, BucketLookup lookup) {
  std::array<double, 256> letters{};
  std::fill(letters.begin() + 'a', letters.begin() + 'z' + 1, 1.0 / 26);
  return MakeBuckets(beginnings, lookup, letters, 1);
}

/// The places in the first `count` of `text` at which the bytes of a beginning stand; zeros are behind it.
std::vector<std::uint32_t> Standing(const std::vector<BucketBeginning>& beginnings,
                                    const std::string& text, std::size_t count) {
  std::vector<std::uint32_t> places;
  for (std::size_t place = 0; place < std::min(count, text.size()); ++place) {
    const bool stands =
        std::any_of(beginnings.begin(), beginnings.end(), [&](const BucketBeginning& beginning) {
          for (std::size_t i = 0; i < kMostBytes; ++i) {
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
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    const BucketLookup* const machine = MachineBucketLookup();
    for (std::uint32_t seed = 0; seed < 2000; ++seed) {
      Dice dice(seed);
      // Few fill one set, many all four.
      const auto beginnings = RandomBeginnings(dice, dice.OneIn(2) ? 12 : 70);
      const BucketLookup lookup = machine != nullptr ? *machine : BucketLookup::kHalves;
      const BucketTable table = BucketsOf(beginnings, lookup).table;
      const std::string text = dice.Bytes(kAlphabet, dice.Between(0, seed % 8 == 0 ? 1000 : 150));
      const ExactBytes bytes(text);
      const unsigned char* const begin = bytes.View().data();
      const unsigned char* const end = begin + text.size();
      const auto count =
          static_cast<std::size_t>(dice.Between(0, static_cast<int>(text.size()) + 70));
      std::vector<std::uint32_t> plain(count + kPlacesAtOnce);
      plain.resize(FindInBucketsPlainly(table, begin, count, end, plain.data()));
      const auto standing = Standing(beginnings, text, count);
      ASSERT_TRUE(std::includes(plain.begin(), plain.end(), standing.begin(), standing.end()))
          << road.name << " seed " << seed;
      if (machine == nullptr) continue;
      std::vector<std::uint32_t> fast(count + kPlacesAtOnce);
      fast.resize(ChooseBucketScan(table)(table, begin, count, end, fast.data()));
      ASSERT_EQ(fast, plain) << road.name << " seed " << seed << " length " << table.length
                             << " sets " << table.sets;
      const std::size_t few = std::min({count, text.size(), std::size_t{64}});
      std::uint64_t expected = 0;
      for (const std::uint32_t place : plain)
        expected |= place < few ? std::uint64_t{1} << place : 0;
      ASSERT_EQ(ChooseBucketTest(table)(table, begin, few, end), expected)
          << road.name << " seed " << seed;
    }
  }
}

TEST(BucketScan, TablesOfEachSizeAreMadeAndSearched) {
  // Words that have nothing in common but their kinds of bytes: the more of them, the more sets and bytes pay.
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    const BucketLookup* const lookup = MachineBucketLookup();
    if (lookup == nullptr) continue;
    std::array<std::array<bool, BucketTable::kMostSets + 1>, kMostBytes + 1> isMade{};
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
      Dice dice(seed);
      std::vector<BucketBeginning> beginnings(static_cast<std::size_t>(dice.Between(1, 120)));
      const int letters = dice.Between(2, 26);
      const int fewest = dice.Between(1, 6);
      std::string text;
      for (BucketBeginning& beginning : beginnings) {
        std::vector<CharSet> sets(static_cast<std::size_t>(dice.Between(fewest, 6)));
        for (CharSet& set : sets) {
          text += static_cast<char>('a' + dice.Between(0, letters - 1));
          set.set(static_cast<unsigned char>(text.back()));
        }
        beginning = BeginningOf(sets);
      }
      const BucketTable table = BucketsOfLetters(beginnings, *lookup).table;
      isMade[table.length][table.sets] = true;
      const ExactBytes bytes(text);
      const unsigned char* const begin = bytes.View().data();
      std::vector<std::uint32_t> plain(text.size() + kPlacesAtOnce);
      std::vector<std::uint32_t> fast = plain;
      const unsigned char* const end = begin + text.size();
      plain.resize(FindInBucketsPlainly(table, begin, text.size(), end, plain.data()));
      fast.resize(ChooseBucketScan(table)(table, begin, text.size(), end, fast.data()));
      ASSERT_EQ(fast, plain) << road.name << " seed " << seed;
      const auto standing = Standing(beginnings, text, text.size());
      ASSERT_TRUE(std::includes(plain.begin(), plain.end(), standing.begin(), standing.end()))
          << road.name << " seed " << seed;
    }
    if (*lookup == BucketLookup::kHalves) continue;
    for (std::size_t sets = 1; sets <= BucketTable::kMostSets; ++sets) {
      const bool isSeen = isMade[4][sets] || isMade[5][sets] || isMade[6][sets];
      EXPECT_TRUE(isSeen) << "no table of " << sets << " sets";
    }
    for (std::size_t length = BucketTable::kLeastBytes; length <= kMostBytes; ++length) {
      const auto& made = isMade[length];
      EXPECT_TRUE(std::find(made.begin(), made.end(), true) != made.end())
          << "no table of " << length << " bytes";
    }
  }
}

/// The buckets that have words with these first two bytes.
unsigned BucketsWith(const BucketTable& table, std::size_t first, std::size_t second) {
  unsigned all = 0;
  for (std::size_t set = 0; set < table.sets; ++set) {
    all |= table.With(static_cast<unsigned char>(first), set, 0) &
           table.With(static_cast<unsigned char>(second), set, 1);
  }
  return all;
}

TEST(BucketScan, WordsThatFillNoMoreThanTheBucketsAreFoundNowhereElse) {
  std::vector<BucketBeginning> beginnings;
  for (std::size_t i = 0; i < BucketTable::kBucketsOfSet; ++i)
    beginnings.push_back(BeginningOf({CharSet().set('a' + i), CharSet().set('P' - i)}));
  for (const BucketLookup lookup : {BucketLookup::kHalves, BucketLookup::kSixBits}) {
    // By six bits, bytes are told apart from those whose others differ in none of these.
    const std::size_t alike = lookup == BucketLookup::kHalves ? 256 : 64;
    const Buckets buckets = BucketsOf(beginnings, lookup);
    for (std::size_t first = 0; first < 256; ++first) {
      for (std::size_t second = 0; second < 256; ++second) {
        const std::size_t number = (first - 'a') % alike;
        const bool isOne = number < 8 && second % alike == ('P' - number) % alike;
        ASSERT_EQ(BucketsWith(buckets.table, first, second) != 0, isOne) << first << " " << second;
      }
    }
    const auto places = static_cast<double>(alike * alike);
    EXPECT_DOUBLE_EQ(buckets.rate, 8.0 / places);
  }
}

TEST(BucketScan, TheRateIsThatOfTheBytesInTheBuckets) {
  // Words that are alike lie together: with chance as a guide, the rate would be larger.
  std::vector<BucketBeginning> beginnings;
  for (std::size_t bucket = 0; bucket < BucketTable::kBucketsOfSet; ++bucket) {
    for (std::size_t word = 0; word < 2; ++word) {
      beginnings.push_back(
          BeginningOf({CharSet().set(16 * bucket + bucket), CharSet().set('p' + word)}));
    }
  }
  Dice dice(7);
  for (std::size_t i = beginnings.size(); i > 1; --i)
    std::swap(beginnings[i - 1],
              beginnings[static_cast<std::size_t>(dice.Between(0, static_cast<int>(i) - 1))]);
  EXPECT_DOUBLE_EQ(BucketsOf(beginnings, BucketLookup::kHalves).rate, 16.0 / 65536);
}

}  // namespace
}  // namespace trovex
