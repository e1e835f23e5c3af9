// The leaf: how a slice of the typed expression becomes its pattern, how it compiles, and how its
// matches become found items with tags. Random slices, patterns and texts are held against a model
// that works byte by byte and searches without environments.

#include "tests/dice.h"
#include "tests/expr/leaf_model.h"
#include "tests/heap_text.h"

#include <trovex/functions.h>
#include <trovex/search_tree.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace trovex::testing {
namespace {

/// The leaf made of `slice`, which lies in a heap block of exactly its length.
std::string Sliced(std::string_view slice, int lastTagNr) {
  const auto bytes = std::make_unique<char[]>(slice.size());
  if (!slice.empty()) std::memcpy(bytes.get(), slice.data(), slice.size());
  CSubExpression leaf;
  leaf.SetSubExpression(CString("what was there before"));
  leaf.SetSubExpression(bytes.get(), static_cast<int>(slice.size()), lastTagNr);
  return Describe(&leaf);
}

std::string Expected(const char* text, int tagBase, int groupCount, int strippedBrackets) {
  return DescribeLeaf(0, text, tagBase, groupCount, strippedBrackets);
}

// ---- From slice to pattern ----

TEST(SetSubExpression, TakesBlanksAndEnclosingBracketsOff) {
  EXPECT_EQ(Sliced("  ((abc)) ", 2), Expected("abc", 0, 2, 2));
}

TEST(SetSubExpression, DropsTheBackslashBeforeTheParsersOperators) {
  EXPECT_EQ(Sliced("a\\&b", 0), Expected("a&b", 0, 0, 0));
  EXPECT_EQ(Sliced("a\\!b", 0), Expected("a!b", 0, 0, 0));
}

TEST(SetSubExpression, KeepsEveryOtherBackslash) {
  EXPECT_EQ(Sliced("a\\\\b\\(c\\.", 0), Expected("a\\\\b\\(c\\.", 0, 0, 0));
}

TEST(SetSubExpression, DropsTheSecondOfTwoBackslashesBeforeAnOperator) {
  EXPECT_EQ(Sliced("\\\\&(", 4), Expected("\\&(", 3, 1, 0));
}

TEST(SetSubExpression, KeepsABackslashThatEndsTheSlice) {
  EXPECT_EQ(Sliced("a\\", 0), Expected("a\\", 0, 0, 0));
}

TEST(SetSubExpression, LooksAtNothingAfterTheSlice) {
  const HeapText text("a\\&b");
  CSubExpression leaf;
  leaf.SetSubExpression(text.Data(), 2, 0);
  EXPECT_EQ(Describe(&leaf), Expected("a\\", 0, 0, 0));
}

TEST(SetSubExpression, CountsUnescapedBracketsOnly) {
  EXPECT_EQ(Sliced("\\(x", 0), Expected("\\(x", 0, 0, 0));
  EXPECT_EQ(Sliced("(x", 1), Expected("(x", 0, 1, 0));
  EXPECT_EQ(Sliced("\\\\(x", 1), Expected("\\\\(x", 0, 1, 0));
}

TEST(SetSubExpression, CountsABracketAfterAnEscapedOperatorAsEscaped) {
  EXPECT_EQ(Sliced("\\&(x", 5), Expected("&(x", 5, 0, 0));
  EXPECT_EQ(Sliced("\\&y(x", 5), Expected("&y(x", 4, 1, 0));
}

TEST(SetSubExpression, SkipsOnlyBlanksInFrontAndAllWhiteSpaceAfter) {
  EXPECT_EQ(Sliced(" \ta\n \t\v\f\r", 0), Expected("\ta", 0, 0, 0));
  EXPECT_EQ(Sliced("\n ", 0), Expected("", 0, 0, 0));
}

TEST(SetSubExpression, OfBlanksOnlyIsEmpty) {
  EXPECT_EQ(Sliced("    ", 3), Expected("", 3, 0, 0));
  EXPECT_EQ(Sliced("", 3), Expected("", 3, 0, 0));
}

TEST(SetSubExpression, TrimsBothSidesInsideStrippedBrackets) {
  EXPECT_EQ(Sliced("( \t( a b )\n )", 2), Expected("a b", 0, 2, 2));
}

TEST(SetSubExpression, StripsBracketsThatDoNotBelongTogether) {
  EXPECT_EQ(Sliced("(a)|(b)", 2), Expected("a)|(b", 0, 2, 1));
  EXPECT_EQ(Sliced("(a\\)", 1), Expected("a\\", 0, 1, 1));
}

TEST(SetSubExpression, OfEmptyBracketsIsEmpty) {
  EXPECT_EQ(Sliced("()", 1), Expected("", 0, 1, 1));
  EXPECT_EQ(Sliced("(( ))", 2), Expected("", 0, 2, 2));
}

TEST(SetSubExpression, DoesNotStripASingleBracket) {
  EXPECT_EQ(Sliced("(", 1), Expected("(", 0, 1, 0));
  EXPECT_EQ(Sliced(")", 0), Expected(")", 0, 0, 0));
}

TEST(SetSubExpression, FromAStringKeepsTheTextAndTheCounts) {
  CSubExpression leaf;
  leaf.SetSubExpression("((x", 3, 5);
  leaf.SetSubExpression(CString("  (a\\&b) "));
  EXPECT_EQ(Describe(&leaf), Expected("  (a\\&b) ", 3, 2, 0));
}

TEST(SetSubExpression, FromANullPointerChangesNothing) {
  CSubExpression leaf;
  leaf.SetSubExpression("(x)", 3, 5);
  leaf.SetSubExpression(nullptr, 3, 9);
  EXPECT_EQ(Describe(&leaf), Expected("x", 4, 1, 1));
}

TEST(SetSubExpression, AgreesWithTheModel) {
  for (std::uint32_t seed = 1; seed <= 60000; ++seed) {
    Dice dice(seed);
    const std::string slice = dice.Bytes(" ab()\\&!(()\\  \t\n\v\f\r\xA0", 14);
    const int lastTagNr = dice.Between(0, 9);
    ASSERT_EQ(Sliced(slice, lastTagNr), Describe(ModelLeaf(slice, lastTagNr).get()))
        << "seed " << seed << ", slice \"" << slice << "\"";
  }
}

// ---- Compiling ----

class LeafTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetEnvironment(); }

  /// Makes the leaf of `slice` and compiles it.
  const char* Build(std::string_view slice, int lastTagNr, unsigned long options) {
    leaf_.SetSubExpression(slice.data(), static_cast<int>(slice.size()), lastTagNr);
    leaf_.SetSearchOptions(options);
    return leaf_.OptimizeAndCompile(&cost_);
  }

  std::string Found(std::string_view bytes, int tagNr) {
    HeapText text(bytes);
    const std::unique_ptr<CFoundItemArray> found(leaf_.Search(text.Data(), text.Length(), tagNr));
    return found == nullptr ? "null" : Describe(*found);
  }

  CSubExpression leaf_;
  int cost_ = 0;
};

