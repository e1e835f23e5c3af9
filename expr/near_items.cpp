#include "expr/near_items.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <utility>

namespace trovex {

namespace {

/// From the end of one item to the start of another one, without sign.
bool IsWithin(int nearBy, std::int64_t end, int start) {
  return std::abs(start - end) <= nearBy;
}

/// An end that is near to nothing.
constexpr std::int64_t kFarAway = std::int64_t{-1} << 40;

}  // namespace

bool NearItems::CanTake(CFoundItemArray& result) {
  const int size = result.GetSize();
  for (int i = 0; i < size; ++i) {
    if (result.GetAt(i) == nullptr) return false;
    if (i > 0 && result.GetAt(i)->GetStartPos() < result.GetAt(i - 1)->GetStartPos()) return false;
  }
  return true;
}

/// The places of the chain and the items of a left operand, together in the order of starts. Of equal
/// starts the place comes first.
class NearItems::Walk {
 public:
  Walk(const std::vector<Place>& places, CFoundItemArray& left)
      : places_(places), left_(left), size_(left.GetSize()) {
    FindLeft();
  }

  bool AtEnd() const { return place_ == places_.size() && item_ == nullptr; }
  /// Whether a place comes next, rather than a left item.
  bool IsPlace() const {
    return place_ < places_.size() && (item_ == nullptr || places_[place_].start <= start_);
  }
  std::size_t PlaceIndex() const { return place_; }
  int Slot() const { return slot_; }
  CFoundItem* LeftItem() const { return item_; }

  /// Passes the place that comes next; the last item there ends at `end`.
  void PassPlace(int end) {
    ++place_;
    placeEnd_ = end;
  }
  void PassLeft() {
    assert(item_ != nullptr);
    leftEnd_ = item_->GetEndPos();
    ++slot_;
    FindLeft();
  }

  /// Whether what starts at the next place has a neighbour among the left items before it.
  bool IsPlaceNearBefore(int nearBy) const {
    return IsWithin(nearBy, leftEnd_, places_[place_].start);
  }
  /// Whether the next left item has a neighbour among the places.
  bool IsLeftNear(int nearBy) const {
    assert(item_ != nullptr);
    if (IsWithin(nearBy, placeEnd_, start_)) return true;
    return place_ < places_.size() && IsWithin(nearBy, item_->GetEndPos(), places_[place_].start);
  }

 private:
  void FindLeft() {
    item_ = slot_ < size_ ? left_.GetAt(slot_) : nullptr;
    if (item_ != nullptr) start_ = item_->GetStartPos();
  }

  const std::vector<Place>& places_;
  CFoundItemArray& left_;
  const int size_;
  std::size_t place_ = 0;
  int slot_ = 0;
  CFoundItem* item_ = nullptr;        // at `slot_`; null at the end
  int start_ = 0;                     // its start
  std::int64_t placeEnd_ = kFarAway;  // where the last item of the chain that was passed ends
  std::int64_t leftEnd_ = kFarAway;   // where the last left one does
};

void NearItems::Unite(Result left) {
  next_.clear();
  Walk walk(places_, *left);
  while (!walk.AtEnd()) {
    if (walk.IsPlace()) {
      next_.push_back(places_[walk.PlaceIndex()]);
      walk.PassPlace(0);
    } else {
      const int slot = walk.Slot();
      walk.PassLeft();
      Append(next_, *left, slot);
    }
  }
  looked_ = static_cast<std::int64_t>(next_.size()) + left->GetSize();
  places_.swap(next_);
}

void NearItems::KeepNear(Result left, int nearBy) {
  next_.clear();
  looked_ = static_cast<std::int64_t>(places_.size()) + left->GetSize();
  Walk walk(places_, *left);
  while (!walk.AtEnd()) {
    if (walk.IsPlace()) {
      Place place = places_[walk.PlaceIndex()];
      const int lastEnd = LastEndAt(place);
      if (!walk.IsPlaceNearBefore(nearBy)) Drop(place, walk.LeftItem(), nearBy);
      walk.PassPlace(lastEnd);
      if (place.last != kNone) next_.push_back(place);
    } else {
      const bool isNear = walk.IsLeftNear(nearBy);
      const int slot = walk.Slot();
      walk.PassLeft();
      if (isNear) Append(next_, *left, slot);
    }
  }
  places_.swap(next_);
}

bool NearItems::IsNear(CFoundItemArray& left, int nearBy) const {
  for (Walk walk(places_, left); !walk.AtEnd();) {
    if (!walk.IsPlace()) {
      if (walk.IsLeftNear(nearBy)) return true;
      walk.PassLeft();
      continue;
    }
    if (walk.IsPlaceNearBefore(nearBy)) return true;
    const Place& place = places_[walk.PlaceIndex()];
    CFoundItem* const after = walk.LeftItem();
    for (Index end = place.ends; end != kNone && after != nullptr; end = ends_[end].next) {
      if (IsWithin(nearBy, ends_[end].place, after->GetStartPos())) return true;
    }
    walk.PassPlace(LastEndAt(place));
  }
  return false;
}

/// Drops the items of `place` that do not end near to the start of `after`, which may be null: there is
/// none. No item remains where `last` becomes kNone.
void NearItems::Drop(Place& place, CFoundItem* after, int nearBy) {
  const int start = after != nullptr ? after->GetStartPos() : 0;
  for (Index* link = &place.ends; *link != kNone; ++looked_) {
    End& end = ends_[*link];
    end.isKept = after != nullptr && IsWithin(nearBy, end.place, start);
    if (end.isKept) {
      link = &end.next;
    } else {
      *link = end.next;
    }
  }
  while (place.last != kNone && !ends_[items_[place.last].end].isKept) {
    items_[place.last].item.reset();
    place.last = items_[place.last].before;
  }
}

/// Moves the item of `slot` to the end of the last of `places`, or into a place of its own.
void NearItems::Append(std::vector<Place>& places, CFoundItemArray& left, int slot) {
  CFoundItem* const item = left.GetAt(slot);
  const int start = item->GetStartPos();
  if (places.empty() || places.back().start != start) places.push_back({start, kNone, kNone});
  Place& place = places.back();
  Index end = place.ends;
  while (end != kNone && ends_[end].place != item->GetEndPos())
    end = ends_[end].next;
  if (end == kNone) {
    ends_.push_back({item->GetEndPos(), place.ends, true});
    place.ends = end = static_cast<Index>(ends_.size() - 1);
  }
  items_.push_back({nullptr, end, place.last});
  items_.back().item.reset(item);
  left.SetAt(slot, nullptr);
  place.last = static_cast<Index>(items_.size() - 1);
}

NearItems::Result NearItems::Take() {
  auto result = std::make_unique<CFoundItemArray>();
  std::vector<Index> kept;
  for (const Place& place : places_) {
    kept.clear();
    for (Index index = place.last; index != kNone; index = items_[index].before) {
      if (ends_[items_[index].end].isKept) kept.push_back(index);
    }
    for (std::size_t i = kept.size(); i-- > 0;) {
      result->Add(items_[kept[i]].item.get());
      static_cast<void>(items_[kept[i]].item.release());
    }
  }
  places_.clear();
  items_.clear();
  ends_.clear();
  return result;
}

}  // namespace trovex
