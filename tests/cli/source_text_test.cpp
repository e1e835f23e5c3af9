// Decoding and the way back to the file's offsets, held against one character at a time.

#include "hosts/cli/files/source_text.h"

#include "hosts/cli/files/code_page.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace trovex::cli {
namespace {

std::string TextOf(const SourceText& text) {
  return {text.Data(), static_cast<std::size_t>(text.Length())};
}

SourceText Decode(std::string_view file, Encoding encoding = Encoding::kAuto,
                  bool phonetic = false) {
  return SourceText(FileBytes(file), encoding, phonetic);
}

TEST(SourceText, AsciiIsSearchedAsItIs) {
  const SourceText text = Decode("abc\ndef");
  EXPECT_EQ(TextOf(text), "abc\ndef");
  EXPECT_EQ(text.Data(), text.File().data());
  EXPECT_EQ(text.FileOffset(5), 5);
  EXPECT_EQ(text.FileOffset(7), 7);
  EXPECT_EQ(text.Data()[7], '\0');
}

TEST(SourceText, Utf8BecomesOneByteACharacter) {
  const SourceText text = Decode("Grün €");
  EXPECT_TRUE(text.IsUtf8());
  EXPECT_EQ(TextOf(text), "Gr\xFCn \x80");
  EXPECT_EQ(text.FileOffset(2), 2);
  EXPECT_EQ(text.FileOffset(3), 4);
  EXPECT_EQ(text.FileOffset(5), 6);
  EXPECT_EQ(text.FileOffset(6), 9);
}

TEST(SourceText, AutoTakesWhatIsNotValidUtf8AsTheCodePage) {
  const SourceText text = Decode("Gr\xFCn \x80");
  EXPECT_FALSE(text.IsUtf8());
  EXPECT_EQ(TextOf(text), "Gr\xFCn \x80");
  EXPECT_EQ(text.ToUtf8(text.File()), "Grün €");
}

TEST(SourceText, TheCodePageIsTakenAtItsWord) {
  const SourceText text = Decode("ü", Encoding::kWindows1252);
  EXPECT_EQ(TextOf(text), "\xC3\xBC");
  EXPECT_EQ(text.ToUtf8(text.File()), "Ã¼");
}

TEST(SourceText, ACharacterThatTheCodePageLacksIsOnePlaceholder) {
  EXPECT_EQ(TextOf(Decode("aΩb😀c")), std::string("a\0b\0c", 5));
  EXPECT_EQ(TextOf(Decode("aΩb", Encoding::kAuto, true)),
            "a\x81"
            "b");
}

TEST(SourceText, InvalidUtf8IsOnePlaceholderAByte) {
  const SourceText text = Decode(
      "a\xE2\x82"
      "b",
      Encoding::kUtf8);
  EXPECT_EQ(TextOf(text), std::string("a\0\0b", 4));
  EXPECT_EQ(text.FileOffset(3), 3);
}

TEST(SourceText, PhoneticTextsHoldNoZeroByte) {
  const std::string file("Mei\0er", 6);
  EXPECT_EQ(TextOf(Decode(file, Encoding::kAuto, true)),
            "Mei\x81"
            "er");
  EXPECT_EQ(TextOf(Decode(file)), file);
}

TEST(SourceText, AByteOrderMarkIsNoText) {
  const SourceText ascii = Decode(
      "\xEF\xBB\xBF"
      "abc");
  EXPECT_EQ(TextOf(ascii), "abc");
  EXPECT_EQ(ascii.FileOffset(0), 3);
  EXPECT_EQ(ascii.FileOffset(3), 6);
  const SourceText utf8 = Decode(
      "\xEF\xBB\xBF"
      "üb");
  EXPECT_EQ(TextOf(utf8),
            "\xFC"
            "b");
  EXPECT_EQ(utf8.FileOffset(0), 3);
  EXPECT_EQ(utf8.FileOffset(1), 5);
  EXPECT_EQ(TextOf(Decode("\xEF\xBB\xBF", Encoding::kWindows1252)), "\xEF\xBB\xBF");
}

TEST(SourceText, TheFileKeepsItsCarriageReturns) {
  SourceText text = Decode("a\r\nb");
  ASSERT_NE(text.Data(), text.File().data());
  text.Data()[1] = '\n';
  EXPECT_EQ(text.File(), "a\r\nb");
}

TEST(SourceText, AnEmptyFileHasAnEmptyText) {
  for (const Encoding encoding : {Encoding::kAuto, Encoding::kUtf8, Encoding::kWindows1252}) {
    SourceText text = Decode("", encoding);
    EXPECT_EQ(text.Length(), 0);
    EXPECT_EQ(text.FileOffset(0), 0);
    EXPECT_EQ(*text.Data(), '\0');
  }
}

TEST(SourceText, AgreesWithDecodingOneCharacterAtATime) {
  const std::vector<std::string> pieces = {
      "a",       "b ", "\n", "ü", "ß", "€", "Ω", "😀", "\x80", "\xC3", "\r\n", "abcdefghijklmnop",
      "\xE2\x82"};
  const unsigned seed = std::random_device{}();
  std::mt19937 random(seed);
  for (int round = 0; round < 500; ++round) {
    const std::size_t kinds = 1 + random() % pieces.size();
    std::string file;
    for (std::size_t count = random() % 200; count > 0; --count)
      file += pieces[random() % kinds];

    std::string expected;
    std::vector<int> offsets;
    for (std::size_t in = 0; in < file.size();) {
      const Utf8Character character = ReadUtf8(std::string_view(file).substr(in));
      offsets.push_back(static_cast<int>(in));
      const auto byte =
          character.valid ? CodePage::Get().ByteFor(character.code) : std::optional<char>{};
      expected += byte.value_or('\0');
      in += static_cast<std::size_t>(character.length);
    }
    offsets.push_back(static_cast<int>(file.size()));

    const SourceText text = Decode(file, Encoding::kUtf8);
    ASSERT_EQ(TextOf(text), expected) << "seed " << seed << ", round " << round;
    for (std::size_t i = 0; i < offsets.size(); ++i) {
      ASSERT_EQ(text.FileOffset(static_cast<int>(i)), offsets[i])
          << "seed " << seed << ", round " << round;
    }
  }
}

TEST(LooksBinary, AZeroByteNearTheStartIsWhatCounts) {
  EXPECT_FALSE(LooksBinary(""));
  EXPECT_FALSE(LooksBinary("text"));
  EXPECT_TRUE(LooksBinary(std::string_view("a\0b", 3)));
  EXPECT_FALSE(LooksBinary(std::string(40000, 'a') + std::string(1, '\0')));
}

}  // namespace
}  // namespace trovex::cli
