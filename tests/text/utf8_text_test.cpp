// Decoded texts and their positions against the trivial decoder, with every set of vector instructions
// that the machine has and with none.

#include "text/utf8_text.h"

#include "tests/dice.h"
#include "tests/text/trivial_utf8.h"
#include "text/code_page.h"
#include "text/utf8_character.h"

#include <gtest/gtest.h>
#ifdef TROVEX_USE_HIGHWAY
#include <hwy/highway.h>
#endif
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::DecodeTrivially;
using testing::Dice;
using testing::EncodeUtf8;
using testing::SequenceOf;
using testing::TrivialCharacter;

using Byte = unsigned char;

constexpr Byte kSubstitute = 0x8D;

/// All ways to decode: plainly, and with each set of vector instructions.
std::vector<Utf8Blocks> AllBlocks() {
  std::vector<Utf8Blocks> all = {Utf8Blocks()};
#ifdef TROVEX_USE_HIGHWAY
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    all.push_back(ChooseUtf8Blocks());
    hwy::SetSupportedTargetsForTest(0);
  }
  all.push_back(ChooseUtf8Blocks());
#endif
  return all;
}

/// A text in a heap block of exactly its length.
class ExactText {
 public:
  explicit ExactText(std::string_view text)
      : bytes_(std::make_unique_for_overwrite<Byte[]>(text.size())), length_(text.size()) {
    if (!text.empty()) std::memcpy(bytes_.get(), text.data(), text.size());
  }
  TextView View() const { return {bytes_.get(), length_}; }

 private:
  std::unique_ptr<Byte[]> bytes_;
  std::size_t length_;
};

std::string StringOf(TextView text) {
  return {reinterpret_cast<const char*>(text.data()), text.size()};
}

bool IsRegularTrivially(std::string_view text) {
  for (std::size_t length = 1; !text.empty(); text.remove_prefix(length)) {
    for (length = 1; length <= 4 && !SequenceOf(text, length);)
      ++length;
    if (length > 4) return false;
    const char32_t codePoint = *SequenceOf(text, length);
    if (codePoint >= 0x300 && codePoint <= 0x327) return false;
  }
  return true;
}

class Utf8TextTest : public ::testing::Test {
 protected:
  Utf8TextTest() {
    for (const Utf8Blocks& blocks : all_)
      decoders_.emplace_back(blocks);
  }

  /// Whether all of `text` is well-formed and has no marks is found out in all ways alike.
  void ExpectRegularity(std::string_view text) {
    const ExactText exact(text);
    const bool expected = IsRegularTrivially(text);
    for (const Utf8Blocks& blocks : all_)
      ASSERT_EQ(IsRegularUtf8(exact.View(), blocks), expected) << ::testing::PrintToString(text);
  }

  /// What stands on both sides of each character, words or not.
  static void ExpectWords(std::string_view text, const std::vector<TrivialCharacter>& characters) {
    const ExactText exact(text);
    const Byte* const begin = exact.View().data();
    for (const TrivialCharacter& character : characters) {
      const bool isWord = character.byte.has_value() && IsCodePageWord(*character.byte);
      ASSERT_EQ(IsWordAt(begin + character.begin, begin + text.size()), isWord)
          << character.begin << " in " << ::testing::PrintToString(text);
      ASSERT_EQ(IsWordBefore(begin, begin + character.end), isWord)
          << character.end << " in " << ::testing::PrintToString(text);
    }
  }

  /// Every decoder decodes `text` as the trivial one.
  void ExpectDecoded(std::string_view text) {
    ExpectRegularity(text);
    const ExactText exact(text);
    const std::vector<TrivialCharacter> characters = DecodeTrivially(text);
    ExpectWords(text, characters);
    const std::string expected = BytesOf(characters, kSubstitute);
    for (std::size_t i = 0; i < decoders_.size(); ++i) {
      ASSERT_EQ(StringOf(decoders_[i].Decode(exact.View(), kSubstitute)), expected)
          << "decoder " << i << ", text " << ::testing::PrintToString(text);
    }
  }

  /// The same, and the positions of all characters, asked forwards, backwards and by chance.
  void ExpectPositions(std::string_view text, Dice& dice) {
    const ExactText exact(text);
    const std::vector<TrivialCharacter> characters = DecodeTrivially(text);
    for (Utf8Text& decoder : decoders_) {
      ASSERT_EQ(StringOf(decoder.Decode(exact.View(), kSubstitute)),
                BytesOf(characters, kSubstitute));
      const std::size_t count = characters.size();
      for (std::size_t i = 0; i <= count; ++i)
        ExpectPosition(decoder, text, characters, i);
      for (std::size_t back = 0; back <= count; back += 1 + count / 1000)
        ExpectPosition(decoder, text, characters, count - back);
      for (std::size_t i = 0; i <= count; i += 1 + count / 1000)
        ExpectPosition(decoder, text, characters,
                       static_cast<std::size_t>(dice.Between(0, static_cast<int>(count))));
      if (HasFatalFailure()) return;
    }
  }

