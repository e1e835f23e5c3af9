// Compiling a pattern into an automaton: parser, must string and analysis in their order.

#ifndef TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H
#define TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H

#include "matcher/line_filter/pattern_automaton.h"

#include <cstddef>

namespace trovex {

/// Compiles `length` bytes at `pattern` under the current syntax (automaton_parser.h) into the
/// empty record `automaton`. With `searchFlag` a match may begin at any byte of a text.
///
/// Errors of the pattern are reported through `SetCompileError`; while one is pending, the
/// automaton is not to be executed. Throws `std::bad_alloc`, and BudgetExhausted where the record's
/// budget is used up.
void AutomatonCompile(const char* pattern, std::size_t length, PatternAutomaton& automaton,
                      bool searchFlag);

/// Makes an automaton of the empty record `automaton` that lets every line pass, for a pattern whose own
/// would be too large: the engine alone decides then.
void CompileOpenAutomaton(PatternAutomaton& automaton);

}  // namespace trovex

#endif  // TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H
