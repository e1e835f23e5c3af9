// From what was typed to a compiled query.

#ifndef TROVEX_HOSTS_CLI_EXPRESSION_H
#define TROVEX_HOSTS_CLI_EXPRESSION_H

#include "hosts/cli/command/options.h"

#include <trovex/query.h>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trovex::cli {

/// Why an expression cannot be searched.
struct ExpressionFault {
  /// One sentence, in UTF-8.
  std::string sentence;
  /// What to do about it; may be empty.
  std::string advice = {};
  /// The expression, in UTF-8, and the bytes of it that are meant; none where it is about all of it.
  std::string expression = {};
  std::size_t begin = 0;
  std::size_t end = 0;
  bool hasRange = false;
  /// The word of a list that is meant, by its index among all words.
  std::optional<std::size_t> word = {};
};

/// Converts `typed` from `encoding`, that of the terminal, to UTF-8. The plain C locale tells
/// nothing: what is no valid UTF-8 is then taken to be Windows Latin-1.
std::variant<std::string, ExpressionFault> ExpressionToUtf8(std::string_view typed,
                                                            std::string_view encoding);

/// Makes the characters that are special in a pattern ordinary. The operators "&", "!", "(" and ")"
/// keep their meaning, as does a backslash before one of them or before a backslash; before
/// anything else a backslash is an ordinary character.
std::string EscapePatternCharacters(std::string_view expression);

/// That an expression with `tagCount` brackets has no bracket `tag`.
ExpressionFault NoSuchTag(int tag, int tagCount);

/// A query with the bracket whose matches are asked for; 0: all matches.
struct CompiledExpression {
  Query query;
  int tag = 0;
};

/// Compiles what is searched for: any of `expressions`, in UTF-8, or of `words`.
std::variant<CompiledExpression, ExpressionFault> CompileExpressions(
    std::vector<std::string> expressions, const std::vector<std::string>& words,
    const Options& options);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_EXPRESSION_H
