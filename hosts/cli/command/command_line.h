// The arguments of a command line, told apart by the table of options.
//
//   -C3  -C 3  --context=3  --context 3      an option with its argument
//   -lw                                      switches together
//   --no-hidden                              a switch undone: what has no name of its own with "no-"
//   -- -x                                    after "--", everything is a name

#ifndef TROVEX_HOSTS_CLI_COMMAND_LINE_H
#define TROVEX_HOSTS_CLI_COMMAND_LINE_H

#include "hosts/cli/command/option_table.h"

#include <span>
#include <string>
#include <variant>
#include <vector>

namespace trovex::cli {

/// The command line cannot be understood; one sentence.
struct UsageError {
  std::string message;
};

/// An option as it was given.
struct GivenOption {
  const OptionEntry* entry;
  /// Its argument; empty for a switch.
  std::string argument;
  /// For a switch: whether it is undone.
  bool undone = false;
};

struct CommandLine {
  /// In their order.
  std::vector<GivenOption> options;
  /// What is no option: the expression, and names of files.
  std::vector<std::string> names;
};

/// Reads arguments, without the name of the program.
std::variant<CommandLine, UsageError> ReadCommandLine(std::span<const std::string> arguments);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_COMMAND_LINE_H
