#include "hosts/common/snippet.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

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

/// Counts the words that are gone through, and asks now and then whether to go on.
class Asker {
 public:
  Asker(bool (*mustStop)(void*), void* context) : mustStop_(mustStop), context_(context) {}

  /// Called at each word. False when nothing more is to be done, from then on.
  bool MayGoOn() {
    constexpr std::size_t kWordsBetween = 16384;
    if (++words_ % kWordsBetween == 0 && mustStop_ != nullptr && !isStopped_)
      isStopped_ = mustStop_(context_);
    return !isStopped_;
  }

  bool IsStopped() const { return isStopped_; }

 private:
  bool (*mustStop_)(void*);
  void* context_;
  std::size_t words_ = 0;
  bool isStopped_ = false;
};

/// The word of `text` in which the byte `place` stands, or the last one before it; `word` is one that begins
/// before.
Word WordAt(std::string_view text, Word word, std::size_t place, Asker& asker) {
  while (word.end <= place && asker.MayGoOn()) {
    const std::size_t next = SkipBlanks(text, word.end);
    if (next > place || next == text.size()) break;
    word = {word.number + 1, next, EndOfWord(text, next)};
  }
  return word;
}

/// Items side by side, and the word in which the first of them begins.
struct Chosen {
  std::size_t first = 0;
  std::size_t last = 0;
  Word word;
};

/// Those that begin in the best `words` words.
Chosen ChooseItems(std::string_view text, const TextRange* items, std::size_t count,
                   std::size_t words, Asker& asker) {
  const std::size_t begin = BeginOfWord(text, items[0].begin);
  Word front = WordAt(text, {0, begin, EndOfWord(text, begin)}, items[0].begin, asker);
  Word back = front;
  Chosen best{0, 0, front};
  std::size_t first = 0;
  for (std::size_t last = 0; last < count && !asker.IsStopped(); ++last) {
    back = WordAt(text, back, items[last].begin, asker);
    while (back.number - front.number >= words && !asker.IsStopped())
      front = WordAt(text, front, items[++first].begin, asker);
    if (last - first > best.last - best.first || last == 0) best = {first, last, front};
  }
  return best;
}

/// Up to `count` words more after `end`. Counts down how many there were.
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

Snippet Cut(std::string_view text, TextRange part) {
  return {part, SkipBlanksBack(text, part.begin) > 0, SkipBlanks(text, part.end) < text.size()};
}

Snippet FirstWords(std::string_view text, std::size_t words) {
  const std::size_t begin = SkipBlanks(text, 0);
  return Cut(text, {begin, Lengthened(text, begin, words)});
}

Snippet Around(std::string_view text, const TextRange* items, const Chosen& chosen,
               std::size_t words, Asker& asker) {
  std::size_t left = words - 1;
  Word last = chosen.word;
  const TextRange lastItem = items[chosen.last];
  const std::size_t lastByte = std::max(lastItem.end, lastItem.begin + 1) - 1;
  while (left > 0) {
    const Word next = WordAt(text, last, SkipBlanks(text, last.end), asker);
    if (next.number == last.number || next.begin > lastByte) break;
    last = next;
    --left;
  }
  std::size_t before = left / 2;
  std::size_t after = left - before;
  std::size_t end = Lengthened(text, last.end, after);
  before += after;
  const std::size_t begin = LengthenedBack(text, chosen.word.begin, before);
  end = Lengthened(text, end, before);
  return Cut(text, {begin, end});
}

}  // namespace

bool ChooseSnippet(const char* bytes, size_t length, const TextRange* items, size_t count,
                   size_t words, bool (*mustStop)(void* context), void* context, Snippet* snippet) {
  const std::string_view text(bytes, length);
  if (count == 0) {
    *snippet = FirstWords(text, words);
    return true;
  }
  Asker asker(mustStop, context);
  const Chosen chosen = ChooseItems(text, items, count, words, asker);
  if (asker.IsStopped()) return false;
  *snippet = Around(text, items, chosen, words, asker);
  return !asker.IsStopped();
}
