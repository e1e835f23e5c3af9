// A typed expression as characters of the code page, with the place of each in what was typed.

#ifndef TROVEX_QUERY_EXPRESSION_EXPRESSION_TEXT_H
#define TROVEX_QUERY_EXPRESSION_EXPRESSION_TEXT_H

#include "query/query_options.h"
#include "query/query_tree.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace trovex {

struct ExpressionText {
  std::vector<unsigned char> characters;
  /// Where each character begins, and where the last one ends: one more than characters.
  std::vector<std::uint32_t> places;
  /// The undefined byte that stands for the characters which the page lacks: the first of the five
  /// that the expression does not hold itself; the last of them if it holds them all.
  unsigned char substitute = 0x81;
  /// The first character that the page lacks: nothing can be looked for with it.
  std::optional<TypedRange> lacking;

  std::size_t Size() const { return characters.size(); }
  TypedRange RangeOf(std::size_t begin, std::size_t end) const {
    return {places[begin], places[end]};
  }
};

/// Decodes at most `kMaxQueryLength` bytes.
ExpressionText DecodeExpression(std::string_view expression, ExpressionEncoding encoding);

}  // namespace trovex

#endif  // TROVEX_QUERY_EXPRESSION_EXPRESSION_TEXT_H
