#include "matcher/automata/forward_automaton.h"

#include "matcher/costs.h"
#include "matcher/limits.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace trovex {

namespace {

using Byte = unsigned char;

constexpr std::uint32_t kEndOfGroup = UINT32_MAX;

// The tag of a state.
constexpr std::uint32_t kKindMask = 3;         // the kind of the byte that led here
constexpr std::uint32_t kHasMatch = 4;         // a match has ended: no new start counts
constexpr std::uint32_t kKnowsStart = 8;       // the first group started where the run did
constexpr std::uint32_t kEnded = 16;           // a match ended before the byte that led here ...
constexpr std::uint32_t kEndedKnown = 32;      // ... and it started where the run did
constexpr std::uint32_t kRefusesLineEnd = 64;  // see Run::refusesLineEnd
constexpr std::uint32_t kRefusesEmpty = 128;   // see Run::refusesEmpty
constexpr std::uint32_t kStartsHere = 256;     // see Run::startsAtPlace: the place itself ...
constexpr std::uint32_t kStartsNoMore = 512;   // ... and what is after it
constexpr std::uint32_t kDead = 1024;          // a match has ended, and no longer one is possible

/// The entry of a state that could not be made.
constexpr StateCache::Entry kSpentEntry = std::numeric_limits<StateCache::Entry>::min();

constexpr ByteKind KindIn(std::uint32_t tag) {
  return static_cast<ByteKind>(tag & kKindMask);
}

bool IsIdle(const StateCache::State& state) {
  return state.content.empty() && (state.tag & kHasMatch) == 0;
}

bool IsDead(const StateCache::State& state) {
  return (state.tag & kDead) != 0;
}

}  // namespace

ForwardAutomaton::ForwardAutomaton(const PositionGraph& graph, bool stopsWhenIdle,
                                   SearchCredit& credit)
    : graph_(graph), stopsWhenIdle_(stopsWhenIdle), credit_(credit), seenIn_(graph.size, 0) {
  idle_.fill(-1);
}

// Running through the states.

/// Reads on from `state` until a first match has ended; `state` is then the one after it. Or to where
/// nothing has begun, or after the end of the text.
inline ForwardAutomaton::Outcome ForwardAutomaton::Search(Reader& reader, Number& state) {
  for (Entry row = StateCache::RowOf(state);;) {
    const Entry* const entries = cache_.Entries();
    const Byte* const end = reader.textEnd;
    const Byte* p = reader.next;
    Entry entry = row;
    while (p != end && (entry = entries[row + *p++]) >= 0)
      row = entry;
    reader.next = p;
    if (entry >= 0) {
      reader.isOver = true;
      entry = entries[row + '\n'];
    }
    if (entry == StateCache::kUnknownEntry) {
      entry = Resolve(StateCache::StateOf(row), reader.LastByte());
      if (entry == kSpentEntry) return Outcome::kSpent;
      if (entry >= 0) {
        row = entry;
        continue;
      }
    }
    state = StateCache::StoppedAt(entry);
    if ((cache_.Tags()[state] & kHasMatch) != 0) return Outcome::kMatch;
    if (reader.isOver) return Outcome::kEndOfText;
    if (const PlaceScan* leap = LeapOf(state)) {
      Leap(*leap, reader);
    } else if (stopsWhenIdle_) {
      return Outcome::kIdle;
    }
    row = StateCache::RowOf(state);
  }
}

/// Goes on to the next byte that leads out of a state.
void ForwardAutomaton::Leap(const PlaceScan& leap, Reader& reader) {
  const Byte* const exit = leap.Find(reader.next, reader.textEnd);
  reader.next = exit != nullptr ? exit : reader.textEnd;
}

/// Reads on from `state`, the first after the end of a match, until no longer match is possible.
inline ForwardAutomaton::Outcome ForwardAutomaton::FinishMatch(Run& run, Reader& reader,
                                                               Number state) {
  NoteEnd(run, reader.LastPlace(), cache_.Tags()[state]);
  while ((cache_.Tags()[state] & kDead) == 0) {
    if (!ReadOn(run, reader, state)) return Outcome::kSpent;
  }
  credit_.Spend(reader.LastPlace() - run.end);
  return Outcome::kMatch;
}

