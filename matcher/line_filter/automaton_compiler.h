// Compiling a pattern into an automaton: parser, must string and analysis in their order.

#ifndef TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H
#define TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H

#include "matcher/line_filter/pattern_automaton.h"

#include <cstddef>

namespace trovex {

/// Compiles `length` bytes at `pattern` into the record `automaton`, which is empty but for its syntax
/// (automaton_parser.h). With `searchFlag` a match may begin at any byte of a text.
///
/// Where the record then holds a fault, the automaton is not to be executed. Throws nothing but `std::bad_alloc`.
void AutomatonCompile(const char* pattern, std::size_t length, PatternAutomaton& automaton,
                      bool searchFlag);

}  // namespace trovex

#endif  // TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H
