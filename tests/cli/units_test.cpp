// Lines, paragraphs and line numbers, held against the plainest reading of a text.

#include "hosts/cli/search/units.h"

#include "hosts/cli/search/line_index.h"

#include <gtest/gtest.h>
#include <functional>
#include <string>
#include <vector>

namespace trovex::cli {
namespace {

std::vector<std::string> UnitsOf(const std::string& text, Scope scope) {
  std::vector<std::string> units;
  UnitWalker walker(text, scope);
  for (Unit unit{}; walker.Next(unit);) {
    units.push_back(text.substr(static_cast<std::size_t>(unit.begin),
                                static_cast<std::size_t>(unit.end - unit.begin)));
  }
  return units;
}

using Texts = std::vector<std::string>;

TEST(UnitWalker, AFileIsOneUnitWithoutItsLastLineEnd) {
  EXPECT_EQ(UnitsOf("", Scope::kFile), Texts{""});
  EXPECT_EQ(UnitsOf("a", Scope::kFile), Texts{"a"});
  EXPECT_EQ(UnitsOf("a\n\nb\n", Scope::kFile), Texts{"a\n\nb"});
  EXPECT_EQ(UnitsOf("a\r\nb\r\n", Scope::kFile), Texts{"a\r\nb"});
  EXPECT_EQ(UnitsOf("a\n\n", Scope::kFile), Texts{"a\n"});
}

TEST(UnitWalker, LinesEndInLineFeedsWithOrWithoutCarriageReturn) {
  EXPECT_EQ(UnitsOf("", Scope::kLine), Texts{});
  EXPECT_EQ(UnitsOf("a\n\nb", Scope::kLine), (Texts{"a", "", "b"}));
  EXPECT_EQ(UnitsOf("a\r\n\r\nb\r\n", Scope::kLine), (Texts{"a", "", "b"}));
}

TEST(UnitWalker, ALoneCarriageReturnEndsNoLine) {
  EXPECT_EQ(UnitsOf("a\rb\nc\r", Scope::kLine), (Texts{"a\rb", "c\r"}));
}

TEST(UnitWalker, ParagraphsAreRunsOfLinesBetweenEmptyOnes) {
  EXPECT_EQ(UnitsOf("", Scope::kParagraph), Texts{});
  EXPECT_EQ(UnitsOf("\n\n\n", Scope::kParagraph), Texts{});
  EXPECT_EQ(UnitsOf("\n\na\nb\n\n\nc\n", Scope::kParagraph), (Texts{"a\nb", "c"}));
  EXPECT_EQ(UnitsOf("a\r\nb\r\n\r\nc", Scope::kParagraph), (Texts{"a\r\nb", "c"}));
  EXPECT_EQ(UnitsOf("a\n \nb", Scope::kParagraph), Texts{"a\n \nb"});
}

TEST(FlattenLineEnds, ChangesOnlyCarriageReturnsOfLineEnds) {
  std::string text = "a\r\nb\rc\r\r\n\r";
  FlattenLineEnds(text.data(), static_cast<int>(text.size()));
  EXPECT_EQ(text, "a\n\nb\rc\r\n\n\r");
}

/// Calls `visit` with every text of up to `length` bytes of "a", carriage return and line feed.
void EveryText(int length, const std::function<void(const std::string&)>& visit,
               const std::string& text = "") {
  visit(text);
  if (length == 0) return;
  for (const char c : {'a', '\r', '\n'})
    EveryText(length - 1, visit, text + c);
}

/// The lines of a text, each with its number, cut byte by byte.
std::vector<Unit> PlainLines(const std::string& text) {
  std::vector<Unit> lines;
  int begin = 0;
  for (int i = 0; i < static_cast<int>(text.size()); ++i) {
    if (text[static_cast<std::size_t>(i)] != '\n') continue;
    const bool pair = i > begin && text[static_cast<std::size_t>(i - 1)] == '\r';
    lines.push_back({begin, pair ? i - 1 : i});
    begin = i + 1;
  }
  if (begin < static_cast<int>(text.size()))
    lines.push_back({begin, static_cast<int>(text.size())});
  return lines;
}

TEST(UnitWalker, AgreesWithPlainLinesOnEveryShortText) {
  EveryText(8, [](const std::string& text) {
    std::vector<Unit> lines;
    UnitWalker walker(text, Scope::kLine);
    for (Unit unit{}; walker.Next(unit);)
      lines.push_back(unit);
    ASSERT_EQ(lines, PlainLines(text)) << text;

    std::vector<Unit> paragraphs;
    bool open = false;
    for (const Unit& line : lines) {
      const bool empty = line.begin == line.end;
      if (!empty && open) paragraphs.back().end = line.end;
      if (!empty && !open) paragraphs.push_back(line);
      open = !empty;
    }
    std::vector<Unit> walked;
    UnitWalker paragraphWalker(text, Scope::kParagraph);
    for (Unit unit{}; paragraphWalker.Next(unit);)
      walked.push_back(unit);
    ASSERT_EQ(walked, paragraphs) << text;
  });
}

TEST(LineIndex, AgreesWithPlainLinesOnEveryShortText) {
  EveryText(8, [](const std::string& text) {
    const std::vector<Unit> lines = PlainLines(text);
    const LineIndex index(text, 0);
    ASSERT_EQ(index.LineCount(), static_cast<int>(lines.size())) << text;
    for (int line = 0; line < index.LineCount(); ++line) {
      const Unit& plain = lines[static_cast<std::size_t>(line)];
      ASSERT_EQ(index.Line(line), plain) << text;
      for (int offset = plain.begin; offset <= plain.end; ++offset)
        ASSERT_EQ(index.LineOf(offset), line) << text;
    }
  });
}

TEST(LineIndex, TheFirstLineBeginsBehindAByteOrderMark) {
  const LineIndex index(
      "\xEF\xBB\xBF"
      "a\nb",
      3);
  EXPECT_EQ(index.LineCount(), 2);
  EXPECT_EQ(index.Line(0), (Unit{3, 4}));
  EXPECT_EQ(index.LineOf(3), 0);
}

TEST(LineIndex, OffsetsBehindTheLastLineBelongToIt) {
  const LineIndex index("a\nb\n", 0);
  EXPECT_EQ(index.LineOf(4), 1);
}

}  // namespace
}  // namespace trovex::cli
