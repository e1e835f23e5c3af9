// What stands between "[" and "]": a set of characters.
//
//     [abc]  [a-z]  [^abc]     members, ranges in the order of the code page, all but these
//     []a]   [^]a]   [a-]      a "]" that stands first is a member, and so is a "-" at either end
//     [[:alpha:]]              one of the twelve POSIX classes, of the code page
//     [[.a.]]  [[=a=]]         the character "a"
//     [z-a]                    a range that ends before it begins holds nothing
//
// A backslash is a member like any other. A set is first the characters that were typed, then closed
// under case, then negated if it is; a line feed is never in it. The substitute for characters that
// the page lacks is in a range only where it is typed as an end of it.

#ifndef TROVEX_QUERY_EXPRESSION_SET_READER_H
#define TROVEX_QUERY_EXPRESSION_SET_READER_H

#include "query/expression/expression_text.h"
#include "resources/string_table.h"
#include "text/char_set.h"

#include <cstddef>

namespace trovex {

/// A set, or why there is none.
struct SetReading {
  CharSet set;
  /// After the "]".
  std::size_t end = 0;
  MessageNumber fault = MessageNumber::kNone;
  /// What the fault is about, in characters.
  std::size_t faultBegin = 0;
  std::size_t faultEnd = 0;
};

/// Reads the set whose "[" is character `begin`.
SetReading ReadSet(const ExpressionText& text, std::size_t begin, bool caseSensitive);

/// `set` with the other case of each of its letters.
CharSet ClosedUnderCase(const CharSet& set);

}  // namespace trovex

#endif  // TROVEX_QUERY_EXPRESSION_SET_READER_H
