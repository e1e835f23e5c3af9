// Characters are read one by one: an expression is short. The substitute is chosen when all have been
// read, and then put in.

#include "text/decoded_expression.h"

#include <algorithm>
#include <optional>

#include "text/char_set.h"
#include "text/code_page.h"
#include "text/utf8_character.h"

namespace trovex {

namespace {

using Byte = unsigned char;

void Add(DecodedExpression& decoded, std::optional<Byte> byte, ByteRange typed) {
  decoded.bytes.push_back(static_cast<char>(byte.value_or(Byte{0})));
  decoded.typed.push_back(typed);
  decoded.isLacking.push_back(!byte.has_value());
}

Byte ChooseSubstitute(const DecodedExpression& decoded) {
  CharSet isTyped;
  for (std::size_t i = 0; i < decoded.bytes.size(); ++i) {
    if (!decoded.isLacking[i]) isTyped.set(static_cast<Byte>(decoded.bytes[i]));
  }
  const auto* const free = std::find_if(kUndefinedBytes.begin(), kUndefinedBytes.end(),
                                        [&](Byte byte) { return !isTyped[byte]; });
  return free == kUndefinedBytes.end() ? kUndefinedBytes.back() : *free;
}

void PutSubstitute(DecodedExpression& decoded) {
  decoded.substitute = ChooseSubstitute(decoded);
  for (std::size_t i = 0; i < decoded.bytes.size(); ++i) {
    if (decoded.isLacking[i]) decoded.bytes[i] = static_cast<char>(decoded.substitute);
  }
}

std::optional<Byte> ByteOf(const Utf8Sequence& sequence) {
  if (!sequence.isWellFormed) return static_cast<Byte>(sequence.codePoint);
  return UnicodeToCodePage(sequence.codePoint);
}

}  // namespace

ByteRange DecodedExpression::TypedRange(ByteRange decoded) const {
  const auto offset = [&](std::size_t place) {
    if (place < typed.size()) return typed[place].begin;
    return typed.empty() ? 0 : typed.back().end;
  };
  return {offset(decoded.begin), offset(decoded.end)};
}

DecodedExpression DecodeUtf8Expression(std::string_view expression) {
  DecodedExpression decoded;
  const auto* const begin = reinterpret_cast<const Byte*>(expression.data());
  const Byte* const end = begin + expression.size();
  for (const Byte* at = begin; at < end;) {
    const Utf8Sequence sequence = ReadSequence(at, end);
    const auto offset = static_cast<std::size_t>(at - begin);
    if (const Byte composed = ComposedWithLast(begin, at, sequence)) {
      decoded.bytes.back() = static_cast<char>(composed);
      decoded.typed.back().end = offset + sequence.length;
    } else {
      Add(decoded, ByteOf(sequence), {offset, offset + sequence.length});
    }
    at += sequence.length;
  }
  PutSubstitute(decoded);
  return decoded;
}

DecodedExpression DecodeCodePageExpression(std::string_view expression) {
  DecodedExpression decoded;
  for (std::size_t i = 0; i < expression.size(); ++i)
    Add(decoded, static_cast<Byte>(expression[i]), {i, i + 1});
  PutSubstitute(decoded);
  return decoded;
}

}  // namespace trovex
