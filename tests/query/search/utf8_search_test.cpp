// Queries in the bytes of UTF-8, held against a search of the whole text after it was decoded: whatever the patterns
// are, however a text spells its characters, and wherever its blocks end.

#include <trovex/query.h>

#include "tests/dice.h"
#include "tests/heap_text.h"
#include "text/utf8_text.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::Dice;
using trovex::testing::HeapText;

using Ranges = std::vector<std::pair<std::size_t, std::size_t>>;

struct Found {
  Verdict verdict = Verdict::kNo;
  Ranges items;
  bool operator==(const Found&) const = default;
};

Found FoundIn(Searcher& searcher, std::string_view text, const SearchOptions& options) {
  const HeapText heap(text);
  Found found;
  found.verdict = searcher.ForEach({heap.Data(), text.size()}, options, [&](const Item& item) {
    found.items.emplace_back(item.begin, item.end);
  });
  return found;
}

/// Decodes all of the text and finds in the characters what stands there.
Found FoundInCharacters(Searcher& searcher, std::string_view text, SearchOptions options) {
  constexpr unsigned char kSubstitute = 0x81;
  Utf8Text decoder;
  const TextView characters = decoder.Decode(
      {reinterpret_cast<const unsigned char*>(text.data()), text.size()}, kSubstitute);
  options.encoding = Encoding::kLatin1;
  const std::string copy(characters.begin(), characters.end());
  Found found = FoundIn(searcher, copy, options);
  for (auto& [begin, end] : found.items) {
    const ByteRange source = decoder.SourceRange({begin, end});
    begin = source.begin;
    end = source.end;
  }
  return found;
}

const std::vector<std::string> kPatterns = {"ba",
                                            "[ab]+",
                                            "aa|b",
                                            "\\<ab\\>",
                                            "\\<a[b-x]*",
                                            "[a-x]+b\\>",
                                            "\\bab\\b",
                                            "\\<b",
                                            "a\\>",
                                            "\\Bab",
                                            "a\\b.",
                                            "\u00FC",
                                            "a\u00FC",
                                            "\u00FCa",
                                            "f\u00FCr|ab",
                                            "[a-z\u00E4\u00F6\u00FC]+b",
                                            "[A-Z\u00C4\u00D6\u00DC][a-z\u00E4\u00F6\u00FC\u00DF]+",
                                            "\\<[a-z\u00E4\u00FC]+\\>",
                                            "\\<\u00FCa",
                                            "[^b]b",
                                            "[^b]+",
                                            "[^ab]",
                                            "[^ab\u00FC]x",
                                            "[^\u00E4\u201E]a",
                                            "a.b",
                                            "a.*b",
                                            "a.+",
                                            ".+b",
                                            "..+",
                                            "(.)(.*)b",
                                            "x.?b",
                                            "\"[^\"]*\"",
                                            "[^ ]{2,}",
                                            "[^ ]{3}",
                                            "[^ ]{6}",
                                            "\\wb",
                                            "\\W+a",
                                            "[[:alpha:]]+x",
                                            "[\u20AC\u00E4\u2013]",
                                            "[\u2013\u2014\u201E\u201C]a",
                                            "\u20ACa|\u0153",
                                            "[\u0152\u0161\u0178]",
                                            "a[^b]{3}x",
                                            "(\u00E4|ab)+x",
                                            "(a\u00FC|b)*x",
                                            "^\u00E4",
                                            "\u00FC$",
                                            ".$",
                                            "^[^a]",
                                            "[a-c]*\u00FC?x",
                                            "[\u00E0-\u00FF]+",
                                            "[\u0080-\u00FF]a",
                                            "a*",
                                            "~Bar"};

const std::vector<std::string> kConnections = {" & ",   " & !",   " &0 ",  " &3 ",
                                               " &40 ", " &300 ", " &1w ", " &3w ",
                                               " &>5 ", " &>2w ", " &> ",  " &7 !"};

std::string MakeExpression(Dice& dice) {
  std::string expression = dice.OneOf(kPatterns);
  while (dice.OneIn(2))
    expression += dice.OneOf(kConnections) + dice.OneOf(kPatterns);
  return expression;
}

const std::vector<std::string> kCommon = {"a", "b", "ab", "x", " ", "ba", "A", "f", "r", "\"", "-"};
const std::vector<std::string> kFine = {
    "\u00FC", "\u00E4", "\u00C4", "\u00DF", "\u201E", "\u2013",     "\u20AC", "\u4E2D",  "\u0141",
    "\u00D7", "\u00AA", "\u0153", "\u00E9", "\u00A0", "\U0001F600", "\n",     "f\u00FCr"};
