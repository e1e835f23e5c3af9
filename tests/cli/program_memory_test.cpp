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

TEST_F(Memory, OfManyMatchesOnALongLineIsBounded) {
  Shell(
      "yes 'eine Zeile mit Zahlen' | head -c 5000000 | tr '\\n' ' ' > t;"
      "iconv -f utf-8 -t utf-16 t > w; for i in 1 2 3; do cat t; echo; done > u");
  for (const char* options : {"-o", "--color always", "-c --stats", "-m1 -o"}) {
    for (const char* file : {"w", "u", "- < t"}) {
      const RunResult run =
          Shell(std::string("$TROVEX -j2 ") + options + " '[a-z]' " + file + " > /dev/null");
      EXPECT_LT(run.kilobytes, kMost) << options << " " << file;
    }
  }
  for (const char* options :
       {"-ob --column '[a-z]'", "--color always -C1 '[a-z]'", "--json '[a-z]+'",
        "--json -C1 '[a-z]+'", "-c --stats -S line '[a-z] & Zahl'", "-o --tag 1 '([a-z])[a-z]*'"}) {
    const RunResult run = Shell(std::string("$TROVEX ") + options + " t > /dev/null");
    EXPECT_LT(run.kilobytes, kMost) << options;
  }
}

TEST_F(Memory, OfALineThatIsRepeatedForEachMatchIsBounded) {
  Shell("yes 'eine Zeile' | head -c 6000000 | tr '\\n' ' ' > t");
  const RunResult run = Shell("$TROVEX --vimgrep eine t | head -c 100000000 | wc -c");
  EXPECT_EQ(run.out, "100000000\n");
  EXPECT_LT(run.kilobytes, kMost);
}

TEST_F(Memory, OfLongLinesThatMayBecomeContextIsBounded) {
  Shell(
      "yes 'eine Zeile' | head -c 6000000 | tr '\\n' ' ' > s;"
      "for i in 1 2 3 4 5 6 7 8 9; do cat s; echo; done > t; echo Ziel >> t");
  for (const char* threads : {"1", "2"}) {
    const RunResult run = Shell(std::string("$TROVEX -B8 Ziel t -j ") + threads + " | wc -l");
    EXPECT_EQ(run.out, "9\n");
    EXPECT_LT(run.kilobytes, kMost);
  }
}

TEST_F(Memory, OfManyShortLinesAfterALongOneIsBounded) {
  Shell("{ yes x | head -c 8000000 | tr '\\n' ' '; echo; yes x | head -c 8000000; } > t");
  for (const char* options : {"-n x", "-n -v y", "-S line 'x & !y'", "-o x"}) {
    const RunResult run = Shell(std::string("$TROVEX ") + options + " t > /dev/null");
    EXPECT_LT(run.kilobytes, kMost) << options;
    const RunResult pipe = Shell(std::string("cat t | $TROVEX ") + options + " > /dev/null");
    EXPECT_LT(pipe.kilobytes, kMost) << options;
  }
}

TEST_F(Memory, AReaderThatHasSeenEnoughEndsASearchWithoutEnd) {
  EXPECT_EQ(Shell("yes | $TROVEX -S line y | head -1").out, "1:y\n");
  EXPECT_EQ(Shell("yes | $TROVEX -m 3 -N y").out, "y\ny\ny\n");
  EXPECT_EQ(Shell("yes | $TROVEX -q y").status, 0);
}

}  // namespace
}  // namespace trovex::testing
