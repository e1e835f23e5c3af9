// Ways to show what was found.

#include "tests/cli/run_program.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace trovex::testing {
namespace {

using Json = nlohmann::json;

std::vector<Json> JsonLines(const std::string& text) {
  std::vector<Json> objects;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    objects.push_back(Json::parse(line));
  // The last one tells of the search as a whole.
  EXPECT_EQ(objects.empty() ? Json() : objects.back()["type"], "summary");
  if (!objects.empty()) objects.pop_back();
  return objects;
}

class Output : public ProgramTest {};

TEST_F(Output, NamesAndNumbersMayBeLeftOut) {
  Write("t", "a\nb\n");
  EXPECT_EQ(Run({"b", "t"}).out, "t:2:b\n");
  EXPECT_EQ(Run({"-I", "b", "t"}).out, "2:b\n");
  EXPECT_EQ(Run({"-N", "b", "t"}).out, "t:b\n");
  EXPECT_EQ(Run({"--no-filename", "--no-line-number", "b", "t"}).out, "b\n");
}

TEST_F(Output, ContextIsMarkedAndGapsAreShown) {
  Write("t", "1\n2\n3\nx4\n5\n6\n7\n8\n9\nx10\n");
  EXPECT_EQ(Run({"-IC1", "x", "t"}).out, "3-3\n4:x4\n5-5\n--\n9-9\n10:x10\n");
  EXPECT_EQ(Run({"-I", "-A", "2", "x", "t"}).out, "4:x4\n5-5\n6-6\n--\n10:x10\n");
  EXPECT_EQ(Run({"-I", "-B", "2", "x", "t"}).out, "2-2\n3-3\n4:x4\n--\n8-8\n9-9\n10:x10\n");
  EXPECT_EQ(Run({"-I", "--context", "3", "x", "t"}).out,
            "1-1\n2-2\n3-3\n4:x4\n5-5\n6-6\n7-7\n8-8\n9-9\n10:x10\n");
  EXPECT_EQ(Run({"-C1", "x4", "t"}).out, "t-3-3\nt:4:x4\nt-5-5\n");
}

TEST_F(Output, ContextHasItsOwnByteOffsets) {
  Write("t", "1\n22\n333\nx4\n5\n66\n");
  EXPECT_EQ(Run({"-INbC2", "x", "t"}).out, "2-22\n5-333\n9:x4\n12-5\n14-66\n");
}

TEST_F(Output, HugeContextIsTheWholeFile) {
  EXPECT_EQ(Run({"-C", "1000000000", "b"}, "a\nb\nc\n").out, "1-a\n2:b\n3-c\n");
}

TEST_F(Output, ContextsOfTwoFilesAreParted) {
  Write("a", "x\n");
  Write("b", "y\n");
  Write("c", "x\n");
  EXPECT_EQ(Run({"-C1", "x", "a", "b", "c"}).out, "a:1:x\n--\nc:1:x\n");
  EXPECT_EQ(Run({"x", "a", "b", "c"}).out, "a:1:x\nc:1:x\n");
}

TEST_F(Output, CountCountsMatchingLinesOfEveryFile) {
  Write("a", "x x\nx\ny\n");
  Write("b", "y\n");
  const RunResult run = Run({"--count", "x", "a", "b"});
  EXPECT_EQ(run.out, "a:2\n");
  EXPECT_EQ(Run({"--count", "--include-zero", "x", "a", "b"}).out, "a:2\nb:0\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(Run({"-c", "x"}, "x\n").out, "1\n");
  EXPECT_EQ(Run({"-c", "x"}, "y\n").status, 1);
}

TEST_F(Output, JsonListsFilesToo) {
  Write("d/a", "x\n");
  EXPECT_EQ(Run({"--files", "--json", "d"}).out, "{\"type\":\"file\",\"file\":\"d/a\"}\n");
}

TEST_F(Output, FilesThatAreNotThereAreNotListed) {
  Write("a", "");
  const RunResult run = Run({"--files", "a", "b"});
  EXPECT_EQ(run.out, "a\n");
  EXPECT_EQ(run.err, "trovex: b: No such file or directory\n");
  EXPECT_EQ(run.status, 2);
}

TEST_F(Output, FilesWithMatchesAreNamedOnce) {
  Write("a", "x\nx\n");
  Write("b", "y\n");
  EXPECT_EQ(Run({"-l", "x", "a", "b"}).out, "a\n");
  EXPECT_EQ(Run({"--files-with-matches", "x", "-"}, "x").out, "(standard input)\n");
  EXPECT_EQ(Run({"-l", "q", "a", "b"}).status, 1);
}

TEST_F(Output, OnlyMatchingShowsEveryMatch) {
  EXPECT_EQ(Run({"-o", "a+"}, "aa b a\nc\na\n").out, "1:aa\n1:a\n3:a\n");
  EXPECT_EQ(Run({"--only-matching", "ab & b"}, "ab\n").out, "1:ab\n1:b\n");
}

TEST_F(Output, OverlappingMatchesAreColoredAsOne) {
  const std::string expected = "x\033[1;31mab\033[0m\033[1;31mc\033[0mx\n";
  EXPECT_EQ(Run({"-N", "--color", "always", "ab & bc"}, "xabcx\n").out, expected);
  EXPECT_EQ(Run({"-N", "--color", "always", "abc & b"}, "abc\n").out, "\033[1;31mabc\033[0m\n");
}

TEST_F(Output, ColorsMarkNamesNumbersAndMatches) {
  Write("t", "1\nx\n");
  EXPECT_EQ(Run({"--color=always", "-B1", "x", "t"}).out,
            "\033[35mt\033[0m\033[36m-\033[0m\033[32m1\033[0m\033[36m-\033[0m1\n"
            "\033[35mt\033[0m\033[36m:\033[0m\033[32m2\033[0m\033[36m:\033[0m"
            "\033[1;31mx\033[0m\n");
  EXPECT_EQ(Run({"--color", "auto", "x", "t"}).out, "t:2:x\n");
  EXPECT_EQ(Run({"--color", "never", "x", "t"}).out, "t:2:x\n");
}

TEST_F(Output, ATerminalGetsColorsUnlessItsUserDoesNotWantThem) {
  Write("t", "x\n");
  EXPECT_EQ(ShellOnTerminal("$TROVEX -IN x t"), "\033[1;31mx\033[0m\r\n");
  EXPECT_EQ(ShellOnTerminal("$TROVEX --color never -IN x t"), "x\r\n");
  EXPECT_EQ(ShellOnTerminal("NO_COLOR=1 $TROVEX -IN x t"), "x\r\n");
  EXPECT_EQ(ShellOnTerminal("TERM=dumb $TROVEX -IN x t"), "x\r\n");
  EXPECT_EQ(ShellOnTerminal("$TROVEX -IN x t | cat"), "x\r\n");
}

TEST_F(Output, NamesAreLinksWhereTheyAreAskedFor) {
  Write("a \u00FC", "x\n");
  char host[256] = "";
  ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
  const std::string link = "\033]8;;file://" + std::string(host) +
                           std::filesystem::canonical(Path("")).string() +
                           "/a%20%C3%BC\033\\a \u00FC\033]8;;\033\\";
  EXPECT_EQ(Run({"--hyperlink", "always", "-l", "x", "a \u00FC"}).out, link + "\n");
  EXPECT_EQ(Run({"--hyperlink=always", "x", "a \u00FC"}).out, link + ":1:x\n");
  EXPECT_EQ(Run({"--hyperlink=always", "--heading", "x", "a \u00FC"}).out, link + "\n1:x\n");
  EXPECT_EQ(Run({"--hyperlink=auto", "-l", "x", "a \u00FC"}).out, "a \u00FC\n");
  EXPECT_EQ(ShellOnTerminal("unset VTE_VERSION WT_SESSION KONSOLE_VERSION KITTY_WINDOW_ID DOMTERM "
                            "TERM_PROGRAM; $TROVEX "
                            "--color never -l x a*"),
            "a \u00FC\r\n");
}

TEST_F(Output, AHeadingStandsOnceAboveALargeFile) {
  Write("large", Times(100000, "eine Zeile mit einem Wort darin\n"));
  Write("small", "Wort\n");
  const RunResult run = Run({"-j3", "-N", "--heading", "Wort", "large", "small"});
  EXPECT_EQ(run.out,
            "large\n" + Times(100000, "eine Zeile mit einem Wort darin\n") + "\nsmall\nWort\n");
}

TEST_F(Output, LinesOfALargeFileHaveTheirNumbers) {
  std::string text;
  std::string expected;
  for (int i = 1; i <= 60000; ++i) {
    text += i % 7 == 0 ? "ein Wort hier\n" : i % 11 == 0 ? "\n" : "eine dunkle Zeile\r\n";
    if (i % 7 == 0) expected += std::to_string(i) + ":ein Wort hier\n";
  }
  Write("large", text);
  for (const char* jobs : {"-j1", "-j2", "-j5"})
    EXPECT_TRUE(Run({jobs, "-I", "Wort", "large"}).out == expected) << jobs;
}

TEST_F(Output, ProgressIsShownOnATerminalAndTakenAway) {
  ASSERT_EQ(mkfifo(Path("slow").c_str(), 0600), 0);
  const std::string seen = ShellOnTerminal("(sleep 1.2; echo x) > slow & $TROVEX -q y slow");
  EXPECT_EQ(seen.find("\r\033[K2 bytes, "), 0U);
  EXPECT_TRUE(seen.ends_with("\r\033[K"));
}

TEST_F(Output, ProgressDoesNotDrawOverWhoeverReadsTheResults) {
  ASSERT_EQ(mkfifo(Path("slow").c_str(), 0600), 0);
  EXPECT_EQ(ShellOnTerminal("(sleep 1.2; echo x) > slow & $TROVEX -c x slow | cat"), "slow:1\r\n");
}

TEST_F(Output, JsonIsOneObjectAMatch) {
  Write("t", "a\nxay \"a\"\n");
  const auto matches = JsonLines(Run({"--json", "a", "t"}).out);
  ASSERT_EQ(matches.size(), 3U);
  EXPECT_EQ(matches[1], (Json{{"type", "match"},
                              {"file", "t"},
                              {"byte_column", 2},
                              {"line_text", "xay \"a\""},
                              {"line", 2},
                              {"column", 2},
                              {"start", 3},
                              {"end", 4},
                              {"text", "a"},
                              {"tag", nullptr},
                              {"negative", false}}));
}

TEST_F(Output, JsonHasTheLinesAroundAMatch) {
  Write("t", "eins\r\nzwei\ndrei a\nvier\n");
  const auto records = JsonLines(Run({"--json", "-C1", "a", "t"}).out);
  ASSERT_EQ(records.size(), 3U);
  EXPECT_EQ(records[0], (Json{{"type", "context"},
                              {"file", "t"},
                              {"line", 2},
                              {"start", 6},
                              {"end", 10},
                              {"line_text", "zwei"}}));
  EXPECT_EQ(records[1]["type"], "match");
  EXPECT_EQ(records[2]["line_text"], "vier");
  const auto inverse = JsonLines(Run({"--json", "-v", "-B2", "i", "t"}).out);
  EXPECT_TRUE(inverse.empty());
  const auto lines = JsonLines(Run({"--json", "-v", "-B1", "[s3]|a", "t"}).out);
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0]["type"], "context");
  EXPECT_EQ(lines[1]["text"], "zwei");
  EXPECT_EQ(lines[2]["line_text"], "drei a");
  EXPECT_EQ(lines[3]["negative"], true);
}

