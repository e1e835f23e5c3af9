// The search for a list's words against the most trivial one.

#include "matcher/words/word_scan.h"

#include "tests/dice.h"
#include "tests/matcher/words/plain_words.h"
#include "tests/visible.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::AllWords;
using testing::AsciiFold;
using testing::Dice;
using testing::ExactBytes;
using testing::RandomWords;
using testing::TextOfWords;
using testing::Visible;

using Ranges = std::vector<ByteRange>;

std::string Joined(const std::vector<std::string>& words) {
  std::string pattern;
  for (const std::string& word : words) {
    if (!pattern.empty()) pattern += '|';
    pattern += word;
  }
  return pattern;
}

ByteMap UpperCase() {
  ByteMap upper = kSameBytes;
  for (unsigned c = 'a'; c <= 'z'; ++c)
    upper[c] = static_cast<unsigned char>(c - 'a' + 'A');
  return upper;
}

std::optional<WordScan> ScanFor(const std::string& pattern, bool folds,
                                bool gathers = MachineGathersFast()) {
  CompileBudget budget;
  const ByteMap upper = UpperCase();
  const SyntaxTree tree = ParsePattern(pattern.data(), pattern.size(), folds ? &upper : nullptr);
  const auto list = ReadWordList(tree, budget);
  return list ? WordScan::Make(*list, true, budget, gathers) : std::nullopt;
}

/// All words of `text`, from `places`, which may have found others before.
template <typename CanEnd>
Ranges Find(const WordScan& scan, WordPlaces& places, const std::string& text,
            const CanEnd& canEnd) {
  const ExactBytes bytes(text);
  const unsigned char* const begin = bytes.View().data();
  const unsigned char* const end = begin + text.size();
  const auto offset = [&](const unsigned char* place) {
    return static_cast<std::size_t>(place - begin);
  };
  Ranges found;
  std::int64_t work = 0;
  places.Forget();
  for (const unsigned char* place = begin; (place = places.Next(place, end)) != nullptr;) {
    const std::size_t length = scan.LongestAt(
        place, end, [&](const unsigned char* at) { return canEnd(offset(at)); }, work);
    if (length > 0) found.push_back({offset(place), offset(place) + length});
    place += length > 0 ? length : 1;
  }
  return found;
}

/// The places of a text of up to 64 bytes at which a word may start, looked at as a short text if `isShort`, and
/// else like a long one.
std::uint64_t MarksOf(const WordScan& scan, const std::string& text, bool isShort) {
  const ExactBytes bytes(text);
  const unsigned char* const begin = bytes.View().data();
  std::array<std::uint64_t, WordScan::kWholeWindows / 64> marks{};
  std::array<std::uint32_t, WordScan::kWholeWindows + kWindowsAtOnce> hits;
  scan.MarkStarts(begin, isShort ? 64 : WordScan::kWholeWindows, begin + text.size(), marks.data(),
                  hits.data());
  return marks[0];
}

void Compare(const std::vector<std::string>& words, const std::vector<std::string>& texts,
             bool folds, std::uint32_t seed, bool gathers) {
  const auto scan = ScanFor(Joined(words), folds, gathers);
  ASSERT_TRUE(scan.has_value()) << Visible(Joined(words));
  WordPlaces places(*scan);
  const ByteMap fold = folds ? AsciiFold() : kSameBytes;
  for (const std::string& text : texts) {
    const auto anywhere = [](std::size_t) { return true; };
    ASSERT_EQ(Find(*scan, places, text, anywhere),
              AllWords(words, text, fold, [](std::size_t, std::size_t) { return true; }))
        << "seed " << seed << " words " << Visible(Joined(words)) << " text " << Visible(text);
    if (text.size() <= 64) {
      ASSERT_EQ(MarksOf(*scan, text, true), MarksOf(*scan, text, false))
          << "seed " << seed << " words " << Visible(Joined(words)) << " text " << Visible(text);
    }
    const auto atEven = [](std::size_t end) { return end % 2 == 0; };
    ASSERT_EQ(
        Find(*scan, places, text, atEven),
        AllWords(words, text, fold, [&](std::size_t, std::size_t end) { return atEven(end); }))
        << "seed " << seed << " words " << Visible(Joined(words)) << " text " << Visible(text);
  }
}

