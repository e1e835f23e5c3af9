// The typed expression: its conversion, the escaping of --literal, several at once, and faults.

#include "hosts/cli/expression/expression.h"

#include "hosts/cli/expression/fault_text.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace trovex::cli {
namespace {

std::string Converted(std::string_view typed, std::string_view encoding) {
  const auto result = ExpressionToUtf8(typed, encoding);
  if (const auto* fault = std::get_if<ExpressionFault>(&result)) return "fault: " + fault->sentence;
  return std::get<std::string>(result);
}

TEST(ExpressionToUtf8, OtherTerminalsAreConverted) {
  EXPECT_EQ(Converted("Müller & €", "UTF-8"), "Müller & €");
  EXPECT_EQ(Converted("\xA4", "ISO-8859-15"), "€");
  EXPECT_EQ(Converted("M\xFCller", "ISO-8859-1"), "Müller");
}

/// The first match of expressions, as text; "fault" with its number of the part that is meant.
std::string FirstMatch(std::vector<std::string> expressions, std::vector<std::string> words,
                       const std::string& text, Options options = {}) {
  auto compiled = CompileExpressions(std::move(expressions), words, options);
  if (const auto* fault = std::get_if<ExpressionFault>(&compiled))
    return "fault: " + fault->sentence;
  const auto& expression = std::get<CompiledExpression>(compiled);
  Searcher searcher(expression.query);
  SearchOptions how;
  how.tags = true;
  if (searcher.Search(text, how) != Verdict::kYes || searcher.Items().empty()) return "nothing";
  const Item& item = searcher.Items()[0];
  if (expression.tag == 0) return text.substr(item.begin, item.Size());
  const TagRange* const tag = item.Tag(expression.tag);
  return tag == nullptr ? "no tag" : text.substr(tag->begin, tag->end - tag->begin);
}

TEST(CompileExpressions, AnyOfSeveralIsFound) {
  EXPECT_EQ(FirstMatch({"Haus & Hof", "Garten"}, {}, "im Garten"), "Garten");
  EXPECT_EQ(FirstMatch({"Haus & Hof", "Garten"}, {}, "Haus"), "nothing");
  EXPECT_EQ(FirstMatch({"x"}, {"R&B", "(a"}, "R&B"), "R&B");
}

TEST(CompileExpressions, BracketsAreNumberedThrough) {
  Options options;
  options.tag = 2;
  EXPECT_EQ(FirstMatch({"a(b)", "x(y)z"}, {}, "xyz", options), "y");
  options.tag = 3;
  EXPECT_EQ(FirstMatch({"a(b)", "x(y)z"}, {}, "xyz", options),
            "fault: There is no bracket 3: the expression has 2 brackets.");
}

TEST(CompileExpressions, AFaultTellsWhatIsMeant) {
  auto compiled = CompileExpressions({"gut", "Haus & (Hof"}, {}, Options{});
  const auto* fault = std::get_if<ExpressionFault>(&compiled);
  ASSERT_NE(fault, nullptr);
  EXPECT_EQ(fault->expression, "Haus & (Hof");
  EXPECT_EQ(fault->begin, 7U);
  EXPECT_FALSE(fault->advice.empty());
}

TEST(CompileExpressions, AFaultOfALiteralExpressionIsShownAsItWasTyped) {
  Options options;
  options.literal = true;
  const std::string typed = "1.5 \\& a.b & (Hof";
  auto compiled = CompileExpressions({typed}, {}, options);
  const auto* fault = std::get_if<ExpressionFault>(&compiled);
  ASSERT_NE(fault, nullptr);
  EXPECT_EQ(fault->expression, typed);
  EXPECT_EQ(fault->begin, typed.find('('));
  EXPECT_EQ(fault->end, typed.find('(') + 1);
}

TEST(CompileExpressions, WhatOtherLanguagesWriteGetsItsOwnAdvice) {
  const auto advice = [](const char* expression) {
    auto compiled = CompileExpressions({expression}, {}, Options{});
    const auto* fault = std::get_if<ExpressionFault>(&compiled);
    return fault == nullptr ? "no fault" : fault->advice;
  };
  EXPECT_EQ(advice("a{40000}"), "The numbers of a repetition go up to 32767.");
  EXPECT_EQ(advice("Haus && Hof"), "A single & is AND.");
  EXPECT_EQ(advice("Haus || Hof"), "A single | is OR.");
  EXPECT_EQ(advice("*.txt"), "Write .* for any characters, or \\* for the character.");
  EXPECT_EQ(advice("(?i)haus"),
            "Groups that begin with (? are not known; write \\? for the character.");
  EXPECT_EQ(advice("Haus\\nHof"),
            "A match never crosses the end of a line; & joins what stands on several.");
  EXPECT_EQ(advice("+"), "Write \\ before it for the character.");
}

TEST(MarkedExpression, MarksCharactersNotBytes) {
  EXPECT_EQ(MarkedExpression("Tür & (a", 7, 8, 80), "    Tür & (a\n          ^\n");
  EXPECT_EQ(MarkedExpression("a &", 3, 3, 80), "    a &\n       ^\n");
  EXPECT_EQ(MarkedExpression("a\033b", 2, 3, 80), "    a\\x1Bb\n         ^\n");
}

TEST(MarkedExpression, FitsAnyWidth) {
  const std::string expression(500, 'x');
  for (std::size_t place = 0; place <= 500; place += 50) {
    for (const std::size_t columns : {16U, 20U, 40U, 80U, 132U}) {
      const std::string marked = MarkedExpression(expression, place, place, columns);
      const std::size_t first = marked.find('\n');
      EXPECT_LE(first, columns);
      EXPECT_LE(marked.size() - first - 1, columns + 1);
      EXPECT_NE(marked.find('^'), std::string::npos);
    }
  }
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
    auto query = Query::Compile(EscapePatternCharacters(expression));
    ASSERT_TRUE(std::holds_alternative<Query>(query)) << expression;
    Searcher searcher(std::get<Query>(query));
    searcher.Search("#" + text + "#");
    ASSERT_EQ(searcher.Items().size(), 1U) << expression;
    ASSERT_EQ(searcher.Items()[0].begin, 1U) << expression;
    ASSERT_EQ(searcher.Items()[0].Size(), text.size()) << expression;
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
