// A query as it was understood, for people and programs to look at.

#ifndef TROVEX_QUERY_QUERY_PARTS_H
#define TROVEX_QUERY_QUERY_PARTS_H

#include "query/query_tree.h"

#include <trovex/query.h>

#include <string>
#include <string_view>
#include <vector>

namespace trovex {

/// The operands and operators of the tree below `root`, each before its operands. Of a chain of ANDs
/// every operator with a distance is one with two operands, for it is grouped from the right.
/// `expression` is what the tree was read from, in `encoding`.
std::vector<QueryPart> PartsOf(const QueryNode& root, std::string_view expression,
                               Encoding encoding);

/// `parts` as text in UTF-8, a line for each.
std::string DescribeParts(const std::vector<QueryPart>& parts);

}  // namespace trovex

#endif  // TROVEX_QUERY_QUERY_PARTS_H
