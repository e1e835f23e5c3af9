#include "matcher/words/list_in_pattern.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace trovex {
namespace {

std::optional<ListInPattern> Find(const std::string& pattern, double mostRate = 100'000) {
  CompileBudget budget;
  return FindListInPattern(ParsePattern(pattern.data(), pattern.size(), nullptr), mostRate, budget);
}

/// The words of a list whose classes are of one byte each, sorted.
std::vector<std::string> WordsOf(const WordList& list) {
  std::vector<std::string> words;
  for (std::size_t i = 0; i < list.Count(); ++i) {
    std::string& word = words.emplace_back();
    for (const char number : list.Word(i))
      word += static_cast<char>(list.bytesOf[static_cast<unsigned char>(number)]._Find_first());
  }
  std::sort(words.begin(), words.end());
  return words;
}

using Words = std::vector<std::string>;

TEST(ListInPattern, BytesBesideTheListBelongToItsWordsAndAnchorsBesideTheseToo) {
  const auto found = Find("[a-z]*\\<x(Haus|Hof) \\>[0-9]+");
  ASSERT_TRUE(found);
  EXPECT_EQ(WordsOf(found->list), (Words{"xHaus ", "xHof "}));
  EXPECT_EQ(found->list.starts, AnchorNeighbours(Anchor::kWordStart));
  EXPECT_EQ(found->list.stops, AnchorNeighbours(Anchor::kWordEnd));
  EXPECT_TRUE(found->before);
  EXPECT_TRUE(found->after);
}

TEST(ListInPattern, OfSeveralListsTheRarestIsTaken) {
  const auto found = Find("(der|die|das) [a-z]+ (Xylophon|Quarz)?(Zypresse|Quarz)[a-z]*");
  ASSERT_TRUE(found);
  EXPECT_EQ(WordsOf(found->list), (Words{"Quarz", "Zypresse"}));
  EXPECT_EQ(found->before->Node(found->before->Root()).kind, SyntaxKind::kConcat);
  EXPECT_EQ(found->after->Node(found->after->Root()).kind, SyntaxKind::kRepeat);
}

TEST(ListInPattern, ListsInsideOfBracketsAreFoundAndRepeatedOnesAreNot) {
  EXPECT_TRUE(Find("(((Haus|Hof)[a-z]*))"));
  EXPECT_FALSE(Find("(((Haus|Hof)[a-z]*)+)"));
  EXPECT_FALSE(Find("(Haus|Hof)?[a-z]*"));
}

TEST(ListInPattern, WhatAllAlternativesBeginOrEndWithStandsBesideTheList) {
  const auto before = Find("..Haus|..Hof|..(Garten)");
  ASSERT_TRUE(before);
  EXPECT_EQ(WordsOf(before->list), (Words{"Garten", "Haus", "Hof"}));
  EXPECT_EQ(before->before->nodes.size(), 3U);
  EXPECT_FALSE(before->after);
  const auto after = Find("x(Haus[a-z]*[0-9]|Hof[a-z]*[0-9])y");
  ASSERT_TRUE(after);
  EXPECT_EQ(WordsOf(after->list), (Words{"xHaus", "xHof"}));
  EXPECT_EQ(after->after->nodes.size(), 5U);
  const auto both = Find("\\<[a-c]Hut+|\\<[a-c]Rat+");
  ASSERT_TRUE(both);
  EXPECT_EQ(WordsOf(both->list), (Words{"Hu", "Ra"}));
  EXPECT_TRUE(both->before && both->after);
}

TEST(ListInPattern, WhatOnlySomeAlternativesBeginOrEndWithIsNoneOfThat) {
  EXPECT_FALSE(Find("[a-z]{2}Haus|[a-z]{3}Hof"));
  EXPECT_FALSE(Find("[a-z]{20}Haus|[a-z]{20,21}Hof"));
  EXPECT_FALSE(Find("[a-z]Haus|[a-y]Hof"));
  EXPECT_FALSE(Find("(.x|.y)Haus|(.x|.y|.z)Hof"));
  EXPECT_FALSE(Find("Haus[a-z]*|Hof"));
  EXPECT_FALSE(Find("..|..Haus"));
  EXPECT_FALSE(Find("[a-z]*|[a-z]*"));
}

TEST(ListInPattern, WhatIsNothingButAListOrTooCommonIsNone) {
  EXPECT_FALSE(Find("(Haus|Hof)en"));
  EXPECT_FALSE(Find("Haus[a-z]*"));
  EXPECT_TRUE(Find("(e|n)[0-9]*"));
  EXPECT_FALSE(Find("(e|n)[0-9]*", 1'000));
}

TEST(ListInPattern, WordsInFrontAreAsManyPartsAsThereAreFewWordsOf) {
  const auto find = [](const std::string& pattern) {
    CompileBudget budget;
    return FindWordsInFront(ParsePattern(pattern.data(), pattern.size(), nullptr), 4, budget);
  };
  const auto run = find("(der|die) [A-Z][a-z]+");
  ASSERT_TRUE(run);
  EXPECT_EQ(WordsOf(run->list), (Words{"der A", "die A"}));
  EXPECT_FALSE(run->before);
  EXPECT_EQ(run->after->nodes.size(), 2U);
  const auto few = find("(a|b)(c|d)(e|f)(g|h)");
  ASSERT_TRUE(few);
  EXPECT_EQ(WordsOf(few->list), (Words{"ac", "ad", "bc", "bd"}));
  EXPECT_FALSE(find("(a|b|c|d|e)x+"));
  EXPECT_FALSE(find("x+(a|b)"));
  EXPECT_TRUE(find("^(a|b)x+"));
  EXPECT_FALSE(find("^x+"));
}

TEST(ListInPattern, TheRateOfAListIsThatOfItsWordsTogether) {
  const auto one = Find("(Haus|Haus)[0-9]*");
  const auto two = Find("(Haus|Haus|Haus|Haus)[0-9]*");
  const auto longer = Find("(Haushalt|Haushalt)[0-9]*");
  ASSERT_TRUE(one && two && longer);
  EXPECT_DOUBLE_EQ(2 * ExpectedRate(one->list), ExpectedRate(two->list));
  EXPECT_LT(ExpectedRate(longer->list), ExpectedRate(one->list));
}

}  // namespace
}  // namespace trovex
