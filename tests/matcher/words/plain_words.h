// The most trivial search for words: at each place, each of them. And chance for lists and texts that have
// something to do with one another.

#ifndef TROVEX_TESTS_MATCHER_WORDS_PLAIN_WORDS_H
#define TROVEX_TESTS_MATCHER_WORDS_PLAIN_WORDS_H

#include "tests/dice.h"
#include "text/byte_map.h"
#include "text/byte_range.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::testing {

/// Bytes in a heap block of exactly their length.
class ExactBytes {
 public:
  explicit ExactBytes(std::string_view text)
      : bytes_(std::make_unique<unsigned char[]>(text.size())), size_(text.size()) {
    if (!text.empty()) std::memcpy(bytes_.get(), text.data(), size_);
  }
  TextView View() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<unsigned char[]> bytes_;
  std::size_t size_;
};

/// The table under which the letters A to Z and a to z are the same.
inline ByteMap AsciiFold() {
  ByteMap fold = kSameBytes;
  for (unsigned c = 'A'; c <= 'Z'; ++c)
    fold[c] = static_cast<unsigned char>(c - 'A' + 'a');
  return fold;
}

inline bool StandsAt(std::string_view text, std::size_t place, std::string_view word,
                     const ByteMap& fold) {
  if (word.size() > text.size() - place) return false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (fold[static_cast<unsigned char>(text[place + i])] !=
        fold[static_cast<unsigned char>(word[i])])
      return false;
  }
  return true;
}

/// The leftmost of `words` in `text`, of those the longest, then on from its end. `accepts(begin, end)` says
/// which count.
template <typename Accepts>
std::vector<ByteRange> AllWords(const std::vector<std::string>& words, std::string_view text,
                                const ByteMap& fold, const Accepts& accepts) {
  std::vector<ByteRange> matches;
  for (std::size_t place = 0; place < text.size();) {
    std::size_t longest = 0;
    for (const std::string& word : words) {
      if (word.size() > longest && StandsAt(text, place, word, fold) &&
          accepts(place, place + word.size()))
        longest = word.size();
    }
    if (longest > 0) matches.push_back({place, place + longest});
    place += longest > 0 ? longest : 1;
  }
  return matches;
}

/// `count` words of `alphabet`, of lengths from `shortest` to `longest`; some go on from others.
inline std::vector<std::string> RandomWords(Dice& dice, std::string_view alphabet, int count,
                                            int shortest, int longest) {
  std::vector<std::string> words;
  while (static_cast<int>(words.size()) < count) {
    std::string word;
    if (!words.empty() && dice.OneIn(3)) word = dice.OneOf(words);
    if (dice.OneIn(4)) word.resize(word.size() / 2);
    const int length = dice.Between(shortest, longest);
    while (static_cast<int>(word.size()) < length)
      word += dice.Byte(alphabet);
    if (static_cast<int>(word.size()) > longest) word.resize(static_cast<std::size_t>(longest));
    words.push_back(word);
  }
  return words;
}

/// About `length` bytes of words, pieces of words and other bytes of `alphabet`.
inline std::string TextOfWords(Dice& dice, const std::vector<std::string>& words,
                               std::string_view alphabet, int length) {
  std::string text;
  while (static_cast<int>(text.size()) < length) {
    const std::string& word = dice.OneOf(words);
    if (dice.OneIn(2)) text += word;
    if (dice.OneIn(2)) text += word.substr(0, static_cast<std::size_t>(dice.Between(0, 5)));
    if (dice.OneIn(2)) text += dice.Bytes(alphabet, 8);
  }
  return text;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_WORDS_PLAIN_WORDS_H
