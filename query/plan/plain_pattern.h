// Patterns that can be looked for in the bytes of a UTF-8 text, without decoding it.
//
// All bytes of a sequence of UTF-8 are above those of ASCII. So a pattern that matches nothing but ASCII
// finds in the bytes just what it finds in the characters, and there it stands, too. There are two
// exceptions. A condition on words asks what kind of character stands beside the match. And a letter
// with a combining mark after it is another letter: texts with such marks have to be decoded.

#ifndef TROVEX_QUERY_PLAN_PLAIN_PATTERN_H
#define TROVEX_QUERY_PLAN_PLAIN_PATTERN_H

#include "matcher/pattern/pattern_syntax.h"
#include "text/byte_range.h"

namespace trovex {

/// Whether every match of `tree` is one character of ASCII or more, and none depends on words.
bool IsPlainPattern(const SyntaxTree& tree);

/// Whether a combining mark may stand in `text`: one of those that make another letter of the one before
/// it. False only if there is none.
bool MayHoldMarks(TextView text);

}  // namespace trovex

#endif  // TROVEX_QUERY_PLAN_PLAIN_PATTERN_H
