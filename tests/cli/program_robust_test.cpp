// What goes wrong around the program: closed streams, few descriptors and threads, little memory, pipes
// that end, files that change, signals.

#include "tests/cli/run_program.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <map>
#include <string>

namespace trovex::testing {
namespace {

class Robust : public ProgramTest {
 protected:
  /// A file of three megabytes, and forty small ones.
  void WriteSome() const {
    Write("large", Times(100000, "eine Zeile mit einem Wort darin\n"));
    for (int i = 0; i < 40; ++i)
      Write("many/" + std::to_string(i), Times(i, "Wort\n"));
  }
};

TEST_F(Robust, StandardStreamsMayBeClosed) {
  WriteSome();
  EXPECT_EQ(Shell("timeout 20 $TROVEX -c Wort large <&-").out, "large:100000\n");
  EXPECT_EQ(Shell("timeout 20 $TROVEX -c Wort large 2>&-").out, "large:100000\n");
  const RunResult input = Shell("timeout 20 $TROVEX Wort - <&-");
  EXPECT_EQ(input.status, 2);
  EXPECT_EQ(input.err, "trovex: (standard input): Bad file descriptor\n");
  const RunResult output = Shell("timeout 20 $TROVEX -c Wort large >&-");
  EXPECT_EQ(output.status, 2);
  EXPECT_EQ(output.err, "trovex: the output cannot be written: Bad file descriptor\n");
  EXPECT_EQ(Shell("timeout 20 $TROVEX -c Wort large <&- >&- 2>&-").status, 2);
  EXPECT_EQ(Shell("timeout 20 $TROVEX -q Wort large <&- >&- 2>&-").status, 0);
}

TEST_F(Robust, OneDescriptorIsEnough) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "a sanitizer takes descriptors of its own";
  WriteSome();
  const std::string all = Run({"-c", "Wort", "many", "large"}).out;
  EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 40);
  const RunResult run = Shell("ulimit -n 4; timeout 60 $TROVEX -j4 -c Wort many large");
  EXPECT_EQ(run.out, all);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.status, 0);
}

TEST_F(Robust, OutputBeginsWithTheFirstLineThatIsThere) {
  ASSERT_EQ(mkfifo(Path("log").c_str(), 0600), 0);
  // The writer goes on only when the first line has been shown.
  const RunResult run = Shell(
      "(timeout 20 $TROVEX Fehler < log > seen) & exec 3> log; echo Fehler eins >&3\n"
      "for i in $(seq 200); do [ -s seen ] && break; sleep 0.05; done\n"
      "cp seen early; echo nichts >&3; echo Fehler zwei >&3; exec 3>&-; wait; cat early; cat seen");
  EXPECT_EQ(run.out, "1:Fehler eins\n1:Fehler eins\n3:Fehler zwei\n");
}

TEST_F(Robust, AReaderThatHasSeenEnoughEndsAnEndlessSearch) {
  EXPECT_EQ(Shell("yes | timeout 20 $TROVEX -S line y | head -n 1").out, "1:y\n");
  EXPECT_EQ(Shell("yes | timeout 20 $TROVEX -q y").status, 0);
  EXPECT_EQ(Shell("yes | timeout 20 $TROVEX -m 2 y").out, "1:y\n2:y\n");
  EXPECT_EQ(Shell("yes | timeout 20 $TROVEX -l y").out, "(standard input)\n");
}

TEST_F(Robust, QuietDoesNotWaitForAPipeWhenItKnows) {
  WriteSome();
  ASSERT_EQ(mkfifo(Path("silent").c_str(), 0600), 0);
  EXPECT_EQ(Shell("timeout 20 $TROVEX -j4 -q Wort many many many/30 silent").status, 0);
}

TEST_F(Robust, AnInterruptedSearchEndsByTheSignal) {
  ASSERT_EQ(mkfifo(Path("silent").c_str(), 0600), 0);
  const RunResult run = Shell(
      "exec 3<> silent; $TROVEX x silent & sleep 0.3; kill -INT $!; kill -TERM $!; wait $!; echo "
      "$?");
  EXPECT_TRUE(run.out == "130\n" || run.out == "143\n") << run.out;
}

