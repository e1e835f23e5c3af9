// The expression with a mark under what a fault is about.

#ifndef TROVEX_HOSTS_CLI_FAULT_TEXT_H
#define TROVEX_HOSTS_CLI_FAULT_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace trovex::cli {

/// Two lines of at most `columns` columns each: `expression`, cut to what stands around the range of
/// bytes, and a "^" under each character of it, or under the place where something is missing. What a
/// terminal might obey is made visible.
std::string MarkedExpression(std::string_view expression, std::size_t begin, std::size_t end,
                             std::size_t columns);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FAULT_TEXT_H
