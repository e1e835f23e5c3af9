// The executor of the line filter's automaton: runs it over a text and says where the first match ends.
//
// The automaton reads each byte once. Its answer is "no line matches" or a place in the first line
// that may: what it cannot decide (a back-reference) it accepts, so that whoever asked looks
// closer.

#ifndef TROVEX_MATCHER_LINE_FILTER_AUTOMATON_EXECUTOR_H
#define TROVEX_MATCHER_LINE_FILTER_AUTOMATON_EXECUTOR_H

#include "matcher/line_filter/pattern_automaton.h"
#include "matcher/search_outcome.h"

namespace trovex {

class WorkCredit;

/// Runs a compiled automaton from `begin`, the start of a line, to `end`, line by line; a line end is taken
/// to stand at `end`. Finds the first `place` where a match ends, the end exclusive, which is null when
/// there is none. Gives up where `credit` ends, from which the tables are paid for that the text needs.
/// Nothing is written, nor read at `end`. Throws like `AutomatonExecute`.
SearchOutcome FindCandidate(PatternAutomaton& automaton, const char* begin, const char* end,
                            WorkCredit& credit, const char*& place);

/// Runs a compiled automaton from `begin`, the start of a line, to `end`. Returns the first place
/// where a match ends, the end exclusive; null when there is none.
///
/// The byte at `end` is overwritten with a newline, also when an exception is thrown; the caller
/// saves it and puts it back. With `multiline`, a match may go on after a newline; otherwise every
/// line is matched by itself. `newlineCount`, if given, is increased by one for every newline
/// passed; the one written at `end` does not count. `backref`, if given, receives on a match
/// whether a back-reference takes part, so that the match is a mere candidate.
///
/// Builds tables as the text needs them, and throws `std::bad_alloc` when they cannot be had; the
/// automaton remains usable.
const char* AutomatonExecute(PatternAutomaton& automaton, const char* begin, char* end,
                             bool multiline, int* newlineCount, bool* backref);

}  // namespace trovex

#endif  // TROVEX_MATCHER_LINE_FILTER_AUTOMATON_EXECUTOR_H
