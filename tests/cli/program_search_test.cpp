// What is found: operators, switches, scopes, faults, exit statuses.

#include "tests/cli/run_program.h"

#include <gtest/gtest.h>
#include <string>

namespace trovex::testing {
namespace {

class Search : public ProgramTest {};

TEST_F(Search, ShowsLinesWithFileNameAndLineNumber) {
  Write("a.txt", "eins\nder Garten\ndrei\nGARTEN\n");
  const RunResult run = Run({"garten", "a.txt"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "a.txt:2:der Garten\na.txt:4:GARTEN\n");
  EXPECT_EQ(run.err, "");
}

TEST_F(Search, ExitStatusTellsWhetherSomethingWasFound) {
  Write("a.txt", "Garten\n");
  EXPECT_EQ(Run({"Garten", "a.txt"}).status, 0);
  EXPECT_EQ(Run({"Haus", "a.txt"}).status, 1);
  EXPECT_EQ(Run({"Haus", "a.txt", "no.txt"}).status, 2);
  EXPECT_EQ(Run({"Garten", "a.txt", "no.txt"}).status, 2);
  EXPECT_EQ(Run({"Gar(ten", "a.txt"}).status, 2);
  EXPECT_EQ(Run({}).status, 2);
}

TEST_F(Search, AFaultIsShownBelowItsExpression) {
  const RunResult run = Run({"Haus & (Garten"}, "Haus");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(
      run.err,
      "    Haus & (Garten\n"
      "           ^\n"
      "trovex: The closing bracket ) is missing in a subexpression. Close it with ), or write "
      "\\( for the character.\n");
}

TEST_F(Search, EmptyExpressionsAreFaults) {
  for (const char* expression : {"", "  ", "()", "!", "a &", "& a"})
    EXPECT_EQ(Run({expression}, "a").status, 2) << expression;
  EXPECT_EQ(
      Run({""}, "a").err,
      "trovex: The search expression contains an empty subexpression. Type something there, or "
      "leave the operator out.\n");
}

TEST_F(Search, StandardInputIsSearchedWithoutAName) {
  EXPECT_EQ(Run({"b"}, "a\nb\n").out, "2:b\n");
  EXPECT_EQ(Run({"b", "-"}, "a\nb\n").out, "2:b\n");
  EXPECT_EQ(Run({"-H", "b"}, "a\nb\n").out, "(standard input):2:b\n");
  Write("x", "b\n");
  EXPECT_EQ(Run({"b", "x", "-"}, "b").out, "x:1:b\n(standard input):1:b\n");
}

TEST_F(Search, CaseCountsOnDemand) {
  EXPECT_EQ(Run({"Ärger"}, "ÄRGER\närger\n").out, "1:ÄRGER\n2:ärger\n");
  EXPECT_EQ(Run({"-s", "ärger"}, "ÄRGER\närger\n").out, "2:ärger\n");
  EXPECT_EQ(Run({"--case-sensitive", "ärger"}, "ÄRGER\n").status, 1);
  EXPECT_EQ(Run({"-i", "ärger"}, "ÄRGER\n").status, 0);
}

TEST_F(Search, WholeWords) {
  EXPECT_EQ(Run({"--words", "Gart"}, "Garten\nein Gart.\n").out, "2:ein Gart.\n");
  EXPECT_EQ(Run({"-w", "Gart"}, "x Gart").out, "1:x Gart\n");
}

TEST_F(Search, PhoneticFindsOtherSpellings) {
  const std::string text = "Herr Maier\nFrau Huber\nHerr Mayr\nMeierhof\n";
  EXPECT_EQ(Run({"--phonetic", "Meier"}, text).out, "1:Herr Maier\n3:Herr Mayr\n");
  EXPECT_EQ(Run({"~Meier"}, text).out, "1:Herr Maier\n3:Herr Mayr\n");
  EXPECT_EQ(Run({"--classic", "--phonetic", "Meier"}, text).out,
            "1:Herr Maier\n3:Herr Mayr\n4:Meierhof\n");
  EXPECT_EQ(Run({"-pw", "Meier"}, text).out, "1:Herr Maier\n3:Herr Mayr\n");
  EXPECT_EQ(Run({"--classic", "-p", "..."}, text).status, 2);
}

TEST_F(Search, PhoneticGoesOnAfterAZeroByte) {
  EXPECT_EQ(Run({"--classic", "-p", "-a", "-o", "Meier"}, std::string("a\0b\nMeier\n", 10)).out,
            "2:Meier\n");
}

TEST_F(Search, LiteralPatternsKeepTheOperators) {
  const std::string text = "a.c\nabc\nR&D\nC:\\temp\n";
  EXPECT_EQ(Run({"--literal", "a.c"}, text).out, "1:a.c\n");
  EXPECT_EQ(Run({"-F", "a.c & abc"}, text).out, "1:a.c\n2:abc\n");
  EXPECT_EQ(Run({"-F", "R\\&D"}, text).out, "3:R&D\n");
  EXPECT_EQ(Run({"-F", "C:\\temp"}, text).out, "4:C:\\temp\n");
}

TEST_F(Search, ATagKeepsTheMatchesOfItsBracket) {
  const std::string text = "Herr Müller\nFrau Huber\nMüller\n";
  EXPECT_EQ(Run({"-o", "--tag", "1", "(Herr|Frau) (M.ller)$"}, text).out, "1:Herr\n");
  EXPECT_EQ(Run({"-o", "--tag", "2", "(Herr|Frau) (M.ller)$"}, text).out, "1:Müller\n");
  EXPECT_EQ(Run({"-o", "--tag=1", "(Huber) & Frau"}, text).out, "2:Huber\n");
  EXPECT_EQ(Run({"-o", "--tag=1", "(Huber & Frau) & Herr"}, text).out, "2:Frau\n2:Huber\n");
}

TEST_F(Search, ATagThatDoesNotExistIsTrouble) {
  const RunResult run = Run({"--tag", "3", "(a)(b)c"}, "a");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "trovex: There is no bracket 3: the expression has 2 brackets.\n");
}

TEST_F(Search, ScopeSaysWhereBothHaveToBe) {
  Write("t", "Haus\nGarten\n\nHaus und Garten\n\nHaus\n");
  EXPECT_EQ(Run({"-c", "Haus & Garten", "t"}).out, "t:4\n");
  EXPECT_EQ(Run({"-c", "--scope", "file", "Haus & Garten", "t"}).out, "t:4\n");
  EXPECT_EQ(Run({"--scope", "paragraph", "Haus & Garten", "t"}).out,
            "t:1:Haus\nt:2:Garten\nt:4:Haus und Garten\n");
  EXPECT_EQ(Run({"--scope", "line", "Haus & Garten", "t"}).out, "t:4:Haus und Garten\n");
}

TEST_F(Search, ScopesHoldForPhoneticSearchesToo) {
  const std::string text = "Meier\nHuber\n\nMayr Hubert\n";
  EXPECT_EQ(Run({"-p", "--scope", "paragraph", "Meier & Huber"}, text).out.substr(0, 8),
            "1:Meier\n");
  EXPECT_EQ(Run({"--classic", "-p", "--scope", "line", "Meier & Huber"}, text).out,
            "4:Mayr Hubert\n");
  EXPECT_EQ(Run({"-pw", "--scope", "line", "Meier & !Huber"}, text).out,
            "1:Meier\n4:Mayr Hubert\n");
}

TEST_F(Search, DistanceIsMeasuredInBytesOfTheCodePage) {
  EXPECT_EQ(Run({"a &3 b"}, "aüüüb\n").status, 0);
  EXPECT_EQ(Run({"a &2 b"}, "aüüüb\n").status, 1);
}

TEST_F(Search, NotExcludesFiles) {
  Write("a", "Haus\n");
  Write("b", "Haus\nGarten\n");
  EXPECT_EQ(Run({"Haus & !Garten", "a", "b"}).out, "a:1:Haus\n");
}

TEST_F(Search, EachOfSeveralExpressionsHasItsOwnReferences) {
  const std::string text = "aa\nbb\nab\nxy x\n";
  EXPECT_EQ(Run({"-e", "(a)\\1", "-e", "(b)\\1"}, text).out, "1:aa\n2:bb\n");
  EXPECT_EQ(Run({"-e", "y (x)", "-e", "((b)\\1)"}, text).out, "2:bb\n4:xy x\n");
  EXPECT_EQ(Run({"-o", "--tag", "2", "-e", "y (x)", "-e", "(b)\\1"}, text).out, "2:b\n");
  EXPECT_EQ(Run({"-v", "-e", "(a)\\1", "-e", "(b)\\1"}, text).out, "3:ab\n4:xy x\n");
}

TEST_F(Search, ExpressionsThatLookLikeOptions) {
  EXPECT_EQ(Run({"-e", "-x"}, "a-x\n").out, "1:a-x\n");
  EXPECT_EQ(Run({"--", "-x"}, "a-x\n").out, "1:a-x\n");
}

TEST_F(Search, EmptyInputHoldsNothing) {
  EXPECT_EQ(Run({"a"}, "").status, 1);
  EXPECT_EQ(Run({"a*"}, "").status, 1);
  EXPECT_EQ(Run({"--classic", "$"}, "\n").status, 1);
  EXPECT_EQ(Run({"^$"}, "\n").out, "1:\n");
}

TEST_F(Search, AnEmptyMatchMarksItsLine) {
  EXPECT_EQ(Run({"b*$"}, "xa\n").out, "1:xa\n");
  EXPECT_EQ(Run({"-o", "b*$"}, "xa\n").out, "");
  EXPECT_EQ(Run({"-o", "b*$"}, "xa\n").status, 0);
}

TEST_F(Search, ThereIsNoLineAfterTheLastLineEnd) {
  EXPECT_EQ(Run({"^$"}, "a\n").status, 1);
  EXPECT_EQ(Run({"^$"}, "a\r\n").status, 1);
  EXPECT_EQ(Run({"^$"}, "a\n\nb\n").out, "2:\n");
}

TEST_F(Search, AFileOfWholePagesHasAByteAfterIt) {
  for (const int size : {4096, 8192, 65536, 131072}) {
    Write("pages", Times(size - 3, "x") + "end");
    EXPECT_EQ(Run({"-oI", "end$", "pages"}).out, "1:end\n") << size;
    EXPECT_EQ(Run({"-oIw", "x*end", "pages", "-c"}).out, "1\n") << size;
    EXPECT_EQ(Run({"--classic", "-oIp", "end", "pages"}).out, "1:end\n") << size;
  }
}

TEST_F(Search, ExplainTellsTheParts) {
  const RunResult run = Run({"--explain", "(Haus|Hof) &20 !Garten", "no-such-file"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "(Haus|Hof) &20 !Garten\n"
            "Searched as regular expressions, in either case.\n"
            "\n"
            "and\n"
            "  pattern Haus|Hof (tag 1)\n"
            "  at most 20 characters between\n"
            "  not\n"
            "    pattern Garten\n");
}

TEST_F(Search, ClassicExplainDrawsTheTreeAndSearchesNothing) {
  const RunResult run =
      Run({"--classic", "--explain", "(Haus|Hof) &20 !(Bäume & x) & y", "no-such-file"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "(Haus|Hof) &20 !(Bäume & x) & y\n"
            "Searched as regular expressions, in either case.\n"
            "\n"
            "AND, anywhere in the text\n"
            "├─ searched first: \"y\"\n"
            "└─ then: AND, at most 20 bytes apart\n"
            "   ├─ searched first: \"Haus|Hof\", tag 1 is all of it\n"
            "   └─ then: NOT\n"
            "      └─ AND, anywhere in the text, tag 2\n"
            "         ├─ searched first: \"x\"\n"
            "         └─ then: \"Bäume\"\n");
}

TEST_F(Search, ClassicExplainShowsGroupsAndDroppedBrackets) {
  EXPECT_EQ(Run({"--classic", "--explain", "-ws", "x(a)(b) & c"}).out,
            "x(a)(b) & c\n"
            "Searched as regular expressions, whole words only, case sensitive.\n"
            "\n"
            "AND, anywhere in the text\n"
            "├─ searched first: \"c\"\n"
            "└─ then: \"x(a)(b)\", tag 1 is group 1, tag 2 is group 2\n");
  EXPECT_NE(Run({"--classic", "--explain", "(x) (a & b)"})
                .out.find("Brackets that became no part of the tree: 1\n"),
            std::string::npos);
}

TEST_F(Search, ClassicExplainShowsSoundexCodes) {
  EXPECT_NE(Run({"--classic", "--explain", "-p", "Müller & !Schmidt"})
                .out.find("\"Müller\", Soundex code M46\n"),
            std::string::npos);
  EXPECT_NE(
      Run({"--classic", "--explain", "-p", "4711"}).out.find("\"4711\", Soundex code V6215252\n"),
      std::string::npos);
}

TEST_F(Search, ClassicExplainShowsTheExpressionAsItWasTyped) {
  EXPECT_EQ(
      Run({"--classic", "--explain", "-F", "a.ü"}).out,
      "a.ü\n"
      "Searched as regular expressions with their special characters made ordinary, in either "
      "case.\n"
      "\n"
      "\"a\\.ü\"\n");
}

TEST_F(Search, ExplainRefusesWhatASearchRefuses) {
  EXPECT_EQ(Run({"--explain", "a &"}).status, 2);
}

TEST_F(Search, HelpTeachesTheExpressions) {
  const RunResult run = Run({"--help"});
  EXPECT_EQ(run.status, 0);
  for (const char* part :
       {"Usage: trovex", "A &20 B", "!A", "--phonetic", "Examples:", "exit status"})
    EXPECT_NE(run.out.find(part), std::string::npos) << part;
  EXPECT_EQ(Run({"--version"}).out.find("trovex "), 0U);
}

TEST_F(Search, WholeLinesAreFoundAmongVeryManyThatHoldTheWord) {
  Write("t", Times(200'000, "e\nee\n"));
  EXPECT_EQ(Run({"-x", "-c", "-I", "e", "t"}).out, "200000\n");
}

TEST_F(Search, ALongLineIsOneLine) {
  const std::string line = Times(200000, "wort ") + "Ziel";
  EXPECT_EQ(Run({"-o", "Ziel"}, line).out, "1:Ziel\n");
  EXPECT_EQ(Run({"Ziel"}, line).out, "1:" + line + "\n");
}

}  // namespace
}  // namespace trovex::testing
