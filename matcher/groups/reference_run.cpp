// Trying the ways through a pattern with back-references.
//
// A way is followed from split to split. What becomes of a split is the best
// way onward from it: it is known by the ends of the pieces that are open
// there, the match itself being the outermost, and a piece's end refers to that
// of the piece around it, so that ways share what they have in common.

#include "matcher/costs.h"
#include "matcher/groups/reference_search.h"
#include "matcher/limits.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace trovex {

namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t kDead = kNone;
constexpr std::uint32_t kUnknown = kNone - 1;

std::uint64_t Mixed(std::uint64_t a, std::uint64_t b) {
  std::uint64_t hash = a * 0x9E3779B97F4A7C15U;
  hash = (hash ^ (hash >> 32) ^ b) * 0xD6E8FEB86659FD93U;
  return hash ^ (hash >> 32);
}

}  // namespace

ReferenceRun::ReferenceRun(const ReferenceSearch& search)
    : search_(search),
      graph_(search.graph_),
      captures_(static_cast<std::size_t>(search.slotCount_)),
      captureSlots_(64, kNone),
      outcomeSlots_(64, kNone),
      opened_(static_cast<std::size_t>(graph_.groupCount) + 1) {}

void ReferenceRun::Begin(TextView text) {
  row_.Begin();
  rowText_ = text.data();
  leftRow_ = false;
  BeginAgain(text);
}

/// The same, where what was found out about the text still holds.
void ReferenceRun::BeginAgain(TextView text) {
  text_ = text;
  hasLine_ = false;
  used_ = 0;
  rowUsedBefore_ = row_.Used();
  budget_ = text.size() * kReferenceUnitsPerByte + kReferenceUnitsPerText;
}

void ReferenceRun::BeginRest(TextView text) {
  const auto from = static_cast<std::size_t>(text.data() - text_.data());
  const bool isOnLine = hasLine_ && lineBegin_ <= from && from <= lineEnd_;
  const std::size_t lineEnd = lineEnd_;
  BeginAgain(text);
  if (!isOnLine) return;
  hasLine_ = true;
  lineBegin_ = 0;
  lineEnd_ = lineEnd - from;
  Forget();
}

std::uint64_t ReferenceRun::Used() const {
  return used_ + (row_.Used() - rowUsedBefore_) / static_cast<std::uint64_t>(kReferenceUnits);
}

SearchOutcome ReferenceRun::Find(std::size_t from, std::size_t lastStart, ByteRange& match,
                                 std::vector<ByteRange>* groups) {
  if (search_.isTooLarge_) {
    gaveUpAt_ = from;
    return SearchOutcome::kGaveUp;
  }
  if (search_.doubled_) return FindDoubled(from, lastStart, match, groups);
  if (search_.row_ && !leftRow_ && groups == nullptr) {
    const SearchOutcome outcome = FindRow(from, lastStart, match);
    if (!leftRow_ || !search_.walk_) return outcome;
    from = gaveUpAt_;
  }
  while (from <= lastStart) {
    if (search_.walk_ && search_.walk_->LooksForPlaces()) {
      from = search_.walk_->NextPlace(text_, from, lastStart);
    }
    if (from == kNowhere || !EnterLine(from)) break;
    if (search_.walk_) {
      const SearchOutcome outcome = Walk(from, std::min(lastStart, lineEnd_), match, groups);
      if (outcome != SearchOutcome::kNotFound) return outcome;
      continue;
    }
    const SearchOutcome outcome = FindInLine(from, std::min(lastStart, lineEnd_), match, groups);
    if (outcome != SearchOutcome::kNotFound) return outcome;
    from = lineEnd_ + 1;
  }
  return SearchOutcome::kNotFound;
}

