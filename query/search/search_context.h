// What the streams of one search share: the text, the lists of tags, what they may spend, and the reasons
// to end early.

#ifndef TROVEX_QUERY_SEARCH_SEARCH_CONTEXT_H
#define TROVEX_QUERY_SEARCH_SEARCH_CONTEXT_H

#include "query/search/found_place.h"
#include "query/search/text_blocks.h"
#include "query/tuning.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace trovex {

struct SearchContext {
  TextBlocks blocks;
  TagLists tagLists;
  /// Whether places bring their tags.
  bool wantsTags = false;
  /// Whether places bring the bytes where they lie; without, they only say that they are there.
  bool wantsPositions = true;
  /// Whether places bring their characters too, because distances are too long to be counted each.
  bool wantsCharacters = false;
  /// Whether the query measures in words.
  bool countsWords = false;
  /// Whether a pattern that is all of the query leaves the rest of a line after its first place.
  bool skipsLines = false;
  /// Whether a look at the bytes of the text comes before a block is opened.
  bool scansFirst = false;
  bool (*interrupt)(void* context) = nullptr;
  void* interruptContext = nullptr;

  /// Once a search has given up, no stream looks further. What streams then say of places that they
  /// have not seen, and hence of verdicts, means nothing.
  bool gaveUp = false;
  std::size_t gaveUpAt = 0;

  /// What the search of this text may still spend on all its streams together. A long query over a text
  /// where everything is found everywhere would take the product of both.
  std::int64_t credit = INT64_MAX;
  /// Below this credit the host is asked, or the search gives up: only then is more than a comparison
  /// spent on it.
  std::int64_t askBelow = 0;

  void GiveUp(std::size_t at) {
    if (gaveUp) return;
    gaveUp = true;
    gaveUpAt = at;
  }

  /// Spends `units` of work that was done, or is at hand, at byte `at`.
  void Spend(std::int64_t units, std::size_t at) {
    credit -= units;
    if (credit < askBelow) Ask(at);
  }

  /// Asks whether to go on with the text at byte `at`.
  bool MayGoOn(std::size_t at) {
    if (!gaveUp && interrupt != nullptr && interrupt(interruptContext)) GiveUp(at);
    return !gaveUp;
  }

 private:
  void Ask(std::size_t at) {
    if (credit < 0) return GiveUp(at);
    askBelow = std::max<std::int64_t>(0, credit - kWorkBetweenAsks);
    MayGoOn(at);
  }
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_SEARCH_CONTEXT_H
