// The string that every match of a pattern holds, as far as that can be read off its tree: what a search
// can leap to.

#ifndef TROVEX_MATCHER_PATTERN_REQUIRED_STRING_H
#define TROVEX_MATCHER_PATTERN_REQUIRED_STRING_H

#include "matcher/budget.h"
#include "matcher/pattern/pattern_syntax.h"
#include "text/char_set.h"

#include <vector>

namespace trovex {

/// A string of sets that every match of `tree` holds somewhere, the rarest that was found; empty if there
/// is none. The sets are of the bytes of texts, and none holds a newline.
std::vector<CharSet> FindRequiredString(const SyntaxTree& tree);

/// The same, charged to `budget`; empty where that does not allow to find it.
std::vector<CharSet> FindRequiredString(const SyntaxTree& tree, CompileBudget& budget);

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_REQUIRED_STRING_H