SearchOutcome ReferenceRun::FindDoubled(std::size_t from, std::size_t lastStart, ByteRange& match,
                                        std::vector<ByteRange>* groups) {
  std::size_t half = 0;
  const std::size_t start =
      search_.doubled_->Next(text_, from, lastStart, half, used_, budget_, same_);
  if (start == kNowhere) return SearchOutcome::kNotFound;
  if (half == 0) {
    gaveUpAt_ = start;
    return SearchOutcome::kGaveUp;
  }
  match = {start, start + 2 * half};
  if (groups != nullptr) groups->assign(1, {start, start + half});
  return SearchOutcome::kFound;
}

/// Reads the row. Where there are too many ways at a place, or more was used in the text than what was gone through is
/// worth, the row is not read any more in this text.
SearchOutcome ReferenceRun::FindRow(std::size_t from, std::size_t lastStart, ByteRange& match) {
  const auto before = static_cast<std::uint64_t>(text_.data() + from - rowText_);
  const std::uint64_t credit = kRowUnitsPerText + kRowUnitsPerByte * before;
  const std::uint64_t most = credit - std::min(credit, row_.Used());
  const SearchOutcome outcome = search_.row_->Next(text_, from, lastStart, match, most, row_);
  if (outcome != SearchOutcome::kGaveUp) return outcome;
  leftRow_ = true;
  gaveUpAt_ = match.begin;
  return outcome;
}

/// Goes the only way that the pattern leaves open: from `from` alone if places
/// are looked for, else from every place of the line up to `lastStart`. Sets
/// `from` to the place to go on at.
SearchOutcome ReferenceRun::Walk(std::size_t& from, std::size_t lastStart, ByteRange& match,
                                 std::vector<ByteRange>* groups) {
  const bool looksForPlaces = search_.walk_->LooksForPlaces();
  const std::size_t last = looksForPlaces ? from : lastStart;
  const std::size_t next = looksForPlaces ? from + 1 : lineEnd_ + 1;
  for (std::size_t start = from; start <= last; ++start) {
    start = search_.walk_->NextStart(text_, start, last);
    if (start == kNowhere) break;
    if (!CanStartAt(start)) continue;
    if (used_ > budget_) {
      gaveUpAt_ = start;
      return SearchOutcome::kGaveUp;
    }
    const std::size_t end = search_.walk_->EndOfMatch(text_, start, lineEnd_, walkCaptures_, used_);
    if (end == kNowhere) continue;
    match = {start, end};
    if (groups != nullptr) search_.walk_->FindGroups(text_, match, walkCaptures_, *groups);
    return SearchOutcome::kFound;
  }
  from = next;
  return SearchOutcome::kNotFound;
}

/// Makes the line that holds `place` the present one. Returns false if there is
/// none.
bool ReferenceRun::EnterLine(std::size_t place) {
  if (hasLine_ && place >= lineBegin_ && place <= lineEnd_) return true;
  const unsigned char* const bytes = text_.data();
  const std::size_t size = text_.size();
  if (place > size || (place == size && size > 0 && bytes[size - 1] == '\n')) return false;
  lineBegin_ = place;
  const bool isLeftBehind = hasLine_ && place > lineEnd_;
  const std::size_t first = isLeftBehind ? lineEnd_ + 1 : 0;
  while (lineBegin_ > first && bytes[lineBegin_ - 1] != '\n')
    --lineBegin_;
  const void* const feed = place < size ? std::memchr(bytes + place, '\n', size - place) : nullptr;
  lineEnd_ = feed != nullptr
                 ? static_cast<std::size_t>(static_cast<const unsigned char*>(feed) - bytes)
                 : size;
  hasLine_ = true;
  Forget();
  return true;
}

SearchOutcome ReferenceRun::FindInLine(std::size_t from, std::size_t lastStart, ByteRange& match,
                                       std::vector<ByteRange>* groups) {
  for (std::size_t start = from; start <= lastStart; ++start) {
    if (!CanStartAt(start)) continue;
    Place end = 0;
    const auto place = static_cast<Place>(start - lineBegin_);
    const SearchOutcome outcome = LongestFrom(place, end, groups != nullptr);
    if (outcome == SearchOutcome::kNotFound) continue;
    if (outcome == SearchOutcome::kGaveUp) {
      gaveUpAt_ = start;
      Forget();
      return outcome;
    }
    match = {start, lineBegin_ + end};
    if (groups != nullptr) Trace(place, *groups);
    return outcome;
  }
  return SearchOutcome::kNotFound;
}

