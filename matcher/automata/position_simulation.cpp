#include "matcher/automata/position_simulation.h"

#include <algorithm>
#include <map>
#include <utility>

namespace trovex {

namespace {

using Word = PositionSimulation::Word;

constexpr std::size_t kBits = 64;

void SetBit(Word* set, std::size_t bit) {
  set[bit / kBits] |= Word{1} << (bit % kBits);
}

/// What nodes of one group have in common: the condition, and where their edges lead.
using Follow = std::pair<Neighbours, std::vector<std::uint32_t>>;

/// The edges of `node` by their conditions.
std::vector<Follow> FollowsOf(const PositionGraph& graph, std::uint32_t node, bool withoutNext) {
  std::vector<Follow> follows;
  for (const PositionEdge& edge : graph.next[node]) {
    if (edge.neighbours == 0) continue;
    const bool isNext = edge.position == node + 1 && edge.neighbours == kAnyNeighbours;
    if (withoutNext && isNext) continue;
    const auto same = std::find_if(follows.begin(), follows.end(), [&](const Follow& follow) {
      return follow.first == edge.neighbours;
    });
    if (same != follows.end()) {
      same->second.push_back(edge.position);
    } else {
      follows.push_back({edge.neighbours, {edge.position}});
    }
  }
  return follows;
}

}  // namespace

PositionSimulation::PositionSimulation(const PositionGraph& graph)
    : graph_(graph), words_(graph.size / kBits + 1), shifted_(words_, 0) {
  AddGroups();
  if (IsTooCostly()) return;
  AddEnds();
  AddMatched();
}

/// Groups nodes with all the same edges; those that are alone so, with the same edges but that to the
/// next position.
void PositionSimulation::AddGroups() {
  std::map<Follow, std::vector<std::uint32_t>> sources;
  for (std::uint32_t node = 0; node <= graph_.size; ++node) {
    for (Follow& follow : FollowsOf(graph_, node, false))
      sources[std::move(follow)].push_back(node);
  }
  std::map<Follow, std::vector<std::uint32_t>> rest;
  for (std::uint32_t node = 0; node < graph_.size; ++node) {
    const std::vector<Follow> whole = FollowsOf(graph_, node, false);
    const bool isShared = std::any_of(whole.begin(), whole.end(), [&](const Follow& follow) {
      return follow.first == kAnyNeighbours && sources[follow].size() > 1;
    });
    if (isShared) continue;
    const std::vector<Follow> others = FollowsOf(graph_, node, true);
    for (const Follow& follow : whole) {
      if (std::find(others.begin(), others.end(), follow) != others.end()) continue;
      sources.erase(follow);  // it was this node's alone
      SetBit(shifted_.data(), node);
    }
    for (const Follow& follow : others) {
      if (std::find(whole.begin(), whole.end(), follow) == whole.end())
        rest[follow].push_back(node);
    }
  }
  for (auto& [follow, nodes] : rest) {
    std::vector<std::uint32_t>& all = sources[follow];
    all.insert(all.end(), nodes.begin(), nodes.end());
  }
  stepCost_ = static_cast<std::int64_t>(words_ + 4);
  for (const auto& [follow, nodes] : sources) {
    const Group group = {follow.first, MakePart(nodes), MakePart(follow.second)};
    groups_.push_back(group);
    stepCost_ += 3 + (group.sources.count + group.targets.count) / 2;
    if (IsTooCostly()) return;
  }
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
  Word carry = 0;
  for (std::size_t i = 0; i < words_; ++i) {
    const Word moved = from[i] & shifted_[i];
    to[i] = moved << 1 | carry;
    carry = moved >> (kBits - 1);
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
  for (std::size_t i = 0; i < words_; ++i)
    from[i] &= matched[i];
  for (std::size_t i = 0; i < words_; ++i) {
    const Word carry = i + 1 < words_ ? from[i + 1] << (kBits - 1) : 0;
    to[i] = ((from[i] >> 1 | carry) & shifted_[i]) | ends[i];
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
