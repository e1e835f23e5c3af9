#include "matcher/automata/forward_automaton.h"

#include <algorithm>
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

constexpr ByteKind KindIn(std::uint32_t tag) {
  return static_cast<ByteKind>(tag & kKindMask);
}

bool IsIdle(const StateCache::State& state) {
  return state.content.empty() && (state.tag & kHasMatch) == 0;
}

bool IsDead(const StateCache::State& state) {
  return state.content.empty() && (state.tag & kHasMatch) != 0;
}

}  // namespace

ForwardAutomaton::ForwardAutomaton(const PositionGraph& graph, bool stopsWhenIdle)
    : graph_(graph), stopsWhenIdle_(stopsWhenIdle), seenIn_(graph.size, 0) {
  idle_.fill(-1);
  for (std::size_t byte = byteOfClass_.size(); byte-- > 0;) {
    const int c = graph.classOf[byte];
    byteOfClass_[static_cast<std::size_t>(c)] = static_cast<Byte>(byte);
    classes_ = std::max(classes_, c + 1);
  }
}

// The road through the states.

ForwardAutomaton::Outcome ForwardAutomaton::Go(Run& run) {
  const Byte* next = run.place;
  Entry entry = StateCache::RowOf(IdleState(run.before, run.refusesLineEnd));
  if (!Search(run, next, entry)) {
    run.place = next;
    return next > run.textEnd ? Outcome::kEndOfText : Outcome::kIdle;
  }
  FinishMatch(run, next, StateCache::StoppedAt(entry));
  return Outcome::kMatch;
}

/// Reads on from the table that begins at `entry` until a first match has ended, and returns true;
/// `entry` then stops at the state behind it. Returns false where nothing has begun, or behind the end
/// of the text.
bool ForwardAutomaton::Search(Run& run, const Byte*& next, Entry& entry) {
  for (;;) {
    const Entry* const entries = cache_.Entries();
    Entry row = entry;
    const Byte* p = next;
    while ((entry = entries[row + *p++]) >= 0)
      row = entry;
    next = p;
    if (entry == StateCache::kUnknownEntry) {
      entry = Resolve(StateCache::StateOf(row), next[-1]);
      if (entry >= 0) continue;
    }
    const Number state = StateCache::StoppedAt(entry);
    if ((cache_.Tags()[state] & kHasMatch) != 0) return true;
    if (const PlaceScan* leap = LeapOf(state)) {
      next = leap->Find(next, run.textEnd + 1);
    } else if (next > run.textEnd || stopsWhenIdle_) {
      return false;
    }
    entry = StateCache::RowOf(state);
  }
}

/// Reads on from `state`, the first behind the end of a match, until no longer match is possible.
void ForwardAutomaton::FinishMatch(Run& run, const Byte* next, Number state) {
  NoteEnd(run, next - 1, cache_.Tags()[state]);
  const Byte* end = run.end;
  std::uintptr_t block = TextNotes::BlockOf(end);
  std::vector<TextNotes::Visit> sinceEnd;  // one in each block
  const unsigned generation = generation_;
  while (!IsDead(cache_.At(state))) {
    state = ReadOn(run, next, state);
    if (std::exchange(end, run.end) != run.end) sinceEnd.clear();
    if (run.notes == nullptr || std::exchange(block, TextNotes::BlockOf(next)) == block) continue;
    run.notes->BeginGeneration(generation_);
    if (run.notes->IsVain({next, state})) break;
    sinceEnd.emplace_back(next, state);
  }
  if (run.notes != nullptr && generation == generation_) run.notes->NoteVain(sinceEnd);
}

/// Reads on to where something is to be done, or to the end of the notes' block, and returns the state
/// there.
StateCache::Number ForwardAutomaton::ReadOn(Run& run, const Byte*& next, Number state) {
  const Entry* const entries = cache_.Entries();
  const std::uint32_t* const tags = cache_.Tags();
  if (const PlaceScan* leap = LeapOf(state)) {
    const Byte* const exit = leap->Find(next, run.textEnd + 1);
    if (exit > next) NoteEnd(run, exit - 1, tags[state]);
    next = exit;
  }
  const Byte* const blockEnd = TextNotes::BlockEnd(next);
  const Byte* end = nullptr;
  Entry endRow = 0;
  Entry row = StateCache::RowOf(state);
  Entry entry = row;
  while (next != blockEnd && (entry = entries[row + *next++]) >= 0) {
    row = entry;
    const bool ended = (tags[row >> 8] & kEnded) != 0;
    end = ended ? next - 1 : end;
    endRow = ended ? row : endRow;
  }
  if (end != nullptr) NoteEnd(run, end, tags[StateCache::StateOf(endRow)]);
  if (entry >= 0) return StateCache::StateOf(row);
  if (entry == StateCache::kUnknownEntry) {
    entry = Resolve(StateCache::StateOf(row), next[-1]);
  }
  state = entry >= 0 ? StateCache::StateOf(entry) : StateCache::StoppedAt(entry);
  NoteEnd(run, next - 1, cache_.Tags()[state]);
  return state;
}

