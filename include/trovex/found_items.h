// What a search returns: found items, and the array that holds them in text order.

#ifndef TROVEX_FOUND_ITEMS_H
#define TROVEX_FOUND_ITEMS_H

#include <trovex/export.h>
#include <trovex/host_framework.h>

#include <cstdint>

/// Where one match lies in the text that was searched.
class TROVEX_EXPORT CFoundItem {
 public:
  /// Stores the three values unchanged: the offset of the first byte of the match, the offset just
  /// past its last byte, and whether it was produced for the tag that was asked for.
  CFoundItem(int start, int end, int tagMatched);
  CFoundItem(CFoundItem& other);
  virtual ~CFoundItem();
  /// Copies the three values; assigning an item to itself does nothing.
  virtual CFoundItem& operator=(CFoundItem& other);  // NOLINT(misc-unconventional-assign-operator)

  /// Byte offset of the first byte of the match.
  int GetStartPos();
  /// Byte offset just past the last byte of the match. An empty match has equal offsets.
  int GetEndPos();
  /// Nonzero when the match was produced for the tag that the search was asked for.
  int TagMatched();
  /// Stores the flag unchanged.
  void SetTagMatched(int tagMatched);

 private:
  std::int32_t start_;
  std::int32_t end_;
  std::int32_t tagMatched_;
};

/// The found items of one search, ordered by start. The array owns its items.
///
/// A slot may be null (`Merge` leaves null slots in its source arrays); every operation
/// skips null slots.
///
/// A negative array is the result of a NOT: it stands for "these matches must not occur". An AND
/// resolves it; where no AND stands above the NOT, it reaches the host, and an empty negative array
/// then says that the text satisfies the expression, a non-empty one that it does not.
class TROVEX_EXPORT CFoundItemArray : public CPointerArray<CFoundItem> {
 public:
  /// An empty array that is not negative.
  CFoundItemArray();
  /// Deletes the items.
  ~CFoundItemArray() override;

  /// Deletes all items and frees the storage; the negative flag stays.
  void DeleteItems();
  /// Sets the tag-matched flag of every item.
  void SetTagMatched(int tagMatched);
  /// Deletes the items whose tag-matched flag is 0 and closes the gaps, null slots included. When
  /// nothing is to be deleted, the array stays exactly as it is.
  void DeleteItemsWithTagNotMatched();

  /// Makes the array negative if it was not, and not negative if it was; the flag is then 1 or 0.
  void Negate();
  /// The negative flag as it was stored.
  int IsNegative();
  /// Stores the negative flag unchanged.
  void SetNegative(int negative);

  /// The host's step to the next or the previous match, with wrap-around. The item stays the
  /// array's.
  ///
  /// `forward` nonzero: the first item that starts after `position`, or, if there is none, what
  /// the first slot holds. `forward` zero: the last item that starts before `position`, or, if
  /// there is none, what the last slot holds. An empty array gives null.
  ///
  /// The step looks at one slot after the other. To visit every item, run `GetAt` over `GetSize`
  /// slots instead.
  CFoundItem* GetItem(int position, int forward);

  /// Replaces this array by the combination of two others. This array's own items are deleted first
  /// and its negative flag is cleared. Items that enter the result are moved out of `first` and
  /// `second`; what stays there remains theirs. The caller deletes both afterwards. The three
  /// arrays must be different objects; otherwise, or when one is null, nothing happens.
  ///
  /// The items of both are visited in the order of their starts, on equal starts the item of
  /// `second` first. An item is near when the distance between it and its neighbour in the other
  /// array, the one last visited or the one visited next, is at most `nearBy`. The distance to the
  /// one before is |start of the item - end of that one|, to the one after |start of that one -
  /// end of the item|.
  ///
  /// - `nearBy` below 0: the union of both. Both sources end with size 0. Never negative.
  /// - `nearBy` from 0, one source negative: if any item is near, the result is empty and both
  ///   sources keep everything; otherwise it is all items of the source that is not negative, whose
  ///   size becomes 0.
  /// - `nearBy` from 0, otherwise: the items that are near; their slots in the sources become null.
  ///   The result is negative exactly when both sources are.
  ///
  /// Throws std::bad_alloc when memory runs out; every item then still has one owner among the three.
  void Merge(CFoundItemArray* first, CFoundItemArray* second, int nearBy);

  const CClassDescription& QueryClass() const override;
  static const CClassDescription& ClassDescription();

 private:
  std::int32_t negative_ = 0;
};

#endif  // TROVEX_FOUND_ITEMS_H
