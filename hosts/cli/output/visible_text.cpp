// Character by character, where something stands that is not plain ASCII.

#include "hosts/cli/output/visible_text.h"

#include "hosts/cli/files/code_page.h"
#include "hosts/cli/files/utf8_validity.h"

#include <cstdio>

namespace trovex::cli {

namespace {

bool IsControl(char32_t code) {
  return (code < 0x20 && code != '\t') || (code >= 0x7F && code < 0xA0);
}

/// Whether the character turns the direction in which the text after it is shown.
bool TurnsDirection(char32_t code) {
  return code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

void AppendHexadecimal(std::string_view bytes, std::string& out) {
  for (const char c : bytes) {
    char text[8];
    std::snprintf(text, sizeof text, "\\x%02X",
                  static_cast<unsigned>(static_cast<unsigned char>(c)));
    out += text;
  }
}

/// The length of the longest prefix that is written as it is in every form.
std::size_t PlainPrefixLength(std::string_view text, bool visible) {
  if (!visible) return AsciiPrefixLength(text);
  std::size_t i = 0;
  while (i < text.size() && ((text[i] >= 0x20 && text[i] < 0x7F) || text[i] == '\t'))
    ++i;
  return i;
}

/// What stands at the begin of `text` when it is read in this form.
Utf8Character ReadCharacter(std::string_view text, const TextForm& form) {
  if (!form.fromLatin1) {
    const Utf8Character character = ReadUtf8(text);
    if (character.valid) return character;
  }
  const auto byte = static_cast<unsigned char>(text.front());
  return {byte, 1, byte < 0x80};
}

/// Whether a terminal might obey the character. One that does not read UTF-8 has controls among the
/// bytes from 0x80 on.
bool IsObeyed(const Utf8Character& character, bool utf8) {
  if (!character.valid) return !utf8 && character.code < 0xA0;
  return IsObeyedByTerminals(character.code);
}

std::size_t ColumnsOfCharacter(char32_t code) {
  const bool combining = (code >= 0x300 && code < 0x370) || (code >= 0x20D0 && code < 0x2100) ||
                         (code >= 0xFE00 && code < 0xFE10);
  if (combining) return 0;
  const bool wide = (code >= 0x1100 && code < 0x1160) || (code >= 0x2E80 && code < 0xA4D0) ||
                    (code >= 0xAC00 && code < 0xD7A4) || (code >= 0xF900 && code < 0xFB00) ||
                    (code >= 0xFE30 && code < 0xFE70) || (code >= 0xFF00 && code < 0xFF61) ||
                    (code >= 0x1F300 && code < 0x1FA00) || (code >= 0x20000 && code < 0x40000);
  return wide ? 2 : 1;
}

}  // namespace

bool IsObeyedByTerminals(char32_t code) {
  return IsControl(code) || TurnsDirection(code);
}

/// No character has more than three bytes after its first.
std::string_view WholeCharacters(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  const auto isInside = [text](std::size_t place) {
    return (static_cast<unsigned char>(text[place]) & 0xC0U) == 0x80U;
  };
  std::size_t end = most;
  while (end > most - 3 && isInside(end))
    --end;
  return text.substr(0, isInside(end) ? most : end);
}

void AppendText(std::string_view text, const TextForm& form, std::string& out) {
  const bool staysAsItIs = !form.utf8 || (!form.fromLatin1 && IsValidUtf8(text));
  if (!form.visible && staysAsItIs) {
    out += text;
    return;
  }
  while (!text.empty()) {
    const std::size_t plain = PlainPrefixLength(text, form.visible);
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) return;
    const Utf8Character character = ReadCharacter(text, form);
    const auto bytes = text.substr(0, static_cast<std::size_t>(character.length));
    text.remove_prefix(bytes.size());
    if (form.visible && IsObeyed(character, form.utf8)) {
      AppendHexadecimal(bytes, out);
    } else if (character.valid || !form.utf8) {
      out += bytes;
    } else {
      out += CodePage::Get().Utf8For(bytes.front());
    }
  }
}

std::string VisibleText(std::string_view text) {
  std::string visible;
  AppendText(text, {true, false, true}, visible);
  return visible;
}

std::size_t ColumnsOf(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) {
    const Utf8Character character = ReadUtf8(text);
    columns += ColumnsOfCharacter(character.code);
    text.remove_prefix(static_cast<std::size_t>(character.length));
  }
  return columns;
}

std::size_t CharactersOf(std::string_view text) {
  std::size_t characters = 0;
  for (; !text.empty(); ++characters)
    text.remove_prefix(static_cast<std::size_t>(ReadUtf8(text).length));
  return characters;
}

}  // namespace trovex::cli
