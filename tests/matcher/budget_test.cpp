// The budget of a compile: what is charged is counted, and nothing goes beyond it.

#include "matcher/budget.h"

#include <gtest/gtest.h>
#include <cstdint>

namespace trovex {
namespace {

TEST(CompileBudget, GoesToItsEndAndNoFurther) {
  CompileBudget budget(10, 20);
  budget.ChargeSteps(10);
  EXPECT_THROW(budget.ChargeSteps(1), BudgetExhausted);
  budget.ChargeBytes(20);
  EXPECT_THROW(budget.ChargeBytes(1), BudgetExhausted);
  EXPECT_EQ(budget.StepsUsed(), 10);
  EXPECT_EQ(budget.BytesHeld(), 20);
}

TEST(CompileBudget, StepsThatWereTooManyLeaveNone) {
  CompileBudget budget(10, 20);
  EXPECT_THROW(budget.ChargeSteps(11), BudgetExhausted);
  EXPECT_THROW(budget.ChargeSteps(1), BudgetExhausted);
}

TEST(CompileBudget, NumbersOfAnySizeAreCharged) {
  CompileBudget budget;
  EXPECT_THROW(budget.ChargeSteps(INT64_MAX), BudgetExhausted);
  EXPECT_THROW(budget.ChargeBytes(INT64_MAX), BudgetExhausted);
  EXPECT_EQ(budget.BytesHeld(), 0);
}

TEST(CompileBudget, FreedBytesCanBeChargedAgain) {
  CompileBudget budget(10, 20);
  budget.ChargeBytes(15);
  budget.ReturnBytes(10);
  budget.ChargeBytes(15);
  EXPECT_THROW(budget.ChargeBytes(1), BudgetExhausted);
}

TEST(CompileBudget, APartEndsWithItsShare) {
  CompileBudget budget(100, 200);
  CompileBudget part = budget.Part(4, 5);
  part.ChargeBytes(5);
  EXPECT_THROW(part.ChargeBytes(1), BudgetExhausted);
  EXPECT_THROW(part.ChargeSteps(5), BudgetExhausted);
  part.ReturnBytes(3);
  budget.Settle(part);
  EXPECT_EQ(budget.StepsUsed(), 4);
  EXPECT_EQ(budget.BytesHeld(), 2);
}

TEST(CompileBudget, PartsNeverUseUpTheWhole) {
  CompileBudget budget(1'000'000, 1'000'000);
  for (int i = 0; i < 8; ++i) {
    CompileBudget part = budget.Part(INT64_MAX, INT64_MAX);
    part.ChargeBytes(1);
    EXPECT_THROW(part.ChargeSteps(1'000'000), BudgetExhausted);
    budget.Settle(part);
  }
  EXPECT_NO_THROW(budget.ChargeSteps(10'000));
}

}  // namespace
}  // namespace trovex
