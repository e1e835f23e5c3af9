// Whole queries, searched on every road that a text can take: a UTF-8 text must give the items of its
// decoded characters, whichever parts of it were decoded, scanned or searched as they are; whoever asks
// for less must get the beginning of what there is; and a text that satisfies a query must hold the
// strings that the query promises.

#include "tests/dice.h"
#include "tests/query/search/given_stream.h"
#include "text/utf8_text.h"

#include <trovex/query.h>

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::Dice;
using trovex::testing::ViewOf;

std::string MakePattern(Dice& dice) {
  static const std::vector<std::string> kPieces = {"a",
                                                   "b",
                                                   "ab",
                                                   "ba",
                                                   "x+",
                                                   "\xC3\xBC",
                                                   "\xC3\xA4"
                                                   "b",
                                                   "[ab]",
                                                   "[^a]",
                                                   ".",
                                                   "b?",
                                                   "(a|b)",
                                                   "(ab|x)",
                                                   "a{2}",
                                                   "[a\xC3\xA4]",
                                                   "\\<",
                                                   "\\>",
                                                   "^",
                                                   "(a|)b",
                                                   "[xy]",
                                                   "y*",
                                                   "(xy)+",
                                                   "\\w",
                                                   "cab",
                                                   "bacx",
                                                   "[[:alpha:]]"};
  std::string pattern = dice.OneOf(kPieces);
  while (dice.OneIn(2))
    pattern += dice.OneOf(kPieces);
  if (dice.OneIn(4)) pattern += "|" + dice.OneOf(kPieces);
  return pattern;
}

std::string MakeOperand(Dice& dice, int depth);

std::string MakeExpression(Dice& dice, int depth) {
  static const std::vector<std::string> kAnds = {" & ",   " &3 ", " &300 ", " &1w ",
                                                 " &>4 ", " &> ", " & !"};
  std::string expression = MakeOperand(dice, depth);
  while (dice.OneIn(depth > 0 ? 2 : 4)) {
    expression += dice.OneOf(kAnds);
    expression += MakeOperand(dice, depth);
  }
  return expression;
}

std::string MakeOperand(Dice& dice, int depth) {
  if (depth == 0 || dice.OneIn(2)) return MakePattern(dice);
  std::string operand = "(";
  operand += MakeExpression(dice, depth - 1);
  operand += dice.OneIn(3) ? ")|(" + MakeExpression(dice, depth - 1) + ")" : ")";
  return operand;
}

std::string MakeText(Dice& dice) {
  static const std::vector<std::string> kCharacters = {
      "a",        "b", "a", "b",   "x",    "y",         "c",    " ",    "\n",           "\xC3\xBC",
      "\xC3\xA4", "A", "B", "cab", "bacx", "a\xCC\x88", "\xCC", "\xFC", "\xE2\x82\xAC", "\xE2\x82",
      "\xD0\x96"};
  std::string text;
  const bool isPlain = dice.OneIn(4);
  const int length = dice.OneIn(40) ? dice.Between(2000, 6000) : dice.Between(0, 30);
  for (int i = 0; i < length; ++i) {
    const std::string& character = dice.OneOf(kCharacters);
    const bool isAscii = static_cast<unsigned char>(character[0]) < 0x80;
    if (!isPlain || isAscii) text += character;
  }
  return text;
}

/// One item with its tags, in plain numbers.
using Numbers = std::vector<std::size_t>;

Numbers NumbersOf(const Item& item) {
  Numbers numbers = {item.begin, item.end};
  for (std::size_t i = 0; i < item.tagCount; ++i) {
    numbers.push_back(static_cast<std::size_t>(item.tags[i].tag));
    numbers.push_back(item.tags[i].begin);
    numbers.push_back(item.tags[i].end);
  }
  return numbers;
}

struct Found {
  Verdict verdict;
  std::vector<Numbers> items;
};

Found Search(Searcher& searcher, std::string_view text, SearchOptions options) {
  Found found{searcher.Search(text, options), {}};
  for (const Item& item : searcher.Items())
    found.items.push_back(NumbersOf(item));
  return found;
}

/// The same with positions of the decoded text made positions of the text.
std::vector<Numbers> Mapped(std::vector<Numbers> items, Utf8Text& decoded) {
  for (Numbers& numbers : items) {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      const bool isTag = i >= 2 && i % 3 == 2;
      if (!isTag) numbers[i] = decoded.SourceOffset(numbers[i]);
    }
  }
  return items;
}

std::string Folded(std::string_view text) {
  std::string folded(text);
  for (char& c : folded)
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return folded;
}

void ExpectPromisesKept(const RequiredStrings& required, std::string_view text) {
  const std::string held = required.foldsCase ? Folded(text) : std::string(text);
  for (const std::vector<std::string>& clause : required.clauses) {
    EXPECT_TRUE(
        std::any_of(clause.begin(), clause.end(),
                    [&held](const std::string& s) { return held.find(s) != std::string::npos; }))
        << "not one of " << clause.size() << ", such as " << clause.front();
  }
}

class WholeQueries : public ::testing::TestWithParam<int> {};

TEST_P(WholeQueries, FindTheSameOnEveryRoad) {
  constexpr std::uint32_t kExpressions = 700;
  int searched = 0;
  for (std::uint32_t i = 0; i < kExpressions; ++i) {
    const std::uint32_t seed = static_cast<std::uint32_t>(GetParam()) * kExpressions + i;
    Dice dice(seed);
    const std::string expression = MakeExpression(dice, dice.Between(0, 2));
    ExpressionOptions how;
    how.words = dice.OneIn(5);
    how.caseSensitive = dice.OneIn(4);
    how.variants = dice.OneIn(8);
    auto compiled = Query::Compile(expression, how);
    if (std::holds_alternative<Fault>(compiled)) continue;
    const Query query = std::get<Query>(std::move(compiled));
    const RequiredStrings required = query.Required();
    Searcher searcher(query);
    Searcher other(query);
    Utf8Text decoder;
    for (int round = 0; round < 8; ++round) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ": " + expression);
      const std::string text = MakeText(dice);
      const TextView decoded = decoder.Decode(ViewOf(text), 0x81);
      const std::string characters(decoded.begin(), decoded.end());
      SearchOptions options;
      options.tags = dice.OneIn(2);
      SearchOptions latin = options;
      latin.encoding = Encoding::kLatin1;
      const Found expected = Search(other, characters, latin);
      const Found found = Search(searcher, text, options);
      ASSERT_EQ(found.verdict, expected.verdict);
      ASSERT_EQ(found.items, Mapped(expected.items, decoder));
      ASSERT_EQ(searcher.Matches(text), expected.verdict);
      if (expected.verdict == Verdict::kYes) ExpectPromisesKept(required, text);

      options.mostItems = static_cast<std::size_t>(dice.Between(1, 4));
      Found first = Search(searcher, text, options);
      ASSERT_EQ(first.verdict, expected.verdict);
      std::vector<Numbers> beginning = found.items;
      if (beginning.size() > options.mostItems) beginning.resize(options.mostItems);
      ASSERT_EQ(first.items, beginning);

      options.interrupt = [](void*) { return false; };
      options.mostItems = SIZE_MAX;
      ASSERT_EQ(Search(searcher, text, options).items, found.items);
      ASSERT_FALSE(HasFailure());
      ++searched;
    }
  }
  EXPECT_GT(searched, 3000);
}

INSTANTIATE_TEST_SUITE_P(Seeds, WholeQueries, ::testing::Range(0, 4));

}  // namespace
