// Files, folders and what goes wrong with them.

#include "tests/cli/run_program.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <filesystem>
#include <string>

namespace trovex::testing {
namespace {

class Files : public ProgramTest {};

TEST_F(Files, AFolderIsSearchedInSortedOrder) {
  Write("d/c", "x\n");
  Write("d/a", "x\n");
  Write("d/b/z", "x\n");
  Write("d/b/y", "x\n");
  EXPECT_EQ(Run({"-l", "x", "d"}).out, "d/a\nd/b/y\nd/b/z\nd/c\n");
  EXPECT_EQ(Run({"-l", "x", "d/"}).out, "d/a\nd/b/y\nd/b/z\nd/c\n");
  EXPECT_EQ(Run({"-l", "x", "."}).out, "./d/a\n./d/b/y\n./d/b/z\n./d/c\n");
}

TEST_F(Files, HiddenOnesAreLeftOutUnlessAskedForOrNamed) {
  Write("d/.h", "x\n");
  Write("d/.g/a", "x\n");
  Write("d/v", "x\n");
  EXPECT_EQ(Run({"-l", "x", "d"}).out, "d/v\n");
  EXPECT_EQ(Run({"-l", "--hidden", "x", "d"}).out, "d/.g/a\nd/.h\nd/v\n");
  EXPECT_EQ(Run({"-l", "x", "d/.h", "d/.g"}).out, "d/.h\nd/.g/a\n");
}

TEST_F(Files, BinaryOnesAreLeftOutOfFoldersUnlessAskedFor) {
  Write("d/b", std::string("x\0yz\n", 5));
  EXPECT_EQ(Run({"x", "d"}).status, 1);
  EXPECT_EQ(Run({"x", "d/b"}).out, "Binary file d/b matches\n");
  EXPECT_EQ(Run({"-o", "x", "d/b"}).out, "Binary file d/b matches\n");
  EXPECT_EQ(Run({"q", "d/b"}).out, "");
  EXPECT_EQ(Run({"-c", "x", "d/b"}).out, "d/b:1\n");
  EXPECT_EQ(Run({"-l", "x", "d/b"}).out, "d/b\n");
  EXPECT_EQ(Run({"--binary", "x", "d"}).out, std::string("d/b:1:x\0yz\n", 11));
  EXPECT_EQ(Run({"-a", "x", "d/b"}).out, std::string("d/b:1:x\0yz\n", 11));
}

TEST_F(Files, LinksBelowAFolderAreNotFollowed) {
  Write("d/a", "x\n");
  Write("e/b", "x\n");
  std::filesystem::create_symlink("../e", Path("d/link"));
  std::filesystem::create_symlink("a", Path("d/other"));
  EXPECT_EQ(Run({"-l", "x", "d"}).out, "d/a\n");
  EXPECT_EQ(Run({"-l", "x", "d/link", "d/other"}).out, "d/link/b\nd/other\n");
}

TEST_F(Files, PipesBelowAFolderAreNotWaitedFor) {
  Write("d/a", "x\n");
  ASSERT_EQ(mkfifo(Path("d/pipe").c_str(), 0600), 0);
  EXPECT_EQ(Run({"-l", "x", "d"}).out, "d/a\n");
}

TEST_F(Files, APipeThatIsNamedIsRead) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(Shell("echo x > pipe & $TROVEX x pipe").out, "pipe:1:x\n");
}

TEST_F(Files, OneThatCannotBeReadIsToldAndTheOthersAreSearched) {
  Write("a", "x\n");
  Write("b", "x\n");
  const RunResult run = Run({"x", "a", "no/file", "b"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "a:1:x\nb:1:x\n");
  EXPECT_EQ(run.err, "trovex: no/file: No such file or directory\n");
}

TEST_F(Files, ComplaintsStandBetweenLines) {
  Write("a", "x\n");
  const RunResult run = Shell("$TROVEX x a no a no 2>&1");
  EXPECT_EQ(run.out,
            "a:1:x\ntrovex: no: No such file or directory\n"
            "a:1:x\ntrovex: no: No such file or directory\n");
}

TEST_F(Files, AFileInPlaceOfAFolderIsTold) {
  Write("a", "x\n");
  EXPECT_EQ(Run({"x", "a/b"}).err, "trovex: a/b: Not a directory\n");
}

TEST_F(Files, ALineOfManyMegabytesIsSearchedInParts) {
  const std::string line = Times(5000000, "viele ") + "Ziel\n";
  Write("huge", "x\n" + line + "Ziel\n" + line);
  for (const char* threads : {"1", "2"}) {
    const RunResult run = Run({"-j", threads, "-o", "Ziel", "huge"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "huge:2:Ziel\nhuge:3:Ziel\nhuge:4:Ziel\n");
    EXPECT_EQ(run.err, "trovex: huge: a line has more than 20 MB and was searched in parts\n");
  }
}

TEST_F(Files, ALineOfTwelveMegabytesIsSearchedWhole) {
  const std::string line = "Anfang " + Times(2000000, "viele ") + "Ende\n";
  Write("a/first", "x\n" + line + line + "Anfang\n" + line);
  Write("a/second", line + "Anfang Ende\n");
  for (const char* threads : {"1", "2", "7"}) {
    const RunResult counts = Run({"-j", threads, "-c", "-S", "line", "Anfang & Ende", "a"});
    EXPECT_EQ(counts.status, 0);
    EXPECT_EQ(counts.out, "a/first:3\na/second:2\n");
    EXPECT_EQ(counts.err, "");
    EXPECT_TRUE(Run({"-j", threads, "-I", "Anfang", "a"}).out ==
                "2:" + line + "3:" + line + "4:Anfang\n5:" + line + "1:" + line + "2:Anfang Ende\n")
        << threads;
  }
}

TEST_F(Files, RulesThatCannotBeReadAreTold) {
  Write("d/.git/HEAD", "x\n");
  Write("d/a", "x\n");
  const RunResult run = Shell("ln -s .gitignore d/.gitignore; $TROVEX -c x d");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "d/a:1\n");
  const std::string path = std::filesystem::canonical(Path("d")).string() + "/.gitignore";
  EXPECT_EQ(run.err, "trovex: " + path +
                         ": Too many levels of symbolic links; what its rules leave out is "
                         "searched\n");
  EXPECT_EQ(Run({"--no-ignore", "-c", "x", "d"}).status, 0);
}

TEST_F(Files, AWordThatCannotBeSearchedIsToldWithItsLine) {
  Write("words", "Haus\n\nR&B Ωmega\nHof\n");
  const RunResult run = Run({"-e", "Garten & Baum", "-f", "words", "words"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err.substr(0, run.err.find(" Only")),
            "    R&B Ωmega\n"
            "    ^^^^^^^^^\n"
            "trovex: words, line 3: The search expression contains an invalid character.");
  EXPECT_EQ(run.out, "");
}

TEST_F(Files, GlobsMayHaveBraces) {
  for (const char* name : {"d/a.txt", "d/b.md", "d/c.log"})
    Write(name, "x\n");
  EXPECT_EQ(Run({"-l", "-g", "*.{txt,md}", "x", "d"}).out, "d/a.txt\nd/b.md\n");
  EXPECT_EQ(Run({"-l", "-g", "!*.{txt,md}", "x", "d"}).out, "d/c.log\n");
  EXPECT_EQ(Run({"-g", "{a,b}{a,b}{a,b}{a,b}{a,b}{a,b}{a,b}{a,b}{a,b}{a,b}", "x", "d"}).status, 2);
}

TEST_F(Files, FoldersAreSearchedAsDeepAsIsWanted) {
  for (const char* name : {"d/1", "d/e/2", "d/e/f/3"})
    Write(name, "x\n");
  EXPECT_EQ(Run({"-r", "-l", "x", "d"}).out, "d/1\nd/e/2\nd/e/f/3\n");
  EXPECT_EQ(Run({"-d", "1", "-l", "x", "d"}).out, "d/1\n");
  EXPECT_EQ(Run({"--max-depth", "2", "-l", "x", "d", "d/e/f"}).out, "d/1\nd/e/2\nd/e/f/3\n");
  EXPECT_EQ(Run({"-d", "0", "x", "d"}).status, 2);
}

TEST_F(Files, AListThatIsTooLongIsRefused) {
  std::string list;
  for (int i = 0; i < 400000; ++i)
    list += "Wort" + std::to_string(i) + "\n";
  Write("list", list);
  const RunResult run = Run({"-f", "list"}, "Wort1\n");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(
      run.err,
      "trovex: The list is too long: it has 400000 words. Search in several runs; 40000 words of "
      "ordinary length are not too many for one.\n");
}

TEST_F(Files, AFileThatTellsNoSizeIsReadToItsEnd) {
  EXPECT_EQ(Run({"-c", "Name:.*trovex", "/proc/self/status"}).out, "/proc/self/status:1\n");
  // Such files come in pieces; nothing may be missing after the first.
  const std::string whole = Shell("cat /proc/self/smaps | grep -c -a Rss:").out;
  ASSERT_GT(std::stoi(whole), 20);
  EXPECT_GT(std::stoi(Shell("cd /proc/self; $TROVEX -I -c -g smaps Rss: .").out), 20);
}

TEST_F(Files, AStandardInputThatIsAFolderIsTrouble) {
  const RunResult run = Shell("$TROVEX x < .");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "trovex: (standard input): Is a directory\n");
}

TEST_F(Files, NamesMayHoldAnything) {
  Write("[a,b]", "x\n");
  Write("-c", "x\n");
  Write("with blank", "x\n");
  EXPECT_EQ(Run({"-l", "x", "--", "[a,b]", "-c", "with blank"}).out, "[a,b]\n-c\nwith blank\n");
}

}  // namespace
}  // namespace trovex::testing
