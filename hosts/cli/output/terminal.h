// What the terminal can show: its encoding, colours, links and width.

#ifndef TROVEX_HOSTS_CLI_TERMINAL_H
#define TROVEX_HOSTS_CLI_TERMINAL_H

#include "hosts/cli/command/options.h"

#include <cstddef>
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

/// The columns of the terminal that `descriptor` belongs to; 80 when it does not tell or is none.
std::size_t TerminalColumns(int descriptor);

/// What the standard output is and what it gets.
struct Display {
  bool terminal = false;
  bool utf8 = true;
  bool colors = false;
  bool links = false;

  /// The display of this process. `encoding` is that of the terminal.
  static Display OfProcess(const Options& options, std::string_view encoding);
};

/// The escape sequences around the parts of an output line; all empty without colours.
struct Palette {
  std::string fileName;
  std::string lineNumber;
  std::string separator;
  std::string match;
  std::string reset;

  static Palette For(const ColorScheme& scheme, bool colors);
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_TERMINAL_H
