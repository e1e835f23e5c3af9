// Words that begin alike, as a tree of what they have in common: the longest of them that stands at a place is
// found in one walk, however many there are.
//
//   Haus, Hausboot, Hausbau     "Haus", a word, then "b", then "oot" or "au", both words

#ifndef TROVEX_MATCHER_WORDS_WORD_TRIE_H
#define TROVEX_MATCHER_WORDS_WORD_TRIE_H

#include "matcher/costs.h"
#include "text/byte_map.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

namespace trovex {

/// Many such trees, side by side.
class WordTrie {
 public:
  using Byte = unsigned char;

  /// Words are strings of classes of bytes; `classOf` tells that of each byte of a text.
  explicit WordTrie(const ByteMap& classOf) : classOf_(classOf) {}

  /// Adds a tree of `words`, which are sorted and different, and of which none is empty. Returns its root. It
  /// should be asked where they may stand: what all of them begin with is compared as well.
  std::uint32_t Add(std::span<const std::string_view> words);

  /// Has a tree that is asked soon brought near.
  void Prefetch(std::uint32_t root) const { __builtin_prefetch(&memory_[root]); }

  /// The length of the longest word of the tree `root` that stands at `place`, in a text that ends at `end`,
  /// and of which `canEnd(place + length)` accepts the end; 0 where there is none. Adds the bytes that were
  /// looked at to `work`.
  template <typename CanEnd>
  std::size_t LongestAt(std::uint32_t root, const Byte* place, const Byte* end,
                        const CanEnd& canEnd, std::int64_t& work) const {
    const Byte* at = place;
    std::size_t longest = 0;
    for (std::uint32_t node = root;;) {
      const std::size_t length = memory_[node] >> 1;
      if (static_cast<std::size_t>(end - at) < length) break;
      const std::size_t same = SameBytes(at, BytesAt(node + kHead), length);
      work += static_cast<std::int64_t>(same) + kTrieStepsPerNode;
      if (same < length) break;
      at += length;
      if ((memory_[node] & 1) != 0 && canEnd(at)) longest = static_cast<std::size_t>(at - place);
      const std::uint32_t children = memory_[node + 1];
      if (children == 0 || at == end) break;
      const std::size_t firsts = node + kHead + WordsFor(length);
      const void* const first = std::memchr(BytesAt(firsts), classOf_[*at], children);
      if (first == nullptr) break;
      const auto child = static_cast<const Byte*>(first) - BytesAt(firsts);
      node = memory_[firsts + WordsFor(children) + static_cast<std::size_t>(child)];
    }
    return longest;
  }

  std::size_t Bytes() const { return memory_.size() * sizeof memory_[0]; }

 private:
  // A node is a piece of words up to where they part, or one of them ends. In the memory stand, side by side, so
  // that most trees lie in one line of the processor's cache:
  //
  //   the length of the piece, twice, and one if a word ends there
  //   how many children there are
  //   the classes of the piece, then those that the children begin with, sorted
  //   where the children stand
  static constexpr std::size_t kHead = 2;

  /// How many words of the memory so many bytes take.
  static std::size_t WordsFor(std::size_t bytes) { return (bytes + 3) / 4; }

  const Byte* BytesAt(std::size_t word) const {
    return reinterpret_cast<const Byte*>(memory_.data() + word);
  }

  /// How many of the `length` bytes at `at` are of the classes at `label`: all, or some that are before the
  /// first that is not. Up to a few bytes, without a branch for each.
  std::size_t SameBytes(const Byte* at, const Byte* label, std::size_t length) const {
    constexpr std::size_t kAtOnce = 16;
    std::size_t same = 0;
    while (same < length) {
      const std::size_t stop = std::min(same + kAtOnce, length);
      unsigned differing = 0;
      for (std::size_t i = same; i < stop; ++i)
        differing |= static_cast<unsigned>(classOf_[at[i]] ^ label[i]);
      if (differing != 0) break;
      same = stop;
    }
    return same;
  }

  void AddBytes(std::string_view bytes);

  ByteMap classOf_;
  std::vector<std::uint32_t> memory_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_WORD_TRIE_H
