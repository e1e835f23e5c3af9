// Reads a text forwards and says where its leftmost match ends, and mostly where it starts.
//
// A state keeps the positions that may be matched next apart by where their match would start: a list
// of groups, the group of the earliest start first. A position that two groups share belongs to the
// earlier one, which makes the same of it. At every place the groups are asked in this order whether
// a match ends there. The first that says yes settles that no later start counts: the groups after it
// are dropped, and no new one is opened. Only longer matches of that start, or of an earlier one, can
// replace it. When no group is left, the latest match is the leftmost, and of those the longest.
//
//   "abcd|c" in "xabcx"    after "ab" the group of the start at a waits for c. At c a second group
//                          is opened, and a match ends: the second group is all that is left but
//                          the first, which waits for d. The x ends both; the match is "c".
//
//   place   byte   groups before it               what happens
//   0       x      none                           idle
//   1       a      none                           a group for the start at 1: a
//   2       b      [a]                            b
//   3       c      [b]                            c; a group for the start at 3: c (the second c)
//   4       x      [c] [c']                       after c' a match may end: it started at 3, so no
//                                                 new group is opened. Nothing matches x: dead
//
// Whether a match ends at a place depends on the byte after it, so each step says of the place
// before the byte it reads.
//
// Without a group nothing has begun: the automaton is idle. Where a faster way to the next place that
// is worth a look exists, it stops there and leaves that way to its owner; it then knows where the
// earliest group started, as long as that group lives. Where it stays in one state over all but a few
// rare bytes, as ".*" does, it leaps to the next of these.

#ifndef TROVEX_MATCHER_AUTOMATA_FORWARD_AUTOMATON_H
#define TROVEX_MATCHER_AUTOMATA_FORWARD_AUTOMATON_H

#include "matcher/automata/position_graph.h"
#include "matcher/automata/search_credit.h"
#include "matcher/automata/state_cache.h"
#include "matcher/scan/place_scan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace trovex {

class ForwardAutomaton {
 public:
  /// `graph` and `credit` must outlive the automaton. With `stopsWhenIdle` a run ends where nothing has
  /// begun; otherwise it goes on to the first match.
  ForwardAutomaton(const PositionGraph& graph, bool stopsWhenIdle, SearchCredit& credit);

  enum class Outcome {
    kMatch,
    kIdle,
    kEndOfText,
    kSpent,  // the credit ended while a state was made: nothing is known of `place` and what follows
  };

  /// What a run is told, and what it tells.
  struct Run {
    /// The place from which matches may start. Afterwards, with `kIdle`, the first place from which
    /// they may start that has not been tried.
    const unsigned char* place;
    /// The end of the text, which counts as a newline.
    const unsigned char* textEnd;
    /// With `kMatch`: where the match starts; null if that has to be looked for. Not beside `end`: the two
    /// are stored one by one, and a processor waits where both are then read at once.
    const unsigned char* start = nullptr;
    /// The kind of the byte before `place`.
    ByteKind before;
    /// Whether a match may not end at a newline.
    bool refusesLineEnd = false;
    /// Whether a match at `place` may not be empty.
    bool refusesEmpty = false;
    /// Whether matches may start at `place` alone. There are then far fewer states where counts are
    /// large, but what lies after a place may be read again for the next. Needs `stopsWhenIdle`.
    bool startsAtPlace = false;

    /// With `kMatch`: where the match ends.
    const unsigned char* end = nullptr;
  };

  Outcome Go(Run& run);

 private:
  using Number = StateCache::Number;
  using Entry = StateCache::Entry;
  using Byte = unsigned char;

  /// How far a run has read.
  struct Reader {
    const Byte* next;
    const Byte* textEnd;
    bool isOver = false;  // also the newline at the end of the text was read

    /// The byte read last, and its place.
    Byte LastByte() const { return isOver ? Byte{'\n'} : next[-1]; }
    const Byte* LastPlace() const { return isOver ? textEnd : next - 1; }
  };

  Outcome Search(Reader& reader, Number& state);
  Outcome FinishMatch(Run& run, Reader& reader, Number state);
  bool ReadOn(Run& run, Reader& reader, Number& state);
  static void Leap(const PlaceScan& leap, Reader& reader);
  static void NoteEnd(Run& run, const Byte* end, std::uint32_t tag);

  Entry Resolve(Number from, Byte byte);
  bool Step(Number from, Byte byte, StateCache::State& to);
  Entry EntryFor(std::uint32_t fromTag, Number to) const;
  Number IdleState(const Run& run);
  Number MakeIdleState(const Run& run, std::size_t slot);
  void ConsiderLeaps(Number state);
  const PlaceScan* LeapOf(Number state) const;
  void ForgetOldStates();

  const PositionGraph& graph_;
  const bool stopsWhenIdle_;
  SearchCredit& credit_;
  StateCache cache_;
  unsigned generation_ = 0;                        // of the cache, to which what follows belongs
  std::array<Number, 32> idle_{};                  // by kind and by what the run refuses
  std::vector<std::unique_ptr<PlaceScan>> leaps_;  // by state; null: none
  std::vector<bool> leapsConsidered_;              // by state

  StateCache::State scratch_;
  std::vector<std::uint32_t> seenIn_;  // by position: the step in which it was last reached
  std::uint32_t steps_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_FORWARD_AUTOMATON_H
