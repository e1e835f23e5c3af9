// Blocks of bytes are decoded with vector instructions where there are any (utf8_blocks.h). What these
// leave, and the last bytes of a text, are decoded character by character.
//
// Boundaries are noted while decoding, and where a character stands is asked by reading on from the
// boundary before it, or from the last answer if that is nearer.

#include "text/utf8_text.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "text/utf8_character.h"

namespace trovex {

namespace {

using Byte = unsigned char;

/// The most bytes between two boundaries, unless a sequence stands there, and the fewest: a block and
/// a sequence less.
constexpr std::size_t kMostBetween = 1024;
constexpr std::size_t kFewestBetween = kMostBetween - kUtf8Slack - kLongestSequence;

/// Where a block needs looking at closely, so many bytes are decoded before the next one is tried.
constexpr std::ptrdiff_t kCloseLook = 64;

/// Eight bytes are looked at together.
constexpr std::ptrdiff_t kWord = 8;

/// The high bits of the eight bytes at `at`, the first byte's lowest.
std::uint64_t HighBits(const Byte* at) {
  std::uint64_t word = 0;
  std::memcpy(&word, at, sizeof word);
  if constexpr (std::endian::native == std::endian::big) {
    std::uint64_t reversed = 0;
    for (std::size_t i = 0; i < sizeof word; ++i)
      reversed |= (word >> (8 * i) & 0xFF) << (8 * (sizeof word - 1 - i));
    word = reversed;
  }
  return word & 0x8080808080808080U;
}

/// The number of ASCII bytes before the first other one of the eight at `at`.
std::ptrdiff_t AsciiAt(const Byte* at) {
  return std::countr_zero(HighBits(at)) / 8;
}

/// How many characters begin among the `size` bytes at `at`, which are part of well-formed sequences. The
/// continuations of eight bytes are counted in eight sums side by side.
template <std::size_t size>
std::size_t CharactersBegunIn(const Byte* at) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  std::uint64_t continuations = 0;
  for (std::size_t i = 0; i < size; i += sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, at + i, sizeof word);
    continuations += (word & ~(word << 1)) >> 7 & kOnes;
  }
  return size - (continuations * kOnes >> 56);
}

const Byte* FindNonAsciiPlainly(const Byte* begin, const Byte* end) {
  const Byte* at = begin;
  for (; end - at >= kWord; at += kWord) {
    const std::ptrdiff_t ascii = AsciiAt(at);
    if (ascii < kWord) return at + ascii;
  }
  while (at < end && *at < 0x80)
    ++at;
  return at;
}

/// Shorter texts are looked at without vector instructions.
constexpr std::ptrdiff_t kShort = 64;

const Byte* FindNonAsciiIn(const Utf8Blocks& blocks, const Byte* begin, const Byte* end) {
  if (blocks.findNonAscii == nullptr || end - begin < kShort)
    return FindNonAsciiPlainly(begin, end);
  return blocks.findNonAscii(begin, end);
}

/// Decodes one character, or the mark of the one before. Whether its sequence was well-formed.
bool DecodeOne(Utf8Decoding& decoding, const Byte* begin, const Byte* end) {
  const Byte* const at = decoding.at;
  // The letters of Western Europe first, for their number.
  if ((*at & 0xFE) == 0xC2 && end - at >= 2 && IsContinuation(at[1])) {
    const bool isLacking = *at == 0xC2 && at[1] < 0xA0;
    *decoding.out++ = isLacking ? decoding.substitute : static_cast<Byte>(at[1] | (*at & 1) << 6);
    decoding.at = at + 2;
    return true;
  }
  const Utf8Sequence sequence = ReadSequence(at, end);
  decoding.at = at + sequence.length;
  if (!sequence.isWellFormed) {
    *decoding.out++ = *at;
  } else if (const Byte composed = ComposedWithLast(begin, at, sequence)) {
    decoding.out[-1] = composed;
  } else {
    *decoding.out++ = UnicodeToCodePage(sequence.codePoint).value_or(decoding.substitute);
  }
  return sequence.isWellFormed;
}

}  // namespace

TextView Utf8Text::Decode(TextView text, unsigned char substitute) {
  text_ = text;
  isPlain_ = true;
  isRegular_ = true;
  latest_ = {};
  const Byte* const nonAscii = FindNonAsciiIn(blocks_, Begin(), End());
  if (nonAscii == End()) return text;

  MakeRoom();
  isPlain_ = false;
  // From one byte before, which may be the letter of a mark.
  const auto ascii = static_cast<std::size_t>(nonAscii - Begin());
  const std::size_t length = DecodeFrom(ascii == 0 ? 0 : ascii - 1, substitute);
  return {decoded_.get(), length};
}

