// Strings that a text must hold to satisfy a query, or a line to hold a match of a pattern.
//
// A pattern is read from its leaves to its root. Of every piece it is known which few strings it
// matches, if it matches no others, or else clauses: sets of strings of which each match holds at
// least one. What stands side by side makes longer strings, alternatives make sets, and what may be
// missing promises nothing.
//
// Only plain ASCII counts. Other characters are written in several ways: as one byte, as a sequence, as
// a letter with a combining accent.

#ifndef TROVEX_QUERY_REQUIRED_STRINGS_H
#define TROVEX_QUERY_REQUIRED_STRINGS_H

#include "matcher/pattern/pattern_syntax.h"
#include "matcher/scan/place_scan.h"
#include "query/query_tree.h"

#include <optional>
#include <string>
#include <vector>

namespace trovex {

/// Strings of which at least one is there; none is empty, and there is at least one.
using StringClause = std::vector<std::string>;
using StringClauses = std::vector<StringClause>;

/// What every match of `tree` holds: one string of every clause. With `foldsCase` the strings are in
/// lower case and stand for either case of each letter.
StringClauses RequiredInMatch(const SyntaxTree& tree, bool foldsCase);

/// A scan that finds a place of one of the strings of one of the clauses, the one that promises the
/// fewest places. Nothing when all of them are common.
std::optional<PlaceScan> ScanForClauses(const StringClauses& clauses, bool foldsCase);

/// The clauses of the operands of an AND, without what is said twice; not too many of them.
StringClauses AllOfClauses(std::vector<StringClauses> operands);

/// Clauses that hold for an OR: its text satisfies one of the operands.
StringClauses AnyOfClauses(const std::vector<StringClauses>& operands);

}  // namespace trovex

#endif  // TROVEX_QUERY_REQUIRED_STRINGS_H
