// The configuration file: options that are always wanted.
//
//     # what stands after a # at the beginning of a line is a comment
//     --hidden
//     --scope line
//     --colors=match=bold+blue
//     -j2
//
// One option a line. Blanks at the ends of a line do not count, nor do quotes: what stands after
// the name of an option, and "=" or blanks, is its argument as it is.

#ifndef TROVEX_HOSTS_CLI_CONFIG_FILE_H
#define TROVEX_HOSTS_CLI_CONFIG_FILE_H

#include "hosts/cli/command/command_line.h"

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trovex::cli {

struct ConfigOption {
  GivenOption option;
  /// "FILE, line N".
  std::string place;
};

/// Reads the file of this name.
std::variant<std::vector<ConfigOption>, UsageError> ReadConfigFile(const std::string& name);

/// Reads its content; `name` is for what is said about it.
std::variant<std::vector<ConfigOption>, UsageError> ReadConfig(std::string_view content,
                                                               const std::string& name);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_CONFIG_FILE_H
