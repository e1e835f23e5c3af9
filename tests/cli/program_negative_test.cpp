// A NOT with nothing beside it: texts in which nothing was found are what is found.

#include "tests/cli/run_program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

namespace trovex::testing {
namespace {

using Json = nlohmann::json;

Json FirstRecord(const std::string& out) {
  return Json::parse(out.substr(0, out.find('\n')));
}

class Negative : public ProgramTest {
 protected:
  Negative() {
    Write("with", "Haus\nGarten\n\nHof\n");
    Write("without", "Haus\n\nHof\n");
  }
};

TEST_F(Negative, FilesAreNamed) {
  const RunResult run = Run({"!Garten", "with", "without"});
  EXPECT_EQ(run.out, "without\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(Run({"-l", "!Garten", "with", "without"}).out, "without\n");
  EXPECT_EQ(Run({"-o", "!Garten", "with", "without"}).out, "without\n");
  EXPECT_EQ(Run({"!Haus", "with", "without"}).status, 1);
}

TEST_F(Negative, StandardInputHasAName) {
  EXPECT_EQ(Run({"!Garten"}, "Haus\n").out, "(standard input)\n");
  EXPECT_EQ(Run({"!Garten"}, "Garten\n").status, 1);
}

TEST_F(Negative, AnEmptyFileSatisfies) {
  Write("empty", "");
  EXPECT_EQ(Run({"!Garten", "empty"}).out, "empty\n");
}

TEST_F(Negative, LinesAreShown) {
  EXPECT_EQ(Run({"--scope", "line", "!Haus", "with", "without"}).out,
            "with:2:Garten\nwith:3:\nwith:4:Hof\nwithout:2:\nwithout:3:Hof\n");
  EXPECT_EQ(Run({"--scope", "line", "-C1", "!Haus & !Garten & !^H", "with"}).out,
            "with-2-Garten\nwith:3:\nwith-4-Hof\n");
}

TEST_F(Negative, ParagraphsAreShownWhole) {
  EXPECT_EQ(Run({"--scope", "paragraph", "!Garten", "with", "without"}).out,
            "with:4:Hof\nwithout:1:Haus\nwithout:3:Hof\n");
  EXPECT_EQ(Run({"--scope", "paragraph", "!Hof", "with"}).out, "with:1:Haus\nwith:2:Garten\n");
}

TEST_F(Negative, CountCountsUnits) {
  EXPECT_EQ(Run({"-c", "!Garten", "with", "without"}).out, "without:1\n");
  EXPECT_EQ(Run({"-c", "--scope", "line", "!Haus", "with"}).out, "with:3\n");
  EXPECT_EQ(Run({"-c", "--scope", "paragraph", "!Hof", "with"}).out, "with:1\n");
}

TEST_F(Negative, FilesWithASatisfiedUnitAreListed) {
  EXPECT_EQ(Run({"-l", "--scope", "line", "!Garten", "with", "without"}).out, "with\nwithout\n");
  EXPECT_EQ(Run({"-l", "--scope", "paragraph", "!H", "with", "without"}).status, 1);
}

TEST_F(Negative, JsonTellsTheUnit) {
  EXPECT_EQ(FirstRecord(Run({"--json", "!Garten", "without"}).out), (Json{{"type", "match"},
                                                                          {"file", "without"},
                                                                          {"byte_column", 1},
                                                                          {"line", 1},
                                                                          {"column", 1},
                                                                          {"start", 0},
                                                                          {"end", 9},
                                                                          {"tag", nullptr},
                                                                          {"negative", true}}));
  EXPECT_EQ(FirstRecord(Run({"--json", "--scope", "paragraph", "!H", "-"}, "H\n\nx\ny\n").out),
            (Json{{"type", "match"},
                  {"file", "(standard input)"},
                  {"byte_column", 1},
                  {"line_text", "x"},
                  {"line", 3},
                  {"column", 1},
                  {"start", 3},
                  {"end", 6},
                  {"text", "x\ny"},
                  {"tag", nullptr},
                  {"negative", true}}));
}

TEST_F(Negative, TwoNegativesNearEachOther) {
  EXPECT_EQ(Run({"--classic", "!Garten &5 !Baum", "with", "without"}).out, "with\nwithout\n");
  EXPECT_EQ(Run({"!Garten & !Baum", "with", "without"}).out, "without\n");
}

TEST_F(Negative, TwiceNegatedIsFound) {
  EXPECT_EQ(Run({"!!Garten", "with", "without"}).out, "with:2:Garten\n");
}

TEST_F(Negative, ABinaryFileIsNamedAsAFileAndNotShownByLines) {
  Write("binary", std::string("a\0b\nc\n", 6));
  EXPECT_EQ(Run({"!Garten", "binary"}).out, "binary\n");
  EXPECT_EQ(Run({"--scope", "line", "!Garten", "binary"}).out, "Binary file binary matches\n");
}

}  // namespace
}  // namespace trovex::testing
