// Compiling a pattern into an automaton: parser, must string and analysis in their order.

#ifndef TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H
#define TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H

#include "matcher/line_filter/pattern_automaton.h"

#include <cstddef>
#include <memory>

namespace trovex {

/// Makes `automaton` a record without a pattern, whatever it held. Its syntax stays.
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
/// Where the record then holds a fault, the automaton is not to be executed. Throws nothing but `std::bad_alloc`.
void AutomatonCompile(const char* pattern, std::size_t length, PatternAutomaton& automaton,
                      bool searchFlag);

}  // namespace trovex

#endif  // TROVEX_MATCHER_LINE_FILTER_AUTOMATON_COMPILER_H
