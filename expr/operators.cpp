// NOT and AND over the results of their operands.
//
// A negative result is never expanded into "the rest of the text": it travels up as a flag. The AND
// above it resolves it (the operand must not occur, or not within the distance), or it reaches the
// host as it is.
//
// The ANDs of a chain are evaluated in two passes. The first goes down the chain and searches each left
// operand, until one of them decides the rest or the chain ends. The second comes back up and combines
// what was found. Where it has to do no more than unite matches, in "a & b & c", it keeps the operands'
// results side by side and unites them at last, pair by pair: to copy everything for every operand
// would take the square of their number.
//
// Every result here has one owner at a time; what is not returned is deleted on the way out.

#include "expr/and_chain.h"

#include <trovex/search_tree.h>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace {

using Result = std::unique_ptr<CFoundItemArray>;

bool IsNegative(const Result& result) {
  return result->IsNegative() != 0;
}
bool HasItems(const Result& result) {
  return result->GetSize() > 0;
}

/// The answer "nothing": `result` without its items, not negative.
Result Emptied(Result result) {
  result->DeleteItems();
  result->SetNegative(0);
  return result;
}

/// Both operands' results combined by their distance.
Result Merged(const Result& first, const Result& second, int nearBy) {
  auto merged = std::make_unique<CFoundItemArray>();
  merged->Merge(first.get(), second.get(), nearBy);
  return merged;
}

/// What was found right of some place of a chain: one operand's result, or the union of several, which
/// is made when it is asked for.
///
/// The parts of a union are positive. Which of them are united first makes no difference, as long as no
/// part passes another: among equal starts the rightmost operand comes first. (That holds for items in
/// any order: one that starts before those in front of it goes along with them.)
class Found {
 public:
  explicit Found(Result result) { parts_.push_back(std::move(result)); }

  bool IsNegative() const { return parts_.size() == 1 && ::IsNegative(parts_[0]); }
  bool HasItems() const { return parts_.size() > 1 || ::HasItems(parts_[0]); }

  /// Unites what was found with `left`, the result of the operand on its left; both have items and are
  /// positive.
  void UniteWith(Result left) { parts_.push_back(std::move(left)); }

  void Replace(Result result) {
    parts_.clear();
    parts_.push_back(std::move(result));
  }

  /// What was found, as one result, which stays here.
  const Result& Made() {
    while (parts_.size() > 1) {
      std::size_t made = 0;
      for (std::size_t i = 0; i < parts_.size(); i += 2, ++made) {
        const bool hasPartner = i + 1 < parts_.size();
        parts_[made] =
            hasPartner ? Merged(parts_[i + 1], parts_[i], kAnywhere) : std::move(parts_[i]);
      }
      parts_.resize(made);
    }
    return parts_[0];
  }

  Result Take() {
    static_cast<void>(Made());
    return std::move(parts_[0]);
  }

 private:
  static constexpr int kAnywhere = -1;

  std::vector<Result> parts_;  // from right to left, never empty
};

/// An AND whose left operand was searched.
struct OpenAnd {
  CAndOperator* node;
  Result left;

  /// Whether the left operand alone says that there is nothing.
  bool IsDecided() const {
    if (!IsNegative(left)) return !HasItems(left);
    return node->GetNearBy() < 0 && HasItems(left);
  }

  /// Combines the left operand's result with what was found right of it.
  void CombineInto(Found& found) {
    const bool anywhere = node->GetNearBy() < 0;
    if (found.IsNegative() && anywhere && found.HasItems()) {
      found.Replace(Emptied(found.Take()));
    } else if (!found.IsNegative() && !found.HasItems()) {
      // Nothing on the right: nothing.
    } else if (!anywhere) {
      found.Replace(Merged(left, found.Made(), node->GetNearBy()));
    } else if (found.IsNegative() && !IsNegative(left)) {
      // What a negative operand excludes occurs nowhere: it is empty by now.
      found.Replace(std::move(left));
    } else if (!IsNegative(left)) {
      found.UniteWith(std::move(left));
    }
  }
};

/// Marks every item of `result` (which may be null) when the tag asked for is the node's own.
void MarkTag(CFoundItemArray* result, int tagNr, int ownTagNr) {
  if (result != nullptr && tagNr >= 1 && tagNr == ownTagNr) result->SetTagMatched(1);
}

/// Evaluates `first` and the ANDs that it is chained to by their right operands, up to the marking of
/// the tag of `first`. Null when an operand is missing or has no result.
Result SearchChain(CAndOperator* first, const char* text, int length, int tagNr) {
  std::vector<OpenAnd> open;
  Result last;
  for (CAndOperator* node = first;;) {
    if (node->GetLeftChild() == nullptr || node->GetRightChild() == nullptr) return nullptr;
    open.push_back({node, Result(node->GetLeftChild()->Search(text, length, tagNr))});
    if (open.back().left == nullptr) return nullptr;
    if (open.back().IsDecided()) {
      last = Emptied(std::move(open.back().left));
      open.pop_back();
      break;
    }
    if (CAndOperator* const next = trovex::AsPlainAnd(node->GetRightChild())) {
      node = next;
      continue;
    }
    last = Result(node->GetRightChild()->Search(text, length, tagNr));
    break;
  }
  if (last == nullptr) return nullptr;

  Found found(std::move(last));
  for (; !open.empty(); open.pop_back()) {
    open.back().CombineInto(found);
    CAndOperator* const node = open.back().node;
    if (node != first && tagNr >= 1 && tagNr == node->GetTagNr()) found.Made()->SetTagMatched(1);
  }
  return found.Take();
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
  try {
    return SearchChain(this, text, length, tagNr).release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

int CAndOperator::GetNearBy() {
  return nearBy_;
}

void CAndOperator::SetNearBy(int nearBy) {
  nearBy_ = nearBy;
}