TEST_F(Robust, AnInterruptedSearchTakesItsTracesFromTheTerminal) {
  WriteSome();
  ASSERT_EQ(mkfifo(Path("slow").c_str(), 0600), 0);
  // Control-C is typed as soon as the progress is there. The pipe never ends by itself.
  const std::string drawn = "\r\033[K";
  const std::string seen = ShellOnTerminal(
      "(trap '' INT; while echo y; do sleep 0.05; done) > slow 2> /dev/null & "
      "exec $TROVEX -j3 -c x many slow many",
      drawn, "\x03");
  ASSERT_NE(seen.find(" files, "), std::string::npos) << seen;
  EXPECT_GT(seen.rfind(drawn), seen.rfind(" files, ")) << seen;
}

TEST_F(Robust, AnInterruptedSearchLeavesNeitherColorNorLink) {
  ASSERT_EQ(mkfifo(Path("silent").c_str(), 0600), 0);
  Write("a", "x\n");
  const std::string seen = ShellOnTerminal(
      "exec 3<> silent; exec $TROVEX --sort none --hyperlink always x a silent", "1", "\x03");
  EXPECT_TRUE(seen.ends_with("\033]8;;\033\\\033[0m")) << seen;
  EXPECT_EQ(ShellOnTerminal("$TROVEX -q x a"), "");
}

TEST_F(Robust, AnInterruptionEndsAllThreadsOfALargeFile) {
  WriteSome();
  ASSERT_EQ(mkfifo(Path("end").c_str(), 0600), 0);
  // What is shown fills the pipe, so the program is in the middle of the file when it is interrupted.
  const RunResult run = Shell(
      "exec 3<> end; $TROVEX -j4 Wort large >&3 & read first <&3; kill -TERM $!; wait $!; echo $?; "
      "kill -0 $! 2> /dev/null || echo gone");
  EXPECT_EQ(run.out, "143\ngone\n");
}

TEST_F(Robust, ThreadsThatAreNotAllowedAreDoneWithout) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "a sanitizer starts threads of its own";
  WriteSome();
  // Who may do everything has no such limit.
  const std::string someone = "setpriv --reuid 64999 --regid 64999 --clear-groups ";
  const bool limited = geteuid() != 0;
  ASSERT_EQ(chmod(Path("").c_str(), 0755), 0);
  if (!limited && Shell(someone + "test -x $TROVEX -a -r large").status != 0)
    GTEST_SKIP() << "nobody else may run the program";
  const std::string command = "prlimit --nproc=1 $TROVEX -j4 -c Wort many large";
  const RunResult run = Shell((limited ? "" : someone) + command);
  EXPECT_EQ(run.out, Run({"-c", "Wort", "many", "large"}).out);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.status, 0);
}

TEST_F(Robust, FullDisksAreTroubleForAllThreads) {
  WriteSome();
  for (const char* arguments :
       {"Wort large", "-j4 Wort many", "-c Wort large", "--json Wort large"}) {
    const RunResult run = Shell("timeout 20 $TROVEX " + std::string(arguments) + " > /dev/full");
    EXPECT_EQ(run.status, 2) << arguments;
    EXPECT_EQ(run.err, "trovex: the output cannot be written: No space left on device\n");
  }
}

TEST_F(Robust, AFileThatShrinksIsSearchedAsFarAsItGoes) {
  Write("shrinking", Times(400000, "eine Zeile mit einem Wort darin\n"));
  const RunResult run =
      Shell("timeout 20 $TROVEX -c Wort shrinking & truncate -s 1000000 shrinking; wait $!");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
}

TEST_F(Robust, TheOutputIsNotSearched) {
  WriteSome();
  const RunResult below = Shell("timeout 20 $TROVEX -I -j1 Wort . > zzz; wc -l < zzz");
  EXPECT_EQ(below.out, "100780\n");
  EXPECT_EQ(below.err, "");
  const RunResult named = Shell("timeout 20 $TROVEX -I -j1 Wort large zzz >> zzz");
  EXPECT_EQ(named.status, 2);
  EXPECT_EQ(named.err, "trovex: zzz: this file is also the output\n");
  EXPECT_EQ(Shell("wc -l < zzz").out, "200780\n");
}

