// Reads a match from the place where it starts to its end.
//
// The automata of a search are made while texts are read, and to begin with one takes longer than to read a row of a
// table. A reader is made beforehand, once for all texts and threads. It says of one place whether a match starts
// there, and where the longest one ends. For that alone few states suffice; where a pattern has more, it has no
// reader.
//
//   [a-z]+ung   at "h" of "heizungen": ends behind the g; at "g": none
//
// A place where nothing starts may tell of those after it. If a match could go on from each of them in all the ways in
// which one could begin there, then none begins there either: what begins with "[a-z]+" is tried at one place of a word,
// and not at its other letters.

#ifndef TROVEX_MATCHER_AUTOMATA_MATCH_READER_H
#define TROVEX_MATCHER_AUTOMATA_MATCH_READER_H

#include "matcher/automata/position_graph.h"
#include "matcher/budget.h"
#include "text/byte_map.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

class MatchReader {
 public:
  /// Nothing where the states are too many. What it takes is charged to `budget`; where that does not allow it, there is
  /// none either.
  static std::optional<MatchReader> For(const PositionGraph& graph, CompileBudget& budget);

  /// What was read at a place.
  struct Reading {
    /// The end of the longest match that starts there; null: none does.
    const unsigned char* end;
    /// Where none does: the next place where one can.
    const unsigned char* next;
    /// Up to where it took to know.
    const unsigned char* readTo;
  };

  /// Reads from `place` on in a text that ends at `end`, behind a byte of the kind `before`.
  Reading Read(const unsigned char* place, const unsigned char* end, ByteKind before) const {
    const Entry* const entries = entries_.data();
    std::size_t row = starts_[static_cast<std::size_t>(before)];
    Reading reading = {nullptr, place + 1, place};
    bool isCovered = true;
    for (;; ++reading.readTo) {
      const unsigned char byte = reading.readTo != end ? *reading.readTo : '\n';
      row = entries[row + columnOf_[byte]];
      const Entry facts = entries[row];
      if ((facts & kHasEnded) != 0) reading.end = reading.readTo;
      if ((facts & kIsLast) != 0) return reading;
      isCovered = isCovered && (facts & kCoversStart) != 0;
      reading.next += isCovered ? 1 : 0;
    }
  }

  /// Whether matches start at the begins of lines alone.
  bool StartsLines() const {
    return starts_[static_cast<std::size_t>(ByteKind::kOther)] == kNowhere &&
           starts_[static_cast<std::size_t>(ByteKind::kLetter)] == kNowhere;
  }

 private:
  friend class ReaderMaker;

  /// A state is a row of entries: what is to be known of it, then for each class of bytes where its row begins that the
  /// state leads to.
  using Entry = std::uint16_t;
  static constexpr Entry kHasEnded = 1;     // a match has ended before the byte that led here
  static constexpr Entry kIsLast = 2;       // no other can end
  static constexpr Entry kCoversStart = 4;  // goes on in all ways in which a match can begin
  /// The row of the state in which nothing can end.
  static constexpr Entry kNowhere = 0;

  std::vector<Entry> entries_;
  std::array<Entry, kByteKinds> starts_{};  // by the kind of the byte before
  ByteMap columnOf_{};
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_MATCH_READER_H
