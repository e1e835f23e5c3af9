// Token streams: how a pattern is written for automata.
//
// A pattern is written in postfix order: operands first, the operator after them. "ab*" is
// a b TokStar TokConcat.  Sets of bytes are stored once each, and a token names its set by number.

#ifndef TROVEX_MATCHER_PATTERN_TOKENS_H
#define TROVEX_MATCHER_PATTERN_TOKENS_H

#include "text/char_set.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace trovex {

/// An element of the token stream. A byte stands for itself.
using Token = std::int32_t;

enum : Token {
  TokEnd = -1,        // end of the pattern; in the stream -1 - k ends pattern number k
  TokEmpty = 256,     // the empty string
  TokBackref,         // a back-reference: the automaton cannot decide it
  TokLineStart,       // the start of a line
  TokLineEnd,         // the end of a line
  TokWordStart,       // the start of a word
  TokWordEnd,         // the end of a word
  TokWordEdge,        // either of them
  TokNotWordEdge,     // neither of them
  TokOptional,        // postfix: the operand or nothing
  TokStar,            // postfix: the operand any number of times
  TokPlus,            // postfix: the operand at least once
  TokRepeat,          // an interval "{m,n}"; the parser writes it out, no stream holds it
  TokConcat,          // binary: the operands one after the other
  TokOr,              // binary: either operand
  TokTopOr,           // binary: either operand, outside of all groups or between patterns
  TokOpenGroup,       // "("; no stream holds it
  TokCloseGroup,      // ")"; no stream holds it
  TokFirstSet = 273,  // 273 + i: any byte of character set number i
};

/// The token that ends pattern number `pattern` in the stream.
constexpr Token EndMarker(int pattern) {
  return TokEnd - pattern;
}

constexpr bool IsByteToken(Token token) {
  return token >= 0 && token < TokEmpty;
}
constexpr bool IsSetToken(Token token) {
  return token >= TokFirstSet;
}
constexpr bool IsAnchorToken(Token token) {
  return token >= TokLineStart && token <= TokNotWordEdge;
}
constexpr bool IsPostfixToken(Token token) {
  return token == TokOptional || token == TokStar || token == TokPlus;
}
constexpr bool IsBinaryToken(Token token) {
  return token == TokConcat || token == TokOr || token == TokTopOr;
}

/// The number of `set` among `sets`, which takes it in unless it holds an equal one.
inline int StoreCharset(std::vector<CharSet>& sets, const CharSet& set) {
  auto stored = std::find(sets.begin(), sets.end(), set);
  if (stored == sets.end()) stored = sets.insert(stored, set);
  return static_cast<int>(stored - sets.begin());
}

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_TOKENS_H
