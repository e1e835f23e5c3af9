// The search of one text: answers, tags, the byte behind.

#include "hosts/cli/search/query.h"

#include "hosts/cli/files/source_text.h"
#include "tests/heap_text.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace trovex::cli {
namespace {

struct Outcome {
  Answer answer;
  std::vector<Match> matches;

  friend bool operator==(const Outcome&, const Outcome&) = default;
};

Outcome SearchFor(const std::string& expression, const std::string& text,
                  const Options& options = {}) {
  auto query = Query::Compile(expression, options);
  if (const auto* fault = std::get_if<ExpressionFault>(&query)) {
    ADD_FAILURE() << expression << ": " << fault->sentence;
    return {};
  }
  testing::HeapText heap(text, 'z');
  Outcome outcome;
  outcome.answer = std::get<Query>(query).Search(heap.Data(), heap.Length(), 0, outcome.matches);
  EXPECT_EQ(heap.Behind(), 'z');
  return outcome;
}

const Outcome kNothing{Answer::kNothing, {}};
const Outcome kSatisfied{Answer::kSatisfied, {}};

TEST(Query, FindsMatches) {
  EXPECT_EQ(SearchFor("ab", "xab\nab"), (Outcome{Answer::kMatches, {{1, 3}, {4, 6}}}));
  EXPECT_EQ(SearchFor("ab", "xyz"), kNothing);
}

TEST(Query, ANegativeResultIsSatisfiedWhereNothingOccurs) {
  EXPECT_EQ(SearchFor("!ab", "xyz"), kSatisfied);
  EXPECT_EQ(SearchFor("!ab", "ab"), kNothing);
  EXPECT_EQ(SearchFor("!ab", ""), kSatisfied);
  EXPECT_EQ(SearchFor("!ab & !x", "y"), kSatisfied);
  EXPECT_EQ(SearchFor("!ab & !x", "x"), kNothing);
}

TEST(Query, ATagDoesNotTurnANegativeResultIntoASatisfiedOne) {
  Options options;
  options.tag = 1;
  EXPECT_EQ(SearchFor("!x(a)b", "xab", options), kNothing);
  EXPECT_EQ(SearchFor("!x(a)b", "b", options), kSatisfied);
}

TEST(Query, ATagKeepsOnlyItsOwnMatches) {
  Options options;
  options.tag = 1;
  EXPECT_EQ(SearchFor("x(a+) & b", "xaa b"), (Outcome{Answer::kMatches, {{0, 3}, {4, 5}}}));
  EXPECT_EQ(SearchFor("x(a+) & b", "xaa b", options), (Outcome{Answer::kMatches, {{1, 3}}}));
}

TEST(Query, ABracketThatTookNoPartIsNoMatch) {
  Options options;
  options.tag = 2;
  EXPECT_EQ(SearchFor("x(a)|(b)y", "\nby\nxa", options).matches, (std::vector<Match>{{1, 2}}));
  EXPECT_EQ(SearchFor("x(a)|(b)y", "q\nxa", options), kNothing);
}

TEST(Query, AnEscapedBracketBehindAnEscapedOperatorIsFound) {
  EXPECT_EQ(SearchFor("R\\&\\(D", "R&(D").matches, (std::vector<Match>{{0, 4}}));
}

TEST(Query, ATagThatDoesNotExistIsAFault) {
  Options options;
  options.tag = 2;
  const auto query = Query::Compile("(a)", options);
  ASSERT_TRUE(std::holds_alternative<ExpressionFault>(query));
  EXPECT_EQ(std::get<ExpressionFault>(query).sentence,
            "There is no bracket 2: the expression has one bracket.");
}

TEST(Query, FaultsAreTheLibrarysSentences) {
  const auto sentence = [](const std::string& expression) {
    const auto query = Query::Compile(expression, Options{});
    const auto* fault = std::get_if<ExpressionFault>(&query);
    return fault != nullptr ? fault->sentence : "none";
  };
  EXPECT_EQ(sentence("a &"), "The right operand of an and operator is missing.");
  EXPECT_EQ(sentence("a[b"), "The bracket [ or ] is missing in an enumeration.");
  EXPECT_EQ(sentence(""), "The search expression contains an empty subexpression.");
}

TEST(Query, ThePhoneticSearchEndsWithTheText) {
  Options options;
  options.phonetic = true;
  auto query = Query::Compile("Meier", options);
  std::string buffer = "Mei er Meier";
  std::vector<Match> matches;
  // The first five bytes alone: the rest of the buffer is another text.
  std::get<Query>(query).Search(buffer.data(), 5, 100, matches);
  EXPECT_TRUE(matches.empty());
  std::get<Query>(query).Search(buffer.data() + 7, 5, 107, matches);
  EXPECT_EQ(matches, (std::vector<Match>{{107, 112}}));
  EXPECT_EQ(buffer, "Mei er Meier");
}

TEST(Query, WholeWordsEndWithTheText) {
  Options options;
  options.words = true;
  EXPECT_EQ(SearchFor("cat", "a cat", options), (Outcome{Answer::kMatches, {{2, 5}}}));
}

TEST(Query, NoPatternNamesThePlaceholder) {
  const std::string text{'a', kRegularExpressionPlaceholder, 'b'};
  const std::vector<Match> found{{0, 3}};
  EXPECT_EQ(SearchFor("a.b", text).matches, found);
  EXPECT_EQ(SearchFor("a[^x]b", text).matches, found);
  EXPECT_EQ(SearchFor("a\\Wb", text).matches, found);
  EXPECT_EQ(SearchFor("a[\x01-\xFF]b", text), kNothing);
  EXPECT_EQ(SearchFor("a\\wb", text), kNothing);
  EXPECT_EQ(SearchFor("ab", text), kNothing);
}

TEST(Query, ThePhoneticPlaceholderIsNoLetter) {
  Options options;
  options.phonetic = true;
  options.words = true;
  const std::string text = std::string("Mei") + kPhoneticPlaceholder + "er Mayr";
  EXPECT_EQ(SearchFor("Meier", text, options).matches, (std::vector<Match>{{7, 11}}));
}

}  // namespace
}  // namespace trovex::cli
