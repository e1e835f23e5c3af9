// A pattern as the regular-expression engine reads it, written as a token stream.
//
// The line filter's parser writes such a stream too. Where both write the same one, line filter and
// engine read the pattern alike, and what automata say about a match is what the engine would say.

#ifndef TROVEX_MATCHER_PATTERN_ENGINE_STREAM_H
#define TROVEX_MATCHER_PATTERN_ENGINE_STREAM_H

#include "matcher/pattern/pattern_syntax.h"
#include "matcher/pattern/tokens.h"
#include "text/char_set.h"

#include <optional>
#include <vector>

namespace trovex {

struct TokenStream {
  std::vector<Token> tokens;    // in postfix order, with the end marker of pattern 0
  std::vector<CharSet> sets;    // the character sets, each once
  bool hasAnchors = false;      // of any kind
  bool hasWordAnchors = false;  // others than the start and the end of a line
  bool hasTextEnd = false;      // "\'", which the stream takes for the end of a line
};

enum class References : unsigned char { kRefused, kWritten };

/// The stream of `tree`; nothing where automata could not stand for the engine: with back-references, which they cannot
/// decide, unless these are written nevertheless, with anchors in a repetition, which the engine forgets in some rounds, and
/// with "\B", which it takes for granted at some places after a repetition (" *\B" in "\xE4 a").
std::optional<TokenStream> WriteTokenStream(const SyntaxTree& tree,
                                            References references = References::kRefused);

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_ENGINE_STREAM_H
