// Asking the environment, without setting the locale of the process: the library then reads letters
// by the C locale, as the texts of one code page need it.

#include "hosts/cli/output/terminal.h"

#include <langinfo.h>
#include <locale.h>
#include <unistd.h>
#include <cstdlib>
#include <cstring>

namespace trovex::cli {

std::string TerminalEncoding() {
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

bool UseColors(When mode) {
  if (mode != When::kAuto) return mode == When::kAlways;
  if (isatty(STDOUT_FILENO) == 0) return false;
  const char* const noColor = std::getenv("NO_COLOR");
  if (noColor != nullptr && *noColor != '\0') return false;
  const char* const terminal = std::getenv("TERM");
  return terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
}

Palette Palette::For(bool colors) {
  if (!colors) return {};
  return {"\033[35m", "\033[32m", "\033[36m", "\033[1;31m", "\033[0m"};
}

}  // namespace trovex::cli