  static void ExpectPosition(Utf8Text& decoder, std::string_view text,
                             const std::vector<TrivialCharacter>& characters, std::size_t i) {
    if (i == characters.size()) {
      ASSERT_EQ(decoder.SourceOffset(i), text.size());
      ASSERT_EQ(decoder.DecodedOffset(text.size()), i);
      return;
    }
    const TrivialCharacter& character = characters[i];
    ASSERT_EQ(decoder.SourceRange({i, i + 1}), (ByteRange{character.begin, character.end})) << i;
    for (std::size_t source = character.begin; source < character.end; ++source)
      ASSERT_EQ(decoder.DecodedOffset(source), i) << source;
  }

  const std::vector<Utf8Blocks> all_ = AllBlocks();
  std::vector<Utf8Text> decoders_;
};

/// A text that the vectors have room in, with `piece` at `place`.
std::string Around(std::string_view piece, std::size_t place, std::string_view filler) {
  std::string text;
  while (text.size() < place)
    text += filler;
  text += piece;
  while (text.size() < place + 300)
    text += filler;
  return text;
}

TEST_F(Utf8TextTest, DecodesEveryCodePoint) {
  std::string text;
  for (char32_t codePoint = 0; codePoint < 0x110000; ++codePoint) {
    text += EncodeUtf8(codePoint);
    if (text.size() < 1000 && codePoint != 0x10FFFF) continue;
    ExpectDecoded(text);
    if (HasFatalFailure()) return;
    text.clear();
  }
}

TEST_F(Utf8TextTest, DecodesEveryCodePointBetweenOthers) {
  for (char32_t codePoint = 0; codePoint < 0x110000; ++codePoint) {
    if (codePoint > 0x2200 && codePoint % 997 != 0) continue;
    const std::string sequence = EncodeUtf8(codePoint);
    std::string text = Around(sequence, 70, "Zeile ");
    text += "\xC3\xA4";
    text += Around(sequence, 70, "\xC3\xBC");
    ExpectDecoded(text);
    if (HasFatalFailure()) return;
  }
}

TEST_F(Utf8TextTest, DecodesEveryPairOfBytesAtEveryPlaceOfABlock) {
  for (int first = 0x78; first < 256; ++first) {
    for (int second = 0x78; second < 256; ++second) {
      const std::string pair = {static_cast<char>(first), static_cast<char>(second)};
      std::string text = "a" + pair + "b\xC3\xA4";
      for (int i = 0; i < 2; ++i)
        text += Around(pair, static_cast<std::size_t>((first * 7 + second + i) % 67), "x");
      ExpectDecoded(text);
      if (HasFatalFailure()) return;
    }
  }
}

TEST_F(Utf8TextTest, DecodesEveryCutOfEverySequence) {
  // The bounds of all ranges of code points that are encoded alike, and of what may not be.
  const std::vector<std::string> sequences = {"\xC2\x80",
                                              "\xC2\xA0",
                                              "\xC3\xBF",
                                              "\xC5\xA1",
                                              "\xDF\xBF",
                                              "\xCC\x88",
                                              "\xE0\xA0\x80",
                                              "\xE0\x9F\xBF",
                                              "\xE0\x80\x80",
                                              "\xE2\x80\x9E",
                                              "\xE2\x82\xAC",
                                              "\xE2\x84\xA2",
                                              "\xED\x9F\xBF",
                                              "\xED\xA0\x80",
                                              "\xED\xBF\xBF",
                                              "\xEE\x80\x80",
                                              "\xEF\xBF\xBF",
                                              "\xF0\x90\x80\x80",
                                              "\xF0\x8F\xBF\xBF",
                                              "\xF4\x8F\xBF\xBF",
                                              "\xF4\x90\x80\x80",
                                              "\xF5\x80\x80\x80",
                                              "\xF8\x80\x80\x80\x80",
                                              "\xC0\x80",
                                              "\xC1\xBF",
                                              "\xFF\xFE"};
  const std::vector<std::string> after = {"",     "x",  "\x80", "\xC3\xA4", "\xE2\x80\x9C",
                                          "\xF0", "\n", "\xC3", "\x88"};
  std::size_t place = 0;
  for (const std::string& sequence : sequences) {
    for (std::size_t begin = 0; begin < sequence.size(); ++begin) {
      for (std::size_t end = begin + 1; end <= sequence.size(); ++end) {
        for (const std::string& next : after) {
          const std::string piece = sequence.substr(begin, end - begin) + next;
          ExpectDecoded(piece);
          for (int i = 0; i < 8; ++i)
            ExpectDecoded(Around(piece, place++ % 131, "x"));
          ExpectDecoded(Around(piece, 200, "\xC3\xA4"));
          std::string atEnd = Around("", 200, "\xC3\xA4");
          atEnd += piece;
          ExpectDecoded(atEnd);
          if (HasFatalFailure()) return;
        }
      }
    }
  }
}