/// Reads on from `state` to where something is to be done; `state` is then the one there. Returns false
/// if the credit is spent.
inline bool ForwardAutomaton::ReadOn(Run& run, Reader& reader, Number& state) {
  const Entry* const entries = cache_.Entries();
  const std::uint32_t* const tags = cache_.Tags();
  if (const PlaceScan* leap = LeapOf(state)) {
    const Byte* const from = reader.next;
    Leap(*leap, reader);
    if (reader.next > from) NoteEnd(run, reader.next - 1, tags[state]);
  }
  const Byte* const textEnd = reader.textEnd;
  const Byte* next = reader.next;
  const Byte* end = nullptr;
  Entry endRow = 0;
  Entry row = StateCache::RowOf(state);
  Entry entry = row;
  while (next != textEnd && (entry = entries[row + *next++]) >= 0) {
    row = entry;
    const bool ended = (tags[row >> 8] & kEnded) != 0;
    end = ended ? next - 1 : end;
    endRow = ended ? row : endRow;
  }
  reader.next = next;
  if (end != nullptr) NoteEnd(run, end, tags[StateCache::StateOf(endRow)]);
  if (entry >= 0) {
    reader.isOver = true;
    entry = entries[row + '\n'];
  }
  if (entry == StateCache::kUnknownEntry) {
    entry = Resolve(StateCache::StateOf(row), reader.LastByte());
    if (entry == kSpentEntry) return false;
  }
  state = entry >= 0 ? StateCache::StateOf(entry) : StateCache::StoppedAt(entry);
  NoteEnd(run, reader.LastPlace(), cache_.Tags()[state]);
  return true;
}

/// Takes `end` for the end of the match if the state with `tag`, after it, says so.
inline void ForwardAutomaton::NoteEnd(Run& run, const Byte* end, std::uint32_t tag) {
  if ((tag & kEnded) == 0) return;
  run.end = end;
  run.start = (tag & kEndedKnown) != 0 ? run.place : nullptr;
}

ForwardAutomaton::Outcome ForwardAutomaton::Go(Run& run) {
  Reader reader = {run.place, run.textEnd};
  Number state = IdleState(run);
  const Outcome outcome = Search(reader, state);
  if (outcome == Outcome::kMatch) return FinishMatch(run, reader, state);
  if (outcome == Outcome::kSpent) return outcome;
  if (!run.startsAtPlace) {
    run.place = reader.next;
    return outcome;
  }
  credit_.Spend(reader.next - run.place);
  if (run.place == run.textEnd) return Outcome::kEndOfText;
  ++run.place;
  return Outcome::kIdle;
}

// Making states.

/// Fills in what `byte` does in state `from`, and all bytes of its class; unless the credit is spent.
StateCache::Entry ForwardAutomaton::Resolve(Number from, Byte byte) {
  credit_.Spend(kStateUnits);
  if (!Step(from, byte, scratch_)) return kSpentEntry;
  const std::uint32_t fromTag = cache_.At(from).tag;
  const Number to = cache_.NumberOf(scratch_);
  if (cache_.Generation() != generation_) {
    ForgetOldStates();
    return EntryFor(fromTag, to);
  }
  if (to == from) ConsiderLeaps(from);
  const Entry entry = EntryFor(fromTag, to);
  cache_.SetEntry(from, byte, graph_.classOf, entry);
  return entry;
}

/// Works out `to`, the state that `byte` leads to from `from`. Returns false if the credit is spent.
bool ForwardAutomaton::Step(Number from, Byte byte, StateCache::State& to) {
  const StateCache::State& source = cache_.At(from);
  const ByteKind kind = graph_.kindOf[byte];
  const Neighbours here = NeighbourBit(KindIn(source.tag), kind);
  const bool mayEnd = (source.tag & kRefusesLineEnd) == 0 || kind != ByteKind::kNewline;
  const bool mayStart = (source.tag & (kHasMatch | kStartsNoMore)) == 0;
  const bool sourceIsIdle = IsIdle(source);
  if (++steps_ == 0) std::fill(seenIn_.begin(), seenIn_.end(), steps_++);
  to.content.clear();
  to.tag = source.tag & (kRefusesLineEnd | kHasMatch | kStartsNoMore);
  if ((source.tag & kStartsHere) != 0) to.tag |= kStartsNoMore;
  const bool mayBeEmpty = mayEnd && (source.tag & kRefusesEmpty) == 0;

  bool isFirst = true;
  bool ended = false;
  const auto stepGroup = [&](const std::uint32_t* begin, const std::uint32_t* end, bool isOldest,
                             bool canEnd) {
    const std::size_t before = to.content.size();
    for (const std::uint32_t* node = begin; node != end && !credit_.IsSpent(); ++node) {
      ended = ended || (canEnd && (graph_.ends[*node] & here) != 0);
      const std::span<const PositionEdge> edges = graph_.next[*node];
      credit_.Spend(kEdgeUnits * static_cast<std::int64_t>(edges.size()));
      for (const PositionEdge& edge : edges) {
        if ((edge.neighbours & here) == 0 || !graph_.bytes[edge.position][byte]) continue;
        if (std::exchange(seenIn_[edge.position], steps_) == steps_) continue;
        to.content.push_back(edge.position);
      }
    }
    if (to.content.size() > before) {
      std::sort(to.content.begin() + static_cast<std::ptrdiff_t>(before), to.content.end());
      to.content.push_back(kEndOfGroup);
      if (isFirst && isOldest) to.tag |= kKnowsStart;
      isFirst = false;
    }
    if (ended) to.tag |= kHasMatch | kEnded | (isOldest ? kEndedKnown : 0);
  };

  const std::uint32_t* group = source.content.data();
  const std::uint32_t* const last = group + source.content.size();
  bool isOldest = (source.tag & kKnowsStart) != 0;
  while (group != last && !ended) {
    const std::uint32_t* const end = std::find(group, last, kEndOfGroup);
    stepGroup(group, end, std::exchange(isOldest, false), mayEnd);
    group = end + 1;
  }
  const std::uint32_t start = graph_.Start();
  if (mayStart && !ended) {
    stepGroup(&start, &start + 1, stopsWhenIdle_ && sourceIsIdle, mayBeEmpty);
  }
  const bool isDead = to.content.empty() && (to.tag & kHasMatch) != 0;
  to.tag |= isDead ? kDead : static_cast<std::uint32_t>(kind);
  return !credit_.IsSpent();
}

