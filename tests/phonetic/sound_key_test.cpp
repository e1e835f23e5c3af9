#include "phonetic/sound_key.h"

#include "phonetic/sound_rules.h"
#include "tests/dice.h"
#include "tests/phonetic/utf8_word.h"
#include "text/code_page.h"

#include <gtest/gtest.h>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::CodePageWord;

std::string Sounds(std::string_view word) {
  return MakeSoundKey(CodePageWord(word)).sounds;
}

::testing::AssertionResult SoundAlike(std::string_view a, std::string_view b) {
  if (Sounds(a) == Sounds(b)) return ::testing::AssertionSuccess() << a << " and " << b << " alike";
  return ::testing::AssertionFailure() << a << " is " << Sounds(a) << ", " << b << " " << Sounds(b);
}

TEST(SoundKey, HasTheVowelsOfTheWord) {
  EXPECT_EQ(Sounds("Meter"), "meter");
  EXPECT_FALSE(SoundAlike("Bauer", "Bayer"));
  EXPECT_FALSE(SoundAlike("Hase", "Hose"));
  EXPECT_FALSE(SoundAlike("Müller", "Miller"));
}

TEST(SoundKey, ReadsDiphthongsInAllTheirSpellings) {
  for (const char* name : {"Meier", "Maier", "Mayer", "Meyer", "Mayr", "Majer"})
    EXPECT_EQ(Sounds(name), "mAr") << name;
  for (const char* name : {"Häusler", "Heusler", "Haeusler", "Hoisler", "Hoysler"})
    EXPECT_EQ(Sounds(name), "hYsler") << name;
  EXPECT_TRUE(SoundAlike("Maja", "Maya"));
}

TEST(SoundKey, HearsNeitherTheLengthOfAVowelNorDoubledLetters) {
  EXPECT_TRUE(SoundAlike("Kuhn", "Kun"));
  EXPECT_TRUE(SoundAlike("Thiel", "Till"));
  EXPECT_TRUE(SoundAlike("Haas", "Has"));
  EXPECT_TRUE(SoundAlike("Hoffmann", "Hofman"));
  EXPECT_TRUE(SoundAlike("gehen", "geen"));
  EXPECT_FALSE(SoundAlike("Johann", "Joann"));
}

TEST(SoundKey, TakesUmlautsAndTheirSpellingsForTheSame) {
  EXPECT_TRUE(SoundAlike("Müller", "Mueller"));
  EXPECT_TRUE(SoundAlike("Schröder", "Schroeder"));
  EXPECT_TRUE(SoundAlike("Jäger", "Jaeger"));
  EXPECT_TRUE(SoundAlike("Bäcker", "Becker"));
  EXPECT_TRUE(SoundAlike("Weiß", "Weiss"));
  EXPECT_TRUE(SoundAlike("René", "Rene"));
  EXPECT_FALSE(SoundAlike("Sauer", "Saür"));
}

TEST(SoundKey, HardensConsonantsAtTheEndOfASyllable) {
  EXPECT_TRUE(SoundAlike("Brand", "Brant"));
  EXPECT_TRUE(SoundAlike("Brandt", "Brand"));
  EXPECT_TRUE(SoundAlike("Schwab", "Schwapp"));
  EXPECT_TRUE(SoundAlike("Berg", "Berk"));
  EXPECT_TRUE(SoundAlike("Sandmann", "Santmann"));
  EXPECT_FALSE(SoundAlike("Lindner", "Lintner"));
  EXPECT_FALSE(SoundAlike("Lang", "Lank"));
  EXPECT_FALSE(SoundAlike("Schröder", "Schröter"));
}

TEST(SoundKey, ReadsConsonantsByWhatStandsBesideThem) {
  EXPECT_EQ(Sounds("Stein"), "StAn");
  EXPECT_EQ(Sounds("Schule"), "Sule");
  EXPECT_EQ(Sounds("Quelle"), "kwele");
  EXPECT_EQ(Sounds("Fuchs"), "fuks");
  EXPECT_EQ(Sounds("Fux"), "fuks");
  EXPECT_EQ(Sounds("Christ"), "krist");
  EXPECT_EQ(Sounds("Nacht"), "naxt");
  EXPECT_EQ(Sounds("Celle"), "tsele");
  EXPECT_EQ(Sounds("Cramer"), "kramer");
  EXPECT_EQ(Sounds("Ludwig"), "lutwix");
  EXPECT_EQ(Sounds("Sieg"), "sik");
  EXPECT_EQ(Sounds("Nation"), "natsion");
  EXPECT_EQ(Sounds("Virchow"), "firxo");
  EXPECT_EQ(Sounds("Viktor"), "wiktor");
  EXPECT_EQ(Sounds("Vogt"), Sounds("Voigt"));
}

TEST(SoundKey, LosesTheFadingEOfEndings) {
  EXPECT_TRUE(SoundAlike("Vogel", "Vogl"));
  EXPECT_TRUE(SoundAlike("Seidelmeier", "Seidlmayr"));
  EXPECT_TRUE(SoundAlike("Bauer", "Baur"));
  EXPECT_FALSE(SoundAlike("Karel", "Karl"));
  EXPECT_FALSE(SoundAlike("Gel", "Gl"));
  EXPECT_FALSE(SoundAlike("Keller", "Kellr"));
}

