// The parser of the line filter: turns a pattern into the token stream of a `PatternAutomaton`.
//
//   alternation     concatenation { "|" concatenation }
//   concatenation   closure { closure }
//   closure         atom { "?" | "*" | "+" | interval }
//   atom            byte | set | anchor | back-reference | "(" alternation ")" | nothing
//
// Where an operand is missing ("()", "a||b", a leading "*") the atom is nothing, the empty string.
// An interval is written out as copies of its operand; its exact readings are told at
// `ExpandInterval` in automaton_parser.cpp.
//
// Several patterns can be parsed into one record. Each ends with an end marker of its own, and from
// the second on each is joined to those before it by an alternation.
//
// A fault of a pattern is noted in the record, in place of any earlier one, and leaves an incomplete
// stream, on which the steps that follow may run without harm but whose automaton must not be used.

#ifndef TROVEX_MATCHER_LINE_FILTER_AUTOMATON_PARSER_H
#define TROVEX_MATCHER_LINE_FILTER_AUTOMATON_PARSER_H

#include "matcher/line_filter/automaton_lexer.h"
#include "matcher/line_filter/pattern_automaton.h"

#include <cstddef>

namespace trovex {

/// Sets the syntax that patterns are parsed into `automaton` under: the syntax bits (RE_... values of
/// regex.h) and whether letters match in both cases. To be called before any parse.
void AutomatonSetSyntax(PatternAutomaton& automaton, unsigned long bits, bool fold);

/// Parses `length` bytes at `pattern` (a NUL is a byte like any other) and appends their tokens to
/// `automaton`. Throws `std::bad_alloc`, and BudgetExhausted where the record's budget is used up.
void AutomatonParse(const char* pattern, std::size_t length, PatternAutomaton& automaton);

/// How many tokens the operand takes whose last token stands just before `end` in the stream.
std::size_t SubexpressionLength(const PatternAutomaton& automaton, std::size_t end);

}  // namespace trovex

#endif  // TROVEX_MATCHER_LINE_FILTER_AUTOMATON_PARSER_H
