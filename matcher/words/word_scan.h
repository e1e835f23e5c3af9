// Where words of a list stand in a text: several words to ten thousand of them, in one pass.
//
// Looking for many words at once is done in three steps, each of which leaves little to the next:
//
//   windows      A few bytes of a word, at whatever place a scan comes across it, are looked up in a table of
//                bits (window_scan.h), many places of the text at a time; or, where the machine does that faster,
//                one after the other in a table that tells where the word would begin (offset_scan.h). The
//                beginnings of a few words are looked for at every place, which is faster still (bucket_scan.h).
//   beginnings   Where the table has them, the bytes from each place on at which the word could start are
//                looked up in another one: as many as the shortest word has, at most seven, and the one
//                after them (beginning_scan.h). Those that are left lead to the words that begin so, and all
//                bytes that these have in common are compared (root_table.h).
//   words        From a place that is left, a tree tells the longest of these words (word_trie.h).
//
// Long words allow long windows and let the scan leave places out; a single short one would take that away
// from all of them. So words are parted by their lengths into groups, each with tables of its own, if that
// is expected to be the faster way.
//
// `WordScan` never changes; `WordPlaces`, which knows what a scan of some thousand bytes has found, belongs
// to one thread.

#ifndef TROVEX_MATCHER_WORDS_WORD_SCAN_H
#define TROVEX_MATCHER_WORDS_WORD_SCAN_H

#include "matcher/pattern/neighbours.h"
#include "matcher/runs/byte_words.h"
#include "matcher/tuning.h"
#include "matcher/words/beginning_scan.h"
#include "matcher/words/bucket_scan.h"
#include "matcher/words/offset_scan.h"
#include "matcher/words/root_table.h"
#include "matcher/words/window_scan.h"
#include "matcher/words/word_list.h"
#include "matcher/words/word_trie.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace trovex {

class WordScan {
 public:
  using Byte = unsigned char;

  /// Nothing where there are too many windows. `mayTranslate`: if there are, each class may be looked up as one
  /// byte. `gathers`: windows are looked up many at a time, without their offsets. The work is charged to `budget`.
  /// Throws BudgetExhausted.
  static std::optional<WordScan> Make(const WordList& list, bool mayTranslate,
                                      CompileBudget& budget, bool gathers = MachineGathersFast());

  /// Between which neighbours a word may start, and end.
  Neighbours Starts() const { return starts_; }
  Neighbours Stops() const { return stops_; }
  std::size_t Longest() const { return longest_; }
  /// The bytes that words begin with.
  const CharSet& FirstBytes() const { return firstBytes_; }
  /// How many nanoseconds a byte of a text is expected to take.
  double CostOfByte() const { return cost_; }

  /// Sets, of the `size` places from `from` on in a text that ends at `textEnd`, the bits of those at which a
  /// word may start; there may be fewer bytes. `size` is a multiple of kWholeWindows, or of 64 where there are no more
  /// bytes; kLargestWordStretch at most. `hits` has room for it and kWindowsAtOnce more.
  void MarkStarts(const Byte* from, std::size_t size, const Byte* textEnd, std::uint64_t* marks,
                  std::uint32_t* hits) const;

  /// A multiple of 64, and of every stride.
  static constexpr std::size_t kWholeWindows = 192;

  /// The length of the longest word at `place`, in a text that ends at `end`, of which
  /// `canEnd(place + length)` accepts the end; 0 where there is none. Adds what was looked at to `work`.
  template <typename CanEnd>
  std::size_t LongestAt(const Byte* place, const Byte* end, const CanEnd& canEnd,
                        std::int64_t& work) const {
    for (const Group& group : groups_) {
      const auto size = static_cast<std::size_t>(end - place);
      if (size < group.shortest) continue;
      std::size_t longest = 0;
      const Start start = StartAt(group, place, end);
      group.roots.ForEach(start.hash, start.tail, [&](const auto& entry) {
        work += 2;
        longest = std::max(longest, words_.LongestAt(entry.root, place, end, canEnd, work));
      });
      if (longest > 0) return longest;
    }
    return 0;
  }

 private:
  friend class WordPlaces;
  friend class WordScanMaker;

  struct Group {
    std::size_t shortest = 0;
    /// How many places lie between those that are looked at.
    std::size_t stride = 1;
    /// Looked up instead of windows where the machine does that faster.
    bool hasOffsets = false;
    OffsetTable offsets;
    WindowTable windows;
    FindWindows findWindows = nullptr;
    TestWindows testWindows = nullptr;
    /// Looked up instead of windows, if there is a way to do so.
    BucketTable buckets;
    FindInBuckets findInBuckets = nullptr;
    TestInBuckets testInBuckets = nullptr;
    FollowerTable beginnings;
    FindBeginnings findBeginnings = nullptr;
    RootTable roots;
  };

  explicit WordScan(const WordList& list)
      : words_(list.classOf), starts_(list.starts), stops_(list.stops) {}

  /// What the words that begin at a place are looked up by.
  struct Start {
    std::uint32_t hash;
    std::uint64_t tail;
  };
  Start StartAt(const Group& group, const Byte* place, const Byte* end) const {
    if (!translates_)
      return {group.beginnings.HashOf(EightBytes(place, place, end)),
              TailAt(group, place, place, end)};
    std::array<Byte, kLookedAt> copy;
    const std::size_t size = std::min(copy.size(), static_cast<std::size_t>(end - place));
    Translate(place, size, copy.data());
    const Byte* const begin = copy.data();
    return {group.beginnings.HashOf(EightBytes(begin, begin, begin + size)),
            TailAt(group, begin, begin, begin + size)};
  }

