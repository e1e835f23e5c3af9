// Members and their escapes.

#include "hosts/cli/output/json.h"

#include "hosts/cli/files/code_page.h"
#include "hosts/cli/files/utf8_validity.h"
#include "hosts/cli/output/visible_text.h"

#include <charconv>
#include <cstdio>

namespace trovex::cli {

namespace {

void AppendEscape(char32_t code, std::string& out) {
  char number[8];
  std::snprintf(number, sizeof number, "\\u%04X", static_cast<unsigned>(code));
  out += number;
}

/// All that a terminal obeys and is no ASCII begins with one of two bytes.
bool StandsForItself(char c) {
  return c != '"' && c != '\\' && static_cast<unsigned char>(c) >= 0x20 && c != 0x7F &&
         c != '\xC2' && c != '\xE2';
}

/// JSON may be read on a terminal, so what a terminal obeys is escaped, too.
void AppendEscaped(std::string_view text, std::string& out) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t begin = i;
    while (i < text.size() && StandsForItself(text[i]))
      ++i;
    out += text.substr(begin, i - begin);
    if (i == text.size()) break;
    const char c = text[i];
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (c == '\xC2' || c == '\xE2') {
      const Utf8Character character = ReadUtf8(text.substr(i));
      const auto length = static_cast<std::size_t>(character.length);
      if (IsObeyedByTerminals(character.code)) {
        AppendEscape(character.code, out);
      } else {
        out += text.substr(i, length);
      }
      i += length - 1;
    } else {
      AppendEscape(static_cast<unsigned char>(c), out);
    }
  }
}

std::string Base64(std::string_view bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::string_view group = bytes.substr(i, 3);
    unsigned bits = 0;
    for (std::size_t k = 0; k < 3; ++k)
      bits = bits << 8 | (k < group.size() ? static_cast<unsigned char>(group[k]) : 0U);
    for (std::size_t k = 0; k < 4; ++k)
      text += k <= group.size() ? kDigits[bits >> (18 - 6 * k) & 63U] : '=';
  }
  return text;
}

}  // namespace

void JsonObject::Name(std::string_view name) {
  if (!first_) out_ += ',';
  first_ = false;
  out_ += '"';
  out_ += name;
  out_ += "\":";
}

JsonObject& JsonObject::Text(std::string_view name, std::string_view value) {
  BeginText(name);
  AppendEscaped(value, out_);
  EndText();
  return *this;
}

void JsonObject::BeginText(std::string_view name) {
  Name(name);
  out_ += '"';
}

void JsonObject::AddText(std::string_view part) {
  AppendEscaped(part, out_);
}

JsonObject& JsonObject::Number(std::string_view name, std::int64_t value) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  Name(name);
  out_.append(digits, static_cast<std::size_t>(end - digits));
  return *this;
}

JsonObject& JsonObject::Seconds(std::string_view name, double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", value);
  Name(name);
  out_ += text;
  return *this;
}

JsonObject& JsonObject::Flag(std::string_view name, bool value) {
  Name(name);
  out_ += value ? "true" : "false";
  return *this;
}

JsonObject& JsonObject::Null(std::string_view name) {
  Name(name);
  out_ += "null";
  return *this;
}

JsonObject& JsonObject::File(std::string_view name) {
  if (IsValidUtf8(name)) return Text("file", name);
  std::string utf8;
  AppendText(name, {true, false, false}, utf8);
  return Text("file", utf8).Text("file_base64", Base64(name));
}

}  // namespace trovex::cli
