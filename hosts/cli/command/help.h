// The text of --help and --version.

#ifndef TROVEX_HOSTS_CLI_HELP_H
#define TROVEX_HOSTS_CLI_HELP_H

#include <string>

namespace trovex::cli {

/// Teaches the expressions and lists the options; ASCII.
std::string HelpText();
std::string VersionText();

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_HELP_H
