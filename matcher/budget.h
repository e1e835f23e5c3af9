// What compiling one expression may cost, counted while the work is done.
//
// Estimates made beforehand are too high for some patterns and too low for others. So one budget goes
// through every stage that compiles something, for all patterns of an expression: a stage charges
// for a piece of work right before it does it, and what one pattern has used up is gone for the
// next. Where the budget ends, the stage is left by an exception, and whoever started the compile answers
// with a sentence.
//
// A stage whose result is a mere help works on a part of the budget (`Part`): where that is used up,
// there is no help, and the compile goes on.

#ifndef TROVEX_MATCHER_BUDGET_H
#define TROVEX_MATCHER_BUDGET_H

#include "matcher/limits.h"

#include <algorithm>
#include <cstdint>

namespace trovex {

/// Thrown where a compile would go beyond its budget. Never leaves the library.
struct BudgetExhausted {};

class CompileBudget {
 public:
  /// What one expression may cost.
  CompileBudget() : CompileBudget(kMaxCompileSteps, kMaxCompileBytes) {}
  CompileBudget(std::int64_t maxSteps, std::int64_t maxBytes)
      : maxSteps_(maxSteps), maxBytes_(maxBytes) {}
  /// One that is never used up.
  static CompileBudget Unlimited() { return {INT64_MAX, INT64_MAX}; }

  /// Charges for `count` steps of work, which are about to be done. A step takes about 3 ns: it
  /// reads or writes an element of a list. Throws BudgetExhausted; all steps then count as used.
  void ChargeSteps(std::int64_t count) {
    if (count > StepsLeft()) {
      stepsUsed_ = maxSteps_;
      throw BudgetExhausted{};
    }
    stepsUsed_ += count;
  }

  /// Charges for `count` bytes of memory, which are about to be allocated. Throws BudgetExhausted.
  void ChargeBytes(std::int64_t count) {
    if (count > BytesLeft()) throw BudgetExhausted{};
    bytesHeld_ += count;
  }

  /// Gives back `count` charged bytes, which have been freed.
  void ReturnBytes(std::int64_t count) { bytesHeld_ -= count; }

  /// A budget of its own, of at most so many steps and bytes, and no more than a quarter of what is left:
  /// stages that are a mere help cannot use up what others need. Whoever took it settles it afterwards.
  CompileBudget Part(std::int64_t steps, std::int64_t bytes) const {
    return {std::min(steps, StepsLeft() / 4), std::min(bytes, BytesLeft() / 4)};
  }

  /// Charges for what was used of `part`, and is still held of it. Does not throw.
  void Settle(const CompileBudget& part) {
    stepsUsed_ += part.stepsUsed_;
    bytesHeld_ += part.bytesHeld_;
  }

  std::int64_t StepsLeft() const { return maxSteps_ - stepsUsed_; }
  std::int64_t BytesLeft() const { return maxBytes_ - bytesHeld_; }
  std::int64_t StepsUsed() const { return stepsUsed_; }
  std::int64_t BytesHeld() const { return bytesHeld_; }

 private:
  std::int64_t maxSteps_;
  std::int64_t maxBytes_;
  std::int64_t stepsUsed_ = 0;
  std::int64_t bytesHeld_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_BUDGET_H
