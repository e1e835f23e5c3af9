#include "query/search/sound_search.h"

#include "tests/dice.h"
#include "tests/phonetic/utf8_word.h"
#include "text/code_page.h"

#include <gtest/gtest.h>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::CodePageWord;

/// The ranges of all words of `text` with the key of `name`, by the search. The text lies in a block of
/// exactly its length.
std::vector<ByteRange> Search(std::string_view name, std::string_view text) {
  const auto block = std::make_unique<unsigned char[]>(text.size());
  if (!text.empty()) std::memcpy(block.get(), text.data(), text.size());
  SoundSearch search(MakeSoundKey(name));
  search.Begin({block.get(), text.size()});
  std::vector<ByteRange> found;
  for (ByteRange word; search.Next(word);)
    found.push_back(word);
  return found;
}

/// The same, word by word.
std::vector<ByteRange> SearchPlainly(std::string_view name, std::string_view text) {
  const SoundKey key = MakeSoundKey(name);
  std::vector<ByteRange> found;
  const auto isOfWord = [&](std::size_t i) {
    return i < text.size() && IsCodePageWord(static_cast<unsigned char>(text[i]));
  };
  for (std::size_t begin = 0; begin < text.size(); ++begin) {
    if (!isOfWord(begin) || (begin > 0 && isOfWord(begin - 1))) continue;
    std::size_t end = begin;
    while (isOfWord(end))
      ++end;
    const SoundKey other = MakeSoundKey(text.substr(begin, end - begin));
    if (!key.sounds.empty() && other == key) found.push_back({begin, end});
  }
  return found;
}

TEST(SoundSearch, FindsWholeWordsInOrder) {
  const std::string text = "Maier, Meierei; MEYER_ Mayr\nMeyer";
  const std::vector<ByteRange> expected = {{0, 5}, {23, 27}, {28, 33}};
  EXPECT_EQ(Search("Meier", text), expected);
}

TEST(SoundSearch, FindsNothingWithoutAKeyOrAText) {
  EXPECT_TRUE(Search("", "a b c").empty());
  EXPECT_TRUE(Search("4711", "4711").empty());
  EXPECT_TRUE(Search("Meier", "").empty());
}

TEST(SoundSearch, BeginsAnewWithEachText) {
  SoundSearch search(MakeSoundKey("Meier"));
  ByteRange word;
  const std::string text = "Mayr";
  const TextView view(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  for (int round = 0; round < 3; ++round) {
    search.Begin(view);
    ASSERT_TRUE(search.Next(word));
    EXPECT_EQ(word, (ByteRange{0, 4}));
    EXPECT_FALSE(search.Next(word));
    EXPECT_FALSE(search.Next(word));
  }
}

TEST(SoundSearch, AgreesWithComparingWordByWord) {
  const std::string letters = CodePageWord("aeeiiurhhmmtsc-- _2ßä\n.");
  for (std::uint32_t seed = 0; seed < 3'000; ++seed) {
    testing::Dice dice(seed);
    const auto draw = [&](int length, std::size_t from) {
      std::string text;
      for (; length > 0; --length)
        text += letters[static_cast<std::size_t>(dice.Between(0, static_cast<int>(from) - 1))];
      return text;
    };
    const std::string name = draw(dice.Between(1, 4), 14);
    const std::string text = draw(dice.Between(0, 300), letters.size());
    ASSERT_EQ(Search(name, text), SearchPlainly(name, text)) << "seed " << seed << ": " << name;
  }
}

}  // namespace
}  // namespace trovex