/// With either way to look up windows.
void Compare(const std::vector<std::string>& words, const std::vector<std::string>& texts,
             bool folds, std::uint32_t seed) {
  Compare(words, texts, folds, seed, true);
  if (!::testing::Test::HasFatalFailure()) Compare(words, texts, folds, seed, false);
}

std::vector<std::string> AllTexts(std::string_view alphabet, std::size_t longest) {
  std::vector<std::string> texts = {""};
  for (std::size_t i = 0; i < texts.size() && texts[i].size() < longest; ++i) {
    const std::string text = texts[i];
    for (const char c : alphabet)
      texts.push_back(text + c);
  }
  return texts;
}

TEST(WordScan, EveryListOfShortWordsInEveryShortText) {
  const std::vector<std::string> texts = AllTexts("ab", 7);
  std::vector<std::string> words = AllTexts("ab", 3);
  words.erase(words.begin());
  for (std::uint32_t chosen = 1; chosen < 1U << words.size(); ++chosen) {
    std::vector<std::string> list;
    for (std::size_t i = 0; i < words.size(); ++i) {
      if ((chosen >> i & 1) != 0) list.push_back(words[i]);
    }
    if (chosen % 16 != 1 && chosen > 4096) continue;
    Compare(list, texts, false, chosen);
    if (HasFatalFailure()) return;
  }
}

TEST(WordScan, RandomListsInRandomTexts) {
  constexpr std::string_view kAlphabets[] = {"ab",
                                             "abc",
                                             "abcdefgh",
                                             "aAbBcC",
                                             "abcdefghijklmnopqrstuvwxyz",
                                             "a\xE4\xC4\xDF\xFF"
                                             "b"};
  for (std::uint32_t seed = 0; seed < 1500; ++seed) {
    Dice dice(seed);
    const std::string_view alphabet = kAlphabets[seed % std::size(kAlphabets)];
    const int shortest = dice.Between(1, dice.OneIn(2) ? 12 : 3);
    const int longest = shortest + dice.Between(0, 14);
    // Few words lie in buckets, many are found by windows.
    const int count = dice.OneIn(20) ? 600 : dice.Between(1, dice.OneIn(8) ? 250 : 30);
    const auto words = RandomWords(dice, alphabet, count, shortest, longest);
    const int size = dice.OneIn(40) ? 9000 : dice.Between(0, 500);
    Compare(words, {TextOfWords(dice, words, alphabet, size), dice.Bytes(alphabet, 40)},
            dice.OneIn(2), seed);
    if (HasFatalFailure()) return;
  }
}

TEST(WordScan, WordsAtEveryDistanceFromTheEndsOfWhatIsScannedAtOnce) {
  const std::vector<std::string> words = {"Regenbogen", "Regen", "Bogenhaus", "Birnbaum",
                                          "Baumhaus"};
  const auto scan = ScanFor(Joined(words), false);
  ASSERT_TRUE(scan.has_value());
  WordPlaces places(*scan);
  const auto anywhere = [](std::size_t) { return true; };
  for (std::size_t before = 0; before < 1300; ++before) {
    for (const std::string& word : words) {
      const std::string text = std::string(before, '.') + word;
      ASSERT_EQ(Find(*scan, places, text, anywhere), (Ranges{{before, text.size()}})) << before;
    }
  }
  for (std::size_t before = 12'000; before < 13'000; before += 7) {
    const std::string text = std::string(before, '.') + words[0] + std::string(before, '.');
    ASSERT_EQ(Find(*scan, places, text, anywhere), (Ranges{{before, before + 10}})) << before;
  }
}

TEST(WordScan, PlacesThatWereFoundStayWhenTheSearchGoesOn) {
  const auto scan = ScanFor("abcd|bcde", false);
  ASSERT_TRUE(scan.has_value());
  WordPlaces places(*scan);
  const ExactBytes bytes("xabcdexx");
  const unsigned char* const begin = bytes.View().data();
  const unsigned char* const end = begin + bytes.View().size();
  EXPECT_EQ(places.Next(begin, end), begin + 1);
  EXPECT_EQ(places.Next(begin + 2, end), begin + 2);
  EXPECT_EQ(places.Next(begin + 3, end), nullptr);
  EXPECT_EQ(places.Next(begin, end), begin + 1);
}

