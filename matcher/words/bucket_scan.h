// The search for the beginnings of a few words, at every place.
//
// Words are parted among eight buckets, each a bit. For each of their first bytes two small tables tell in which
// buckets a word has a byte with that lower half there, and with that upper half; where all of these have a bit in
// common, one of the bucket's words may begin:
//
//   bucket 1: Hand, Haus      H   upper 4, lower 8        third byte   upper 6 or 7, lower E or 5
//   bucket 2: Birne           B   upper 4, lower 2        ...
//
// The tables are so small that a vector looks up all of its bytes at once, which takes a tenth of what a window
// does. With many words the buckets become so full that places are found everywhere. So words are put together
// that are alike.

#ifndef TROVEX_MATCHER_WORDS_BUCKET_SCAN_H
#define TROVEX_MATCHER_WORDS_BUCKET_SCAN_H

#include "text/char_set.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

struct BucketTable {
  static constexpr std::size_t kMostBytes = 4;
  static constexpr std::size_t kBuckets = 8;
  using Halves = std::array<std::uint8_t, 16>;

  /// How many bytes of the words are looked at.
  std::size_t length = 0;
  /// The buckets by the lower and the upper half of each of these bytes.
  std::array<Halves, kMostBytes> lower{};
  std::array<Halves, kMostBytes> upper{};

  /// The buckets in which words have `byte` at `offset`, perhaps.
  unsigned With(unsigned char byte, std::size_t offset) const {
    return static_cast<unsigned>(lower[offset][byte % 16] & upper[offset][byte / 16]);
  }
};

/// The sets of bytes with which some words begin, as many for each.
using BucketBeginning = std::array<CharSet, BucketTable::kMostBytes>;

struct Buckets {
  BucketTable table;
  /// At which part of the places of a text one of the words may begin, if the second byte of a word comes
  /// `correlation` times as often after the first as by chance, and so on.
  double rate = 1;
};

/// Parts words that begin with the first `length` sets of `beginnings` among buckets. `frequencies` tells how often
/// each byte comes, of one. Takes a time that grows with the square of how many they are.
Buckets MakeBuckets(const std::vector<BucketBeginning>& beginnings, std::size_t length,
                    const std::array<double, 256>& frequencies, double correlation);

/// Looks at the `count` places from `first` on in a text that ends at `end`, and writes to `hits` how far after
/// `first` those are at which a word may begin, in order. Reads nothing after `end`. `hits` has room for `count` and
/// kPlacesAtOnce more. Returns how many were written.
using FindInBuckets = std::size_t (*)(const BucketTable& table, const unsigned char* first,
                                      std::size_t count, const unsigned char* end,
                                      std::uint32_t* hits);

inline constexpr std::size_t kPlacesAtOnce = 64;

/// The fastest way that the machine has; null where it has none.
FindInBuckets ChooseBucketScan();

/// The same for up to 64 places of a short text, all before its end: a bit for each. Chosen like the former.
using TestInBuckets = std::uint64_t (*)(const BucketTable& table, const unsigned char* first,
                                        std::size_t count, const unsigned char* end);
TestInBuckets ChooseBucketTest();

/// The same without vector instructions.
std::size_t FindInBucketsPlainly(const BucketTable& table, const unsigned char* first,
                                 std::size_t count, const unsigned char* end, std::uint32_t* hits);

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_BUCKET_SCAN_H