TEST_F(Output, JsonHasCountsAndNamesAsRecords) {
  Write("t", "a\nb\na a\n");
  const auto counts = JsonLines(Run({"--json", "-c", "a", "t"}).out);
  ASSERT_EQ(counts.size(), 1U);
  EXPECT_EQ(counts[0], (Json{{"type", "count"}, {"file", "t"}, {"count", 2}}));
  const auto names = JsonLines(Run({"--json", "-l", "a", "t"}).out);
  ASSERT_EQ(names.size(), 1U);
  EXPECT_EQ(names[0], (Json{{"type", "file"}, {"file", "t"}}));
  EXPECT_EQ(JsonLines(Run({"--json", "-L", "x", "t"}).out)[0], names[0]);
}

TEST_F(Output, JsonHasTheFirstLinesWithoutAMatchEmptyOnesToo) {
  Write("t", "\nx\n\nabc\n");
  const auto records = JsonLines(Run({"--json", "-v", "-m2", "x", "t"}).out);
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0]["line"], 1);
  EXPECT_EQ(records[1]["line"], 3);
}

TEST_F(Output, JsonHasAVeryLongLineOnce) {
  Write("t", Times(20000, "ä.") + "\n" + Times(3, "ä.") + "\n");
  const std::string out = Run({"--json", "ä", "t"}).out;
  EXPECT_LT(out.size(), 5'000'000U);
  const auto records = JsonLines(out);
  ASSERT_EQ(records.size(), 20003U);
  EXPECT_EQ(records[0]["line_text"].get<std::string>().size(), 60000U);
  EXPECT_FALSE(records[1].contains("line_text"));
  EXPECT_EQ(records[19999]["column"], 39999);
  EXPECT_EQ(records[19999]["byte_column"], 59998);
  EXPECT_EQ(records[20002]["line_text"], "ä.ä.ä.");
  EXPECT_EQ(records[20002]["column"], 5);
}

