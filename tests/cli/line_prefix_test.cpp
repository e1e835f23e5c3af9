// Prefixes that are changed in place, held against prefixes that are put together anew.

#include "hosts/cli/output/line_prefix.h"

#include "tests/dice.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <string>

namespace trovex::cli {
namespace {

std::string Anew(const std::string& name, bool nullAfterName, bool numbers, std::int64_t number,
                 char separator) {
  std::string prefix = name;
  if (!name.empty()) prefix += nullAfterName ? '\0' : separator;
  if (numbers) prefix += std::to_string(number) + separator;
  return prefix;
}

TEST(LinePrefix, EveryStepFromEveryNumberIsThatOfAPrefixPutTogetherAnew) {
  for (std::int64_t from = 1; from < 300; ++from) {
    LinePrefix prefix("n", false, true);
    for (std::int64_t to = 1; to < 1300; to += to < 300 ? 1 : 97) {
      prefix.Of(from, ':');
      ASSERT_EQ(prefix.Of(to, '-'), Anew("n", false, true, to, '-')) << from;
    }
  }
}

TEST(LinePrefix, AnyRowOfNumbersIsThatOfPrefixesPutTogetherAnew) {
  for (std::uint32_t seed = 0; seed < 400; ++seed) {
    testing::Dice dice(seed);
    const std::string name = dice.OneOf({"", "n", "a-b:7", "9"});
    const bool nullAfterName = dice.OneIn(3);
    const bool numbers = !dice.OneIn(4);
    LinePrefix prefix(name, nullAfterName, numbers);
    std::int64_t number = dice.Between(1, 20);
    for (int step = 0; step < 200; ++step) {
      const char separator = dice.OneIn(3) ? '-' : ':';
      ASSERT_EQ(prefix.Of(number, separator), Anew(name, nullAfterName, numbers, number, separator))
          << "seed " << seed;
      const int width = dice.Between(0, 5);
      number += dice.Between(dice.OneIn(9) ? 0 : 1, width == 0 ? 1 : width == 1 ? 20 : 99'000);
      if (dice.OneIn(50)) number = number * 1000 + 999;
      if (number > 1'000'000'000'000'000 || dice.OneIn(60)) number = dice.Between(1, 2000);
    }
  }
}

}  // namespace
}  // namespace trovex::cli
