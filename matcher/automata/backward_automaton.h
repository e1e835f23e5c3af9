// Reads a text backwards and says where what ends at a place can start.
//
// Two questions are answered, both with the leftmost place:
//
//   StartOfMatch    A match ends at this place: where does the longest one that ends here start? When
//                   the place is the end of the leftmost match, this is its start.
//   StartOfPrefix   From where on could the text up to this place be the beginning of a match?
//
// A state is the set of positions that can have matched the byte after the place that was reached.

#ifndef TROVEX_MATCHER_AUTOMATA_BACKWARD_AUTOMATON_H
#define TROVEX_MATCHER_AUTOMATA_BACKWARD_AUTOMATON_H

#include "matcher/automata/position_graph.h"
#include "matcher/automata/search_credit.h"
#include "matcher/automata/state_cache.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

class BackwardAutomaton {
 public:
  /// `graph` and `credit` must outlive the automaton.
  BackwardAutomaton(const PositionGraph& graph, SearchCredit& credit);

  /// What is read: the bytes from `lowest` to the place asked for, and of the neighbours the kinds.
  struct Stretch {
    const unsigned char* lowest;
    ByteKind beforeLowest;
    const unsigned char* end;
  };

  /// A place; null if there is none. Nothing if the credit was spent before it was known.
  using Answer = std::optional<const unsigned char*>;

  /// The leftmost start of a match that ends at the end of `stretch`, after which a byte of kind
  /// `after` stands.
  Answer StartOfMatch(const Stretch& stretch, ByteKind after);

  /// The leftmost place from which the rest of `stretch` can be the beginning of a match. Conditions on
  /// neighbours inside the stretch are not all looked at: the match may turn out impossible.
  Answer StartOfPrefix(const Stretch& stretch);

 private:
  using Number = StateCache::Number;
  using Entry = StateCache::Entry;

  Number EntryState(std::uint32_t node, ByteKind after);
  Answer Go(const Stretch& stretch, Number state);
  Entry Resolve(Number from, unsigned char byte);
  bool Step(Number from, unsigned char byte, StateCache::State& to);
  Entry EntryFor(Number to) const;

  std::uint32_t Anything() const { return graph_.size + 1; }

  const PositionGraph& graph_;
  SearchCredit& credit_;
  StateCache cache_;
  unsigned generation_ = 0;                                  // of the cache, to which belong
  std::array<Number, std::size_t{2} * kByteKinds> entry_{};  // the states in which runs begin
  StateCache::State scratch_;
  std::vector<std::uint32_t> seenIn_;  // by position: the step in which it was last reached
  std::uint32_t steps_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_BACKWARD_AUTOMATON_H
