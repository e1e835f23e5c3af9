// A pattern as a small tree, read exactly as the regular-expression engine reads it.
//
// The engine answers what a pattern matches, but not how much work it is or whether a search can go
// astray. Those questions (pattern_limits.h, pattern_hazards.h) and the library's own search for
// the few patterns that the engine must not be given (bounded_matcher.h) need the pattern itself.
//
// The reading, where patterns are read differently elsewhere:
//
//     *a  +a  ?a  {2}a    an operator without an operand is skipped; of "{2}" only the "{" is
//     ^*a                 anchors take no operator, so this is "^a"
//     ()  a||b  (|a)      empty alternatives and groups are legal
//     a{,3}  a{,}         0 to 3; any number
//     a{0}                empty, and a group inside takes no part
//     line feed           "|"
//     [[:a:]]             no class names; but "[[.a.]]" and "[[=a=]]" name the byte "a"
//     \d                  the letter "d"
//
// A translate table applies to the bytes of the pattern as they are read, except to a byte after a
// backslash.
//
// Parsing stops at the first fault. The engine stops there too, so what it did before is what the
// tree describes. The parser keeps its own stack: no pattern is too deep for it.

#ifndef TROVEX_MATCHER_PATTERN_PATTERN_SYNTAX_H
#define TROVEX_MATCHER_PATTERN_PATTERN_SYNTAX_H

#include "text/byte_map.h"
#include "text/char_set.h"

#include <cstddef>
#include <vector>

namespace trovex {

enum class SyntaxKind : unsigned char {
  kEmpty,
  kByte,           // `value`: the byte
  kSet,            // `value`: index into `sets`
  kAnchor,         // `value`: an Anchor
  kBackReference,  // `value`: the group, from 1
  kGroup,          // `value`: the group, from 1; one child
  kConcat,         // children in order
  kAlternate,      // children in order
  kRepeat,         // `min` to `max` times the one child
};

enum class Anchor : unsigned char {
  kLineStart,
  kLineEnd,
  kTextStart,
  kTextEnd,
  kWordStart,
  kWordEnd,
  kWordEdge,
  kNotWordEdge,
};

inline constexpr int kNoNode = -1;
/// The `max` of a repetition without an upper bound.
inline constexpr int kUnbounded = -1;

struct SyntaxNode {
  SyntaxKind kind = SyntaxKind::kEmpty;
  int value = 0;
  int min = 0;
  int max = 0;
  int firstChild = kNoNode;
  int nextSibling = kNoNode;
};

struct SyntaxTree {
  /// Children stand before their parents, the root last: one pass over the nodes is a walk from the
  /// leaves to the root, a pass backwards the other way.
  std::vector<SyntaxNode> nodes;
  std::vector<CharSet> sets;
  /// As many as the engine counts, also those that an "{0}" took away.
  int groupCount = 0;
  /// Whether the engine will refuse the pattern.
  bool faulty = false;
  /// The greatest number of repetition operators in a row that have no operand. The engine skips
  /// them; a reader that gives them an empty operand stacks them.
  int skippedOperators = 0;
  /// Bytes of the text are compared as this table says.
  ByteMap translate = kSameBytes;

  int Root() const { return static_cast<int>(nodes.size()) - 1; }
  const SyntaxNode& Node(int index) const { return nodes[static_cast<std::size_t>(index)]; }
  const CharSet& Set(const SyntaxNode& node) const {
    return sets[static_cast<std::size_t>(node.value)];
  }
};

/// Reads `length` bytes at `pattern`. `translate` may be null.
SyntaxTree ParsePattern(const char* pattern, std::size_t length, const ByteMap* translate);

/// Whether byte `c` belongs to a word as the engine sees it, in the C locale.
bool IsEngineWordByte(int c);

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_PATTERN_SYNTAX_H
