// Building the program of a pattern, and running it.

#include "matcher/bounded_matcher.h"

#include "matcher/limits.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace trovex {

BoundedMatcher::BoundedMatcher(SyntaxTree tree) : tree_(std::move(tree)) {
  Emit(tree_.Root(), {true, false});
  Append(Operation::kMatch, 0);
}

int BoundedMatcher::Append(Operation operation, int first, int second) {
  program_.push_back({operation, first, second});
  return Here() - 1;
}

// Recurses once per level of nesting, which is limited.
void BoundedMatcher::Emit(int index, Copy copy) {
  const SyntaxNode& node = tree_.Node(index);
  switch (node.kind) {
    case SyntaxKind::kEmpty:
      return;
    case SyntaxKind::kByte:
      Append(Operation::kByte, node.value);
      return;
    case SyntaxKind::kSet:
      Append(Operation::kSet, node.value);
      return;
    case SyntaxKind::kAnchor:
      Append(Operation::kAnchor, node.value);
      return;
    case SyntaxKind::kBackReference:
      referenced_ |= 1U << node.value;
      Append(Operation::kBackReference, node.value);
      return;
    case SyntaxKind::kGroup:
      Append(Operation::kOpenGroup, node.value);
      Emit(node.firstChild, {copy.isFirst, false});
      Append(Operation::kCloseGroup, node.value, copy.isOptional ? 1 : 0);
      return;
    case SyntaxKind::kConcat:
      for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling) {
        Emit(c, {copy.isFirst, false});
      }
      return;
    case SyntaxKind::kAlternate:
      EmitAlternatives(node, copy.isFirst);
      return;
    case SyntaxKind::kRepeat:
      EmitRepeat(node, copy.isFirst);
      return;
  }
}

void BoundedMatcher::EmitAlternatives(const SyntaxNode& node, bool isFirst) {
  std::vector<int> alternatives;
  for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling) {
    alternatives.push_back(c);
  }
  // Of "|x" the engine tries "x" first, though of "x||y" the empty alternative before "y".
  if (IsNothing(alternatives[0])) std::swap(alternatives[0], alternatives[1]);

  std::vector<int> jumps;
  for (const int alternative : alternatives) {
    if (alternative == alternatives.back()) {
      Emit(alternative, {isFirst, false});
      break;
    }
    const int split = Append(Operation::kSplit, Here() + 1);
    Emit(alternative, {isFirst, false});
    jumps.push_back(Append(Operation::kJump, 0));
    At(split).second = Here();
  }
  for (const int jump : jumps)
    At(jump).first = Here();
}

void BoundedMatcher::EmitRepeat(const SyntaxNode& node, bool isFirst) {
  for (int i = 0; i < node.min; ++i)
    Emit(node.firstChild, {isFirst && i == 0, false});
  const Copy next{isFirst && node.min == 0, isFirst};
  if (node.max == kUnbounded) {
    const int split = Append(Operation::kSplit, Here() + 1);
    Emit(node.firstChild, next);
    Append(Operation::kJump, split);
    At(split).second = Here();
    return;
  }
  // "x{0,3}" is "((x|)x|)x|": all choices come first, and the outermost skips all.
  const int count = node.max - node.min;
  const int splits = Here();
  for (int i = 0; i < count; ++i)
    Append(Operation::kSplit, Here() + 1);
  for (int i = 1; i <= count; ++i) {
    Emit(node.firstChild, i == 1 ? next : Copy{false, false});
    At(splits + count - i).second = Here();
  }
}

bool BoundedMatcher::IsNothing(int index) const {
  const SyntaxNode& node = tree_.Node(index);
  return node.kind == SyntaxKind::kEmpty || (node.kind == SyntaxKind::kRepeat && node.max == 0);
}

namespace {

/// The ranges of the groups 1 to 9, which decide what a back-reference matches.
using Captures = std::array<GroupRange, 10>;

struct CapturesLess {
  bool operator()(const Captures& a, const Captures& b) const {
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(), [](const GroupRange& x, const GroupRange& y) {
          return x.start != y.start ? x.start < y.start : x.end < y.end;
        });
  }
};

/// What was tried already: a set of triples that is emptied in time proportional to its size.
class TriedSet {
 public:
  TriedSet() : slots_(kFirstSize) {}

  /// Adds a triple; returns false if it was there.
  bool Add(std::uint32_t place, std::uint32_t position, std::uint32_t captures) {
    if ((used_.size() + 1) * 2 > slots_.size()) Grow();
    const Triple triple{place + 1, position, captures};
    Triple& slot = slots_[SlotOf(triple)];
    if (slot.place != 0) return false;
    used_.push_back(static_cast<std::uint32_t>(&slot - slots_.data()));
    slot = triple;
    return true;
  }
  std::size_t Size() const { return used_.size(); }
  void Clear() {
    for (const std::uint32_t slot : used_)
      slots_[slot] = {};
    used_.clear();
  }

