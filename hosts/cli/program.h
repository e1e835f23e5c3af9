// The program from its arguments to its exit status.

#ifndef TROVEX_HOSTS_CLI_PROGRAM_H
#define TROVEX_HOSTS_CLI_PROGRAM_H

namespace trovex::cli {

/// Does what main() is called for and returns the exit status.
int RunProgram(int argc, const char* const* argv);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_PROGRAM_H
