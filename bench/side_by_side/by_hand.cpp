#include "bench/side_by_side/by_hand.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

namespace trovex::bench {

namespace {

bool StartsEarlier(const Range& a, const Range& b) {
  return a.start < b.start;
}

bool AreNear(const Range& earlier, const Range& later, int nearBy) {
  return std::abs(later.start - earlier.end) <= nearBy;
}

/// The matches of both lists, in the order of the text, whose neighbour in the other list, before or
/// after, is within `nearBy`.
std::vector<Range> NearOnes(const std::vector<Range>& left, const std::vector<Range>& right,
                            int nearBy) {
  std::vector<Range> near;
  auto l = left.begin();
  auto r = right.begin();
  while (l != left.end() || r != right.end()) {
    const bool takeLeft = r == right.end() || (l != left.end() && StartsEarlier(*l, *r));
    const Range& item = takeLeft ? *l : *r;
    const auto& other = takeLeft ? right : left;
    const auto after = takeLeft ? r : l;
    if ((after != other.begin() && AreNear(after[-1], item, nearBy)) ||
        (after != other.end() && AreNear(item, *after, nearBy))) {
      near.push_back(item);
    }
    ++(takeLeft ? l : r);
  }
  return near;
}

/// The matches of both lists in the order of the text.
std::vector<Range> Merged(const std::vector<Range>& left, const std::vector<Range>& right) {
  std::vector<Range> both;
  both.reserve(left.size() + right.size());
  std::merge(left.begin(), left.end(), right.begin(), right.end(), std::back_inserter(both),
             StartsEarlier);
  return both;
}

}  // namespace

std::vector<Range> ByHandEngine::Matches(std::string_view text) {
  // Who comes first in the expression is searched first: where it is not found, the rest is not looked
  // for.
  std::vector<std::vector<Range>> lists;
  for (const auto& operand : operands_) {
    const bool isExcluded = lastExcluded_ && operand == operands_.back();
    lists.push_back(operand->Matches(text));
    if (lists.back().empty() && !isExcluded) return {};
  }
  const bool anywhere = nearBy_ < 0;
  std::vector<Range> result = std::move(lists.back());
  lists.pop_back();
  if (lastExcluded_) {
    const bool isFound =
        anywhere ? !result.empty() : !NearOnes(lists.back(), result, nearBy_).empty();
    if (isFound) return {};
    result = std::move(lists.back());
    lists.pop_back();
  }
  for (; !lists.empty(); lists.pop_back())
    result = anywhere ? Merged(lists.back(), result) : NearOnes(lists.back(), result, nearBy_);
  return result;
}

bool ByHandEngine::First(std::string_view text, Range& first) {
  const std::vector<Range> matches = Matches(text);
  if (matches.empty()) return false;
  first = matches.front();
  return true;
}

}  // namespace trovex::bench