TEST_F(Robust, PathsBeyondTheLimitAreTold) {
  const RunResult run = Run({"x", std::string(5000, 'x')});
  EXPECT_EQ(run.status, 2);
  EXPECT_TRUE(run.err.ends_with(": File name too long\n"));
}

TEST_F(Robust, DevicesMayBeNamed) {
  EXPECT_EQ(Run({"-c", "--include-zero", "x", "/dev/null"}).out, "/dev/null:0\n");
  EXPECT_EQ(Shell("timeout 20 $TROVEX -a -q -e '[^a]' /dev/zero").status, 0);
}

TEST_F(Robust, LittleMemoryIsTroubleAndNeverNotFound) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "a sanitizer needs more than all of it";
  Write("huge", Times(1000000, "eine Zeile mit einem Wort darin\n"));
  const RunResult whole = Shell("ulimit -v 30000; timeout 100 $TROVEX -c 'Zeile & Wort' huge");
  EXPECT_EQ(whole.status, 2);
  EXPECT_EQ(whole.err, "trovex: huge: there is not enough memory to search this file\n");
  EXPECT_EQ(Shell("ulimit -v 30000; timeout 100 $TROVEX -S line -c 'Zeile & Wort' huge").out,
            "huge:1000000\n");
}

TEST_F(Robust, LittleMemoryForManyThreadsEndsInAnAnswerOrInTrouble) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "a sanitizer needs more than all of it";
  WriteSome();
  Write("huge", Times(500000, "eine Zeile mit einem Wort darin\n"));
  std::map<std::string, std::string> answers;
  for (int limit = 28000; limit <= 46000; limit += 6000) {
    for (const char* arguments : {"-c Wort", "-n -C 1 'Wort darin'"}) {
      const RunResult run =
          Shell("ulimit -v " + std::to_string(limit) + "; timeout 300 $TROVEX -j8 " + arguments +
                " many huge > found; status=$?; "
                "[ $status = 2 ] || cksum < found; exit $status");
      EXPECT_TRUE(run.status == 0 || run.status == 2) << limit << arguments << run.status;
      const bool told = run.err.find("there is not enough memory") != std::string::npos;
      EXPECT_EQ(told, run.status == 2) << limit << arguments << run.err;
      EXPECT_LT(std::count(run.err.begin(), run.err.end(), '\n'), 50);
      if (run.status == 0) {
        EXPECT_EQ(answers.emplace(arguments, run.out).first->second, run.out);
      }
    }
  }
}

TEST_F(Robust, WhereASearchGivesUpIsToldAndNeverTakenForNotFound) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "giving up takes a minute there";
  Write("a", "ok\n" + Times(3000, "ab") + "x" + Times(3000, "ab") + "\nok\n");
  const std::string expression = R"((.*)(.*)x\2\1)";
  const std::string told =
      "trovex: a, line 2: the search gave up here, so it is not known whether this is found\n";
  const RunResult run = Run({"-L", expression, "a"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, told);
  // Far from the begin of a file, lines are told only where they are counted.
  Write("a", Times(40'000, "eine Zeile\n") + "ok\n" + Times(3000, "ab") + "x" + Times(3000, "ab"));
  EXPECT_EQ(Run({"-c", expression, "a"}).err.find("trovex: a, byte 44"), 0U);
}

TEST_F(Robust, NothingThatATerminalObeysReachesIt) {
  Write("t\033[31m", "x\033]0;title\007\n");
  const std::string seen = ShellOnTerminal(
      "$TROVEX --color never x t*; $TROVEX x no$(printf '\\033[32m'); $TROVEX "
      "\"($(printf '\\033[33m')\"; $TROVEX --no$(printf '\\033[34m')");
  EXPECT_EQ(seen.find('\033'), std::string::npos) << seen;
  EXPECT_EQ(seen.find('\007'), std::string::npos);
  EXPECT_NE(seen.find("x\\x1B]0;title\\x07"), std::string::npos) << seen;
  EXPECT_NE(ShellOnTerminal("$TROVEX --raw --color never x t*").find("x\033]0;title\007"),
            std::string::npos);
}

}  // namespace
}  // namespace trovex::testing