bool ReferenceRun::CanStartAt(std::size_t place) const {
  if (!search_.canBeEmpty_ && (place >= lineEnd_ || !search_.firstBytes_.test(text_[place]))) {
    return false;
  }
  return !search_.options_.wholeWords || place == lineBegin_ ||
         !search_.options_.wordBytes.test(text_[place - 1]);
}

/// Forgets all that was remembered, in time proportional to it.
void ReferenceRun::Forget() {
  const auto clear = [](std::vector<std::uint32_t>& slots, std::size_t used) {
    if (used != 0) std::fill(slots.begin(), slots.end(), kNone);
    if (slots.size() > 1024 && used < slots.size() / 64) slots.resize(slots.size() / 4);
  };
  clear(outcomeSlots_, outcomes_.size());
  clear(captureSlots_, knownCaptures_.size());
  outcomes_.clear();
  knownCaptures_.clear();
  ends_.clear();
}

/// The longest match from `start`. If its groups are asked for, the best way to it is remembered.
SearchOutcome ReferenceRun::LongestFrom(Place start, Place& end, bool withGroups) {
  if (lineEnd_ - lineBegin_ >= kUnknown || used_ > budget_) return SearchOutcome::kGaveUp;
  const SearchOutcome tried = TryAllWays(start, end);
  if (tried == SearchOutcome::kNotFound) return tried;
  if (tried == SearchOutcome::kFound && !withGroups) return tried;
  return From(start, end);
}

/// Tries all ways from `start` without remembering anything, which is faster where they are few:
/// kGaveUp if they are many. Finds only the end of the longest match.
SearchOutcome ReferenceRun::TryAllWays(Place start, Place& end) {
  std::fill(captures_.begin(), captures_.end(), Capture{kNone, kNone, kNone});
  branches_.assign(1, {graph_.start, start, 0});
  changes_.clear();
  Place best = kNone;
  std::uint64_t units = 0;
  while (!branches_.empty()) {
    const Branch branch = branches_.back();
    branches_.pop_back();
    for (; changes_.size() > branch.changes; changes_.pop_back())
      captures_[changes_.back().slot] = changes_.back().before;
    Place place = branch.place;
    for (int at = branch.step; at != kNoStep;) {
      if (++units > kMostProbeUnits) {
        used_ += units;
        return SearchOutcome::kGaveUp;
      }
      const WayStep& step = graph_.Step(at);
      if (step.kind == WayKind::kMatch) {
        if (CanEndAt(place) && (best == kNone || place > best)) best = place;
        break;
      }
      if (step.kind == WayKind::kSplit) {
        branches_.push_back({step.other, place, changes_.size()});
        at = step.next;
        continue;
      }
      if (step.kind == WayKind::kOpen || step.kind == WayKind::kClose) NoteChange(step.value);
      at = Pass(step, place);
    }
  }
  used_ += units;
  end = best;
  return best == kNone ? SearchOutcome::kNotFound : SearchOutcome::kFound;
}

/// Keeps the capture of `group` as it is, to put it back.
void ReferenceRun::NoteChange(int group) {
  const int slot = search_.SlotOf(group);
  if (slot < 0) return;
  const auto index = static_cast<std::size_t>(slot);
  changes_.push_back({index, captures_[index]});
}

bool ReferenceRun::CanEndAt(Place place) const {
  const std::size_t end = lineBegin_ + place;
  return !search_.options_.wholeWords || end == lineEnd_ ||
         !search_.options_.wordBytes.test(text_[end]);
}

