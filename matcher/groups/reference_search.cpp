// What is known of a pattern with back-references before any text.

#include "matcher/groups/reference_search.h"

#include "matcher/limits.h"
#include "matcher/tuning.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

namespace {

/// Of how many groups the ranges fit into a set of bits.
constexpr int kMaxReferenced = 32;

}  // namespace

ReferenceSearch::ReferenceSearch(const SyntaxTree& tree, const ReferenceOptions& options)
    : graph_(MakeWayGraph(tree, kMaxReferenceSteps)), options_(options) {
  NoteReferencedGroups();
  isTooLarge_ = graph_.isTooLarge || slotCount_ > kMaxReferenced;
  if (isTooLarge_) return;
  if (!options.wholeWords) doubled_ = DoubledRun::Make(tree, options.comparedAs);
  NoteWhatIsAskedFor();
  NoteStart();
  walk_ = ReferenceWalk::Make(graph_, {options.wholeWords, options.wordBytes, options.comparedAs});
  if (doubled_) return;
  row_ = ReferenceRow::Make(tree, {options.wholeWords, options.wordBytes, options.comparedAs});
  if (row_ && walk_ && walk_->LooksForPlaces() && row_->Rate() > kRareRow) row_.reset();
}

void ReferenceSearch::NoteReferencedGroups() {
  slots_.assign(static_cast<std::size_t>(graph_.groupCount) + 1, -1);
  for (const WayStep& step : graph_.steps) {
    if (step.kind != WayKind::kReference) continue;
    const auto group = static_cast<std::size_t>(step.value);
    if (slots_.size() <= group) slots_.resize(group + 1, -1);
    int& slot = slots_[group];
    if (slot < 0) slot = slotCount_++;
  }
}

/// Goes from steps to those that lead to them until nothing changes.
void ReferenceSearch::NoteWhatIsAskedFor() {
  const std::size_t count = graph_.steps.size();
  std::vector<std::vector<std::uint32_t>> sources(count);
  std::vector<std::uint32_t> open(count);
  for (std::size_t i = 0; i < count; ++i) {
    const WayStep& step = graph_.steps[i];
    const auto source = static_cast<std::uint32_t>(i);
    open[i] = source;
    if (step.next != kNoStep) sources[static_cast<std::size_t>(step.next)].push_back(source);
    if (step.other != kNoStep) sources[static_cast<std::size_t>(step.other)].push_back(source);
  }
  asked_.assign(count, 0);
  while (!open.empty()) {
    const std::size_t index = open.back();
    open.pop_back();
    const WayStep& step = graph_.steps[index];
    const auto askedAt = [&](int at) {
      return at == kNoStep ? 0 : asked_[static_cast<std::size_t>(at)];
    };
    const std::uint64_t asked = AskedBefore(step, askedAt(step.next), askedAt(step.other));
    if (asked == asked_[index]) continue;
    asked_[index] = asked;
    open.insert(open.end(), sources[index].begin(), sources[index].end());
  }
}

std::uint64_t ReferenceSearch::AskedBefore(const WayStep& step, std::uint64_t next,
                                           std::uint64_t other) const {
  const std::uint64_t after = next | other;
  switch (step.kind) {
    case WayKind::kReference:
      return after | RangeBit(SlotOf(step.value));
    case WayKind::kClose: {
      const int slot = SlotOf(step.value);
      if (slot < 0 || (after & RangeBit(slot)) == 0) return after;
      return (after & ~RangeBit(slot)) | OpeningBit(slot);
    }
    case WayKind::kOpen: {
      const int slot = SlotOf(step.value);
      return slot < 0 ? after : after & ~OpeningBit(slot);
    }
    default:
      return after;
  }
}

/// Notes what a match can begin with. Anchors are taken to hold, and
/// back-references to match nothing.
void ReferenceSearch::NoteStart() {
  std::vector<bool> isReached(graph_.steps.size());
  std::vector<int> open;
  const auto reach = [&](int step) {
    if (step == kNoStep || isReached[static_cast<std::size_t>(step)]) return;
    isReached[static_cast<std::size_t>(step)] = true;
    open.push_back(step);
  };
  reach(graph_.start);
  while (!open.empty()) {
    const WayStep& step = graph_.Step(open.back());
    open.pop_back();
    switch (step.kind) {
      case WayKind::kBytes:
        firstBytes_ |= graph_.SetOf(step);
        break;
      case WayKind::kMatch:
        canBeEmpty_ = true;
        break;
      default:
        if (step.kind != WayKind::kReference) reach(step.next);
        reach(step.other);
    }
  }
}

}  // namespace trovex
