// What a Query of the public header stands for: an expression, how it was understood, and the plan of
// its searches.

#ifndef TROVEX_QUERY_COMPILED_QUERY_H
#define TROVEX_QUERY_COMPILED_QUERY_H

#include "query/plan/search_plan.h"
#include "query/query_parser.h"

#include <trovex/query.h>

#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trovex {

/// Made once, never changed, read by any number of threads.
struct CompiledQuery {
  std::string expression;
  ExpressionOptions options;
  int tagCount = 0;
  std::vector<QueryPart> parts;
  std::string description;
  /// The tree that the plan was made of; its patterns are compiled away.
  ParsedQuery parsed;
  SearchPlan plan;
};

/// Throws std::bad_alloc.
std::variant<std::shared_ptr<const CompiledQuery>, QueryFault> CompileQuery(
    std::string_view expression, const ExpressionOptions& options);

}  // namespace trovex

#endif  // TROVEX_QUERY_COMPILED_QUERY_H
