// Lists of words, and several expressions as one.

#include "hosts/cli/expression/word_list.h"

#include "tests/dice.h"

#include <trovex/query.h>

#include <gtest/gtest.h>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace trovex::cli {
namespace {

using Names = std::vector<std::string>;
using Places = std::vector<std::pair<std::size_t, std::size_t>>;

Places Found(const std::string& expression, std::string_view text) {
  ExpressionOptions options;
  options.caseSensitive = true;
  auto compiled = trovex::Query::Compile(expression, options);
  if (const auto* fault = std::get_if<Fault>(&compiled)) {
    ADD_FAILURE() << expression << ": " << fault->sentence;
    return {};
  }
  Searcher searcher(std::get<trovex::Query>(compiled));
  searcher.Search(text);
  Places places;
  for (const Item& item : searcher.Items())
    places.emplace_back(item.begin, item.end);
  return places;
}

TEST(WordList, EveryLineIsAWordWithoutItsBlanks) {
  EXPECT_EQ(ReadWords("Haus\n  Hof \r\n\n\t\nder Zaun\n"), (Names{"Haus", "Hof", "der Zaun"}));
  EXPECT_EQ(ReadWords("\xEF\xBB\xBFHaus"), Names{"Haus"});
  EXPECT_EQ(ReadWords(""), Names{});
  EXPECT_EQ(ReadWords(" \n\n"), Names{});
}

TEST(WordList, AWordHasALine) {
  const std::string_view list = "\xEF\xBB\xBFHaus\n\n \t\nHof\r\nZaun";
  EXPECT_EQ(LineOfWord(list, 0), 1);
  EXPECT_EQ(LineOfWord(list, 1), 4);
  EXPECT_EQ(LineOfWord(list, 2), 5);
}

TEST(WordList, AQuotedTextFindsItself) {
  for (std::uint32_t seed = 1; seed <= 3000; ++seed) {
    testing::Dice dice(seed);
    std::string text(1, dice.Byte("ab!~ \t\\("));
    text += dice.Bytes("aA1&!()|~\\[]{}.*+?^$ \t'`<>,-\"#%/:;=@_", 6);
    if (text.find_first_not_of(" \t") == std::string::npos) continue;
    std::string around("x");
    around.append(text).append("y");
    ASSERT_EQ(Found(QuoteTerm(text), text), (Places{{0, text.size()}})) << "seed " << seed << text;
    ASSERT_EQ(Found(QuoteTerm(text), around).size(), 1U) << "seed " << seed << text;
  }
  EXPECT_EQ(Found(QuoteTerm("Größe"), "die Größe"), (Places{{4, 11}}));
  EXPECT_EQ(Found(QuoteTerm("Gr\xF6\xDF"
                            "e"),
                  "die Größe"),
            (Places{{4, 11}}))
      << "bytes that are no UTF-8 are Windows Latin-1";
}

TEST(WordList, AnyOfTheWordsIsFound) {
  const JoinedExpression joined = JoinExpressions({}, {"R&B", "(a)", "Haus"});
  EXPECT_EQ(Found(joined.text, "Haus (a) R&B a"), (Places{{0, 4}, {5, 8}, {9, 12}}));
}

TEST(WordList, ManyWordsAreFound) {
  Names words;
  std::string text;
  for (int i = 0; i < 1000; ++i) {
    words.push_back(std::to_string(i * 7) + "x");
    text += words.back() + " ";
  }
  EXPECT_EQ(Found(JoinExpressions({}, words).text, text).size(), words.size());
}

TEST(WordList, ASingleExpressionStaysAsItIs) {
  const JoinedExpression joined = JoinExpressions({"a & (b)"}, {});
  EXPECT_EQ(joined.text, "a & (b)");
  EXPECT_FALSE(joined.bracketed);
  EXPECT_EQ(JoinExpressions({}, {"a|b"}).text, "a\\|b");
}

TEST(WordList, ExpressionsStandInBrackets) {
  const JoinedExpression joined = JoinExpressions({"a & b", "!c"}, {"d"});
  EXPECT_EQ(joined.text, "(a & b)|(!c)|d");
  EXPECT_TRUE(joined.bracketed);
  EXPECT_EQ(Found(joined.text, "b a"), (Places{{0, 1}, {2, 3}}));
  EXPECT_EQ(Found(joined.text, "c d"), (Places{{2, 3}}));
}

TEST(WordList, APlaceLeadsToTheExpressionItBelongsTo) {
  const JoinedExpression joined = JoinExpressions({"ab", "c"}, {"d"});  // (ab)|(c)|d
  const auto indexAt = [&joined](std::size_t offset) {
    const ExpressionPart* const part = joined.PartAt(offset);
    return part == nullptr ? -1 : static_cast<int>(part->index);
  };
  EXPECT_EQ(indexAt(0), -1);
  EXPECT_EQ(indexAt(1), 0);
  EXPECT_EQ(indexAt(3), 0);
  EXPECT_EQ(indexAt(5), -1);
  EXPECT_EQ(indexAt(6), 1);
  EXPECT_EQ(indexAt(9), 2);
  EXPECT_EQ(indexAt(10), 2);
}

TEST(WordList, BracketsAreNumberedThroughAllExpressions) {
  // (  (a)(b)  )|(  c  )|(  (d)  )
  // 1   2  3        4       5 6
  const std::vector<int> counts = {2, 0, 1};
  EXPECT_EQ(TagInJoined(1, counts, true), 2);
  EXPECT_EQ(TagInJoined(2, counts, true), 3);
  EXPECT_EQ(TagInJoined(3, counts, true), 6);
  EXPECT_EQ(TagInJoined(4, counts, true), std::nullopt);
  EXPECT_EQ(TagInJoined(2, {2}, false), 2);
}

}  // namespace
}  // namespace trovex::cli
