// Two things are told of the page and all else follows: the code points of bytes 128 to 159, where the
// page differs from Latin-1, and which letters are pairs. Code points are mapped back with one table
// that reaches to the last of the page's.

#include "text/code_page.h"

#include <algorithm>
#include <cstddef>

#include "text/byte_map.h"

namespace trovex {

namespace {

using Byte = unsigned char;

constexpr Byte kFirstOwn = 0x80;
constexpr Byte kFirstLatin1 = 0xA0;

// Zero: undefined.
constexpr std::array<char32_t, kFirstLatin1 - kFirstOwn> kOwnCodePoints = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // € ‚ ƒ „ … † ‡
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,       // ˆ ‰ Š ‹ Œ Ž
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // ‘ ’ “ ” • – —
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,  // ˜ ™ š › œ ž Ÿ
};

constexpr char32_t kLastCodePoint = 0x2122;

/// The byte of every code point; 0 where the page lacks it.
using BytesOfCodePoints = std::array<Byte, kLastCodePoint + 1>;

constexpr BytesOfCodePoints MakeBytesOfCodePoints() {
  BytesOfCodePoints bytes{};
  for (std::size_t c = 1; c < 256; ++c) {
    if (c < kFirstOwn || c >= kFirstLatin1) bytes[c] = static_cast<Byte>(c);
  }
  for (std::size_t i = 0; i < kOwnCodePoints.size(); ++i) {
    if (kOwnCodePoints[i] != 0) bytes[kOwnCodePoints[i]] = static_cast<Byte>(kFirstOwn + i);
  }
  return bytes;
}

constexpr BytesOfCodePoints kBytes = MakeBytesOfCodePoints();

constexpr Byte kNoBreakSpace = 0xA0;
constexpr Byte kFeminineOrdinal = 0xAA, kMicro = 0xB5, kMasculineOrdinal = 0xBA;
constexpr Byte kFlorin = 0x83, kSharpS = 0xDF;
constexpr Byte kTimes = 0xD7;
constexpr Byte kUpperYDiaeresis = 0x9F, kLowerYDiaeresis = 0xFF;

constexpr bool IsIn(int c, int first, int last) {
  return first <= c && c <= last;
}

constexpr bool IsUndefined(int c) {
  return IsIn(c, kFirstOwn, kFirstLatin1 - 1) &&
         kOwnCodePoints[static_cast<std::size_t>(c - kFirstOwn)] == 0;
}

/// The lower-case partner of an upper-case letter, or 0.
constexpr int LowerPartner(int c) {
  if (IsIn(c, 'A', 'Z') || (IsIn(c, 0xC0, 0xDE) && c != kTimes)) return c + 32;
  if (c == 0x8A || c == 0x8C || c == 0x8E) return c + 16;  // Š Œ Ž
  return c == kUpperYDiaeresis ? kLowerYDiaeresis : 0;
}

struct Pairs {
  ByteMap upper{};
  ByteMap lower{};
};

constexpr Pairs MakePairs() {
  Pairs pairs;
  for (std::size_t c = 0; c < 256; ++c)
    pairs.upper[c] = pairs.lower[c] = static_cast<Byte>(c);
  for (int c = 0; c < 256; ++c) {
    const int partner = LowerPartner(c);
    if (partner == 0) continue;
    pairs.lower[static_cast<std::size_t>(c)] = static_cast<Byte>(partner);
    pairs.upper[static_cast<std::size_t>(partner)] = static_cast<Byte>(c);
  }
  return pairs;
}

constexpr Pairs kPairs = MakePairs();

constexpr bool IsUpper(int c) {
  return LowerPartner(c) != 0;
}

constexpr bool IsLower(int c) {
  return kPairs.upper[static_cast<std::size_t>(c)] != c || c == kSharpS || c == kFlorin ||
         c == kFeminineOrdinal || c == kMasculineOrdinal || c == kMicro;
}

constexpr bool IsLetter(int c) {
  return IsUpper(c) || IsLower(c);
}

constexpr bool IsDigit(int c) {
  return IsIn(c, '0', '9');
}

constexpr bool IsAlnum(int c) {
  return IsLetter(c) || IsDigit(c);
}

constexpr bool IsWord(int c) {
  return IsAlnum(c) || c == '_';
}

constexpr bool IsBlank(int c) {
  return c == ' ' || c == '\t' || c == kNoBreakSpace;
}

constexpr bool IsSpace(int c) {
  return IsBlank(c) || IsIn(c, '\n', '\r');
}

constexpr bool IsControl(int c) {
  return c < ' ' || c == 127;
}

constexpr bool IsGraph(int c) {
  return !IsControl(c) && !IsSpace(c) && !IsUndefined(c);
}

constexpr bool IsPrint(int c) {
  return IsGraph(c) || c == ' ' || c == kNoBreakSpace;
}

constexpr bool IsPunctuation(int c) {
  return IsGraph(c) && !IsAlnum(c);
}

constexpr bool IsHexDigit(int c) {
  return IsDigit(c) || IsIn(c, 'A', 'F') || IsIn(c, 'a', 'f');
}

using Predicate = bool (*)(int);

struct NamedClass {
  std::string_view name;
  Predicate holds;
};

constexpr std::array<NamedClass, 12> kClasses = {{{"alnum", IsAlnum},
                                                  {"alpha", IsLetter},
                                                  {"blank", IsBlank},
                                                  {"cntrl", IsControl},
                                                  {"digit", IsDigit},
                                                  {"graph", IsGraph},
                                                  {"lower", IsLower},
                                                  {"print", IsPrint},
                                                  {"punct", IsPunctuation},
                                                  {"space", IsSpace},
                                                  {"upper", IsUpper},
                                                  {"xdigit", IsHexDigit}}};

CharSet SetOf(Predicate holds) {
  CharSet set;
  for (int c = 0; c < 256; ++c)
    set.set(static_cast<std::size_t>(c), holds(c));
  return set;
}

}  // namespace

bool IsCodePageLetter(unsigned char c) {
  return IsLetter(c);
}

bool IsCodePageWord(unsigned char c) {
  return IsWord(c);
}

const CharSet& CodePageWords() {
  static const CharSet words = SetOf(IsWord);
  return words;
}

unsigned char CodePageUpper(unsigned char c) {
  return kPairs.upper[c];
}

unsigned char CodePageLower(unsigned char c) {
  return kPairs.lower[c];
}

std::optional<CharSet> CodePageClass(std::string_view name) {
  const auto* const found =
      std::find_if(kClasses.begin(), kClasses.end(),
                   [name](const NamedClass& entry) { return entry.name == name; });
  if (found == kClasses.end()) return std::nullopt;
  return SetOf(found->holds);
}

char32_t CodePageToUnicode(unsigned char c) {
  if (!IsIn(c, kFirstOwn, kFirstLatin1 - 1) || IsUndefined(c)) return c;
  return kOwnCodePoints[static_cast<std::size_t>(c - kFirstOwn)];
}

std::optional<unsigned char> UnicodeToCodePage(char32_t codePoint) {
  if (codePoint == 0) return Byte{0};
  if (codePoint >= kBytes.size() || kBytes[codePoint] == 0) return std::nullopt;
  return kBytes[codePoint];
}

}  // namespace trovex
