// Completions of the command line, as the shells want them.

#ifndef TROVEX_HOSTS_CLI_COMPLETIONS_H
#define TROVEX_HOSTS_CLI_COMPLETIONS_H

#include <string>

namespace trovex::cli {

/// Scripts made from the table of options. Each is to be installed where its shell looks for the
/// completion of a program: as "trovex", "_trovex" and "trovex.fish".
std::string BashCompletion();
std::string ZshCompletion();
std::string FishCompletion();

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_COMPLETIONS_H
