// The language of the second door: from a typed expression to a tree.
//
//     query   := operand { "&" [distance] operand }      grouped from the right
//     operand := { "!" } either
//     either  := term { "|" term }
//     term    := "~" word  |  "(" query ")"  |  pattern
//
// docs/query-language.md tells every rule. What a pattern is, is told in pattern_reader.h.

#ifndef TROVEX_QUERY_QUERY_PARSER_H
#define TROVEX_QUERY_QUERY_PARSER_H

#include "query/query_options.h"
#include "query/query_tree.h"
#include "resources/string_table.h"

#include <memory>
#include <string_view>
#include <variant>

namespace trovex {

struct ParsedQuery {
  /// Never null.
  std::unique_ptr<QueryNode> root;
  /// The tags are 1 to `tagCount`: every "(" of the expression that is no ordinary character.
  int tagCount = 0;
  /// The byte that stands in a decoded text for every character that the code page lacks. No set
  /// holds it but "." and negated ones.
  unsigned char substitute = 0x81;
};

/// Why an expression is refused.
struct QueryFault {
  MessageNumber number = MessageNumber::kNone;
  /// What it is about: within the expression, and of at least one byte unless that is empty.
  TypedRange typed;

  /// The sentence of the string table.
  std::string_view Sentence() const { return StringTableText(number); }
};

/// Reads `expression`, which may hold any byte, also zero. The result keeps nothing of it. Time and
/// memory grow with its length alone. Throws std::bad_alloc.
std::variant<ParsedQuery, QueryFault> ParseQuery(std::string_view expression,
                                                 const QueryOptions& options);

}  // namespace trovex

#endif  // TROVEX_QUERY_QUERY_PARSER_H
