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
    Entry row = starts_[static_cast<std::size_t>(before)];
    Reading reading = {nullptr, place + 1, place};
    bool isCovered = true;
    for (;; ++reading.readTo) {
      const unsigned char byte = reading.readTo != end ? *reading.readTo : '\n';
      row = entries[row + columnOf_[byte]];
      if (row <= over_) break;
      if (row < covering_) reading.end = reading.readTo;
      isCovered = isCovered && row < others_;
      reading.next += isCovered ? 1 : 0;
    }
    if (row != kNowhere) reading.end = reading.readTo;
    return reading;
  }

  /// Whether matches start at the begins of lines alone.
  bool StartsLines() const {
    return starts_[static_cast<std::size_t>(ByteKind::kOther)] == kNowhere &&
           starts_[static_cast<std::size_t>(ByteKind::kLetter)] == kNowhere;
  }

 private:
  friend class ReaderMaker;

  /// A state is a row of entries: for each class of bytes, where the row of the state begins that it leads to. The order
  /// of the rows says what is to be known of a state:
  ///
  ///   kNowhere          nothing can end
  ///   over_             a match has ended before the byte that led here, and no other can
  ///   up to covering_   a match has ended so
  ///   up to others_     none has, and the state goes on in all ways in which a match can begin
  ///   after that        all others
  using Entry = std::uint16_t;
  static constexpr Entry kNowhere = 0;

  std::vector<Entry> entries_;
  std::array<Entry, kByteKinds> starts_{};  // by the kind of the byte before
  Entry over_ = 0;
  Entry covering_ = 0;
  Entry others_ = 0;
  ByteMap columnOf_{};
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_MATCH_READER_H