TEST_F(Output, JsonTellsTheTag) {
  const auto matches = JsonLines(Run({"--json", "--tag=2", "(a)(b)c"}, "abc").out);
  ASSERT_EQ(matches.size(), 1U);
  EXPECT_EQ(matches[0]["tag"], 2);
  EXPECT_EQ(matches[0]["text"], "b");
  EXPECT_EQ(matches[0]["file"], "(standard input)");
}

TEST_F(Output, JsonShowsEmptyMatches) {
  const auto matches = JsonLines(Run({"--json", "b*$"}, "a").out);
  ASSERT_EQ(matches.size(), 1U);
  EXPECT_EQ(matches[0]["start"], 1);
  EXPECT_EQ(matches[0]["end"], 1);
  EXPECT_EQ(matches[0]["text"], "");
}

TEST_F(Output, JsonSurvivesAnyFileName) {
  Write("na\xFFme", "a\n");
  const auto matches = JsonLines(Run({"--json", "a", "na\xFFme"}).out);
  ASSERT_EQ(matches.size(), 1U);
  EXPECT_EQ(matches[0]["file"], "naÿme");
  EXPECT_EQ(matches[0]["file_base64"], "bmH/bWU=");
}

TEST_F(Output, JsonHoldsNothingThatATerminalObeys) {
  const std::string line = "a \u009B31m \u202E x \u2013 \u00E9 \u2028 \x1B[2J \x7F";
  const RunResult run = Run({"--json", "x"}, line);
  for (const char* obeyed : {"\u009B", "\u202E", "\x1B", "\x7F"})
    EXPECT_EQ(run.out.find(obeyed), std::string::npos) << obeyed;
  const auto matches = JsonLines(run.out);
  ASSERT_EQ(matches.size(), 1U);
  EXPECT_EQ(matches[0]["line_text"], line);
}