void Utf8Text::MakeRoom() {
  boundaries_.clear();
  boundaries_.reserve(text_.size() / kFewestBetween + 1);
  const std::size_t needed = text_.size() + kUtf8Slack;
  if (needed <= capacity_) return;
  decoded_.reset();
  capacity_ = 0;
  const std::size_t capacity = needed + needed / 8;
  decoded_ = std::make_unique_for_overwrite<Byte[]>(capacity);
  capacity_ = capacity;
}

std::size_t Utf8Text::DecodeFrom(std::size_t start, Byte substitute) {
  std::memcpy(decoded_.get(), Begin(), start);
  Utf8Decoding decoding{Begin() + start, decoded_.get() + start, substitute};
  boundaries_.push_back({start, start});
  latest_ = boundaries_.front();
  bool isClean = true;
  while (decoding.at < End()) {
    NoteBoundary(decoding);
    if (isClean && DecodeBlocks(decoding)) continue;
    isClean = DecodeClosely(decoding);
  }
  return static_cast<std::size_t>(decoding.out - decoded_.get());
}

/// Notes the place as a boundary when one is due.
void Utf8Text::NoteBoundary(Utf8Decoding& decoding) {
  if (OffsetOf(decoding.at) - boundaries_.back().source < kFewestBetween) return;
  if (IsMarkOfLast(decoding.at)) {
    DecodeOne(decoding, Begin(), End());
    isRegular_ = false;
  }
  boundaries_.push_back(
      {OffsetOf(decoding.at), static_cast<std::size_t>(decoding.out - decoded_.get())});
}

/// Decodes blocks up to where the next boundary is due. False when the next bytes must be looked at
/// closely.
bool Utf8Text::DecodeBlocks(Utf8Decoding& decoding) const {
  if (blocks_.decode == nullptr || OffsetOf(decoding.at) < kUtf8Lookback) return false;
  const std::size_t due = boundaries_.back().source + kMostBetween;
  const bool isNearEnd = due >= text_.size();
  return blocks_.decode(decoding, isNearEnd ? End() : Begin() + due) && !isNearEnd;
}

/// Decodes some bytes character by character. Whether what is decoded last is well-formed.
bool Utf8Text::DecodeClosely(Utf8Decoding& decoding) {
  const Byte* const until = End() - decoding.at > kCloseLook ? decoding.at + kCloseLook : End();
  bool isClean = true;
  while (decoding.at < until) {
    if (End() - decoding.at >= kWord) {
      const std::ptrdiff_t ascii = AsciiAt(decoding.at);
      std::memcpy(decoding.out, decoding.at, kWord);
      decoding.at += ascii;
      decoding.out += ascii;
      isClean = true;
      if (ascii == kWord) continue;
    }
    const Byte* const out = decoding.out;
    isClean = DecodeOne(decoding, Begin(), End());
    isRegular_ = isRegular_ && isClean && decoding.out > out;
  }
  return isClean;
}

/// Whether a mark stands at `at` that is one character with the byte before it.
bool Utf8Text::IsMarkOfLast(const Byte* at) const {
  return at != End() && *at >= 0x80 && ComposedWithLast(Begin(), at, ReadSequence(at, End())) != 0;
}

/// The boundary after the character that stands at `boundary`.
Utf8Text::Boundary Utf8Text::After(Boundary boundary) const {
  const Byte* next = Begin() + boundary.source;
  // Umlauts, with no mark after them.
  if (End() - next > 2 && (next[0] & 0xFE) == 0xC2 && (next[1] & 0xC0) == 0x80 && next[2] < 0x80)
    return {boundary.source + 2, boundary.decoded + 1};
  next += ReadSequence(next, End()).length;
  if (IsMarkOfLast(next)) next += ReadSequence(next, End()).length;
  return {OffsetOf(next), boundary.decoded + 1};
}

/// Passes ASCII from `boundary` on, at most `distance` bytes. Where a mark may stand after them, the
/// last one is left.
Utf8Text::Boundary Utf8Text::PassAscii(Boundary boundary, std::size_t distance) const {
  while (distance > 0 && text_.size() - boundary.source > kWord) {
    const Byte* const at = Begin() + boundary.source;
    const auto ascii = static_cast<std::size_t>(AsciiAt(at));
    if (distance < ascii) return {boundary.source + distance, boundary.decoded + distance};
    const bool mayHaveMark = ascii < kWord || at[ascii] >= 0x80;
    const std::size_t passed = mayHaveMark && ascii > 0 ? ascii - 1 : ascii;
    boundary.source += passed;
    boundary.decoded += passed;
    distance -= passed;
    if (mayHaveMark) break;
  }
  return boundary;
}

