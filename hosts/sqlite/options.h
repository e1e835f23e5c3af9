// The text of a function's last argument, as in trovex('Haus', body, 'words, case').

#ifndef TROVEX_HOSTS_SQLITE_OPTIONS_H
#define TROVEX_HOSTS_SQLITE_OPTIONS_H

#include <trovex/query.h>

#include <string>
#include <string_view>
#include <variant>

namespace trovex::sqlite {

struct UnknownOption {
  std::string name;
};

/// Reads the names of options with commas or blanks between: words, case, phonetic, variants.
std::variant<ExpressionOptions, UnknownOption> ReadOptions(std::string_view text);

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_OPTIONS_H
