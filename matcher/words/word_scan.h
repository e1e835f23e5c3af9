// Where words of a list stand in a text: several words to ten thousand of them, in one pass.
//
// Looking for many words at once is done in three steps, each of which leaves little to the next:
//
//   windows      A few bytes of a word, at whatever place a scan comes across it, are looked up in a table of
//                bits (window_scan.h), many places of the text at a time.
//   beginnings   Where the table has them, the bytes from each place on at which the word could start are
//                looked up in another one: as many as the shortest word has, at most eight, and the one
//                after them.
//   words        From a place that is left, these bytes lead to the words that begin with them
//                (word_trie.h).
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
#include "matcher/tuning.h"
#include "matcher/words/window_scan.h"
#include "matcher/words/word_list.h"
#include "matcher/words/word_trie.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

class WordScan {
 public:
  using Byte = unsigned char;

  /// Nothing where classes of many bytes make too many windows. The work is charged to `budget`. Throws
  /// BudgetExhausted.
  static std::optional<WordScan> Make(const WordList& list, CompileBudget& budget);

  /// Between which neighbours a word may start, and end.
  Neighbours Starts() const { return starts_; }
  Neighbours Stops() const { return stops_; }
  std::size_t Longest() const { return longest_; }

  /// Sets, of the `size` places from `from` on in a text that ends at `textEnd`, the bits of those at which a
  /// word may start; there may be fewer bytes. `size` is a multiple of kWholeWindows, `hits` has room for it
  /// and kWindowsAtOnce more.
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
      if (static_cast<std::size_t>(end - place) < group.shortest) continue;
      std::size_t longest = 0;
      const std::uint64_t key = KeyAt<false>(place, end, group.keyMask);
      for (std::size_t slot = group.SlotOf(key); group.slots[slot].root != kNoRoot;
           slot = (slot + 1) & (group.slots.size() - 1)) {
        work += 2;
        if (group.slots[slot].key != key) continue;
        longest =
            std::max(longest, words_.LongestAt(group.slots[slot].root, place, end, canEnd, work));
      }
      if (longest > 0) return longest;
    }
    return 0;
  }

 private:
  friend class WordPlaces;
  friend class WordScanMaker;

  static constexpr std::uint32_t kNoRoot = UINT32_MAX;
  static constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15U;

  /// The words that begin with the same bytes.
  struct Slot {
    std::uint64_t key = 0;
    std::uint32_t root = kNoRoot;
  };

  struct Group {
    std::size_t shortest = 0;
    WindowTable windows;
    FindWindows find = nullptr;
    /// What counts of the eight bytes from a word's start on, and how many they are; for each value that they
    /// are hashed to, the bytes that may follow, as bits of a mask; and the words by these bytes.
    std::uint64_t keyMask = 0;
    std::size_t keyLength = 0;
    int keyShift = 0;
    std::vector<std::uint32_t> followers;
    int slotShift = 0;
    std::vector<Slot> slots;

    std::size_t SlotOf(std::uint64_t key) const { return (key * kFactor) >> slotShift; }
    std::size_t KeyHash(std::uint64_t key) const { return (key * kFactor) >> keyShift; }
    /// 1 where a word may stand that begins with the bytes of `key`, with `follower` after them, else 0.
    std::uint64_t MayStand(std::uint64_t key, Byte follower) const {
      return followers[KeyHash(key)] >> (follower % kFollowers) & 1;
    }
  };

  /// How many kinds of followers are told apart. Upper and lower case are of one kind.
  static constexpr unsigned kFollowers = 32;

  template <bool kIsInside>
  static void Mark(const Group& group, const Byte* begin, std::size_t first, const Byte* textEnd,
                   std::uint64_t* marks);

  explicit WordScan(const WordList& list)
      : words_(list.classOf), starts_(list.starts), stops_(list.stops) {}

  /// `kIsInside`: eight bytes can be read.
  template <bool kIsInside>
  static std::uint64_t KeyAt(const Byte* place, const Byte* end, std::uint64_t mask) {
    std::uint64_t key = 0;
    if (kIsInside || end - place >= 8) {
      std::memcpy(&key, place, 8);
    } else if (place < end) {
      std::memcpy(&key, place, static_cast<std::size_t>(end - place));
    }
    return key & mask;
  }

  std::vector<Group> groups_;  // the one with the longest words first
  WordTrie words_;
  Neighbours starts_;
  Neighbours stops_;
  std::size_t longest_ = 0;
};

/// The scan for the words of `tree`, which must be whole words if `words` says so; nothing where it is no
/// list, one of a few words, or what `budget` allows does not suffice.
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
  const Byte* Next(const Byte* from, const Byte* textEnd) {
    while (from < textEnd) {
      if (!Covers(from, textEnd)) Scan(from, textEnd);
      const auto offset = static_cast<std::size_t>(from - begin_);
      std::size_t word = offset / 64;
      std::uint64_t bits = marks_[word] & ~std::uint64_t{0} << (offset % 64);
      while (bits == 0 && ++word < size_ / 64)
        bits = marks_[word];
      if (bits != 0) return begin_ + (word * 64 + static_cast<std::size_t>(std::countr_zero(bits)));
      if (static_cast<std::size_t>(textEnd - begin_) <= size_) return nullptr;
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
