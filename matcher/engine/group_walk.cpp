#include "matcher/engine/group_walk.h"

#include "matcher/costs.h"
#include "matcher/engine/bracket_ranges.h"
#include "matcher/limits.h"

#include <algorithm>

namespace trovex {

namespace {

using Conditions = EngineGraph::Conditions;

bool Hold(Conditions conditions, const Conditions holding) {
  return (conditions & ~holding) == 0;
}

}  // namespace

GroupWalk::GroupWalk(const BoundedMatcher& matcher, const EngineGraph& graph,
                     const BoundedText& text, WorkCredit& credit)
    : matcher_(matcher),
      graph_(graph),
      text_(matcher.tree_, text),
      credit_(credit),
      entryOf_(graph.Size(), kNoEntry),
      isPassed_(graph.Size()) {}

GroupWalk::Outcome GroupWalk::Go(GroupRange match, std::vector<GroupRange>& ranges) {
  start_ = match.start;
  if (!credit_.Spend(static_cast<std::int64_t>(graph_.Size()))) return Outcome::kTooLarge;
  if (!NoteForwards(match)) return Outcome::kTooLarge;
  if (!NoteBackwards(match)) return Outcome::kDenied;
  return Walk(match, ranges);
}

/// The node after the byte at `place`, if `node` stands for it; otherwise -1.
GroupWalk::Number GroupWalk::AfterByte(Number node, int place) const {
  const BoundedMatcher::Step& step = StepOf(node);
  const bool matches =
      step.operation == Operation::kByte
          ? text_.IsByteAt(place, step.first)
          : step.operation == Operation::kSet && text_.IsInSetAt(place, matcher_.SetOf(step));
  if (!matches || !Hold(graph_.At(node).conditions, LayerAt(place).holding)) return -1;
  return graph_.At(node).afterByte;
}

// Noting.

/// Finds what is reached from the start of the match, whether the conditions on the way hold or not;
/// returns false if that is too much.
bool GroupWalk::NoteForwards(GroupRange match) {
  std::vector<Number> first{graph_.Start()};
  for (int place = match.start; place <= match.end; ++place) {
    const std::size_t begin = reached_.size();
    const auto reach = [&](Number node) {
      std::size_t& entry = entryOf_[static_cast<std::size_t>(node)];
      if (entry != kNoEntry && entry >= begin) return;
      entry = reached_.size();
      reached_.push_back(node);
    };
    std::for_each(first.begin(), first.end(), reach);
    for (std::size_t i = begin; i < reached_.size(); ++i) {
      const EngineGraph::Node& node = graph_.At(reached_[i]);
      for (int n = 0; n < node.nextCount; ++n)
        reach(node.next[static_cast<std::size_t>(n)]);
    }
    if (reached_.size() > kMaxGroupEntries) return false;
    const auto count = static_cast<std::int64_t>(reached_.size() - begin);
    if (!credit_.Spend((count + 2) * kGroupEntryUnits)) return false;
    layers_.push_back({begin, reached_.size(), EngineGraph::Holding(text_, place)});
    first.clear();
    for (std::size_t i = begin; i < reached_.size() && place < match.end; ++i) {
      const Number next = AfterByte(reached_[i], place);
      if (next >= 0) first.push_back(next);
    }
  }
  return true;
}

/// Marks what leads to the end of the match; returns whether its start does.
bool GroupWalk::NoteBackwards(GroupRange match) {
  leadsOn_.resize(reached_.size());
  if (!FindLastNode(layers_.back())) return false;
  Index(layers_.back());
  leadsOn_[entryOf_[static_cast<std::size_t>(lastNode_)]] = true;
  KeepWays(layers_.back());
  for (int place = match.end - 1; place >= match.start; --place) {
    const Layer& layer = LayerAt(place);
    const Layer& after = LayerAt(place + 1);
    for (std::size_t i = layer.begin; i < layer.end; ++i) {
      const Number next = AfterByte(reached_[i], place);
      leadsOn_[i] = next >= 0 && IsNoted(next, after);
    }
    Index(layer);
    KeepWays(layer);
  }
  return leadsOn_[0];
}

/// The engine lets the match end at the first of several nodes where it can.
bool GroupWalk::FindLastNode(const Layer& layer) {
  for (std::size_t i = layer.begin; i < layer.end; ++i) {
    const Number node = reached_[i];
    const bool ends = StepOf(node).operation == Operation::kMatch &&
                      Hold(graph_.At(node).conditions, layer.holding);
    if (ends && (lastNode_ < 0 || node < lastNode_)) lastNode_ = node;
  }
  return lastNode_ >= 0;
}

/// Marks all nodes of `layer`, which is indexed, that lead without a byte to one that is marked.
void GroupWalk::KeepWays(const Layer& layer) {
  // Most nodes stand before those that they lead to, so few rounds are enough.
  for (bool changed = true; changed;) {
    changed = false;
    for (std::size_t i = layer.end; i-- > layer.begin;) {
      if (leadsOn_[i]) continue;
      const EngineGraph::Node& node = graph_.At(reached_[i]);
      for (int n = 0; n < node.nextCount && !leadsOn_[i]; ++n)
        leadsOn_[i] =
            leadsOn_[entryOf_[static_cast<std::size_t>(node.next[static_cast<std::size_t>(n)])]];
      changed = changed || leadsOn_[i];
    }
  }
}

void GroupWalk::Index(const Layer& layer) {
  for (std::size_t i = layer.begin; i < layer.end; ++i)
    entryOf_[static_cast<std::size_t>(reached_[i])] = i;
}

/// Whether `node` is noted in `layer`, which was indexed last.
bool GroupWalk::IsNoted(Number node, const Layer& layer) const {
  const std::size_t entry = entryOf_[static_cast<std::size_t>(node)];
  const Conditions before = graph_.At(node).conditions & EngineGraph::kOnByteBefore;
  return entry >= layer.begin && entry < layer.end && leadsOn_[entry] &&
         Hold(before, layer.holding);
}

// Walking.

GroupWalk::Outcome GroupWalk::Walk(GroupRange match, std::vector<GroupRange>& ranges) {
  BracketRanges passedRanges(matcher_.tree_.groupCount);
  Number node = graph_.Start();
  int place = match.start;
  std::size_t sinceNew = 0;
  for (;;) {
    matcher_.PassBracket(StepOf(node), place, passedRanges);
    if (place == match.end && node == lastNode_) break;
    if (graph_.At(node).nextCount > 0) {
      const std::size_t passedBefore = passed_.size();
      node = StepWithoutByte(node, place);
      sinceNew = passed_.size() > passedBefore ? 0 : sinceNew + 1;
      if (sinceNew > graph_.Size()) return Outcome::kEndless;
    } else {
      node = place < match.end ? AfterByte(node, place) : -1;
      if (node >= 0) Index(LayerAt(++place));
      ForgetPassed();
      sinceNew = 0;
    }
    if (node < 0) return Outcome::kDenied;
  }
  ranges = passedRanges.All();
  ranges[0] = match;
  return Outcome::kTold;
}

/// Where the walk goes on from `number`, which leads on without a byte; -1 if nothing noted is there.
GroupWalk::Number GroupWalk::StepWithoutByte(Number number, int place) {
  if (!isPassed_[static_cast<std::size_t>(number)]) {
    isPassed_[static_cast<std::size_t>(number)] = true;
    passed_.push_back(number);
  }
  const EngineGraph::Node& node = graph_.At(number);
  Number chosen = -1;
  for (int n = 0; n < node.nextCount; ++n) {
    const Number next = node.next[static_cast<std::size_t>(n)];
    if (!IsNoted(next, LayerAt(place))) continue;
    if (chosen >= 0) return isPassed_[static_cast<std::size_t>(chosen)] ? next : chosen;
    chosen = next;
  }
  return chosen;
}

void GroupWalk::ForgetPassed() {
  for (const Number node : passed_)
    isPassed_[static_cast<std::size_t>(node)] = false;
  passed_.clear();
}

}  // namespace trovex
