// One pattern of an expression, from tokens to a tree.
//
// It is a term, or several neighbouring ones with "|" between them. Its brackets are its groups; a
// bracket that is a whole term is one, too, but blanks at the ends of the alternatives in it do not
// count, and none of these may be empty. In the others, which are pieces of the pattern, blanks count,
// and an empty alternative is the empty string.
//
// The reading, where patterns are read differently elsewhere:
//
//     *a  ^*  (+a)        refused: there is nothing to repeat
//     a{,3}  a{,}         0 to 3; any number
//     a{0}                the empty string, and a group inside takes no part
//     \1                  the pattern's own first group, which must be complete at that place
//     !  after a blank   refused; directly after a character it is ordinary
//     &  in a piece       refused: the operator is missing beside the bracket
//
// Letters stand in the tree with everything that an option says of them: without regard to case as
// sets of both cases, and with the option for it in all their spellings (spelling_variants.h).

#ifndef TROVEX_QUERY_PATTERN_READER_H
#define TROVEX_QUERY_PATTERN_READER_H

#include "query/expression/expression_tokens.h"
#include "query/query_options.h"
#include "query/query_parser.h"
#include "query/query_tree.h"

#include <cstddef>
#include <memory>
#include <variant>

namespace trovex {

/// Groups and repetitions inside one another in a pattern: 9814 beyond.
inline constexpr int kMaxQueryPatternNesting = 400;

/// Reads the pattern from token `begin` up to token `end`, which both lie beside no blanks. Its
/// outline has been drawn.
std::variant<std::unique_ptr<QueryPattern>, QueryFault> ReadPattern(const ExpressionTokens& tokens,
                                                                    std::size_t begin,
                                                                    std::size_t end,
                                                                    const QueryOptions& options);

}  // namespace trovex

#endif  // TROVEX_QUERY_PATTERN_READER_H
