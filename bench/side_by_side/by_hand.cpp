#include "bench/side_by_side/by_hand.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace trovex::bench {

namespace {

bool StartsEarlier(const Range& a, const Range& b) {
  return a.start < b.start;
}

bool AreNear(const Range& earlier, const Range& later, int nearBy) {
  return std::abs(later.start - earlier.end) <= nearBy;
}

/// The matches of both lists, in the order of the text, whose neighbour in the other list, before or
/// behind, is within `nearBy`.
std::vector<Range> NearOnes(const std::vector<Range>& left, const std::vector<Range>& right,
                            int nearBy) {
  std::vector<Range> near;
  auto l = left.begin();
  auto r = right.begin();
  while (l != left.end() || r != right.end()) {
    const bool takeLeft = r == right.end() || (l != left.end() && StartsEarlier(*l, *r));
    const Range& item = takeLeft ? *l : *r;
    const auto& other = takeLeft ? right : left;
    const auto behind = takeLeft ? r : l;
    if ((behind != other.begin() && AreNear(behind[-1], item, nearBy)) ||
        (behind != other.end() && AreNear(item, *behind, nearBy))) {
      near.push_back(item);
    }
    ++(takeLeft ? l : r);
  }
  return near;
}

}  // namespace

std::vector<Range> ByHandEngine::Matches(const std::string& text) {
  const bool anywhere = nearBy_ < 0;
  std::vector<Range> left = left_->Matches(text);
  if (left.empty()) return left;
  std::vector<Range> right = right_->Matches(text);

  if (rightExcluded_) {
    const bool excluded = anywhere ? !right.empty() : !NearOnes(left, right, nearBy_).empty();
    return excluded ? std::vector<Range>() : left;
  }
  if (right.empty()) return right;
  if (!anywhere) return NearOnes(left, right, nearBy_);
  std::vector<Range> both;
  both.reserve(left.size() + right.size());
  std::merge(left.begin(), left.end(), right.begin(), right.end(), std::back_inserter(both),
             StartsEarlier);
  return both;
}

}  // namespace trovex::bench
