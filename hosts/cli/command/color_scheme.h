// The colours of the parts of an output line.

#ifndef TROVEX_HOSTS_CLI_COLOR_SCHEME_H
#define TROVEX_HOSTS_CLI_COLOR_SCHEME_H

#include <string>
#include <string_view>
#include <variant>

namespace trovex::cli {

/// For each part the numbers that a terminal's escape sequence has between "\033[" and "m"; empty:
/// the part is not coloured.
struct ColorScheme {
  std::string name = "35";
  std::string line = "32";
  std::string separator = "36";
  std::string match = "1;31";
};

/// Reads the name of a scheme (default, light, mono), or parts with their styles,
/// "match=bold+red,name=blue", or both: "light,match=red". Parts that are not told stay as they are
/// in the default scheme, or the one that is named. The other answer is a sentence on what is wrong.
std::variant<ColorScheme, std::string> ParseColorScheme(std::string_view typed);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_COLOR_SCHEME_H
