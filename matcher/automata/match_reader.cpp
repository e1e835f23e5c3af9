// Making the states of a reader. A state is a set of positions, the kind of the byte that one of them has matched, and
// whether a match has ended before it.

#include "matcher/automata/match_reader.h"

#include "matcher/costs.h"
#include "matcher/limits.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <utility>

namespace trovex {

class ReaderMaker {
 public:
  ReaderMaker(const PositionGraph& graph, CompileBudget& budget) : graph_(graph), budget_(budget) {}

  /// False where the states are too many.
  bool Make(MatchReader& reader);

 private:
  using Entry = MatchReader::Entry;

  struct State {
    std::vector<std::uint32_t> nodes;  // in ascending order; none: nothing goes on
    ByteKind kind = ByteKind::kOther;
    bool hasEnded = false;

    auto operator<=>(const State&) const = default;
  };

  /// In the order of rows.
  enum class Rank : unsigned char { kNowhere, kOver, kEnded, kCovering, kOther };

  Rank RankOf(std::size_t number) const;
  void WriteRows(MatchReader& reader) const;
  State Step(const State& from, unsigned char byte);
  std::size_t NumberOf(const State& state);
  State StartBehind(ByteKind kind) const { return {{graph_.Start()}, kind, false}; }
  bool CoversStart(std::size_t number) const;
  bool IsBarren(std::size_t number) const;
  std::size_t Stride() const { return static_cast<std::size_t>(graph_.classes); }

  const PositionGraph& graph_;
  CompileBudget& budget_;
  std::map<State, std::size_t> numbers_;
  std::vector<const State*> states_;            // by number: what the map holds
  std::vector<std::vector<std::size_t>> next_;  // by number and class
  std::array<std::size_t, kByteKinds> starts_{};
};

/// The state behind `byte`.
ReaderMaker::State ReaderMaker::Step(const State& from, unsigned char byte) {
  State to;
  const ByteKind kind = graph_.kindOf[byte];
  const Neighbours here = NeighbourBit(from.kind, kind);
  for (const std::uint32_t node : from.nodes) {
    to.hasEnded = to.hasEnded || (graph_.ends[node] & here) != 0;
    const auto edges = graph_.next[node];
    budget_.ChargeSteps(static_cast<std::int64_t>(edges.size()) + 1);
    for (const PositionEdge& edge : edges) {
      if ((edge.neighbours & here) != 0 && graph_.bytes[edge.position][byte])
        to.nodes.push_back(edge.position);
    }
  }
  std::sort(to.nodes.begin(), to.nodes.end());
  to.nodes.erase(std::unique(to.nodes.begin(), to.nodes.end()), to.nodes.end());
  if (!to.nodes.empty()) to.kind = kind;
  return to;
}

std::size_t ReaderMaker::NumberOf(const State& state) {
  const auto [place, isNew] = numbers_.emplace(state, states_.size());
  if (isNew) states_.push_back(&place->first);
  return place->second;
}

/// Whether a state goes on with each byte in all ways in which a match can begin in its place.
bool ReaderMaker::CoversStart(std::size_t number) const {
  const auto kind = static_cast<std::size_t>(states_[number]->kind);
  for (std::size_t c = 0; c < static_cast<std::size_t>(graph_.classes); ++c) {
    const State& own = *states_[next_[number][c]];
    const State& begun = *states_[next_[starts_[kind]][c]];
    budget_.ChargeSteps(static_cast<std::int64_t>(own.nodes.size() + begun.nodes.size()));
    if (begun.hasEnded && !own.hasEnded) return false;
    if (!std::includes(own.nodes.begin(), own.nodes.end(), begun.nodes.begin(), begun.nodes.end()))
      return false;
  }
  return true;
}

/// Whether nothing follows a state.
bool ReaderMaker::IsBarren(std::size_t number) const {
  return std::all_of(next_[number].begin(), next_[number].end(),
                     [](std::size_t next) { return next == 0; });
}

bool ReaderMaker::Make(MatchReader& reader) {
  NumberOf(State{});
  for (int kind = 0; kind < kByteKinds; ++kind)
    starts_[static_cast<std::size_t>(kind)] = NumberOf(StartBehind(static_cast<ByteKind>(kind)));
  for (std::size_t number = 0; number < states_.size(); ++number) {
    if (states_.size() * Stride() > kMaxReaderEntries) return false;
    budget_.ChargeSteps(kReaderStepsPerState);
    next_.emplace_back();
    for (int c = 0; c < graph_.classes; ++c) {
      const unsigned char byte = graph_.byteOfClass[static_cast<std::size_t>(c)];
      next_[number].push_back(NumberOf(Step(*states_[number], byte)));
    }
  }
  WriteRows(reader);
  return true;
}

/// What a state is by the order of its row.
ReaderMaker::Rank ReaderMaker::RankOf(std::size_t number) const {
  const State& state = *states_[number];
  if (state.nodes.empty()) return state.hasEnded ? Rank::kOver : Rank::kNowhere;
  if (state.hasEnded) return Rank::kEnded;
  return CoversStart(number) ? Rank::kCovering : Rank::kOther;
}

void ReaderMaker::WriteRows(MatchReader& reader) const {
  std::vector<Rank> ranks;
  for (std::size_t number = 0; number < states_.size(); ++number)
    ranks.push_back(RankOf(number));
  std::vector<std::size_t> order(states_.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return ranks[a] < ranks[b]; });
  std::vector<Entry> rowOf(states_.size());
  for (std::size_t i = 0; i < order.size(); ++i)
    rowOf[order[i]] = static_cast<Entry>(i * Stride());
  const auto firstFrom = [&](Rank rank) {
    const auto count = std::count_if(ranks.begin(), ranks.end(), [&](Rank r) { return r < rank; });
    return static_cast<Entry>(static_cast<std::size_t>(count) * Stride());
  };
  reader.over_ = static_cast<Entry>(firstFrom(Rank::kEnded) - Stride());
  reader.covering_ = firstFrom(Rank::kCovering);
  reader.others_ = firstFrom(Rank::kOther);
  for (const std::size_t number : order) {
    for (const std::size_t next : next_[number])
      reader.entries_.push_back(rowOf[next]);
  }
  for (std::size_t kind = 0; kind < starts_.size(); ++kind) {
    if (!IsBarren(starts_[kind])) reader.starts_[kind] = rowOf[starts_[kind]];
  }
  reader.columnOf_ = graph_.classOf;
}

std::optional<MatchReader> MatchReader::For(const PositionGraph& graph, CompileBudget& budget) {
  if (graph.classes > kMaxReaderClasses) return std::nullopt;
  CompileBudget part = budget.Part(kMaxReaderSteps, kMaxReaderBytes);
  std::optional<MatchReader> reader(std::in_place);
  try {
    if (!ReaderMaker(graph, part).Make(*reader)) reader.reset();
  } catch (const BudgetExhausted&) {
    reader.reset();
  }
  budget.ChargeSteps(part.StepsUsed());
  if (reader)
    budget.ChargeBytes(static_cast<std::int64_t>(reader->entries_.size() * sizeof(Entry)));
  return reader;
}

}  // namespace trovex
