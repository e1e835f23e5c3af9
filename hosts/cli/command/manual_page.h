// The manual page, in the language of man(7).

#ifndef TROVEX_HOSTS_CLI_MANUAL_PAGE_H
#define TROVEX_HOSTS_CLI_MANUAL_PAGE_H

#include <string>

namespace trovex::cli {

/// trovex.1, made from the table of options and the texts of the help.
std::string ManualPage();

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_MANUAL_PAGE_H
