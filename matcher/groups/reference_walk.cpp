#include "matcher/groups/reference_walk.h"

#include "matcher/limits.h"
#include "matcher/runs/byte_words.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

namespace {

/// Whether `group` can match nothing, anchors and back-references taken to
/// hold.
bool CanBeEmpty(const WayGraph& graph, int group) {
  std::vector<bool> isReached(graph.steps.size());
  std::vector<int> open;
  for (std::size_t i = 0; i < graph.steps.size(); ++i) {
    const WayStep& step = graph.steps[i];
    if (step.kind == WayKind::kOpen && step.value == group) open.push_back(static_cast<int>(i));
  }
  while (!open.empty()) {
    const int index = open.back();
    open.pop_back();
    if (index == kNoStep || isReached[static_cast<std::size_t>(index)]) continue;
    isReached[static_cast<std::size_t>(index)] = true;
    const WayStep& step = graph.Step(index);
    if (step.kind == WayKind::kClose && step.value == group) return true;
    if (step.kind == WayKind::kBytes) continue;
    open.push_back(step.next);
    open.push_back(step.other);
  }
  return false;
}

}  // namespace

std::optional<ReferenceWalk> ReferenceWalk::Make(const WayGraph& graph, const Options& options) {
  if (graph.isTooLarge || !graph.hasReferences || graph.sets.size() > 1000) return {};
  for (const WayStep& step : graph.steps) {
    if (step.kind == WayKind::kReference && CanBeEmpty(graph, step.value)) return {};
  }
  const auto paths = PathsOf(graph, true);
  if (!paths.has_value()) return {};
  ReferenceWalk walk;
  walk.options_ = options;
  walk.classCount_ = MakeByteClasses(graph, walk.classOf_);
  if (graph.steps.size() * walk.classCount_ > kMaxWayLinks || !walk.Fill(graph, *paths)) return {};
  walk.NoteRepeats(graph, *paths);
  walk.NoteStarts();
  walk.NoteFirstRun();
  walk.looksForRuns_ = walk.beginsWithRun_ && walk.RunsAreWords();
  return walk;
}

/// Returns false if a choice is left.
bool ReferenceWalk::Fill(const WayGraph& graph, const std::vector<WayPath>& paths) {
  const std::size_t count = graph.steps.size() + 1;
  links_.assign(count * classCount_, {});
  ends_.assign(count, {});
  references_.assign(count, {});
  groups_.assign(count, 0);
  marks_.emplace_back();
  first_ = static_cast<State>(count - 1);
  groupCount_ = static_cast<std::size_t>(graph.groupCount);
  captureCount_ = groupCount_ + 1;
  std::vector<bool> takesBytes(count);
  for (const WayPath& path : paths) {
    Link link{static_cast<State>(path.to), 0};
    if (!path.marks.empty()) {
      link.marks = static_cast<std::uint16_t>(marks_.size());
      marks_.push_back(path.marks);
    }
    const std::size_t from = path.from == kNoStep ? first_ : static_cast<std::size_t>(path.from);
    const WayStep& to = graph.Step(path.to);
    if (to.kind != WayKind::kBytes) {
      Link& place = to.kind == WayKind::kMatch ? ends_[from] : references_[from];
      if (place.to != kNoState) return false;
      place = link;
      if (to.kind == WayKind::kReference) {
        groups_[link.to] = to.value;
        captureCount_ = std::max(captureCount_, static_cast<std::size_t>(to.value) + 1);
      }
      continue;
    }
    takesBytes[from] = true;
    std::vector<bool> isDone(classCount_);
    for (std::size_t b = 0; b < 256; ++b) {
      if (!graph.SetOf(to).test(b) || isDone[classOf_[b]]) continue;
      isDone[classOf_[b]] = true;
      Link& place = links_[from * classCount_ + classOf_[b]];
      if (place.to != kNoState) return false;
      place = link;
    }
  }
  for (std::size_t state = 0; state < count; ++state) {
    const bool hasReference = references_[state].to != kNoState;
    if (takesBytes[state] && hasReference) return false;
    isSpecial_.push_back(hasReference || ends_[state].to != kNoState ? 1 : 0);
  }
  return true;
}

