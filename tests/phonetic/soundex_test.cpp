// The phonetic functions as a host calls them: codes of words, the search for a code in both modes,
// the saved state; all of it held against a model that works letter by letter.

#include "tests/dice.h"
#include "tests/heap_text.h"
#include "tests/phonetic/soundex_model.h"

#include <trovex/functions.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

namespace trovex::testing {
namespace {

/// The code kept by the library, as text.
std::string KeptCode() {
  SoundexEnvironmentRecord record{};
  int wordMode = 0;
  GetSoundexEnvironment(&record, &wordMode);
  return {record.code, strnlen(record.code, sizeof(record.code))};
}

/// The code of `word`.
std::string CodeOf(const std::string& word) {
  const HeapText text(word);
  CompileSoundex(text.Data(), 0);
  return KeptCode();
}

/// Where the kept code is found in `text`; "none" when it is not.
std::string Found(const std::string& bytes) {
  const HeapText text(bytes);
  int start = -77;
  int end = -77;
  if (SearchSoundex(text.Data(), &start, &end) == 0) {
    EXPECT_EQ(start, -77);
    EXPECT_EQ(end, -77);
    return "none";
  }
  return std::to_string(start) + "-" + std::to_string(end);
}

std::string FoundAnywhere(const std::string& word, const std::string& text) {
  CompileSoundex(word.c_str(), 0);
  return Found(text);
}

std::string FoundAsWord(const std::string& word, const std::string& text) {
  CompileSoundex(word.c_str(), 1);
  return Found(text);
}

void SetCode(const ModelCode& code, int wordMode) {
  SoundexEnvironmentRecord record{};
  std::memcpy(record.code, code.data(), code.size());
  SetSoundexEnvironment(&record, wordMode);
}

ModelCode RawCode(std::string_view bytes) {
  ModelCode code{};
  std::memcpy(code.data(), bytes.data(), bytes.size());
  return code;
}

// ---- Codes ----

TEST(SoundexCode, SpellsUmlautsOut) {
  EXPECT_EQ(CodeOf("M\xFCller"), "M46");
  EXPECT_EQ(CodeOf("Mueller"), "M46");
  EXPECT_EQ(CodeOf("Miller"), "M46");
  EXPECT_EQ(CodeOf("\xC4rger"), "A626");
}

TEST(SoundexCode, SpellsTheSharpSOut) {
  EXPECT_EQ(CodeOf("Stra\xDF"
                   "e"),
            "S362");
  EXPECT_EQ(CodeOf("Strasse"), "S362");
}

TEST(SoundexCode, ReadsDigitsAsNumberWords) {
  EXPECT_EQ(CodeOf("4711"), "V6215252");
}

TEST(SoundexCode, IsTheSameForNamesThatSoundAlike) {
  EXPECT_EQ(CodeOf("Meier"), "M6");
  EXPECT_EQ(CodeOf("Mayr"), "M6");
  EXPECT_EQ(CodeOf("Schmidt"), "S53");
  EXPECT_EQ(CodeOf("Schmitt"), "S53");
}

TEST(SoundexCode, DropsADigitEqualToTheLastHoweverManyVowelsLieBetween) {
  EXPECT_EQ(CodeOf("Pfeffer"), "P6");
  EXPECT_EQ(CodeOf("Tat"), "T");
  EXPECT_EQ(CodeOf("Lalelilolu"), "L");
}

TEST(SoundexCode, CountsTheFirstLettersOwnDigit) {
  EXPECT_EQ(CodeOf("Pf"), "P");
  EXPECT_EQ(CodeOf("Sz"), "S");
}

TEST(SoundexCode, KeepsAVowelInFront) {
  EXPECT_EQ(CodeOf("Aal"), "A4");
  EXPECT_EQ(CodeOf("oha"), "O");
}

TEST(SoundexCode, PassesOverBytesThatStandForNothing) {
  EXPECT_EQ(CodeOf(".-M.l,\n r\xC2"), "M46");
}

TEST(SoundexCode, EndsAtTenCharacters) {
  EXPECT_EQ(CodeOf("abcdefghijklmnopqrstuvwxyz"), "A123124512");
  EXPECT_EQ(CodeOf("abcdlmbrtsmmmbbb"), "A123451632");
}

TEST(SoundexCode, HasTheDigitOfEveryLetter) {
  const std::string_view digits = "01230120022455012623010202";
  for (int i = 0; i < 26; ++i) {
    const char digit = digits[static_cast<std::size_t>(i)];
    const std::string expected = digit == '0' ? "A" : std::string("A") + digit;
    EXPECT_EQ(CodeOf(std::string("A") + static_cast<char>('A' + i)), expected) << i;
    EXPECT_EQ(CodeOf(std::string("a") + static_cast<char>('a' + i)), expected) << i;
  }
}

TEST(SoundexCode, OfEveryByteIsTheCodeOfItsSpelling) {
  for (int value = 1; value <= 255; ++value) {
    const auto byte = static_cast<char>(value);
    const std::string letters = ModelLetters(byte);
    EXPECT_EQ(CodeOf(std::string(1, byte)), CodeOf(letters)) << value;
    EXPECT_EQ(CodeOf(std::string("H") + byte + "R"), CodeOf("H" + letters + "R")) << value;
    EXPECT_EQ(CompileSoundex(std::string(1, byte).c_str(), 0) != 0, !letters.empty()) << value;
  }
}

TEST(SoundexCode, HasExactlyTheseBytesBesideLetters) {
  struct Row {
    int byte;
    const char* code;
  };
  static constexpr Row kRows[] = {
      {228, "A"},  {246, "O"}, {252, "U"}, {196, "A"}, {214, "O"},  {220, "U"}, {223, "S"},
      {49, "E52"}, {50, "Z"},  {51, "D6"}, {52, "V6"}, {53, "F51"}, {54, "S"},  {55, "S15"},
      {56, "A23"}, {57, "N"},  {48, "N4"}, {224, "A"}, {226, "A"},  {225, "A"}, {232, "E"},
      {234, "E"},  {233, "E"}, {242, "O"}, {244, "O"}, {243, "O"},  {249, "U"}, {251, "U"},
      {250, "U"},  {192, "A"}, {193, "A"}, {200, "E"}, {201, "E"},  {210, "O"}, {211, "O"},
      {217, "U"},  {218, "U"}};
  std::string expected[256];
  for (const Row& row : kRows)
    expected[row.byte] = row.code;
  for (int letter = 'A'; letter <= 'Z'; ++letter) {
    expected[letter] = static_cast<char>(letter);
    expected[letter + 32] = static_cast<char>(letter);
  }
  for (int value = 1; value <= 255; ++value)
    EXPECT_EQ(CodeOf(std::string(1, static_cast<char>(value))), expected[value]) << value;
}

TEST(SoundexCode, ReturnsItsFirstLetterOrZero) {
  EXPECT_EQ(CompileSoundex("zahl", 0), 'Z');
  EXPECT_EQ(CompileSoundex("...", 1), 0);
  EXPECT_EQ(CompileSoundex("", 1), 0);
}

TEST(SoundexCode, OfNothingFindsNothing) {
  EXPECT_EQ(CompileSoundex("...", 1), 0);
  EXPECT_EQ(Found("a b c ..."), "none");
  EXPECT_EQ(CompileSoundex("...", 0), 0);
  EXPECT_EQ(Found("a b c ..."), "none");
}

TEST(SoundexCode, OfANullWordStoresTheModeAndKeepsTheCode) {
  CompileSoundex("Meier", 0);
  EXPECT_EQ(CompileSoundex(nullptr, 7), 0);
  SoundexEnvironmentRecord record{};
  int wordMode = 0;
  GetSoundexEnvironment(&record, &wordMode);
  EXPECT_EQ(wordMode, 7);
  EXPECT_STREQ(record.code, "M6");
  EXPECT_EQ(Found("Meierhof Mayr"), "9-13");
}

TEST(SoundexCode, AgreesWithTheModel) {
  for (std::uint32_t seed = 1; seed <= 100000; ++seed) {
    Dice dice(seed);
    std::string word(static_cast<std::size_t>(dice.Between(0, 14)), '\0');
    for (char& byte : word)
      byte = dice.OneIn(3) ? static_cast<char>(dice.Between(1, 255))
                           : dice.Byte(
                                 "abcdefghijklmnopqrstuvwxyzAEMR \xE4\xDF"
                                 "17");
    const ModelCode expected = ModelSoundexCode(word);
    const HeapText text(word);
    ASSERT_EQ(CompileSoundex(text.Data(), 0), expected[0]) << "seed " << seed;
    SoundexEnvironmentRecord record{};
    int wordMode = 1;
    GetSoundexEnvironment(&record, &wordMode);
    ASSERT_EQ(std::memcmp(record.code, expected.data(), expected.size()), 0)
        << "seed " << seed << ", word \"" << word << "\"";
  }
}

// ---- Finding the code anywhere ----

TEST(SoundexAnywhere, RunsFromTheFirstLetterToTheByteThatCompletesTheCode) {
  EXPECT_EQ(FoundAnywhere("M\xFCller", "Herr M\xFCller"), "5-11");
  EXPECT_EQ(FoundAnywhere("Meier", "Meierhof"), "0-5");
}

TEST(SoundexAnywhere, NeedsNoWordStart) {
  EXPECT_EQ(FoundAnywhere("Meier", "Obermeier"), "4-9");
}

TEST(SoundexAnywhere, ABlankOrALineFeedEndsACandidate) {
  EXPECT_EQ(FoundAnywhere("M\xFCller", "M ller"), "none");
  EXPECT_EQ(FoundAnywhere("M\xFCller", "M\nller"), "none");
}

TEST(SoundexAnywhere, OtherBytesThatStandForNothingArePassedOver) {
  EXPECT_EQ(FoundAnywhere("M\xFCller", "M-l\t.ler"), "0-8");
}

TEST(SoundexAnywhere, ACodeOfOneLetterMatchesThatLetterAlone) {
  EXPECT_EQ(FoundAnywhere("Tat", "ein Tag"), "4-5");
  EXPECT_EQ(FoundAnywhere("Tat", "mit"), "2-3");
}

TEST(SoundexAnywhere, AByteOpensACandidateByTheFirstLetterOfItsSpellingOnly) {
  EXPECT_EQ(FoundAnywhere("E", "\xE4"), "none");  // spelled AE
  EXPECT_EQ(FoundAnywhere("A", "\xE4"), "0-1");
  EXPECT_EQ(FoundAnywhere("Eins", "1"), "0-1");
}

TEST(SoundexAnywhere, ResumesAfterARefutedCandidate) {
  EXPECT_EQ(FoundAnywhere("M\xFCller", "MtMLR"), "2-5");
  EXPECT_EQ(FoundAnywhere("Abr", "AtAbr"), "2-5");
}

// ---- Comparing whole words ----

TEST(SoundexWords, AHyphenEndsAWord) {
  EXPECT_EQ(FoundAsWord("M\xFCller",
                        "Herr Mueller-L\xFC"
                        "denscheidt"),
            "5-12");
}

TEST(SoundexWords, TheWholeWordsCodeMustBeEqual) {
  EXPECT_EQ(FoundAsWord("Meier", "Meierhof"), "none");
  EXPECT_EQ(FoundAsWord("Meierhof", "Meier"), "none");
  EXPECT_EQ(FoundAsWord("Tat", "Tag Tat"), "4-7");
}

TEST(SoundexWords, AByteWithoutASpellingSeparatesWords) {
  EXPECT_EQ(CompileSoundex("\xC2me", 1), 'M');
  EXPECT_EQ(KeptCode(), "M");
  EXPECT_EQ(Found("\xC2me"), "1-3");
}

TEST(SoundexWords, DigitsBelongToWords) {
  EXPECT_EQ(FoundAsWord("VierSiebenEinsEins", "am 4711er, 4711."), "11-15");
}

TEST(SoundexWords, WordsAreComparedOnTheirFirstTenCharactersOnly) {
  EXPECT_EQ(FoundAsWord("abcdlmbrtsmmm", "abcdlmbrtsrrrrbbb"), "0-17");
  EXPECT_EQ(FoundAsWord("abcdlmbrtsmmm", "abcdlmbrt"), "none");
}

// ---- State ----

TEST(SoundexState, NullPointersFindNothing) {
  CompileSoundex("Tat", 0);
  int number = -5;
  EXPECT_EQ(SearchSoundex(nullptr, &number, &number), 0);
  EXPECT_EQ(SearchSoundex("t", nullptr, &number), 0);
  EXPECT_EQ(SearchSoundex("t", &number, nullptr), 0);
  EXPECT_EQ(number, -5);
}

TEST(SoundexState, NullPointersChangeNothing) {
  CompileSoundex("Tat", 3);
  SetSoundexEnvironment(nullptr, 9);
  SoundexEnvironmentRecord record{};
  record.code[0] = 'x';
  int wordMode = -1;
  GetSoundexEnvironment(nullptr, &wordMode);
  EXPECT_EQ(wordMode, -1);
  GetSoundexEnvironment(&record, nullptr);
  EXPECT_EQ(record.code[0], 'x');
  GetSoundexEnvironment(&record, &wordMode);
  EXPECT_STREQ(record.code, "T");
  EXPECT_EQ(wordMode, 3);
}

TEST(SoundexState, IsSavedAndInstalledByteByByte) {
  const ModelCode full = RawCode("A123451632");
  const ModelCode garbage = RawCode(std::string_view("\xFF\0q\x80 \n\0\0z9", 10));
  for (const ModelCode& code : {full, garbage, ModelCode{}}) {
    for (const int wordMode : {0, 1, -7}) {
      SetCode(code, wordMode);
      SoundexEnvironmentRecord record{};
      int kept = 99;
      GetSoundexEnvironment(&record, &kept);
      EXPECT_EQ(std::memcmp(record.code, code.data(), code.size()), 0);
      EXPECT_EQ(kept, wordMode);
    }
  }
}

TEST(SoundexState, ACodeOfTenCharactersIsReadToItsEndAndNoFurther) {
  SetCode(RawCode("A123451632"), 1);
  EXPECT_EQ(Found("x abcdlmbrts"), "2-12");
  SetCode(RawCode("A123451632"), 0);
  EXPECT_EQ(Found("x abcdlmbrtsx"), "2-12");
}

TEST(SoundexState, ACodeThatNoWordHasFindsNothing) {
  for (const int wordMode : {0, 1}) {
    SetCode(RawCode("a46"), wordMode);
    EXPECT_EQ(Found("alr AlR a46"), "none");
    SetCode(RawCode("A09"), wordMode);
    EXPECT_EQ(Found("aaa a09"), "none");
  }
}

TEST(SoundexState, ASearchChangesNothing) {
  CompileSoundex("Meier", 1);
  Found("Mayr");
  EXPECT_EQ(KeptCode(), "M6");
  EXPECT_EQ(Found("Mayr"), "0-4");
}

// ---- Searching against the model ----

std::string RandomText(Dice& dice, int longest) {
  static constexpr std::string_view kFew = "mmllrraeAtT \n-";
  static constexpr std::string_view kMany =
      "abcdefghijklmnopqrstuvwxyzABMRST0123456789\xE4\xF6\xFC\xC4\xD6\xDC\xDF\xE0\xE9\xC2\xEE"
      "  \n\n.,-'\t";
  return dice.Bytes(dice.OneIn(2) ? kFew : kMany, longest);
}

/// The code of a stretch of `text` or of another word, or bytes that no word codes to.
ModelCode RandomCode(Dice& dice, const std::string& text) {
  if (dice.OneIn(2)) {
    const auto begin = static_cast<std::size_t>(dice.Between(0, static_cast<int>(text.size())));
    return ModelSoundexCode(text.substr(begin, text.find_first_of(" \n.,-'\t", begin) - begin));
  }
  if (dice.OneIn(2)) return ModelSoundexCode(RandomText(dice, dice.OneIn(4) ? 30 : 5));
  ModelCode code{};
  code[0] = dice.Byte("MLRATmE1\xFF");
  const int length = dice.Between(1, 10);
  for (std::size_t i = 1; i < static_cast<std::size_t>(length); ++i)
    code[i] = dice.OneIn(8) ? static_cast<char>(dice.Between(0, 255)) : dice.Byte("04563");
  return code;
}

TEST(SoundexAgreement, SearchesInBothModes) {
  int hits = 0;
  for (std::uint32_t seed = 1; seed <= 200000; ++seed) {
    Dice dice(seed);
    const std::string text = RandomText(dice, 40);
    const ModelCode code = RandomCode(dice, text);
    const int wordMode = dice.Between(0, 1) * dice.Between(1, 5);
    SetCode(code, wordMode);
    const auto expected = ModelSearch(text, code, wordMode != 0);
    const std::string range =
        expected ? std::to_string(expected->start) + "-" + std::to_string(expected->end) : "none";
    ASSERT_EQ(Found(text), range) << "seed " << seed << ", code \""
                                  << std::string(code.data(), code.size()) << "\", mode "
                                  << wordMode << ", text \"" << text << "\"";
    hits += expected ? 1 : 0;
  }
  EXPECT_GT(hits, 20000);
}

}  // namespace
}  // namespace trovex::testing
