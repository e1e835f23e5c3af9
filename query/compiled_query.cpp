#include "query/compiled_query.h"

#include "query/query_options.h"
#include "query/query_parts.h"
#include "resources/string_table.h"

#include <utility>

namespace trovex {

namespace {

Fault FaultOf(const QueryFault& fault) {
  return {static_cast<int>(fault.number), std::string(fault.Sentence()), fault.typed.begin,
          fault.typed.end};
}

QueryOptions ParserOptions(const ExpressionOptions& options) {
  QueryOptions result;
  result.encoding =
      options.encoding == Encoding::kUtf8 ? ExpressionEncoding::kUtf8 : ExpressionEncoding::kLatin1;
  result.wholeWords = options.words;
  result.caseSensitive = options.caseSensitive;
  result.phonetic = options.phonetic;
  result.spellingVariants = options.variants;
  return result;
}

}  // namespace

std::variant<std::shared_ptr<const CompiledQuery>, Fault> CompileQuery(
    std::string_view expression, const ExpressionOptions& options) {
  const QueryOptions parserOptions = ParserOptions(options);
  auto parsed = ParseQuery(expression, parserOptions);
  if (const auto* const fault = std::get_if<QueryFault>(&parsed)) return FaultOf(*fault);

  const auto compiled = std::make_shared<CompiledQuery>();
  compiled->expression = expression;
  compiled->options = options;
  compiled->parsed = std::get<ParsedQuery>(std::move(parsed));
  compiled->tagCount = compiled->parsed.tagCount;
  compiled->parts = PartsOf(*compiled->parsed.root, expression, options.encoding);
  auto plan = MakeSearchPlan(compiled->parsed, parserOptions);
  if (const auto* const fault = std::get_if<QueryFault>(&plan)) return FaultOf(*fault);
  compiled->plan = std::get<SearchPlan>(std::move(plan));
  return compiled;
}

}  // namespace trovex
