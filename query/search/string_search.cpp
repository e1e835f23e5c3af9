#include "query/search/string_search.h"

#include "matcher/tuning.h"
#include "query/tuning.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

namespace trovex {

std::unique_ptr<StringSearch> StringSearch::Make(const SearchPlan& plan,
                                                 const std::vector<PatternSearch*>& patterns) {
  std::unique_ptr<StringSearch> search(new StringSearch);
  if (!search->Read(plan, patterns)) return nullptr;
  if (search->strings_.empty()) return nullptr;
  search->matches_.emplace(search->strings_, search->strings_.size(),
                           StringMatches::Sight::kWholeText);
  return search;
}

bool StringSearch::Read(const SearchPlan& plan, const std::vector<PatternSearch*>& patterns) {
  isNear_ = plan.streams.back().kind == PlannedStream::Kind::kNear;
  if (isNear_) return ReadNear(plan, patterns);
  return plan.streams.back().kind == PlannedStream::Kind::kAnd && ReadAnd(plan, patterns);
}

/// Patterns, and NOTs of patterns.
bool StringSearch::ReadAnd(const SearchPlan& plan, const std::vector<PatternSearch*>& patterns) {
  for (const std::size_t index : plan.streams.back().operands) {
    const PlannedStream& operand = plan.streams[index];
    if (operand.kind == PlannedStream::Kind::kNot) {
      const std::size_t negated = operand.operands.front();
      if (patterns[negated] == nullptr) return false;
      excluded_.push_back(patterns[negated]);
    } else if (!AddLeaf(operand, patterns[index])) {
      return false;
    }
  }
  return leaves_ > 0;
}

/// Distances between patterns, and nothing else.
bool StringSearch::ReadNear(const SearchPlan& plan, const std::vector<PatternSearch*>& patterns) {
  for (std::size_t i = 0; i < plan.streams.size(); ++i) {
    const PlannedStream& planned = plan.streams[i];
    Operand operand;
    if (planned.kind == PlannedStream::Kind::kPattern) {
      operand.leaf = leaves_;
      operand.needs = 1U << operand.leaf;
      operandOf_.push_back(i);
      if (!AddLeaf(planned, patterns[i])) return false;
    } else if (planned.kind == PlannedStream::Kind::kNear) {
      const AndLink& link = planned.link;
      const bool isByCharacters =
          link.distance.has_value() && link.unit == DistanceUnit::kCharacters && !link.ordered;
      if (!isByCharacters || *link.distance > kLongestClustered) return false;
      operand.isLeaf = false;
      operand.left = planned.operands[0];
      operand.right = planned.operands[1];
      operand.isLeftNegated = planned.isLeftNegated;
      operand.isRightNegated = planned.isRightNegated;
      operand.distance = static_cast<std::size_t>(*link.distance);
      longestDistance_ = std::max(longestDistance_, operand.distance);
      if (!operand.isLeftNegated) operand.needs |= operands_[operand.left].needs;
      if (!operand.isRightNegated) operand.needs |= operands_[operand.right].needs;
    } else {
      return false;
    }
    operands_.push_back(std::move(operand));
  }
  ChooseNearby();
  return true;
}

/// Of one pattern that is no string, only what is in reach of a string can be kept, or keep something else from
/// being kept; unless it is kept where it is near to none.
void StringSearch::ChooseNearby() {
  if (others_.size() != 1) return;
  const std::size_t other = operandOf_[others_.front().leaf];
  isNearby_ = std::none_of(operands_.begin(), operands_.end(), [&](const Operand& operand) {
    return (operand.left == other && operand.isRightNegated) ||
           (operand.right == other && operand.isLeftNegated);
  });
}

/// False where `planned` is no pattern, or one too many.
bool StringSearch::AddLeaf(const PlannedStream& planned, PatternSearch* search) {
  if (search == nullptr || leaves_ == StringMatches::kMostStrings) return false;
  if (const LocatorProgram* const program = StringOf(planned)) {
    strings_.push_back(program);
    leafOf_.push_back(leaves_);
  } else {
    others_.push_back({search, leaves_, {}});
  }
  ++leaves_;
  return true;
}

/// Null where `planned` is none.
const LocatorProgram* StringSearch::StringOf(const PlannedStream& planned) {
  if (planned.kind != PlannedStream::Kind::kPattern) return nullptr;
  if (planned.program->References() != nullptr) return nullptr;
  const LocatorProgram* const program = planned.program->Locator();
  return StringMatches::CanTake(*program) ? program : nullptr;
}

StringSearch::Result StringSearch::Run(TextView text, std::size_t most, Visit visit,
                                       void* visitContext) {
  Receiver receiver = {most, visit, visitContext};
  matches_->Begin(text);
  const Answer answer = isNear_ ? RunNear(text, receiver) : RunAnd(text, receiver);
  return {answer, receiver.count};
}

/// The verdict on patterns that may lie anywhere.
StringSearch::Answer StringSearch::IsSatisfied(TextView text) {
  for (std::size_t string = 0; string < strings_.size(); ++string) {
    if (!matches_->IsFound(string)) return Answer::kNo;
  }
  ByteRange match;
  for (const Other& other : others_) {
    const SearchOutcome outcome = other.search->First(text, match);
    if (outcome == SearchOutcome::kGaveUp) return Answer::kUnknown;
    if (outcome == SearchOutcome::kNotFound) return Answer::kNo;
  }
  for (PatternSearch* const search : excluded_) {
    const SearchOutcome outcome = search->First(text, match);
    if (outcome == SearchOutcome::kGaveUp) return Answer::kUnknown;
    if (outcome == SearchOutcome::kFound) return Answer::kNo;
  }
  return Answer::kYes;
}

/// Goes on to the next match of `other`. False where it is not known.
bool StringSearch::Advance(Other& other) {
  other.head = other.search->Next();
  if (other.search->Outcome() == SearchOutcome::kGaveUp) return false;
  if (other.search->Outcome() != SearchOutcome::kFound) other.head = {};
  return true;
}

/// Passes over what the only pattern that is no string has on lines before that of `place`.
bool StringSearch::PassTo(TextView text, std::size_t place) {
  Other& other = others_.front();
  if (other.head.begin >= place) return true;
  const void* const feed = memrchr(text.data() + other.head.begin, '\n', place - other.head.begin);
  if (feed == nullptr) return true;
  other.search->SkipTo(
      static_cast<std::size_t>(static_cast<const unsigned char*>(feed) + 1 - text.data()));
  return Advance(other);
}

/// Calls `take` for the matches of patterns that are no strings before `limit`, by begin, then by end. False where no
/// more are wanted, or where they are not known: the answer is then kUnknown.
template <typename Take>
bool StringSearch::TakeBefore(const ByteRange& limit, Take& take) {
  const auto isBefore = [](const ByteRange& a, const ByteRange& b) {
    return a.begin != b.begin ? a.begin < b.begin : a.end < b.end;
  };
  for (;;) {
    const auto next =
        std::min_element(others_.begin(), others_.end(),
                         [&](const Other& a, const Other& b) { return isBefore(a.head, b.head); });
    if (next == others_.end() || !isBefore(next->head, limit)) return true;
    if (!take(next->leaf, next->head)) return false;
    if (!Advance(*next)) return !(gaveUp_ = true);
  }
}

/// Calls `take` for the matches of patterns that are no strings, up to the string at `range`; the one before it ended
/// at `lastEnd`. Those that are out of reach of both may be left out.
template <typename Take>
bool StringSearch::TakeUpTo(TextView text, const ByteRange& range, std::size_t lastEnd,
                            Take& take) {
  if (isNearby_ && range.begin > lastEnd + 2 * longestDistance_) {
    const std::size_t reach = lastEnd + longestDistance_ + 1;
    if (!TakeBefore({reach, reach}, take)) return false;
    if (!PassTo(text, range.begin - longestDistance_)) return !(gaveUp_ = true);
  }
  return TakeBefore(range, take);
}

/// Calls `take(leaf, range)` for the matches of all leaves, by begin, then by end, until it returns false. False where
/// they are not all known.
template <typename Take>
bool StringSearch::ForEachMatch(TextView text, Take take) {
  gaveUp_ = false;
  for (Other& other : others_) {
    other.search->Begin(text);
    if (!Advance(other)) return false;
  }
  bool goesOn = true;
  std::size_t lastEnd = 0;  // of a string
  matches_->ForEach([&](std::size_t string, const unsigned char* start, const unsigned char* stop) {
    const ByteRange range = {static_cast<std::size_t>(start - text.data()),
                             static_cast<std::size_t>(stop - text.data())};
    if (!others_.empty()) {
      if (!TakeUpTo(text, range, lastEnd, take)) return goesOn = false;
      lastEnd = std::max(lastEnd, range.end);
    }
    return goesOn = take(leafOf_[string], range);
  });
  if (goesOn && !others_.empty()) {
    const std::size_t last = isNearby_ ? lastEnd + longestDistance_ + 1 : kNowhere;
    TakeBefore({last, last}, take);
  }
  return !gaveUp_;
}

StringSearch::Answer StringSearch::RunAnd(TextView text, Receiver& receiver) {
  const Answer answer = IsSatisfied(text);
  if (answer != Answer::kYes || receiver.most == 0) return answer;
  ByteRange last;
  const bool areKnown = ForEachMatch(text, [&](std::size_t, const ByteRange& range) {
    if (range.begin == last.begin && range.end == last.end) return true;
    last = range;
    return receiver.Take(range);
  });
  return areKnown ? Answer::kYes : Answer::kUnknown;
}

/// False where a pattern does not occur without which there is nothing. Most short texts lack the first of them.
bool StringSearch::MayHaveNeeded(TextView text) {
  const unsigned needs = operands_.back().needs;
  for (std::size_t string = 0; string < strings_.size(); ++string) {
    if ((needs >> leafOf_[string] & 1) != 0 && !matches_->IsFound(string)) return false;
  }
  return std::none_of(others_.begin(), others_.end(), [&](const Other& other) {
    ByteRange match;
    return (needs >> other.leaf & 1) != 0 &&
           other.search->First(text, match) == SearchOutcome::kNotFound;
  });
}

StringSearch::Answer StringSearch::RunNear(TextView text, Receiver& receiver) {
  if (text.size() <= kLookedAtText && !MayHaveNeeded(text)) return Answer::kNo;
  std::size_t size = 0;
  std::size_t clusterEnd = 0;
  bool isOver = false;
  for (Operand& operand : operands_)
    operand.places.clear();
  seen_ = 0;
  const bool areKnown = ForEachMatch(text, [&](std::size_t leaf, const ByteRange& range) {
    if (range.begin > clusterEnd + longestDistance_) {
      if (!Decide(receiver)) return !(isOver = true);
      size = 0;
    }
    if (++size > kLargestCluster) return false;
    clusterEnd = std::max(clusterEnd, range.end);
    operands_[operandOf_[leaf]].places.push_back(range);
    seen_ |= 1U << leaf;
    return true;
  });
  if (size > kLargestCluster || !areKnown) return Answer::kUnknown;
  if (!isOver) static_cast<void>(Decide(receiver));
  return receiver.count > 0 ? Answer::kYes : Answer::kNo;
}

/// Hands out what the cluster has, and forgets it. False when no more is wanted.
bool StringSearch::Decide(Receiver& receiver) {
  bool goesOn = true;
  Operand& query = operands_.back();
  if ((seen_ & query.needs) == query.needs) {
    for (Operand& operand : operands_) {
      if (!operand.isLeaf) Combine(operand);
    }
    goesOn = std::all_of(query.places.begin(), query.places.end(),
                         [&](const ByteRange& place) { return receiver.Take(place); });
  }
  for (; seen_ != 0; seen_ &= seen_ - 1)
    operands_[operandOf_[static_cast<std::size_t>(std::countr_zero(seen_))]].places.clear();
  return goesOn;
}

/// The places of both operands that have one of the other in reach; where one is negated, those of the other
/// that have none. One walk over both, as in near_stream.h.
void StringSearch::Combine(Operand& near) {
  struct Side {
    const std::vector<ByteRange>& places;
    bool isNegated;
    std::size_t here = 0;   // the first that begins where the walk stands, or after
    std::size_t after = 0;  // the first that begins after
    bool hasPassed = false;
    std::size_t passedEnd = 0;  // where the one of those before ends that ends last
  };
  Side sides[] = {{operands_[near.left].places, near.isLeftNegated},
                  {operands_[near.right].places, near.isRightNegated}};
  std::vector<ByteRange>& kept = near.places;
  kept.clear();
  const auto next = [](const Side& side) {
    return side.here < side.places.size() ? side.places[side.here].begin : kNowhere;
  };
  for (;;) {
    const std::size_t at = std::min(next(sides[0]), next(sides[1]));
    if (at == kNowhere) return;
    for (Side& side : sides) {
      side.after = side.here;
      while (side.after < side.places.size() && side.places[side.after].begin == at)
        ++side.after;
    }
    const std::size_t keptBefore = kept.size();
    for (const bool isLeft : {true, false}) {
      const Side& side = sides[isLeft ? 0 : 1];
      const Side& other = sides[isLeft ? 1 : 0];
      if (side.isNegated) continue;
      const bool isNearBefore =
          other.after > other.here || (other.hasPassed && at <= other.passedEnd + near.distance);
      for (std::size_t i = side.here; i < side.after; ++i) {
        const ByteRange& place = side.places[i];
        const bool isNear =
            isNearBefore || (other.after < other.places.size() &&
                             other.places[other.after].begin <= place.end + near.distance);
        if (isNear != other.isNegated) kept.push_back(place);
      }
    }
    const auto keptHere = kept.begin() + static_cast<std::ptrdiff_t>(keptBefore);
    if (kept.end() - keptHere > 1) {
      std::sort(keptHere, kept.end(),
                [](const ByteRange& a, const ByteRange& b) { return a.end < b.end; });
      kept.erase(std::unique(keptHere, kept.end(),
                             [](const ByteRange& a, const ByteRange& b) { return a.end == b.end; }),
                 kept.end());
    }
    for (Side& side : sides) {
      for (; side.here < side.after; ++side.here) {
        side.hasPassed = true;
        side.passedEnd = std::max(side.passedEnd, side.places[side.here].end);
      }
    }
  }
}

}  // namespace trovex
