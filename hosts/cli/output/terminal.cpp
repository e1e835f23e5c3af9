// Asking the environment, without setting the locale of the process: the library then reads letters
// by the C locale, as the texts of one code page need it.

#include "hosts/cli/output/terminal.h"

#include <langinfo.h>
#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <cstdlib>
#include <cstring>

namespace trovex::cli {

namespace {

std::string_view Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string_view{} : std::string_view{value};
}

/// The name of the locale that the environment asks for.
std::string_view LocaleName() {
  for (const char* const variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    if (const std::string_view value = Environment(variable); !value.empty()) return value;
  }
  return {};
}

bool WantsColors(When when, bool terminal) {
  if (when != When::kAuto) return when == When::kAlways;
  const std::string_view kind = Environment("TERM");
  return terminal && Environment("NO_COLOR").empty() && !kind.empty() && kind != "dumb";
}

/// Terminals that are known to understand links, by what they put into the environment.
bool KnowsLinks() {
  if (Environment("TERM") == "dumb") return false;
  for (const char* const variable :
       {"KITTY_WINDOW_ID", "KONSOLE_VERSION", "WT_SESSION", "DOMTERM"}) {
    if (!Environment(variable).empty()) return true;
  }
  const std::string_view program = Environment("TERM_PROGRAM");
  if (program == "iTerm.app" || program == "WezTerm" || program == "vscode" || program == "ghostty")
    return true;
  return std::atoi(std::string(Environment("VTE_VERSION")).c_str()) >= 5000;
}

}  // namespace

std::string TerminalEncoding() {
  const std::string_view name = LocaleName();
  // A locale need not be loaded to know these.
  if (name.empty() || name == "C" || name == "POSIX") return "ANSI_X3.4-1968";
  if (name == "C.UTF-8" || name == "C.utf8") return "UTF-8";
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", static_cast<locale_t>(nullptr));
  if (locale == static_cast<locale_t>(nullptr)) return "ANSI_X3.4-1968";
  std::string encoding = nl_langinfo_l(CODESET, locale);
  freelocale(locale);
  return encoding;
}

bool IsUtf8Encoding(std::string_view encoding) {
  return encoding == "UTF-8" || encoding == "utf8";
}

bool IsPlainAscii(std::string_view encoding) {
  return encoding == "ANSI_X3.4-1968" || encoding == "US-ASCII" || encoding.empty();
}

std::size_t TerminalColumns(int descriptor) {
  winsize size{};
  const bool told = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return told ? size.ws_col : 80;
}

Display Display::OfProcess(const Options& options, std::string_view encoding) {
  Display display;
  display.terminal = isatty(STDOUT_FILENO) != 0;
  display.utf8 = IsUtf8Encoding(encoding);
  display.colors = WantsColors(options.color, display.terminal);
  display.links = options.hyperlink == When::kAlways ||
                  (options.hyperlink == When::kAuto && display.terminal && KnowsLinks());
  return display;
}

Palette Palette::For(const ColorScheme& scheme, bool colors) {
  if (!colors) return {};
  const auto sequence = [](const std::string& numbers) {
    std::string text = numbers.empty() ? "" : "\033[";
    if (!text.empty()) text.append(numbers).append("m");
    return text;
  };
  return {sequence(scheme.name), sequence(scheme.line), sequence(scheme.separator),
          sequence(scheme.match), "\033[0m"};
}

}  // namespace trovex::cli
