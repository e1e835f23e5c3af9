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
// would take the square of their number. Long chains with distances have a way of their own, for the same
// reason (near_items.h).
//
// Before that, short texts, such as the rows of a table, are looked at: most of them lack what the first operand
// must find. And chains of nothing but strings are searched for all of these at once (string_chain.h).
//
// Every result here has one owner at a time; what is not returned is deleted on the way out.

#include "expr/and_chain.h"
#include "expr/item_blocks.h"
#include "expr/leaf_pattern.h"
#include "expr/near_items.h"
#include "expr/string_chain.h"
#include "expr/text_credit.h"
#include "matcher/costs.h"
#include "matcher/limits.h"
#include "matcher/tuning.h"

#include <trovex/search_tree.h>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
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
  auto merged = trovex::MakeResult();
  merged->Merge(first.get(), second.get(), nearBy);
  return merged;
}

/// What was found right of some place of a chain: one operand's result, or the union of several, which
/// is made when it is asked for; or, after some ANDs with distances, items by their places.
///
/// The parts of a union are positive. Which of them are united first makes no difference, as long as no
/// part passes another: among equal starts the rightmost operand comes first. (That holds for items in
/// any order: one that starts before those in front of it goes along with them.)
class Found {
 public:
  Found(Result result, trovex::WorkCredit& credit) : credit_(credit) {
    parts_.push_back(std::move(result));
  }

  bool IsNegative() const {
    return near_ ? nearIsNegative_ : parts_.size() == 1 && ::IsNegative(parts_[0]);
  }
  bool HasItems() const {
    return near_ ? near_->HasItems() : parts_.size() > 1 || ::HasItems(parts_[0]);
  }

  /// Unites what was found with `left`, the result of the operand on its left; both have items and are
  /// positive.
  void UniteWith(Result left) {
    if (near_ && trovex::NearItems::CanTake(*left)) {
      near_->Unite(std::move(left));
      return;
    }
    if (near_) static_cast<void>(Made());
    parts_.push_back(std::move(left));
  }

  /// Combines what was found with `left` by their distance.
  void CombineNear(Result left, int nearBy) {
    const std::int64_t looked = left->GetSize() + (near_ ? 0 : Made()->GetSize());
    if (!credit_.Spend(looked * trovex::kMergeUnits)) {
      Replace(Emptied(std::move(left)));
    } else if (++distances_ <= kFewDistances || !HasPlaces() ||
               !trovex::NearItems::CanTake(*left)) {
      Replace(Merged(left, Made(), nearBy));
    } else if (nearIsNegative_ == ::IsNegative(left)) {
      near_->KeepNear(std::move(left), nearBy);
      if (!credit_.Spend(near_->Looked() * trovex::kMergeUnits)) {
        Replace(trovex::MakeResult());
      }
    } else if (near_->IsNear(*left, nearBy)) {
      Replace(trovex::MakeResult());
    } else if (std::exchange(nearIsNegative_, false)) {
      left->SetNegative(0);
      Replace(std::move(left));
    }
  }

  void Replace(Result result) {
    near_.reset();
    parts_.clear();
    parts_.push_back(std::move(result));
  }

