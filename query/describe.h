// A query in words, for an "explain" view: what is looked for, and how it belongs together.

#ifndef TROVEX_QUERY_DESCRIBE_H
#define TROVEX_QUERY_DESCRIBE_H

#include "query/query_parser.h"

#include <string>
#include <string_view>

namespace trovex {

/// Describes `query`, which was read from `expression`, in lines of UTF-8, each ending in a line feed.
/// What belongs to an operator stands below it, indented by two blanks more. The same query has
/// the same description always.
///
///     and, grouped from the right (tag 1)
///       pattern Haus(es)? (its bracket is tag 2)
///       at most 20 characters between, in this order
///       sounds like Meier: m ai r
///       anywhere
///       not
///         or
///           ...
std::string DescribeQuery(const ParsedQuery& query, std::string_view expression,
                          ExpressionEncoding encoding);

}  // namespace trovex

#endif  // TROVEX_QUERY_DESCRIBE_H
