#include "matcher/words/word_trie.h"

#include <algorithm>

namespace trovex {

std::uint32_t WordTrie::Add(std::span<const std::string_view> words) {
  const auto root = static_cast<std::uint32_t>(nodes_.size());
  nodes_.emplace_back();
  // The pieces that are to be filled: a node, and its words.
  struct Piece {
    std::uint32_t node;
    std::span<const std::string_view> words;
    std::size_t depth;
  };
  std::vector<Piece> open = {{root, words, 0}};
  while (!open.empty()) {
    const Piece piece = open.back();
    open.pop_back();
    const std::string_view low = piece.words.front();
    const std::string_view high = piece.words.back();
    // Sorted words have in common what the first and the last of them have.
    const auto parting =
        std::mismatch(low.begin() + static_cast<std::ptrdiff_t>(piece.depth), low.end(),
                      high.begin() + static_cast<std::ptrdiff_t>(piece.depth), high.end());
    const auto depth = static_cast<std::size_t>(parting.first - low.begin());
    Node node;
    node.label = static_cast<std::uint32_t>(labels_.size());
    node.length = static_cast<std::uint32_t>(depth - piece.depth);
    labels_ += low.substr(piece.depth, depth - piece.depth);
    node.first = node.length > 0 ? static_cast<Byte>(low[piece.depth]) : Byte{0};
    node.isWord = low.size() == depth;
    node.firstChild = static_cast<std::uint32_t>(nodes_.size());
    std::span<const std::string_view> rest = piece.words.subspan(node.isWord ? 1 : 0);
    while (!rest.empty()) {
      const char next = rest.front()[depth];
      const auto other = std::find_if(rest.begin(), rest.end(),
                                      [&](std::string_view word) { return word[depth] != next; });
      const auto count = static_cast<std::size_t>(other - rest.begin());
      open.push_back({static_cast<std::uint32_t>(nodes_.size()), rest.first(count), depth});
      nodes_.emplace_back();
      // The children are looked for before they are filled.
      nodes_.back().first = static_cast<Byte>(next);
      ++node.children;
      rest = rest.subspan(count);
    }
    nodes_[piece.node] = node;
  }
  return root;
}

}  // namespace trovex
