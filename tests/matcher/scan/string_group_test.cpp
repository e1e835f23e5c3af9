// Several strings in one pass against looking at every place for each of them.

#include "matcher/scan/string_group.h"

#include "tests/dice.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using String = StringGroup::String;

/// Place, length and number of a string that was found.
using Found = std::vector<std::tuple<std::size_t, std::size_t, std::size_t>>;

CharSet SetOf(std::string_view bytes) {
  CharSet set;
  for (const char c : bytes)
    set.set(static_cast<unsigned char>(c));
  return set;
}

String StringOf(std::string_view bytes) {
  String string;
  for (const char c : bytes)
    string.push_back(SetOf({&c, 1}));
  return string;
}

Found FindAll(const std::vector<String>& strings, const std::string& text) {
  const std::vector<unsigned char> bytes(text.begin(), text.end());
  const unsigned char* const begin = bytes.data();
  PlaceCursor cursor;
  Found found;
  StringGroup(strings).ForEach(begin, begin + bytes.size(), cursor,
                               [&](std::size_t number, const unsigned char* place) {
                                 found.emplace_back(place - begin, strings[number].size(), number);
                                 return true;
                               });
  return found;
}

Found FindPlainly(const std::vector<String>& strings, const std::string& text) {
  Found found;
  for (std::size_t place = 0; place < text.size(); ++place) {
    for (std::size_t number = 0; number < strings.size(); ++number) {
      const String& string = strings[number];
      if (text.size() - place < string.size()) continue;
      std::size_t same = 0;
      while (same < string.size() && string[same][static_cast<unsigned char>(text[place + same])])
        ++same;
      if (same == string.size()) found.emplace_back(place, string.size(), number);
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

TEST(StringGroup, FindsEachStringInEveryShortText) {
  std::vector<std::string> texts = {""};
  for (std::size_t i = 0; i < texts.size() && texts[i].size() < 9; ++i) {
    for (const char c : {'a', 'b'})
      texts.push_back(texts[i] + c);
  }
  for (const auto& words : std::vector<std::vector<std::string_view>>{
           {"a"}, {"a", "b"}, {"aa", "ab", "b"}, {"abab", "ba"}, {"aab", "ab", "b", "bb", "baa"}}) {
    std::vector<String> strings;
    for (const std::string_view word : words)
      strings.push_back(StringOf(word));
    for (const std::string& text : texts)
      ASSERT_EQ(FindAll(strings, text), FindPlainly(strings, text)) << text;
  }
}

TEST(StringGroup, FindsRandomStringsInRandomTexts) {
  for (std::uint32_t seed = 1; seed <= 3000; ++seed) {
    Dice dice(seed);
    std::vector<String> strings;
    for (int count = dice.Between(1, 8); count > 0; --count) {
      String& string = strings.emplace_back();
      const int length = dice.Between(1, dice.OneIn(3) ? 14 : 5);
      while (static_cast<int>(string.size()) < length)
        string.push_back(SetOf(dice.OneOf({"a", "b", "aA", "c", "abc", "\xE4\xC4", "xyz0", ""})));
    }
    std::string text;
    const int size = dice.OneIn(5) ? 6000 : dice.Between(0, 300);
    const std::string rare(dice.OneIn(2) ? 80 : 2, '-');
    while (static_cast<int>(text.size()) < size) {
      text += dice.Bytes("aaabbcAx0\xE4\xC4", 20);
      // What was found stands in the text too.
      if (dice.OneIn(3)) {
        const String& string = strings[static_cast<std::size_t>(
            dice.Between(0, static_cast<int>(strings.size()) - 1))];
        for (const CharSet& set : string)
          text += static_cast<char>(set._Find_first() % 256);
      }
      text += rare;
    }
    ASSERT_EQ(FindAll(strings, text), FindPlainly(strings, text)) << "seed " << seed;
  }
}

TEST(StringGroup, EndsWhenNoMoreIsWanted) {
  const std::string text(500, 'a');
  const std::vector<unsigned char> bytes(text.begin(), text.end());
  PlaceCursor cursor;
  int taken = 0;
  StringGroup({StringOf("a"), StringOf("aa")})
      .ForEach(bytes.data(), bytes.data() + bytes.size(), cursor,
               [&](std::size_t, const unsigned char*) { return ++taken < 4; });
  EXPECT_EQ(taken, 4);
}

}  // namespace
}  // namespace trovex