 private:
  struct Triple {
    std::uint32_t place = 0;  // 0: a free slot
    std::uint32_t position = 0;
    std::uint32_t captures = 0;
    bool operator==(const Triple&) const = default;
  };
  static constexpr std::size_t kFirstSize = 64;  // sizes are powers of two

  std::size_t SlotOf(const Triple& triple) const {
    std::uint64_t hash =
        (std::uint64_t{triple.place} << 32 | triple.position) * 0x9E3779B97F4A7C15U;
    hash = (hash ^ (hash >> 32) ^ triple.captures) * 0xD6E8FEB86659FD93U;
    std::size_t slot = (hash >> 32) & (slots_.size() - 1);
    while (slots_[slot].place != 0 && slots_[slot] != triple) {
      slot = (slot + 1) & (slots_.size() - 1);
    }
    return slot;
  }

  void Grow() {
    std::vector<Triple> old(slots_.size() * 2);
    old.swap(slots_);
    for (std::uint32_t& used : used_) {
      const Triple triple = old[used];
      used = static_cast<std::uint32_t>(SlotOf(triple));
      slots_[used] = triple;
    }
  }

  std::vector<Triple> slots_;
  std::vector<std::uint32_t> used_;
};

}  // namespace

/// Runs of one program over one text, under one bound.
class BoundedRun {
 public:
  BoundedRun(const BoundedMatcher& matcher, const BoundedText& text)
      : matcher_(matcher), text_(text) {}

  /// Finds the end of the longest match from `start`, or, if `end` is not negative, a way from
  /// `start` to `end`. Returns whether there is one.
  bool From(int start, int end) {
    tried_.Clear();
    ways_.clear();
    trail_.clear();
    bestEnd_ = -1;
    requiredEnd_ = end;
    captureNumbers_.clear();
    captures_.clear();
    way_ = {0, start, 0, NumberOf({})};
    do {
      FollowWay();
      if (exhausted_) return false;
    } while (!Satisfied() && ResumeWay());
    return bestEnd_ >= 0;
  }

  bool Exhausted() const { return exhausted_; }

  /// The ranges of the match that was found from `start`.
  std::vector<GroupRange> Ranges(int start) const {
    std::vector<GroupRange> ranges(static_cast<std::size_t>(matcher_.tree_.groupCount) + 1);
    std::vector<GroupRange> accepted = ranges;
    for (const Passage& passage : bestTrail_) {
      const BoundedMatcher::Step& step = matcher_.At(passage.place);
      GroupRange& range = ranges[static_cast<std::size_t>(step.first)];
      if (step.operation == BoundedMatcher::Operation::kOpenGroup) {
        range = {passage.position, -1};
      } else if (range.start < passage.position) {
        range.end = passage.position;
        accepted = ranges;
      } else if (step.second != 0 && accepted[static_cast<std::size_t>(step.first)].start >= 0) {
        ranges = accepted;  // an empty round that changes nothing
      } else {
        range.end = passage.position;
      }
    }
    ranges[0] = {start, bestEnd_};
    return ranges;
  }

 private:
  /// A bracket that a way has passed.
  struct Passage {
    int place;
    int position;
  };
  /// A way: where it stands, and what it has passed.
  struct Way {
    int place;
    int position;
    std::uint32_t trail;     // how long the trail is
    std::uint32_t captures;  // number of its captures
  };

  bool Satisfied() const {
    return bestEnd_ >= 0 && (requiredEnd_ >= 0 || bestEnd_ == text_.length);
  }

  /// Goes on with the latest way that was kept, at the second branch of its split.
  bool ResumeWay() {
    while (!ways_.empty()) {
      way_ = ways_.back();
      ways_.pop_back();
      trail_.resize(way_.trail);
      if (TakeSecondBranch()) return true;
    }
    return false;
  }

  /// Follows the way to its end.
  void FollowWay() {
    while (TakeStep()) {
      if (++steps_ > kMaxBoundedSteps || tried_.Size() > kMaxBoundedStates ||
          trail_.size() > kMaxBoundedStates || captures_.size() > kMaxBoundedCaptures) {
        exhausted_ = true;
        return;
      }
    }
  }

  /// Takes one step; returns false where the way ends.
  bool TakeStep() {
    const BoundedMatcher::Step& step = matcher_.At(way_.place);
    switch (step.operation) {
      case BoundedMatcher::Operation::kByte:
        return !AtEnd() && ByteAt(way_.position) == step.first && Advance(1);
      case BoundedMatcher::Operation::kSet:
        return !AtEnd() &&
               matcher_.tree_.sets[static_cast<std::size_t>(step.first)].test(
                   static_cast<std::size_t>(ByteAt(way_.position))) &&
               Advance(1);
      case BoundedMatcher::Operation::kAnchor:
        return Holds(static_cast<Anchor>(step.first)) && Advance(0);
      case BoundedMatcher::Operation::kBackReference:
        return TakeBackReference((*captures_[way_.captures])[static_cast<std::size_t>(step.first)]);
      case BoundedMatcher::Operation::kSplit:
        return TakeSplit(step);
      case BoundedMatcher::Operation::kJump:
        way_.place = step.first;
        return true;
      case BoundedMatcher::Operation::kOpenGroup:
      case BoundedMatcher::Operation::kCloseGroup:
        PassBracket(step);
        return Advance(0);
      case BoundedMatcher::Operation::kMatch:
        NoteMatch();
        return false;
    }
    return false;
  }

