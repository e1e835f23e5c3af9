// What the searches of one text may spend on the roads that are not the automata's alone: the engine, the
// library's own matcher, and the line filter.
//
// A unit is about a nanosecond; whoever works spends first. The credit is one for all matches of a text:
// so much in any case, and so much for each byte. A line may spend what is left but for half the share of
// the bytes after it; where that is not enough, the search gives up on the line and goes on after it. A part
// of what is granted in any case is kept for patterns with back-references.

#ifndef TROVEX_MATCHER_WORK_CREDIT_H
#define TROVEX_MATCHER_WORK_CREDIT_H

#include "matcher/limits.h"

#include <cstddef>
#include <cstdint>

namespace trovex {

class WorkCredit {
 public:
  /// For a text of `bytes` bytes.
  explicit WorkCredit(std::size_t bytes)
      : left_(kWorkAtLeast + static_cast<std::int64_t>(bytes) * kWorkPerByte), granted_(left_) {}

  /// What follows is work on a line after which `bytes` bytes remain. It leaves `kept` units for others.
  void BeginLine(std::size_t bytes, std::int64_t kept) {
    reserve_ = static_cast<std::int64_t>(bytes) * kWorkPerByte / 2 + kept;
  }

  /// Spends `units`; returns false if the line had not so many left. The work is then not to be done.
  bool Spend(std::int64_t units) {
    left_ -= units;
    return left_ >= reserve_;
  }

  /// Whether the line has `units` left.
  bool Affords(std::int64_t units) const { return left_ - units >= reserve_; }

  /// Whether the line has nothing left.
  bool IsSpent() const { return left_ < reserve_; }

  /// What is left, whatever the line.
  std::int64_t Left() const { return left_; }

  /// What was spent so far.
  std::int64_t Spent() const { return granted_ - left_; }

 private:
  std::int64_t left_;
  std::int64_t granted_;
  std::int64_t reserve_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORK_CREDIT_H
