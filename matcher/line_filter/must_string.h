// The must string: a fixed string that every match of a pattern contains.
//
// A keyword search for it finds the few places of a text that are worth a closer look. When the
// string is exact, it is the whole of every match, and finding it is all there is to do.

#ifndef TROVEX_MATCHER_LINE_FILTER_MUST_STRING_H
#define TROVEX_MATCHER_LINE_FILTER_MUST_STRING_H

#include "matcher/line_filter/pattern_automaton.h"

namespace trovex {

/// Puts the must string of the stream's first pattern, if it has one, at the front of the
/// automaton's must entries. Throws nothing: when memory is short, or the work exceeds what a must
/// string may cost (limits.h), there is none, and the pattern is searched without.
void ExtractMustString(PatternAutomaton& automaton) noexcept;

}  // namespace trovex

#endif  // TROVEX_MATCHER_LINE_FILTER_MUST_STRING_H
