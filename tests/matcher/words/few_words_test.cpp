#include "matcher/words/few_words.h"

#include "matcher/pattern/pattern_syntax.h"
#include "tests/dice.h"
#include "tests/matcher/words/plain_words.h"
#include "tests/visible.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace trovex {

namespace {

using testing::AsciiFold;
using testing::Dice;
using testing::ExactBytes;
using testing::RandomWords;
using testing::StandsAt;
using testing::TextOfWords;
using testing::Visible;

std::optional<FewWords> FewWordsOf(std::string_view pattern, bool words = false,
                                   const ByteMap* fold = nullptr) {
  CompileBudget budget;
  return FewWords::For(ParsePattern(pattern.data(), pattern.size(), fold), words, budget);
}

std::string Joined(const std::vector<std::string>& words) {
  std::string pattern;
  for (const std::string& word : words)
    pattern.append(pattern.empty() ? "" : "|").append(word);
  return pattern;
}

TEST(FewWords, OfOneListAreTheLongestThatStandsAtEachPlace) {
  const ByteMap fold = AsciiFold();
  for (std::uint32_t seed = 0; seed < 2'000; ++seed) {
    Dice dice(seed);
    const bool folds = dice.OneIn(2);
    const auto words = RandomWords(dice, dice.OneIn(2) ? "ab" : "aBc-", dice.Between(2, 8),
                                   dice.Between(1, 9), dice.OneIn(3) ? 30 : 10);
    const std::optional<FewWords> few = FewWordsOf(Joined(words), false, folds ? &fold : nullptr);
    ASSERT_TRUE(few) << Joined(words);
    const std::string text = TextOfWords(dice, words, "abBc-\n", dice.Between(0, 40));
    const ExactBytes bytes(text);
    const unsigned char* const begin = bytes.View().data();
    const unsigned char* const end = begin + text.size();
    const bool refusesSome = dice.OneIn(3);
    const auto canEnd = [&](std::size_t place) { return !refusesSome || place % 3 != 0; };
    for (std::size_t place = 0; place < text.size(); ++place) {
      std::size_t longest = 0;
      for (const std::string& word : words) {
        const bool stands =
            StandsAt(text, place, word, folds ? fold : kSameBytes) && canEnd(place + word.size());
        if (stands) longest = std::max(longest, word.size());
      }
      const auto canEndAt = [&](const unsigned char* stop) {
        return canEnd(static_cast<std::size_t>(stop - begin));
      };
      ASSERT_EQ(few->LongestAt(begin + place, begin, end, canEndAt), longest)
          << "seed " << seed << " words " << Joined(words) << " text " << Visible(text) << " at "
          << place;
    }
  }
}

TEST(FewWords, AreTwoToEightWhateverWayTheyWereWritten) {
  EXPECT_TRUE(FewWordsOf("a|b|c|d|e|f|g|h"));
  EXPECT_TRUE(FewWordsOf("Datei(en)?"));
  EXPECT_TRUE(FewWordsOf("[Dd]atei|(Ver|Aus)gabe"));
  EXPECT_TRUE(FewWordsOf("\\<(der|die|das)\\>"));
  EXPECT_FALSE(FewWordsOf("a|b|c|d|e|f|g|h|i"));
  EXPECT_FALSE(FewWordsOf("Datei"));
  EXPECT_FALSE(FewWordsOf("der|\\<die"));
  EXPECT_FALSE(FewWordsOf("der|die*"));
  EXPECT_FALSE(FewWordsOf("(der)?"));
}

TEST(FewWords, HaveAnySetsOfBytes) {
  // At each place each alternative by itself, set by set.
  const std::vector<std::string> sets = {"[0-9]", "[abc]", "[^a]", "[ab]", "a", "9", "[ad]", "."};
  const auto holds = [](const std::string& set, char byte) {
    if (set == "[0-9]") return byte >= '0' && byte <= '9';
    if (set == "[^a]") return byte != 'a' && byte != '\n';
    return set == "." ? byte != '\n' : set.find(byte) != std::string::npos;
  };
  for (std::uint32_t seed = 0; seed < 2'000; ++seed) {
    Dice dice(seed);
    std::vector<std::vector<std::string>> words;
    std::string pattern;
    for (int i = dice.Between(2, 8); i > 0; --i) {
      words.emplace_back();
      pattern.append(pattern.empty() ? "" : "|");
      for (int length = dice.Between(1, dice.OneIn(4) ? 20 : 5); length > 0; --length)
        pattern.append(words.back().emplace_back(dice.OneOf(sets)));
    }
    const std::optional<FewWords> few = FewWordsOf(pattern);
    ASSERT_TRUE(few) << pattern;
    std::string text;
    for (int size = dice.Between(0, 60); size > 0; --size)
      text += dice.Byte("ab19d\n");
    const ExactBytes bytes(text);
    const unsigned char* const begin = bytes.View().data();
    const unsigned char* const end = begin + text.size();
    for (std::size_t place = 0; place < text.size(); ++place) {
      std::size_t longest = 0;
      for (const std::vector<std::string>& word : words) {
        bool stands = place + word.size() <= text.size();
        for (std::size_t i = 0; stands && i < word.size(); ++i)
          stands = holds(word[i], text[place + i]);
        if (stands) longest = std::max(longest, word.size());
      }
      const auto anyEnd = [](const unsigned char* /*stop*/) { return true; };
      ASSERT_EQ(few->LongestAt(begin + place, begin, end, anyEnd), longest)
          << "seed " << seed << " pattern " << pattern << " text " << Visible(text) << " at "
          << place;
    }
  }
}

TEST(FewWords, AreTheDearerTheMoreOftenTheirBeginningsCome) {
  EXPECT_LT(FewWordsOf("(19|20)[0-9][0-9]")->CostOfByte(), FewWordsOf("[ae]n|er")->CostOfByte());
  EXPECT_TRUE(std::isinf(FewWordsOf("[a-z][a-z]|[a-z]x")->CostOfByte()));
}

TEST(FewWords, AskForTheirNeighbours) {
  const std::optional<FewWords> plain = FewWordsOf("der|die");
  EXPECT_EQ(plain->Starts(), kAnyNeighbours);
  EXPECT_EQ(plain->Stops(), kAnyNeighbours);
  const std::optional<FewWords> whole = FewWordsOf("der|die", true);
  EXPECT_EQ(whole->Starts(), kNoLetterBefore);
  EXPECT_EQ(whole->Stops(), kNoLetterAfter);
  const std::optional<FewWords> lines = FewWordsOf("^(der|die)$");
  EXPECT_EQ(lines->Starts(), AnchorNeighbours(Anchor::kLineStart));
  EXPECT_EQ(lines->Stops(), AnchorNeighbours(Anchor::kLineEnd));
}

}  // namespace
}  // namespace trovex
