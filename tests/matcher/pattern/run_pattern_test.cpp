// Which patterns are rows of runs, and of which.

#include "matcher/pattern/run_pattern.h"

#include <gtest/gtest.h>
#include <string>

namespace trovex {
namespace {

/// The runs of `pattern`, each as its bytes, and how often these may come.
std::string RunsIn(const std::string& pattern) {
  std::string row;
  for (const Run& run : RunsOf(ParsePattern(pattern.data(), pattern.size(), nullptr))) {
    for (std::size_t c = 0; c < run.bytes.size(); ++c) {
      if (run.bytes[c]) row += static_cast<char>(c);
    }
    row += "{" + std::to_string(run.least) + ",";
    row += (run.most == Run::kEndless ? "" : std::to_string(run.most)) + "} ";
  }
  return row;
}

TEST(RunPattern, SetsAndHowOftenTheyComeAreARow) {
  EXPECT_EQ(RunsIn("[ab]+c"), "ab{1,} c{1,1} ");
  EXPECT_EQ(RunsIn("^x[ab]{2,3}$"), "x{1,1} ab{2,3} ");
  EXPECT_EQ(RunsIn("aa[bc]?"), "a{2,2} bc{0,1} ");
}

TEST(RunPattern, AlternativesThatDifferInOneByteAreASetInIt) {
  EXPECT_EQ(RunsIn("[0-2]+(er|en)"), "012{1,} e{1,1} nr{1,1} ");
  EXPECT_EQ(RunsIn("(0x|0X)[ab]+"), "0{1,1} Xx{1,1} ab{1,} ");
  EXPECT_EQ(RunsIn("x+(a|b|[cd]|a)"), "x{1,} abcd{1,1} ");
  EXPECT_EQ(RunsIn("x+(aa|ba|ca)"), RunsIn("x+[abc]a"));
  EXPECT_EQ(RunsIn("x+(ab|cd)"), "");
  EXPECT_EQ(RunsIn("x+(ab|ac|bb)"), "");
  EXPECT_EQ(RunsIn("x+(ab|acd)"), "");
  EXPECT_EQ(RunsIn("x+(a|b?)"), "");
  EXPECT_EQ(RunsIn("x+(a|)"), "");
}

TEST(RunPattern, AlternativesThatAreAllThereIsAreAListOfWords) {
  EXPECT_EQ(RunsIn("er|en"), "");
  EXPECT_EQ(RunsIn("x(er|en)"), "");
  EXPECT_EQ(RunsIn("xe[rn]"), "x{1,1} e{1,1} nr{1,1} ");
}

}  // namespace
}  // namespace trovex