TEST_F(LeafTest, CostsTheLengthOfItsTextAlsoWhenItDoesNotCompile) {
  EXPECT_EQ(Build("  (abcd) ", 1, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(cost_, 4);
  EXPECT_STREQ(Build("[abc", 0, kSearchModeRegularExpression),
               "The bracket [ or ] is missing in an enumeration.");
  EXPECT_EQ(cost_, 4);
}

TEST_F(LeafTest, WithoutALetterHasNoPhoneticCode) {
  EXPECT_STREQ(Build("...", 0, kSearchModePhonetic),
               "The search expression must contain at least one character.");
  EXPECT_EQ(cost_, 3);
}

TEST_F(LeafTest, HandsItsSwitchesToTheCompiler) {
  ASSERT_EQ(Build("ab", 0, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Found("AB abc", 0), "negative 0: [0,2)0 [3,5)0");
  ASSERT_EQ(Build("ab", 0, kSearchModeRegularExpression | kSearchCaseSensitive), nullptr);
  EXPECT_EQ(Found("AB abc", 0), "negative 0: [3,5)0");
  ASSERT_EQ(Build("ab", 0, kSearchModeRegularExpression | kSearchMatchWords), nullptr);
  EXPECT_EQ(Found("AB abc", 0), "negative 0: [0,2)0");
}

TEST_F(LeafTest, MatchWordsIsTheWordModeOfAPhoneticLeaf) {
  ASSERT_EQ(Build("Meier", 0, kSearchModePhonetic), nullptr);
  EXPECT_EQ(Found("Meierhof", 0), "negative 0: [0,5)0");
  ASSERT_EQ(Build("Meier", 0, kSearchModePhonetic | kSearchMatchWords), nullptr);
  EXPECT_EQ(Found("Meierhof Mayr", 0), "negative 0: [9,13)0");
}

// ---- Searching ----

TEST_F(LeafTest, FindsEveryMatchInTextOrderWithoutOverlap) {
  ASSERT_EQ(Build("ab", 0, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Found("abab", 0), "negative 0: [0,2)0 [2,4)0");
  ASSERT_EQ(Build("aa", 0, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Found("aaaaa", 0), "negative 0: [0,2)0 [2,4)0");
}

/// The items that plain searches find, each from where the one before it ends.
std::string FoundOneByOne(const HeapText& text) {
  CFoundItemArray found;
  for (int place = 0; place < text.Length();) {
    int start = 0;
    int end = 0;
    if (Search(text.Data() + place, text.Length() - place, &start, &end, 0) == 0) break;
    if (start < 0 || end < 1) break;
    found.Add(new CFoundItem(place + start, place + end, 0));
    place += end;
  }
  return Describe(found);
}

TEST_F(LeafTest, InLongTextsFindsWhatOneSearchAfterAnotherFinds) {
  const std::string kBlanks(300, ' ');
  int items = 0;
  for (const char* const pattern :
       {"a", "ab", "[ab]-", "[ab]+", "a[ab]*-", "a.{0,3}b", "[a-c]+ab", "b|aa", "^a", "a$", "-*",
        "([ab])\\1", "([ab][ab])\\1", "([ab]+)\\1", "a\\w", "[ab]\\w[^b]", "\\<[ab]+\\>",
        "\\<a[ab]*"}) {
    for (const bool words : {false, true}) {
      const unsigned long mode = kSearchModeRegularExpression | kSearchCaseSensitive;
      ASSERT_EQ(Build(pattern, 0, mode | (words ? kSearchMatchWords : 0UL)), nullptr);
      for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(std::string(pattern) + " seed " + std::to_string(seed));
        Dice dice(seed);
        // The next text stands where the last one stood.
        HeapText text(
            dice.Bytes(dice.OneOf({"ab-", "aab--\n", "ab__\n\n", "aab---aab----ab_"}), 1'200) +
            kBlanks);
        const std::unique_ptr<CFoundItemArray> found(leaf_.Search(text.Data(), text.Length(), 0));
        ASSERT_NE(found, nullptr);
        ASSERT_EQ(Compile(pattern, 0, words ? 1 : 0), nullptr);
        ASSERT_EQ(Describe(*found), FoundOneByOne(text));
        items += found->GetSize();
      }
    }
  }
  EXPECT_GT(items, 50'000);
}

TEST_F(LeafTest, OfMatchesThatWereFoundTogetherEachStandsOnALineThatMayHoldOne) {
  // An underscore is no letter where lines are chosen that may hold a match, and is one in a match.
  ASSERT_EQ(Build("x\\w", 0, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Found("xa xb\nx_\nxc x_\n" + std::string(300, '-'), 0),
            "negative 0: [0,2)0 [3,5)0 [9,11)0");
}

TEST_F(LeafTest, WhatAnEarlierSearchHadLeftIsNotFound) {
  ASSERT_EQ(Build("[A-Z]([a-z])|[0-9]", 1, kSearchModeRegularExpression | kSearchCaseSensitive),
            nullptr);
  const std::string rest(300, '-');
  HeapText text("Aa Bb Cc 1 Dd xEe Ff " + rest);
  // The group took no part in "1": there it ends, when the next matches are known.
  std::unique_ptr<CFoundItemArray> found(leaf_.Search(text.Data(), text.Length(), 1));
  EXPECT_EQ(Describe(*found), "negative 0: [1,2)1 [4,5)1 [7,8)1");
  const std::string later = "-- -- -- 1 -- -Gg Hh ";
  std::copy(later.begin(), later.end(), text.Data());
  // From now on, the matches of the leaf are whole words.
  ASSERT_EQ(Compile("x", 0, 1), nullptr);
  found.reset(leaf_.Search(text.Data(), text.Length(), 0));
  EXPECT_EQ(Describe(*found), "negative 0: [9,10)0 [15,17)0 [18,20)0");
}

TEST_F(LeafTest, ShortTextsMayHoldMoreThanALookTells) {
  for (const char* const pattern :
       {"ab", "[ab]+", "a|bb", "^a", "a$", "\\<a", "a*", "a.b", "(a)b"}) {
    for (const bool words : {false, true}) {
      const unsigned long mode = kSearchModeRegularExpression | kSearchCaseSensitive;
      ASSERT_EQ(Build(pattern, 0, mode | (words ? kSearchMatchWords : 0UL)), nullptr);
      for (std::uint32_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(std::string(pattern) + " seed " + std::to_string(seed));
        Dice dice(seed);
        // Up to and beyond the size of a text that is looked at.
        const int length = dice.OneIn(4) ? dice.Between(250, 262) : dice.Between(0, 20);
        const HeapText text(dice.Bytes(dice.OneIn(2) ? "ab -" : "aab--\n", length));
        const std::unique_ptr<CFoundItemArray> found(leaf_.Search(text.Data(), text.Length(), 0));
        ASSERT_NE(found, nullptr);
        ASSERT_EQ(Compile(pattern, 0, words ? 1 : 0), nullptr);
        ASSERT_EQ(Describe(*found), FoundOneByOne(text));
      }
    }
  }
}

TEST_F(LeafTest, OfManyMatchesEachIsMarkedAndOfAGroupEachHasItsRange) {
  std::string bytes;
  for (int i = 0; i < 200; ++i)
    bytes += "ab ";
  const HeapText text(bytes);
  for (const bool isWhole : {true, false}) {
    const std::string pattern = isWhole ? "(ab)" : "a(b)";
    leaf_.SetSubExpression(pattern.data(), static_cast<int>(pattern.size()), 1);
    leaf_.SetSearchOptions(kSearchModeRegularExpression | kSearchCaseSensitive);
    int cost = 0;
    ASSERT_EQ(leaf_.OptimizeAndCompile(&cost), nullptr);
    const std::unique_ptr<CFoundItemArray> found(leaf_.Search(text.Data(), text.Length(), 1));
    ASSERT_EQ(found->GetSize(), 200);
    for (int i = 0; i < 200; ++i) {
      EXPECT_EQ(found->GetAt(i)->TagMatched(), 1);
      EXPECT_EQ(found->GetAt(i)->GetStartPos(), 3 * i + (isWhole ? 0 : 1));
      EXPECT_EQ(found->GetAt(i)->GetEndPos(), 3 * i + 2);
    }
  }
}

TEST_F(LeafTest, FindsNothingInAnyOtherMode) {
  for (unsigned long mode = 0; mode <= 15; ++mode) {
    if (mode == kSearchModeRegularExpression || mode == kSearchModePhonetic) continue;
    ASSERT_EQ(Build("a", 0, mode), nullptr) << mode;
    EXPECT_EQ(Found("a a a", 0), "negative 0:") << mode;
  }
}

TEST_F(LeafTest, FindsNothingWithoutAText) {
  ASSERT_EQ(Build("a", 0, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Found("", 0), "negative 0:");
  HeapText text("aaa");
  const std::unique_ptr<CFoundItemArray> found(leaf_.Search(text.Data(), -3, 0));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(Describe(*found), "negative 0:");
}

TEST_F(LeafTest, GivesNullWhenItWasNeverCompiled) {
  leaf_.SetSubExpression(CString("a"));
  leaf_.SetSearchOptions(kSearchModeRegularExpression);
  EXPECT_EQ(Found("a", 0), "null");
}

TEST_F(LeafTest, GivesNullWhenItDidNotCompile) {
  ASSERT_NE(Build("a[", 0, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Found("a", 0), "null");
}

TEST_F(LeafTest, GivesNullWhenItsEnvironmentWasDiscarded) {
  ASSERT_EQ(Build("a", 0, kSearchModeRegularExpression), nullptr);
  ResetEnvironment();
  EXPECT_EQ(Found("a", 0), "null");
}

TEST_F(LeafTest, RestoresWhatWasInstalledBefore) {
  ASSERT_EQ(Build("a", 0, kSearchModeRegularExpression), nullptr);
  ASSERT_EQ(Compile("b", 0, 0), nullptr);
  EXPECT_EQ(Found("ab", 0), "negative 0: [0,1)0");
  HeapText text("ab");
  int start = -1;
  int end = -1;
  EXPECT_EQ(::Search(text.Data(), 2, &start, &end, 0), 1);
  EXPECT_EQ(start, 1);
  EXPECT_EQ(end, 2);
  FreeBuffersInTrovexDll();
}

TEST_F(LeafTest, APhoneticItemMayLieBeyondTheGivenLength) {
  // The phonetic search ends with the text's zero byte, whatever the length.
  ASSERT_EQ(Build("Meier", 0, kSearchModePhonetic), nullptr);
  HeapText text("Der Mayr, der Meyer");
  const std::unique_ptr<CFoundItemArray> found(leaf_.Search(text.Data(), 3, 0));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(Describe(*found), "negative 0: [4,8)0");
}

TEST_F(LeafTest, AnEmptyMatchAtTheBeginningEndsTheSearch) {
  ASSERT_EQ(Build("x*", 0, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Found("axx", 0), "negative 0:");
  EXPECT_EQ(Found("xxa", 0), "negative 0: [0,2)0");
}

TEST_F(LeafTest, AnEmptyMatchFurtherOnIsRecordedOnce) {
  ASSERT_EQ(Build("$", 0, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Found("bb\ncc", 0), "negative 0: [2,2)0");
}

TEST_F(LeafTest, MarksTheTagsThatLieInItsSlice) {
  // Tag base 3, two brackets, one of them stripped: the outer pair is tag 4, the inner tag 5.
  ASSERT_EQ(Build("(a(b)c)", 5, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Describe(&leaf_), Expected("a(b)c", 3, 2, 1));
  EXPECT_EQ(Found("xabcabc", 3), "negative 0: [1,4)0 [4,7)0");
  EXPECT_EQ(Found("xabcabc", 4), "negative 0: [1,4)1 [4,7)1");
  EXPECT_EQ(Found("xabcabc", 5), "negative 0: [2,3)1 [5,6)1");
  EXPECT_EQ(Found("xabcabc", 6), "negative 0: [1,4)0 [4,7)0");
  EXPECT_EQ(Found("xabcabc", 0), "negative 0: [1,4)0 [4,7)0");
  EXPECT_EQ(Found("xabcabc", -4), "negative 0: [1,4)0 [4,7)0");
}

TEST_F(LeafTest, ATagNumberBelowOneAsksForNoneWhereTheTagBaseIsBelowZeroToo) {
  // The bracket is escaped, but counted: it stands after an escaped operator.
  ASSERT_EQ(Build("a\\&\\(b", 0, kSearchModeRegularExpression), nullptr);
  ASSERT_EQ(Describe(&leaf_), Expected("a&\\(b", -1, 1, 0));
  for (const int tag : {0, -1, -2, 1, INT_MIN})
    EXPECT_EQ(Found("xa&(b", tag), "negative 0: [1,5)0") << tag;
}

TEST_F(LeafTest, ATagNumberAtTheEdgeOfIntLiesInNoLeaf) {
  ASSERT_EQ(Build("(a)", 1, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Found("a", INT_MAX), "negative 0: [0,1)0");
  EXPECT_EQ(Found("a", INT_MIN), "negative 0: [0,1)0");
}

TEST_F(LeafTest, AGroupThatTookNoPartEndsTheSearchOnTheFirstLine) {
  ASSERT_EQ(Build("x(a)|b", 1, kSearchModeRegularExpression), nullptr);
  EXPECT_EQ(Found("bxa", 1), "negative 0:");
  EXPECT_EQ(Found("xab", 1), "negative 0: [1,2)1");
}

TEST_F(LeafTest, LeavesTheByteAfterTheTextAsItWas) {
  ASSERT_EQ(Build("a", 0, kSearchModeRegularExpression), nullptr);
  HeapText text("bab", 'a');
  const std::unique_ptr<CFoundItemArray> found(leaf_.Search(text.Data(), 3, 0));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(Describe(*found), "negative 0: [1,2)0");
  EXPECT_EQ(text.After(), 'a');
}

TEST_F(LeafTest, AgreesWithTheModelOnPatternsAndTexts) {
  int searched = 0;
  for (std::uint32_t seed = 1; seed <= 20000; ++seed) {
    Dice dice(seed);
    const std::string slice = dice.Bytes("aaabbc(()) ||*?.\\&!$^", 10);
    const int lastTagNr = dice.Between(0, 4);
    const unsigned long modes[] = {1, 1, 1, 1, 1, 2, 2, 0, 3, 9};
    const unsigned long options = modes[dice.Between(0, 9)] |
                                  (dice.OneIn(3) ? kSearchMatchWords : 0UL) |
                                  (dice.OneIn(3) ? kSearchCaseSensitive : 0UL);
    const HeapText text(dice.Bytes("aaabbcAB  \n(&", 24));
    const int tagNr = dice.Between(-1, 6);
    SCOPED_TRACE("seed " + std::to_string(seed) + ", slice \"" + slice + "\", options " +
                 std::to_string(options) + ", tag " + std::to_string(tagNr) + ", text \"" +
                 text.Data() + "\"");
    const auto model = ModelLeaf(slice, lastTagNr);
    const std::string message = CompileModelLeaf(*model, options);
    ResetEnvironment();

    const char* compiled = Build(slice, lastTagNr, options);
    ASSERT_EQ(compiled == nullptr ? "" : std::string(compiled), message);
    ASSERT_EQ(cost_, static_cast<int>(model->text.size()));
    const std::string expected =
        message.empty()
            ? Describe(SearchModelLeaf(*model, options, text.Data(), text.Length(), tagNr))
            : "null";
    ASSERT_EQ(Found(text.Data(), tagNr), expected);
    searched += message.empty() ? 1 : 0;
  }
  EXPECT_GT(searched, 10000);
}

TEST_F(LeafTest, AgreesWithTheModelOnLongTextsOfManyMatches) {
  for (std::uint32_t seed = 1; seed <= 300; ++seed) {
    Dice dice(seed);
    const std::string slice =
        dice.OneOf({"a", "ab", "aa", "[ab]c", "[A-Z][a-z]+", "a+b?", "\"[^\"]*\"", "a[b ]*c",
                    "[0-9]+", "^a", "b$", "\\<a", "(a)", "ab|c", "aab|b|ca", "[^a]b{2}"});
    const unsigned long options = kSearchModeRegularExpression |
                                  (dice.OneIn(4) ? kSearchMatchWords : 0UL) |
                                  (dice.OneIn(2) ? kSearchCaseSensitive : 0UL);
    std::string bytes;
    while (bytes.size() < 5000) {
      bytes += dice.Bytes("aaabbcAB  \"7\n", 40);
      if (dice.OneIn(9)) bytes += std::string(static_cast<std::size_t>(dice.Between(0, 700)), '-');
    }
    const HeapText text(bytes);
    const auto model = ModelLeaf(slice, 0);
    ASSERT_EQ(CompileModelLeaf(*model, options), "");
    ResetEnvironment();
    ASSERT_EQ(Build(slice, 0, options), nullptr);
    ASSERT_EQ(Found(text.Data(), 0),
              Describe(SearchModelLeaf(*model, options, text.Data(), text.Length(), 0)))
        << "seed " << seed << ", slice " << slice;
  }
}

}  // namespace
}  // namespace trovex::testing
