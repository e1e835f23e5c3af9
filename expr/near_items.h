// The items of a long chain of ANDs with distances, "a &20 b &20 c &20 ...", while it is combined.
//
// Each AND keeps, of what was found right of it and of its left operand, the items that have a neighbour of
// the other side within the distance. Where much is found, the items of all operands pile up, and to walk
// over them for every operand would take the square of their number. What decides on an item is its range
// alone. So the items that start at one place are one entry here, and of those, the ones that end at one place
// are kept or dropped together; an AND walks over places, however many items stand there.
//
// The answers are those of CFoundItemArray::Merge, for arrays in the order of starts and without gaps.

#ifndef TROVEX_EXPR_NEAR_ITEMS_H
#define TROVEX_EXPR_NEAR_ITEMS_H

#include <trovex/found_items.h>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace trovex {

class NearItems {
 public:
  using Result = std::unique_ptr<CFoundItemArray>;

  NearItems() = default;

  /// Whether the items of `result` can be taken: they stand in the order of their starts.
  static bool CanTake(CFoundItemArray& result);

  bool HasItems() const { return !places_.empty(); }

  /// Adds the items of `left`, the operand on the left: behind those that start at the same place.
  void Unite(Result left);
  /// Keeps what has a neighbour within `nearBy`, here and in `left`, and unites both.
  void KeepNear(Result left, int nearBy);
  /// Whether any item has a neighbour in `left` within `nearBy`.
  bool IsNear(CFoundItemArray& left, int nearBy) const;

  /// How many places and items the latest of these looked at.
  std::int64_t Looked() const { return looked_; }

  /// All items in order, as a positive result. Nothing stays here.
  Result Take();

 private:
  using Index = std::uint32_t;
  static constexpr Index kNone = UINT32_MAX;

  /// The items that start at one place.
  struct Place {
    int start;
    Index last;  // item
    Index ends;  // the first of the ends at which items are kept
  };
  /// Where some of them end.
  struct End {
    int place;
    Index next;
    bool isKept;
  };
  struct Item {
    std::unique_ptr<CFoundItem> item;
    Index end;
    Index before;  // the one added before it at the same start
  };
  class Walk;

  int LastEndAt(const Place& place) const { return ends_[items_[place.last].end].place; }
  void Drop(Place& place, CFoundItem* after, int nearBy);
  void Append(std::vector<Place>& places, CFoundItemArray& left, int slot);

  std::vector<Place> places_;  // by start; each has an item that is kept, and that is its last
  std::vector<Place> next_;
  std::vector<Item> items_;
  std::vector<End> ends_;
  std::int64_t looked_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_EXPR_NEAR_ITEMS_H
