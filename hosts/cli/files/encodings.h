// The names of encodings.

#ifndef TROVEX_HOSTS_CLI_ENCODINGS_H
#define TROVEX_HOSTS_CLI_ENCODINGS_H

#include "hosts/cli/command/options.h"

#include <optional>
#include <string>
#include <string_view>

namespace trovex::cli {

/// What a name stands for.
struct EncodingChoice {
  Encoding encoding = Encoding::kAuto;
  /// For Encoding::kNamed: as iconv_open knows it; UTF-16 and UTF-32 in capitals with a dash, and LE or
  /// BE after it if that was told.
  std::string name;
};

/// What `typed` stands for, in upper or lower case: "auto", a usual name such as "utf8", "latin1" or
/// "cp1252", or one that iconv knows. Null when nobody knows it.
std::optional<EncodingChoice> FindEncoding(std::string_view typed);

/// Whether a name of Encoding::kNamed is one of UTF-16 or UTF-32.
bool IsUnitEncoding(std::string_view name);

/// Usual names, for completions; each is known to FindEncoding.
std::string_view UsualEncodings();

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_ENCODINGS_H
