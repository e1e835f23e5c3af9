#include "matcher/groups/single_way.h"

#include "matcher/limits.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace trovex {

namespace {

class PathFinder {
 public:
  PathFinder(const WayGraph& graph, bool withAnchors) : graph_(graph), withAnchors_(withAnchors) {}

  std::optional<std::vector<WayPath>> Find() {
    isSource_.assign(graph_.steps.size(), false);
    if (!AddFrom(graph_.start, graph_.start, true)) return {};
    while (!sources_.empty()) {
      const int source = sources_.back();
      sources_.pop_back();
      if (!AddFrom(source, graph_.Step(source).next, false)) return {};
    }
    return std::move(paths_);
  }

 private:
  struct Branch {
    int step;
    std::size_t marks;
  };

  /// Adds the ways from `source` that begin with the step `first`.
  bool AddFrom(int source, int first, bool isStart) {
    std::vector<WayMark> marks;
    std::vector<Branch> branches{{first, 0}};
    while (!branches.empty()) {
      const Branch branch = branches.back();
      branches.pop_back();
      marks.resize(branch.marks, {WayKind::kOpen, 0});
      for (int at = branch.step; at != kNoStep;) {
        if (++visits_ > kMaxWayVisits) return false;
        const WayStep& step = graph_.Step(at);
        switch (step.kind) {
          case WayKind::kBytes:
          case WayKind::kReference:
            NoteSource(at);
            [[fallthrough]];
          case WayKind::kMatch:
            paths_.push_back({isStart ? kNoStep : source, at, marks});
            if (paths_.size() > kMaxWays) return false;
            at = kNoStep;
            continue;
          case WayKind::kSplit:
            branches.push_back({step.other, marks.size()});
            break;
          case WayKind::kAnchor:
            if (withAnchors_) marks.push_back({step.kind, step.value});
            break;
          case WayKind::kOpen:
          case WayKind::kClose:
            marks.push_back({step.kind, step.value});
            break;
          case WayKind::kPieceEnd:
            break;
        }
        at = step.next;
      }
    }
    return true;
  }

  void NoteSource(int step) {
    if (isSource_[static_cast<std::size_t>(step)]) return;
    isSource_[static_cast<std::size_t>(step)] = true;
    sources_.push_back(step);
  }

  const WayGraph& graph_;
  const bool withAnchors_;
  std::vector<WayPath> paths_;
  std::vector<bool> isSource_;
  std::vector<int> sources_;
  std::size_t visits_ = 0;
};

}  // namespace

std::optional<std::vector<WayPath>> PathsOf(const WayGraph& graph, bool withAnchors) {
  if (graph.isTooLarge) return {};
  return PathFinder(graph, withAnchors).Find();
}

std::size_t MakeByteClasses(const WayGraph& graph, ByteMap& classOf) {
  classOf.fill(0);
  std::size_t count = 1;
  for (const CharSet& set : graph.sets) {
    std::map<std::pair<unsigned char, bool>, unsigned char> classes;
    for (std::size_t b = 0; b < 256; ++b) {
      const auto next = static_cast<unsigned char>(classes.size());
      classOf[b] = classes.try_emplace({classOf[b], set.test(b)}, next).first->second;
    }
    count = classes.size();
  }
  return count;
}

std::optional<SingleWay> SingleWay::Make(const WayGraph& graph) {
  if (graph.hasReferences || graph.sets.size() > kMaxWays) return {};
  const auto paths = PathsOf(graph, false);
  if (!paths.has_value()) return {};
  SingleWay way;
  way.groupCount_ = graph.groupCount;
  way.classCount_ = MakeByteClasses(graph, way.classOf_);
  if (graph.steps.size() * way.classCount_ > kMaxWayLinks) return {};
  way.marks_.emplace_back();
  for (const WayPath& path : *paths) {
    if (!path.marks.empty()) way.marks_.push_back(path.marks);
  }
  way.isForward_ = way.FillForward(graph, *paths);
  if (!way.isForward_ && !way.FillBackward(graph, *paths)) return {};
  return way;
}

// A state is a step of the graph; the start and the end of the pattern are two
// more.

void SingleWay::Clear(std::size_t stateCount) {
  links_.assign(stateCount * classCount_, {});
  endLinks_.assign(stateCount, {});
  first_ = static_cast<State>(stateCount - 2);
  last_ = static_cast<State>(stateCount - 1);
}

/// Returns false if the link is taken.
bool SingleWay::Set(Link& link, const Link& value) {
  if (link.to != kNoState) return false;
  link = value;
  return true;
}

