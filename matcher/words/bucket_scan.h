// The search for the beginnings of some words, at every place.
//
// Words are parted among buckets, each a bit. For each of their first bytes a small table tells in which buckets a
// word has that byte there; where all of these have a bit in common, one of the bucket's words may begin:
//
//   bucket 1: Hand, Haus      first byte H, second a, third n or u, fourth d or s
//   bucket 2: Birne           first byte B, ...
//
// The tables are so small that a vector looks up all of its bytes at once, which takes a tenth of what a window
// does: by the lower six bits of a byte, which tell all letters apart, in up to four sets of eight buckets; or, where
// the machine has no instruction for that, by its lower half and by its upper one, in eight buckets. With many words
// the buckets become so full that places are found everywhere. So words are put together that are alike. What a
// word is too short for may be any byte.

#ifndef TROVEX_MATCHER_WORDS_BUCKET_SCAN_H
#define TROVEX_MATCHER_WORDS_BUCKET_SCAN_H

#include "text/char_set.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

/// What is looked up of a byte.
enum class BucketLookup { kHalves, kSixBits };

struct BucketTable {
  static constexpr std::size_t kLeastBytes = 4;
  static constexpr std::size_t kMostBytes = 6;
  static constexpr std::size_t kBucketsOfSet = 8;
  static constexpr std::size_t kMostSets = 4;
  /// The buckets by the lower six bits of a byte; or by its lower half, and from the sixteenth on by its upper one.
  using Row = std::array<std::uint8_t, 64>;

  BucketLookup lookup = BucketLookup::kHalves;
  /// How many bytes of the words are looked at, and in how many sets of buckets. By halves, kLeastBytes and one.
  std::size_t length = kLeastBytes;
  std::size_t sets = 1;
  alignas(64) std::array<std::array<Row, kMostBytes>, kMostSets> rows{};

  /// The buckets of `set` in which words have `byte` at `offset`, perhaps.
  unsigned With(unsigned char byte, std::size_t set, std::size_t offset) const {
    const Row& row = rows[set][offset];
    if (lookup == BucketLookup::kSixBits) return row[byte % 64];
    return static_cast<unsigned>(row[byte % 16] & row[16 + byte / 16]);
  }
};

/// The sets of bytes with which some words begin, as many for each: all bytes where they have ended.
using BucketBeginning = std::array<CharSet, BucketTable::kMostBytes>;

struct Buckets {
  BucketTable table;
  /// At which part of the places of a text one of the words may begin, if the second byte of a word comes
  /// `correlation` times as often after the first as by chance, and so on.
  double rate = 1;
  /// How many nanoseconds a byte of a text is expected to take.
  double cost = 0;
};

/// Parts words that begin with `beginnings` among buckets. `frequencies` tells how often each byte comes, of one. Takes
/// a time that grows with the square of how many they are.
Buckets MakeBuckets(const std::vector<BucketBeginning>& beginnings, BucketLookup lookup,
                    const std::array<double, 256>& frequencies, double correlation);

/// How the machine looks bytes up; null: it cannot.
const BucketLookup* MachineBucketLookup();

/// Looks at the `count` places from `first` on in a text that ends at `end`, and writes to `hits` how far after
/// `first` those are at which a word may begin, in order. Reads nothing after `end`. `hits` has room for `count` and
/// kPlacesAtOnce more. Returns how many were written.
using FindInBuckets = std::size_t (*)(const BucketTable& table, const unsigned char* first,
                                      std::size_t count, const unsigned char* end,
                                      std::uint32_t* hits);

inline constexpr std::size_t kPlacesAtOnce = 64;

/// The fastest way that the machine has for a table that is looked up so.
FindInBuckets ChooseBucketScan(const BucketTable& table);

/// The same for up to 64 places of a short text, all before its end: a bit for each. Chosen like the former.
using TestInBuckets = std::uint64_t (*)(const BucketTable& table, const unsigned char* first,
                                        std::size_t count, const unsigned char* end);
TestInBuckets ChooseBucketTest(const BucketTable& table);

/// The same without vector instructions.
std::size_t FindInBucketsPlainly(const BucketTable& table, const unsigned char* first,
                                 std::size_t count, const unsigned char* end, std::uint32_t* hits);

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_BUCKET_SCAN_H
