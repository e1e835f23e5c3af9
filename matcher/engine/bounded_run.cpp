// Running the program of a pattern over a text.

#include "matcher/costs.h"
#include "matcher/engine/bounded_matcher.h"
#include "matcher/engine/bracket_ranges.h"
#include "matcher/engine/engine_graph.h"
#include "matcher/engine/graph_search.h"
#include "matcher/engine/group_walk.h"
#include "matcher/engine/text_reader.h"
#include "matcher/limits.h"
#include "matcher/tuning.h"
#include "matcher/work_credit.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace trovex {

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
  bool Add(std::uint32_t address, std::uint32_t place, std::uint32_t captures) {
    if ((used_.size() + 1) * 2 > slots_.size()) Grow();
    const Triple triple{address + 1, place, captures};
    Triple& slot = slots_[SlotOf(triple)];
    if (slot.address != 0) return false;
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
    std::uint32_t address = 0;  // 0: a free slot
    std::uint32_t place = 0;
    std::uint32_t captures = 0;
    bool operator==(const Triple&) const = default;
  };
  static constexpr std::size_t kFirstSize = 64;  // sizes are powers of two

  std::size_t SlotOf(const Triple& triple) const {
    std::uint64_t hash = (std::uint64_t{triple.address} << 32 | triple.place) * 0x9E3779B97F4A7C15U;
    hash = (hash ^ (hash >> 32) ^ triple.captures) * 0xD6E8FEB86659FD93U;
    std::size_t slot = (hash >> 32) & (slots_.size() - 1);
    while (slots_[slot].address != 0 && slots_[slot] != triple) {
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

/// Where the groups that are written out more than once can open and close in the text, from one
/// start on, by ways that pass no back-reference.
class CopiedBrackets {
 public:
  CopiedBrackets(const BoundedMatcher& matcher, const TextReader& text)
      : matcher_(matcher), text_(text), isReached_(matcher.program_.size()) {}

  void StartAt(int start) {
    start_ = start;
    brackets_.clear();
    reached_.clear();
    reached_.push_back(0);
  }

  static constexpr int kNone = -1;

  struct Closes {
    int first = kNone;
    int last = kNone;
  };
  /// The first and the last closing bracket of `group` that is reached at `place`.
  Closes ClosesOf(int group, int place) {
    return At(place).closes[static_cast<std::size_t>(group)];
  }

  /// Whether the opening bracket at `address` is reached at `place`.
  bool Opens(int address, int place) {
    const std::vector<int>& opens = At(place).opens;
    return std::binary_search(opens.begin(), opens.end(), address);
  }

  /// At how many places the brackets are known.
  std::size_t Size() const { return brackets_.size(); }

  /// The steps that were taken since the object was made.
  std::int64_t Steps() const { return steps_; }

 private:
  using Operation = BoundedMatcher::Operation;

  struct Brackets {
    std::array<Closes, 10> closes;  // by group
    std::vector<int> opens;         // in the program's order
  };

  const Brackets& At(int place) {
    while (start_ + static_cast<int>(brackets_.size()) <= place)
      ReadOn();
    return brackets_[static_cast<std::size_t>(place - start_)];
  }

  /// Finds all that is reached at the next place, and what is reached first at the one after.
  void ReadOn() {
    const int place = start_ + static_cast<int>(brackets_.size());
    Brackets& brackets = brackets_.emplace_back();
    for (const int address : reached_)
      isReached_[static_cast<std::size_t>(address)] = true;
    std::size_t followed = 0;
    while (followed < reached_.size())
      Follow(reached_[followed++], place, brackets);
    std::sort(brackets.opens.begin(), brackets.opens.end());
    steps_ += static_cast<std::int64_t>(reached_.size()) + 1;
    for (const int address : reached_)
      isReached_[static_cast<std::size_t>(address)] = false;
    reached_.swap(next_);
    next_.clear();
  }

  void Follow(int address, int place, Brackets& brackets) {
    const BoundedMatcher::Step& step = matcher_.At(address);
    switch (step.operation) {
      case Operation::kByte:
        if (text_.IsByteAt(place, step.first)) next_.push_back(address + 1);
        return;
      case Operation::kSet:
        if (text_.IsInSetAt(place, matcher_.SetOf(step))) next_.push_back(address + 1);
        return;
      case Operation::kAnchor:
        if (text_.Holds(static_cast<Anchor>(step.first), place)) Reach(address + 1);
        return;
      case Operation::kSplit:
        Reach(step.first);
        Reach(step.second);
        return;
      case Operation::kJump:
        Reach(step.first);
        return;
      case Operation::kOpenGroup:
        if (IsCopied(step.first)) brackets.opens.push_back(address);
        Reach(address + 1);
        return;
      case Operation::kCloseGroup:
        if (IsCopied(step.first)) {
          Closes& closes = brackets.closes[static_cast<std::size_t>(step.first)];
          if (closes.first == kNone || address < closes.first) closes.first = address;
          closes.last = std::max(closes.last, address);
        }
        Reach(address + 1);
        return;
      case Operation::kBackReference:
      case Operation::kMatch:
        return;
    }
  }

  bool IsCopied(int group) const {
    return (matcher_.copied_ & BoundedMatcher::GroupBit(group)) != 0;
  }

  void Reach(int address) {
    if (isReached_[static_cast<std::size_t>(address)]) return;
    isReached_[static_cast<std::size_t>(address)] = true;
    reached_.push_back(address);
  }

  const BoundedMatcher& matcher_;
  const TextReader& text_;
  int start_ = 0;
  std::vector<Brackets> brackets_;  // by place, from the start on
  std::vector<int> reached_;        // at the place after those
  std::vector<int> next_;           // at the one after that
  std::vector<bool> isReached_;     // by address: whether it stands in `reached_`
  std::int64_t steps_ = 0;
};

/// Runs of one program over one text, under one bound.
class BoundedRun {
 public:
  BoundedRun(const BoundedMatcher& matcher, const BoundedText& text, WorkCredit& credit,
             const WordRule* words = nullptr)
      : matcher_(matcher),
        text_(matcher.tree_, text),
        brackets_(matcher, text_),
        credit_(credit),
        words_(words) {}

  /// Finds the end of the longest match from `start`, or, if `end` is not negative, a way from
  /// `start` to `end`. Returns whether there is one.
  bool From(int start, int end) {
    if (!CanStartAt(start)) return false;
    tried_.Clear();
    ways_.clear();
    trail_.clear();
    bestEnd_ = -1;
    longestEnd_ = -1;
    requiredEnd_ = end;
    start_ = start;
    brackets_.StartAt(start);
    captureNumbers_.clear();
    captures_.clear();
    way_ = {0, start, 0, NumberOf({})};
    do {
      FollowWay();
      if (exhausted_) return false;
    } while (!Satisfied() && ResumeWay());
    // As a whole word, nothing counts only where there is nothing longer to be shortened.
    if (bestEnd_ == start && longestEnd_ > start) return false;
    return bestEnd_ >= 0;
  }

  bool Exhausted() const { return exhausted_; }

  /// Whether a match can start there as a whole word, where that is asked for.
  bool MayStartAt(int start) const { return words_ == nullptr || words_->CanStartAt(start); }

  /// Accounts for all steps; returns whether the credit allowed them.
  bool Finish() { return SpendSteps(); }

  /// The ranges of the match that was found from `start`.
  std::vector<GroupRange> Ranges(int start) const {
    BracketRanges ranges(matcher_.tree_.groupCount);
    for (const Passage& passage : bestTrail_)
      matcher_.PassBracket(matcher_.At(passage.address), passage.place, ranges);
    ranges.At(0) = {start, bestEnd_};
    return ranges.All();
  }

 private:
  /// A bracket that a way has passed.
  struct Passage {
    int address;
    int place;
  };
  /// A way: where it stands, and what it has passed.
  struct Way {
    int address;
    int place;
    std::uint32_t trail;     // how long the trail is
    std::uint32_t captures;  // number of its captures
  };

  bool CanStartAt(int start) const {
    return matcher_.canBeEmpty_ || text_.IsInSetAt(start, matcher_.firstBytes_);
  }

  bool Satisfied() const { return bestEnd_ >= 0 && (requiredEnd_ >= 0 || text_.IsEnd(bestEnd_)); }

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
      ++steps_;
      if (tried_.Size() > kMaxBoundedStates || trail_.size() > kMaxBoundedStates ||
          captures_.size() > kMaxBoundedCaptures || brackets_.Size() > kMaxBoundedStates / 2) {
        exhausted_ = true;
        return;
      }
      if ((steps_ - spentSteps_) * kBoundedStepUnits > kSpentAtOnce && !SpendSteps()) {
        exhausted_ = true;
        return;
      }
    }
  }

  /// Spends what the steps have cost that are not spent yet.
  bool SpendSteps() {
    return credit_.Spend((steps_ - std::exchange(spentSteps_, steps_)) * kBoundedStepUnits);
  }

  /// Takes one step; returns false where the way ends.
  bool TakeStep() {
    const BoundedMatcher::Step& step = matcher_.At(way_.address);
    switch (step.operation) {
      case BoundedMatcher::Operation::kByte:
        return text_.IsByteAt(way_.place, step.first) && Advance(1);
      case BoundedMatcher::Operation::kSet:
        return text_.IsInSetAt(way_.place, matcher_.SetOf(step)) && Advance(1);
      case BoundedMatcher::Operation::kAnchor:
        return text_.Holds(static_cast<Anchor>(step.first), way_.place) && Advance(0);
      case BoundedMatcher::Operation::kBackReference:
        return TakeBackReference(step.first);
      case BoundedMatcher::Operation::kSplit:
        return TakeSplit(step);
      case BoundedMatcher::Operation::kJump:
        way_.address = step.first;
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
    way_.place += bytes;
    ++way_.address;
    return true;
  }

  /// Each branch is tried once. Coming to the split again, as a loop does that consumed nothing,
  /// takes the second.
  bool TakeSplit(const BoundedMatcher::Step& step) {
    if (Try(way_.address, 0)) {
      ways_.push_back(way_);
      ways_.back().trail = static_cast<std::uint32_t>(trail_.size());
      way_.address = step.first;
      return true;
    }
    return TakeSecondBranch();
  }

  bool TakeSecondBranch() {
    if (!Try(way_.address, 1)) return false;
    way_.address = matcher_.At(way_.address).second;
    return true;
  }

  bool Try(int address, int branch) {
    return tried_.Add(static_cast<std::uint32_t>(address * 2 + branch),
                      static_cast<std::uint32_t>(way_.place), way_.captures);
  }

  bool TakeBackReference(int group) {
    if (way_.place == start_ && (matcher_.emptyAtStart_ & BoundedMatcher::GroupBit(group)) != 0) {
      return Advance(0);
    }
    const GroupRange range = (*captures_[way_.captures])[static_cast<std::size_t>(group)];
    if (range.end < 0) return false;
    const int length = range.end - range.start;
    if (length > text_.Length() - way_.place) return false;
    for (int i = 0; i < length; ++i) {
      if (text_.ByteAt(range.start + i) != text_.ByteAt(way_.place + i)) return false;
    }
    steps_ += length / 8;  // a comparison is less than a step
    return Advance(length);
  }

  void PassBracket(const BoundedMatcher::Step& step) {
    trail_.push_back({way_.address, way_.place});
    if ((matcher_.referenced_ & BoundedMatcher::GroupBit(step.first)) == 0) return;
    Captures captures = *captures_[way_.captures];
    GroupRange& range = captures[static_cast<std::size_t>(step.first)];
    if (step.operation == BoundedMatcher::Operation::kOpenGroup) {
      range = {way_.place, -1};
    } else {
      range.end = IsSeen(step.first, range.start) ? way_.place : -1;
    }
    way_.captures = NumberOf(captures);
  }

  /// Whether back-references see that `group` opened at `start` and closes here. Of a group that is
  /// written out once, they do. Otherwise the engine knows the range only if the first writing-out
  /// that closes here could have begun at `start` too, and may be asked for later. And it follows
  /// only ways through the last that closes here, unless nothing lies between.
  bool IsSeen(int group, int start) {
    if ((matcher_.copied_ & BoundedMatcher::GroupBit(group)) == 0) return true;
    const std::int64_t before = brackets_.Steps();
    const auto [first, last] = brackets_.ClosesOf(group, way_.place);
    steps_ += brackets_.Steps() - before;
    if (first == CopiedBrackets::kNone) return true;
    if (!brackets_.Opens(matcher_.At(first).second, start) ||
        (matcher_.SeenAt(first) & BoundedMatcher::GroupBit(group)) == 0)
      return false;
    return start == way_.place || LeadsTo(way_.address, last) || LeadsTo(last, way_.address);
  }

  /// Whether the program can go from `from` to `to` without a byte.
  bool LeadsTo(int from, int to) {
    if (from == to) return true;
    const std::vector<int> closure = matcher_.Closure(from);
    steps_ += static_cast<std::int64_t>(closure.size() + matcher_.program_.size() / 64);
    return std::find(closure.begin(), closure.end(), to) != closure.end();
  }

  /// The number of `captures`: the same for the same.
  std::uint32_t NumberOf(const Captures& captures) {
    const auto next = static_cast<std::uint32_t>(captures_.size());
    const auto [entry, isNew] = captureNumbers_.try_emplace(captures, next);
    if (isNew) captures_.push_back(&entry->first);
    return entry->second;
  }

  void NoteMatch() {
    longestEnd_ = std::max(longestEnd_, way_.place);
    if (words_ != nullptr && !words_->CanEndAt(way_.place, start_)) return;
    if (requiredEnd_ >= 0 ? way_.place != requiredEnd_ : way_.place <= bestEnd_) return;
    bestEnd_ = way_.place;
    bestTrail_ = trail_;
  }

  const BoundedMatcher& matcher_;
  const TextReader text_;
  CopiedBrackets brackets_;
  WorkCredit& credit_;
  const WordRule* const words_;  // null: any match counts
  TriedSet tried_;
  std::map<Captures, std::uint32_t, CapturesLess> captureNumbers_;
  std::vector<const Captures*> captures_;  // by number
  std::vector<Way> ways_;
  std::vector<Passage> trail_;
  std::vector<Passage> bestTrail_;
  Way way_{};
  int bestEnd_ = -1;
  int requiredEnd_ = -1;
  int start_ = 0;
  int longestEnd_ = -1;  // of any match, also one that is no whole word
  std::int64_t steps_ = 0;
  std::int64_t spentSteps_ = 0;
  bool exhausted_ = false;
};

SearchOutcome BoundedMatcher::Find(const BoundedText& text, int from, int lastStart,
                                   std::vector<GroupRange>& ranges, WorkCredit& credit,
                                   const WordRule* words) const {
  if (credit.IsSpent()) return SearchOutcome::kGaveUp;
  BoundedRun run(*this, text, credit, words);
  for (int start = from; start <= lastStart && !run.Exhausted(); ++start) {
    if (!run.MayStartAt(start) || !run.From(start, -1)) continue;
    ranges = run.Ranges(start);
    return SearchOutcome::kFound;
  }
  run.Finish();
  return run.Exhausted() ? SearchOutcome::kGaveUp : SearchOutcome::kNotFound;
}

SearchOutcome BoundedMatcher::FindWhole(const BoundedText& text, int from, int lastStart,
                                        GroupRange& match, WorkCredit& credit,
                                        const WordRule* words) const {
  GroupRange found;
  const SearchOutcome outcome =
      GraphSearch(*this, *graph_, text, credit).Find(from, lastStart, words, found);
  if (outcome == SearchOutcome::kFound) match = found;
  return outcome;
}

SearchOutcome BoundedMatcher::FindGroups(const BoundedText& text, GroupRange match,
                                         std::vector<GroupRange>& ranges,
                                         WorkCredit& credit) const {
  if (HasGraph()) {
    const GroupWalk::Outcome outcome = GroupWalk(*this, *graph_, text, credit).Go(match, ranges);
    if (outcome == GroupWalk::Outcome::kTold) return SearchOutcome::kFound;
    if (outcome == GroupWalk::Outcome::kDenied) return SearchOutcome::kNotFound;
  }
  if (credit.IsSpent()) return SearchOutcome::kGaveUp;
  BoundedRun run(*this, text, credit);
  if (!run.From(match.start, match.end)) {
    return run.Exhausted() ? SearchOutcome::kGaveUp : SearchOutcome::kNotFound;
  }
  ranges = run.Ranges(match.start);
  return SearchOutcome::kFound;
}

}  // namespace trovex
