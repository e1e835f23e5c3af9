// Searching as the first door does: answers, tags, characters that the code page lacks.

#include "hosts/cli/search/classic_search.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace trovex::cli {
namespace {

Found SearchFor(const std::string& expression, const std::string& text,
                const Options& options = {}) {
  Found found;
  auto compiled = ClassicSearch::Compile(expression, options);
  if (const auto* sentence = std::get_if<std::string>(&compiled)) {
    ADD_FAILURE() << expression << ": " << *sentence;
    return found;
  }
  std::get<ClassicSearch>(compiled).Search(text, Need::kMatches, found);
  return found;
}

using Ranges = std::vector<Range>;

TEST(ClassicSearch, FindsMatches) {
  EXPECT_EQ(SearchFor("ab", "xab\nab").matches, (Ranges{{1, 3}, {4, 6}}));
  EXPECT_FALSE(SearchFor("ab", "xyz").Any());
}

TEST(ClassicSearch, ANegativeResultIsSatisfiedWhereNothingOccurs) {
  EXPECT_EQ(SearchFor("!ab", "xyz").unitsWithout, 1);
  EXPECT_EQ(SearchFor("!ab", "ab").unitsWithout, 0);
  EXPECT_EQ(SearchFor("!ab", "").unitsWithout, 1);
  EXPECT_EQ(SearchFor("!ab & !x", "y").unitsWithout, 1);
  EXPECT_FALSE(SearchFor("!ab & !x", "x").Any());
}

TEST(ClassicSearch, ATagKeepsOnlyItsOwnMatches) {
  Options options;
  options.tag = 1;
  EXPECT_EQ(SearchFor("x(a+) & b", "xaa b").matches, (Ranges{{0, 3}, {4, 5}}));
  EXPECT_EQ(SearchFor("x(a+) & b", "xaa b", options).matches, (Ranges{{1, 3}}));
  EXPECT_FALSE(SearchFor("!x(a)b", "xab", options).Any());
  EXPECT_TRUE(SearchFor("!x(a)b", "b", options).Any());
}

TEST(ClassicSearch, ABracketThatTookNoPartIsNoMatch) {
  Options options;
  options.tag = 2;
  EXPECT_EQ(SearchFor("x(a)|(b)y", "\nby\nxa", options).matches, (Ranges{{1, 2}}));
  EXPECT_FALSE(SearchFor("x(a)|(b)y", "q\nxa", options).Any());
}

TEST(ClassicSearch, PositionsAreThoseOfTheFile) {
  EXPECT_EQ(SearchFor("für", "Grün Ω für").matches, (Ranges{{9, 13}}));
  EXPECT_EQ(SearchFor("ü", "\xFC ü").matches, (Ranges{{0, 1}, {2, 4}}));
}

TEST(ClassicSearch, NoPatternNamesACharacterThatThePageLacks) {
  EXPECT_EQ(SearchFor("a.b", "aΩb").matches, (Ranges{{0, 4}}));
  EXPECT_EQ(SearchFor("a[^x]b", "aΩb").matches, (Ranges{{0, 4}}));
  EXPECT_FALSE(SearchFor("a[ -ÿ]b", "aΩb").Any());
  EXPECT_FALSE(SearchFor("ab", "aΩb").Any());
}

TEST(ClassicSearch, ThePhoneticSearchGoesOnAfterAZeroByte) {
  Options options;
  options.phonetic = true;
  options.words = true;
  EXPECT_EQ(SearchFor("Meier", std::string("Mei\0er Mayr", 11), options).matches,
            (Ranges{{7, 11}}));
}

TEST(ClassicSearch, FaultsAreTheLibrarysSentences) {
  const auto sentence = [](const std::string& expression) {
    const auto compiled = ClassicSearch::Compile(expression, Options{});
    const auto* fault = std::get_if<std::string>(&compiled);
    return fault != nullptr ? *fault : "none";
  };
  EXPECT_EQ(sentence("a &"), "The right operand of an and operator is missing.");
  EXPECT_EQ(sentence("a[b"), "The bracket [ or ] is missing in an enumeration.");
  EXPECT_NE(sentence("Ω").find("windows-1252"), std::string::npos);
}

}  // namespace
}  // namespace trovex::cli