const std::vector<std::string> kAwkward = {
    "\xFC",     "u\u0308", "a\u0308", "b\u0308",      "\u0308", "\xC3",    "\xBC", "\xE4", "\x80",
    "\xE2\x82", "\u0301a", "x\u0327", "\xF0\x9F\x98", "\xD7",   "A\u030A", "\xCC", "\xE2", "\xC5"};

/// So many bytes at least, of lines that are short or long; some texts have nothing awkward.
std::string MakeText(Dice& dice, std::size_t size) {
  const int fine = dice.OneIn(2) ? 4 : 30;
  const int awkward = dice.OneIn(3) ? 1 << 30 : dice.OneIn(2) ? 6 : static_cast<int>(size / 8) + 1;
  const int feeds = dice.OneIn(3) ? 20'000 : 30;
  std::string text;
  while (text.size() < size) {
    if (dice.OneIn(awkward))
      text += dice.OneOf(kAwkward);
    else if (dice.OneIn(feeds))
      text += "\n";
    else
      text += dice.OneIn(fine) ? dice.OneOf(kFine) : dice.OneOf(kCommon);
  }
  return text;
}

class Utf8Search : public ::testing::TestWithParam<int> {};

TEST_P(Utf8Search, FindsInBytesWhatStandsInTheCharacters) {
  const std::size_t longest = static_cast<std::size_t>(GetParam());
  const std::uint32_t cases = longest < 1'000 ? 4'000 : longest < 10'000 ? 500 : 50;
  std::size_t searched = 0;
  std::size_t items = 0;
  for (std::uint32_t seed = 1; seed <= cases; ++seed) {
    Dice dice(seed);
    const std::string expression = dice.OneIn(2) ? dice.OneOf(kPatterns) : MakeExpression(dice);
    ExpressionOptions how;
    how.words = dice.OneIn(3);
    how.caseSensitive = dice.OneIn(2);
    how.variants = dice.OneIn(12);
    auto compiled = Query::Compile(expression, how);
    if (std::holds_alternative<Fault>(compiled)) continue;
    Searcher searcher(std::get<Query>(compiled));
    Searcher other(std::get<Query>(compiled));
    const auto size =
        static_cast<std::size_t>(dice.Between(static_cast<int>(longest / 2), GetParam()));
    const std::string text = MakeText(dice, size);
    SearchOptions options;
    options.firstOfLine = dice.OneIn(4);
    const Found expected = FoundInCharacters(other, text, options);
    ASSERT_EQ(FoundIn(searcher, text, options), expected)
        << "seed " << seed << (how.words ? ", words: " : ": ") << expression
        << (longest < 1'000 ? " in " + ::testing::PrintToString(text) : "");
    ASSERT_EQ(searcher.Matches(text), expected.verdict) << "seed " << seed << ": " << expression;
    options.mostItems = static_cast<std::size_t>(dice.Between(0, 3));
    Found fewer = expected;
    fewer.items.resize(std::min(options.mostItems, fewer.items.size()));
    ASSERT_EQ(FoundIn(searcher, text, options), fewer) << "seed " << seed << ": " << expression;
    options.mostItems = SIZE_MAX;
    options.interrupt = [](void*) { return false; };
    ASSERT_EQ(FoundIn(searcher, text, options), expected) << "seed " << seed << ": " << expression;
    ++searched;
    items += expected.items.size();
  }
  EXPECT_GT(searched, cases / 2);
  EXPECT_GT(items, cases);
}

INSTANTIATE_TEST_SUITE_P(Sizes, Utf8Search, ::testing::Values(40, 300, 6'000, 200'000));

TEST(Utf8Strings, StandBesidePatternsWhoseLastLetterAMarkChanges) {
  for (const char* const expression :
       {"ba & [abx]+", "x &3 [ab]+", "[ab]+ &1 x", "ba & !x[ab]+", "ba & x+[ab]"}) {
    Searcher searcher(std::get<Query>(Query::Compile(expression)));
    Searcher other(std::get<Query>(Query::Compile(expression)));
    for (std::uint32_t seed = 1; seed <= 200; ++seed) {
      Dice dice(seed);
      std::string text;
      for (int pieces = dice.Between(1, 300); pieces > 0; --pieces)
        text += dice.OneIn(40) ? "a\u0308" : dice.OneIn(30) ? "b\u0308" : dice.OneOf(kCommon);
      ASSERT_EQ(FoundIn(searcher, text, {}), FoundInCharacters(other, text, {}))
          << "seed " << seed << ": " << expression << " in " << ::testing::PrintToString(text);
    }
  }
}

}  // namespace
