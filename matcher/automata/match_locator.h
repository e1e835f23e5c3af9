// Finds where the leftmost match lies, and of those the longest, without the engine: in time that
// grows with the bytes looked at and no faster, on lines of any length.
//
// One of three roads leads to the places from which a match can start:
//
//   leading bytes   The bytes that can stand at the first offsets of a match are rare enough: the
//                   places where they do are searched for (place_scan.h). If every match holds a much
//                   rarer string, lines without it are passed over.
//   keyword         Every match holds a string. Where it occurs, the automaton that reads backwards
//                   says from where on the text up to its end could be the beginning of a match.
//   every place     Neither promises to leave much out.
//
// From there the automaton that reads forwards goes on to the end of the leftmost match; its start is
// known from the way, or the automaton that reads backwards looks for it.

#ifndef TROVEX_MATCHER_AUTOMATA_MATCH_LOCATOR_H
#define TROVEX_MATCHER_AUTOMATA_MATCH_LOCATOR_H

#include "matcher/automata/backward_automaton.h"
#include "matcher/automata/forward_automaton.h"
#include "matcher/automata/position_graph.h"
#include "matcher/automata/text_notes.h"
#include "matcher/scan/keyword_set.h"
#include "matcher/scan/place_scan.h"

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace trovex {

/// A string that every match contains, and the set of one keyword that searches for it.
struct RequiredKeyword {
  const KeywordSet* set = nullptr;  // null: there is none
  std::string_view text;
  bool folds = false;
};

class MatchLocator {
 public:
  /// `words`: the graph was made for whole words. `keyword.set` must outlive the locator.
  MatchLocator(std::unique_ptr<PositionGraph> graph, bool words, const RequiredKeyword& keyword);

  /// A match, its end exclusive; a null start stands for none.
  struct Match {
    const char* start = nullptr;
    const char* end = nullptr;
  };

  /// The leftmost match in the text from `begin`, the start of a line, to `end`, behind which there is
  /// one writable byte: it is changed and put back. `notes`, which may be null, are those of earlier
  /// searches of the same text with this locator. Throws nothing but std::bad_alloc.
  Match Find(const char* begin, char* end, TextNotes* notes);

  /// Whether matches must be whole words.
  bool Words() const { return words_; }

 private:
  using Byte = unsigned char;
  struct Text;

  Match FindFrom(Text& text, const Byte* place, bool refusesLineEnd);
  const Byte* NextPlace(Text& text, const Byte* place);
  const Byte* PlaceByLeadingBytes(Text& text, const Byte* place) const;
  const Byte* PlaceByKeyword(Text& text, const Byte* place);
  const Byte* NextKeyword(Text& text, const Byte* place) const;
  ByteKind KindBefore(const Text& text, const Byte* place) const;

  const std::unique_ptr<PositionGraph> graph_;
  const bool words_;
  const KeywordSet* keyword_ = nullptr;  // null unless it is of use
  std::optional<PlaceScan> leading_;     // set if the road of the leading bytes is taken
  std::optional<ForwardAutomaton> forward_;
  std::optional<BackwardAutomaton> backward_;  // made when it is first needed
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_MATCH_LOCATOR_H
