#include "matcher/pattern/stream_analysis.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace trovex {

StreamAnalysis::StreamAnalysis(const std::vector<Token>& tokens, CompileBudget& budget)
    : tokens_(tokens), budget_(budget) {
  try {
    AnalyseAll();
  } catch (...) {  // an object that was not made is not destroyed
    budget_.ReturnBytes(bytesHeld_);
    throw;
  }
}

void StreamAnalysis::AnalyseAll() {
  constexpr std::size_t kBytesPerToken =
      sizeof(IndexList) + sizeof(Operand) / 2 + 2 * sizeof(std::uint32_t);
  Charge(tokens_.size(), tokens_.size() * kBytesPerToken);
  follows_.resize(tokens_.size());
  stack_.reserve(tokens_.size() / 2 + 1);
  first_.reserve(tokens_.size());
  last_.reserve(tokens_.size());
  for (std::uint32_t index = 0; index < tokens_.size(); ++index)
    Take(index);
}

void StreamAnalysis::Charge(std::size_t steps, std::size_t bytes) {
  budget_.ChargeSteps(static_cast<std::int64_t>(steps));
  budget_.ChargeBytes(static_cast<std::int64_t>(bytes));
  bytesHeld_ += static_cast<std::int64_t>(bytes);
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
  Charge(right.lastCount / 8, 0);
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
    AddIndices(follows_[*last], nextFirst);
  }
}

/// Adds the first positions from `begin` on, of which there is at least one, to `list`.
void StreamAnalysis::AddIndices(IndexList& list, IndexList::const_iterator begin) {
  const IndexList::const_iterator end = first_.end();
  const auto added = static_cast<std::size_t>(end - begin);
  // A list that grows takes up to twice the memory.
  Charge(added + 4, 2 * added * sizeof(std::uint32_t));
  if (list.empty() || list.back() < *begin) {
    list.insert(list.end(), begin, end);
    return;
  }
  Charge(list.size(), 0);
  IndexList both;
  both.reserve(list.size() + added);
  std::set_union(list.begin(), list.end(), begin, end, std::back_inserter(both));
  list = std::move(both);
}

}  // namespace trovex
