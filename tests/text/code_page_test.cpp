// The code page against lists written by hand and against what must hold among its parts.

#include "text/code_page.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <set>
#include <string_view>

namespace trovex {
namespace {

using Byte = unsigned char;

CharSet SetOf(std::string_view bytes) {
  CharSet set;
  for (const char c : bytes)
    set.set(static_cast<Byte>(c));
  return set;
}

CharSet Class(std::string_view name) {
  const std::optional<CharSet> set = CodePageClass(name);
  EXPECT_TRUE(set.has_value()) << name;
  return set.value_or(CharSet());
}

CharSet Undefined() {
  CharSet set;
  for (const Byte c : kUndefinedBytes)
    set.set(c);
  return set;
}

// All letters from 128 on, in two halves: those with a partner of the other case, and those without.
constexpr std::string_view kHighUpper =
    "\x8A\x8C\x8E\x9F\xC0\xC1\xC2\xC3\xC4\xC5\xC6\xC7\xC8\xC9\xCA\xCB\xCC\xCD\xCE\xCF"
    "\xD0\xD1\xD2\xD3\xD4\xD5\xD6\xD8\xD9\xDA\xDB\xDC\xDD\xDE";
constexpr std::string_view kHighLower =
    "\x9A\x9C\x9E\xFF\xE0\xE1\xE2\xE3\xE4\xE5\xE6\xE7\xE8\xE9\xEA\xEB\xEC\xED\xEE\xEF"
    "\xF0\xF1\xF2\xF3\xF4\xF5\xF6\xF8\xF9\xFA\xFB\xFC\xFD\xFE";
constexpr std::string_view kWithoutPartner = "\x83\xAA\xB5\xBA\xDF";

TEST(CodePage, HasTheLettersOfThePage) {
  const CharSet high = SetOf(kHighUpper) | SetOf(kHighLower) | SetOf(kWithoutPartner);
  for (int c = 0; c < 256; ++c) {
    const bool expected = c < 128 ? std::isalpha(c) != 0 : high[static_cast<std::size_t>(c)];
    EXPECT_EQ(IsCodePageLetter(static_cast<Byte>(c)), expected) << c;
    EXPECT_EQ(Class("alpha")[static_cast<std::size_t>(c)], expected) << c;
  }
}

TEST(CodePage, WordsAreLettersDigitsAndTheUnderscore) {
  for (int c = 0; c < 256; ++c) {
    const Byte byte = static_cast<Byte>(c);
    const bool expected = IsCodePageLetter(byte) || (c >= '0' && c <= '9') || c == '_';
    EXPECT_EQ(IsCodePageWord(byte), expected) << c;
    EXPECT_EQ(CodePageWords()[byte], expected) << c;
  }
}

TEST(CodePage, PairsOfCasesAreThoseOfWhichThePageHasBoth) {
  for (int c = 0; c < 256; ++c) {
    const Byte byte = static_cast<Byte>(c);
    const std::size_t upper = kHighUpper.find(static_cast<char>(c));
    const std::size_t lower = kHighLower.find(static_cast<char>(c));
    Byte expectedUpper = byte;
    Byte expectedLower = byte;
    if (c < 128) {
      expectedUpper = static_cast<Byte>(std::toupper(c));
      expectedLower = static_cast<Byte>(std::tolower(c));
    }
    if (lower != std::string_view::npos) expectedUpper = static_cast<Byte>(kHighUpper[lower]);
    if (upper != std::string_view::npos) expectedLower = static_cast<Byte>(kHighLower[upper]);
    EXPECT_EQ(CodePageUpper(byte), expectedUpper) << c;
    EXPECT_EQ(CodePageLower(byte), expectedLower) << c;
  }
}

TEST(CodePage, ClassesBelow128AreThoseOfTheCLocale) {
  for (int c = 0; c < 128; ++c) {
    const std::size_t i = static_cast<std::size_t>(c);
    EXPECT_EQ(Class("alnum")[i], std::isalnum(c) != 0) << c;
    EXPECT_EQ(Class("alpha")[i], std::isalpha(c) != 0) << c;
    EXPECT_EQ(Class("blank")[i], std::isblank(c) != 0) << c;
    EXPECT_EQ(Class("cntrl")[i], std::iscntrl(c) != 0) << c;
    EXPECT_EQ(Class("digit")[i], std::isdigit(c) != 0) << c;
    EXPECT_EQ(Class("graph")[i], std::isgraph(c) != 0) << c;
    EXPECT_EQ(Class("lower")[i], std::islower(c) != 0) << c;
    EXPECT_EQ(Class("print")[i], std::isprint(c) != 0) << c;
    EXPECT_EQ(Class("punct")[i], std::ispunct(c) != 0) << c;
    EXPECT_EQ(Class("space")[i], std::isspace(c) != 0) << c;
    EXPECT_EQ(Class("upper")[i], std::isupper(c) != 0) << c;
    EXPECT_EQ(Class("xdigit")[i], std::isxdigit(c) != 0) << c;
  }
}

TEST(CodePage, ClassesFrom128OnPartitionTheDefinedBytes) {
  const CharSet upperHalf = ~SetOf("") << 128;
  const CharSet noBreakSpace = SetOf("\xA0");
  EXPECT_EQ(Class("upper") & upperHalf, SetOf(kHighUpper));
  EXPECT_EQ(Class("lower") & upperHalf, SetOf(kHighLower) | SetOf(kWithoutPartner));
  EXPECT_EQ(Class("space") & upperHalf, noBreakSpace);
  EXPECT_EQ(Class("blank") & upperHalf, noBreakSpace);
  EXPECT_TRUE((Class("digit") & upperHalf).none());
  EXPECT_TRUE((Class("xdigit") & upperHalf).none());
  EXPECT_TRUE((Class("cntrl") & upperHalf).none());
  EXPECT_EQ(Class("alnum"), Class("alpha") | Class("digit"));
  EXPECT_EQ(Class("graph"), Class("alnum") | Class("punct"));
  EXPECT_TRUE((Class("alnum") & Class("punct")).none());
  EXPECT_EQ(Class("print"), Class("graph") | SetOf(" \xA0"));
  EXPECT_EQ(Class("print") & upperHalf, upperHalf & ~Undefined());
}

TEST(CodePage, KnowsNoOtherClasses) {
  for (const std::string_view name : {"", "Alpha", "alph", "alphas", "word", "ascii"})
    EXPECT_FALSE(CodePageClass(name).has_value()) << name;
}

TEST(CodePage, MapsEveryCharacterToItsCodePointAndBack) {
  std::set<char32_t> codePoints;
  for (int c = 0; c < 256; ++c) {
    const Byte byte = static_cast<Byte>(c);
    const char32_t codePoint = CodePageToUnicode(byte);
    codePoints.insert(codePoint);
    if (Undefined()[byte]) {
      EXPECT_EQ(codePoint, static_cast<char32_t>(c));
    } else {
      EXPECT_EQ(UnicodeToCodePage(codePoint), byte) << c;
    }
    if (c < 128 || c >= 160) {
      EXPECT_EQ(codePoint, static_cast<char32_t>(c));
    }
  }
  EXPECT_EQ(codePoints.size(), 256U);
  EXPECT_EQ(CodePageToUnicode(0x80), U'\u20AC');
  EXPECT_EQ(CodePageToUnicode(0x84), U'\u201E');
  EXPECT_EQ(CodePageToUnicode(0x8A), U'\u0160');
  EXPECT_EQ(CodePageToUnicode(0x96), U'\u2013');
  EXPECT_EQ(CodePageToUnicode(0x9F), U'\u0178');
}

TEST(CodePage, LacksAllOtherCodePoints) {
  int known = 0;
  for (char32_t codePoint = 0; codePoint <= 0x110000; ++codePoint) {
    const std::optional<Byte> byte = UnicodeToCodePage(codePoint);
    if (!byte) continue;
    ++known;
    ASSERT_EQ(CodePageToUnicode(*byte), codePoint);
  }
  EXPECT_EQ(known, 251);
  EXPECT_FALSE(UnicodeToCodePage(0xFFFFFFFF).has_value());
}

}  // namespace
}  // namespace trovex