TEST_F(Output, QuietSaysNothing) {
  const RunResult found = Run({"-q", "a"}, "a");
  EXPECT_EQ(found.status, 0);
  EXPECT_EQ(found.out, "");
  EXPECT_EQ(Run({"-q", "b"}, "a").status, 1);
}

TEST_F(Output, StatsGoToStandardError) {
  Write("a", "x x\nx\n");
  Write("b", "y\n");
  const RunResult run = Run({"--stats", "x", "a", "b"});
  EXPECT_EQ(run.out, "a:1:x x\na:2:x\n");
  EXPECT_EQ(run.err.find("3 matches\n2 matching lines\n1 file with matches\n2 files searched\n"
                         "0 binary files skipped\n8 bytes searched\n"),
            0U);
  EXPECT_NE(run.err.find(" seconds\n"), std::string::npos);
}

TEST_F(Output, StatsTellWhatIsShown) {
  Write("a", "x x\nx\ny\n\nx\n");
  Write("large", Times(100000, "x x\nnichts\n"));
  const auto begin = [](const RunResult& run) { return run.err.substr(0, run.err.find(" file")); };
  EXPECT_EQ(begin(Run({"--stats", "-m1", "x", "a"})), "2 matches\n1 matching line\n1");
  EXPECT_EQ(begin(Run({"--stats", "-m1", "-c", "x", "a"})), "2 matches\n1 matching line\n1");
  EXPECT_EQ(begin(Run({"--stats", "-m2", "-v", "x", "a"})), "2 matches\n2 matching lines\n1");
  EXPECT_EQ(begin(Run({"--stats", "-v", "x", "a"})), "2 matches\n2 matching lines\n1");
  EXPECT_EQ(begin(Run({"--stats", "-m2", "-S", "paragraph", "!y", "a"})),
            "1 match\n0 matching lines\n1");
  EXPECT_EQ(begin(Run({"--stats", "-m", "70000", "-j4", "x", "large"})),
            "140000 matches\n70000 matching lines\n1");
  const std::string json = Run({"--json", "-m1", "x", "a"}).out;
  const Json summary = Json::parse(json.substr(json.find("{\"type\":\"summary\"")));
  EXPECT_EQ(summary["matches"], 2);
  EXPECT_EQ(summary["matching_lines"], 1);
}