/// From the last of the boundaries that are no further than `goal`, or from the latest answer if that
/// is after it and no further; `kPlace` tells which of the two offsets is meant.
template <std::size_t Utf8Text::Boundary::*kPlace>
Utf8Text::Boundary Utf8Text::Nearest(std::size_t goal) const {
  const bool isLatestBefore = latest_.*kPlace <= goal;
  if (isLatestBefore && goal - latest_.*kPlace <= kMostBetween) return latest_;
  const auto after = std::upper_bound(
      boundaries_.begin(), boundaries_.end(), goal,
      [](std::size_t place, const Boundary& boundary) { return place < boundary.*kPlace; });
  return *std::prev(after);
}

/// The boundary after `distance` characters more, in a text where each is a sequence.
Utf8Text::Boundary Utf8Text::PassSequences(Boundary boundary, std::size_t distance) const {
  constexpr std::size_t kMany = 32;
  constexpr std::size_t kFew = 8;
  const Byte* at = Begin() + boundary.source;
  const auto isLeft = [&](std::size_t size) {
    return static_cast<std::size_t>(End() - at) >= size;
  };
  std::size_t left = distance;
  for (; left >= kMany && isLeft(kMany); at += kMany)
    left -= CharactersBegunIn<kMany>(at);
  for (; left >= kFew && isLeft(kFew); at += kFew)
    left -= CharactersBegunIn<kFew>(at);
  const auto passRest = [&] {
    while (at < End() && IsContinuation(*at))
      ++at;
  };
  passRest();
  for (; left > 0 && at < End(); --left) {
    ++at;
    passRest();
  }
  return {OffsetOf(at), boundary.decoded + distance};
}

std::size_t Utf8Text::SourceOffset(std::size_t decoded) {
  if (isPlain_ || decoded < boundaries_.front().decoded) return decoded;
  Boundary boundary = Nearest<&Boundary::decoded>(decoded);
  if (isRegular_) boundary = PassSequences(boundary, decoded - boundary.decoded);
  while (boundary.decoded < decoded) {
    boundary = PassAscii(boundary, decoded - boundary.decoded);
    if (boundary.decoded < decoded) boundary = After(boundary);
  }
  latest_ = boundary;
  return boundary.source;
}

ByteRange Utf8Text::SourceRange(ByteRange decoded) {
  if (decoded.IsNowhere()) return decoded;
  const std::size_t begin = SourceOffset(decoded.begin);
  return {begin, SourceOffset(decoded.end)};
}

std::size_t Utf8Text::DecodedOffset(std::size_t source) {
  if (isPlain_ || source < boundaries_.front().source) return source;
  Boundary boundary = Nearest<&Boundary::source>(source);
  while (boundary.source < source) {
    boundary = PassAscii(boundary, source - boundary.source);
    if (boundary.source == source) break;
    const Boundary next = After(boundary);
    if (next.source > source) break;
    boundary = next;
  }
  latest_ = boundary;
  return boundary.decoded;
}

namespace {

/// The same for eight bytes or more, eight at a time.
bool IsPlainAsciiByWords(TextView text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  const auto word = [&text](std::size_t at) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, text.data() + at, sizeof bytes);
    return bytes;
  };
  const std::size_t last = text.size() - sizeof(std::uint64_t);
  std::uint64_t any = word(last);
  for (std::size_t at = 0; at < last; at += sizeof(std::uint64_t))
    any |= word(at);
  return (any & kHighBits) == 0;
}

}  // namespace

bool IsPlainAscii(TextView text) {
  constexpr std::size_t kFewBytes = 64;
  if (text.size() >= sizeof(std::uint64_t) && text.size() <= kFewBytes)
    return IsPlainAsciiByWords(text);
  const Byte* const end = text.data() + text.size();
  return FindNonAsciiIn(ChooseUtf8Blocks(), text.data(), end) == end;
}

bool IsRegularUtf8(TextView text) {
  return IsRegularUtf8(text, ChooseUtf8Blocks());
}

bool IsRegularUtf8(TextView text, const Utf8Blocks& blocks) {
  const Byte* at = text.data();
  const Byte* const end = at + text.size();
  while (at < end) {
    const bool hasBlocks = blocks.passRegular != nullptr && end - at >= 2 * kCloseLook;
    if (hasBlocks && at - text.data() >= static_cast<std::ptrdiff_t>(kUtf8Lookback))
      at = blocks.passRegular(at, end);
    // What the blocks have left: at the edges of the text, and where something is wrong.
    for (const Byte* const until = end - at > kCloseLook ? at + kCloseLook : end; at < until;) {
      const std::ptrdiff_t ascii = end - at >= kWord ? AsciiAt(at) : 0;
      at += ascii;
      if (ascii == kWord) continue;
      const Utf8Sequence sequence = ReadSequence(at, end);
      if (!sequence.isWellFormed) return false;
      if (sequence.codePoint >= kFirstMark && sequence.codePoint <= kLastMark) return false;
      at += sequence.length;
    }
  }
  return true;
}

}  // namespace trovex
