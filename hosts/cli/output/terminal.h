// What the terminal can show: its encoding and colours.

#ifndef TROVEX_HOSTS_CLI_TERMINAL_H
#define TROVEX_HOSTS_CLI_TERMINAL_H

#include "hosts/cli/command/options.h"

#include <string>
#include <string_view>

namespace trovex::cli {

/// The encoding that the environment names (LC_ALL, LC_CTYPE, LANG), as iconv knows it. The locale
/// of the process stays what it is.
std::string TerminalEncoding();

/// Whether `encoding` is UTF-8.
bool IsUtf8Encoding(std::string_view encoding);

/// Whether `encoding` is that of the C locale, which says nothing about a terminal of today.
bool IsPlainAscii(std::string_view encoding);

/// Whether the standard output gets colours.
bool UseColors(When mode);

/// The escape sequences around the parts of an output line; all empty without colours.
struct Palette {
  std::string_view fileName;
  std::string_view lineNumber;
  std::string_view separator;
  std::string_view match;
  std::string_view reset;

  static Palette For(bool colors);
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_TERMINAL_H
