// Which words a snippet shows, held against trying every window; and what of it is marked.

#include "hosts/common/snippet.h"
#include "tests/dice.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using trovex::testing::Dice;

/// The places of `sought` in `text`.
std::vector<TextRange> Places(std::string_view text, std::string_view sought) {
  std::vector<TextRange> places;
  for (std::size_t at = text.find(sought); at != std::string_view::npos;
       at = text.find(sought, at + sought.size()))
    places.push_back({at, at + sought.size()});
  return places;
}

Snippet Choose(std::string_view text, const std::vector<TextRange>& items, std::size_t words) {
  Snippet snippet{};
  EXPECT_TRUE(ChooseSnippet(text.data(), text.size(), items.data(), items.size(), words, nullptr,
                            nullptr, &snippet));
  return snippet;
}

std::string Shown(std::string_view text, std::string_view sought, std::size_t words) {
  const Snippet snippet = Choose(text, Places(text, sought), words);
  const std::string_view part =
      text.substr(snippet.part.begin, snippet.part.end - snippet.part.begin);
  return (snippet.isCutBefore ? "..." : "") + std::string(part) +
         (snippet.isCutBehind ? "..." : "");
}

TEST(Snippets, HaveTheirItemsInTheMiddle) {
  EXPECT_EQ(Shown("a b c X d e f", "X", 1), "...X...");
  EXPECT_EQ(Shown("a b c X d e f", "X", 2), "...X d...");
  EXPECT_EQ(Shown("a b c X d e f", "X", 3), "...c X d...");
  EXPECT_EQ(Shown("a b c X d e f", "X", 7), "a b c X d e f");
  EXPECT_EQ(Shown("a b c X d e f", "X", 100), "a b c X d e f");
}

TEST(Snippets, AtAnEndOfTheTextHaveMoreOfTheOtherSide) {
  EXPECT_EQ(Shown("X a b c d e", "X", 4), "X a b c...");
  EXPECT_EQ(Shown("a b c d e X", "X", 4), "...c d e X");
  EXPECT_EQ(Shown("a X b c d e", "X", 4), "a X b c...");
  EXPECT_EQ(Shown("a b c d X e", "X", 5), "...b c d X e");
}

TEST(Snippets, ShowTheWordsWithMostItems) {
  EXPECT_EQ(Shown("X a b c d X X e f g h", "X", 3), "...X X e...");
  EXPECT_EQ(Shown("X a X b c d e X f X g", "X", 3), "X a X...");
}

TEST(Snippets, CutNoWord) {
  EXPECT_EQ(Shown("vor dem vorXbei, da", "X", 1), "...vorXbei,...");
  EXPECT_EQ(Shown("  a  X\tb\n", "X", 2), "...X\tb");
  EXPECT_EQ(Shown("  a X b ", "X", 3), "a X b");
}

TEST(Snippets, WithoutItemsAreTheFirstWords) {
  EXPECT_EQ(Shown("  a b c d", "X", 2), "a b...");
  EXPECT_EQ(Shown("a b", "X", 2), "a b");
  EXPECT_EQ(Shown("", "X", 2), "");
  EXPECT_EQ(Shown("   ", "X", 2), "");
}

