#include "phonetic/sound_key.h"

#include "phonetic/sound_rules.h"
#include "tests/dice.h"
#include "tests/phonetic/utf8_word.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

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

}  // namespace
}  // namespace trovex
