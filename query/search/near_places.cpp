#include "query/search/near_places.h"

#include "query/search/text_blocks.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace trovex {

namespace {

bool BeginsBefore(const ByteRange& place, std::size_t byte) {
  return place.begin < byte;
}

/// Whether at most `most` words of UTF-8 lie wholly between the two.
bool HasFewWordsOfUtf8(TextView text, std::size_t end, std::size_t begin, std::size_t most) {
  const std::size_t begun = most + (IsInsideWordOfUtf8(text, begin) ? 1 : 0);
  return WordsBegunInUtf8(text, end, begin, begun) <= begun;
}

/// Whether at most `most` words lie wholly between the two.
bool HasFewWords(TextView text, std::size_t end, std::size_t begin, std::size_t most) {
  // Few bytes at a time: mostly there are too many words soon.
  constexpr std::size_t kStep = 32;
  const std::size_t goesOn = IsInsideWord(text, begin) ? 1 : 0;
  std::size_t words = 0;
  for (std::size_t at = end; at < begin; at += kStep) {
    words += WordsBegunIn(text, at, std::min(at + kStep, begin));
    if (words > most + goesOn) return false;
  }
  return words <= most + goesOn;
}

}  // namespace

bool IsWithin(const AndLink& link, const MeasuredText& text, std::size_t end, std::size_t begin) {
  if (!link.distance.has_value() || begin <= end) return true;
  const auto most = static_cast<std::size_t>(*link.distance);
  const std::size_t bytes = begin - end;
  if (link.unit == DistanceUnit::kWords) {
    // A word and what parts it from the next take two bytes.
    if (bytes / 2 < most) return true;
    return text.isUtf8 ? HasFewWordsOfUtf8(text.bytes, end, begin, most)
                       : HasFewWords(text.bytes, end, begin, most);
  }
  if (bytes <= most) return true;
  if (!text.isUtf8 || bytes / kMostBytesOfCharacter > most) return false;
  return CharactersOf(text.bytes, {end, begin}) <= most;
}

void NearPlaces::Find(const AndLink& link, const MeasuredText& text, const NearOperand& left,
                      const NearOperand& right, std::vector<ByteRange>& kept) {
  kept.clear();
  const bool isOfBytes =
      link.distance.has_value() && link.unit == DistanceUnit::kCharacters && !text.isUtf8;
  if (isOfBytes && !link.ordered) {
    const auto most = static_cast<std::size_t>(*link.distance);
    const auto within = [most](std::size_t end, std::size_t begin) { return begin <= end + most; };
    return FindOnEitherSide(left, right, within, kept);
  }
  const auto within = [&](std::size_t end, std::size_t begin) {
    return IsWithin(link, text, end, begin);
  };
  if (link.ordered)
    FindInOrder(left, right, within, kept);
  else
    FindOnEitherSide(left, right, within, kept);
}

/// One walk over both. The nearest place of the other operand is the next one, or of those before the one that ends
/// last.
template <typename Within>
void NearPlaces::FindOnEitherSide(const NearOperand& left, const NearOperand& right, Within within,
                                  std::vector<ByteRange>& kept) {
  struct Side {
    const ByteRange* next;
    const ByteRange* end;
    bool isNegated;
    bool hasPassed = false;
    std::size_t passedEnd = 0;
  };
  const auto sideOf = [](const NearOperand& operand) {
    const ByteRange* const places = operand.places.data();
    return Side{places, places + operand.places.size(), operand.isNegated};
  };
  Side l = sideOf(left);
  Side r = sideOf(right);
  while (l.next != l.end || r.next != r.end) {
    const bool isLeft = r.next == r.end || (l.next != l.end && *r.next >= *l.next);
    Side& side = isLeft ? l : r;
    const Side& other = isLeft ? r : l;
    const ByteRange& place = *side.next++;
    side.passedEnd = std::max(side.passedEnd, place.end);
    side.hasPassed = true;
    if (side.isNegated) continue;
    const bool isNear = (other.hasPassed && within(other.passedEnd, place.begin)) ||
                        (other.next != other.end && within(place.end, other.next->begin));
    if (isNear == other.isNegated) continue;
    if (kept.empty() || kept.back() != place) kept.push_back(place);
  }
}

/// Of a left place the nearest is the first right one that begins where it ends or after, of a right one that left
/// one which ends last where it begins or before.
template <typename Within>
void NearPlaces::FindInOrder(const NearOperand& left, const NearOperand& right, Within within,
                             std::vector<ByteRange>& kept) {
  ends_.clear();
  for (const ByteRange& place : left.places)
    ends_.push_back(place.end);
  // Where they are of one pattern, they are in order.
  const bool areInOrder = std::is_sorted(ends_.begin(), ends_.end());
  auto next = right.places.begin();
  for (const ByteRange& place : left.places) {
    if (left.isNegated) break;
    if (!areInOrder)
      next = std::lower_bound(right.places.begin(), right.places.end(), place.end, BeginsBefore);
    while (next != right.places.end() && next->begin < place.end)
      ++next;
    const bool isNear = next != right.places.end() && within(place.end, next->begin);
    if (isNear != right.isNegated) kept.push_back(place);
  }
  if (right.isNegated) return;
  if (!areInOrder) std::sort(ends_.begin(), ends_.end());
  const std::size_t keptLeft = kept.size();
  std::size_t after = 0;
  for (const ByteRange& place : right.places) {
    while (after < ends_.size() && ends_[after] <= place.begin)
      ++after;
    const bool isNear = after > 0 && within(ends_[after - 1], place.begin);
    if (isNear != left.isNegated) kept.push_back(place);
  }
  MergeFrom(keptLeft, kept);
}

void NearPlaces::Unite(std::vector<ByteRange>& places, const std::vector<ByteRange>& more) {
  if (more.empty()) return;
  const std::size_t known = places.size();
  places.insert(places.end(), more.begin(), more.end());
  if (known != 0) MergeFrom(known, places);
}

/// Puts the places from number `second` on, and those before, each in order, together as one row of different ones.
void NearPlaces::MergeFrom(std::size_t second, std::vector<ByteRange>& places) {
  const auto middle = places.begin() + static_cast<std::ptrdiff_t>(second);
  merged_.clear();
  std::set_union(places.begin(), middle, middle, places.end(), std::back_inserter(merged_));
  places.assign(merged_.begin(), merged_.end());
}

}  // namespace trovex
