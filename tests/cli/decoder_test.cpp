// From other encodings to UTF-8, with blocks cut anywhere.

#include "hosts/cli/files/decoder.h"

#include "tests/dice.h"

#include <gtest/gtest.h>
#include <iconv.h>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {
namespace {

const std::string kText = "Grün & Weiß: 5 €, naïve Ω → 😀!\r\nzweite Zeile\n";

EncodingChoice Named(std::string_view name) {
  const auto choice = FindEncoding(name);
  if (!choice.has_value()) ADD_FAILURE() << "nobody knows " << name;
  return choice.value_or(EncodingChoice{});
}

/// What iconv makes of UTF-8.
std::string Encoded(const std::string& utf8, const char* encoding) {
  const iconv_t converter = iconv_open(encoding, "UTF-8");
  if (converter == reinterpret_cast<iconv_t>(-1)) throw std::runtime_error(encoding);
  std::string result(utf8.size() * 4 + 16, '\0');
  char* from = const_cast<char*>(utf8.data());
  std::size_t fromLeft = utf8.size();
  char* to = result.data();
  std::size_t toLeft = result.size();
  constexpr auto kFailed = static_cast<std::size_t>(-1);
  if (iconv(converter, &from, &fromLeft, &to, &toLeft) == kFailed ||
      iconv(converter, nullptr, nullptr, &to, &toLeft) == kFailed) {
    iconv_close(converter);
    throw std::runtime_error(encoding);
  }
  iconv_close(converter);
  result.resize(result.size() - toLeft);
  return result;
}

/// Decodes in one block; "(none)" when no decoder is needed.
std::string Decoded(std::string_view bytes, const EncodingChoice& encoding = {}) {
  const auto decoder = ChooseDecoder(bytes, encoding);
  if (decoder == nullptr) return "(none)";
  std::string out;
  decoder->Decode(bytes, true, out);
  return out;
}

/// Decodes in blocks of this size; the last one is empty.
std::string DecodedInBlocks(std::string_view bytes, std::size_t size,
                            const EncodingChoice& encoding) {
  const auto decoder = ChooseDecoder(bytes, encoding);
  std::string out;
  for (; !bytes.empty(); bytes.remove_prefix(std::min(size, bytes.size())))
    decoder->Decode(bytes.substr(0, size), false, out);
  decoder->Decode({}, true, out);
  return out;
}

TEST(Decoder, WhatIsUtf8OrLatin1IsSearchedAsItIs) {
  EXPECT_EQ(Decoded(kText), "(none)");
  EXPECT_EQ(Decoded(Encoded("Grün", "CP1252")), "(none)");
  EXPECT_EQ(Decoded(""), "(none)");
  EXPECT_EQ(Decoded("\xEF\xBB\xBFx"), "(none)");
  for (const char* const name : {"utf8", "UTF-8", "cp1252", "latin1", "ISO-8859-1", "ascii"})
    EXPECT_EQ(Decoded("\xFF\xFEx", Named(name)), "(none)") << name;
}

TEST(Decoder, AByteOrderMarkTellsTheEncoding) {
  const std::string little = Encoded(kText, "UTF-16LE");
  const std::string big = Encoded(kText, "UTF-16BE");
  EXPECT_EQ(Decoded("\xFF\xFE" + little), kText);
  EXPECT_EQ(Decoded("\xFE\xFF" + big), kText);
  EXPECT_EQ(Decoded(std::string("\xFF\xFE\0\0", 4) + Encoded(kText, "UTF-32LE")), kText);
  EXPECT_EQ(Decoded(std::string("\0\0\xFE\xFF", 4) + Encoded(kText, "UTF-32BE")), kText);
  EXPECT_EQ(Decoded("\xFF\xFE"), "");
}

TEST(Decoder, WithoutAMarkPlainTextsAreRecognised) {
  for (const char* const name : {"UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"}) {
    EXPECT_EQ(Decoded(Encoded("ab\r\n", name)), "ab\r\n") << name;
    const std::string greek =
        "Ω μέγα. Αλφα και ωμέγα, και πάλι: η αρχή και το τέλος, είπε ο ένας.\n";
    EXPECT_EQ(Decoded(Encoded(greek, name)), greek) << name;
    std::string large;
    for (int i = 0; i < 500; ++i)
      large += kText;
    EXPECT_EQ(Decoded(Encoded(large, name)), large) << name;
  }
}

TEST(Decoder, BinaryBytesAreNotTakenForText) {
  EXPECT_EQ(Decoded(std::string("\x7F"
                                "ELF\2\1\1\0\0\0\0\0\0\0\0\0\2\0\x3E\0\1\0\0\0",
                                24)),
            "(none)");
  EXPECT_EQ(Decoded(std::string(64, '\0')), "(none)");
  EXPECT_EQ(Decoded(std::string("a\0b\0\0\0c\0", 8)), "(none)") << "a zero is no text";
  EXPECT_EQ(Decoded(std::string("a\0b", 3)), "(none)") << "no whole characters";
  EXPECT_EQ(Decoded(std::string("a\0", 2)), "(none)") << "too little";
  EXPECT_EQ(Decoded(std::string("x\0y\n", 4)), "(none)") << "too little";
  EXPECT_EQ(Decoded(std::string("abc\0defg\0hijk\n", 15)), "(none)");
  EXPECT_EQ(Decoded(std::string("abcdef\0ghijklmn", 15) + '\n'), "(none)");
  EXPECT_EQ(Decoded(std::string("text and then\0a zero", 20)), "(none)");
  for (std::uint32_t seed = 1; seed <= 200; ++seed) {
    testing::Dice dice(seed);
    std::string bytes(256, '\0');
    for (char& byte : bytes)
      byte = static_cast<char>(dice.OneIn(3) ? 0 : dice.Between(0, 255));
    EXPECT_EQ(Decoded(bytes), "(none)") << "seed " << seed;
  }
}

TEST(Decoder, UsualNamesAreKnown) {
  const std::string german = "Größe: Ä ö ü ß";
  for (const char* const name : {"iso-8859-15", "ISO_8859-15", "latin9", "iso-8859-2", "ibm850",
                                 "cp850", "IBM437", "dos850", "windows-1250", "cp1250", "macintosh",
                                 "utf-16le", "UTF16BE", "utf-32le", "utf-7", "gb18030"}) {
    const EncodingChoice choice = Named(name);
    ASSERT_EQ(choice.encoding, Encoding::kNamed) << name;
    EXPECT_EQ(Decoded(Encoded(german, choice.name.c_str()), choice), german) << name;
  }
  EXPECT_EQ(Decoded(Encoded("日本語 kana カナ", "SHIFT_JIS"), Named("shift_jis")),
            "日本語 kana カナ");
  EXPECT_EQ(Decoded(Encoded("日本語 kana", "ISO-2022-JP"), Named("iso-2022-jp")), "日本語 kana");
  EXPECT_EQ(Decoded("\xA4", Named("iso-8859-15")), "€");
  for (const std::string_view name : SplitWords(UsualEncodings()))
    EXPECT_TRUE(FindEncoding(name).has_value()) << name;
  EXPECT_FALSE(FindEncoding("").has_value());
  EXPECT_FALSE(FindEncoding("nix").has_value());
  EXPECT_FALSE(FindEncoding("utf-8//TRANSLIT").has_value());
}

TEST(Decoder, ANameWithoutTheOrderOfBytesAsksTheText) {
  EXPECT_EQ(Decoded("\xFE\xFF" + Encoded("ab", "UTF-16BE"), Named("utf-16")), "ab");
  EXPECT_EQ(Decoded("\xFF\xFE" + Encoded("ab", "UTF-16LE"), Named("utf-16")), "ab");
  EXPECT_EQ(Decoded(Encoded("abcd", "UTF-16BE"), Named("utf-16")), "abcd");
  EXPECT_EQ(Decoded(Encoded("ab", "UTF-16LE"), Named("utf-16")), "ab");
  EXPECT_EQ(Decoded(Encoded("Ω", "UTF-16LE"), Named("utf-16le")), "Ω");
  EXPECT_EQ(Decoded("\xFF\xFE" + Encoded("ab", "UTF-16LE"), Named("utf-16le")), "ab");
  EXPECT_EQ(Decoded("\xFE\xFF" + Encoded("ab", "UTF-16BE"), Named("utf-16be")), "ab");
}

TEST(Decoder, CharactersMayBeCutAtBlockEnds) {
  struct Case {
    std::string bytes;
    EncodingChoice encoding;
    std::string text;
  };
  std::vector<Case> cases;
  for (const char* const name : {"utf-16le", "utf-16be", "utf-32le", "utf-32be", "gb18030"})
    cases.push_back({Encoded(kText, name), Named(name), kText});
  cases.push_back({"\xFF\xFE" + Encoded(kText, "UTF-16LE"), EncodingChoice(), kText});
  cases.push_back({"\xFE\xFF" + Encoded(kText, "UTF-16BE"), EncodingChoice(), kText});
  cases.push_back({Encoded("日本語 kana カナ", "EUC-JP"), Named("euc-jp"), "日本語 kana カナ"});
  cases.push_back({Encoded("Größe", "IBM850"), Named("ibm850"), "Größe"});
  for (const Case& each : cases) {
    for (std::size_t size = 1; size <= 9; ++size)
      EXPECT_EQ(DecodedInBlocks(each.bytes, size, each.encoding), each.text)
          << each.encoding.name << " in blocks of " << size;
  }
}

TEST(Decoder, WhatIsNoCharacterIsReplaced) {
  const std::string replacement = "\xEF\xBF\xBD";
  EXPECT_EQ(Decoded(std::string("a\0\0\xD8"
                                "b\0",
                                6),
                    Named("utf-16le")),
            "a" + replacement + "b");
  EXPECT_EQ(Decoded(std::string("\0\xDC"
                                "b\0",
                                4),
                    Named("utf-16le")),
            replacement + "b");
  EXPECT_EQ(Decoded(std::string("b\0\0", 3), Named("utf-16le")), "b" + replacement);
  EXPECT_EQ(Decoded(std::string("b\0\0\xD8", 4), Named("utf-16le")), "b" + replacement);
  EXPECT_EQ(Decoded(std::string("\0\0\x11\0b\0\0\0", 8), Named("utf-32le")), replacement + "b");
  EXPECT_EQ(Decoded("a\xFFz", Named("euc-jp")), "a" + replacement + "z");
  EXPECT_EQ(Decoded("z\xA4", Named("euc-jp")), "z" + replacement) << "cut off at the end";
  EXPECT_EQ(Decoded("a\x81z", Named("cp1250")), "a" + replacement + "z");
}

TEST(Decoder, APieceOfTheOutputLeadsBackToTheFile) {
  for (const char* const name : {"utf-16le", "utf-16be", "utf-32le", "gb18030"}) {
    const std::string bytes = Encoded(kText, name);
    const auto decoder = ChooseDecoder(bytes, Named(name));
    EXPECT_EQ(decoder->SourceLength(kText), bytes.size()) << name;
    for (std::size_t end = 0; end < kText.size(); ++end) {
      if ((static_cast<unsigned char>(kText[end]) & 0xC0) == 0x80) continue;
      const std::string piece = kText.substr(0, end);
      EXPECT_EQ(decoder->SourceLength(piece), Encoded(piece, name).size()) << name << " " << end;
    }
  }
  EXPECT_EQ(ChooseDecoder("", Named("ibm850"))->SourceLength("Größe"), 5U);
  EXPECT_EQ(ChooseDecoder("\xFF\xFE", {})->MarkLength(), 2U);
  EXPECT_EQ(ChooseDecoder("", Named("euc-jp"))->SourceLength("a\xEF\xBF\xBDz"), 3U);
}

TEST(SourceCount, CountsAlikeHoweverTheTextIsCut) {
  for (const char* const name : {"iso-2022-jp", "iso-2022-kr", "shift_jis", "euc-jp", "gb18030",
                                 "utf-7", "utf-16le", "ibm850"}) {
    const auto decoder = ChooseDecoder("", Named(name));
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
      testing::Dice dice(seed);
      std::string text;
      const auto count = decoder->Count();
      for (int i = dice.Between(0, 30); i > 0; --i) {
        std::string piece;
        for (int k = dice.Between(0, 4); k > 0; --k)
          piece += dice.OneOf({"日本", "a", "\n", "ü", "かな", "\xEF\xBF\xBD"});
        text += piece;
        ASSERT_EQ(count->Add(piece), decoder->SourceLength(text)) << name << " seed " << seed;
      }
    }
  }
}

}  // namespace
}  // namespace trovex::cli
