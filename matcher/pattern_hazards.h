// What must not be asked of the engine for a pattern that it compiles.
//
// Two of its searches may never come back, or end the process:
//
// - Filling group registers, where the body of a repetition can be empty: "(c*|^a)+", "(a?|b)*".
//   The engine follows its graph from group to group and can go round a loop that consumes nothing.
//   The range of the whole match is found in another way and is safe.
// - Any search, where a back-reference to a group that can be empty stands in a repetition, or where
//   there is more than one: "(|)(\1\1|x)+", "(.*)(.*)\1\2x". The engine recurses from reference to
//   reference, without end or until the stack is full, or tries ways without number.
//
// Which patterns these are was found by experiment. What the engine may be given answers like the
// engine, so the conditions are no wider than they must be; the guide for hosts tells what remains.

#ifndef TROVEX_MATCHER_PATTERN_HAZARDS_H
#define TROVEX_MATCHER_PATTERN_HAZARDS_H

#include "matcher/pattern_syntax.h"

namespace trovex {

struct PatternHazards {
  /// Group registers must not be asked of the engine.
  bool groups = false;
  /// The engine must not search at all.
  bool search = false;
  /// The engine must not search long lines: there are back-references.
  bool longLines = false;
};

PatternHazards FindHazards(const SyntaxTree& tree);

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_HAZARDS_H
