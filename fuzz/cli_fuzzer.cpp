// What the command-line program makes of bytes that others chose: files, expressions and arguments.
//
//     input:  which of the three, their switches, bytes
//
// Files: the decoded text is held against one character after the other, the units and the line
// index against the line ends between them. Expressions: conversion is undone, and an escaped text
// finds itself. Arguments: there is an answer, within the bounds that the options promise.

#include "fuzz/input.h"
#include "fuzz/require.h"
#include "hosts/cli/command/options.h"
#include "hosts/cli/files/code_page.h"
#include "hosts/cli/files/file_bytes.h"
#include "hosts/cli/files/source_text.h"
#include "hosts/cli/search/expression.h"
#include "hosts/cli/search/line_index.h"
#include "hosts/cli/search/query.h"
#include "hosts/cli/search/units.h"

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

std::string_view TextOf(const SourceText& source) {
  return {source.Data(), static_cast<std::size_t>(source.Length())};
}

/// A character of the file and the byte that it becomes.
struct Expected {
  std::size_t offset;
  char byte;
};

/// The file's characters, read one by one.
std::vector<Expected> Decode(std::string_view file, std::size_t begin, bool utf8, bool phonetic) {
  const char placeholder = phonetic ? kPhoneticPlaceholder : kRegularExpressionPlaceholder;
  std::vector<Expected> characters;
  for (std::size_t at = begin; at < file.size();) {
    char byte = file[at];
    std::size_t length = 1;
    if (utf8) {
      const Utf8Character character = ReadUtf8(file.substr(at));
      Require(character.length >= 1 && character.length <= 4, "a character has 1 to 4 bytes");
      const auto known =
          character.valid ? CodePage::Get().ByteFor(character.code) : std::optional<char>();
      byte = known.value_or(placeholder);
      length = static_cast<std::size_t>(character.length);
    }
    if (phonetic && byte == '\0') byte = placeholder;
    characters.push_back({at, byte});
    at += length;
  }
  return characters;
}

void HoldDecoding(const SourceText& source, std::string_view bytes, bool phonetic) {
  Require(source.File() == bytes, "the file's bytes stay");
  Require(source.Data()[source.Length()] == '\0', "a zero byte stands behind the text");
  const auto begin = static_cast<std::size_t>(source.FileBegin());
  Require(begin == 0 || bytes.starts_with("\xEF\xBB\xBF"), "only a byte order mark is left out");

  const auto expected = Decode(bytes, begin, source.IsUtf8(), phonetic);
  Require(expected.size() == TextOf(source).size(), "every character is one byte");
  for (std::size_t i = 0; i < expected.size(); ++i) {
    Require(TextOf(source)[i] == expected[i].byte, "a character becomes its byte");
    Require(source.FileOffset(static_cast<int>(i)) == static_cast<int>(expected[i].offset),
            "an offset leads to the character's place in the file");
  }
  Require(source.FileOffset(source.Length()) == static_cast<int>(bytes.size()),
          "the end leads to the end");
  Require(!source.IsUtf8() || source.ToUtf8(bytes) == bytes, "UTF-8 is shown as it is");
  Require(source.IsUtf8() || IsValidUtf8(source.ToUtf8(bytes)), "a code page is shown as UTF-8");
}

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
int HoldUnits(std::string_view text, Scope scope) {
  UnitWalker walker(text, scope);
  Unit unit{};
  std::size_t last = 0;
  int units = 0;
  for (; walker.Next(unit); ++units) {
    Require(unit.begin >= static_cast<int>(last) && unit.begin <= unit.end &&
                unit.end <= static_cast<int>(text.size()),
            "units are ordered ranges of the text");
    const auto begin = static_cast<std::size_t>(unit.begin);
    const auto end = static_cast<std::size_t>(unit.end);
    const std::string_view content = text.substr(begin, end - begin);
    Require(IsLineEnds(text.substr(last, begin - last)), "only line ends lie between units");
    Require(scope != Scope::kLine || content.find('\n') == std::string_view::npos,
            "a line holds no line feed");
    Require(scope != Scope::kParagraph ||
                (!content.empty() && content.find("\n\n") == std::string_view::npos),
            "a paragraph has no empty line");
    last = end;
  }
  Require(IsLineEnds(text.substr(last)), "only line ends lie behind the last unit");
  Require(scope != Scope::kFile || units == 1, "a file is one unit");
  return units;
}

