// Spelling variants, held against the plainest way to say what they are: two spellings are the same
// when they are equal once they are spelled out.

#include "query/query_parser.h"

#include "tests/dice.h"
#include "tests/query/query_text.h"
#include "tests/query/tree_matcher.h"
#include "text/code_page.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trovex {
namespace {

QueryOptions Variants(bool caseSensitive) {
  QueryOptions options;
  options.encoding = ExpressionEncoding::kLatin1;
  options.spellingVariants = true;
  options.caseSensitive = caseSensitive;
  return options;
}

bool Finds(std::string_view expression, std::string_view text, bool caseSensitive = false) {
  const auto result = ParseQuery(expression, Variants(caseSensitive));
  const auto* query = std::get_if<ParsedQuery>(&result);
  return query != nullptr && testing::TreeMatcher(query->root->pattern->tree, text).MatchesAll();
}

/// One letter spelled out: the letters that stand for it, each with the cases that it may have.
struct Spelled {
  char letter;
  bool lower;
  bool upper;
};

/// Without the accent, in lower case.
char Plain(char letter) {
  const std::string_view accented =
      "\xE0\xE1\xE2\xE3\xE5\xE7\xE8\xE9\xEA\xEB\xEC\xED\xEE\xEF\xF1"
      "\xF2\xF3\xF4\xF5\x9A\xF9\xFA\xFB\xFD\xFF\x9E";
  const std::string_view plain = "aaaaaceeeeiiiinoooosuuuyyz";
  const char small = static_cast<char>(CodePageLower(static_cast<unsigned char>(letter)));
  const std::size_t place = accented.find(small);
  return place == std::string_view::npos ? small : plain[place];
}

std::vector<Spelled> SpellOut(std::string_view word) {
  std::vector<Spelled> spelled;
  for (const char letter : word) {
    const auto c = static_cast<unsigned char>(letter);
    const bool upper = CodePageLower(c) != c;
    const std::size_t umlaut = std::string_view("\xE4\xF6\xFC").find(Plain(letter));
    if (letter == '\xDF') {
      spelled.push_back({'s', true, false});
      spelled.push_back({'s', true, false});
    } else if (umlaut != std::string_view::npos) {
      spelled.push_back({"aou"[umlaut], !upper, upper});
      spelled.push_back({'e', true, upper});
    } else {
      spelled.push_back({Plain(letter), !upper, upper});
    }
  }
  return spelled;
}

/// Whether the letters of the two words can be the same ones in the same cases.
bool AreSpellings(std::string_view one, std::string_view other, bool caseSensitive) {
  const std::vector<Spelled> a = SpellOut(one);
  const std::vector<Spelled> b = SpellOut(other);
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].letter != b[i].letter) return false;
    const bool sameCase = (a[i].lower && b[i].lower) || (a[i].upper && b[i].upper);
    if (caseSensitive && !sameCase) return false;
  }
  return true;
}

TEST(SpellingVariants, GermanWordsAreFoundInEachOfTheirSpellings) {
  EXPECT_TRUE(Finds("Strasse",
                    "Stra\xDF"
                    "e"));
  EXPECT_TRUE(
      Finds("Stra\xDF"
            "e",
            "Strasse"));
  EXPECT_TRUE(Finds("Mueller", "M\xFCller"));
  EXPECT_TRUE(Finds("M\xFCller", "Mueller"));
  EXPECT_TRUE(Finds("Cafe", "Caf\xE9"));
  EXPECT_TRUE(Finds("Caf\xE9", "Cafe"));
  EXPECT_TRUE(Finds("Caf\xE9", "Caf\xE8"));
  EXPECT_TRUE(
      Finds("m\xF6"
            "gen",
            "MOEGEN"));
}

TEST(SpellingVariants, AnUmlautIsNoAccent) {
  EXPECT_FALSE(Finds("a", "\xE4"));
  EXPECT_FALSE(Finds("\xE4", "a"));
  EXPECT_FALSE(Finds("Muller", "M\xFCller"));
  EXPECT_TRUE(Finds("a", "\xE0"));
}

TEST(SpellingVariants, RunsOfS) {
  for (const char* text : {"sss", "s\xDF", "\xDFs"}) {
    for (const char* typed : {"sss", "s\xDF", "\xDFs"}) {
      EXPECT_TRUE(Finds(typed, text)) << typed << " " << text;
    }
  }
  EXPECT_FALSE(Finds("sss", "\xDF\xDF"));
  EXPECT_TRUE(Finds("Flussschiff", "Flu\xDFschiff"));
  EXPECT_TRUE(Finds("Flussschiff",
                    "Flus\xDF"
                    "chiff"));
}

TEST(SpellingVariants, SetsAndRepeatedLettersStandForThemselves) {
  EXPECT_FALSE(Finds("[\xE4]", "ae"));
  EXPECT_FALSE(Finds("[e]", "\xE9"));
  EXPECT_FALSE(Finds("ae?", "\xE4"));
  EXPECT_TRUE(Finds("xe?", "xe"));
  EXPECT_FALSE(Finds("xe?", "x\xE9"));
  EXPECT_FALSE(Finds("\xE4+", "ae"));
  EXPECT_TRUE(Finds("e\xE4+", "\xE9\xE4"));
  EXPECT_TRUE(Finds("(\xE4)+", "aeae"));
}