SearchOutcome ReferenceRun::From(Place start, Place& end) {
  if (outcomes_.size() > kMaxReferenceOutcomes / 2 ||
      knownCaptures_.size() > kMaxReferenceCaptures / 2 || ends_.size() > kMaxReferenceEnds / 2) {
    Forget();
  }
  const Value value = BestValue(start);
  if (value == kUnknown) return SearchOutcome::kGaveUp;
  if (value == kDead) return SearchOutcome::kNotFound;
  end = ends_[CutTo(0, value)].place;
  return SearchOutcome::kFound;
}

/// The best way from `start`; kDead if there is none, kUnknown if the budget
/// ended.
ReferenceRun::Value ReferenceRun::BestValue(Place start) {
  std::fill(captures_.begin(), captures_.end(), Capture{kNone, kNone, kNone});
  frames_.clear();
  Value value = Descend(graph_.start, start);
  while (!frames_.empty()) {
    if (used_ > budget_ || outcomes_.size() > kMaxReferenceOutcomes ||
        knownCaptures_.size() > kMaxReferenceCaptures || ends_.size() > kMaxReferenceEnds) {
      return kUnknown;
    }
    if (ReturnTo(frames_.back(), value)) continue;
    frames_.pop_back();
  }
  return value;
}

/// Follows a way until it is known what becomes of it. Splits and the ends of
/// pieces on it are left in `frames_`.
ReferenceRun::Value ReferenceRun::Descend(int at, Place place) {
  while (at != kNoStep) {
    const WayStep& step = graph_.Step(at);
    ++used_;
    if (step.kind == WayKind::kMatch) {
      if (!CanEndAt(place)) return kDead;
      ends_.push_back({place, kNone, 0});
      return static_cast<Value>(ends_.size() - 1);
    }
    if (step.kind == WayKind::kSplit) {
      const auto index = static_cast<std::size_t>(at);
      const std::uint32_t captures = NumberOfCaptures(search_.asked_[index]);
      bool isNew = false;
      const std::uint32_t outcome =
          FindOrAdd(static_cast<std::uint32_t>(at), place, captures, isNew);
      if (!isNew) return outcomes_[outcome].value;
      used_ += kUnitsPerOutcome;
      frames_.push_back({at, place, captures, false, kDead, outcome});
      at = step.next;
      if (at == kNoStep) return kDead;
      continue;
    }
    if (step.kind == WayKind::kPieceEnd) frames_.push_back({at, place, 0, false, kDead, 0});
    at = Pass(step, place);
  }
  return kDead;
}

/// Takes up a frame again with what became of the way that was followed from
/// it. Returns whether the frame is needed still: its second branch has been
/// begun.
bool ReferenceRun::ReturnTo(Frame& frame, Value& value) {
  const WayStep& step = graph_.Step(frame.step);
  if (step.kind == WayKind::kPieceEnd) {
    if (value == kDead) return false;
    ends_.push_back({frame.place, CutTo(step.depth - 1, value), step.depth});
    value = static_cast<Value>(ends_.size() - 1);
    return false;
  }
  if (value != kDead) value = CutTo(step.depth, value);
  if (!frame.isSecond) {
    frame.isSecond = true;
    frame.first = value;
    if (step.other == kNoStep) {
      outcomes_[frame.outcome].value = value;
      return false;
    }
    LoadCaptures(frame.captures);
    value = Descend(step.other, frame.place);
    return true;
  }
  Outcome& outcome = outcomes_[frame.outcome];
  outcome.takesOther = IsBetter(value, frame.first);
  if (!outcome.takesOther) value = frame.first;
  outcome.value = value;
  return false;
}