  void Translate(const Byte* from, std::size_t size, Byte* to) const {
    for (std::size_t i = 0; i < size; ++i)
      to[i] = translation_[from[i]];
  }

  /// So many bytes of a word are looked at before it is compared, at most.
  static constexpr std::size_t kLookedAt = 16;

  void MarkIn(const Byte* from, std::size_t size, const Byte* textEnd, std::uint64_t* marks,
              std::uint32_t* hits) const;
  std::uint64_t MarkInShort(const Byte* from, const Byte* textEnd) const;
  void MarkNear(const Group& group, const Byte* from, std::span<const std::uint32_t> hits,
                const Byte* textEnd, std::uint64_t* marks) const;
  void MarkOneByOne(const Group& group, const Byte* from, std::span<const std::uint32_t> hits,
                    const Byte* textEnd, std::uint64_t* marks) const;

  void MarkByOffsets(const Group& group, const Byte* from, std::size_t count, const Byte* textEnd,
                     std::uint64_t* marks, std::uint32_t* hits) const;
  void MarkHits(const Group& group, const Byte* from, std::span<const std::uint32_t> hits,
                const Byte* textEnd, std::uint64_t* marks) const;
  void MarkFound(const Group& group, const Byte* from, const Beginnings& found, const Byte* textEnd,
                 std::uint64_t* marks) const;

  bool MayStandAt(const Group& group, const Byte* place, const Byte* begin,
                  const Byte* textEnd) const;

  /// What counts of the bytes at `place` after those that are hashed.
  std::uint64_t TailAt(const Group& group, const Byte* place, const Byte* begin,
                       const Byte* textEnd) const {
    return EightBytes(place + group.beginnings.length, begin, textEnd) & byteMask_;
  }

  static constexpr std::size_t kMostGroups = kWordCuts.size() + 1;
  std::vector<Group> groups_;   // the one with the longest words first
  std::uint64_t byteMask_ = 0;  // what counts of the bytes after those
  /// Set where classes have so many bytes that a table with all of these would be too large: the bytes of a text
  /// are looked up as what they are here, one byte of their class.
  bool translates_ = false;
  /// Only near the places that are found in buckets then, where there are no windows.
  bool areAllInBuckets_ = false;
  ByteMap translation_ = kSameBytes;
  WordTrie words_;
  Neighbours starts_;
  Neighbours stops_;
  std::size_t longest_ = 0;
  CharSet firstBytes_;
  double cost_ = 0;
};

/// The scan for the words of `tree`, which must be whole words if `words` says so; nothing where it is no
/// list, one of a few words, or these are expected to be found faster as such (few_words.h), or what `budget` allows
/// does not suffice.
std::optional<WordScan> MakeWordScan(const SyntaxTree& tree, bool words, CompileBudget& budget);

class WordPlaces {
 public:
  using Byte = unsigned char;

  /// `scan` must outlive it.
  explicit WordPlaces(const WordScan& scan) : scan_(scan) {}

  /// Forgets the text.
  void Forget() {
    begin_ = nullptr;
    size_ = 0;
    nextSize_ = kFirstWordStretch;
  }

  /// The first place from `from` on, in a text that ends at `textEnd`, at which a word may stand; null where
  /// there is none. The text must not have changed since Forget().
  const Byte* Next(const Byte* from, const Byte* textEnd) { return Next(from, textEnd, textEnd); }

  /// The same for places before `limit` alone.
  const Byte* Next(const Byte* from, const Byte* limit, const Byte* textEnd) {
    while (from < limit) {
      if (!Covers(from, textEnd)) Scan(from, textEnd);
      const auto offset = static_cast<std::size_t>(from - begin_);
      std::size_t word = offset / 64;
      std::uint64_t bits = marks_[word] & ~std::uint64_t{0} << (offset % 64);
      while (bits == 0 && ++word < size_ / 64)
        bits = marks_[word];
      if (bits != 0) {
        const Byte* const place =
            begin_ + (word * 64 + static_cast<std::size_t>(std::countr_zero(bits)));
        return place < limit ? place : nullptr;
      }
      if (static_cast<std::size_t>(limit - begin_) <= size_) return nullptr;
      from = begin_ + size_;
    }
    return nullptr;
  }

 private:
  bool Covers(const Byte* from, const Byte* textEnd) const {
    return begin_ != nullptr && textEnd == textEnd_ && from >= begin_ &&
           static_cast<std::size_t>(from - begin_) < size_;
  }
  void Scan(const Byte* from, const Byte* textEnd);

  const WordScan& scan_;
  /// How many bytes from where on were scanned, which may be more than there are, and where the text ends.
  const Byte* begin_ = nullptr;
  std::size_t size_ = 0;
  const Byte* textEnd_ = nullptr;
  std::size_t nextSize_ = kFirstWordStretch;
  /// A bit for each of these bytes at which a word may start.
  std::array<std::uint64_t, kLargestWordStretch / 64> marks_{};
  std::array<std::uint32_t, kLargestWordStretch + kWindowsAtOnce> hits_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_WORD_SCAN_H