void HoldFlattening(std::string text) {
  const std::string before = text;
  FlattenLineEnds(text.data(), static_cast<int>(text.size()));
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool ofLineEnd = before[i] == '\r' && i + 1 < text.size() && before[i + 1] == '\n';
    Require(text[i] == (ofLineEnd ? '\n' : before[i]),
            "the carriage returns of line ends, and they alone, become line feeds");
  }
}

void HoldLineIndex(std::string_view file, int begin, int lines) {
  const LineIndex index(file, begin);
  Require(index.LineCount() == lines, "the index has the lines that the walker has");
  int previousEnd = begin;
  for (int line = 0; line < lines; ++line) {
    const Unit range = index.Line(line);
    Require(range.begin >= previousEnd && range.end >= range.begin, "lines are ordered");
    Require(index.LineOf(range.begin) == line && index.LineOf(range.end) == line,
            "a line holds its ends");
    previousEnd = range.end;
  }
}

void FuzzFile(Input& input) {
  constexpr Encoding kEncodings[] = {Encoding::kAuto, Encoding::kUtf8, Encoding::kWindows1252};
  const std::uint8_t switches = input.Byte();
  const bool phonetic = (switches & 1) != 0;
  const Encoding encoding = kEncodings[(switches >> 1) % 3];
  const std::string bytes = input.Rest();

  const SourceText source{FileBytes(bytes), encoding, phonetic};
  HoldDecoding(source, bytes, phonetic);
  HoldValidity(bytes);
  HoldUnits(TextOf(source), Scope::kFile);
  HoldUnits(TextOf(source), Scope::kParagraph);
  HoldFlattening(std::string(TextOf(source)));
  HoldLineIndex(bytes, source.FileBegin(), HoldUnits(TextOf(source), Scope::kLine));
}

/// Whether `text` can be found by itself: it is no operator of an expression, its blanks at the ends
/// are no part of a pattern, and a line feed separates patterns.
bool FindsItself(std::string_view text) {
  return !text.empty() && text.find_first_of(std::string_view("&!()\\\n\0", 7)) == text.npos &&
         text.find_first_of(" \t\v\f\r") == text.npos && text.size() <= 64;
}

void HoldEscaping(std::string text) {
  const std::string escaped = EscapePatternCharacters(text);
  if (!FindsItself(text)) return;
  Options options;
  options.caseSensitive = true;
  auto query = Query::Compile(escaped, options);
  Require(std::holds_alternative<Query>(query), "an escaped text is a pattern");
  std::vector<Match> matches;
  const int length = static_cast<int>(text.size());
  std::get<Query>(query).Search(text.data(), length, 0, matches);
  Require(matches == std::vector<Match>{{0, length}}, "an escaped text finds itself");
}

void FuzzExpression(Input& input) {
  constexpr const char* kEncodings[] = {"UTF-8",  "ANSI_X3.4-1968", "ISO-8859-15", "CP850",
                                        "UTF-16", "EUC-JP",         "no encoding"};
  const std::string_view encoding = kEncodings[input.Byte() % std::size(kEncodings)];
  const std::string typed = input.Rest();
  const auto converted = ConvertExpression(typed, encoding);
  if (const auto* fault = std::get_if<ExpressionFault>(&converted)) {
    Require(IsValidUtf8(fault->sentence) && fault->sentence.ends_with('.'),
            "a fault is told in a sentence");
    return;
  }
  const auto& expression = std::get<std::string>(converted);
  Require(encoding != "UTF-8" || CodePage::Get().ToUtf8(expression) == typed,
          "a converted expression is the one that was typed");
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
