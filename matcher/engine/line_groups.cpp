#include "matcher/engine/line_groups.h"

#include "matcher/limits.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace trovex {

namespace {

/// At how many positions what the nodes know is worked out again.
constexpr int kStretch = 256;
constexpr std::size_t kBits = 64;

/// What it costs to work out what a node knows, and to walk over one.
constexpr std::int64_t kEndUnits = 5;
constexpr std::int64_t kWalkUnits = 20;

}  // namespace

LineGroups::LineGroups(const BoundedMatcher& matcher, const EngineGraph& graph)
    : matcher_(matcher), graph_(graph), leadsToBracket_(graph.Size()), isPassed_(graph.Size()) {
  OrderNodes();
}

/// Puts the nodes into the order in which they are worked out.
void LineGroups::OrderNodes() {
  enum class Visit : unsigned char { kNot, kOpen, kDone };
  std::vector<Visit> visits(graph_.Size(), Visit::kNot);
  std::vector<std::pair<Number, int>> open;  // and how many of its ways on were followed
  for (std::size_t first = 0; first < graph_.Size(); ++first) {
    if (visits[first] != Visit::kNot) continue;
    open.emplace_back(static_cast<Number>(first), 0);
    while (!open.empty()) {
      auto& [number, followed] = open.back();
      const EngineGraph::Node& node = graph_.At(number);
      visits[static_cast<std::size_t>(number)] = Visit::kOpen;
      if (followed == node.nextCount) {
        visits[static_cast<std::size_t>(number)] = Visit::kDone;
        order_.push_back(number);
        open.pop_back();
        continue;
      }
      const Number next = node.next[static_cast<std::size_t>(followed++)];
      const Visit visit = visits[static_cast<std::size_t>(next)];
      if (visit == Visit::kOpen) hasLoops_ = true;
      if (visit == Visit::kNot) open.emplace_back(next, 0);
    }
  }
}

/// Notes from which nodes some way leads over a bracket of the group.
void LineGroups::NoteWhatLeadsToBrackets() {
  const auto leads = [&](Number number) {
    return leadsToBracket_[static_cast<std::size_t>(number)];
  };
  leadsToBracket_.assign(graph_.Size(), false);
  for (bool changed = true; changed;) {
    changed = false;
    for (const Number number : order_) {
      if (leads(number)) continue;
      const EngineGraph::Node& node = graph_.At(number);
      const BoundedMatcher::Step& step = matcher_.At(node.place);
      const bool isBracket =
          step.operation == Operation::kOpenGroup || step.operation == Operation::kCloseGroup;
      bool does = isBracket && step.first == group_;
      for (int n = 0; n < node.nextCount; ++n)
        does = does || leads(node.next[static_cast<std::size_t>(n)]);
      does = does || (node.behindByte >= 0 && leads(node.behindByte));
      leadsToBracket_[static_cast<std::size_t>(number)] = does;
      changed = changed || does;
    }
  }
}

bool LineGroups::Prepare(const char* begin, const char* end, int group, WorkCredit& credit) {
  begin_ = nullptr;
  loaded_ = -1;
  const std::size_t nodes = graph_.Size();
  const auto length = static_cast<std::size_t>(end - begin);
  if ((length / kStretch + 1 + kStretch + 1) * nodes > kMaxLineEnds) return false;
  // What is worked out is worked out once more where a walk comes there.
  const std::int64_t units = static_cast<std::int64_t>((length + 1) * nodes) * kEndUnits;
  if (!credit.Affords(3 * units)) return false;
  static_cast<void>(credit.Spend(units));
  if (group != std::exchange(group_, group)) NoteWhatLeadsToBrackets();

  begin_ = begin;
  end_ = end;
  length_ = static_cast<int>(length);
  starts_.assign(length / kBits + 1, 0);
  kept_.resize((length / kStretch + 1) * nodes);
  stretch_.resize((kStretch + 1) * nodes);
  End* ends = stretch_.data();
  End* following = stretch_.data() + nodes;
  for (int position = length_; position >= 0; --position) {
    std::swap(ends, following);
    StepBack(position, following, ends);
    const auto place = static_cast<std::size_t>(position);
    if (ends[graph_.Start()] >= 0) starts_[place / kBits] |= std::uint64_t{1} << place % kBits;
    if (position % kStretch == 0) std::copy_n(ends, nodes, &kept_[place / kStretch * nodes]);
  }
  return true;
}

bool LineGroups::MatchesByte(const BoundedMatcher::Step& step, int position) const {
  const int byte = matcher_.tree_.translate[static_cast<unsigned char>(begin_[position])];
  return step.operation == Operation::kByte
             ? byte == step.first
             : matcher_.SetOf(step).test(static_cast<std::size_t>(byte));
}

