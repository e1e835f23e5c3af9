#include "matcher/words/few_words.h"

#include "matcher/limits.h"

#include <algorithm>
#include <string_view>

namespace trovex {

namespace {

/// Trees of more nodes are not even read for it.
constexpr std::size_t kMostNodes = 1'000;

}  // namespace

std::optional<FewWords> FewWords::For(const SyntaxTree& tree, bool words, CompileBudget& budget) {
  if (tree.nodes.size() > kMostNodes) return std::nullopt;
  std::optional<WordList> list = ReadWordList(tree, budget);
  if (!list || list->Count() < 2 || list->Count() > kMostWords) return std::nullopt;
  std::vector<MaskedByte> byteOfClass(1);  // of one byte
  for (std::size_t number = 1; number < list->bytesOf.size(); ++number) {
    const std::optional<MaskedByte> byte = MaskedByteOf(list->bytesOf[number]);
    if (!byte) return std::nullopt;
    byteOfClass.push_back(*byte);
  }
  if (words) {
    list->starts = static_cast<Neighbours>(list->starts & kNoLetterBefore);
    list->stops = static_cast<Neighbours>(list->stops & kNoLetterAfter);
  }
  return FewWords(*list, byteOfClass);
}

FewWords::FewWords(const WordList& list, const std::vector<MaskedByte>& byteOfClass)
    : starts_(list.starts), stops_(list.stops) {
  std::vector<std::string_view> words;
  for (std::size_t i = 0; i < list.Count(); ++i)
    words.push_back(list.Word(i));
  std::stable_sort(words.begin(), words.end(),
                   [](std::string_view a, std::string_view b) { return a.size() > b.size(); });
  for (const std::string_view word : words)
    Add(word, byteOfClass);
}

void FewWords::Add(std::string_view word, const std::vector<MaskedByte>& byteOfClass) {
  constexpr std::size_t kAtOnce = sizeof(std::uint64_t);
  std::vector<Piece> pieces((word.size() + kAtOnce - 1) / kAtOnce);
  for (std::size_t i = 0; i < word.size(); ++i) {
    const MaskedByte byte = byteOfClass[static_cast<Byte>(word[i])];
    const std::size_t shift = 8 * (i % kAtOnce);
    pieces[i / kAtOnce].mask |= std::uint64_t{byte.mask} << shift;
    pieces[i / kAtOnce].value |= std::uint64_t{byte.value} << shift;
  }
  masks_[count_] = pieces.front().mask;
  values_[count_] = pieces.front().value;
  lengths_[count_] = word.size();
  rests_[count_].assign(pieces.begin() + 1, pieces.end());
  ++count_;
}

}  // namespace trovex
