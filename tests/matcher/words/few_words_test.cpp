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

/// Sets as they are written.
const std::vector<std::string> kSets = {"[0-9]", "[abc]", "[^a]", "[ab]", "a", "9", "[ad]", "."};

bool Holds(const std::string& set, char byte) {
  if (set == "[0-9]") return byte >= '0' && byte <= '9';
  if (set == "[^a]") return byte != 'a' && byte != '\n';
  return set == "." ? byte != '\n' : set.find(byte) != std::string::npos;
}

/// How many bytes of `text` are of `set` from `place` on, at most `most`.
std::size_t CountOf(const std::string& set, const std::string& text, std::size_t place,
                    std::size_t most) {
  std::size_t count = 0;
  while (count < most && place + count < text.size() && Holds(set, text[place + count]))
    ++count;
  return count;
}

struct RandomRows {
  std::vector<std::vector<std::string>> rows;
  std::string pattern;
};

RandomRows RandomRowsOf(Dice& dice) {
  RandomRows random;
  for (int i = dice.Between(2, 8); i > 0; --i) {
    random.pattern.append(random.pattern.empty() ? "" : "|");
    std::vector<std::string>& row = random.rows.emplace_back();
    for (int length = dice.Between(1, dice.OneIn(4) ? 20 : 5); length > 0; --length)
      random.pattern.append(row.emplace_back(dice.OneOf(kSets)));
  }
  return random;
}

bool StandsIn(const std::string& text, std::size_t place, const std::vector<std::string>& row) {
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (place + i >= text.size() || !Holds(row[i], text[place + i])) return false;
  }
  return true;
}

TEST(FewWords, HaveAnySetsOfBytesAndARunAfterThem) {
  for (std::uint32_t seed = 0; seed < 4'000; ++seed) {
    Dice dice(seed);
    const RandomRows random = RandomRowsOf(dice);
    const bool hasRun = dice.OneIn(2);
    const std::string run = dice.OneOf(kSets);
    const auto least = static_cast<std::size_t>(dice.Between(1, 3));
    const std::size_t most = dice.OneIn(2) ? SIZE_MAX : least + 2;
    std::string pattern = random.pattern;
    if (hasRun) {
      pattern = "(" + pattern + ")" + run + "{" + std::to_string(least) + "," +
                (most == SIZE_MAX ? "" : std::to_string(most)) + "}";
    }
    const std::optional<FewWords> few = FewWordsOf(pattern);
    // With few more bytes the run itself is written out.
    if (!few && hasRun && most != SIZE_MAX) continue;
    ASSERT_TRUE(few) << pattern;
    const std::string text = dice.Bytes("ab19d\n", 60) + dice.Bytes("a9", 40);
    const ExactBytes bytes(text);
    const unsigned char* const begin = bytes.View().data();
    const unsigned char* const end = begin + text.size();
    for (std::size_t place = 0; place < text.size(); ++place) {
      std::size_t longest = 0;
      for (const std::vector<std::string>& row : random.rows) {
        if (!StandsIn(text, place, row)) continue;
        const std::size_t more = hasRun ? CountOf(run, text, place + row.size(), most) : 0;
        if (!hasRun || more >= least) longest = std::max(longest, row.size() + more);
      }
      const auto anyEnd = [](const unsigned char* /*stop*/) { return true; };
      ASSERT_EQ(few->LongestAt(begin + place, begin, end, anyEnd), longest)
          << "seed " << seed << " pattern " << pattern << " text " << Visible(text) << " at "
          << place;
    }
  }
}

TEST(FewWords, OfManySetsAreNone) {
  const std::string digits(65, '1');
  EXPECT_TRUE(FewWordsOf(digits + "|a"));
  EXPECT_TRUE(FewWordsOf("([0-9]{8}){8}|a"));
  EXPECT_FALSE(FewWordsOf("([0-9]{8}){8}[0-9]|a"));
  EXPECT_FALSE(FewWordsOf("(" + digits + "[0-9]|a)[a-z]+"));
}

TEST(FewWords, MayHaveARunAfterThemButNothingElse) {
  EXPECT_TRUE(FewWordsOf("(der|die|das) [A-Z][a-z]+"));
  EXPECT_TRUE(FewWordsOf("^(http|https|ftp)://[^ ]+"));
  EXPECT_TRUE(FewWordsOf("(ein|kein)e[nrms]? [A-Z][a-z]+"));
  EXPECT_FALSE(FewWordsOf("(der|die|das) [A-Z][a-z]+", true));
  EXPECT_FALSE(FewWordsOf("(der|die|das) [A-Z][a-z]+x"));
  EXPECT_FALSE(FewWordsOf("(der|die|das) [a-z]+$"));
  EXPECT_FALSE(FewWordsOf("(der|die|das)\\> [a-z]+"));
  EXPECT_FALSE(FewWordsOf("[a-z]+(der|die|das)"));
  EXPECT_FALSE(FewWordsOf("der[a-z]+"));
  EXPECT_FALSE(FewWordsOf("(der|die|das)[a-z]{25,}"));
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
