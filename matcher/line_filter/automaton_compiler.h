// Compiling a pattern into the line filter's automaton: parser, must string and analysis in their order.

#ifndef TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H
#define TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H

#include "matcher/line_filter/pattern_automaton.h"

#include <cstddef>
#include <memory>

namespace trovex {

/// Makes `automaton` a record without a pattern, whatever it held. Its syntax and its budget stay.
void AutomatonInit(PatternAutomaton& automaton);

/// Frees a record of the heap and all that it holds; null is nothing to free.
void AutomatonFree(PatternAutomaton* automaton);

struct PatternAutomatonDeleter {
  void operator()(PatternAutomaton* automaton) const { AutomatonFree(automaton); }
};
/// Owns a record of the heap.
using PatternAutomatonPtr = std::unique_ptr<PatternAutomaton, PatternAutomatonDeleter>;

/// Compiles `length` bytes at `pattern` into `automaton`, in place of whatever it held, under its syntax
/// (automaton_parser.h). With `searchFlag` a match may begin at any byte of a text.
///
/// Where the record then holds a fault, the automaton is not to be executed. Throws `std::bad_alloc`, and
/// BudgetExhausted where the record's budget is used up.
void AutomatonCompile(const char* pattern, std::size_t length, PatternAutomaton& automaton,
                      bool searchFlag);

/// A copy of `automaton`, which was compiled and not executed yet: it has no tables.
PatternAutomatonPtr CopyAutomaton(const PatternAutomaton& automaton);

/// Makes an automaton of `automaton`, in place of whatever it held, that lets every line pass, for a
/// pattern whose own would be too large: the engine alone decides then.
void CompileOpenAutomaton(PatternAutomaton& automaton);

}  // namespace trovex

#endif  // TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H
