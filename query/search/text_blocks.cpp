#include "query/search/text_blocks.h"

#include "text/code_page.h"
#include "text/utf8_character.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace trovex {

namespace {

std::array<unsigned char, 256> MakeWordTable() {
  std::array<unsigned char, 256> table{};
  for (std::size_t c = 0; c < table.size(); ++c)
    table[c] = IsCodePageWord(static_cast<unsigned char>(c)) ? 1 : 0;
  return table;
}

const std::array<unsigned char, 256>& WordTable() {
  static const std::array<unsigned char, 256> table = MakeWordTable();
  return table;
}

}  // namespace

void TextBlocks::Begin(TextView text, Reading reading, unsigned char substitute) {
  text_ = text;
  reading_ = reading;
  substitute_ = substitute;
  begins_.clear();
  places_.clear();
  characters_.clear();
  words_.clear();
  for (const auto& block : open_) {
    block->number_ = kNowhere;
    block->holders_ = 0;
  }
  begins_.push_back(0);
}

bool TextBlocks::Has(std::size_t number) {
  while (places_.size() <= number) {
    const std::size_t begin = begins_.back();
    if (begin == text_.size() && !places_.empty()) return false;
    const std::size_t least = std::min(blockSize_, text_.size() - begin);
    const bool isLast = begin + least == text_.size();
    begins_.push_back(isLast ? text_.size() : AfterLineOf(text_, begin + least - 1));
    places_.push_back(kNowhere);
  }
  return true;
}

ByteRange TextBlocks::RangeOf(std::size_t number) {
  return {begins_[number], begins_[number + 1]};
}

std::size_t TextBlocks::Holding(std::size_t byte) {
  while (begins_.back() <= byte)
    Has(places_.size());
  const auto after = std::upper_bound(begins_.begin(), begins_.end(), byte);
  return static_cast<std::size_t>(after - begins_.begin()) - 1;
}

OpenBlock& TextBlocks::Open(std::size_t number) {
  const std::size_t place = places_[number];
  if (place != kNowhere && open_[place]->number_ == number) {
    ++open_[place]->holders_;
    return *open_[place];
  }
  OpenBlock& block = UnusedBlock();
  block.number_ = kNowhere;
  OpenLines(block, RangeOf(number));
  block.number_ = number;
  block.holders_ = 1;
  places_[number] = nextUnused_ - 1;
  return block;
}

void TextBlocks::Close(OpenBlock& block) {
  --block.holders_;
}

/// A block that nobody has: the one that was opened longest ago, or a new one. `nextUnused_` is then
/// one more than its place.
OpenBlock& TextBlocks::UnusedBlock() {
  for (std::size_t tried = 0; tried < open_.size() && open_.size() >= kKeptBlocks; ++tried) {
    if (nextUnused_ >= open_.size()) nextUnused_ = 0;
    OpenBlock& block = *open_[nextUnused_++];
    if (block.holders_ == 0) return block;
  }
  open_.push_back(std::make_unique<OpenBlock>());
  nextUnused_ = open_.size();
  return *open_.back();
}

void TextBlocks::OpenLines(OpenBlock& block, const ByteRange& range) const {
  const TextView bytes = text_.subspan(range.begin, range.Length());
  block.begin_ = range.begin;
  block.text_ = reading_ == Reading::kPlain ? bytes : block.decoded_.Decode(bytes, substitute_);
  block.isPlain_ = block.text_.data() == bytes.data();
}

template <typename Count>
std::size_t TextBlocks::SumBefore(std::vector<std::size_t>& counts, std::size_t number,
                                  Count count) {
  if (counts.empty()) counts.push_back(0);
  while (counts.size() <= number) {
    OpenBlock& block = Open(counts.size() - 1);
    const std::size_t sum = counts.back() + count(block.Text());
    Close(block);
    counts.push_back(sum);
  }
  return counts[number];
}

