#include "matcher/words/word_trie.h"

#include <string>

namespace trovex {

std::uint32_t WordTrie::Add(std::span<const std::string_view> words) {
  const auto root = static_cast<std::uint32_t>(memory_.size());
  // The pieces that are to be written: their words, and where in the memory it is noted where they stand.
  struct Piece {
    std::span<const std::string_view> words;
    std::size_t depth;
    std::size_t note;
  };
  constexpr std::size_t kNoNote = SIZE_MAX;
  std::vector<Piece> open = {{words, 0, kNoNote}};
  while (!open.empty()) {
    const Piece piece = open.back();
    open.pop_back();
    if (piece.note != kNoNote) memory_[piece.note] = static_cast<std::uint32_t>(memory_.size());
    const std::string_view low = piece.words.front();
    const std::string_view high = piece.words.back();
    // Sorted words have in common what the first and the last of them have.
    const auto parting =
        std::mismatch(low.begin() + static_cast<std::ptrdiff_t>(piece.depth), low.end(),
                      high.begin() + static_cast<std::ptrdiff_t>(piece.depth), high.end());
    const auto depth = static_cast<std::size_t>(parting.first - low.begin());
    const std::size_t length = depth - piece.depth;
    const bool isWord = low.size() == depth;
    std::string firsts;
    std::vector<Piece> children;
    std::span<const std::string_view> rest = piece.words.subspan(isWord ? 1 : 0);
    while (!rest.empty()) {
      const char next = rest.front()[depth];
      const auto other = std::find_if(rest.begin(), rest.end(),
                                      [&](std::string_view word) { return word[depth] != next; });
      const auto count = static_cast<std::size_t>(other - rest.begin());
      firsts += next;
      children.push_back({rest.first(count), depth, 0});
      rest = rest.subspan(count);
    }
    memory_.push_back(static_cast<std::uint32_t>(2 * length + (isWord ? 1 : 0)));
    memory_.push_back(static_cast<std::uint32_t>(children.size()));
    AddBytes(low.substr(piece.depth, length));
    AddBytes(firsts);
    for (Piece& child : children) {
      child.note = memory_.size();
      memory_.push_back(0);
      open.push_back(child);
    }
  }
  return root;
}

void WordTrie::AddBytes(std::string_view bytes) {
  const std::size_t at = memory_.size();
  memory_.resize(at + WordsFor(bytes.size()));
  if (!bytes.empty()) std::memcpy(&memory_[at], bytes.data(), bytes.size());
}

}  // namespace trovex