/// Follows the pattern as far as its pieces have fixed lengths, and notes which
/// bytes stand twice.
void ReferenceWalk::NoteRepeats(const WayGraph& graph, const std::vector<WayPath>& paths) {
  for (std::size_t b = 0; b < 256; ++b) {
    if (options_.comparedAs[b] != b) return;
  }
  std::vector<ByteRange> ranges(captureCount_);
  std::vector<int> pathCounts(graph.steps.size() + 1);
  std::vector<const WayPath*> pathFrom(graph.steps.size() + 1);
  for (const WayPath& path : paths) {
    const std::size_t from = path.from == kNoStep ? first_ : static_cast<std::size_t>(path.from);
    ++pathCounts[from];
    pathFrom[from] = &path;
  }
  std::size_t offset = 0;
  std::size_t state = first_;
  while (repeats_.size() < kMostRepeatedBytes && pathCounts[state] == 1) {
    const WayPath& path = *pathFrom[state];
    for (const WayMark& mark : path.marks) {
      const auto group = static_cast<std::size_t>(mark.value);
      if (mark.kind == WayKind::kOpen) ranges[group].begin = offset;
      if (mark.kind == WayKind::kClose) ranges[group].end = offset;
    }
    const WayStep& to = graph.Step(path.to);
    if (to.kind == WayKind::kMatch) return;
    state = static_cast<std::size_t>(path.to);
    if (to.kind == WayKind::kBytes) {
      ++offset;
      continue;
    }
    const ByteRange range = ranges[static_cast<std::size_t>(to.value)];
    if (range.end == kNowhere) return;
    for (std::size_t at = range.begin; at < range.end && repeats_.size() < kMostRepeatedBytes;
         ++at) {
      reach_ = std::max(reach_, offset + at - range.begin);
      repeats_.push_back({at, offset + at - range.begin});
    }
    offset += range.Length();
  }
}

std::size_t ReferenceWalk::EndOfMatch(TextView text, std::size_t start, std::size_t lineEnd,
                                      Captures& captures, std::uint64_t& used) const {
  if (beginsWithRun_ && !CanGoOnAfterRun(text, start, lineEnd, used)) return kNowhere;
  return Follow(text, start, lineEnd, kNowhere, captures, used);
}

/// Notes whether the pattern begins as "([a-z]+) \1" does. At most places it is seen from the byte after the
/// run, and the one after that, that nothing matches.
void ReferenceWalk::NoteFirstRun() {
  const auto links = [&](State state) { return links_.data() + state * classCount_; };
  const auto isMark = [](const WayMark& mark, WayKind kind, int group) {
    return mark.kind == kind && mark.value == group;
  };
  State run = kNoState;
  for (std::size_t c = 0; c < classCount_; ++c) {
    const Link& link = links(first_)[c];
    if (link.to == kNoState) continue;
    if (run != kNoState && link.to != run) return;
    run = link.to;
  }
  if (run == kNoState || isSpecial_[first_] || isSpecial_[run]) return;
  std::vector<InRun> ofClass(classCount_, InRun::kNo);
  for (std::size_t c = 0; c < classCount_; ++c) {
    const Link& link = links(run)[c];
    if (link.to == kNoState) continue;
    if (link.to == run) {
      if (link.marks != 0) return;
      ofClass[c] = InRun::kRun;
      continue;
    }
    const Link& reference = references_[link.to];
    if (reference.to == kNoState || ends_[link.to].to != kNoState) return;
    const int group = groups_[reference.to];
    const auto& closing = marks_[link.marks];
    const bool closes = std::any_of(closing.begin(), closing.end(), [&](const WayMark& mark) {
      return isMark(mark, WayKind::kClose, group);
    });
    const bool opensAgain =
        std::any_of(marks_[reference.marks].begin(), marks_[reference.marks].end(),
                    [&](const WayMark& mark) { return mark.kind != WayKind::kAnchor; });
    if (!closes || opensAgain) return;
    for (std::size_t first = 0; first < classCount_; ++first) {
      const Link& opening = links(first_)[first];
      if (opening.to == kNoState) continue;
      const auto& marks = marks_[opening.marks];
      const bool opens = std::any_of(marks.begin(), marks.end(), [&](const WayMark& mark) {
        return isMark(mark, WayKind::kOpen, group);
      });
      if (!opens) return;
    }
    ofClass[c] = InRun::kAfter;
  }
  for (std::size_t b = 0; b < inRun_.size(); ++b)
    inRun_[b] = ofClass[classOf_[b]];
  beginsWithRun_ = true;
}

