#include "tests/query/reference_text.h"

#include <array>
#include <string>

namespace trovex::testing {

namespace {

/// The code points of the bytes 128 to 159; 0 where there is none.
constexpr std::array<int, 32> kUpperControls = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

int CodeOf(int codePoint) {
  if (codePoint < 128 || (codePoint >= 160 && codePoint < 256)) return codePoint;
  for (std::size_t i = 0; i < kUpperControls.size(); ++i) {
    if (kUpperControls[i] != 0 && kUpperControls[i] == codePoint) return 128 + static_cast<int>(i);
  }
  return kForeign;
}

/// The letter of the code page that `base` and the combining mark `mark` make together, or -1.
int Composed(int base, int mark) {
  struct Row {
    int mark;
    std::string_view bases;
    std::array<int, 14> letters;
  };
  static const Row rows[] = {
      {0x300, "AEIOUaeiou", {0xC0, 0xC8, 0xCC, 0xD2, 0xD9, 0xE0, 0xE8, 0xEC, 0xF2, 0xF9}},
      {0x301,
       "AEIOUYaeiouy",
       {0xC1, 0xC9, 0xCD, 0xD3, 0xDA, 0xDD, 0xE1, 0xE9, 0xED, 0xF3, 0xFA, 0xFD}},
      {0x302, "AEIOUaeiou", {0xC2, 0xCA, 0xCE, 0xD4, 0xDB, 0xE2, 0xEA, 0xEE, 0xF4, 0xFB}},
      {0x303, "AONaon", {0xC3, 0xD5, 0xD1, 0xE3, 0xF5, 0xF1}},
      {0x308,
       "AEIOUYaeiouy",
       {0xC4, 0xCB, 0xCF, 0xD6, 0xDC, 0x9F, 0xE4, 0xEB, 0xEF, 0xF6, 0xFC, 0xFF}},
      {0x30A, "Aa", {0xC5, 0xE5}},
      {0x327, "Cc", {0xC7, 0xE7}},
  };
  for (const Row& row : rows) {
    const std::size_t i = base < 128 ? row.bases.find(static_cast<char>(base)) : std::string::npos;
    if (row.mark == mark && i != std::string::npos) return row.letters[i];
  }
  return -1;
}

/// The length of the valid sequence at `i`, 0 if there is none, and its code point.
std::size_t ValidSequence(std::string_view text, std::size_t i, int& codePoint) {
  const auto byte = [&](std::size_t at) {
    return at < text.size() ? static_cast<int>(static_cast<unsigned char>(text[at])) : 0;
  };
  const int first = byte(i);
  const int length = first < 0x80             ? 1
                     : (first & 0xE0) == 0xC0 ? 2
                     : (first & 0xF0) == 0xE0 ? 3
                     : (first & 0xF8) == 0xF0 ? 4
                                              : 0;
  if (length == 0) return 0;
  codePoint = length == 1 ? first : first & (0xFF >> (length + 1));
  for (int k = 1; k < length; ++k) {
    const int next = byte(i + static_cast<std::size_t>(k));
    if ((next & 0xC0) != 0x80) return 0;
    codePoint = (codePoint << 6) | (next & 0x3F);
  }
  constexpr std::array<int, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
  if (codePoint < kLeast[static_cast<std::size_t>(length)] || codePoint > 0x10FFFF) return 0;
  if (codePoint >= 0xD800 && codePoint < 0xE000) return 0;
  return static_cast<std::size_t>(length);
}

}  // namespace

Characters ReadUtf8(std::string_view text) {
  Characters characters;
  for (std::size_t i = 0; i < text.size();) {
    int codePoint = 0;
    const std::size_t length = ValidSequence(text, i, codePoint);
    if (length == 0) {
      characters.push_back({static_cast<unsigned char>(text[i]), i, i + 1});
      ++i;
      continue;
    }
    const bool hasBase = !characters.empty() && characters.back().end == i &&
                         characters.back().end - characters.back().begin == 1;
    const int composed = hasBase ? Composed(characters.back().code, codePoint) : -1;
    if (composed >= 0) {
      characters.back() = {composed, characters.back().begin, i + length};
    } else {
      characters.push_back({CodeOf(codePoint), i, i + length});
    }
    i += length;
  }
  return characters;
}

Characters ReadLatin1(std::string_view text) {
  Characters characters;
  for (std::size_t i = 0; i < text.size(); ++i)
    characters.push_back({static_cast<unsigned char>(text[i]), i, i + 1});
  return characters;
}

bool IsUndefined(int byte) {
  return byte == 0x81 || byte == 0x8D || byte == 0x8F || byte == 0x90 || byte == 0x9D;
}

bool IsWordCharacter(int code) {
  if (code >= kForeign) return false;
  if (code < 128) {
    return code == '_' || (code >= '0' && code <= '9') || (code >= 'A' && code <= 'Z') ||
           (code >= 'a' && code <= 'z');
  }
  if (code >= 0xC0) return code != 0xD7 && code != 0xF7;
  for (const int letter : {0x83, 0x8A, 0x8C, 0x8E, 0x9A, 0x9C, 0x9E, 0x9F, 0xAA, 0xB5, 0xBA}) {
    if (code == letter) return true;
  }
  return false;
}

int LowerCase(int code) {
  if (code >= 'A' && code <= 'Z') return code + 32;
  if (code >= 0xC0 && code <= 0xDE && code != 0xD7) return code + 32;
  if (code == 0x8A || code == 0x8C || code == 0x8E) return code + 16;
  return code == 0x9F ? 0xFF : code;
}

int UpperCase(int code) {
  for (int upper = 0; upper < 256; ++upper) {
    if (upper != code && LowerCase(upper) == code) return upper;
  }
  return code;
}

std::string_view Utf8Of(int code) {
  static const std::array<std::string, 256> table = [] {
    std::array<std::string, 256> texts;
    for (int c = 0; c < 256; ++c) {
      std::string& text = texts[static_cast<std::size_t>(c)];
      if (c < 128) {
        text = static_cast<char>(c);
      } else {
        text = {static_cast<char>(0xC0 | (c >> 6)), static_cast<char>(0x80 | (c & 0x3F))};
      }
    }
    return texts;
  }();
  return table[static_cast<std::size_t>(code)];
}

}  // namespace trovex::testing
