// Which patterns are lists of words, and of which.

#include "matcher/words/word_list.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <string>
#include <vector>

namespace trovex {
namespace {

std::optional<WordList> Read(const std::string& pattern, WordSets sets = WordSets::kClasses) {
  CompileBudget budget;
  return ReadWordList(ParsePattern(pattern.data(), pattern.size(), nullptr), budget, sets);
}

/// The words of `pattern`, sorted, each class or set as its lowest byte.
std::vector<std::string> WordsOf(const std::string& pattern, WordSets sets = WordSets::kClasses) {
  const auto list = Read(pattern, sets);
  std::vector<std::string> words;
  if (!list) return {"no list"};
  for (std::size_t i = 0; i < list->Count(); ++i) {
    std::string word;
    for (const char number : list->Word(i))
      word += static_cast<char>(list->bytesOf[static_cast<unsigned char>(number)]._Find_first());
    words.push_back(word);
  }
  std::sort(words.begin(), words.end());
  return words;
}

using Words = std::vector<std::string>;

TEST(WordList, AlternativesAreWords) {
  EXPECT_EQ(WordsOf("Haus|Hof|Garten"), (Words{"Garten", "Haus", "Hof"}));
  EXPECT_EQ(WordsOf("Haus"), (Words{"Haus"}));
}

TEST(WordList, BracketsAreWrittenOut) {
  EXPECT_EQ(WordsOf("(Haus|Hof)(boot|tor)?"),
            (Words{"Haus", "Hausboot", "Haustor", "Hof", "Hofboot", "Hoftor"}));
  EXPECT_EQ(WordsOf("(a|b){2}"), (Words{"aa", "ab", "ba", "bb"}));
  EXPECT_EQ(WordsOf("x(a|)"), (Words{"x", "xa"}));
}

TEST(WordList, BytesThatBelongToTheSameSetsAreOneClass) {
  EXPECT_EQ(WordsOf("[hH]aus|[hH]of"), (Words{"Haus", "Hof"}));
  EXPECT_EQ(WordsOf("[hH]aus|hof"), (Words{"Haus", "haus", "hof"}));
}

TEST(WordList, WholeSetsStayAsTheyAre) {
  EXPECT_EQ(WordsOf("(19|20)[0-9][0-9]", WordSets::kWhole), (Words{"1900", "2000"}));
  EXPECT_EQ(WordsOf("[hH]aus|hof", WordSets::kWhole), (Words{"Haus", "hof"}));
  EXPECT_EQ(WordsOf("[^b-z]|b", WordSets::kWhole), (Words{std::string(1, '\0'), "b"}));
  const auto list = Read("[0-9]|[1-3]", WordSets::kWhole);
  ASSERT_TRUE(list.has_value());
  EXPECT_EQ(list->bytesOf[static_cast<unsigned char>(list->Word(0)[0])].count(), 10U);
  EXPECT_EQ(list->bytesOf[static_cast<unsigned char>(list->Word(1)[0])].count(), 3U);
}

TEST(WordList, MoreWholeSetsThanNumbersAreNoList) {
  const auto ofSets = [](int count) {
    std::string pattern;
    for (int i = 0; i < count; ++i) {
      pattern += '[';
      pattern += static_cast<char>('A' + i / 16);
      pattern += static_cast<char>('a' + i % 16);
      pattern += ']';
    }
    return pattern;
  };
  EXPECT_TRUE(Read(ofSets(255), WordSets::kWhole).has_value());
  EXPECT_FALSE(Read(ofSets(256), WordSets::kWhole).has_value());
}

TEST(WordList, AnchorsAroundTheWholeAreConditions) {
  const auto list = Read("\\<(Haus|Hof)\\>");
  ASSERT_TRUE(list.has_value());
  EXPECT_EQ(list->starts, AnchorNeighbours(Anchor::kWordStart));
  EXPECT_EQ(list->stops, AnchorNeighbours(Anchor::kWordEnd));
  EXPECT_EQ(WordsOf("^(a|b)$"), (Words{"a", "b"}));
}

TEST(WordList, WhatIsNoListOfWordsIsNone) {
  for (const char* const pattern : {"a*", "a|b+", "(a)\\1", "a|", "", "a|^b", "a\\>b", "x?", "a{0}",
                                    "[a-z]|b", "a{9}", "(a|b$)c"}) {
    EXPECT_EQ(WordsOf(pattern), (Words{"no list"})) << pattern;
  }
}

TEST(WordList, TooManyWordsAreNoList) {
  EXPECT_EQ(WordsOf("(a|b|c|d|e|f|g|h){8}"), (Words{"no list"}));
}

TEST(WordList, AWordWithAByteThatNothingMatchesIsLeftOut) {
  // Without regard to case a byte after a backslash stays as it was typed, and is never met.
  ByteMap upper = kSameBytes;
  for (unsigned c = 'a'; c <= 'z'; ++c)
    upper[c] = static_cast<unsigned char>(c - 'a' + 'A');
  const std::string pattern = "ab|a\\x";
  CompileBudget budget;
  const auto list = ReadWordList(ParsePattern(pattern.data(), pattern.size(), &upper), budget);
  ASSERT_TRUE(list.has_value());
  EXPECT_EQ(list->Count(), 1U);
}

}  // namespace
}  // namespace trovex
