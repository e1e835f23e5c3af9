#include "matcher/pattern/stream_analysis.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace trovex {

namespace {

/// Adds `indices`, of which there is at least one, to `list`.
void AddIndices(IndexList& list, IndexList::const_iterator begin, IndexList::const_iterator end) {
  if (list.empty() || list.back() < *begin) {
    list.insert(list.end(), begin, end);
    return;
  }
  IndexList both;
  both.reserve(list.size() + static_cast<std::size_t>(end - begin));
  std::set_union(list.begin(), list.end(), begin, end, std::back_inserter(both));
  list = std::move(both);
}

}  // namespace

StreamAnalysis::StreamAnalysis(const std::vector<Token>& tokens)
    : tokens_(tokens), follows_(tokens.size()) {
  stack_.reserve(tokens.size() / 2 + 1);
  first_.reserve(tokens.size());
  last_.reserve(tokens.size());
  for (std::uint32_t index = 0; index < tokens_.size(); ++index)
    Take(index);
}

void StreamAnalysis::Take(std::uint32_t index) {
  switch (tokens_[index]) {
    case TokEmpty:
      stack_.push_back({true, 0, 0});
      break;
    case TokOptional:
      stack_.back().nullable = true;
      break;
    case TokStar:
      Repeat();
      stack_.back().nullable = true;
      break;
    case TokPlus:
      Repeat();
      break;
    case TokConcat:
      Concatenate();
      break;
    case TokOr:
    case TokTopOr:
      Alternate();
      break;
    default:
      PushLeaf(index);
      break;
  }
}

void StreamAnalysis::PushLeaf(std::uint32_t index) {
  stack_.push_back({tokens_[index] == TokBackref, 1, 1});
  first_.push_back(index);
  last_.push_back(index);
}

void StreamAnalysis::Repeat() {
  AddFollows(stack_.back(), 0, stack_.back());
}

void StreamAnalysis::Concatenate() {
  const Operand right = stack_.back();
  stack_.pop_back();
  Operand& left = stack_.back();
  AddFollows(left, right.lastCount, right);

  if (left.nullable) {
    left.firstCount += right.firstCount;
  } else {
    first_.resize(first_.size() - right.firstCount);
  }
  if (right.nullable) {
    left.lastCount += right.lastCount;
  } else {
    const auto rightLast = last_.end() - static_cast<std::ptrdiff_t>(right.lastCount);
    last_.erase(rightLast - static_cast<std::ptrdiff_t>(left.lastCount), rightLast);
    left.lastCount = right.lastCount;
  }
  left.nullable = left.nullable && right.nullable;
}

void StreamAnalysis::Alternate() {
  const Operand right = stack_.back();
  stack_.pop_back();
  Operand& left = stack_.back();
  left.nullable = left.nullable || right.nullable;
  left.firstCount += right.firstCount;
  left.lastCount += right.lastCount;
}

/// Lets the first positions of `next`, the topmost operand, follow each last position of `operand`,
/// above which `skip` last positions lie.
void StreamAnalysis::AddFollows(const Operand& operand, std::size_t skip, const Operand& next) {
  if (next.firstCount == 0) return;
  const auto nextFirst = first_.end() - static_cast<std::ptrdiff_t>(next.firstCount);
  const auto lastEnd = last_.end() - static_cast<std::ptrdiff_t>(skip);
  for (auto last = lastEnd - static_cast<std::ptrdiff_t>(operand.lastCount); last != lastEnd;
       ++last) {
    AddIndices(follows_[*last], nextFirst, first_.end());
  }
}

}  // namespace trovex
