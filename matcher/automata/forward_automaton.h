// Reads a text forwards and says where its leftmost match ends, and mostly where it starts.
//
// A state keeps the positions that may be matched next apart by where their match would start: a list
// of groups, the group of the earliest start first. A position that two groups share belongs to the
// earlier one, which makes the same of it. At every place the groups are asked in this order whether
// a match ends there. The first that says yes settles that no later start counts: the groups behind it
// are dropped, and no new one is opened. Only longer matches of that start, or of an earlier one, can
// replace it. When no group is left, the latest match is the leftmost, and of those the longest.
//
//   "abcd|c" in "xabcx"    behind "ab" the group of the start at a waits for c. At c a second group
//                          is opened, and a match ends: the second group is all that is left but
//                          the first, which waits for d. The x ends both; the match is "c".
//
// Whether a match ends at a place depends on the byte behind it, so each step says of the place
// before the byte it reads.
//
// Without a group nothing has begun: the automaton is idle. Where a faster way to the next place that
// is worth a look exists, it stops there and leaves that way to its owner; it then knows where the
// earliest group started, as long as that group lives. Where it stays in one state over all but a few
// rare bytes, as ".*" does, it leaps to the next of these.

#ifndef TROVEX_MATCHER_AUTOMATA_FORWARD_AUTOMATON_H
#define TROVEX_MATCHER_AUTOMATA_FORWARD_AUTOMATON_H

#include "matcher/automata/position_graph.h"
#include "matcher/automata/state_cache.h"
#include "matcher/automata/text_notes.h"
#include "matcher/scan/place_scan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace trovex {

class ForwardAutomaton {
 public:
  /// `graph` must outlive the automaton. With `stopsWhenIdle` a run ends where nothing has begun;
  /// otherwise it goes on to the first match.
  ForwardAutomaton(const PositionGraph& graph, bool stopsWhenIdle);

  enum class Outcome { kMatch, kIdle, kEndOfText };

  /// What a run is told, and what it tells.
  struct Run {
    /// The place from which matches may start. Afterwards, with `kIdle`, the first place from which
    /// they may start that has not been tried.
    const unsigned char* place;
    /// The end of the text; the byte there is a newline.
    const unsigned char* textEnd;
    /// The kind of the byte before `place`.
    ByteKind before;
    /// Whether a match may not end at a newline.
    bool refusesLineEnd = false;
    /// Notes of the searches of this text; may be null.
    TextNotes* notes = nullptr;

    /// With `kMatch`: where the match lies; its start is null if it has to be looked for.
    const unsigned char* start = nullptr;
    const unsigned char* end = nullptr;
  };

  Outcome Go(Run& run);

 private:
  using Number = StateCache::Number;
  using Entry = StateCache::Entry;

  bool Search(Run& run, const unsigned char*& next, Entry& entry);
  void FinishMatch(Run& run, const unsigned char* next, Number state);
  Number ReadOn(Run& run, const unsigned char*& next, Number state);
  static void NoteEnd(Run& run, const unsigned char* end, std::uint32_t tag);

  Entry Resolve(Number from, unsigned char byte);
  void Step(Number from, unsigned char byte, StateCache::State& to);
  Entry EntryFor(std::uint32_t fromTag, Number to) const;
  Number IdleState(ByteKind before, bool refusesLineEnd);
  void ConsiderLeaps(Number state);
  const PlaceScan* LeapOf(Number state) const;
  void ForgetOldStates();

  const PositionGraph& graph_;
  const bool stopsWhenIdle_;
  StateCache cache_;
  unsigned generation_ = 0;  // of the cache, to which what follows belongs
  std::array<Number, std::size_t{2} * kByteKinds> idle_{};
  std::vector<std::unique_ptr<PlaceScan>> leaps_;  // by state; null: none
  std::vector<bool> leapsConsidered_;              // by state
  std::array<unsigned char, 256> byteOfClass_{};   // a byte of each class
  int classes_ = 0;

  StateCache::State scratch_;
  std::vector<std::uint32_t> seenIn_;  // by position: the step in which it was last reached
  std::uint32_t steps_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_FORWARD_AUTOMATON_H
