#include "query/search/near_stream.h"

#include <algorithm>

namespace trovex {

namespace {

/// The order of a heap with the first end at its top.
bool EndsLater(const FoundPlace& a, const FoundPlace& b) {
  return a.end > b.end;
}

}  // namespace

void Lookahead::Begin() {
  places_.clear();
  first_ = 0;
}

const FoundPlace* Lookahead::Head() {
  return first_ < places_.size() ? &places_[first_] : stream_.Head();
}

FoundPlace Lookahead::Take() {
  if (first_ == places_.size()) return stream_.Take();
  const FoundPlace place = places_[first_++];
  if (first_ == places_.size()) Begin();
  return place;
}

const FoundPlace* Lookahead::FirstFrom(std::size_t byte) {
  while (places_.empty() || places_.back().begin < byte) {
    const FoundPlace* const head = stream_.Head();
    if (head == nullptr) break;
    if (places_.size() == places_.capacity() && first_ > places_.size() / 2) {
      places_.erase(places_.begin(), places_.begin() + static_cast<std::ptrdiff_t>(first_));
      first_ = 0;
    }
    places_.push_back(*head);
    stream_.Take();
  }
  const auto found = std::lower_bound(
      places_.begin() + static_cast<std::ptrdiff_t>(first_), places_.end(), byte,
      [](const FoundPlace& place, std::size_t from) { return place.begin < from; });
  return found == places_.end() ? nullptr : &*found;
}

NearStream::NearStream(SearchContext& context, Operand left, Operand right, const AndLink& link)
    : ItemStream(context), link_(link), left_(left), right_(right) {}

bool NearStream::MayBeSatisfied() {
  return (left_.isNegated || left_.stream->MayBeSatisfied()) &&
         (right_.isNegated || right_.stream->MayBeSatisfied());
}

void NearStream::OnBegin() {
  for (Side* const side : {&left_, &right_}) {
    side->places.Begin();
    side->here.clear();
    side->hasLast = false;
  }
  running_.clear();
  kept_.clear();
  nextKept_ = 0;
}

bool NearStream::Next(FoundPlace& place) {
  while (nextKept_ == kept_.size()) {
    if (!Walk()) return false;
  }
  place = kept_[nextKept_++];
  while (nextKept_ < kept_.size() && kept_[nextKept_].HasRangeOf(place))
    Context().tagLists.Unite(place, kept_[nextKept_++]);
  return true;
}

/// Goes on to the next byte where places begin and keeps those of them that stay. False at the end.
bool NearStream::Walk() {
  kept_.clear();
  nextKept_ = 0;
  if (IsOver()) return false;
  const FoundPlace* const left = left_.places.Head();
  const FoundPlace* const right = right_.places.Head();
  if (left == nullptr && right == nullptr) return false;
  const std::size_t at = left == nullptr    ? right->begin
                         : right == nullptr ? left->begin
                                            : std::min(left->begin, right->begin);
  TakeHere(left_, at);
  TakeHere(right_, at);
  if (link_.ordered) EndLeftPlaces(at);
  Keep(left_, true);
  Keep(right_, false);
  std::sort(kept_.begin(), kept_.end(),
            [](const FoundPlace& a, const FoundPlace& b) { return a.end < b.end; });
  if (!link_.ordered) {
    GoPast(left_);
    GoPast(right_);
  }
  return true;
}

/// Whether no place can stay any longer: one operand has come to its end, and the places of the other
/// are not kept without it and have left its reach.
bool NearStream::IsOver() {
  for (const bool isLeft : {true, false}) {
    Side& ended = isLeft ? left_ : right_;
    Side& other = isLeft ? right_ : left_;
    if (ended.places.Head() != nullptr) continue;
    if (other.isNegated) return true;
    if (ended.isNegated) continue;
    if (link_.ordered && !running_.empty()) continue;
    const FoundPlace* const next = other.places.Head();
    if (next == nullptr || !ended.hasLast || (link_.ordered && !isLeft)) return true;
    return !IsInReach(ended.last, *next);
  }
  return false;
}

void NearStream::TakeHere(Side& side, std::size_t at) {
  side.here.clear();
  for (const FoundPlace* head = side.places.Head(); head != nullptr && head->begin == at;
       head = side.places.Head()) {
    side.here.push_back(side.places.Take());
  }
  Context().Spend(kWorkOfDecision * static_cast<std::int64_t>(side.here.size()), at);
}

/// Notes which left places have ended at `at`.
void NearStream::EndLeftPlaces(std::size_t at) {
  for (const FoundPlace& place : left_.here) {
    running_.push_back(place);
    std::push_heap(running_.begin(), running_.end(), EndsLater);
  }
  while (!running_.empty() && running_.front().end <= at) {
    left_.last = running_.front();
    left_.hasLast = true;
    std::pop_heap(running_.begin(), running_.end(), EndsLater);
    running_.pop_back();
  }
}

/// Whether the other operand has a place in reach of `place`, which begins where the walk stands.
bool NearStream::HasPartner(const FoundPlace& place, bool isLeft) {
  Side& other = isLeft ? right_ : left_;
  if (link_.ordered && isLeft) {
    if (place.end == place.begin && !other.here.empty()) return true;
    const FoundPlace* const next = other.places.FirstFrom(place.end);
    return next != nullptr && IsInReach(place, *next);
  }
  if (link_.ordered) return other.hasLast && IsInReach(other.last, place);
  if (!other.here.empty()) return true;
  if (other.hasLast && IsInReach(other.last, place)) return true;
  const FoundPlace* const next = other.places.Head();
  return next != nullptr && IsInReach(place, *next);
}

/// Whether `after`, which does not begin before `before`, begins at most the distance after its end.
bool NearStream::IsInReach(const FoundPlace& before, const FoundPlace& after) {
  if (!link_.distance.has_value() || after.begin <= before.end) return true;
  const auto most = static_cast<std::size_t>(*link_.distance);
  const std::size_t bytes = after.begin - before.end;
  TextBlocks& blocks = Context().blocks;
  if (link_.unit == DistanceUnit::kWords) {
    if (bytes / 2 < most) return true;  // a word and what parts it from the next take two bytes
    const std::size_t begun = blocks.WordsBefore(before.block) + before.wordsBegun;
    const std::size_t ended = blocks.WordsBefore(after.block) + after.wordsEnded;
    return ended <= begun || ended - begun <= most;
  }
  if (bytes <= most) return true;
  if (bytes / kMostBytesOfCharacter > most) return false;
  if (!Context().wantsCharacters) {
    Context().Spend(static_cast<std::int64_t>(bytes) / kMeasuredForAUnit, after.begin);
    return blocks.CharactersIn({before.end, after.begin}) <= most;
  }
  const std::size_t from = blocks.CharactersBefore(before.block) + before.charEnd;
  const std::size_t to = blocks.CharactersBefore(after.block) + after.charBegin;
  return to - from <= most;
}

void NearStream::Keep(Side& side, bool isLeft) {
  const Side& other = isLeft ? right_ : left_;
  for (FoundPlace& place : side.here) {
    if (!side.isNegated && HasPartner(place, isLeft) != other.isNegated)
      kept_.push_back(place);
    else
      Context().tagLists.Drop(place);
  }
}

void NearStream::GoPast(Side& side) {
  for (const FoundPlace& place : side.here) {
    if (side.hasLast && side.last.end >= place.end) continue;
    side.last = place;
    side.hasLast = true;
  }
}

}  // namespace trovex