/// Passes a step that is neither a split nor the end. Returns what follows it;
/// kNoStep if it cannot be passed.
int ReferenceRun::Pass(const WayStep& step, Place& place) {
  const std::size_t at = lineBegin_ + place;
  switch (step.kind) {
    case WayKind::kBytes:
      if (at == lineEnd_ || !graph_.SetOf(step).test(text_[at])) return kNoStep;
      ++place;
      return step.next;
    case WayKind::kReference: {
      const Place before = place;
      if (!Repeats(step.value, place)) return kNoStep;
      return place == before ? step.other : step.next;
    }
    case WayKind::kAnchor:
      return AnchorHolds(static_cast<Anchor>(step.value), text_, at, search_.options_.wordBytes)
                 ? step.next
                 : kNoStep;
    case WayKind::kOpen:
      if (const int slot = search_.SlotOf(step.value); slot >= 0) {
        captures_[static_cast<std::size_t>(slot)].opened = place;
      }
      return step.next;
    case WayKind::kClose:
      if (const int slot = search_.SlotOf(step.value); slot >= 0) {
        Capture& capture = captures_[static_cast<std::size_t>(slot)];
        capture = {kNone, capture.opened, place};
      }
      return step.next;
    default:
      return step.next;
  }
}

/// Passes what `group` matched, if it stands at `place` again.
bool ReferenceRun::Repeats(int group, Place& place) {
  const Capture& capture = captures_[static_cast<std::size_t>(search_.SlotOf(group))];
  if (capture.end == kNone) return false;
  const std::size_t length = capture.end - capture.begin;
  const std::size_t at = lineBegin_ + place;
  if (length > lineEnd_ - at) return false;
  const unsigned char* const first = text_.data() + lineBegin_ + capture.begin;
  const unsigned char* const second = text_.data() + at;
  const ByteMap& as = search_.options_.comparedAs;
  for (std::size_t i = 0; i < length; ++i) {
    if (as[first[i]] != as[second[i]]) {
      used_ += i / 4;
      return false;
    }
  }
  used_ += length / 4;
  place += static_cast<Place>(length);
  return true;
}

/// Follows the best way, which is known, from `start` on.
void ReferenceRun::Trace(Place start, std::vector<ByteRange>& groups) {
  groups.assign(static_cast<std::size_t>(graph_.groupCount), {});
  std::fill(captures_.begin(), captures_.end(), Capture{kNone, kNone, kNone});
  Place place = start;
  int at = graph_.start;
  while (graph_.Step(at).kind != WayKind::kMatch) {
    const WayStep& step = graph_.Step(at);
    const auto value = static_cast<std::size_t>(step.value);
    if (step.kind == WayKind::kSplit) {
      const std::uint32_t captures = NumberOfCaptures(search_.asked_[static_cast<std::size_t>(at)]);
      bool isNew = false;
      const std::uint32_t outcome =
          FindOrAdd(static_cast<std::uint32_t>(at), place, captures, isNew);
      at = outcomes_[outcome].takesOther ? step.other : step.next;
      continue;
    }
    if (step.kind == WayKind::kOpen) opened_[value] = lineBegin_ + place;
    if (step.kind == WayKind::kClose) groups[value - 1] = {opened_[value], lineBegin_ + place};
    at = Pass(step, place);
  }
}

/// The number of the present captures, as far as they are asked for: the same
/// for the same.
std::uint32_t ReferenceRun::NumberOfCaptures(std::uint64_t asked) {
  const std::size_t count = captures_.size();
  std::uint64_t hash = 0;
  for (std::size_t slot = 0; slot < count; ++slot) {
    Capture& capture = captures_[slot];
    const int number = static_cast<int>(slot);
    if ((asked & ReferenceSearch::RangeBit(number)) == 0) capture.begin = capture.end = kNone;
    if ((asked & ReferenceSearch::OpeningBit(number)) == 0) capture.opened = kNone;
    hash = Mixed(hash ^ capture.opened, std::uint64_t{capture.begin} << 32 | capture.end);
  }
  if (count == 0) return 0;
  if ((knownCaptures_.size() / count + 1) * 2 > captureSlots_.size()) GrowCaptureSlots();
  std::size_t slot = hash & (captureSlots_.size() - 1);
  while (captureSlots_[slot] != kNone) {
    const Capture* const known = knownCaptures_.data() + captureSlots_[slot] * count;
    if (std::equal(captures_.begin(), captures_.end(), known)) return captureSlots_[slot];
    slot = (slot + 1) & (captureSlots_.size() - 1);
  }
  const auto number = static_cast<std::uint32_t>(knownCaptures_.size() / count);
  captureSlots_[slot] = number;
  knownCaptures_.insert(knownCaptures_.end(), captures_.begin(), captures_.end());
  return number;
}