TEST(SoundKey, IsTheSameInEitherCase) {
  EXPECT_TRUE(SoundAlike("MÜLLER", "müller"));
  EXPECT_TRUE(SoundAlike("ÉMILE", "émile"));
}

TEST(SoundKey, IsEmptyForWhatIsNoWordOfLetters) {
  EXPECT_EQ(Sounds(""), "");
  EXPECT_EQ(Sounds("R2D2"), "");
  EXPECT_EQ(Sounds("a_b"), "");
  EXPECT_EQ(Sounds("zwei Worte"), "");
  EXPECT_EQ(MakeSoundKey(std::string_view("a\0b", 3)).sounds, "");
}

TEST(SoundKey, IsShownInLetters) {
  EXPECT_EQ(DescribeSoundKey(MakeSoundKey(CodePageWord("Schäuble"))), "sch oi b l e");
  EXPECT_EQ(DescribeSoundKey(MakeSoundKey(CodePageWord("König"))), "k ö n i ch");
  EXPECT_EQ(DescribeSoundKey({}), "");
}

TEST(SoundKey, OfARandomWordNeverHoldsTheSameSoundTwiceInARow) {
  const std::string letters = CodePageWord("abcdefghijklmnopqrstuvwxyzäöüßAÖé");
  testing::Dice dice(7);
  for (int round = 0; round < 200'000; ++round) {
    std::string word;
    for (int i = dice.Between(1, 12); i > 0; --i)
      word +=
          letters[static_cast<std::size_t>(dice.Between(0, static_cast<int>(letters.size()) - 1))];
    const std::string sounds = MakeSoundKey(word).sounds;
    for (std::size_t i = 1; i < sounds.size(); ++i)
      ASSERT_NE(sounds[i], sounds[i - 1]) << word;
  }
}

// Searching.

/// The ranges of all words of `text` with the key of `name`, by the search. The text lies in a block of
/// exactly its length.
std::vector<ByteRange> Search(std::string_view name, std::string_view text) {
  const auto block = std::make_unique<unsigned char[]>(text.size());
  if (!text.empty()) std::memcpy(block.get(), text.data(), text.size());
  SoundSearch search(MakeSoundKey(name));
  search.Begin({block.get(), text.size()});
  std::vector<ByteRange> found;
  for (ByteRange word; search.Next(word);)
    found.push_back(word);
  return found;
}

/// The same, word by word.
std::vector<ByteRange> SearchPlainly(std::string_view name, std::string_view text) {
  const SoundKey key = MakeSoundKey(name);
  std::vector<ByteRange> found;
  const auto isOfWord = [&](std::size_t i) {
    return i < text.size() && IsCodePageWord(static_cast<unsigned char>(text[i]));
  };
  for (std::size_t begin = 0; begin < text.size(); ++begin) {
    if (!isOfWord(begin) || (begin > 0 && isOfWord(begin - 1))) continue;
    std::size_t end = begin;
    while (isOfWord(end))
      ++end;
    const SoundKey other = MakeSoundKey(text.substr(begin, end - begin));
    if (!key.sounds.empty() && other == key) found.push_back({begin, end});
  }
  return found;
}

TEST(SoundSearch, FindsWholeWordsInOrder) {
  const std::string text = "Maier, Meierei; MEYER_ Mayr\nMeyer";
  const std::vector<ByteRange> expected = {{0, 5}, {23, 27}, {28, 33}};
  EXPECT_EQ(Search("Meier", text), expected);
}

TEST(SoundSearch, FindsNothingWithoutAKeyOrAText) {
  EXPECT_TRUE(Search("", "a b c").empty());
  EXPECT_TRUE(Search("4711", "4711").empty());
  EXPECT_TRUE(Search("Meier", "").empty());
}

TEST(SoundSearch, BeginsAnewWithEachText) {
  SoundSearch search(MakeSoundKey("Meier"));
  ByteRange word;
  const std::string text = "Mayr";
  const TextView view(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  for (int round = 0; round < 3; ++round) {
    search.Begin(view);
    ASSERT_TRUE(search.Next(word));
    EXPECT_EQ(word, (ByteRange{0, 4}));
    EXPECT_FALSE(search.Next(word));
    EXPECT_FALSE(search.Next(word));
  }
}

TEST(SoundSearch, AgreesWithComparingWordByWord) {
  const std::string letters = CodePageWord("aeeiiurhhmmtsc-- _2ßä\n.");
  for (std::uint32_t seed = 0; seed < 3'000; ++seed) {
    testing::Dice dice(seed);
    const auto draw = [&](int length, std::size_t from) {
      std::string text;
      for (; length > 0; --length)
        text += letters[static_cast<std::size_t>(dice.Between(0, static_cast<int>(from) - 1))];
      return text;
    };
    const std::string name = draw(dice.Between(1, 4), 14);
    const std::string text = draw(dice.Between(0, 300), letters.size());
    ASSERT_EQ(Search(name, text), SearchPlainly(name, text)) << "seed " << seed << ": " << name;
  }
}

}  // namespace
}  // namespace trovex
