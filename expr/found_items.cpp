// Found items and the arrays that hold them; `Merge` is how the operators combine two of them. How items come into
// being stands in item_blocks.cpp.

#include "expr/item_blocks.h"

#include <trovex/found_items.h>
#include <cstdint>
#include <cstdlib>

CFoundItem::CFoundItem(CFoundItem& other)
    : start_(other.start_), end_(other.end_), tagMatched_(other.tagMatched_) {}

// NOLINTNEXTLINE(misc-unconventional-assign-operator): the interface wants it virtual.
CFoundItem& CFoundItem::operator=(CFoundItem& other) {
  if (this == &other) return *this;
  start_ = other.start_;
  end_ = other.end_;
  tagMatched_ = other.tagMatched_;
  return *this;
}

int CFoundItem::GetStartPos() {
  return start_;
}

int CFoundItem::GetEndPos() {
  return end_;
}

int CFoundItem::TagMatched() {
  return tagMatched_;
}

void CFoundItem::SetTagMatched(int tagMatched) {
  tagMatched_ = tagMatched;
}

CFoundItemArray::CFoundItemArray() = default;

CFoundItemArray::~CFoundItemArray() {
  DeleteItems();
}

void CFoundItemArray::DeleteItems() {
  if (Capacity() == 0) return;
  trovex::ItemRemover remover;
  for (int i = 0; i < GetSize(); ++i)
    remover.Delete(GetAt(i));
  SetSize(0);
}

void CFoundItemArray::SetTagMatched(int tagMatched) {
  for (int i = 0; i < GetSize(); ++i) {
    if (CFoundItem* item = GetAt(i)) item->SetTagMatched(tagMatched);
  }
}

void CFoundItemArray::DeleteItemsWithTagNotMatched() {
  trovex::ItemRemover remover;
  int kept = 0;
  for (int i = 0; i < GetSize(); ++i) {
    CFoundItem* item = GetAt(i);
    if (item != nullptr && item->TagMatched() != 0) {
      SetAt(kept++, item);
    } else {
      remover.Delete(item);
    }
  }
  if (kept < GetSize()) SetSize(kept);
}

void CFoundItemArray::Negate() {
  negative_ = negative_ == 0 ? 1 : 0;
}

int CFoundItemArray::IsNegative() {
  return negative_;
}

void CFoundItemArray::SetNegative(int negative) {
  negative_ = negative;
}

CFoundItem* CFoundItemArray::GetItem(int position, int forward) {
  const int size = GetSize();
  if (size == 0) return nullptr;
  if (forward != 0) {
    for (int i = 0; i < size; ++i) {
      CFoundItem* item = GetAt(i);
      if (item != nullptr && item->GetStartPos() > position) return item;
    }
    return GetAt(0);
  }
  for (int i = size - 1; i >= 0; --i) {
    CFoundItem* item = GetAt(i);
    if (item != nullptr && item->GetStartPos() < position) return item;
  }
  return GetAt(size - 1);
}

namespace {

/// One source array of a merge, walked in its own order over its items (null slots are passed
/// over).
class SourceWalk {
 public:
  explicit SourceWalk(CFoundItemArray& array) : array_(array) { FindCurrent(); }

  /// The item to be visited next; null at the end.
  CFoundItem* Current() const { return current_; }
  /// The item visited last; null before the first.
  CFoundItem* Previous() const { return previous_; }

  /// Visits the current item and leaves it where it is.
  void Skip() {
    previous_ = current_;
    ++slot_;
    FindCurrent();
  }

  /// Visits the current item and moves it to the end of `target`, unless memory runs out: then
  /// nothing has changed.
  void MoveCurrentTo(CFoundItemArray& target) {
    target.Add(current_);
    array_.SetAt(slot_, nullptr);
    Skip();
  }

 private:
  void FindCurrent() {
    const int size = array_.GetSize();
    while (slot_ < size && array_.GetAt(slot_) == nullptr)
      ++slot_;
    current_ = array_.GetAt(slot_);
  }

  CFoundItemArray& array_;
  int slot_ = 0;
  CFoundItem* current_ = nullptr;
  CFoundItem* previous_ = nullptr;
};

/// Both source arrays of a merge, walked together in the order of starts.
class MergedWalk {
 public:
  MergedWalk(CFoundItemArray& first, CFoundItemArray& second) : a_(first), b_(second) { Choose(); }
  MergedWalk(const MergedWalk&) = delete;
  MergedWalk& operator=(const MergedWalk&) = delete;

  bool AtEnd() const { return source_->Current() == nullptr; }

  /// Whether the item to be visited next has a neighbour in the other array within `nearBy`.
  bool NextIsNear(int nearBy) const {
    CFoundItem* const item = source_->Current();
    CFoundItem* const before = other_->Previous();
    CFoundItem* const after = other_->Current();
    return (before != nullptr && Gap(before, item) <= nearBy) ||
           (after != nullptr && Gap(item, after) <= nearBy);
  }

  void Skip() {
    source_->Skip();
    Choose();
  }
  void MoveNextTo(CFoundItemArray& target) {
    source_->MoveCurrentTo(target);
    Choose();
  }

 private:
  /// Finds out whose item comes next. Equal starts: the second array's item comes first.
  void Choose() {
    const bool fromFirst =
        a_.Current() != nullptr &&
        (b_.Current() == nullptr || a_.Current()->GetStartPos() < b_.Current()->GetStartPos());
    source_ = fromFirst ? &a_ : &b_;
    other_ = fromFirst ? &b_ : &a_;
  }

  /// From the end of the earlier item to the start of the later one, in walk order, without sign.
  static std::int64_t Gap(CFoundItem* earlier, CFoundItem* later) {
    return std::abs(static_cast<std::int64_t>(later->GetStartPos()) - earlier->GetEndPos());
  }

  SourceWalk a_;
  SourceWalk b_;
  SourceWalk* source_ = nullptr;  // whose item comes next
  SourceWalk* other_ = nullptr;
};

}  // namespace

void CFoundItemArray::Merge(CFoundItemArray* first, CFoundItemArray* second, int nearBy) {
  if (first == nullptr || second == nullptr) return;
  if (first == second || first == this || second == this) return;
  DeleteItems();
  negative_ = 0;

  MergedWalk walk(*first, *second);
  if (nearBy < 0) {
    while (!walk.AtEnd())
      walk.MoveNextTo(*this);
    first->SetSize(0);
    second->SetSize(0);
    return;
  }

  const bool firstNegative = first->IsNegative() != 0;
  const bool secondNegative = second->IsNegative() != 0;
  if (firstNegative == secondNegative) {
    while (!walk.AtEnd()) {
      if (walk.NextIsNear(nearBy)) {
        walk.MoveNextTo(*this);
      } else {
        walk.Skip();
      }
    }
    negative_ = firstNegative ? 1 : 0;
    return;
  }

  for (; !walk.AtEnd(); walk.Skip()) {
    if (walk.NextIsNear(nearBy)) return;
  }
  CFoundItemArray& positive = firstNegative ? *second : *first;
  for (SourceWalk items(positive); items.Current() != nullptr;)
    items.MoveCurrentTo(*this);
  positive.SetSize(0);
}

const CClassDescription& CFoundItemArray::QueryClass() const {
  return ClassDescription();
}

const CClassDescription& CFoundItemArray::ClassDescription() {
  static const CClassDescription description{"CFoundItemArray",
                                             &CPointerArray<CFoundItem>::ClassDescription()};
  return description;
}