/// Takes `end` for the end of the match if the state with `tag`, behind it, says so.
void ForwardAutomaton::NoteEnd(Run& run, const Byte* end, std::uint32_t tag) {
  if ((tag & kEnded) == 0) return;
  run.end = end;
  run.start = (tag & kEndedKnown) != 0 ? run.place : nullptr;
}

// Making states.

/// Fills in what `byte` does in state `from`, and all bytes of its class.
StateCache::Entry ForwardAutomaton::Resolve(Number from, Byte byte) {
  Step(from, byte, scratch_);
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

/// Works out `to`, the state that `byte` leads to from `from`.
void ForwardAutomaton::Step(Number from, Byte byte, StateCache::State& to) {
  const StateCache::State& source = cache_.At(from);
  const ByteKind kind = graph_.kindOf[byte];
  const Neighbours here = NeighbourBit(KindIn(source.tag), kind);
  const bool mayEnd = (source.tag & kRefusesLineEnd) == 0 || kind != ByteKind::kNewline;
  const bool mayStart = (source.tag & kHasMatch) == 0;
  const bool sourceIsIdle = IsIdle(source);
  if (++steps_ == 0) std::fill(seenIn_.begin(), seenIn_.end(), steps_++);
  to.content.clear();
  to.tag = source.tag & (kRefusesLineEnd | kHasMatch);

  bool isFirst = true;
  bool ended = false;
  const auto stepGroup = [&](const std::uint32_t* begin, const std::uint32_t* end, bool isOldest) {
    const std::size_t before = to.content.size();
    for (const std::uint32_t* node = begin; node != end; ++node) {
      ended = ended || (mayEnd && (graph_.ends[*node] & here) != 0);
      for (const PositionEdge& edge : graph_.next[*node]) {
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
    stepGroup(group, end, std::exchange(isOldest, false));
    group = end + 1;
  }
  const std::uint32_t start = graph_.Start();
  if (mayStart && !ended) stepGroup(&start, &start + 1, stopsWhenIdle_ && sourceIsIdle);
  if (!IsDead(to)) to.tag |= static_cast<std::uint32_t>(kind);
}

/// How a table of a state with `fromTag` leads to `to`.
StateCache::Entry ForwardAutomaton::EntryFor(std::uint32_t fromTag, Number to) const {
  const StateCache::State& state = cache_.At(to);
  const bool firstMatch = ((state.tag & ~fromTag) & kHasMatch) != 0;
  const bool stops = firstMatch || IsDead(state) || LeapOf(to) != nullptr ||
                     (IsIdle(state) && (stopsWhenIdle_ || KindIn(state.tag) == ByteKind::kNewline));
  return stops ? StateCache::StopAt(to) : StateCache::RowOf(to);
}

StateCache::Number ForwardAutomaton::IdleState(ByteKind before, bool refusesLineEnd) {
  const std::size_t slot = static_cast<std::size_t>(before) + (refusesLineEnd ? kByteKinds : 0);
  if (idle_[slot] < 0) {
    StateCache::State state;
    state.tag = static_cast<std::uint32_t>(before) | (refusesLineEnd ? kRefusesLineEnd : 0);
    const Number number = cache_.NumberOf(state);
    ForgetOldStates();
    idle_[slot] = number;
  }
  return idle_[slot];
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

const PlaceScan* ForwardAutomaton::LeapOf(Number state) const {
  const auto slot = static_cast<std::size_t>(state);
  return slot < leaps_.size() ? leaps_[slot].get() : nullptr;
}

/// Gives `state`, which some byte leads back to itself, a leap if only rare bytes lead elsewhere.
void ForwardAutomaton::ConsiderLeaps(Number state) {
  constexpr double kRare = 2'000;  // in 100,000
  const auto slot = static_cast<std::size_t>(state);
  if (slot < leapsConsidered_.size() && leapsConsidered_[slot]) return;
  if (IsIdle(cache_.At(state))) return;
  leaps_.resize(std::max(leaps_.size(), slot + 1));
  leapsConsidered_.resize(std::max(leapsConsidered_.size(), slot + 1), false);
  leapsConsidered_[slot] = true;

  const StateCache::State self = cache_.At(state);
  std::array<bool, 256> leaves{};
  StateCache::State to;
  for (int c = 0; c < classes_; ++c) {
    Step(state, byteOfClass_[static_cast<std::size_t>(c)], to);
    leaves[static_cast<std::size_t>(c)] = to != self;
  }
  Probe exits;
  for (std::size_t byte = 0; byte < exits.bytes.size(); ++byte)
    exits.bytes.set(byte, leaves[graph_.classOf[byte]]);
  // Newlines do not count: every state is left there.
  Probe rareExits = exits;
  rareExits.bytes.reset('\n');
  if (ExpectedRate({rareExits}) <= kRare) {
    leaps_[slot] = std::make_unique<PlaceScan>(Probes{exits});
  }
}

}  // namespace trovex
