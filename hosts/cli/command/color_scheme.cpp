// Schemes by name and by hand.

#include "hosts/cli/command/color_scheme.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>
#include <vector>

namespace trovex::cli {

namespace {

struct NamedNumber {
  std::string_view name;
  int number;
};

constexpr NamedNumber kEffects[] = {
    {"bold", 1}, {"dim", 2}, {"italic", 3}, {"underline", 4}, {"reverse", 7}};
constexpr NamedNumber kColors[] = {{"black", 0}, {"red", 1},     {"green", 2}, {"yellow", 3},
                                   {"blue", 4},  {"magenta", 5}, {"cyan", 6},  {"white", 7}};

template <std::size_t kCount>
std::optional<int> NumberOf(std::string_view name, const NamedNumber (&table)[kCount]) {
  for (const NamedNumber& entry : table) {
    if (entry.name == name) return entry.number;
  }
  return std::nullopt;
}

/// Takes `prefix` off `text`, if it stands there.
bool TakeOff(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

/// The numbers of one word of a style, such as "bold" or "on-bright-red".
std::optional<std::string> CodeOf(std::string_view word) {
  if (const auto effect = NumberOf(word, kEffects)) return std::to_string(*effect);
  const bool background = TakeOff(word, "on-");
  const bool bright = TakeOff(word, "bright-");
  if (const auto color = NumberOf(word, kColors)) {
    return std::to_string(*color + (background ? 40 : 30) + (bright ? 60 : 0));
  }
  int number = 0;
  const char* const end = word.data() + word.size();
  const auto [rest, error] = std::from_chars(word.data(), end, number);
  if (bright || error != std::errc() || rest != end || number < 0 || number > 255) {
    return std::nullopt;
  }
  return (background ? "48;5;" : "38;5;") + std::to_string(number);
}

std::vector<std::string_view> Split(std::string_view text, char divider) {
  std::vector<std::string_view> pieces;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(divider, begin), text.size());
    pieces.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return pieces;
}

std::string Quoted(std::string_view text) {
  return '"' + std::string(text) + '"';
}

/// Reads a style into `codes`; a sentence when it is none.
std::optional<std::string> ReadStyle(std::string_view style, std::string& codes) {
  codes.clear();
  if (style == "none") return std::nullopt;
  for (const std::string_view word : Split(style, '+')) {
    const std::optional<std::string> code = CodeOf(word);
    if (!code.has_value()) return "There is no colour or style " + Quoted(word) + ".";
    if (!codes.empty()) codes += ';';
    codes += *code;
  }
  return std::nullopt;
}

std::string* PartOf(ColorScheme& scheme, std::string_view name) {
  if (name == "name") return &scheme.name;
  if (name == "line") return &scheme.line;
  if (name == "separator") return &scheme.separator;
  if (name == "match") return &scheme.match;
  return nullptr;
}

bool TakeNamed(std::string_view name, ColorScheme& scheme) {
  if (name == "default") {
    scheme = ColorScheme();
  } else if (name == "light") {
    scheme = {"34", "32", "90", "1;31"};
  } else if (name == "mono") {
    scheme = {"4", "", "", "1;7"};
  } else {
    return false;
  }
  return true;
}

}  // namespace

std::variant<ColorScheme, std::string> ParseColorScheme(std::string_view typed) {
  ColorScheme scheme;
  for (const std::string_view piece : Split(typed, ',')) {
    const std::size_t equals = piece.find('=');
    if (equals == piece.npos) {
      if (TakeNamed(piece, scheme)) continue;
      return "There is no colour scheme " + Quoted(piece) +
             "; there are default, light and mono, and settings such as match=bold+red.";
    }
    const std::string_view name = piece.substr(0, equals);
    std::string* const part = PartOf(scheme, name);
    if (part == nullptr) {
      return "There is no part " + Quoted(name) +
             " to colour; the parts are name, line, separator and match.";
    }
    if (auto fault = ReadStyle(piece.substr(equals + 1), *part)) return *std::move(fault);
  }
  return scheme;
}

}  // namespace trovex::cli
