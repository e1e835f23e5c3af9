// The states of a deterministic automaton that is made while texts are read, and their tables.
//
// A state is whatever its owner says: a list of numbers, and a tag of a few bits. Each state has a
// table with an entry for every byte. An entry is filled in when a text first needs it; what is made
// is what texts come by. The number of states can be exponential in the pattern, so it is bounded:
// beyond the bound all of them are thrown away, and those that the text still comes by are made anew.
//
// The tables lie one after the other, so that an entry leads straight to the next table and the loop
// over a text is  row = entries[row + byte].  It ends at an entry below zero:
//
//   kUnknownEntry   not filled in yet
//   StopAt(state)   something is to be done in this state, or nothing follows it

#ifndef TROVEX_MATCHER_AUTOMATA_STATE_CACHE_H
#define TROVEX_MATCHER_AUTOMATA_STATE_CACHE_H

#include "text/byte_map.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace trovex {

class StateCache {
 public:
  using Number = std::int32_t;
  using Entry = std::int32_t;

  struct State {
    std::vector<std::uint32_t> content;
    std::uint32_t tag = 0;

    bool operator==(const State&) const = default;
  };

  static constexpr Entry kUnknownEntry = -1;
  static constexpr Entry StopAt(Number state) { return -2 - state; }
  static constexpr Number StoppedAt(Entry entry) { return -2 - entry; }
  static constexpr Entry RowOf(Number state) { return state << 8; }
  static constexpr Number StateOf(Entry row) { return row >> 8; }

  /// The number of `state`, which is made if there is none yet. All others may be gone afterwards:
  /// `Generation` tells. Throws nothing but std::bad_alloc, and is then as usable as before.
  Number NumberOf(const State& state);

  const State& At(Number state) const { return states_[static_cast<std::size_t>(state)]; }
  Number Count() const { return static_cast<Number>(states_.size()); }

  /// The entries of all tables; valid until a state is made.
  Entry* Entries() { return entries_.data(); }
  /// Makes `entry` what `byte` does in `state`, and every byte of its class in `classes`.
  void SetEntry(Number state, unsigned char byte, const ByteMap& classes, Entry entry);

  /// The tags, by state; valid until a state is made.
  const std::uint32_t* Tags() const { return tags_.data(); }

  /// How many times all states were thrown away.
  unsigned Generation() const { return generation_; }

 private:
  void Clear();

  std::vector<State> states_;
  std::vector<std::uint32_t> tags_;
  std::vector<Entry> entries_;
  std::unordered_multimap<std::size_t, Number> byHash_;
  std::size_t heldNumbers_ = 0;  // in the contents of all states
  unsigned generation_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_STATE_CACHE_H
