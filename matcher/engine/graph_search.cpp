#include "matcher/engine/graph_search.h"

#include <algorithm>
#include <utility>
#include "matcher/costs.h"

namespace trovex {

namespace {

bool Hold(EngineGraph::Conditions conditions, EngineGraph::Conditions holding) {
  return (conditions & ~holding) == 0;
}

}  // namespace

GraphSearch::GraphSearch(const BoundedMatcher& matcher, const EngineGraph& graph,
                         const BoundedText& text, WorkCredit& credit)
    : matcher_(matcher),
      graph_(graph),
      text_(matcher.tree_, text),
      credit_(credit),
      reachedAt_(graph.Size(), -1) {}

SearchOutcome GraphSearch::Find(int from, int lastStart, const WordRule* words, GroupRange& match) {
  match = {};
  next_.clear();
  if (!credit_.Spend(static_cast<std::int64_t>(graph_.Size()))) return SearchOutcome::kGaveUp;
  std::fill(reachedAt_.begin(), reachedAt_.end(), -1);
  for (int place = from; place <= text_.Length(); ++place) {
    if (next_.empty() && match.start < 0) place = SkipTo(place, lastStart);
    const bool mayStart = match.start < 0 && place <= lastStart;
    if (next_.empty() && !mayStart) break;
    reached_.clear();
    for (const Thread& thread : next_)
      Enter(thread.node, thread.start, place);
    if (mayStart && (words == nullptr || words->CanStartAt(place))) {
      Enter(graph_.Start(), place, place);
    }
    if (!credit_.Spend(static_cast<std::int64_t>(reached_.size() + 2) * kGraphNodeUnits))
      return SearchOutcome::kGaveUp;
    holding_ = EngineGraph::Holding(text_, place);
    NoteEnd(place, words, match);
    if (match.start >= 0) {
      std::erase_if(reached_, [&](const Thread& thread) { return thread.start > match.start; });
    }
    FollowByte(place);
  }
  return match.start >= 0 ? SearchOutcome::kFound : SearchOutcome::kNotFound;
}

/// Reaches `node` and all that it leads to without a byte. What is reached already is so from a start that
/// is not further right.
void GraphSearch::Enter(Number node, int start, int place) {
  std::size_t followed = reached_.size();
  Reach(node, start, place);
  while (followed < reached_.size()) {
    const EngineGraph::Node& here = graph_.At(reached_[followed++].node);
    for (int n = 0; n < here.nextCount; ++n)
      Reach(here.next[static_cast<std::size_t>(n)], start, place);
  }
}

void GraphSearch::Reach(Number node, int start, int place) {
  if (std::exchange(reachedAt_[static_cast<std::size_t>(node)], place) == place) return;
  reached_.push_back({node, start});
}

/// Takes `place` for the end of the match if one can end there that is no worse than `match`.
void GraphSearch::NoteEnd(int place, const WordRule* words, GroupRange& match) const {
  const auto ending = std::find_if(reached_.begin(), reached_.end(), [&](const Thread& thread) {
    const EngineGraph::Node& node = graph_.At(thread.node);
    return matcher_.At(node.address).operation == BoundedMatcher::Operation::kMatch &&
           Hold(node.conditions, holding_);
  });
  if (ending == reached_.end()) return;
  if (match.start >= 0 && ending->start > match.start) return;
  if (words != nullptr && !words->CanEndAt(place, ending->start)) return;
  match = {ending->start, place};
}

void GraphSearch::FollowByte(int place) {
  next_.clear();
  if (text_.IsEnd(place)) return;
  for (const Thread& thread : reached_) {
    const EngineGraph::Node& node = graph_.At(thread.node);
    if (node.afterByte < 0 || !Hold(node.conditions, holding_)) continue;
    const BoundedMatcher::Step& step = matcher_.At(node.address);
    const bool matches = step.operation == BoundedMatcher::Operation::kByte
                             ? text_.IsByteAt(place, step.first)
                             : text_.IsInSetAt(place, matcher_.SetOf(step));
    if (matches) next_.push_back({node.afterByte, thread.start});
  }
}

/// The first place from `place` on at which a match can begin; beyond `lastStart` if there is none.
int GraphSearch::SkipTo(int place, int lastStart) const {
  if (matcher_.canBeEmpty_) return place;
  while (place <= lastStart && !text_.IsInSetAt(place, matcher_.firstBytes_))
    ++place;
  return place;
}

}  // namespace trovex
