// Whether bytes are UTF-8, asked of all that is printed.

#ifndef TROVEX_HOSTS_CLI_UTF8_VALIDITY_H
#define TROVEX_HOSTS_CLI_UTF8_VALIDITY_H

#include <string_view>

namespace trovex::cli {

/// Whether all of `text` is valid UTF-8, as ReadUtf8 reads it.
bool IsValidUtf8(std::string_view text);

/// The same, one character after the other, on every machine.
bool IsValidUtf8Plainly(std::string_view text);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_UTF8_VALIDITY_H
