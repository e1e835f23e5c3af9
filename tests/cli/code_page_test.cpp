// UTF-8 and the code page, held against plain tables.

#include "hosts/cli/files/code_page.h"
#include "hosts/cli/files/utf8_validity.h"

#include <gtest/gtest.h>
#include <string>

namespace trovex::cli {
namespace {

TEST(Utf8, EveryCharacterComesBackFromItsBytes) {
  for (char32_t code = 0; code <= 0x10FFFF; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    std::string bytes;
    AppendUtf8(code, bytes);
    const Utf8Character character = ReadUtf8(bytes + "x");
    ASSERT_TRUE(character.valid) << bytes;
    ASSERT_TRUE(character.code == code) << bytes;
    ASSERT_EQ(character.length, static_cast<int>(bytes.size()));
  }
}

TEST(Utf8, WhatIsNotValidStandsAloneByteByByte) {
  for (const char* bytes :
       {"\x80", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x80\x80", "\xE2\x82", "\xED\xA0\x80",
        "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
    const Utf8Character character = ReadUtf8(bytes);
    EXPECT_FALSE(character.valid) << bytes;
    EXPECT_EQ(character.length, 1) << bytes;
    EXPECT_FALSE(IsValidUtf8(bytes)) << bytes;
  }
}

TEST(Utf8, AsciiPrefixEndsAtTheFirstHighByteWhereverItIs) {
  for (std::size_t length = 0; length < 40; ++length) {
    EXPECT_EQ(AsciiPrefixLength(std::string(length, 'a')), length);
    for (std::size_t high = 0; high < length; ++high) {
      std::string text(length, 'a');
      text[high] = '\xFC';
      EXPECT_EQ(AsciiPrefixLength(text), high);
    }
  }
}

TEST(CodePage, HoldsAsciiAndLatinOneAsTheyAre) {
  const CodePage& codePage = CodePage::Get();
  for (char32_t code = 0; code < 0x100; ++code) {
    if (code >= 0x80 && code < 0xA0) continue;
    EXPECT_EQ(codePage.ByteFor(code), static_cast<char>(code));
    std::string utf8;
    AppendUtf8(code, utf8);
    EXPECT_EQ(codePage.Utf8For(static_cast<char>(code)), utf8);
  }
}

TEST(CodePage, HasTheTypographyThatLatinOneLacks) {
  const CodePage& codePage = CodePage::Get();
  EXPECT_EQ(codePage.ByteFor(U'€'), '\x80');
  EXPECT_EQ(codePage.ByteFor(U'„'), '\x84');
  EXPECT_EQ(codePage.ByteFor(U'“'), '\x93');
  EXPECT_EQ(codePage.ByteFor(U'–'), '\x96');
  EXPECT_EQ(codePage.Utf8For('\x80'), "€");
}

TEST(CodePage, FiveBytesStandForNothing) {
  const CodePage& codePage = CodePage::Get();
  int undefined = 0;
  for (int byte = 0; byte < 256; ++byte)
    undefined += codePage.Utf8For(static_cast<char>(byte)) == "\xEF\xBF\xBD" ? 1 : 0;
  EXPECT_EQ(undefined, 5);
  EXPECT_EQ(codePage.Utf8For('\x81'), "\xEF\xBF\xBD");
  EXPECT_EQ(codePage.ByteFor(0x81), std::nullopt);
  EXPECT_EQ(codePage.ByteFor(0xFFFD), std::nullopt);
  EXPECT_EQ(codePage.ByteFor(U'Ω'), std::nullopt);
}

TEST(CodePage, TextsAreConvertedWhole) {
  EXPECT_EQ(CodePage::Get().ToUtf8("Stra\xDF"
                                   "e \x80"),
            "Straße €");
  EXPECT_EQ(CodePage::Get().ToUtf8(""), "");
}

TEST(ConvertToUtf8, KnowsOtherEncodings) {
  EXPECT_EQ(ConvertToUtf8("M\xFCller", "ISO-8859-1"), "Müller");
  EXPECT_EQ(ConvertToUtf8("\xFC", "UTF-8"), std::nullopt);
  EXPECT_EQ(ConvertToUtf8("a", "no-such-encoding"), std::nullopt);
}

}  // namespace
}  // namespace trovex::cli