  /// What was found, as one result, which stays here.
  const Result& Made() {
    if (near_) {
      Result taken = near_->Take();
      taken->SetNegative(nearIsNegative_ ? 1 : 0);
      Replace(std::move(taken));
    }
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
  /// So many ANDs with distances are combined array by array: that is faster where little piles up.
  static constexpr int kFewDistances = 8;

  /// Whether what was found stands by its places, or can be put there.
  bool HasPlaces() {
    if (near_) return true;
    const Result& made = Made();
    if (!trovex::NearItems::CanTake(*made)) return false;
    nearIsNegative_ = ::IsNegative(made);
    near_.emplace();
    near_->Unite(std::move(parts_[0]));
    parts_.clear();
    return true;
  }

  trovex::WorkCredit& credit_;
  std::vector<Result> parts_;  // from right to left; empty only with `near_`
  std::optional<trovex::NearItems> near_;
  bool nearIsNegative_ = false;
  int distances_ = 0;
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
      found.CombineNear(std::move(left), node->GetNearBy());
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

/// Whether ANDs stand so deep in left operands below `first` as they never do in a tree that was compiled:
/// that puts the smaller operand on the left, and a search calls itself there.
bool IsTooDeep(CAndOperator* first) {
  int depth = 0;
  for (CAndOperator* node = first; node != nullptr && depth <= trovex::kMaxExpressionNesting;
       ++depth)
    node = trovex::AsPlainAnd(node->GetLeftChild());
  return depth > trovex::kMaxExpressionNesting;
}

/// What a look at a text tells of an AND.
enum class Look {
  kNothing,  // its result is empty, and not negative
  kDecided,  // each operand occurs that must, and none that must not, wherever that decides
  kUnknown,
};

/// Whether the first leaf of `operand` must find something, and finds nothing, and nobody can tell whether it was
/// searched: then it may be looked at before what is left of it.
bool IsKnownToLack(CSearchTreeItem* operand, const char* text, int length) {
  if (CAndOperator* const both = trovex::AsPlainAnd(operand)) operand = both->GetLeftChild();
  const CSubExpression* const leaf = trovex::AsPlainLeaf(operand);
  if (leaf == nullptr) return false;
  return trovex::LeafPattern(*leaf).LeavesNothingBehind() &&
         trovex::LeafPattern::LookAt(*leaf, text, length) == trovex::LeafPattern::Answer::kNoMatch;
}

/// Looks at a text for the operands of `node`, in the order in which they are searched, for as long as it is certain
/// that the next one is. Where a group is asked for, a match may come to nothing.
Look LookFor(CAndOperator* node, const char* text, int length, int tagNr, int depth = 0) {
  using Answer = trovex::LeafPattern::Answer;
  constexpr int kDeepest = 8;
  if (depth == kDeepest) return Look::kUnknown;
  bool hasDistances = false;
  for (bool isLeft = true;;) {
    const bool isDistance = node->GetNearBy() >= 0;
    hasDistances = hasDistances || isDistance;
    CSearchTreeItem* operand = isLeft ? node->GetLeftChild() : node->GetRightChild();
    if (CAndOperator* const both = trovex::AsPlainAnd(operand)) {
      if (isLeft) {
        const Look look = LookFor(both, text, length, tagNr, depth + 1);
        if (look != Look::kDecided) return look;
      } else {
        node = both;
      }
      isLeft = !isLeft;
      continue;
    }
    CNotOperator* const negation = trovex::AsPlainNot(operand);
    if (negation != nullptr) operand = negation->GetChild();
    const CSubExpression* const leaf = trovex::AsPlainLeaf(operand);
    if (leaf == nullptr) return Look::kUnknown;
    if (isLeft && negation != nullptr && IsKnownToLack(node->GetRightChild(), text, length))
      return Look::kNothing;
    const Answer answer = trovex::LeafPattern::LookAt(*leaf, text, length);
    const bool isFound = answer == Answer::kMatch;
    if (answer == Answer::kUnknown || (isFound && tagNr >= 1)) return Look::kUnknown;
    if (negation == nullptr ? !isFound : isFound && !isDistance) return Look::kNothing;
    // Whether operands are near to each other, and what is on the right is searched, a look does not tell.
    if (!isLeft) return depth > 0 && hasDistances ? Look::kUnknown : Look::kDecided;
    isLeft = false;
  }
}

/// Evaluates `first` and the ANDs that it is chained to by their right operands, up to the marking of
/// the tag of `first`. Null when an operand is missing or has no result. `isLookedAt`: a look has told that nothing is
/// decided by an operand that does not occur, or that does.
Result SearchChain(CAndOperator* first, const char* text, int length, int tagNr, bool isLookedAt) {
  if (IsTooDeep(first)) return nullptr;
  if (tagNr <= 0) {
    Result found = trovex::StringChain::Search(*first, text, length, isLookedAt);
    if (found != nullptr) return found;
  }
  trovex::TextCredit credit(length);
  std::vector<OpenAnd> open;
  Result last;
  for (CAndOperator* node = first;;) {
    if (node->GetLeftChild() == nullptr || node->GetRightChild() == nullptr) return nullptr;
    OpenAnd both = {node, Result(node->GetLeftChild()->Search(text, length, tagNr))};
    if (both.left == nullptr) return nullptr;
    if (both.IsDecided()) {
      last = Emptied(std::move(both.left));
      if (open.empty()) return last;  // of most short texts
      break;
    }
    open.push_back(std::move(both));
    if (CAndOperator* const next = trovex::AsPlainAnd(node->GetRightChild())) {
      node = next;
      continue;
    }
    last = Result(node->GetRightChild()->Search(text, length, tagNr));
    break;
  }
  if (last == nullptr) return nullptr;

  Found found(std::move(last), credit.Credit());
  credit.Credit().BeginLine(0, trovex::kWorkForReferences);
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
  const trovex::TextCredit credit(length);
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
    const bool isShort = text != nullptr && length <= static_cast<int>(trovex::kLookedAtText);
    const Look look = isShort ? LookFor(this, text, length, tagNr) : Look::kUnknown;
    if (look == Look::kNothing) return trovex::MakeResult().release();
    return SearchChain(this, text, length, tagNr, look == Look::kDecided).release();
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
