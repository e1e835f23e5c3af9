// The parts of the UTF-8 decoder that vector instructions do, many bytes at a time.

#ifndef TROVEX_TEXT_UTF8_BLOCKS_H
#define TROVEX_TEXT_UTF8_BLOCKS_H

#include <cstddef>

namespace trovex {

/// Where a decoder stands: all characters before `at` have been written before `out`.
struct Utf8Decoding {
  const unsigned char* at = nullptr;
  unsigned char* out = nullptr;
  /// The byte for characters that the code page lacks.
  unsigned char substitute = 0;
};

/// A decoder of blocks writes up to this many bytes after what it says it has written.
inline constexpr std::size_t kUtf8Slack = 64;

/// A decoder of blocks looks at this many bytes before the place where it begins.
inline constexpr std::size_t kUtf8Lookback = 3;

/// What the best vector instructions of the machine do; null where it has none, or the library was
/// built without them.
struct Utf8Blocks {
  /// The first byte from 128 on in [begin, end), or `end`.
  const unsigned char* (*findNonAscii)(const unsigned char* begin,
                                       const unsigned char* end) = nullptr;

  /// Decodes block after block, up to `stop` and nothing after it. It leaves off before a block with a
  /// sequence that is not well-formed, or with one that needs looking at closely, and then returns
  /// false; true when there is no whole block left before `stop`. Either way `decoding` stands between
  /// two characters (a letter and its mark taken for two). At first the byte before `at` must be ASCII
  /// or end a sequence that is well-formed.
  bool (*decode)(Utf8Decoding& decoding, const unsigned char* stop) = nullptr;

  /// Goes from `at` up to `stop` as long as all sequences are well-formed and none is a combining mark, and returns
  /// where a character begins that it has come to: less than a few blocks before `stop`, unless there is something
  /// else. The kUtf8Lookback bytes before `at` can be read, and a character ends there.
  const unsigned char* (*passRegular)(const unsigned char* at, const unsigned char* stop) = nullptr;
};

Utf8Blocks ChooseUtf8Blocks();

}  // namespace trovex

#endif  // TROVEX_TEXT_UTF8_BLOCKS_H