void ReferenceRun::LoadCaptures(std::uint32_t number) {
  const std::size_t count = captures_.size();
  std::copy_n(knownCaptures_.begin() + static_cast<std::ptrdiff_t>(number * count), count,
              captures_.begin());
}

void ReferenceRun::GrowCaptureSlots() {
  const std::size_t count = captures_.size();
  captureSlots_.assign(captureSlots_.size() * 2, kNone);
  for (std::size_t number = 0; number < knownCaptures_.size() / count; ++number) {
    std::uint64_t hash = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const Capture& capture = knownCaptures_[number * count + i];
      hash = Mixed(hash ^ capture.opened, std::uint64_t{capture.begin} << 32 | capture.end);
    }
    std::size_t slot = hash & (captureSlots_.size() - 1);
    while (captureSlots_[slot] != kNone)
      slot = (slot + 1) & (captureSlots_.size() - 1);
    captureSlots_[slot] = static_cast<std::uint32_t>(number);
  }
}

/// The outcome of a split; a new one is dead until it is known.
std::uint32_t ReferenceRun::FindOrAdd(std::uint32_t step, Place place, std::uint32_t captures,
                                      bool& isNew) {
  if ((outcomes_.size() + 1) * 2 > outcomeSlots_.size()) GrowOutcomeSlots();
  const std::uint64_t hash = Mixed(std::uint64_t{step} << 32 | place, captures);
  std::size_t slot = hash & (outcomeSlots_.size() - 1);
  while (outcomeSlots_[slot] != kNone) {
    const Outcome& known = outcomes_[outcomeSlots_[slot]];
    if (known.place == place && known.step == step && known.captures == captures) {
      return outcomeSlots_[slot];
    }
    slot = (slot + 1) & (outcomeSlots_.size() - 1);
  }
  isNew = true;
  const auto number = static_cast<std::uint32_t>(outcomes_.size());
  outcomeSlots_[slot] = number;
  outcomes_.push_back({step, place, captures, kDead, false});
  return number;
}

void ReferenceRun::GrowOutcomeSlots() {
  outcomeSlots_.assign(outcomeSlots_.size() * 2, kNone);
  for (std::size_t number = 0; number < outcomes_.size(); ++number) {
    const Outcome& outcome = outcomes_[number];
    const std::uint64_t hash =
        Mixed(std::uint64_t{outcome.step} << 32 | outcome.place, outcome.captures);
    std::size_t slot = hash & (outcomeSlots_.size() - 1);
    while (outcomeSlots_[slot] != kNone)
      slot = (slot + 1) & (outcomeSlots_.size() - 1);
    outcomeSlots_[slot] = static_cast<std::uint32_t>(number);
  }
}

/// `value` without the pieces that are opened only later.
ReferenceRun::Value ReferenceRun::CutTo(int depth, Value value) const {
  while (ends_[value].depth > depth)
    value = ends_[value].around;
  return value;
}

/// Whether the second of two ways, both cut to the same depth, is better than
/// the first.
bool ReferenceRun::IsBetter(Value second, Value first) const {
  if (second == kDead || first == kDead) return second != kDead;
  bool isBetter = false;
  while (second != first && second != kNone && first != kNone) {
    const Place secondEnd = ends_[second].place;
    const Place firstEnd = ends_[first].place;
    if (secondEnd != firstEnd) isBetter = secondEnd > firstEnd;
    second = ends_[second].around;
    first = ends_[first].around;
  }
  return isBetter;
}

}  // namespace trovex
