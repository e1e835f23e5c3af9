// Encodings of texts, expressions and the terminal; positions in the file's own bytes.

#include "tests/cli/run_program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace trovex::testing {
namespace {

using Json = nlohmann::json;

class Encodings : public ProgramTest {
 protected:
  /// The first JSON record of a run.
  Json FirstRecord(const std::vector<std::string>& arguments) const {
    const std::string out = Run(arguments).out;
    return Json::parse(out.substr(0, out.find('\n')));
  }
};

TEST_F(Encodings, BothEncodingsAreFoundByOneExpression) {
  Write("latin", "Gr\xFCn\n");
  Write("utf8", "Grün\n");
  EXPECT_EQ(Run({"grün", "latin", "utf8"}).out, "latin:1:Grün\nutf8:1:Grün\n");
}

TEST_F(Encodings, AnotherTerminalGetsTheFilesBytes) {
  Write("latin", "Gr\xFCn\n");
  Write("utf8", "Grün\n");
  UseLocale("C");
  EXPECT_EQ(Run({"grün", "latin", "utf8"}).out, "latin:1:Gr\xFCn\nutf8:1:Grün\n");
  EXPECT_EQ(Run({"gr\xFCn", "latin", "utf8"}).status, 0);
}

TEST_F(Encodings, MayBeForced) {
  Write("utf8", "ü\n");
  EXPECT_EQ(Run({"--encoding", "windows-1252", "¼", "utf8"}).status, 0);
  EXPECT_EQ(Run({"--encoding", "windows-1252", "ü", "utf8"}).status, 1);
  Write("latin", "\xFC x\n");
  EXPECT_EQ(Run({"--encoding", "utf-8", "x", "latin"}).status, 0);
  EXPECT_EQ(Run({"--encoding", "auto", "ü", "latin"}).status, 0);
}

TEST_F(Encodings, OneBadByteLosesNothing) {
  Write("mixed", "Grün\nGr\xFCn \xFF\nGRÜN\n");
  EXPECT_EQ(Run({"grün", "mixed"}).out, "mixed:1:Grün\nmixed:2:Grün ÿ\nmixed:3:GRÜN\n");
}

TEST_F(Encodings, DecomposedUmlautsAreFoundByComposedOnesAndTheOtherWayRound) {
  Write("t", "Mu\xCC\x88ller\nMüller\n");
  EXPECT_EQ(Run({"-c", "Müller", "t"}).out, "t:2\n");
  EXPECT_EQ(Run({"-c", "Mu\xCC\x88ller", "t"}).out, "t:2\n");
}

TEST_F(Encodings, PositionsAreThoseOfTheFilesBytes) {
  Write("t", "Größe €\nein Maß Ω und ü Ziel\n");
  const Json match = FirstRecord({"--json", "ü ziel", "t"});
  const std::string text = "Größe €\nein Maß Ω und ü Ziel\n";
  EXPECT_EQ(match["start"], text.find("ü Ziel"));
  EXPECT_EQ(match["end"], text.find("ü Ziel") + 7);
  EXPECT_EQ(match["line"], 2);
  EXPECT_EQ(match["byte_column"], text.find("ü Ziel") - text.find("ein") + 1);
  EXPECT_EQ(match["column"], 15);
  EXPECT_EQ(match["line_text"], "ein Maß Ω und ü Ziel");
  EXPECT_EQ(match["text"], "ü Ziel");
}

TEST_F(Encodings, AMissingCharacterMatchesOnlyWhatNamesNothing) {
  const std::string text = "aΩb\n";
  EXPECT_EQ(Run({"-o", "a.b"}, text).out, "1:aΩb\n");
  EXPECT_EQ(Run({"-o", "a[^x]b"}, text).out, "1:aΩb\n");
  EXPECT_EQ(Run({"a[ -ÿ]b"}, text).status, 1);
  EXPECT_EQ(Run({"ab"}, text).status, 1);
  EXPECT_EQ(Run({"a..b"}, text).status, 1);
}

TEST_F(Encodings, AMissingCharacterInTheExpressionIsRefused) {
  const RunResult run = Run({"Haus & Ω"}, "Haus");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "    Haus & Ω\n"
            "           ^\n"
            "trovex: The search expression contains an invalid character. Only characters of the "
            "Windows Latin-1 code page can be searched; \".\" finds any.\n");
}