/// Whether the first group begins where a run does and nowhere else, as it is where it must begin a word.
bool ReferenceWalk::RunsAreWords() const {
  for (std::size_t b = 0; b < inRun_.size(); ++b) {
    if (starts_[b] == Start::kAlways) return false;
    if (starts_[b] != Start::kNever && inRun_[b] != InRun::kRun) return false;
    if (inRun_[b] == InRun::kRun && !options_.wordBytes.test(b)) return false;
  }
  return inRun_['\n'] == InRun::kNo;
}

/// Whether after the run at `start` stands what may stand there, and then the first byte of the run again.
bool ReferenceWalk::CanGoOnAfterRun(TextView text, std::size_t start, std::size_t lineEnd,
                                    std::uint64_t& used) const {
  std::size_t end = start + 1;
  while (end < lineEnd && inRun_[text[end]] == InRun::kRun)
    ++end;
  used += (end - start) / 4 + 1;
  if (end + 1 >= lineEnd || inRun_[text[end]] != InRun::kAfter) return false;
  return options_.comparedAs[text[end + 1]] == options_.comparedAs[text[start]];
}

void ReferenceWalk::FindGroups(TextView text, const ByteRange& match, Captures& captures,
                               std::vector<ByteRange>& groups) const {
  std::uint64_t used = 0;
  Follow(text, match.begin, match.end, match.end, captures, used);
  groups.resize(groupCount_);
  for (std::size_t group = 1; group <= groupCount_; ++group)
    groups[group - 1] = captures[group].range;
}

/// Follows the way from `start` as far as it goes, or until the pattern ends at
/// `stop`. Returns the last place where it could end.
std::size_t ReferenceWalk::Follow(TextView text, std::size_t start, std::size_t lineEnd,
                                  std::size_t stop, Captures& captures, std::uint64_t& used) const {
  captures.assign(captureCount_, {});
  std::size_t end = kNowhere;
  std::size_t place = start;
  std::size_t state = first_;
  while (true) {
    if (isSpecial_[state]) {
      if (const Link& link = ends_[state];
          link.to != kNoState && (stop == kNowhere || place == stop)) {
        const bool isEnd = stop == kNowhere ? CanEndAt(link.marks, text, place)
                                            : Pass(link.marks, text, place, captures);
        if (isEnd) end = place;
        if (isEnd && place == stop) break;
      }
      if (const Link& link = references_[state]; link.to != kNoState) {
        if (!Pass(link.marks, text, place, captures)) break;
        const ByteRange range = captures[static_cast<std::size_t>(groups_[link.to])].range;
        if (!Repeats(text, range, place, lineEnd)) break;
        place += range.Length();
        state = link.to;
        continue;
      }
    }
    if (place == lineEnd) break;
    const Link& link = links_[state * classCount_ + classOf_[text[place]]];
    if (link.to == kNoState) break;
    if (link.marks != 0 && !Pass(link.marks, text, place, captures)) break;
    state = link.to;
    ++place;
  }
  used += place - start + 1;
  return end;
}

/// Whether the anchors on the way to the pattern's end hold.
bool ReferenceWalk::CanEndAt(std::uint16_t list, TextView text, std::size_t place) const {
  if (options_.wholeWords && place < text.size() && options_.wordBytes.test(text[place])) {
    return false;
  }
  return std::all_of(marks_[list].begin(), marks_[list].end(), [&](const WayMark& mark) {
    return mark.kind != WayKind::kAnchor ||
           AnchorHolds(static_cast<Anchor>(mark.value), text, place, options_.wordBytes);
  });
}

/// Passes brackets and anchors; returns false if one of these does not hold.
bool ReferenceWalk::Pass(std::uint16_t list, TextView text, std::size_t place,
                         Captures& captures) const {
  for (const WayMark& mark : marks_[list]) {
    if (mark.kind == WayKind::kAnchor) {
      if (!AnchorHolds(static_cast<Anchor>(mark.value), text, place, options_.wordBytes)) {
        return false;
      }
      continue;
    }
    Capture& capture = captures[static_cast<std::size_t>(mark.value)];
    if (mark.kind == WayKind::kOpen) {
      capture.opened = place;
    } else {
      capture.range = {capture.opened, place};
    }
  }
  return true;
}

