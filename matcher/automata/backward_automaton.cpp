#include "matcher/automata/backward_automaton.h"

#include "matcher/costs.h"
#include "matcher/limits.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace trovex {

namespace {

using Byte = unsigned char;

// The tag of a state.
constexpr std::uint32_t kKindMask = 3;  // the kind of the byte after
constexpr std::uint32_t kStarted = 4;   // a match can start after the byte that led here

/// The entry of a state that could not be made.
constexpr StateCache::Entry kSpentEntry = std::numeric_limits<StateCache::Entry>::min();

/// A byte of `kind`, as far as a step beyond the edge of a stretch is concerned.
Byte ByteOf(const PositionGraph& graph, ByteKind kind) {
  if (kind == ByteKind::kNewline) return '\n';
  const auto* const byte = std::find(graph.kindOf.begin(), graph.kindOf.end(), kind);
  return static_cast<Byte>(byte - graph.kindOf.begin());
}

}  // namespace

BackwardAutomaton::BackwardAutomaton(const PositionGraph& graph, SearchCredit& credit)
    : graph_(graph), credit_(credit), seenIn_(graph.size, 0) {
  entry_.fill(-1);
}

BackwardAutomaton::Answer BackwardAutomaton::StartOfMatch(const Stretch& stretch, ByteKind after) {
  return Go(stretch, EntryState(graph_.End(), after));
}

BackwardAutomaton::Answer BackwardAutomaton::StartOfPrefix(const Stretch& stretch) {
  return Go(stretch, EntryState(Anything(), ByteKind::kOther));
}

/// The state that holds `node` alone.
BackwardAutomaton::Number BackwardAutomaton::EntryState(std::uint32_t node, ByteKind after) {
  if (generation_ != cache_.Generation()) {
    generation_ = cache_.Generation();
    entry_.fill(-1);
  }
  Number& entry = entry_[static_cast<std::size_t>(after) + (node == Anything() ? kByteKinds : 0)];
  if (entry < 0) entry = cache_.NumberOf({{node}, static_cast<std::uint32_t>(after)});
  return entry;
}

BackwardAutomaton::Answer BackwardAutomaton::Go(const Stretch& stretch, Number state) {
  const Byte* start = nullptr;
  const Byte* place = stretch.end;
  Entry row = StateCache::RowOf(state);
  for (;;) {
    const Entry* const entries = cache_.Entries();
    const std::uint32_t* const tags = cache_.Tags();
    Entry entry = 0;
    while (place != stretch.lowest && (entry = entries[row + *--place]) >= 0) {
      row = entry;
      start = (tags[row >> 8] & kStarted) != 0 ? place + 1 : start;
    }
    if (entry >= 0) break;
    if (entry == StateCache::kUnknownEntry) {
      entry = Resolve(StateCache::StateOf(row), *place);
      if (entry == kSpentEntry) return std::nullopt;
    }
    const Number reached = entry >= 0 ? StateCache::StateOf(entry) : StateCache::StoppedAt(entry);
    if ((cache_.At(reached).tag & kStarted) != 0) start = place + 1;
    if (entry < 0) {
      credit_.Spend(stretch.end - place);
      return start;
    }
    row = entry;
  }
  // The byte before the stretch is only a neighbour.
  if (!Step(StateCache::StateOf(row), ByteOf(graph_, stretch.beforeLowest), scratch_)) {
    return std::nullopt;
  }
  credit_.Spend(stretch.end - place);
  return (scratch_.tag & kStarted) != 0 ? stretch.lowest : start;
}

/// Fills in what `byte` does in state `from`, and all bytes of its class; unless the credit is spent.
StateCache::Entry BackwardAutomaton::Resolve(Number from, Byte byte) {
  credit_.Spend(kStateUnits);
  if (!Step(from, byte, scratch_)) return kSpentEntry;
  const unsigned generation = cache_.Generation();
  const Entry entry = EntryFor(cache_.NumberOf(scratch_));
  if (cache_.Generation() != generation) return entry;
  cache_.SetEntry(from, byte, graph_.classOf, entry);
  return entry;
}

/// Works out `to`, the state that `byte` leads to from `from`. Returns false if the credit is spent.
bool BackwardAutomaton::Step(Number from, Byte byte, StateCache::State& to) {
  const StateCache::State& source = cache_.At(from);
  const ByteKind kind = graph_.kindOf[byte];
  const Neighbours here = NeighbourBit(kind, static_cast<ByteKind>(source.tag & kKindMask));
  if (++steps_ == 0) std::fill(seenIn_.begin(), seenIn_.end(), steps_++);
  to.content.clear();
  to.tag = 0;
  const auto reach = [&](std::uint32_t position) {
    if (!graph_.bytes[position][byte]) return;
    if (std::exchange(seenIn_[position], steps_) == steps_) return;
    to.content.push_back(position);
  };
  for (const std::uint32_t node : source.content) {
    if (credit_.IsSpent()) return false;
    if (node == Anything()) {
      credit_.Spend(kEdgeUnits * graph_.size);
      for (std::uint32_t position = 0; position < graph_.size; ++position)
        reach(position);
      continue;
    }
    if ((graph_.starts[node] & here) != 0) to.tag |= kStarted;
    const std::span<const PositionEdge> edges = graph_.previous[node];
    credit_.Spend(kEdgeUnits * static_cast<std::int64_t>(edges.size()));
    for (const PositionEdge& edge : edges) {
      if ((edge.neighbours & here) != 0) reach(edge.position);
    }
  }
  std::sort(to.content.begin(), to.content.end());
  if (!to.content.empty()) to.tag |= static_cast<std::uint32_t>(kind);
  return true;
}

StateCache::Entry BackwardAutomaton::EntryFor(Number to) const {
  return cache_.At(to).content.empty() ? StateCache::StopAt(to) : StateCache::RowOf(to);
}

}  // namespace trovex
