#include "matcher/engine/line_groups.h"

#include "matcher/costs.h"
#include "matcher/limits.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace trovex {

namespace {

constexpr std::size_t kBits = 64;

bool Hold(EngineGraph::Conditions conditions, EngineGraph::Conditions holding) {
  return (conditions & ~holding) == 0;
}

}  // namespace

bool LineGroups::Suits(const BoundedMatcher& matcher, const EngineGraph& graph) {
  std::vector<bool> isReached(graph.Size());
  std::vector<Number> reached;
  const auto reach = [&](Number number) {
    if (isReached[static_cast<std::size_t>(number)]) return;
    isReached[static_cast<std::size_t>(number)] = true;
    reached.push_back(number);
  };
  std::vector<Conditions> ends;
  reach(graph.Start());
  for (std::size_t i = 0; i < reached.size(); ++i) {
    const EngineGraph::Node& node = graph.At(reached[i]);
    if (matcher.At(node.address).operation == Operation::kMatch) ends.push_back(node.conditions);
    for (int n = 0; n < node.nextCount; ++n) {
      const Number next = node.next[static_cast<std::size_t>(n)];
      if (!Hold(node.conditions, graph.At(next).conditions)) return false;
      reach(next);
    }
    if (node.afterByte >= 0) reach(node.afterByte);
  }
  // The engine ends at one node where it could at several.
  for (std::size_t i = 0; i < ends.size(); ++i) {
    for (std::size_t j = i + 1; j < ends.size(); ++j) {
      if (!EngineGraph::AreExclusive(ends[i], ends[j])) return false;
    }
  }
  return true;
}

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
      const BoundedMatcher::Step& step = matcher_.At(node.address);
      const bool isBracket =
          step.operation == Operation::kOpenGroup || step.operation == Operation::kCloseGroup;
      bool does = isBracket && step.first == group_;
      for (int n = 0; n < node.nextCount; ++n)
        does = does || leads(node.next[static_cast<std::size_t>(n)]);
      does = does || (node.afterByte >= 0 && leads(node.afterByte));
      leadsToBracket_[static_cast<std::size_t>(number)] = does;
      changed = changed || does;
    }
  }
}

bool LineGroups::Prepare(const char* begin, const char* end, int group, bool words,
                         WorkCredit& credit) {
  begin_ = nullptr;
  loaded_ = -1;
  textBegin_ = -1;
  const std::size_t nodes = graph_.Size();
  const auto length = static_cast<std::size_t>(end - begin);
  if ((length / kLineStretch + 1 + kLineStretch + 1) * nodes > kMaxLineEnds) return false;
  // What is worked out is worked out once more where a walk comes there.
  const std::int64_t units = static_cast<std::int64_t>((length + 1) * nodes) * kLineEndUnits;
  if (!credit.Affords(3 * units)) return false;
  static_cast<void>(credit.Spend(units));
  if (group != std::exchange(group_, group)) NoteWhatLeadsToBrackets();

  starts_.assign(length / kBits + 1, 0);
  kept_.resize((length / kLineStretch + 1) * nodes);
  stretch_.resize((kLineStretch + 1) * nodes);
  begin_ = begin;
  end_ = end;
  length_ = static_cast<int>(length);
  words_ = words;
  End* ends = stretch_.data();
  End* following = stretch_.data() + nodes;
  for (int offset = length_; offset >= 0; --offset) {
    std::swap(ends, following);
    StepBack(offset, HoldingAt(offset), following, ends);
    const auto place = static_cast<std::size_t>(offset);
    if (ends[graph_.Start()] >= 0 && CanStartAt(offset))
      starts_[place / kBits] |= std::uint64_t{1} << place % kBits;
    if (offset % kLineStretch == 0) std::copy_n(ends, nodes, &kept_[place / kLineStretch * nodes]);
  }
  return true;
}

/// What anchors see at `offset`.
LineGroups::Conditions LineGroups::HoldingAt(int offset) const {
  if (!matcher_.HasAnchors()) return 0;
  return EngineGraph::Holding(TextReader(matcher_.tree_, {begin_, length_, true}), offset);
}

bool LineGroups::CanStartAt(int offset) const {
  return !words_ || WordRule{begin_, length_}.CanStartAt(offset);
}

bool LineGroups::CanEndAt(int offset) const {
  return !words_ || offset == length_ ||
         !IsWordConstituent(static_cast<unsigned char>(begin_[offset]));
}

bool LineGroups::MatchesByte(const BoundedMatcher::Step& step, int offset) const {
  const int byte = matcher_.tree_.translate[static_cast<unsigned char>(begin_[offset])];
  return step.operation == Operation::kByte
             ? byte == step.first
             : matcher_.SetOf(step).test(static_cast<std::size_t>(byte));
}