TEST(Snippets, AreShortWithoutAnyBlank) {
  std::string text;
  for (int i = 0; i < 10'000; ++i)
    text += "\xC3\xBC";
  text += "X";
  for (int i = 0; i < 10'000; ++i)
    text += "\xC3\xBC";
  for (const std::size_t words : {1U, 2U, 5U}) {
    const std::string shown = Shown(text, "X", words);
    EXPECT_LE(shown.size(), words * 2 * 64 + 6);
    EXPECT_NE(shown.find('X'), std::string::npos);
    EXPECT_EQ((shown.size() - 6 - 1) % 2, 0U) << "a character is cut";
  }
  const std::string broken(100'000, '\x80');
  EXPECT_LE(Shown(broken, "X", 3).size(), 3 * 256U + 3);
}

TEST(Snippets, OfAnItemThatIsLongerShowItsBegin) {
  EXPECT_EQ(Shown("a b XX XX XX c", "XX XX XX", 2), "...XX XX...");
}

/// The words of a text without long runs.
std::vector<TextRange> Words(std::string_view text) {
  std::vector<TextRange> words;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == ' ') continue;
    const std::size_t end = std::min(text.find(' ', i), text.size());
    words.push_back({i, end});
    i = end;
  }
  return words;
}

/// The most items whose begin stands in `count` words side by side.
std::size_t MostItems(const std::vector<TextRange>& words, const std::vector<TextRange>& items,
                      std::size_t count) {
  std::size_t most = 0;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const TextRange window = {words[i].begin, words[std::min(i + count, words.size()) - 1].end};
    most = std::max(most, static_cast<std::size_t>(
                              std::count_if(items.begin(), items.end(), [&](const TextRange& item) {
                                return window.begin <= item.begin && item.begin < window.end;
                              })));
  }
  return most;
}

TEST(Snippets, AreAsGoodAsTheBestOfAll) {
  for (std::uint32_t seed = 0; seed < 20'000; ++seed) {
    Dice dice(seed);
    const std::string text = dice.Bytes("ab   X", 40);
    const auto items = Places(text, "X");
    const auto count = static_cast<std::size_t>(dice.Between(1, 6));
    const Snippet snippet = Choose(text, items, count);
    const std::vector<TextRange> words = Words(text);
    SCOPED_TRACE("seed " + std::to_string(seed) + " \"" + text + "\" " + std::to_string(count));
    const auto shown = static_cast<std::size_t>(
        std::count_if(words.begin(), words.end(), [&](const TextRange& word) {
          return snippet.part.begin <= word.begin && word.end <= snippet.part.end;
        }));
    ASSERT_EQ(shown, std::min(count, words.size()));
    const auto found = static_cast<std::size_t>(
        std::count_if(items.begin(), items.end(), [&](const TextRange& item) {
          return snippet.part.begin <= item.begin && item.begin < snippet.part.end;
        }));
    ASSERT_EQ(found, MostItems(words, items, count));
    if (words.empty()) continue;
    ASSERT_EQ(snippet.isCutBefore, snippet.part.begin > words.front().begin);
    ASSERT_EQ(snippet.isCutBehind, snippet.part.end < words.back().end);
  }
}

TEST(Snippets, StopWhenTheyAreTold) {
  std::string text = "X";
  for (int i = 0; i < 100'000; ++i)
    text += " a";
  text += " X";
  const std::vector<TextRange> items = Places(text, "X");
  int questions = 0;
  const auto stopAtThird = [](void* count) { return ++*static_cast<int*>(count) == 3; };
  Snippet snippet{};
  EXPECT_FALSE(ChooseSnippet(text.data(), text.size(), items.data(), items.size(), 5, stopAtThird,
                             &questions, &snippet));
  EXPECT_EQ(questions, 3);
  EXPECT_TRUE(ChooseSnippet(text.data(), text.size(), items.data(), items.size(), 5, nullptr,
                            nullptr, &snippet));
  EXPECT_EQ(snippet.part.end, 9U);
}

TEST(Marks, AreAroundEachByteOnce) {
  const auto part = [](TextRange item, std::size_t done, std::size_t end) {
    const TextRange marked = PartToMark(item, done, end);
    return std::pair(marked.begin, marked.end);
  };
  EXPECT_EQ(part({3, 5}, 0, 10), std::pair(3UL, 5UL));
  EXPECT_EQ(part({3, 5}, 4, 10), std::pair(4UL, 5UL));
  EXPECT_EQ(part({3, 12}, 4, 10), std::pair(4UL, 10UL));
  for (const TextRange nothing : {TextRange{3, 5}, TextRange{3, 7}, TextRange{5, 5}}) {
    const TextRange marked = PartToMark(nothing, 7, 10);
    EXPECT_EQ(marked.begin, marked.end);
  }
}

}  // namespace
