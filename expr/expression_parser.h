// The parser of typed expressions, from outside.

#ifndef TROVEX_EXPR_EXPRESSION_PARSER_H
#define TROVEX_EXPR_EXPRESSION_PARSER_H

#include "resources/string_table.h"

#include <trovex/search_tree.h>
#include <memory>

namespace trovex {

/// A typed expression as a tree, which is not compiled yet.
struct ParsedExpression {
  std::unique_ptr<CSearchTreeItem> root;  // null when there is a fault
  int tagCount = 0;  // how many brackets there are, hence the highest tag number
  MessageNumber fault = MessageNumber::kNone;
};

/// Parses the zero-terminated `expression`; every leaf is given the options word. Throws std::bad_alloc
/// when memory runs out.
ParsedExpression ParseExpression(const char* expression, unsigned long options);

}  // namespace trovex

#endif  // TROVEX_EXPR_EXPRESSION_PARSER_H
