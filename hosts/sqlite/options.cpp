#include "hosts/sqlite/options.h"

#include <algorithm>
#include <cstddef>

namespace trovex::sqlite {
namespace {

constexpr std::string_view kBetween = ", \t\r\n";

bool SwitchOn(std::string_view name, ExpressionOptions& options) {
  if (name == "words") {
    options.words = true;
  } else if (name == "case") {
    options.caseSensitive = true;
  } else if (name == "phonetic") {
    options.phonetic = true;
  } else if (name == "variants") {
    options.variants = true;
  } else {
    return false;
  }
  return true;
}

}  // namespace

std::variant<ExpressionOptions, UnknownOption> ReadOptions(std::string_view text) {
  ExpressionOptions options;
  for (std::size_t begin = text.find_first_not_of(kBetween); begin != std::string_view::npos;
       begin = text.find_first_not_of(kBetween)) {
    text.remove_prefix(begin);
    const std::string_view name = text.substr(0, text.find_first_of(kBetween));
    if (!SwitchOn(name, options)) return UnknownOption{std::string(name)};
    text.remove_prefix(name.size());
  }
  return options;
}

}  // namespace trovex::sqlite