  bool Advance(int bytes) {
    way_.position += bytes;
    ++way_.place;
    return true;
  }

  /// Each branch is tried once. Coming to the split again, as a loop does that consumed nothing,
  /// takes the second.
  bool TakeSplit(const BoundedMatcher::Step& step) {
    if (Try(way_.place, 0)) {
      ways_.push_back(way_);
      ways_.back().trail = static_cast<std::uint32_t>(trail_.size());
      way_.place = step.first;
      return true;
    }
    return TakeSecondBranch();
  }

  bool TakeSecondBranch() {
    if (!Try(way_.place, 1)) return false;
    way_.place = matcher_.At(way_.place).second;
    return true;
  }

  bool Try(int place, int branch) {
    return tried_.Add(static_cast<std::uint32_t>(place * 2 + branch),
                      static_cast<std::uint32_t>(way_.position), way_.captures);
  }

  bool TakeBackReference(const GroupRange& range) {
    if (range.end < 0) return false;
    const int length = range.end - range.start;
    if (length > text_.length - way_.position) return false;
    for (int i = 0; i < length; ++i) {
      if (ByteAt(range.start + i) != ByteAt(way_.position + i)) return false;
    }
    steps_ += length;
    return Advance(length);
  }

  void PassBracket(const BoundedMatcher::Step& step) {
    trail_.push_back({way_.place, way_.position});
    if (step.first > 9 || (matcher_.referenced_ >> step.first & 1U) == 0) return;
    Captures captures = *captures_[way_.captures];
    GroupRange& range = captures[static_cast<std::size_t>(step.first)];
    if (step.operation == BoundedMatcher::Operation::kOpenGroup) {
      range = {way_.position, -1};
    } else {
      range.end = way_.position;
    }
    way_.captures = NumberOf(captures);
  }

  /// The number of `captures`: the same for the same.
  std::uint32_t NumberOf(const Captures& captures) {
    const auto next = static_cast<std::uint32_t>(captures_.size());
    const auto [entry, isNew] = captureNumbers_.try_emplace(captures, next);
    if (isNew) captures_.push_back(&entry->first);
    return entry->second;
  }

  void NoteMatch() {
    if (requiredEnd_ >= 0 ? way_.position != requiredEnd_ : way_.position <= bestEnd_) return;
    bestEnd_ = way_.position;
    bestTrail_ = trail_;
  }

  bool AtEnd() const { return way_.position == text_.length; }
  int ByteAt(int position) const {
    return matcher_.tree_.translate[static_cast<unsigned char>(text_.begin[position])];
  }
  bool IsWordAt(int position) const {
    return position >= 0 && position < text_.length && IsEngineWordByte(ByteAt(position));
  }

  bool Holds(Anchor anchor) const {
    const bool wordBefore = IsWordAt(way_.position - 1);
    const bool wordBehind = IsWordAt(way_.position);
    switch (anchor) {
      case Anchor::kLineStart:
        return way_.position == 0 || ByteAt(way_.position - 1) == '\n';
      case Anchor::kLineEnd:
        return AtEnd() ? text_.endsLine : ByteAt(way_.position) == '\n';
      case Anchor::kTextStart:
        return way_.position == 0;
      case Anchor::kTextEnd:
        return AtEnd();
      case Anchor::kWordStart:
        return !wordBefore && wordBehind;
      case Anchor::kWordEnd:
        return wordBefore && !wordBehind;
      case Anchor::kWordEdge:
        return wordBefore != wordBehind;
      case Anchor::kNotWordEdge:
        return wordBefore == wordBehind;
    }
    return false;
  }

  const BoundedMatcher& matcher_;
  const BoundedText text_;
  TriedSet tried_;
  std::map<Captures, std::uint32_t, CapturesLess> captureNumbers_;
  std::vector<const Captures*> captures_;  // by number
  std::vector<Way> ways_;
  std::vector<Passage> trail_;
  std::vector<Passage> bestTrail_;
  Way way_{};
  int bestEnd_ = -1;
  int requiredEnd_ = -1;
  std::int64_t steps_ = 0;
  bool exhausted_ = false;
};

bool BoundedMatcher::Find(const BoundedText& text, int from, int lastStart,
                          std::vector<GroupRange>& ranges) const {
  BoundedRun run(*this, text);
  for (int start = from; start <= lastStart && !run.Exhausted(); ++start) {
    if (!run.From(start, -1)) continue;
    ranges = run.Ranges(start);
    return true;
  }
  return false;
}

bool BoundedMatcher::FindGroups(const BoundedText& text, GroupRange match,
                                std::vector<GroupRange>& ranges) const {
  BoundedRun run(*this, text);
  if (!run.From(match.start, match.end)) return false;
  ranges = run.Ranges(match.start);
  return true;
}

}  // namespace trovex