/// How a table of a state with `fromTag` leads to `to`.
StateCache::Entry ForwardAutomaton::EntryFor(std::uint32_t fromTag, Number to) const {
  const StateCache::State& state = cache_.At(to);
  const bool firstMatch = ((state.tag & ~fromTag) & kHasMatch) != 0;
  const bool stops = firstMatch || IsDead(state) || LeapOf(to) != nullptr ||
                     (IsIdle(state) && (stopsWhenIdle_ || KindIn(state.tag) == ByteKind::kNewline));
  return stops ? StateCache::StopAt(to) : StateCache::RowOf(to);
}

/// The state in which `run` begins.
inline StateCache::Number ForwardAutomaton::IdleState(const Run& run) {
  const unsigned slot = static_cast<unsigned>(run.before) | unsigned{run.refusesLineEnd} << 2 |
                        unsigned{run.refusesEmpty} << 3 | unsigned{run.startsAtPlace} << 4;
  const Number known = idle_[slot];
  return known >= 0 ? known : MakeIdleState(run, slot);
}

StateCache::Number ForwardAutomaton::MakeIdleState(const Run& run, std::size_t slot) {
  StateCache::State state;
  state.tag = static_cast<std::uint32_t>(run.before);
  if (run.refusesLineEnd) state.tag |= kRefusesLineEnd;
  if (run.refusesEmpty) state.tag |= kRefusesEmpty;
  if (run.startsAtPlace) state.tag |= kStartsHere;
  const Number number = cache_.NumberOf(state);
  ForgetOldStates();
  return idle_[slot] = number;
}

/// Drops what belongs to states that the cache has thrown away.
void ForwardAutomaton::ForgetOldStates() {
  if (generation_ == cache_.Generation()) return;
  generation_ = cache_.Generation();
  idle_.fill(-1);
  leaps_.clear();
  leapsConsidered_.clear();
}

// Leaps.

inline const PlaceScan* ForwardAutomaton::LeapOf(Number state) const {
  const auto slot = static_cast<std::size_t>(state);
  return slot < leaps_.size() ? leaps_[slot].get() : nullptr;
}

/// Gives `state`, which some byte leads back to itself, a leap if only rare bytes lead elsewhere. Where a scan finds the
/// places at which matches may start, it leads on from where nothing has begun; where none does, as of "^$", a leap.
void ForwardAutomaton::ConsiderLeaps(Number state) {
  const auto slot = static_cast<std::size_t>(state);
  if (slot < leapsConsidered_.size() && leapsConsidered_[slot]) return;
  if (stopsWhenIdle_ && IsIdle(cache_.At(state))) return;
  leaps_.resize(std::max(leaps_.size(), slot + 1));
  leapsConsidered_.resize(std::max(leapsConsidered_.size(), slot + 1), false);
  leapsConsidered_[slot] = true;

  const StateCache::State self = cache_.At(state);
  std::array<bool, 256> leaves{};
  StateCache::State to;
  for (std::size_t c = 0; c < static_cast<std::size_t>(graph_.classes); ++c) {
    if (!Step(state, graph_.byteOfClass[c], to)) return;
    leaves[c] = to != self;
  }
  Probe exits;
  for (std::size_t byte = 0; byte < exits.bytes.size(); ++byte)
    exits.bytes.set(byte, leaves[graph_.classOf[byte]]);
  // Newlines do not count: every state is left there.
  Probe rareExits = exits;
  rareExits.bytes.reset('\n');
  if (ExpectedRate({rareExits}) <= kRareExit) {
    leaps_[slot] = std::make_unique<PlaceScan>(Probes{exits});
  }
}

}  // namespace trovex
