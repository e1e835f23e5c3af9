// A typed expression as bytes of the code page, with the way back to what was typed: a fault is shown
// there.

#ifndef TROVEX_TEXT_DECODED_EXPRESSION_H
#define TROVEX_TEXT_DECODED_EXPRESSION_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "text/byte_range.h"

namespace trovex {

struct DecodedExpression {
  /// Of each character its byte; of one that the code page lacks, `substitute`.
  std::string bytes;

  /// For each of `bytes`, the range of the typed bytes that it stands for. Each range begins where the
  /// one before it ends, and together they are all that was typed.
  std::vector<ByteRange> typed;

  /// For each of `bytes`, whether it stands for a character that the code page lacks.
  std::vector<bool> isLacking;

  /// The byte for characters that the code page lacks, here and in the texts: the first of the bytes
  /// that the page leaves undefined which was not typed itself (the last when all five were).
  unsigned char substitute = 0;

  /// The typed range of `decoded`, a range of `bytes`. An empty one stays empty.
  ByteRange TypedRange(ByteRange decoded) const;
};

/// Decodes an expression that was typed in UTF-8, by the same rules as texts (utf8_text.h): a letter
/// and its combining mark are one character, and a byte that belongs to no sequence is that of the code
/// page.
DecodedExpression DecodeUtf8Expression(std::string_view expression);

/// The same for an expression that was typed in the code page: every byte is itself.
DecodedExpression DecodeCodePageExpression(std::string_view expression);

}  // namespace trovex

#endif  // TROVEX_TEXT_DECODED_EXPRESSION_H
