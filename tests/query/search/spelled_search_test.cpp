// Patterns with characters beyond ASCII, searched in the bytes of UTF-8 where that can be, held against a
// search of the whole text after it was decoded.

#include <trovex/query.h>

#include "tests/dice.h"
#include "tests/heap_text.h"
#include "text/utf8_text.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::Dice;
using trovex::testing::HeapText;

using Ranges = std::vector<std::pair<std::size_t, std::size_t>>;

Ranges Found(Searcher& searcher, std::string_view text, const SearchOptions& options) {
  const HeapText heap(text);
  Ranges ranges;
  searcher.ForEach({heap.Data(), text.size()}, options,
                   [&](const Item& item) { ranges.emplace_back(item.begin, item.end); });
  return ranges;
}

/// The items that begin a line's.
Ranges FirstOfLines(const Ranges& all, std::string_view text) {
  Ranges first;
  for (const auto& range : all) {
    const bool isNew =
        first.empty() ||
        text.substr(first.back().first, range.first - first.back().first).find('\n') !=
            std::string_view::npos;
    if (isNew) first.push_back(range);
  }
  return first;
}

/// Decodes all of the text and finds in the characters what stands there.
Ranges FoundInCharacters(Searcher& searcher, std::string_view text) {
  constexpr unsigned char kSubstitute = 0x81;
  Utf8Text decoder;
  const TextView characters = decoder.Decode(
      {reinterpret_cast<const unsigned char*>(text.data()), text.size()}, kSubstitute);
  SearchOptions options;
  options.encoding = Encoding::kLatin1;
  const std::string copy(characters.begin(), characters.end());
  Ranges ranges;
  for (const auto& [begin, end] : Found(searcher, copy, options)) {
    const ByteRange source = decoder.SourceRange({begin, end});
    ranges.emplace_back(source.begin, source.end);
  }
  return ranges;
}

const std::vector<std::string> kExpressions = {"f\u00FCr",
                                               "\u00FC",
                                               "\u00FC|f",
                                               "\u00F6\u00DF",
                                               "Q\u00FC",
                                               "f\u00FCr|Q\u00F6",
                                               "\u00C3\u00BC",
                                               "r\u00FC",
                                               "Q.*\u00FC",
                                               "\u20ACQ",
                                               "f\u00FC|f\u00FC\u00DF",
                                               "QX[^\u00E4]*\u00F6",
                                               "[\u00E4\u00F6]Q",
                                               "\u00FC\u00FC",
                                               "Q(\u00FC)r",
                                               "Q\u00FC$",
                                               "^\u00FCQ",
                                               "u\u00FC",
                                               "\u00FCu",
                                               "X & \u00FCQ"};

const std::vector<std::string> kPieces = {
    "f",      "\u00FC",   "\xFC",    "u\u0308", "u",      "r",     "\u00F6", "o\u0308",
    "\u00DF", "\xDF",     "\n",      "\u00E4",  "Q",      "X",     "QX",     "f\u00FCr",
    "\xC3",   "\xBC",     "\u0308",  "\xE4",    "\u20AC", "\x80",  "\u00DC", "U\u0308",
    "\r\n",   "\xE2\x82", "q\u00D6", " ",       "\u4E2D", "\u0301"};

TEST(SpelledSearch, FindsInBytesWhatStandsInTheCharacters) {
  for (std::uint32_t seed = 1; seed <= 1500; ++seed) {
    Dice dice(seed);
    const std::string& expression = dice.OneOf(kExpressions);
    ExpressionOptions how;
    how.caseSensitive = dice.OneIn(2);
    how.words = dice.OneIn(5);
    how.variants = dice.OneIn(8);
    std::string text;
    const int pieces = dice.Between(0, dice.OneIn(4) ? 3000 : 40);
    const int dull = dice.OneIn(2) ? 0 : 20;
    for (int i = 0; i < pieces; ++i) {
      text += dice.OneOf(kPieces);
      for (int more = dice.Between(0, dull); more > 0; --more)
        text += dice.Byte("abc \n");
    }
    const Query query = std::get<Query>(Query::Compile(expression, how));
    Searcher searcher(query);
    const Ranges expected = FoundInCharacters(searcher, text);
    ASSERT_EQ(Found(searcher, text, {}), expected) << "seed " << seed << ": " << expression;
    SearchOptions lines;
    lines.firstOfLine = true;
    ASSERT_EQ(Found(searcher, text, lines), FirstOfLines(expected, text))
        << "seed " << seed << ", lines: " << expression;
    const Verdict verdict = expected.empty() ? Verdict::kNo : Verdict::kYes;
    ASSERT_EQ(searcher.Matches(text), verdict) << "seed " << seed << ": " << expression;
  }
}

TEST(SpelledSearch, FindsALetterThatEndsTheText) {
  Searcher searcher(std::get<Query>(Query::Compile("\u00E4")));
  const std::string dull(5000, 'x');
  EXPECT_EQ(Found(searcher, dull + "\u00E4", {}), (Ranges{{5000, 5002}}));
  EXPECT_EQ(Found(searcher, dull + "\xE4", {}), (Ranges{{5000, 5001}}));
  EXPECT_EQ(Found(searcher, dull + "a\u0308", {}), (Ranges{{5000, 5003}}));
  EXPECT_EQ(Found(searcher, dull + "\xC3", {}), Ranges{});
}

TEST(SpelledSearch, GoesOnAfterALineWithManyPlacesToThoseThatLieFarAway) {
  std::string text;
  Ranges expected;
  for (int i = 0; i < 3; ++i) {
    text.append(100'000, 'x').append("\n");
    for (int j = 0; j < 400; ++j) {
      text += "Q\u00FC ";
      expected.emplace_back(text.size() - 4, text.size() - 1);
      if (j % 3 == 0) text += '\n';
    }
  }
  Searcher words(std::get<Query>(Query::Compile("\\<Q\u00FC\\>")));
  EXPECT_EQ(Found(words, text, {}), expected);
}

}  // namespace