TEST(SpellingVariants, ARunOfLettersEndsAtAnythingElse) {
  EXPECT_FALSE(Finds("a(e)", "\xE4"));
  EXPECT_FALSE(Finds("s\\bs", "\xDF"));
  EXPECT_FALSE(Finds("a[e]", "\xE4"));
  EXPECT_TRUE(Finds("x(ae)y", "x\xE4y"));
  EXPECT_TRUE(Finds("Fluss Strasse",
                    "Flu\xDF Stra\xDF"
                    "e"));
}

TEST(SpellingVariants, WithCaseASpellingHasTheLettersCase) {
  EXPECT_TRUE(Finds("\xC4rger", "Aerger", true));
  EXPECT_TRUE(Finds("\xC4RGER", "AERGER", true));
  EXPECT_TRUE(Finds("Aerger", "\xC4rger", true));
  EXPECT_FALSE(Finds("Aerger", "\xE4rger", true));
  EXPECT_FALSE(Finds("aE", "\xE4", true));
  EXPECT_FALSE(Finds("aE", "\xC4", true));
  EXPECT_TRUE(Finds("ss", "\xDF", true));
  EXPECT_FALSE(Finds("SS", "\xDF", true));
  EXPECT_TRUE(Finds("SS", "\xDF"));
  EXPECT_FALSE(Finds("\xC9", "\xE9", true));
  EXPECT_TRUE(Finds("E", "\xC9", true));
}

TEST(SpellingVariants, WithoutTheOptionLettersStandForThemselves) {
  QueryOptions options = Variants(true);
  options.spellingVariants = false;
  const auto result = ParseQuery("Strasse\xE4", options);
  EXPECT_EQ(testing::TreeText(std::get<ParsedQuery>(result).root->pattern->tree), "<Strasse\xE4>");
}

TEST(SpellingVariants, AgreeWithSpellingOutForAllShortWords) {
  const std::string_view letters = "aeEs\xDF\xE4\xC4\xE9";
  std::vector<std::string> words = {""};
  for (std::size_t begin = 0, length = 1; length <= 3; ++length) {
    const std::size_t end = words.size();
    for (; begin < end; ++begin) {
      for (const char letter : letters)
        words.push_back(words[begin] + letter);
    }
  }
  for (const bool caseSensitive : {false, true}) {
    for (const std::string& typed : words) {
      if (typed.empty()) continue;
      const auto result = ParseQuery(typed, Variants(caseSensitive));
      const SyntaxTree& tree = std::get<ParsedQuery>(result).root->pattern->tree;
      for (const std::string& text : words) {
        ASSERT_EQ(testing::TreeMatcher(tree, text).MatchesAll(),
                  AreSpellings(typed, text, caseSensitive))
            << typed << " in " << text << (caseSensitive ? ", with case" : "");
      }
    }
  }
}

TEST(SpellingVariants, AgreeWithSpellingOutForLongerWordsAtRandom) {
  for (std::uint32_t seed = 1; seed <= 4000; ++seed) {
    testing::Dice dice(seed);
    const bool caseSensitive = dice.OneIn(2);
    std::string typed = "x";
    typed += dice.Bytes("aessssSo\xF6\xDF\x9Ay\xFF", 8);
    std::string text;
    // A spelling of the word by chance, letter by letter.
    const std::vector<Spelled> spelled = SpellOut(typed);
    for (std::size_t i = 0; i < spelled.size(); ++i) {
      const bool two = i + 1 < spelled.size() && dice.OneIn(2);
      if (two && spelled[i].letter == 's' && spelled[i + 1].letter == 's') {
        text += '\xDF';
        ++i;
      } else if (two && spelled[i].letter == 'o' && spelled[i + 1].letter == 'e') {
        text += '\xF6';
        ++i;
      } else {
        text += spelled[i].letter;
      }
    }
    if (dice.OneIn(3)) text[text.size() - 1] = dice.Byte("aes\xDF");
    ASSERT_EQ(Finds(typed, text, caseSensitive), AreSpellings(typed, text, caseSensitive))
        << "seed " << seed << ": " << typed << " in " << text;
  }
}

TEST(SpellingVariants, GrowWithinBounds) {
  const auto size = [](const std::string& expression) {
    const auto result = ParseQuery(expression, Variants(false));
    const auto* query = std::get_if<ParsedQuery>(&result);
    return query == nullptr ? 0 : query->root->pattern->tree.nodes.size();
  };
  EXPECT_LE(size(std::string(16, 's')), 400U);
  EXPECT_LE(size(std::string(1000, 's')), 25'000U);
  EXPECT_LE(size(std::string(10'000, 'e')), 10'001U);
  std::string umlauts;
  for (int i = 0; i < 1000; ++i)
    umlauts += "\xE4";
  EXPECT_LE(size(umlauts), 5'001U);
}

}  // namespace
}  // namespace trovex