TEST_F(Utf8TextTest, EveryInvalidByteIsReadByItselfInEveryPlace) {
  const std::string german =
      "Die Stra\xC3\x9F"
      "e f\xC3\xBChrt \xE2\x80\x9E"
      "dorthin\xE2\x80\x9C "
      "f\xC3\xBCr 5 \xE2\x82\xAC \xE4\xB8\xAD\xF0\x9F\x98\x80 u\xCC\x88"
      "ber "
      "Stock und Stein, \xC5\xA0koda und Citro\xC3\xABn, immer weiter.\n"
      "Und noch eine Zeile.";
  for (int byte = 0x80; byte < 256; ++byte) {
    for (std::size_t place = 0; place <= german.size(); ++place) {
      std::string text = german;
      text.insert(place, 1, static_cast<char>(byte));
      ExpectDecoded(text);
      if (place < german.size()) {
        text = german;
        text[place] = static_cast<char>(byte);
        ExpectDecoded(text);
      }
      if (HasFatalFailure()) return;
    }
  }
}

TEST_F(Utf8TextTest, ComposesWhatThePageHasAndNothingElse) {
  for (int base = 0; base < 256; ++base) {
    for (char32_t mark = 0x2FF; mark < 0x341; ++mark) {
      std::string text = "Wort ";
      text += static_cast<char>(base);
      text += EncodeUtf8(mark);
      text += EncodeUtf8(0x308);
      text += "rtlich";
      ExpectDecoded(text);
      ExpectDecoded(Around(text, 64, "-"));
      if (HasFatalFailure()) return;
    }
  }
  ExpectDecoded("\xCC\x88");
  ExpectDecoded("A\xCC\x88");
  ExpectDecoded("A\nA\xCC");
}

const std::vector<std::string> kPieces = {"a",
                                          "A",
                                          "o",
                                          "Wort ",
                                          "langes Wort, das kein Ende nimmt und weiter geht ",
                                          "\n",
                                          "\xC3\xA4",
                                          "\xC3\x9F",
                                          "\xC2\xA0",
                                          "\xC2\x85",
                                          "\xE2\x80\x9E",
                                          "\xE2\x80\x9C",
                                          "\xE2\x82\xAC",
                                          "\xE2\x84\xA2",
                                          "\xE2\x88\x9E",
                                          "\xC5\xA0",
                                          "\xC6\x92",
                                          "\xCB\x86",
                                          "\xC4\x8D",
                                          "\xCC\x88",
                                          "\xCC\x81",
                                          "\xCC\xA7",
                                          "\xCD\xA0",
                                          "\xD0\x9F",
                                          "\xE4\xB8\xAD",
                                          "\xE6\x96\x87",
                                          "\xF0\x9F\x98\x80",
                                          "\xEF\xBB\xBF",
                                          "\x80",
                                          "\xBF",
                                          "\xC3",
                                          "\xE2\x80",
                                          "\xF0\x9F",
                                          "\xE4",
                                          "\xFC",
                                          "\xFF",
                                          "\xC0\xAF",
                                          "\xED\xA0\x80"};

/// A mixture of pieces, most of them of a few kinds, so that all lengths of runs come.
std::string Mixture(Dice& dice, int longest) {
  const int length = dice.Between(0, longest);
  std::vector<std::string> kinds;
  for (int i = dice.Between(1, 6); i > 0; --i)
    kinds.push_back(dice.OneOf(kPieces));
  const int oddity = dice.Between(2, 200);
  std::string text;
  while (static_cast<int>(text.size()) < length)
    text += dice.OneIn(oddity) ? dice.OneOf(kPieces) : dice.OneOf(kinds);
  return text;
}

TEST_F(Utf8TextTest, DecodesMixturesOfAllKinds) {
  for (std::uint32_t seed = 0; seed < 6000; ++seed) {
    Dice dice(seed);
    ExpectDecoded(Mixture(dice, seed % 10 == 0 ? 3000 : 300));
    if (HasFatalFailure()) FAIL() << "seed " << seed;
  }
}

