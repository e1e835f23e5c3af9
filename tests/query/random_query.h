// Queries and texts made by chance, small enough for the reference.

#ifndef TROVEX_TESTS_QUERY_RANDOM_QUERY_H
#define TROVEX_TESTS_QUERY_RANDOM_QUERY_H

#include "tests/dice.h"
#include "tests/query/reference_query.h"

#include <string>
#include <vector>

namespace trovex::testing {

/// A query that the language allows, with its tags numbered.
RefQuery RandomQuery(Dice& dice);

/// One pattern, with references to its groups if `references`.
RefQuery RandomPatternQuery(Dice& dice, bool references);

/// Pieces that small patterns are made of.
std::vector<Piece> SmallPieces();

/// A text of a few characters, in UTF-8 with all that can go wrong, or in Latin-1.
std::string RandomText(Dice& dice, bool utf8);

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_QUERY_RANDOM_QUERY_H
