// Whether a pattern may be given to the C library's engine at all: how deep it is, how large once its
// repetitions are written out, and how much the engine would do to compile it.

#ifndef TROVEX_MATCHER_ENGINE_PATTERN_LIMITS_H
#define TROVEX_MATCHER_ENGINE_PATTERN_LIMITS_H

#include "matcher/budget.h"
#include "matcher/pattern/pattern_syntax.h"
#include "resources/string_table.h"

namespace trovex {

/// What is known of a pattern without looking at what the engine makes of it.
struct PatternSize {
  /// Groups inside one another, with repetition operators in a row.
  int nesting = 0;
  /// Bytes, sets, anchors, back-references, groups and operators, with "a{3}" written out as "aaa". A
  /// number that may be far beyond the limit, not a count.
  double size = 0;
};

PatternSize MeasurePattern(const SyntaxTree& tree);

/// `kNone` where the engine may compile the pattern, for which `budget` is then charged; otherwise
/// `kExpressionTooLong` for a pattern too deep or too large, or `kMemoryOverflow` where the budget
/// does not allow it.
MessageNumber CheckPatternLimits(const SyntaxTree& tree, CompileBudget& budget);

/// The same for a pattern that is alone.
MessageNumber CheckPatternLimits(const SyntaxTree& tree);

}  // namespace trovex

#endif  // TROVEX_MATCHER_ENGINE_PATTERN_LIMITS_H