TEST_F(Output, StatsCountTheMatchesOfABinaryFileThatIsNamed) {
  Write("binary", std::string_view("x x\0x\nx\n", 8));
  const RunResult run = Run({"--stats", "x", "binary"});
  EXPECT_EQ(run.out, "Binary file binary matches\n");
  EXPECT_EQ(run.err.find("4 matches\n2 matching lines\n1 file with matches\n"), 0U) << run.err;
}

TEST_F(Output, ABinaryFileIsNotShownHoweverManyMatchesItHas) {
  Write("binary", std::string("x\0\n", 3) + Times(100'000, "x x x\n"));
  for (const char* options : {"--stats", "-o", "--color=always", "-C1"})
    EXPECT_EQ(Run({"--stats", options, "x", "binary"}).out, "Binary file binary matches\n");
}

TEST_F(Output, FilesWithoutAMatchAreFoundWhereTheyAreAskedFor) {
  Write("a", "x\n");
  Write("b", "y\n");
  EXPECT_EQ(Run({"-L", "x", "a", "b"}).out, "b\n");
  EXPECT_EQ(Run({"-L", "x", "a", "b"}).status, 0);
  EXPECT_EQ(Run({"-L", "x", "b"}).status, 0);
  EXPECT_EQ(Run({"-L", "x", "a"}).status, 1);
}

TEST_F(Output, AReaderThatStopsEndsTheProgramQuietly) {
  Write("t", Times(200000, "eine Zeile\n"));
  const RunResult run = Shell("$TROVEX Zeile t | head -1");
  EXPECT_EQ(run.out, "t:1:eine Zeile\n");
  EXPECT_EQ(run.err, "");
  const RunResult ignoring = Shell("trap '' PIPE; $TROVEX Zeile t | head -1");
  EXPECT_EQ(ignoring.out, "t:1:eine Zeile\n");
  EXPECT_EQ(ignoring.err, "");
}

TEST_F(Output, AFullDiskIsTrouble) {
  Write("t", "a\n");
  const RunResult run = Shell("$TROVEX a t > /dev/full");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "trovex: the output cannot be written: No space left on device\n");
}

}  // namespace
}  // namespace trovex::testing
