// Which patterns are lists of words, and of which.

#include "matcher/words/word_list.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <string>
#include <vector>

namespace trovex {
namespace {

std::optional<WordList> Read(const std::string& pattern) {
  CompileBudget budget;
  return ReadWordList(ParsePattern(pattern.data(), pattern.size(), nullptr), budget);
}

/// The words of `pattern`, sorted, each class as its lowest byte.
std::vector<std::string> WordsOf(const std::string& pattern) {
  const auto list = Read(pattern);
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
