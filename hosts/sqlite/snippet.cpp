#include "hosts/sqlite/snippet.h"

#include <algorithm>

namespace trovex::sqlite {
namespace {

/// The characters of one word; a longer run is parted.
constexpr std::size_t kLongestWord = 64;

bool IsBlank(char byte) {
  return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

bool IsContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The bytes of a word: no character has more than four, and in broken text, where bytes go on without
/// an end, none has more either.
constexpr std::size_t kMostBytes = 4 * kLongestWord;

std::size_t SkipBlanks(std::string_view text, std::size_t place) {
  while (place < text.size() && IsBlank(text[place]))
    ++place;
  return place;
}

std::size_t SkipBlanksBack(std::string_view text, std::size_t place) {
  while (place > 0 && IsBlank(text[place - 1]))
    --place;
  return place;
}

/// The end of the word that begins at `begin`.
std::size_t EndOfWord(std::string_view text, std::size_t begin) {
  std::size_t characters = 0;
  std::size_t place = begin;
  for (; place < text.size() && !IsBlank(text[place]) && place - begin < kMostBytes; ++place) {
    if (!IsContinuation(text[place]) && characters++ == kLongestWord) break;
  }
  return place;
}

/// The beginning of the word that ends at `end`, or of the part of it before `end`.
std::size_t BeginOfWord(std::string_view text, std::size_t end) {
  std::size_t characters = 0;
  std::size_t place = end;
  while (place > 0 && !IsBlank(text[place - 1]) && end - place < kMostBytes) {
    --place;
    if (!IsContinuation(text[place]) && ++characters == kLongestWord) break;
  }
  return place;
}

/// A word by its number, counted from that of the first item.
struct Word {
  std::size_t number = 0;
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// The word of `text` in which the byte `place` stands, or the last one before it; `word` is one that begins
/// before.
Word WordAt(std::string_view text, Word word, std::size_t place) {
  while (word.end <= place) {
    const std::size_t next = SkipBlanks(text, word.end);
    if (next > place || next == text.size()) break;
    word = {word.number + 1, next, EndOfWord(text, next)};
  }
  return word;
}

/// The words in which the items begin.
std::vector<Word> WordsOf(std::string_view text, const std::vector<Range>& items) {
  std::vector<Word> words;
  words.reserve(items.size());
  const std::size_t begin = BeginOfWord(text, items.front().begin);
  Word word{0, begin, EndOfWord(text, begin)};
  for (const Range& item : items)
    words.push_back(word = WordAt(text, word, item.begin));
  return words;
}

/// The first and the last of the items in the best `words` words.
Range BestItems(const std::vector<Word>& begins, std::size_t words) {
  Range best;
  std::size_t first = 0;
  for (std::size_t last = 0; last < begins.size(); ++last) {
    while (begins[last].number - begins[first].number >= words)
      ++first;
    if (last - first > best.end - best.begin) best = {first, last};
  }
  return best;
}

/// Up to `count` words more behind `end`. Counts down how many there were.
std::size_t Lengthened(std::string_view text, std::size_t end, std::size_t& count) {
  for (; count > 0; --count) {
    const std::size_t next = SkipBlanks(text, end);
    if (next == text.size()) break;
    end = EndOfWord(text, next);
  }
  return end;
}

/// Up to `count` words more before `begin`. Counts down how many there were.
std::size_t LengthenedBack(std::string_view text, std::size_t begin, std::size_t& count) {
  for (; count > 0; --count) {
    const std::size_t end = SkipBlanksBack(text, begin);
    if (end == 0) break;
    begin = BeginOfWord(text, end);
  }
  return begin;
}

Snippet Cut(std::string_view text, Range part) {
  return {part, SkipBlanksBack(text, part.begin) > 0, SkipBlanks(text, part.end) < text.size()};
}

}  // namespace

Snippet ChooseSnippet(std::string_view text, const std::vector<Range>& items, std::size_t words) {
  if (items.empty()) {
    const std::size_t begin = SkipBlanks(text, 0);
    return Cut(text, {begin, Lengthened(text, begin, words)});
  }
  const std::vector<Word> begins = WordsOf(text, items);
  const Range chosen = BestItems(begins, words);
  const Word first = begins[chosen.begin];
  std::size_t left = words - 1;
  Word last = first;
  const std::size_t lastByte = std::max(items[chosen.end].end, items[chosen.end].begin + 1) - 1;
  while (left > 0) {
    const Word next = WordAt(text, last, SkipBlanks(text, last.end));
    if (next.number == last.number || next.begin > lastByte) break;
    last = next;
    --left;
  }
  std::size_t before = left / 2;
  std::size_t behind = left - before;
  std::size_t end = Lengthened(text, last.end, behind);
  before += behind;
  const std::size_t begin = LengthenedBack(text, first.begin, before);
  end = Lengthened(text, end, before);
  return Cut(text, {begin, end});
}

}  // namespace trovex::sqlite
