// The ranges of the groups on a way through a pattern, as the engine keeps them: a group is what was passed
// between its brackets last, and a round of a repetition that consumes nothing, of a group that a repetition
// made optional, leaves all as it was after the last round that consumed something.

#ifndef TROVEX_MATCHER_ENGINE_BRACKET_RANGES_H
#define TROVEX_MATCHER_ENGINE_BRACKET_RANGES_H

#include "matcher/engine/bounded_matcher.h"

#include <cstddef>
#include <vector>

namespace trovex {

class BracketRanges {
 public:
  explicit BracketRanges(int groupCount)
      : ranges_(static_cast<std::size_t>(groupCount) + 1), accepted_(ranges_) {}

  void Open(int group, int place) { At(group) = {place, -1}; }

  /// `isOptional`: a repetition made the group optional.
  void Close(int group, int place, bool isOptional) {
    GroupRange& range = At(group);
    if (range.start < place) {
      range.end = place;
      accepted_ = ranges_;
    } else if (isOptional && accepted_[static_cast<std::size_t>(group)].start >= 0) {
      ranges_ = accepted_;  // an empty round that changes nothing
    } else {
      range.end = place;
    }
  }

  /// Whether nothing can change the range of `group` but its own brackets.
  bool IsSettled(int group) const {
    const auto index = static_cast<std::size_t>(group);
    return ranges_[index] == accepted_[index];
  }

  GroupRange& At(int group) { return ranges_[static_cast<std::size_t>(group)]; }
  const std::vector<GroupRange>& All() const { return ranges_; }

 private:
  std::vector<GroupRange> ranges_;
  std::vector<GroupRange> accepted_;  // as they were after the last round that consumed something
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_ENGINE_BRACKET_RANGES_H
