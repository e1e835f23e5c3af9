// Strings that a text must hold to satisfy a query, or a line to hold a match of a pattern.
//
// A pattern is read from its leaves to its root. Of every piece it is known which few strings it
// matches, if it matches no others, or else clauses: sets of strings of which each match holds at
// least one. What stands side by side makes longer strings, alternatives make sets, and what may be
// missing promises nothing.
//
// What others are told is plain ASCII. Other characters are written in several ways: as one byte, as a
// sequence, as a letter with a combining accent. For a scan, each of these ways is a string of its own.

#ifndef TROVEX_QUERY_PLAN_REQUIRED_STRINGS_H
#define TROVEX_QUERY_PLAN_REQUIRED_STRINGS_H

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

/// The same with all characters of the code page, in all ways in which the bytes of a text can have them.
StringClauses SpelledInMatch(const SyntaxTree& tree, bool foldsCase);

/// How characters beyond ASCII are written: it is not said; as sequences and as letters with marks; or also as
/// a byte of the code page.
enum class Spelling { kUnknown, kUtf8, kEveryWay };

/// All strings that `tree` matches, sorted, if these are few and none is empty; else none. What anchors ask
/// for is not looked at.
StringClause ExactStrings(const SyntaxTree& tree, bool foldsCase, Spelling spelling);

/// Whether `tree` has characters beyond ASCII, by themselves or in small sets.
bool HoldsMoreThanAscii(const SyntaxTree& tree);

/// A scan that finds a place of one of the strings of one of the clauses, the one that promises the
/// fewest places. Nothing when all of them are common. Of each string, as many bytes are looked at as
/// the shortest of its clause has, or `least`, if that is more: where a string ends, any byte may stand. A
/// string that is shorter than the scan reaches is not found at the end of a text.
std::optional<PlaceScan> ScanForClauses(const StringClauses& clauses, bool foldsCase,
                                        std::size_t least = 0);

/// The clauses of the operands of an AND, without what is said twice; not too many of them.
StringClauses AllOfClauses(std::vector<StringClauses> operands);

/// Clauses that hold for an OR: its text satisfies one of the operands.
StringClauses AnyOfClauses(const std::vector<StringClauses>& operands);

}  // namespace trovex

#endif  // TROVEX_QUERY_PLAN_REQUIRED_STRINGS_H