/// Works out the ends at `offset`, where the conditions `holding` hold, from those at the offset after it.
void LineGroups::StepBack(int offset, Conditions holding, const End* following, End* ends) const {
  if (hasLoops_) std::fill_n(ends, graph_.Size(), End{-1});
  for (const Number number : order_) {
    const EngineGraph::Node& node = graph_.At(number);
    const BoundedMatcher::Step& step = matcher_.At(node.address);
    End end = -1;
    if (node.nextCount > 0) {
      // What it leads to stands under its conditions, too.
      for (int n = 0; n < node.nextCount; ++n)
        end = std::max(end, ends[node.next[static_cast<std::size_t>(n)]]);
    } else if (!Hold(node.conditions, holding)) {
      end = -1;
    } else if (step.operation == Operation::kMatch) {
      end = CanEndAt(offset) ? offset : -1;
    } else if (node.afterByte >= 0 && offset < length_ && following[node.afterByte] >= 0 &&
               MatchesByte(step, offset)) {
      end = following[node.afterByte];
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

/// The first offset from `offset` on at which a match starts; beyond the line if there is none.
int LineGroups::NextStart(int offset) const {
  if (offset > length_) return offset;
  std::size_t word = static_cast<std::size_t>(offset) / kBits;
  std::uint64_t bits = starts_[word] & ~std::uint64_t{0}
                                           << static_cast<std::size_t>(offset) % kBits;
  while (bits == 0) {
    if (++word == starts_.size()) return length_ + 1;
    bits = starts_[word];
  }
  return static_cast<int>(word * kBits) + std::countr_zero(bits);
}

/// The same where a text begins at `offset`; -1 if the credit does not allow it.
int LineGroups::FirstStart(int offset, WorkCredit& credit) {
  const bool isAlike = offset == 0 || !(words_ || matcher_.HasAnchors());
  if (isAlike) return NextStart(offset);
  if (!Load(offset, credit)) return -1;
  if (!credit.Spend(static_cast<std::int64_t>(graph_.Size()) * kLineEndUnits)) return -1;
  const TextReader rest(matcher_.tree_, {begin_ + offset, length_ - offset, true});
  const End* const following = offset < length_ ? EndsAt(offset) + graph_.Size() : nullptr;
  endsAtBegin_.resize(graph_.Size());
  StepBack(offset, EngineGraph::Holding(rest, 0), following, endsAtBegin_.data());
  textBegin_ = offset;
  return endsAtBegin_[static_cast<std::size_t>(graph_.Start())] >= 0 ? offset
                                                                     : NextStart(offset + 1);
}

/// Makes the ends at `offset` known. Returns false if the credit does not allow it.
bool LineGroups::Load(int offset, WorkCredit& credit) {
  const int number = offset / kLineStretch;
  if (number == loaded_) return true;
  const std::size_t nodes = graph_.Size();
  const int first = number * kLineStretch;
  const int last = std::min(first + kLineStretch, length_);
  const auto rowOf = [&](int of) {
    return &stretch_[static_cast<std::size_t>(of - first) * nodes];
  };
  if (!credit.Spend(static_cast<std::int64_t>(nodes) * (last - first + 1) * kLineEndUnits))
    return false;
  if (last % kLineStretch == 0) {
    std::copy_n(&kept_[static_cast<std::size_t>(last / kLineStretch) * nodes], nodes, rowOf(last));
  } else {
    StepBack(last, HoldingAt(last), nullptr, rowOf(last));
  }
  for (int at = last - 1; at >= first; --at)
    StepBack(at, HoldingAt(at), rowOf(at + 1), rowOf(at));
  loaded_ = number;
  return true;
}

/// The ends at `offset`, which is loaded. Those at the offset after it follow.
const LineGroups::End* LineGroups::EndsAt(int offset) const {
  if (offset == textBegin_) return endsAtBegin_.data();
  return &stretch_[static_cast<std::size_t>(offset % kLineStretch) * graph_.Size()];
}

LineGroups::Match LineGroups::Find(const char* place, bool beginsText, WorkCredit& credit) {
  const auto from = static_cast<int>(place - begin_);
  textBegin_ = -1;
  const int start = beginsText ? FirstStart(from, credit) : NextStart(from);
  if (start > length_) return {};
  Match match;
  match.start = begin_ + std::max(start, from);
  match.outcome = start >= 0 && Walk(start, credit, match.group) ? SearchOutcome::kFound
                                                                 : SearchOutcome::kGaveUp;
  return match;
}

/// Walks along the match that starts at `start` until the group is known. Returns false if the credit does
/// not allow it.
bool LineGroups::Walk(int start, WorkCredit& credit, GroupRange& group) {
  ForgetPassed();
  if (!Load(start, credit)) return false;
  const End end = EndsAt(start)[graph_.Start()];
  BracketRanges ranges(matcher_.tree_.groupCount);
  std::int64_t steps = 0;
  Number number = graph_.Start();
  for (int offset = start;;) {
    const EngineGraph::Node& node = graph_.At(number);
    const BoundedMatcher::Step& step = matcher_.At(node.address);
    matcher_.PassBracket(step, offset - start, ranges);
    if (step.operation == Operation::kMatch) break;
    if (!leadsToBracket_[static_cast<std::size_t>(number)] && ranges.IsSettled(group_)) break;
    ++steps;
    if (node.nextCount > 0) {
      number = StepWithoutByte(number, EndsAt(offset), end);
      continue;
    }
    number = node.afterByte;
    ForgetPassed();
    if (!Load(++offset, credit)) return false;
  }
  group = ranges.At(group_);
  return credit.Spend(steps * kLineWalkUnits);
}

void LineGroups::ForgetPassed() {
  for (const Number passed : passed_)
    isPassed_[static_cast<std::size_t>(passed)] = false;
  passed_.clear();
}

/// Where the walk goes on from `number`, which leads on without a byte: to the first side on a way to `end`,
/// or to the second if it has passed the first since the last byte.
LineGroups::Number LineGroups::StepWithoutByte(Number number, const End* ends, End end) {
  if (!isPassed_[static_cast<std::size_t>(number)]) {
    passed_.push_back(number);
    isPassed_[static_cast<std::size_t>(number)] = true;
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