TEST_F(Encodings, InvalidUtf8InTheExpressionIsReadAsLatin1) {
  EXPECT_EQ(Run({"\xFC"}, "ü").status, 0);
}

TEST_F(Encodings, JsonIsUtf8WhateverTheFileIs) {
  Write("t", "Gr\xFCn \x80\n");
  EXPECT_EQ(FirstRecord({"--json", "gr.*", "t"})["text"], "Grün €");
  UseLocale("C");
  EXPECT_EQ(FirstRecord({"--json", "gr.*", "t"})["text"], "Grün €");
  Write("bad",
        "a\xFC"
        "b\n");
  EXPECT_EQ(FirstRecord({"--json", "-E", "utf-8", "a.b", "bad"})["text"], "aüb");
}

TEST_F(Encodings, AByteOrderMarkIsNotPartOfTheFirstLine) {
  Write("t",
        "\xEF\xBB\xBF"
        "Garten\n");
  EXPECT_EQ(Run({"^Garten", "t"}).out, "t:1:Garten\n");
  const Json match = FirstRecord({"--json", "Garten", "t"});
  EXPECT_EQ(match["start"], 3);
  EXPECT_EQ(match["column"], 1);
}

TEST_F(Encodings, CarriageReturnsBelongToTheLineEnd) {
  Write("t", "Es werden.\r\nMehr\r\n\r\nZiel ü\r\n");
  EXPECT_EQ(Run({"werden\\.$", "t"}).out, "t:1:Es werden.\n");
  EXPECT_EQ(Run({"-w", "Mehr", "t"}).out, "t:2:Mehr\n");
  EXPECT_EQ(Run({"--scope", "paragraph", "werden & Mehr", "t", "-c"}).out, "t:2\n");
  EXPECT_EQ(Run({"--scope", "paragraph", "werden & Ziel", "t"}).status, 1);
  EXPECT_EQ(Run({"--scope", "line", "Mehr$", "t"}).out, "t:2:Mehr\n");
  const Json match = FirstRecord({"--json", "^Ziel ü$", "t"});
  EXPECT_EQ(match["line"], 4);
  EXPECT_EQ(match["start"], 20);
  EXPECT_EQ(match["end"], 27);
  EXPECT_EQ(match["column"], 1);
}

TEST_F(Encodings, ALineEndHasNoEmptyLineInIt) {
  EXPECT_EQ(Run({"^$"}, "a\r\nb\r\n").status, 1);
  for (const char* scope : {"file", "paragraph"}) {
    EXPECT_EQ(Run({"-S", scope, "^$ & a"}, "a\r\nb\r\n").status, 1) << scope;
    EXPECT_EQ(Run({"-S", scope, "a & !^$"}, "a\r\nb\r\n").status, 0) << scope;
    EXPECT_EQ(Run({"-S", scope, "-b", "-o", "^a$ & ^b$"}, "x\r\na\r\nb\r\n").out, "2:3:a\n3:6:b\n")
        << scope;
  }
  EXPECT_EQ(Run({"^$ & a"}, "a\r\n\r\nb\r\n").status, 0);
}

TEST_F(Encodings, OffsetsAreThoseOfTheFileThatWasDecoded) {
  Write("t", std::string("\xFF\xFE"
                         "a\0b\0\n\0\xFC\0x\0\n\0",
                         14));
  EXPECT_EQ(Run({"-b", "x", "t"}).out, "t:2:8:\u00FCx\n");
  EXPECT_EQ(Run({"-b", "-o", "x", "t"}).out, "t:2:10:x\n");
}

TEST_F(Encodings, AByteOrderMarkMayComeInParts) {
  EXPECT_EQ(Shell("(printf '\\377\\376'; sleep 0.1; printf '\\0\\0x\\0\\0\\0') | $TROVEX x").out,
            "1:x\n");
}

TEST_F(Encodings, CharactersAreWholeWhereverABlockEnds) {
  const std::string line = "a" + Times(150'000, "日本");
  Write("t", line + "\n");
  Shell("iconv -f utf-8 -t euc-jp t > e");
  EXPECT_TRUE(Run({"-IN", "--encoding", "euc-jp", "a", "e"}).out == line + "\n");
}

TEST_F(Encodings, ColorsKeepCharactersWhole) {
  Write("t", "Gr\xFCn\n");
  EXPECT_EQ(Run({"--color", "always", "-IN", "ü", "t"}).out, "Gr\033[1;31mü\033[0mn\n");
}

}  // namespace
}  // namespace trovex::testing
