#include "query/search/sound_search.h"

#include "text/code_page.h"

#include <utility>

namespace trovex {

SoundSearch::SoundSearch(const SoundKey& key)
    : matcher_(key), scan_({{1, matcher_.Beginnings()}, {0, ~CodePageWords()}}) {}

void SoundSearch::Begin(TextView text) {
  text_ = text;
  cursor_.Reset();
  place_ = 0;
  isAtStart_ = !text.empty();
}

bool SoundSearch::Next(ByteRange& word) {
  if (std::exchange(isAtStart_, false) && IsAlikeAt(0, word)) return true;
  const unsigned char* const begin = text_.data();
  bool isFound = false;
  const auto take = [&](const unsigned char* before) -> const unsigned char* {
    isFound = IsAlikeAt(static_cast<std::size_t>(before + 1 - begin), word);
    return isFound ? nullptr : before + 1;
  };
  cursor_.ForEach(scan_, begin + place_, begin + text_.size(), take);
  place_ = isFound ? word.end : text_.size();
  return isFound;
}

/// Whether the word that begins at `begin` sounds alike. Then it is written.
bool SoundSearch::IsAlikeAt(std::size_t begin, ByteRange& word) const {
  if (!matcher_.Beginnings()[text_[begin]]) return false;
  const std::size_t end = matcher_.EndIfAlike(text_, begin);
  if (end != kNowhere) word = {begin, end};
  return end != kNowhere;
}

}  // namespace trovex
