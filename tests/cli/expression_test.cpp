// The typed expression: its conversion and the escaping of --literal.

#include "hosts/cli/search/expression.h"

#include "hosts/cli/search/query.h"
#include "tests/heap_text.h"

#include <gtest/gtest.h>
#include <string>
#include <variant>
#include <vector>

namespace trovex::cli {
namespace {

std::string Converted(std::string_view typed, std::string_view encoding) {
  const auto result = ConvertExpression(typed, encoding);
  if (const auto* fault = std::get_if<ExpressionFault>(&result)) return "fault: " + fault->sentence;
  return std::get<std::string>(result);
}

TEST(ConvertExpression, Utf8BecomesOneByteACharacter) {
  EXPECT_EQ(Converted("Müller & €", "UTF-8"), "M\xFCller & \x80");
}

TEST(ConvertExpression, OtherTerminalsAreConvertedToo) {
  EXPECT_EQ(Converted("\xA4", "ISO-8859-15"), "\x80");
  EXPECT_EQ(Converted("M\xFCller", "ISO-8859-1"), "M\xFCller");
}

TEST(ConvertExpression, TheCLocaleMeansUtf8WhereItIsValid) {
  EXPECT_EQ(Converted("Müller", "ANSI_X3.4-1968"), "M\xFCller");
  EXPECT_EQ(Converted("M\xFCller", "ANSI_X3.4-1968"), "M\xFCller");
}

TEST(ConvertExpression, AMissingCharacterIsNamed) {
  EXPECT_EQ(Converted("a & Ω", "UTF-8"),
            "fault: The expression holds the character \"Ω\" (U+03A9), which windows-1252, the "
            "code page of the search, does not have.");
  EXPECT_EQ(Converted("😀", "UTF-8")
                .find("fault: The expression holds the character \"😀\" "
                      "(U+1F600)"),
            0U);
}

TEST(ConvertExpression, InvalidBytesAreAFault) {
  EXPECT_EQ(Converted("M\xFCller", "UTF-8"), "fault: The expression is not valid UTF-8.");
}

TEST(EscapePatternCharacters, EscapesWhatIsSpecialInPatternsAlone) {
  EXPECT_EQ(EscapePatternCharacters("a.b*c"), "a\\.b\\*c");
  EXPECT_EQ(EscapePatternCharacters("[x]{2}+?|^$"), "\\[x\\]\\{2\\}\\+\\?\\|\\^\\$");
  EXPECT_EQ(EscapePatternCharacters("(a & !b) &20 c"), "(a & !b) &20 c");
}

TEST(EscapePatternCharacters, EscapedOperatorsStayEscaped) {
  EXPECT_EQ(EscapePatternCharacters("R\\&D \\! \\(x\\)"), "R\\&D \\! \\(x\\)");
  EXPECT_EQ(EscapePatternCharacters("a\\\\b"), "a\\\\b");
}

TEST(EscapePatternCharacters, OtherBackslashesAreOrdinary) {
  EXPECT_EQ(EscapePatternCharacters("C:\\temp"), "C:\\\\temp");
  EXPECT_EQ(EscapePatternCharacters("a\\.b"), "a\\\\\\.b");
  EXPECT_EQ(EscapePatternCharacters("end\\"), "end\\\\");
}

/// What a literal expression without operators stands for.
std::string Meant(std::string_view expression) {
  std::string text;
  for (std::size_t i = 0; i < expression.size(); ++i) {
    const bool pair = expression[i] == '\\' && i + 1 < expression.size() &&
                      std::string_view("\\&!()").find(expression[i + 1]) != std::string_view::npos;
    text += expression[pair ? ++i : i];
  }
  return text;
}

/// Whether an operator stands in the expression without a backslash before it.
bool HoldsOperator(std::string_view expression) {
  for (std::size_t i = 0; i < expression.size(); ++i) {
    if (std::string_view("&!()").find(expression[i]) != std::string_view::npos) return true;
    if (expression[i] == '\\') ++i;
  }
  return false;
}

/// Every text of up to `length` pieces is found by the literal expression for it, whole, and by
/// nothing shorter.
void FindTheMeantText(const std::vector<std::string>& pieces, const std::string& expression,
                      int length) {
  if (!expression.empty() && !HoldsOperator(expression)) {
    const std::string text = Meant(expression);
    auto query = Query::Compile(EscapePatternCharacters(expression), Options{});
    ASSERT_TRUE(std::holds_alternative<Query>(query)) << expression;
    testing::HeapText heap("#" + text + "#");
    std::vector<Match> matches;
    std::get<Query>(query).Search(heap.Data(), heap.Length(), 0, matches);
    const Match whole{1, 1 + static_cast<int>(text.size())};
    ASSERT_EQ(matches, std::vector<Match>{whole}) << expression;
  }
  if (length == 0) return;
  for (const std::string& piece : pieces)
    FindTheMeantText(pieces, expression + piece, length - 1);
}

TEST(EscapePatternCharacters, EveryShortLiteralFindsItself) {
  FindTheMeantText({".", "[", "]", "*", "+", "?", "{", "}", "|", "^", "$", "\\", "a", "1", "\\&",
                    "\\!", "\\(", "\\)"},
                   "", 3);
}

}  // namespace
}  // namespace trovex::cli