bool ReferenceWalk::Repeats(TextView text, const ByteRange& range, std::size_t place,
                            std::size_t lineEnd) const {
  if (range.IsNowhere() || range.Length() > lineEnd - place) return false;
  for (std::size_t i = 0; i < range.Length(); ++i) {
    const unsigned char first = options_.comparedAs[text[range.begin + i]];
    if (first != options_.comparedAs[text[place + i]]) return false;
  }
  return true;
}

bool ReferenceWalk::CanBeAt(TextView text, std::size_t place) const {
  return std::all_of(repeats_.begin(), repeats_.end(), [&](const Repeat& repeat) {
    return text[place + repeat.first] == text[place + repeat.second];
  });
}

std::size_t ReferenceWalk::NextStart(TextView text, std::size_t from, std::size_t lastStart) const {
  for (std::size_t place = from; place <= lastStart; ++place) {
    if (place == text.size()) return canStartAnywhere_ ? place : kNowhere;
    if (CanStartAt(text, place)) return place;
  }
  return kNowhere;
}

bool ReferenceWalk::CanStartAt(TextView text, std::size_t place) const {
  const Start start = starts_[text[place]];
  if (start != Start::kAfterNoWord) return start == Start::kAlways;
  return place == 0 || !options_.wordBytes.test(text[place - 1]);
}

/// The first place from `from` to `lastStart` where a run begins after which what may stand there does, and then the
/// first byte of the run again; kNowhere if there is none. Byte by byte, without asking where runs end, which no
/// processor foresees.
std::size_t ReferenceWalk::NextRun(TextView text, std::size_t from, std::size_t lastStart) const {
  if (from >= text.size()) return kNowhere;
  std::size_t start = from;  // of the run that the place belongs to, or the place
  unsigned char byte = text[from];
  unsigned char first = options_.comparedAs[byte];
  for (std::size_t place = from; place + 1 < text.size() && start <= lastStart; ++place) {
    const InRun here = inRun_[byte];
    byte = text[place + 1];
    const unsigned char next = options_.comparedAs[byte];
    const bool standsAgain = (here == InRun::kAfter) & (next == first) & (start < place);
    if (standsAgain && CanStartAt(text, start)) return start;
    start = here == InRun::kRun ? start : place + 1;
    first = here == InRun::kRun ? first : next;
  }
  return kNowhere;
}

/// Notes with which bytes a match can begin, and whether it must begin a word then.
void ReferenceWalk::NoteStarts() {
  canStartAnywhere_ = ends_[first_].to != kNoState || references_[first_].to != kNoState;
  for (std::size_t b = 0; b < 256; ++b) {
    const Link& link = links_[first_ * classCount_ + classOf_[b]];
    const auto beginsWord = [](const WayMark& mark) {
      return mark.kind == WayKind::kAnchor && mark.value == static_cast<int>(Anchor::kWordStart);
    };
    starts_[b] = Start::kNever;
    if (canStartAnywhere_ || link.to != kNoState) starts_[b] = Start::kAlways;
    if (canStartAnywhere_ || link.to == kNoState) continue;
    const std::vector<WayMark>& marks = marks_[link.marks];
    const bool beginsItsWord = std::any_of(marks.begin(), marks.end(), beginsWord);
    if (beginsItsWord || options_.wholeWords) starts_[b] = Start::kAfterNoWord;
  }
}

std::size_t ReferenceWalk::NextPlace(TextView text, std::size_t from, std::size_t lastStart) const {
  if (looksForRuns_) return NextRun(text, from, lastStart);
  if (text.size() <= reach_) return kNowhere;
  const std::size_t last = std::min(lastStart, text.size() - reach_ - 1);
  std::size_t place = from;
  if constexpr (std::endian::native == std::endian::little) {
    for (; place + reach_ + 8 <= text.size() && place <= last; place += 8) {
      const unsigned char* const bytes = text.data() + place;
      std::uint64_t alike = ~std::uint64_t{0};
      for (const Repeat& repeat : repeats_)
        alike &= ZeroBytes(EightBytes(bytes + repeat.first) ^ EightBytes(bytes + repeat.second));
      if (alike == 0) continue;
      place += static_cast<std::size_t>(std::countr_zero(alike)) / 8;
      return place <= last ? place : kNowhere;
    }
  }
  for (; place <= last; ++place) {
    if (CanBeAt(text, place)) return place;
  }
  return kNowhere;
}

}  // namespace trovex
