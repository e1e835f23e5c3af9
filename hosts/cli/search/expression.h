// From the expression as it was typed to the expression that the library reads.

#ifndef TROVEX_HOSTS_CLI_EXPRESSION_H
#define TROVEX_HOSTS_CLI_EXPRESSION_H

#include <string>
#include <string_view>
#include <variant>

namespace trovex::cli {

/// Why an expression cannot be searched; one sentence, in UTF-8.
struct ExpressionFault {
  std::string sentence;
};

/// Converts `typed` from `encoding`, that of the terminal, to the code page of the texts. The plain
/// C locale tells nothing: the expression is then read as UTF-8 when it is valid, else it is taken
/// to be of the code page already. A character that the code page lacks is a fault.
std::variant<std::string, ExpressionFault> ConvertExpression(std::string_view typed,
                                                             std::string_view encoding);

/// Makes the characters that are special in a pattern ordinary. The operators "&", "!", "(" and ")"
/// keep their meaning, as does a backslash before one of them or before a backslash; before
/// anything else a backslash is an ordinary character.
std::string EscapePatternCharacters(std::string_view expression);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_EXPRESSION_H
