// What the program reads by itself is told by a table; everything else is asked of iconv.

#include "hosts/cli/files/encodings.h"

#include <iconv.h>
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <iterator>

namespace trovex::cli {

namespace {

/// A name without case, and without the signs between its parts: "ISO-8859_1" is "iso88591".
std::string Simplified(std::string_view name) {
  std::string result;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) != 0) result += static_cast<char>(std::tolower(byte));
  }
  return result;
}

bool IconvKnows(const std::string& name) {
  iconv_t converter = iconv_open("UTF-8", name.c_str());
  if (reinterpret_cast<std::intptr_t>(converter) == -1) return false;
  iconv_close(converter);
  return true;
}

/// Names that iconv knows by another one, or that the program reads by itself.
std::string OwnName(std::string_view typed, const std::string& simplified) {
  constexpr std::string_view kUnits[] = {"UTF-16", "UTF-16LE", "UTF-16BE",
                                         "UTF-32", "UTF-32LE", "UTF-32BE"};
  for (const std::string_view name : kUnits) {
    if (Simplified(name) == simplified) return std::string(name);
  }
  if (simplified == "ucs2" || simplified == "unicode") return "UTF-16";
  if (simplified == "ucs4") return "UTF-32";
  if (simplified == "latin9" || simplified == "latin0") return "ISO-8859-15";
  if (simplified.starts_with("windows125")) return "CP" + simplified.substr(7);
  if (simplified.starts_with("dos")) return "CP" + simplified.substr(3);
  return std::string(typed);
}

/// Windows Latin-1 and what is a part of it: bytes that the others have no letters for.
bool IsWindowsLatin1(const std::string& simplified) {
  constexpr std::string_view kNames[] = {"cp1252",   "windows1252", "ansi",  "latin1",
                                         "iso88591", "l1",          "ascii", "usascii"};
  return std::find(std::begin(kNames), std::end(kNames), simplified) != std::end(kNames);
}

}  // namespace

std::optional<EncodingChoice> FindEncoding(std::string_view typed) {
  const std::string simplified = Simplified(typed);
  if (simplified == "auto") return EncodingChoice{};
  if (simplified == "utf8") return EncodingChoice{Encoding::kUtf8, {}};
  if (IsWindowsLatin1(simplified)) return EncodingChoice{Encoding::kWindows1252, {}};
  // iconv takes an empty name, and what stands after "//", for something else.
  if (simplified.empty() || typed.find('/') != typed.npos) return std::nullopt;
  const std::string name = OwnName(typed, simplified);
  if (!IconvKnows(name)) return std::nullopt;
  return EncodingChoice{Encoding::kNamed, name};
}

bool IsUnitEncoding(std::string_view name) {
  return name.starts_with("UTF-16") || name.starts_with("UTF-32");
}

std::string_view UsualEncodings() {
  return "auto utf-8 windows-1252 cp1252 latin1 latin9 iso-8859-1 iso-8859-2 iso-8859-15 "
         "utf-16 utf-16le utf-16be utf-32 utf-32le utf-32be ibm437 ibm850 cp1250 cp1251 "
         "macintosh koi8-r";
}

}  // namespace trovex::cli
