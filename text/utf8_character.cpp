// Which letters and marks are one character.

#include "text/utf8_character.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace trovex {

namespace {

struct Mark {
  char32_t codePoint;
  /// Letters, each with the character that it is together with the mark after it.
  std::string_view pairs;
};

constexpr std::array<Mark, 7> kMarks = {{
    {0x300,
     "A\xC0"
     "E\xC8"
     "I\xCC"
     "O\xD2"
     "U\xD9"
     "a\xE0"
     "e\xE8"
     "i\xEC"
     "o\xF2"
     "u\xF9"},
    {0x301,
     "A\xC1"
     "E\xC9"
     "I\xCD"
     "O\xD3"
     "U\xDA"
     "Y\xDD"
     "a\xE1"
     "e\xE9"
     "i\xED"
     "o\xF3"
     "u\xFA"
     "y\xFD"},
    {0x302,
     "A\xC2"
     "E\xCA"
     "I\xCE"
     "O\xD4"
     "U\xDB"
     "a\xE2"
     "e\xEA"
     "i\xEE"
     "o\xF4"
     "u\xFB"},
    {0x303,
     "A\xC3"
     "N\xD1"
     "O\xD5"
     "a\xE3"
     "n\xF1"
     "o\xF5"},
    {0x308,
     "A\xC4"
     "E\xCB"
     "I\xCF"
     "O\xD6"
     "U\xDC"
     "Y\x9F"
     "a\xE4"
     "e\xEB"
     "i\xEF"
     "o\xF6"
     "u\xFC"
     "y\xFF"},
    {0x30A,
     "A\xC5"
     "a\xE5"},
    {0x327,
     "C\xC7"
     "c\xE7"},
}};

constexpr std::size_t kMarkCount = kLastMark - kFirstMark + 1;
using Compositions = std::array<std::array<unsigned char, 128>, kMarkCount>;

constexpr Compositions MakeCompositions() {
  Compositions compositions{};
  for (const Mark& mark : kMarks) {
    for (std::size_t i = 0; i < mark.pairs.size(); i += 2) {
      compositions[mark.codePoint - kFirstMark][static_cast<unsigned char>(mark.pairs[i])] =
          static_cast<unsigned char>(mark.pairs[i + 1]);
    }
  }
  return compositions;
}

constexpr Compositions kCompositions = MakeCompositions();

bool IsWord(const Utf8Sequence& sequence) {
  if (!sequence.isWellFormed) return IsCodePageWord(static_cast<unsigned char>(sequence.codePoint));
  const std::optional<unsigned char> c = UnicodeToCodePage(sequence.codePoint);
  return c.has_value() && IsCodePageWord(*c);
}

}  // namespace

bool IsWordAt(const unsigned char* at, const unsigned char* end) {
  return IsWord(ReadSequence(at, end));
}

bool IsWordBefore(const unsigned char* begin, const unsigned char* at) {
  const auto before = static_cast<std::size_t>(at - begin);
  for (std::size_t length = 1; length <= std::min(before, kLongestSequence); ++length) {
    const unsigned char* const first = at - length;
    const Utf8Sequence sequence = ReadSequence(first, at);
    if (!sequence.isWellFormed || sequence.length != length) continue;
    // All letters with a mark are letters.
    return ComposedWithLast(begin, first, sequence) != 0 || IsWord(sequence);
  }
  return IsCodePageWord(at[-1]);
}

unsigned char Compose(unsigned char base, char32_t mark) {
  if (base >= 128 || mark < kFirstMark || mark > kLastMark) return 0;
  return kCompositions[mark - kFirstMark][base];
}

void AppendUtf8(char32_t codePoint, std::string& to) {
  const auto add = [&to](char32_t byte) { to += static_cast<char>(byte); };
  if (codePoint < 0x80) {
    add(codePoint);
  } else if (codePoint < 0x800) {
    add(0xC0 | codePoint >> 6);
    add(0x80 | (codePoint & 0x3F));
  } else {
    add(0xE0 | codePoint >> 12);
    add(0x80 | (codePoint >> 6 & 0x3F));
    add(0x80 | (codePoint & 0x3F));
  }
}

}  // namespace trovex
