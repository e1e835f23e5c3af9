// What --version tells.

#ifndef TROVEX_HOSTS_CLI_VERSION_H
#define TROVEX_HOSTS_CLI_VERSION_H

#include <string>

namespace trovex::cli {

/// The program's version, the vector instructions that searches use on this machine, and the
/// libraries that the program runs with.
std::string VersionText();

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_VERSION_H
