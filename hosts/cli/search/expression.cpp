// Conversion and escaping of the typed expression.

#include "hosts/cli/search/expression.h"

#include "hosts/cli/files/code_page.h"
#include "hosts/cli/output/terminal.h"

#include <cstdio>
#include <optional>

namespace trovex::cli {

namespace {

constexpr std::string_view kPatternCharacters = ".[]*+?{}|^$";
constexpr std::string_view kOperators = "&!()";

ExpressionFault MissingCharacter(std::string_view character, char32_t code) {
  char number[16];
  std::snprintf(number, sizeof number, "U+%04X", static_cast<unsigned>(code));
  std::string sentence = "The expression holds the character \"";
  sentence.append(character).append("\" (").append(number);
  sentence += "), which windows-1252, the code page of the search, does not have.";
  return {sentence};
}

std::variant<std::string, ExpressionFault> FromUtf8(std::string_view utf8) {
  const CodePage& codePage = CodePage::Get();
  std::string result;
  while (!utf8.empty()) {
    const Utf8Character character = ReadUtf8(utf8);
    const std::string_view bytes = utf8.substr(0, static_cast<std::size_t>(character.length));
    if (!character.valid) return ExpressionFault{"The expression is not valid UTF-8."};
    const std::optional<char> byte = codePage.ByteFor(character.code);
    if (!byte.has_value()) return MissingCharacter(bytes, character.code);
    result += *byte;
    utf8.remove_prefix(bytes.size());
  }
  return result;
}

}  // namespace

std::variant<std::string, ExpressionFault> ConvertExpression(std::string_view typed,
                                                             std::string_view encoding) {
  if (IsUtf8Encoding(encoding)) return FromUtf8(typed);
  if (IsPlainAscii(encoding)) {
    return IsValidUtf8(typed) ? FromUtf8(typed) : std::string(typed);
  }
  const std::string name(encoding);
  const std::optional<std::string> utf8 = ConvertToUtf8(typed, name.c_str());
  if (!utf8.has_value()) {
    return ExpressionFault{"The expression is not valid in the terminal's encoding, " + name + "."};
  }
  return FromUtf8(*utf8);
}

std::string EscapePatternCharacters(std::string_view expression) {
  std::string result;
  for (std::size_t i = 0; i < expression.size(); ++i) {
    const char c = expression[i];
    if (c == '\\') {
      const char next = i + 1 < expression.size() ? expression[i + 1] : '\0';
      const bool escapes =
          next == '\\' || (next != '\0' && kOperators.find(next) != kOperators.npos);
      result += '\\';
      result += escapes ? next : '\\';
      if (escapes) ++i;
      continue;
    }
    if (kPatternCharacters.find(c) != kPatternCharacters.npos) result += '\\';
    result += c;
  }
  return result;
}

}  // namespace trovex::cli
