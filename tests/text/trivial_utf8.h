// The most trivial correct decoder of UTF-8 texts, against which the library's are held: every character
// is written down with its range, and a sequence is well-formed when it is what its code point is
// encoded as.

#ifndef TROVEX_TESTS_TEXT_TRIVIAL_UTF8_H
#define TROVEX_TESTS_TEXT_TRIVIAL_UTF8_H

#include "text/code_page.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::testing {

/// `codePoint` as UTF-8, as if surrogates could be encoded too.
inline std::string EncodeUtf8(char32_t codePoint) {
  const auto byte = [](char32_t value) { return static_cast<char>(value); };
  const auto more = [&](int shift) { return byte(0x80 | (codePoint >> shift & 0x3F)); };
  if (codePoint < 0x80) return {byte(codePoint)};
  if (codePoint < 0x800) return {byte(0xC0 | codePoint >> 6), more(0)};
  if (codePoint < 0x10000) return {byte(0xE0 | codePoint >> 12), more(6), more(0)};
  return {byte(0xF0 | codePoint >> 18), more(12), more(6), more(0)};
}

/// One character of a text.
struct TrivialCharacter {
  /// Its byte; nothing when the code page lacks it.
  std::optional<unsigned char> byte;
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// The code point of the sequence of `length` bytes at the beginning of `text`, if it is one.
inline std::optional<char32_t> SequenceOf(std::string_view text, std::size_t length) {
  if (text.size() < length) return std::nullopt;
  char32_t codePoint = static_cast<unsigned char>(text[0]);
  if (length > 1) codePoint &= 0x7FU >> length;
  for (std::size_t i = 1; i < length; ++i)
    codePoint = codePoint << 6 | (static_cast<unsigned char>(text[i]) & 0x3FU);
  const bool isSurrogate = codePoint >= 0xD800 && codePoint < 0xE000;
  if (isSurrogate || codePoint > 0x10FFFF) return std::nullopt;
  if (EncodeUtf8(codePoint) != text.substr(0, length)) return std::nullopt;
  return codePoint;
}

struct Composition {
  char base;
  char16_t mark;
  unsigned char composed;
};

inline constexpr Composition kCompositions[] = {
    {'A', 0x300, 0xC0}, {'A', 0x301, 0xC1}, {'A', 0x302, 0xC2}, {'A', 0x303, 0xC3},
    {'A', 0x308, 0xC4}, {'A', 0x30A, 0xC5}, {'C', 0x327, 0xC7}, {'E', 0x300, 0xC8},
    {'E', 0x301, 0xC9}, {'E', 0x302, 0xCA}, {'E', 0x308, 0xCB}, {'I', 0x300, 0xCC},
    {'I', 0x301, 0xCD}, {'I', 0x302, 0xCE}, {'I', 0x308, 0xCF}, {'N', 0x303, 0xD1},
    {'O', 0x300, 0xD2}, {'O', 0x301, 0xD3}, {'O', 0x302, 0xD4}, {'O', 0x303, 0xD5},
    {'O', 0x308, 0xD6}, {'U', 0x300, 0xD9}, {'U', 0x301, 0xDA}, {'U', 0x302, 0xDB},
    {'U', 0x308, 0xDC}, {'Y', 0x301, 0xDD}, {'a', 0x300, 0xE0}, {'a', 0x301, 0xE1},
    {'a', 0x302, 0xE2}, {'a', 0x303, 0xE3}, {'a', 0x308, 0xE4}, {'a', 0x30A, 0xE5},
    {'c', 0x327, 0xE7}, {'e', 0x300, 0xE8}, {'e', 0x301, 0xE9}, {'e', 0x302, 0xEA},
    {'e', 0x308, 0xEB}, {'i', 0x300, 0xEC}, {'i', 0x301, 0xED}, {'i', 0x302, 0xEE},
    {'i', 0x308, 0xEF}, {'n', 0x303, 0xF1}, {'o', 0x300, 0xF2}, {'o', 0x301, 0xF3},
    {'o', 0x302, 0xF4}, {'o', 0x303, 0xF5}, {'o', 0x308, 0xF6}, {'u', 0x300, 0xF9},
    {'u', 0x301, 0xFA}, {'u', 0x302, 0xFB}, {'u', 0x308, 0xFC}, {'y', 0x301, 0xFD},
    {'y', 0x308, 0xFF}, {'Y', 0x308, 0x9F}};

inline std::vector<TrivialCharacter> DecodeTrivially(std::string_view text) {
  std::vector<TrivialCharacter> characters;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t length = 1;
    while (length <= 4 && !SequenceOf(text.substr(at), length))
      ++length;
    if (length > 4) {
      characters.push_back({static_cast<unsigned char>(text[at]), at, at + 1});
      ++at;
      continue;
    }
    const char32_t codePoint = *SequenceOf(text.substr(at), length);
    bool isComposed = false;
    for (const Composition& composition : kCompositions) {
      if (at == 0 || text[at - 1] != composition.base || codePoint != composition.mark) continue;
      characters.back().byte = composition.composed;
      characters.back().end = at + length;
      isComposed = true;
    }
    if (!isComposed) characters.push_back({UnicodeToCodePage(codePoint), at, at + length});
    at += length;
  }
  return characters;
}

/// Of each character its byte, of one that the code page lacks `substitute`.
inline std::string BytesOf(const std::vector<TrivialCharacter>& characters,
                           unsigned char substitute) {
  std::string bytes;
  for (const TrivialCharacter& character : characters)
    bytes += static_cast<char>(character.byte.value_or(substitute));
  return bytes;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_TEXT_TRIVIAL_UTF8_H
