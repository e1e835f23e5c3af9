// Memory that does not grow with the file. Under a sanitizer nothing can be said of it.

#include "tests/cli/run_program.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace trovex::testing {
namespace {

constexpr long kMost = 64 * 1024;  // kilobytes

class Memory : public ProgramTest {
 protected:
  void SetUp() override {
    if (kUnderSanitizer) GTEST_SKIP() << "a sanitizer needs memory of its own";
  }

  void ExpectLittle(const std::vector<std::string>& arguments) const {
    const RunResult run = Run(arguments);
    EXPECT_NE(run.status, 2) << ::testing::PrintToString(arguments) << run.err;
    EXPECT_LT(run.kilobytes, kMost) << ::testing::PrintToString(arguments);
  }
};

TEST_F(Memory, OfALargeFileIsBoundedByLineAndByParagraph) {
  Shell(
      "for i in 1 2 3 4; do yes 'eine Zeile mit Wörtern und Zahlen' | head -c 25000000; "
      "echo; echo Ziel; echo; done > t");
  for (const char* threads : {"1", "8"}) {
    ExpectLittle({"-j", threads, "-c", "Zeile", "t"});
    ExpectLittle({"-j", threads, "-n", "Ziel", "t"});
    ExpectLittle({"-j", threads, "-C", "100", "Ziel", "t"});
    ExpectLittle({"-j", threads, "-m", "5", "Zahlen", "t"});
    ExpectLittle({"-j", threads, "--json", "-B2", "Ziel|nirgends", "t"});
    ExpectLittle({"-j", threads, "-v", "Zeile", "t"});
    ExpectLittle({"-j", threads, "-S", "line", "-c", "Zeile & !Haus", "t"});
  }
}

TEST_F(Memory, OfAPipeIsBounded) {
  const RunResult run =
      Shell("yes 'eine Zeile' | head -c 80000000 | $TROVEX -c -S line 'Zeile & e'");
  EXPECT_EQ(run.out, "7272727\n");
  EXPECT_LT(run.kilobytes, kMost);
}

TEST_F(Memory, OfLinesAndParagraphsOfEighteenMegabytesIsBounded) {
  Shell(
      "for i in 1 2 3; do yes 'eine Zeile' | head -c 18000000 | tr '\\n' ' '; echo Ziel; done > t;"
      "for i in 1 2 3; do yes 'eine Zeile' | head -c 18000000; echo; echo; done > p; cp t u");
  for (const char* threads : {"2", "8"}) {
    ExpectLittle({"-j", threads, "-c", "Zeile", "t", "u"});
    ExpectLittle({"-j", threads, "Ziel", "t", "u"});
    ExpectLittle({"-j", threads, "-o", "Ziel$", "t", "u"});
    ExpectLittle({"-j", threads, "-l", "-S", "line", "Zeile & !Haus", "t", "u"});
    ExpectLittle({"-j", threads, "-c", "-S", "paragraph", "Zeile & !Haus", "p"});
  }
}

TEST_F(Memory, AReaderThatHasSeenEnoughEndsASearchWithoutEnd) {
  EXPECT_EQ(Shell("yes | $TROVEX -S line y | head -1").out, "1:y\n");
  EXPECT_EQ(Shell("yes | $TROVEX -m 3 -N y").out, "y\ny\ny\n");
  EXPECT_EQ(Shell("yes | $TROVEX -q y").status, 0);
}

}  // namespace
}  // namespace trovex::testing
