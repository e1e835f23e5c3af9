// How one character of a UTF-8 text is read, which is said here alone.
//
// A sequence is well-formed as Unicode has it: no longer than it need be, no surrogate, nothing above
// U+10FFFF. A byte that belongs to no such sequence is a character by itself, that of its number in the
// code page. As the bytes that begin a sequence never continue one, where characters begin is settled
// by the few bytes there, and one bad byte changes nothing after it.
//
// A base letter and the combining mark after it are one character where the code page has it. All
// such letters are ASCII, so a mark needs to look at no more than the byte before it.

#ifndef TROVEX_TEXT_UTF8_CHARACTER_H
#define TROVEX_TEXT_UTF8_CHARACTER_H

#include <array>
#include <cstddef>
#include <string>

#include "text/code_page.h"

namespace trovex {

/// The most bytes of a sequence.
inline constexpr std::size_t kLongestSequence = 4;

/// A sequence of bytes read by itself.
struct Utf8Sequence {
  std::size_t length = 1;
  char32_t codePoint = 0;
  /// Otherwise it is one byte that belongs to no sequence, and that byte is the code point.
  bool isWellFormed = true;
};

/// Whether `c` can only continue a sequence.
inline bool IsContinuation(unsigned char c) {
  return (c & 0xC0) == 0x80;
}

/// The length of the sequences that `first` begins; 1 when it begins none longer.
inline std::size_t SequenceLength(unsigned char first) {
  if (first < 0xC2 || first > 0xF4) return 1;
  return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

/// Whether `second` may stand after `first`, which begins a sequence of two bytes or more.
inline bool MaySecond(unsigned char first, unsigned char second) {
  switch (first) {
    case 0xE0:
      return second >= 0xA0 && second <= 0xBF;
    case 0xED:
      return second >= 0x80 && second <= 0x9F;
    case 0xF0:
      return second >= 0x90 && second <= 0xBF;
    case 0xF4:
      return second >= 0x80 && second <= 0x8F;
    default:
      return IsContinuation(second);
  }
}

/// Reads the sequence at `at`, which is before `end`.
inline Utf8Sequence ReadSequence(const unsigned char* at, const unsigned char* end) {
  const unsigned char first = *at;
  if (first < 0x80) return {1, first, true};
  const Utf8Sequence bad{1, first, false};
  const std::size_t length = SequenceLength(first);
  if (length == 1 || static_cast<std::size_t>(end - at) < length) return bad;
  if (!MaySecond(first, at[1])) return bad;
  char32_t codePoint = first & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsContinuation(at[i])) return bad;
    codePoint = codePoint << 6 | (at[i] & 0x3FU);
  }
  return {length, codePoint, true};
}

/// The combining marks that are looked at are U+0300 to U+0327.
inline constexpr char32_t kFirstMark = 0x300;
inline constexpr char32_t kLastMark = 0x327;

/// The character of the code page that the letter `base` and the combining mark `mark` are together,
/// or 0. The marks are diaeresis, acute, grave, circumflex, tilde, ring and cedilla.
unsigned char Compose(unsigned char base, char32_t mark);

/// What `sequence` at `at` and the byte before it are together, or 0; `begin` is the text's.
inline unsigned char ComposedWithLast(const unsigned char* begin, const unsigned char* at,
                                      const Utf8Sequence& sequence) {
  if (sequence.codePoint < kFirstMark || sequence.codePoint > kLastMark || at == begin) return 0;
  return Compose(at[-1], sequence.codePoint);
}

/// Whether the character at `at`, which is before `end`, belongs to a word. A mark is looked at by itself.
bool IsWordAt(const unsigned char* at, const unsigned char* end);

/// Whether the character that ends at `at`, which is after `begin`, belongs to a word.
bool IsWordBefore(const unsigned char* begin, const unsigned char* at);

/// Writes `codePoint`, which is one of the code page, after `to` as UTF-8.
void AppendUtf8(char32_t codePoint, std::string& to);

}  // namespace trovex

#endif  // TROVEX_TEXT_UTF8_CHARACTER_H
