// Whether a pattern may be compiled at all: how deep it is, how large once its repetitions are
// written out, and how much the engine and the automaton would have to list for it.
//
// Nothing here runs the engine; the numbers are computed from the pattern's tree in two passes, and
// err on the side of too much.

#ifndef TROVEX_MATCHER_PATTERN_PATTERN_LIMITS_H
#define TROVEX_MATCHER_PATTERN_PATTERN_LIMITS_H

#include "matcher/pattern/pattern_syntax.h"
#include "resources/string_table.h"

namespace trovex {

/// What the limits (limits.h) are held against. Numbers, not counts: they saturate at
/// `kUncountable`.
struct PatternCost {
  int nesting = 0;
  double size = 0;
  double emptySteps = 0;
  double emptyPairs = 0;
  double neighbourPairs = 0;
};

inline constexpr double kUncountable = 1e15;

PatternCost MeasurePattern(const SyntaxTree& tree);

/// `kNone`, `kExpressionTooLong` for depth and size, or `kMemoryOverflow`.
MessageNumber CheckPatternLimits(const SyntaxTree& tree);

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_PATTERN_LIMITS_H
