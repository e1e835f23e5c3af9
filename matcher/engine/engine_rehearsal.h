// What the C library's engine will do to compile a pattern, done beforehand and counted.
//
// The engine itself knows no bounds: "(\b|a)*" ten times over takes it seconds, fifty thousand
// alternatives take gigabytes, and both look like harmless patterns. No formula tells them apart, so
// the part of its work that can grow out of hand is done here first, within a budget: its graph of the
// pattern, the copies that it makes of what stands after an anchor, and the lists of what is reached
// without a byte of text. It takes less time than the engine does, and its memory is freed before the
// engine begins.

#ifndef TROVEX_MATCHER_ENGINE_ENGINE_REHEARSAL_H
#define TROVEX_MATCHER_ENGINE_ENGINE_REHEARSAL_H

#include "matcher/budget.h"
#include "matcher/pattern/pattern_syntax.h"

namespace trovex {

/// Charges `budget` for the engine's compile of the pattern that `tree` is, and for the rehearsal
/// itself. Returns how deep the engine will recurse, up to `maxDepth`; of what is deeper, it does
/// not go on to the end. The tree is not faulty, and its size and nesting are within the limits.
/// Throws BudgetExhausted.
int RehearseEngineCompile(const SyntaxTree& tree, int maxDepth, CompileBudget& budget);

}  // namespace trovex

#endif  // TROVEX_MATCHER_ENGINE_ENGINE_REHEARSAL_H
