// What the command-line program makes of bytes that others chose: files, expressions and arguments.
//
//     input:  which of the three, their switches, bytes
//
// Files: the units are held against the line ends between them, and what goes to a terminal has
// nothing that it obeys. Expressions: an escaped text finds itself. Arguments: there is an answer, within the bounds that the options promise.

#include "fuzz/input.h"
#include "fuzz/require.h"
#include "hosts/cli/command/options.h"
#include "hosts/cli/expression/expression.h"
#include "hosts/cli/files/code_page.h"
#include "hosts/cli/files/utf8_validity.h"
#include "hosts/cli/output/visible_text.h"
#include "hosts/cli/search/units.h"

#include <trovex/query.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trovex::fuzz {
namespace {

using namespace trovex::cli;

/// UTF-8 as the C library's converter judges it. It also takes numbers above 0x10FFFF, which begin
/// with a byte from 0xF4 on.
void HoldValidity(const std::string& bytes) {
  const auto converted = ConvertToUtf8(bytes, "UTF-8");
  const bool accepted = converted.has_value() && *converted == bytes;
  const bool mayBeTooLarge = std::any_of(
      bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) >= 0xF4; });
  Require(!IsValidUtf8(bytes) || accepted, "the converter takes what is UTF-8");
  Require(IsValidUtf8(bytes) || !accepted || mayBeTooLarge, "what the converter takes is UTF-8");
}

bool IsLineEnds(std::string_view bytes) {
  return bytes.find_first_not_of("\r\n") == std::string_view::npos;
}

/// Units are ordered, hold no line end that they must not, and leave nothing but line ends out.
void HoldUnits(std::string_view text, Scope scope) {
  std::size_t place = 0;
  std::size_t last = 0;
  int units = 0;
  for (Range unit; NextUnit(text, scope, place, unit); ++units) {
    Require(unit.begin >= last && unit.begin <= unit.end && unit.end <= text.size(),
            "units are ordered ranges of the text");
    const std::string_view content = Piece(text, unit);
    Require(IsLineEnds(text.substr(last, unit.begin - last)), "only line ends lie between units");
    Require(scope != Scope::kLine || content.find('\n') == std::string_view::npos,
            "a line holds no line feed");
    Require(scope != Scope::kParagraph ||
                (!content.empty() && content.find("\n\n") == std::string_view::npos),
            "a paragraph has no empty line");
    Require(scope == Scope::kFile || UnitAround(text, scope, unit.end) == unit,
            "a unit is found again from its end");
    last = unit.end;
  }
  Require(IsLineEnds(text.substr(last)), "only line ends lie after the last unit");
  Require(scope != Scope::kFile || units == 1, "a file is one unit");
}

/// A text that is cut is as good as whole.
void HoldCut(std::string_view text, Scope scope) {
  const std::size_t cut = LastCut(text, scope);
  Require(cut <= text.size() && (cut == 0 || text[cut - 1] == '\n'), "a cut lies after a line");
  HoldUnits(text.substr(0, cut), scope);
  HoldUnits(text.substr(cut), scope);
}

/// What goes to a terminal is UTF-8 without anything that it obeys.
void HoldVisibleText(std::string_view bytes) {
  const std::string visible = VisibleText(bytes);
  Require(IsValidUtf8(visible), "visible text is UTF-8");
  for (const char c : visible)
    Require(static_cast<unsigned char>(c) >= 0x20 || c == '\t', "visible text has no controls");
}

void FuzzFile(Input& input) {
  const std::string bytes = input.Rest();
  HoldValidity(bytes);
  HoldVisibleText(bytes);
  HoldUnits(bytes, Scope::kFile);
  for (const Scope scope : {Scope::kParagraph, Scope::kLine}) {
    HoldUnits(bytes, scope);
    HoldCut(bytes, scope);
  }
}

/// Whether `text` can be found by itself: it is no operator of an expression, its blanks at the ends
/// are no part of a pattern, and a line feed separates patterns.
bool FindsItself(std::string_view text) {
  return !text.empty() && text.find_first_of(std::string_view("&!()\\\n\0", 7)) == text.npos &&
         text.find_first_of(" \t\v\f\r") == text.npos && text.size() <= 64;
}

void HoldEscaping(const std::string& text) {
  const std::string escaped = EscapePatternCharacters(text);
  if (!FindsItself(text)) return;
  ExpressionOptions options;
  options.caseSensitive = true;
  const auto query = Query::Compile(escaped, options);
  if (std::holds_alternative<Fault>(query)) return;  // a character that the code page lacks
  Searcher searcher(std::get<Query>(query));
  searcher.Search(text);
  Require(searcher.Items().size() == 1 && searcher.Items()[0].Size() == text.size(),
          "an escaped text finds itself");
}

void FuzzExpression(Input& input) {
  constexpr const char* kEncodings[] = {"UTF-8",  "ANSI_X3.4-1968", "ISO-8859-15", "CP850",
                                        "UTF-16", "EUC-JP",         "no encoding"};
  const std::string_view encoding = kEncodings[input.Byte() % std::size(kEncodings)];
  const std::string typed = input.Rest();
  const auto converted = ExpressionToUtf8(typed, encoding);
  if (const auto* fault = std::get_if<ExpressionFault>(&converted)) {
    Require(IsValidUtf8(fault->sentence) && fault->sentence.ends_with('.'),
            "a fault is told in a sentence");
    return;
  }
  const auto& expression = std::get<std::string>(converted);
  Require(encoding != "UTF-8" || expression == typed, "UTF-8 stays as it was typed");
  HoldEscaping(expression);
}

void FuzzArguments(Input& input) {
  std::vector<std::string> arguments = {"trovex"};
  while (!input.IsEmpty())
    arguments.push_back(input.UpToZero());
  std::vector<const char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments)
    pointers.push_back(argument.c_str());
  pointers.push_back(nullptr);

  const auto parsed = ParseOptions(static_cast<int>(arguments.size()), pointers.data());
  if (const auto* error = std::get_if<UsageError>(&parsed)) {
    Require(!error->message.empty(), "a fault is told in a sentence");
  } else if (const auto* information = std::get_if<Information>(&parsed)) {
    Require(!information->text.empty(), "what was asked for is told");
  } else {
    const auto& options = std::get<Options>(parsed);
    Require(!options.files.empty(), "there is a file to search");
    Require(options.tag >= 0 && options.threads >= 0 && options.threads <= 1024,
            "tag and threads are in their bounds");
    Require(options.contextBefore >= 0 && options.contextAfter >= 0, "context is never negative");
  }
}

}  // namespace
}  // namespace trovex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace trovex::fuzz;
  Input input(data, size);
  switch (input.Byte() % 3) {
    case 0:
      FuzzFile(input);
      break;
    case 1:
      FuzzExpression(input);
      break;
    default:
      FuzzArguments(input);
  }
  return 0;
}
