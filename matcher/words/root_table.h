// The trees of words by what their first bytes are hashed to.
//
// With each tree stand the bytes that all its words have after those: they refuse most places at which the words
// do not stand before the tree is walked through. Whether a place is refused is as good as chance, which no
// processor foresees; so the entries of a bucket, a line of its cache, are compared without a branch.

#ifndef TROVEX_MATCHER_WORDS_ROOT_TABLE_H
#define TROVEX_MATCHER_WORDS_ROOT_TABLE_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace trovex {

class RootTable {
 public:
  static constexpr std::size_t kMostTailBytes = 7;
  static constexpr std::size_t kEntriesOfBucket = 4;

  struct Entry {
    std::uint32_t hash = 0;
    std::uint32_t root = 0;
    /// The bytes after those that are hashed, the first of them the lowest, and in the last byte how many they
    /// are: at most kMostTailBytes.
    std::uint64_t tail = 0;

    /// Whether these stand at the beginning of `bytes`.
    bool HasTail(std::uint64_t bytes) const {
      const int length = static_cast<int>(tail >> 56 & 7);
      return (bytes ^ tail) << 8 << (56 - 8 * length) == 0;
    }
  };

  /// The memory that a table of so many entries takes.
  static std::size_t BytesFor(std::size_t entries) { return BucketsFor(entries) * sizeof(Bucket); }

  void Fill(std::span<const Entry> entries) {
    buckets_.assign(BucketsFor(entries.size()), Bucket());
    shift_ = 33 - static_cast<int>(std::bit_width(buckets_.size()));
    // What is left free has a hash that is looked up elsewhere.
    for (std::size_t i = 0; i < buckets_.size(); ++i) {
      for (Entry& entry : buckets_[i].entries)
        entry.hash = static_cast<std::uint32_t>(After(i) << shift_);
    }
    std::vector<unsigned char> counts(buckets_.size());
    for (const Entry& entry : entries) {
      std::size_t bucket = entry.hash >> shift_;
      for (; counts[bucket] == kEntriesOfBucket; bucket = After(bucket))
        buckets_[bucket].entries[0].tail |= kGoesOn;
      Entry& free = buckets_[bucket].entries[counts[bucket]++];
      const std::uint64_t mark = free.tail & kGoesOn;
      free = entry;
      free.tail |= mark;
    }
  }

  /// Has what is looked up soon brought near.
  void Prefetch(std::uint32_t hash) const { __builtin_prefetch(&buckets_[hash >> shift_]); }

  /// Calls `take` with each entry of `hash` that has its tail at the beginning of `bytes`, whose last byte does
  /// not count.
  template <typename Take>
  void ForEach(std::uint32_t hash, std::uint64_t bytes, const Take& take) const {
    for (std::size_t i = hash >> shift_;; i = After(i)) {
      const Bucket& bucket = buckets_[i];
      for (unsigned some = bucket.Those(hash, bytes); some != 0; some &= some - 1)
        take(bucket.entries[static_cast<std::size_t>(std::countr_zero(some))]);
      if (!bucket.GoesOn()) return;
    }
  }

  /// Whether there is one; `root` becomes the tree of one of them.
  bool Has(std::uint32_t hash, std::uint64_t bytes, std::uint32_t& root) const {
    for (std::size_t i = hash >> shift_;; i = After(i)) {
      const Bucket& bucket = buckets_[i];
      const unsigned some = bucket.Those(hash, bytes);
      const std::uint32_t one =
          bucket.entries[static_cast<std::size_t>(std::countr_zero(some | 8))].root;
      root = one;
      if (!bucket.GoesOn() || some != 0) return some != 0;
    }
  }

 private:
  /// Marks a bucket that was full when there was another entry for it: that stands further on.
  static constexpr std::uint64_t kGoesOn = std::uint64_t{1} << 63;

  struct alignas(64) Bucket {
    std::array<Entry, kEntriesOfBucket> entries;

    /// A bit for each entry of `hash` that has its tail at the beginning of `bytes`.
    unsigned Those(std::uint32_t hash, std::uint64_t bytes) const {
      unsigned those = 0;
      for (unsigned i = 0; i < kEntriesOfBucket; ++i) {
        those |= (static_cast<unsigned>(entries[i].hash == hash) &
                  static_cast<unsigned>(entries[i].HasTail(bytes)))
                 << i;
      }
      return those;
    }
    bool GoesOn() const { return (entries[0].tail & kGoesOn) != 0; }
  };

  /// A power of two, two at least; a bucket has room for twice what comes into one on average, or more.
  static std::size_t BucketsFor(std::size_t entries) { return std::bit_ceil(entries / 2 + 2); }
  std::size_t After(std::size_t bucket) const { return (bucket + 1) & (buckets_.size() - 1); }

  std::vector<Bucket> buckets_;
  int shift_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_ROOT_TABLE_H