std::size_t TextBlocks::CharactersIn(const ByteRange& range) const {
  return reading_ == Reading::kPlain ? range.Length() : CharactersOf(text_, range);
}

std::size_t CharactersOf(TextView text, const ByteRange& range) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  const unsigned char* const begin = text.data() + range.begin;
  const unsigned char* const end = text.data() + range.end;
  std::size_t characters = 0;
  for (const unsigned char* at = begin; at < end;) {
    std::uint64_t eight = kHighBits;
    if (end - at >= static_cast<std::ptrdiff_t>(sizeof eight))
      std::memcpy(&eight, at, sizeof eight);
    if ((eight & kHighBits) == 0) {
      characters += sizeof eight;
      at += sizeof eight;
      continue;
    }
    const Utf8Sequence sequence = ReadSequence(at, end);
    characters += ComposedWithLast(begin, at, sequence) == 0 ? 1 : 0;
    at += sequence.length;
  }
  return characters;
}

std::size_t TextBlocks::CharactersBefore(std::size_t number) {
  if (reading_ == Reading::kPlain) return begins_[number];
  return SumBefore(characters_, number, [](TextView text) { return text.size(); });
}

std::size_t TextBlocks::WordsBefore(std::size_t number) {
  return SumBefore(words_, number,
                   [](TextView text) { return WordsBegunIn(text, 0, text.size()); });
}

std::size_t LineStart(TextView text, std::size_t byte) {
  const void* const feed = memrchr(text.data(), '\n', byte);
  if (feed == nullptr) return 0;
  return static_cast<std::size_t>(static_cast<const unsigned char*>(feed) - text.data()) + 1;
}

std::size_t AfterLineOf(TextView text, std::size_t byte) {
  const void* const feed = std::memchr(text.data() + byte, '\n', text.size() - byte);
  if (feed == nullptr) return text.size();
  return static_cast<std::size_t>(static_cast<const unsigned char*>(feed) - text.data()) + 1;
}

std::size_t WordsBegunIn(TextView text, std::size_t begin, std::size_t end) {
  const auto& isWord = WordTable();
  std::size_t words = 0;
  unsigned before = begin > 0 ? isWord[text[begin - 1]] : 0U;
  for (std::size_t i = begin; i < end; ++i) {
    const unsigned here = isWord[text[i]];
    words += here & ~before;
    before = here;
  }
  return words;
}

std::size_t WordsBegunInUtf8(TextView text, std::size_t begin, std::size_t end, std::size_t most) {
  const auto& isWord = WordTable();
  const unsigned char* const start = text.data();
  const unsigned char* const stop = start + end;
  std::size_t words = 0;
  unsigned before = begin > 0 && IsWordBefore(start, start + begin) ? 1 : 0;
  for (const unsigned char* at = start + begin; at < stop && words <= most;) {
    unsigned here = isWord[*at];
    if (*at < 0x80) {
      ++at;
    } else if (*at == 0xC3 && stop - at > 1 && IsContinuation(at[1])) {
      here = isWord[at[1] | 0x40U];
      at += 2;
    } else {
      const Utf8Sequence sequence = ReadSequence(at, stop);
      const bool isMark = ComposedWithLast(start, at, sequence) != 0;
      here = isMark || IsWordAt(at, stop) ? 1 : 0;
      at += sequence.length;
    }
    words += here & ~before;
    before = here;
  }
  return words;
}

bool IsInsideWordOfUtf8(TextView text, std::size_t index) {
  const unsigned char* const at = text.data() + index;
  const unsigned char* const end = text.data() + text.size();
  return index > 0 && at < end && IsWordAt(at, end) && IsWordBefore(text.data(), at);
}

bool IsInsideWord(TextView text, std::size_t index) {
  if (index == 0 || index >= text.size()) return false;
  return (WordTable()[text[index - 1]] & WordTable()[text[index]]) != 0;
}

}  // namespace trovex
