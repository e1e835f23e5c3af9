#include "matcher/words/few_words.h"

#include "matcher/pattern/pattern_syntax.h"
#include "tests/dice.h"
#include "tests/matcher/words/plain_words.h"
#include "tests/visible.h"

#include <gtest/gtest.h>
#include <algorithm>
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

TEST(FewWords, HaveSetsThatAMaskTells) {
  EXPECT_TRUE(FewWordsOf("[ac]x|y"));
  EXPECT_FALSE(FewWordsOf("[ab]x|[bcd]y"));  // c and d are a class, and differ in three bits
  EXPECT_FALSE(FewWordsOf("[abc]x|y"));
  EXPECT_FALSE(FewWordsOf("[ad]x|y"));
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
