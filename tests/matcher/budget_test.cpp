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

TEST(CompileBudget, APartEndsWithItsShareOrWithTheWhole) {
  CompileBudget budget(10, 20);
  CompileBudget part = budget.Part(4);
  EXPECT_THROW(part.ChargeSteps(5), BudgetExhausted);
  budget.ChargeSteps(part.StepsUsed());
  EXPECT_EQ(budget.StepsUsed(), 4);
  CompileBudget rest = budget.Part(100);
  rest.ChargeSteps(6);
  EXPECT_THROW(rest.ChargeSteps(1), BudgetExhausted);
  budget.ChargeSteps(rest.StepsUsed());
  EXPECT_THROW(budget.ChargeSteps(1), BudgetExhausted);
}

}  // namespace
}  // namespace trovex
