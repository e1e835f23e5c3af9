// The builder of the line filter's automaton: works out what can follow what in a match, and makes the states and
// their tables when the executor asks for them.
//
// The number of states can be exponential in the length of the pattern, so nothing is made in
// advance. What a text needs is kept and used again, within a budget: there are never more than
// `kMaxBuiltTables` tables. When one more is needed all are thrown away, and those that the text
// still comes by are built anew. States are kept as long as they do not hold too many positions.
//
// All functions throw `std::bad_alloc`, and then leave the record as it was or with more states than
// before. The first step throws BudgetExhausted, too; the others charge nothing.

#ifndef TROVEX_MATCHER_LINE_FILTER_AUTOMATON_BUILDER_H
#define TROVEX_MATCHER_LINE_FILTER_AUTOMATON_BUILDER_H

#include "matcher/line_filter/pattern_automaton.h"

#include <cstdint>

namespace trovex {

/// Works out the follow sets of the token stream and makes state 0, the start. With `searchFlag`
/// a match may begin at any byte: every state then contains the start positions.
void AnalyseAutomaton(PatternAutomaton& automaton, bool searchFlag);

/// Builds the table of `state`, which has none, together with its success bits and its newline
/// transition. Every other table may be gone afterwards, and every other state but the start; the
/// number that `state` has then is returned.
StateNumber BuildStateTable(PatternAutomaton& automaton, StateNumber state);

/// What building the table of `state` costs, in nanoseconds or so.
std::int64_t TableCost(const PatternAutomaton& automaton, StateNumber state);

}  // namespace trovex

#endif  // TROVEX_MATCHER_LINE_FILTER_AUTOMATON_BUILDER_H