TEST_F(Utf8TextTest, DecodesAnyBytes) {
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    Dice dice(seed);
    std::string text(static_cast<std::size_t>(dice.Between(0, 400)), '\0');
    const int lowest = dice.OneIn(2) ? 0 : 0x80;
    for (char& byte : text)
      byte = static_cast<char>(dice.Between(lowest, 255));
    ExpectDecoded(text);
    if (HasFatalFailure()) FAIL() << "seed " << seed;
  }
}

TEST_F(Utf8TextTest, PositionsLeadBackAndForth) {
  for (std::uint32_t seed = 0; seed < 150; ++seed) {
    Dice dice(seed);
    ExpectPositions(Mixture(dice, seed % 25 == 0 ? 12000 : 500), dice);
    if (HasFatalFailure()) FAIL() << "seed " << seed;
  }
}

TEST_F(Utf8TextTest, BoundariesStandBesideNoMark) {
  Dice dice(1);
  for (std::size_t before = 940; before < 1060; before += 3) {
    std::string text = "\xC3\xA4";
    text += std::string(before, 'x');
    for (int i = 0; i < 60; ++i)
      text += "a\xCC\x88";
    ExpectPositions(text, dice);
    if (HasFatalFailure()) FAIL() << before;
  }
}

TEST_F(Utf8TextTest, NowhereStaysNowhere) {
  for (Utf8Text& decoder : decoders_) {
    for (const std::string_view text : {"", "Haus", "H\xC3\xA4user"}) {
      const ExactText exact(text);
      decoder.Decode(exact.View(), kSubstitute);
      EXPECT_TRUE(decoder.SourceRange(ByteRange()).IsNowhere());
      EXPECT_EQ(decoder.SourceRange({0, 0}), (ByteRange{0, 0}));
    }
  }
}

TEST_F(Utf8TextTest, PlainAsciiIsItself) {
  for (std::size_t length = 0; length < 700; ++length) {
    const ExactText plain(std::string(length, 'x'));
    for (Utf8Text& decoder : decoders_) {
      const TextView decoded = decoder.Decode(plain.View(), kSubstitute);
      ASSERT_EQ(decoded.data(), plain.View().data());
      ASSERT_EQ(decoded.size(), length);
      ASSERT_EQ(decoder.SourceOffset(length), length);
      ASSERT_EQ(decoder.DecodedOffset(length), length);
    }
    EXPECT_TRUE(IsPlainAscii(plain.View()));
    for (std::size_t place = 0; place < length; place += 1 + length / 70) {
      std::string text(length, 'x');
      text[place] = '\x80';
      const ExactText other(text);
      EXPECT_FALSE(IsPlainAscii(other.View()));
      for (Utf8Text& decoder : decoders_)
        ASSERT_NE(decoder.Decode(other.View(), kSubstitute).data(), other.View().data());
    }
  }
}

TEST_F(Utf8TextTest, LinesAreDecodedTheSameOneByOne) {
  for (std::uint32_t seed = 0; seed < 300; ++seed) {
    Dice dice(seed);
    const std::string text = Mixture(dice, 2000);
    for (Utf8Text& decoder : decoders_) {
      std::string whole;
      std::string pieces;
      {
        const ExactText exact(text);
        whole = StringOf(decoder.Decode(exact.View(), kSubstitute));
      }
      for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t feed = std::min(text.find('\n', begin), text.size() - 1);
        const ExactText line(std::string_view(text).substr(begin, feed + 1 - begin));
        pieces += StringOf(decoder.Decode(line.View(), kSubstitute));
        begin = feed + 1;
      }
      ASSERT_EQ(pieces, whole) << "seed " << seed;
    }
  }
}

TEST_F(Utf8TextTest, TakesTheSubstituteThatItIsGiven) {
  const ExactText text("\xE4\xB8\xAD und " + Around("\xE4\xB8\xAD", 100, "\xC3\xA4"));
  for (Utf8Text& decoder : decoders_) {
    for (const int substitute : {0, 0x81, 0xFF}) {
      const TextView decoded = decoder.Decode(text.View(), static_cast<Byte>(substitute));
      EXPECT_EQ(StringOf(decoded),
                BytesOf(DecodeTrivially(StringOf(text.View())), static_cast<Byte>(substitute)));
    }
  }
}

TEST_F(Utf8TextTest, AllocatesNothingForATextThatIsNoLonger) {
  const ExactText first(Around("\xC3\xA4", 5000, "x"));
  const ExactText second(Around("\xC3\xB6", 3000, "y"));
  for (Utf8Text& decoder : decoders_) {
    const Byte* const room = decoder.Decode(first.View(), kSubstitute).data();
    EXPECT_EQ(decoder.Decode(second.View(), kSubstitute).data(), room);
    EXPECT_EQ(decoder.Decode(first.View(), kSubstitute).data(), room);
  }
}

}  // namespace
}  // namespace trovex
