// Words that begin alike, as a tree of what they have in common: the longest of them that stands at a place is
// found in one walk, however many there are.
//
//   Haus, Hausboot, Hausbau     "Haus", a word, then "b", then "oot" or "au", both words

#ifndef TROVEX_MATCHER_WORDS_WORD_TRIE_H
#define TROVEX_MATCHER_WORDS_WORD_TRIE_H

#include "matcher/costs.h"
#include "text/byte_map.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
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

  /// The length of the longest word of the tree `root` that stands at `place`, in a text that ends at `end`,
  /// and of which `canEnd(place + length)` accepts the end; 0 where there is none. Adds the bytes that were
  /// looked at to `work`.
  template <typename CanEnd>
  std::size_t LongestAt(std::uint32_t root, const Byte* place, const Byte* end,
                        const CanEnd& canEnd, std::int64_t& work) const {
    const Byte* at = place;
    std::size_t longest = 0;
    const Node* node = &nodes_[root];
    for (;;) {
      const auto* const label = reinterpret_cast<const Byte*>(labels_.data()) + node->label;
      if (static_cast<std::size_t>(end - at) < node->length) break;
      std::uint32_t same = 0;
      while (same < node->length && classOf_[at[same]] == label[same])
        ++same;
      work += same + kTrieStepsPerNode;
      if (same < node->length) break;
      at += same;
      if (node->isWord && canEnd(at)) longest = static_cast<std::size_t>(at - place);
      if (node->children == 0 || at == end) break;
      node = ChildFor(*node, classOf_[*at]);
      if (node == nullptr) break;
    }
    return longest;
  }

  std::size_t Bytes() const { return nodes_.size() * sizeof(Node) + labels_.size(); }

 private:
  /// A piece of words up to where they part, or one of them ends.
  struct Node {
    std::uint32_t label = 0;  // where it begins in `labels_`
    std::uint32_t length = 0;
    std::uint32_t firstChild = 0;  // the children stand side by side, sorted
    std::uint16_t children = 0;
    Byte first = 0;  // the label's first class
    bool isWord = false;
  };

  const Node* ChildFor(const Node& node, Byte first) const {
    const Node* low = &nodes_[node.firstChild];
    std::size_t count = node.children;
    while (count > 1) {
      const std::size_t half = count / 2;
      if (low[half].first <= first) low += half;
      count -= half;
    }
    return low->first == first ? low : nullptr;
  }

  ByteMap classOf_;
  std::vector<Node> nodes_;
  std::string labels_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_WORD_TRIE_H
