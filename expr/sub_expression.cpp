// The leaf of a search tree: how a slice of the typed expression becomes a pattern. How it is compiled and
// searched stands in api/tree_functions.cpp.

#include <trovex/search_tree.h>
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

std::string_view TrimRight(std::string_view text) {
  return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

std::string_view Trim(std::string_view text) {
  text = TrimRight(text);
  text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
  return text;
}

/// A slice of a typed expression, read as a pattern.
struct PatternText {
  std::string text;
  int groups = 0;  // brackets opened
};

/// Copies `slice`, counts the brackets that it opens and takes the backslash off "\&" and "\!":
/// these two were escaped from the expression's operators and are nothing special in a pattern.
///
/// Such a backslash still counts as one that escapes: the byte after the "&" or "!" is taken as
/// escaped when brackets are counted.
PatternText ReadSlice(std::string_view slice) {
  PatternText pattern;
  bool escaped = false;
  for (std::size_t i = 0; i < slice.size(); ++i) {
    char c = slice[i];
    if (c == '\\') {
      escaped = !escaped;
      if (i + 1 < slice.size() && (slice[i + 1] == '&' || slice[i + 1] == '!')) c = slice[++i];
    } else {
      if (c == '(' && !escaped) ++pattern.groups;
      escaped = false;
    }
    pattern.text += c;
  }
  return pattern;
}

}  // namespace

CSubExpression::CSubExpression() = default;
CSubExpression::CSubExpression(const CSubExpression& other) = default;
CSubExpression& CSubExpression::operator=(const CSubExpression& other) = default;
CSubExpression::~CSubExpression() = default;

int CSubExpression::IsEmpty() {
  return text_.IsEmpty() ? 1 : 0;
}

void CSubExpression::SetSearchOptions(unsigned long options) {
  options_ = static_cast<std::uint32_t>(options);
}

int CSubExpression::RegularExpression() {
  return (options_ & kSearchModeMask) == kSearchModeRegularExpression ? 1 : 0;
}

int CSubExpression::PhoneticSearch() {
  return (options_ & kSearchModeMask) == kSearchModePhonetic ? 1 : 0;
}

int CSubExpression::MatchWords() {
  return static_cast<int>(options_ & kSearchMatchWords);
}

int CSubExpression::CaseSensitive() {
  return static_cast<int>(options_ & kSearchCaseSensitive);
}

void CSubExpression::SetSubExpression(const CString& text) {
  text_ = text;
}

void CSubExpression::SetSubExpression(const char* text, int length, int lastTagNr) {
  if (text == nullptr) return;
  std::string_view slice(text, length > 0 ? static_cast<std::size_t>(length) : 0);
  slice.remove_prefix(std::min(slice.find_first_not_of(' '), slice.size()));

  const PatternText pattern = ReadSlice(slice);
  std::string_view bare = TrimRight(pattern.text);
  int stripped = 0;
  // Whether the two brackets belong to each other is not examined: "(a)|(b)" becomes "a)|(b".
  while (bare.size() >= 2 && bare.front() == '(' && bare.back() == ')') {
    bare = Trim(bare.substr(1, bare.size() - 2));
    ++stripped;
  }

  text_ = CString(bare.data(), static_cast<int>(bare.size()));
  groupCount_ = pattern.groups;
  // A host may pass any number; the difference wraps around.
  tagBase_ = static_cast<std::int32_t>(static_cast<std::uint32_t>(lastTagNr) -
                                       static_cast<std::uint32_t>(pattern.groups));
  strippedBrackets_ = stripped;
}
