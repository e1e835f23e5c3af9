#include "matcher/automata/position_simulation.h"

#include "matcher/costs.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <utility>

namespace trovex {

namespace {

using Word = PositionSimulation::Word;

constexpr std::size_t kBits = 64;

/// The bits that a shift to the left takes out of a word.
Word Carried(Word word, unsigned distance) {
  return distance == 0 ? 0 : word >> (kBits - distance);
}

void SetBit(Word* set, std::size_t bit) {
  set[bit / kBits] |= Word{1} << (bit % kBits);
}

/// The nodes on one side of a group, under its condition.
using Side = std::pair<Neighbours, std::vector<std::uint32_t>>;
/// Nodes by what they have in common.
using Sides = std::map<Side, std::vector<std::uint32_t>>;

/// Adds `node` to `side`'s nodes, which are those of one node at the other side of edges.
void AddToSide(Neighbours neighbours, std::uint32_t node, std::vector<Side>& sides) {
  const auto same = std::find_if(sides.begin(), sides.end(),
                                 [&](const Side& side) { return side.first == neighbours; });
  if (same != sides.end()) {
    same->second.push_back(node);
  } else {
    sides.push_back({neighbours, {node}});
  }
}

/// Whether an edge over `distance` positions is one of those that are shifts.
bool IsShift(const std::vector<std::uint32_t>& distances, std::uint32_t node,
             const PositionEdge& edge) {
  if (edge.neighbours != kAnyNeighbours || edge.position < node) return false;
  const std::uint32_t distance = edge.position - node;
  return std::find(distances.begin(), distances.end(), distance) != distances.end();
}

/// What all other edges lead from and to, for nodes with the same edges onwards, or, if `byTargets`,
/// for positions with the same edges into them.
Sides GroupEdges(const PositionGraph& graph, const std::vector<std::uint32_t>& distances,
                 bool byTargets) {
  std::vector<std::vector<Side>> others(graph.size + 1);
  for (std::uint32_t node = 0; node <= graph.size; ++node) {
    for (const PositionEdge& edge : graph.next[node]) {
      if (edge.neighbours == 0 || IsShift(distances, node, edge)) continue;
      const std::uint32_t key = byTargets ? edge.position : node;
      AddToSide(edge.neighbours, byTargets ? node : edge.position, others[key]);
    }
  }
  Sides sides;
  for (std::uint32_t node = 0; node <= graph.size; ++node) {
    for (Side& side : others[node])
      sides[std::move(side)].push_back(node);
  }
  return sides;
}

/// How many words the bits of `nodes` lie in.
std::int64_t Span(const std::vector<std::uint32_t>& nodes) {
  const auto [least, greatest] = std::minmax_element(nodes.begin(), nodes.end());
  return static_cast<std::int64_t>(*greatest / kBits - *least / kBits + 1);
}

std::int64_t CostOf(const Sides& sides) {
  std::int64_t cost = 0;
  for (const auto& [side, nodes] : sides)
    cost += kSimulatedGroupCost + (Span(side.second) + Span(nodes)) / 2;
  return cost;
}

/// The distances over which so many edges lead that a shift costs less than groups of them.
std::vector<std::uint32_t> CommonDistances(const PositionGraph& graph) {
  std::array<std::uint32_t, kBits> counts{};
  for (std::uint32_t node = 0; node < graph.size; ++node) {
    for (const PositionEdge& edge : graph.next[node]) {
      const bool isForwards = edge.neighbours == kAnyNeighbours && edge.position >= node;
      if (isForwards && edge.position - node < kBits) ++counts[edge.position - node];
    }
  }
  std::vector<std::uint32_t> distances;
  for (std::uint32_t distance = 0; distance < kBits; ++distance) {
    if (kSimulatedGroupCost * counts[distance] > graph.size / kBits + kSimulatedStepCost)
      distances.push_back(distance);
  }
  std::stable_sort(distances.begin(), distances.end(),
                   [&](std::uint32_t a, std::uint32_t b) { return counts[a] > counts[b]; });
  if (distances.size() > kMostShifts) distances.resize(kMostShifts);
  return distances;
}

}  // namespace

PositionSimulation::PositionSimulation(const PositionGraph& graph)
    : graph_(graph), words_(graph.size / kBits + 1) {
  AddEdges();
  if (IsTooCostly()) return;
  AddEnds();
  AddMatched();
}

/// Chooses what becomes shifts, and how the rest is grouped, so that a step costs least.
void PositionSimulation::AddEdges() {
  std::vector<std::vector<std::uint32_t>> choices = {{}, {1}, CommonDistances(graph_)};
  std::vector<std::uint32_t> best;
  Sides bestSides;
  bool bestIsByTargets = false;
  stepCost_ = std::numeric_limits<std::int64_t>::max();
  for (const std::vector<std::uint32_t>& distances : choices) {
    for (const bool byTargets : {false, true}) {
      Sides sides = GroupEdges(graph_, distances, byTargets);
      const auto words = static_cast<std::int64_t>(words_);
      const std::int64_t shifts = static_cast<std::int64_t>(distances.size()) * (2 + words);
      const std::int64_t cost = kSimulatedStepCost + words + shifts + CostOf(sides);
      if (cost >= stepCost_) continue;
      stepCost_ = cost;
      best = distances;
      bestSides = std::move(sides);
      bestIsByTargets = byTargets;
    }
  }
  if (IsTooCostly()) return;
  for (const std::uint32_t distance : best)
    AddShift(distance);
  for (const auto& [side, nodes] : bestSides) {
    const Part here = MakePart(nodes);
    const Part there = MakePart(side.second);
    groups_.push_back({side.first, bestIsByTargets ? there : here, bestIsByTargets ? here : there});
  }
}

void PositionSimulation::AddShift(std::uint32_t distance) {
  Shift shift = {distance, std::vector<Word>(words_, 0)};
  for (std::uint32_t node = 0; node < graph_.size; ++node) {
    for (const PositionEdge& edge : graph_.next[node]) {
      if (IsShift({distance}, node, edge)) SetBit(shift.sources.data(), node);
    }
  }
  shifts_.push_back(std::move(shift));
}

void PositionSimulation::AddEnds() {
  ends_.assign(static_cast<std::size_t>(kNeighbourPairs) * words_, 0);
  for (std::uint32_t node = 0; node <= graph_.size; ++node) {
    for (std::size_t pair = 0; pair < kNeighbourPairs; ++pair) {
      if ((graph_.ends[node] >> pair & 1) != 0) SetBit(ends_.data() + pair * words_, node);
    }
  }
}

void PositionSimulation::AddMatched() {
  const auto classes = static_cast<std::size_t>(graph_.classes);
  matched_.assign(classes * words_, 0);
  for (std::uint32_t position = 0; position < graph_.size; ++position) {
    for (std::size_t c = 0; c < classes; ++c) {
      if (graph_.bytes[position][graph_.byteOfClass[c]])
        SetBit(matched_.data() + c * words_, position);
    }
  }
}

PositionSimulation::Part PositionSimulation::MakePart(const std::vector<std::uint32_t>& nodes) {
  const auto [least, greatest] = std::minmax_element(nodes.begin(), nodes.end());
  Part part;
  part.first = static_cast<std::uint32_t>(*least / kBits);
  part.count = static_cast<std::uint32_t>(*greatest / kBits) - part.first + 1;
  part.bits = partBits_.size();
  partBits_.resize(part.bits + part.count, 0);
  for (const std::uint32_t node : nodes)
    SetBit(partBits_.data() + part.bits, node - part.first * kBits);
  return part;
}

bool PositionSimulation::Meets(const Word* set, const Part& part) const {
  const Word* const bits = partBits_.data() + part.bits;
  Word common = 0;
  for (std::size_t i = 0; i < part.count; ++i)
    common |= set[part.first + i] & bits[i];
  return common != 0;
}

void PositionSimulation::Add(const Part& part, Word* set) const {
  const Word* const bits = partBits_.data() + part.bits;
  for (std::size_t i = 0; i < part.count; ++i)
    set[part.first + i] |= bits[i];
}

void PositionSimulation::StepForwards(const Word* from, unsigned pair, unsigned char byte,
                                      Word* to) const {
  std::fill_n(to, words_, Word{0});
  for (const Shift& shift : shifts_) {
    Word carry = 0;
    for (std::size_t i = 0; i < words_; ++i) {
      const Word moved = from[i] & shift.sources[i];
      to[i] |= moved << shift.distance | carry;
      carry = Carried(moved, shift.distance);
    }
  }
  for (const Group& group : groups_) {
    if ((group.neighbours >> pair & 1) != 0 && Meets(from, group.sources)) Add(group.targets, to);
  }
  const Word* const matched = matched_.data() + graph_.classOf[byte] * words_;
  for (std::size_t i = 0; i < words_; ++i)
    to[i] &= matched[i];
}

void PositionSimulation::StepBackwards(Word* from, unsigned pair, unsigned char byte,
                                       Word* to) const {
  const Word* const matched = matched_.data() + graph_.classOf[byte] * words_;
  const Word* const ends = Ends(pair);
  for (std::size_t i = 0; i < words_; ++i) {
    from[i] &= matched[i];
    to[i] = ends[i];
  }
  for (const Shift& shift : shifts_) {
    for (std::size_t i = 0; i < words_; ++i) {
      const Word above = i + 1 < words_ && shift.distance > 0 ? from[i + 1] : 0;
      const Word carry = above << (kBits - shift.distance) % kBits;
      to[i] |= (from[i] >> shift.distance | carry) & shift.sources[i];
    }
  }
  for (const Group& group : groups_) {
    if ((group.neighbours >> pair & 1) != 0 && Meets(from, group.targets)) Add(group.sources, to);
  }
}

void PositionSimulation::SetStart(Word* set) const {
  std::fill_n(set, words_, Word{0});
  SetBit(set, graph_.size);
}

}  // namespace trovex