/// Works out the ends at `position` from those at the position behind it.
void LineGroups::StepBack(int position, const End* following, End* ends) const {
  if (hasLoops_) std::fill_n(ends, graph_.Size(), End{-1});
  for (const Number number : order_) {
    const EngineGraph::Node& node = graph_.At(number);
    const BoundedMatcher::Step& step = matcher_.At(node.place);
    End end = -1;
    if (node.nextCount > 0) {
      for (int n = 0; n < node.nextCount; ++n)
        end = std::max(end, ends[node.next[static_cast<std::size_t>(n)]]);
    } else if (step.operation == Operation::kMatch) {
      end = position;
    } else if (node.behindByte >= 0 && position < length_ && following[node.behindByte] >= 0 &&
               MatchesByte(step, position)) {
      end = following[node.behindByte];
    }
    ends[number] = end;
  }
  for (bool changed = hasLoops_; changed;) {
    changed = false;
    for (const Number number : order_) {
      const EngineGraph::Node& node = graph_.At(number);
      for (int n = 0; n < node.nextCount; ++n) {
        const End end = ends[node.next[static_cast<std::size_t>(n)]];
        if (end <= ends[number]) continue;
        ends[number] = end;
        changed = true;
      }
    }
  }
}

/// The first position from `position` on at which a match starts; beyond the line if there is none.
int LineGroups::NextStart(int position) const {
  std::size_t word = static_cast<std::size_t>(position) / kBits;
  std::uint64_t bits = starts_[word] & ~std::uint64_t{0}
                                           << static_cast<std::size_t>(position) % kBits;
  while (bits == 0) {
    if (++word == starts_.size()) return length_ + 1;
    bits = starts_[word];
  }
  return static_cast<int>(word * kBits) + std::countr_zero(bits);
}

/// Makes the ends at `position` known. Returns false if the credit does not allow it.
bool LineGroups::Load(int position, WorkCredit& credit) {
  const int number = position / kStretch;
  if (number == loaded_) return true;
  const std::size_t nodes = graph_.Size();
  const int first = number * kStretch;
  const int last = std::min(first + kStretch, length_);
  const auto rowOf = [&](int of) {
    return &stretch_[static_cast<std::size_t>(of - first) * nodes];
  };
  if (!credit.Spend(static_cast<std::int64_t>(nodes) * (last - first + 1) * kEndUnits))
    return false;
  if (last % kStretch == 0) {
    std::copy_n(&kept_[static_cast<std::size_t>(last / kStretch) * nodes], nodes, rowOf(last));
  } else {
    StepBack(last, nullptr, rowOf(last));
  }
  for (int at = last - 1; at >= first; --at)
    StepBack(at, rowOf(at + 1), rowOf(at));
  loaded_ = number;
  return true;
}

const LineGroups::End* LineGroups::EndsAt(int position) const {
  return &stretch_[static_cast<std::size_t>(position % kStretch) * graph_.Size()];
}

LineGroups::Match LineGroups::Find(const char* place, WorkCredit& credit) {
  const int start = NextStart(static_cast<int>(place - begin_));
  if (start > length_) return {};
  Match match;
  match.start = begin_ + start;
  match.outcome = Walk(start, credit, match.group) ? SearchOutcome::kFound : SearchOutcome::kGaveUp;
  return match;
}

/// Walks along the match that starts at `start` until the group is known. Returns false if the credit does
/// not allow it.
bool LineGroups::Walk(int start, WorkCredit& credit, GroupRange& group) {
  if (!Load(start, credit)) return false;
  const End end = EndsAt(start)[graph_.Start()];
  BracketRanges ranges(matcher_.tree_.groupCount);
  std::int64_t steps = 0;
  Number number = graph_.Start();
  for (int position = start;;) {
    const EngineGraph::Node& node = graph_.At(number);
    const BoundedMatcher::Step& step = matcher_.At(node.place);
    matcher_.PassBracket(step, position - start, ranges);
    if (step.operation == Operation::kMatch) break;
    if (!leadsToBracket_[static_cast<std::size_t>(number)] && ranges.IsSettled(group_)) break;
    ++steps;
    if (node.nextCount > 0) {
      number = StepWithoutByte(number, EndsAt(position), end);
      continue;
    }
    number = node.behindByte;
    for (const Number passed : passed_)
      isPassed_[static_cast<std::size_t>(passed)] = false;
    passed_.clear();
    if (!Load(++position, credit)) return false;
  }
  for (const Number passed : passed_)
    isPassed_[static_cast<std::size_t>(passed)] = false;
  passed_.clear();
  group = ranges.At(group_);
  return credit.Spend(steps * kWalkUnits);
}

/// Where the walk goes on from `number`, which leads on without a byte: to the first side on a way to `end`,
/// or to the second if it has passed the first since the last byte.
LineGroups::Number LineGroups::StepWithoutByte(Number number, const End* ends, End end) {
  if (!isPassed_[static_cast<std::size_t>(number)]) {
    isPassed_[static_cast<std::size_t>(number)] = true;
    passed_.push_back(number);
  }
  const EngineGraph::Node& node = graph_.At(number);
  const Number first = node.next[0];
  if (node.nextCount == 1) return first;
  const Number second = node.next[1];
  if (ends[first] != end) return second;
  const bool isSecond = isPassed_[static_cast<std::size_t>(first)] && ends[second] == end;
  return isSecond ? second : first;
}

}  // namespace trovex
