// NOT and AND over the results of their operands.
//
// A negative result is never expanded into "the rest of the text": it travels up as a flag. The AND
// above it resolves it (the operand must not occur, or not within the distance), or it reaches the
// host as it is.
//
// Every result here has one owner at a time; what is not returned is deleted on the way out.

#include <trovex/search_tree.h>
#include <memory>
#include <new>
#include <utility>

namespace {

using Result = std::unique_ptr<CFoundItemArray>;

bool IsNegative(const Result& result) {
  return result->IsNegative() != 0;
}
bool HasItems(const Result& result) {
  return result->GetSize() > 0;
}

/// The answer "nothing": `result` without its items, not negative.
CFoundItemArray* Emptied(Result result) {
  result->DeleteItems();
  result->SetNegative(0);
  return result.release();
}

/// Both operands' results combined by their distance; null when memory runs out.
CFoundItemArray* Merged(const Result& left, const Result& right, int nearBy) {
  try {
    auto merged = std::make_unique<CFoundItemArray>();
    merged->Merge(left.get(), right.get(), nearBy);
    return merged.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

/// Marks every item of `result` (which may be null) when the tag asked for is the node's own.
void MarkTag(CFoundItemArray* result, int tagNr, int ownTagNr) {
  if (result != nullptr && tagNr >= 1 && tagNr == ownTagNr) result->SetTagMatched(1);
}

}  // namespace

CNotOperator::CNotOperator() = default;
CNotOperator::CNotOperator(const CNotOperator& other) = default;
CNotOperator& CNotOperator::operator=(const CNotOperator& other) = default;
CNotOperator::~CNotOperator() = default;

CFoundItemArray* CNotOperator::Search(const char* text, int length, int tagNr) {
  if (GetChild() == nullptr) return nullptr;
  CFoundItemArray* result = GetChild()->Search(text, length, tagNr);
  if (result == nullptr) return nullptr;
  result->Negate();
  MarkTag(result, tagNr, GetTagNr());
  return result;
}

CAndOperator::CAndOperator() = default;
CAndOperator::CAndOperator(const CAndOperator& other) = default;
CAndOperator& CAndOperator::operator=(const CAndOperator& other) = default;
CAndOperator::~CAndOperator() = default;

CFoundItemArray* CAndOperator::Search(const char* text, int length, int tagNr) {
  CFoundItemArray* result = SearchChilds(text, length, tagNr);
  MarkTag(result, tagNr, GetTagNr());
  return result;
}

CFoundItemArray* CAndOperator::SearchChilds(const char* text, int length, int tagNr) {
  if (GetLeftChild() == nullptr || GetRightChild() == nullptr) return nullptr;
  const bool anywhere = nearBy_ < 0;

  Result left(GetLeftChild()->Search(text, length, tagNr));
  if (left == nullptr) return nullptr;
  if (!IsNegative(left) && !HasItems(left)) return left.release();
  if (IsNegative(left) && anywhere && HasItems(left)) return Emptied(std::move(left));

  Result right(GetRightChild()->Search(text, length, tagNr));
  if (right == nullptr) return nullptr;
  if (IsNegative(right) && anywhere && HasItems(right)) return Emptied(std::move(right));
  if (!IsNegative(right) && !HasItems(right)) return right.release();

  if (anywhere) {
    // A negative operand is empty by now: what it excludes occurs nowhere in the text.
    if (IsNegative(left)) return right.release();
    if (IsNegative(right)) return left.release();
  }
  return Merged(left, right, nearBy_);
}

int CAndOperator::GetNearBy() {
  return nearBy_;
}

void CAndOperator::SetNearBy(int nearBy) {
  nearBy_ = nearBy;
}
