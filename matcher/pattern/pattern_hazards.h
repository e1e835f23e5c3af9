// What must not be asked of the engine for a pattern that it compiles.
//
// Two of its searches may never come back, or end the process:
//
// - Filling group registers, where the body of a repetition can be empty: "(c*|^a)+", "(a?|b)*".
//   The engine follows its graph from group to group and can go round a loop that consumes nothing.
//   The range of the whole match is found in another way and is safe.
// - Any search, where there is a back-reference. "(.+)\1+" takes time that doubles with every byte
//   of the line, "(a).*\1x" half a second on 1,000 bytes, "(a+)b\1" 780 MB on 20,000, and
//   "(|)(\1\1|x)+" recurses until the stack is full.
//
// The former condition was found by experiment. What the engine may be given answers like the
// engine, so it is no wider than it must be.

#ifndef TROVEX_MATCHER_PATTERN_PATTERN_HAZARDS_H
#define TROVEX_MATCHER_PATTERN_PATTERN_HAZARDS_H

#include "matcher/pattern/pattern_syntax.h"

namespace trovex {

struct PatternHazards {
  /// Group registers must not be asked of the engine.
  bool groups = false;
  /// The engine must not search at all.
  bool search = false;
};

PatternHazards FindHazards(const SyntaxTree& tree);

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_PATTERN_HAZARDS_H
