#include "query/search/string_search.h"

#include "matcher/tuning.h"
#include "query/tuning.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>

namespace trovex {

std::unique_ptr<StringSearch> StringSearch::Make(const SearchPlan& plan,
                                                 const std::vector<PatternSearch*>& patterns) {
  std::unique_ptr<StringSearch> search(new StringSearch);
  if (!search->Read(plan, patterns)) return nullptr;
  search->matches_.emplace(search->leaves_, search->leaves_.size(),
                           StringMatches::Sight::kWholeText);
  return search;
}

bool StringSearch::Read(const SearchPlan& plan, const std::vector<PatternSearch*>& patterns) {
  isNear_ = plan.streams.back().kind == PlannedStream::Kind::kNear;
  if (isNear_) return ReadNear(plan);
  return plan.streams.back().kind == PlannedStream::Kind::kAnd && ReadAnd(plan, patterns);
}

/// Strings, and NOTs of strings.
bool StringSearch::ReadAnd(const SearchPlan& plan, const std::vector<PatternSearch*>& patterns) {
  for (const std::size_t index : plan.streams.back().operands) {
    const PlannedStream& operand = plan.streams[index];
    if (operand.kind == PlannedStream::Kind::kNot) {
      const std::size_t negated = operand.operands.front();
      if (StringOf(plan.streams[negated]) == nullptr) return false;
      excluded_.push_back(patterns[negated]);
    } else if (!AddLeaf(operand)) {
      return false;
    }
  }
  return !leaves_.empty();
}

/// Distances between strings, and nothing else.
bool StringSearch::ReadNear(const SearchPlan& plan) {
  for (std::size_t i = 0; i < plan.streams.size(); ++i) {
    const PlannedStream& planned = plan.streams[i];
    Operand operand;
    if (planned.kind == PlannedStream::Kind::kPattern) {
      operand.leaf = leaves_.size();
      operand.needs = 1U << operand.leaf;
      operandOf_.push_back(i);
      if (!AddLeaf(planned)) return false;
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
  return true;
}

/// False where `planned` is no string, or one too many.
bool StringSearch::AddLeaf(const PlannedStream& planned) {
  const LocatorProgram* const program = StringOf(planned);
  if (program == nullptr || leaves_.size() == StringMatches::kMostStrings) return false;
  leaves_.push_back(program);
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

/// The verdict on strings that may lie anywhere.
bool StringSearch::IsSatisfied(TextView text) {
  for (std::size_t leaf = 0; leaf < leaves_.size(); ++leaf) {
    if (!matches_->IsFound(leaf)) return false;
  }
  return std::none_of(excluded_.begin(), excluded_.end(), [&](PatternSearch* search) {
    ByteRange match;
    return search->First(text, match) == SearchOutcome::kFound;
  });
}

/// Calls `take(leaf, range)` for the matches of all leaves, by begin, then by end, until it returns false.
template <typename Take>
void StringSearch::ForEachMatch(TextView text, Take take) {
  matches_->ForEach([&](std::size_t leaf, const unsigned char* start, const unsigned char* stop) {
    return take(leaf, ByteRange{static_cast<std::size_t>(start - text.data()),
                                static_cast<std::size_t>(stop - text.data())});
  });
}

StringSearch::Answer StringSearch::RunAnd(TextView text, Receiver& receiver) {
  if (!IsSatisfied(text)) return Answer::kNo;
  if (receiver.most == 0) return Answer::kYes;
  ByteRange last;
  ForEachMatch(text, [&](std::size_t, const ByteRange& range) {
    if (range.begin == last.begin && range.end == last.end) return true;
    last = range;
    return receiver.Take(range);
  });
  return Answer::kYes;
}

/// Whether each string occurs without which there is nothing. Most short texts lack the first of them.
bool StringSearch::HasNeeded() {
  for (unsigned rest = operands_.back().needs; rest != 0; rest &= rest - 1) {
    if (!matches_->IsFound(static_cast<std::size_t>(std::countr_zero(rest)))) return false;
  }
  return true;
}

StringSearch::Answer StringSearch::RunNear(TextView text, Receiver& receiver) {
  if (text.size() <= kLookedAtText && !HasNeeded()) return Answer::kNo;
  std::size_t size = 0;
  std::size_t clusterEnd = 0;
  bool isOver = false;
  for (Operand& operand : operands_)
    operand.places.clear();
  seen_ = 0;
  ForEachMatch(text, [&](std::size_t leaf, const ByteRange& range) {
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
  if (size > kLargestCluster) return Answer::kTooDense;
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
