// Quoting and joining. Expressions are put into brackets, for any operator may stand in them.

#include "hosts/cli/expression/word_list.h"

#include <algorithm>

namespace trovex::cli {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\v\f\r";
/// A backslash makes them ordinary; before other signs it may make a piece of a pattern.
constexpr std::string_view kSpecial = "&!()|~\\[].*+?{}^$";

bool IsBlank(char c) {
  return kBlanks.find(c) != kBlanks.npos;
}

std::string_view Trim(std::string_view line) {
  const std::size_t begin = line.find_first_not_of(kBlanks);
  if (begin == line.npos) return {};
  return line.substr(begin, line.find_last_not_of(kBlanks) - begin + 1);
}

/// Calls `take` for the lines of a list, without blanks at their ends, until it returns false.
template <typename Take>
void ForEachLine(std::string_view content, Take take) {
  if (content.starts_with(kByteOrderMark)) content.remove_prefix(kByteOrderMark.size());
  for (std::size_t begin = 0; begin < content.size();) {
    const std::size_t end = std::min(content.find('\n', begin), content.size());
    if (!take(Trim(content.substr(begin, end - begin)))) return;
    begin = end + 1;
  }
}

/// Whether "\1" to "\9" stands in the expression. Neighbouring alternatives become one pattern, in which its
/// brackets have other numbers; two NOTs before it leave it a pattern of its own.
bool HasReference(std::string_view expression) {
  for (std::size_t i = 0; i + 1 < expression.size(); ++i) {
    if (expression[i] != '\\') continue;
    ++i;
    if (expression[i] >= '1' && expression[i] <= '9') return true;
  }
  return false;
}

}  // namespace

std::vector<std::string> ReadWords(std::string_view content) {
  std::vector<std::string> words;
  ForEachLine(content, [&words](std::string_view word) {
    if (!word.empty()) words.emplace_back(word);
    return true;
  });
  return words;
}

std::int64_t LineOfWord(std::string_view content, std::size_t index) {
  std::int64_t line = 0;
  ForEachLine(content, [&](std::string_view word) {
    ++line;
    return word.empty() || index-- > 0;
  });
  return line;
}

std::string QuoteTerm(std::string_view text) {
  std::string result;
  result.reserve(text.size() + 8);
  const std::size_t first = text.find_first_not_of(kBlanks);
  const std::size_t last = text.find_last_not_of(kBlanks);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool atEnd = first == text.npos || i < first || i > last;
    if (atEnd && IsBlank(c)) {
      result.append("[").append(1, c).append("]");
    } else {
      if (kSpecial.find(c) != kSpecial.npos) result += '\\';
      result += c;
    }
  }
  return result;
}

const ExpressionPart* JoinedExpression::PartAt(std::size_t offset) const {
  const auto after = std::upper_bound(
      parts.begin(), parts.end(), offset,
      [](std::size_t place, const ExpressionPart& part) { return place < part.begin; });
  if (after == parts.begin()) return nullptr;
  const ExpressionPart& part = *(after - 1);
  return offset <= part.end ? &part : nullptr;
}

JoinedExpression JoinExpressions(const std::vector<std::string>& expressions,
                                 const std::vector<std::string>& words) {
  JoinedExpression joined;
  joined.bracketed = expressions.size() + words.size() > 1 && !expressions.empty();
  std::string& text = joined.text;
  const auto add = [&](std::string_view part) {
    joined.parts.push_back({text.size(), text.size() + part.size(), joined.parts.size()});
    text += part;
  };
  for (const std::string& expression : expressions) {
    if (!text.empty()) text += '|';
    if (joined.bracketed) text += HasReference(expression) ? "(!!" : "(";
    add(expression);
    if (joined.bracketed) text += ')';
  }
  for (const std::string& word : words) {
    if (!text.empty()) text += '|';
    add(QuoteTerm(word));
  }
  return joined;
}

std::optional<int> TagInJoined(int tag, const std::vector<int>& tagCounts, bool bracketed) {
  int before = 0;
  for (std::size_t i = 0; i < tagCounts.size(); ++i) {
    const int brackets = bracketed ? static_cast<int>(i) + 1 : 0;
    if (tag <= before + tagCounts[i]) return tag + brackets;
    before += tagCounts[i];
  }
  return std::nullopt;
}

}  // namespace trovex::cli
