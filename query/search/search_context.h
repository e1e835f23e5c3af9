// What the streams of one search share: the text, the lists of tags, and the reasons to end early.

#ifndef TROVEX_QUERY_SEARCH_SEARCH_CONTEXT_H
#define TROVEX_QUERY_SEARCH_SEARCH_CONTEXT_H

#include "query/search/found_place.h"
#include "query/search/text_blocks.h"

#include <cstddef>

namespace trovex {

struct SearchContext {
  TextBlocks blocks;
  TagLists tagLists;
  /// Whether places bring their tags.
  bool wantsTags = false;
  /// Whether places bring the bytes where they lie; without, they only say that they are there.
  bool wantsPositions = true;
  /// Whether the query measures in words.
  bool countsWords = false;
  /// Whether a look at the bytes of the text comes before a block is opened.
  bool scansFirst = false;
  bool (*interrupt)(void* context) = nullptr;
  void* interruptContext = nullptr;

  /// Once a search has given up, no stream looks further. What streams then say of places that they
  /// have not seen, and hence of verdicts, means nothing.
  bool gaveUp = false;
  std::size_t gaveUpAt = 0;

  void GiveUp(std::size_t at) {
    if (gaveUp) return;
    gaveUp = true;
    gaveUpAt = at;
  }

  /// Asks whether to go on with the text at byte `at`.
  bool MayGoOn(std::size_t at) {
    if (!gaveUp && interrupt != nullptr && interrupt(interruptContext)) GiveUp(at);
    return !gaveUp;
  }
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_SEARCH_CONTEXT_H