TEST(WordScan, NumbersAreNoWords) {
  const auto isList = [](std::string_view pattern) {
    CompileBudget budget;
    return MakeWordScan(ParsePattern(pattern.data(), pattern.size(), nullptr), false, budget)
        .has_value();
  };
  EXPECT_TRUE(isList("Haus|Hof|Tor|Tal|See|Ort|Bad|Dom|Weg"));
  EXPECT_FALSE(isList("(19|20)[0-9][0-9]"));
  EXPECT_FALSE(isList("[0-9]{1,3}\\.[0-9]{1,3}\\.[0-9]{1,3}\\.[0-9]{1,3}"));
}

TEST(WordScan, WordsWithSetsOfManyBytesAreFound) {
  // As spelling variants make them: all ways to write a letter, in too many places for a table of them.
  constexpr std::string_view kLetters[] = {"aAxX1", "bB", "cC23456", "dDyY", "e", "fFgGhHiI"};
  for (std::uint32_t seed = 0; seed < 400; ++seed) {
    Dice dice(seed);
    const auto words = RandomWords(dice, "abcdef", dice.Between(1, dice.OneIn(8) ? 300 : 20),
                                   dice.Between(1, 6), dice.Between(6, dice.OneIn(8) ? 40 : 12));
    ByteMap fold = kSameBytes;
    for (const std::string_view letters : kLetters) {
      for (const char c : letters)
        fold[static_cast<unsigned char>(c)] = static_cast<unsigned char>(letters[0]);
    }
    std::string pattern;
    for (const std::string& word : words) {
      if (!pattern.empty()) pattern += '|';
      for (const char c : word) {
        pattern += '[';
        pattern += kLetters[c - 'a'];
        pattern += ']';
      }
    }
    const auto scan = ScanFor(pattern, false);
    ASSERT_TRUE(scan.has_value()) << pattern;
    WordPlaces places(*scan);
    for (const int size : {dice.Between(0, 60), dice.Between(0, 900)}) {
      const std::string text = TextOfWords(dice, words, "aAx1bBcC2dyYefgI ", size);
      ASSERT_EQ(Find(*scan, places, text, [](std::size_t) { return true; }),
                AllWords(words, text, fold, [](std::size_t, std::size_t) { return true; }))
          << "seed " << seed << " pattern " << pattern << " text " << Visible(text);
      if (text.size() > 64) continue;
      ASSERT_EQ(MarksOf(*scan, text, true), MarksOf(*scan, text, false))
          << "seed " << seed << " pattern " << pattern << " text " << Visible(text);
    }
  }
}

TEST(WordScan, ManyWordsWithSetsOfManyBytesAreFoundAcrossTheEndsOfWhatIsScannedAtOnce) {
  // So many that no buckets serve, and so many spellings that no table has all of them: a stretch is looked up as what
  // it stands for, with some bytes behind it.
  Dice dice(1);
  const auto words = RandomWords(dice, "abcdefghijklmnopqrstuvwxyz", 2'000, 12, 14);
  std::string pattern;
  for (const std::string& word : words) {
    if (!pattern.empty()) pattern += '|';
    for (const char c : word) {
      const auto number = static_cast<unsigned char>(c - 'a');
      // Each letter has three more spellings.
      pattern += {'[',
                  c,
                  static_cast<char>(0xA0 + 3 * number),
                  static_cast<char>(0xA1 + 3 * number),
                  static_cast<char>(0xA2 + 3 * number),
                  ']'};
    }
  }
  const auto scan = ScanFor(pattern, false);
  ASSERT_TRUE(scan.has_value());
  WordPlaces places(*scan);
  const auto anywhere = [](std::size_t) { return true; };
  std::size_t number = 0;
  for (std::size_t before = 0; before < 1'400; ++before) {
    const std::string& word = words[number++ % words.size()];
    const std::string text = std::string(before, '.') + word + std::string(40, '.');
    ASSERT_EQ(Find(*scan, places, text, anywhere), (Ranges{{before, before + word.size()}}))
        << word << " after " << before;
  }
}

}  // namespace
}  // namespace trovex
