// All matches on a line in time that grows with the line and no faster, whatever the pattern and the
// text: the road that is taken where the automata would have to make too many states, or to read on too
// far after too many matches.
//
// The line is read backwards first. At every place this gives the nodes of the graph after which the
// rest of the line holds the end of a match: its hopes. Where the start is among them, a match starts.
// Read forwards from there, nothing needs to be followed that is not among the hopes of its place; so a
// search goes no further than the end of its match, and the next one begins there.
//
//   a.*z|a in "aaz a"   hopes at 3, after the z: the z itself, for which a match can end here
//                       at 1 and 2: the start, the first a, the dot; at 0: the start; at 4: the start,
//                       at 5: the last a
//                       forwards from 0: a, a and dot, z: "aaz" ends at 3, where no hope is left
//
// The hopes of all places would be too much to keep for a long line. They are kept at one place in so
// many, and what lies between two of these is worked out again when a match is looked for there.

#ifndef TROVEX_MATCHER_AUTOMATA_LINE_SEARCH_H
#define TROVEX_MATCHER_AUTOMATA_LINE_SEARCH_H

#include "matcher/automata/position_graph.h"
#include "matcher/automata/position_simulation.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

class LineSearch {
 public:
  /// `graph` must outlive the search.
  explicit LineSearch(const PositionGraph& graph);

  /// Whether a step costs more than a search may spend: nothing else may then be called.
  bool IsTooCostly() const { return simulation_.IsTooCostly(); }
  /// What a step over a byte costs, in units of work.
  std::int64_t StepCost() const { return simulation_.StepCost(); }
  /// What reading `length` bytes costs, in units of work.
  std::int64_t CostOf(std::size_t length) const {
    return static_cast<std::int64_t>(length + 16) * 2 * simulation_.StepCost();
  }

  /// Reads a line, or the rest of one: from `begin`, where a byte of kind `before` stands before, to
  /// `end`, where the line ends. With `refusesEnd` no match may end there. Returns false where it is too
  /// long for what may be kept of it; nothing is then prepared.
  bool Prepare(const unsigned char* begin, const unsigned char* end, ByteKind before,
               bool refusesEnd);

  /// Whether what was read last holds `place`.
  bool Covers(const unsigned char* place, bool refusesEnd) const {
    return begin_ != nullptr && begin_ <= place && place <= end_ && refusesEnd == refusesEnd_;
  }
  /// The end of the line that was read last.
  const unsigned char* LineEnd() const { return end_; }
  /// Forgets the line.
  void Forget() { begin_ = nullptr; }

  struct Match {
    const unsigned char* start = nullptr;  // null: there is none
    const unsigned char* end = nullptr;
  };

  /// The leftmost match that starts at `place` or later, of those the longest. A byte of kind `before`
  /// stands before `place`. With `refusesEmpty` no empty one counts at `place` itself.
  Match Find(const unsigned char* place, ByteKind before, bool refusesEmpty);

 private:
  using Byte = unsigned char;
  using Word = PositionSimulation::Word;

  Match MatchAt(std::size_t place, ByteKind before, bool refusesEmpty);
  std::size_t NextStart(std::size_t place) const;
  void StepBack(std::size_t place, const Word* from, Word* to);
  const Word* HopesAt(std::size_t place);
  unsigned PairAt(std::size_t place, ByteKind before) const;
  ByteKind KindBefore(std::size_t place) const;
  bool EndsHere(const Word* set, std::size_t place, unsigned pair) const;

  const PositionGraph& graph_;
  const PositionSimulation simulation_;

  const Byte* begin_ = nullptr;  // null: nothing is prepared
  const Byte* end_ = nullptr;
  std::size_t length_ = 0;
  ByteKind before_ = ByteKind::kNewline;
  bool refusesEnd_ = false;
  std::vector<std::uint64_t> starts_;  // a bit for each place at which a match starts

  std::size_t blockSize_ = 1;
  std::vector<Word> kept_;       // the hopes at every multiple of `blockSize_`
  std::vector<Word> block_;      // those of one block and of the first place after it
  std::size_t blockNumber_ = 0;  // which block that is
  bool hasBlock_ = false;
  std::vector<Word> scratch_;
  std::vector<Word> current_;
  std::vector<Word> following_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_LINE_SEARCH_H