bool SingleWay::SetForBytes(const CharSet& bytes, std::size_t state, const Link& value) {
  std::vector<bool> isDone(classCount_);
  for (std::size_t b = 0; b < 256; ++b) {
    if (!bytes.test(b) || isDone[classOf_[b]]) continue;
    isDone[classOf_[b]] = true;
    if (!Set(links_[state * classCount_ + classOf_[b]], value)) return false;
  }
  return true;
}

bool SingleWay::FillForward(const WayGraph& graph, const std::vector<WayPath>& paths) {
  Clear(graph.steps.size() + 2);
  std::uint16_t lists = 0;
  for (const WayPath& path : paths) {
    const std::uint16_t marks = path.marks.empty() ? std::uint16_t{0} : ++lists;
    const std::size_t from = path.from == kNoStep ? first_ : static_cast<std::size_t>(path.from);
    const WayStep& to = graph.Step(path.to);
    const bool isFree =
        to.kind == WayKind::kMatch
            ? Set(endLinks_[from], {last_, marks})
            : SetForBytes(graph.SetOf(to), from, {static_cast<State>(path.to), marks});
    if (!isFree) return false;
  }
  return true;
}

bool SingleWay::FillBackward(const WayGraph& graph, const std::vector<WayPath>& paths) {
  Clear(graph.steps.size() + 2);
  std::uint16_t lists = 0;
  for (const WayPath& path : paths) {
    const std::uint16_t marks = path.marks.empty() ? std::uint16_t{0} : ++lists;
    const bool isLast = graph.Step(path.to).kind == WayKind::kMatch;
    const std::size_t to = isLast ? last_ : static_cast<std::size_t>(path.to);
    const bool isFree = path.from == kNoStep ? Set(endLinks_[to], {first_, marks})
                                             : SetForBytes(graph.SetOf(graph.Step(path.from)), to,
                                                           {static_cast<State>(path.from), marks});
    if (!isFree) return false;
  }
  return true;
}

bool SingleWay::Find(TextView text, const ByteRange& match, std::vector<ByteRange>& groups,
                     std::vector<std::size_t>& opened) const {
  groups.assign(static_cast<std::size_t>(groupCount_), {});
  return isForward_ ? FindForward(text, match, groups, opened) : FindBackward(text, match, groups);
}

bool SingleWay::FindForward(TextView text, const ByteRange& match, std::vector<ByteRange>& groups,
                            std::vector<std::size_t>& opened) const {
  opened.resize(std::max(opened.size(), groups.size() + 1));
  std::size_t state = first_;
  for (std::size_t place = match.begin; place < match.end; ++place) {
    const Link& link = LinkFor(state, text[place]);
    if (link.to == kNoState) return false;
    if (link.marks != 0) MarkForward(link.marks, place, groups, opened);
    state = link.to;
  }
  const Link& link = endLinks_[state];
  if (link.marks != 0) MarkForward(link.marks, match.end, groups, opened);
  return link.to != kNoState;
}

void SingleWay::MarkForward(std::uint16_t list, std::size_t place, std::vector<ByteRange>& groups,
                            std::vector<std::size_t>& opened) const {
  for (const WayMark& mark : marks_[list]) {
    const auto group = static_cast<std::size_t>(mark.value);
    if (mark.kind == WayKind::kOpen) {
      opened[group] = place;
    } else {
      groups[group - 1] = {opened[group], place};
    }
  }
}

bool SingleWay::FindBackward(TextView text, const ByteRange& match,
                             std::vector<ByteRange>& groups) const {
  std::size_t state = last_;
  for (std::size_t place = match.end; place > match.begin; --place) {
    const Link& link = LinkFor(state, text[place - 1]);
    if (link.to == kNoState) return false;
    if (link.marks != 0) MarkBackward(link.marks, place, groups);
    state = link.to;
  }
  const Link& link = endLinks_[state];
  if (link.marks != 0) MarkBackward(link.marks, match.begin, groups);
  return link.to != kNoState;
}

/// A group's last round comes first, and counts.
void SingleWay::MarkBackward(std::uint16_t list, std::size_t place,
                             std::vector<ByteRange>& groups) const {
  const std::vector<WayMark>& marks = marks_[list];
  for (auto mark = marks.rbegin(); mark != marks.rend(); ++mark) {
    ByteRange& range = groups[static_cast<std::size_t>(mark->value) - 1];
    std::size_t& edge = mark->kind == WayKind::kOpen ? range.begin : range.end;
    if (edge == kNowhere) edge = place;
  }
}

}  // namespace trovex
