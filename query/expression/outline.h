// The outline of an expression: which bracket belongs to which, which of them stand alone in their
// terms, and which hold nothing but patterns.

#ifndef TROVEX_QUERY_EXPRESSION_OUTLINE_H
#define TROVEX_QUERY_EXPRESSION_OUTLINE_H

#include "query/expression/expression_tokens.h"
#include "query/query_parser.h"

#include <optional>

namespace trovex {

/// Fills in what `Token` says of brackets and of "!". Returns why it cannot: a bracket without its
/// partner, or too many brackets and "!" inside one another.
std::optional<QueryFault> DrawOutline(ExpressionTokens& tokens, bool phonetic);

}  // namespace trovex

#endif  // TROVEX_QUERY_EXPRESSION_OUTLINE_H
