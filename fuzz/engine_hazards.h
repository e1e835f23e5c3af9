// Patterns that a fuzzer keeps from the engine of the C library, because the engine itself would not
// come back from them: it recurses once per nested bracket, writes intervals out, tries
// back-references one by one, and may never finish filling the registers of a repeated group that
// holds an anchor.
//
// The rules here are coarse on purpose: they look at bytes, not at syntax.

#ifndef TROVEX_FUZZ_ENGINE_HAZARDS_H
#define TROVEX_FUZZ_ENGINE_HAZARDS_H

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace trovex::fuzz {

/// What may be asked of the engine for one pattern.
struct EngineUse {
  bool compile = true;
  bool groups = true;  // the range of a group, beside that of the whole match
  std::size_t longestText = 400;
};

constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Whether `pattern` holds a backslash and one of `escaped` behind it.
inline bool HasEscaped(std::string_view pattern, std::string_view escaped) {
  for (std::size_t i = 0; i + 1 < pattern.size(); ++i) {
    if (pattern[i] == '\\' && escaped.find(pattern[i + 1]) != std::string_view::npos) return true;
  }
  return false;
}

/// Whether a postfix operator stands behind one of `operandEnds`.
inline bool HasRepeated(std::string_view pattern, std::string_view operandEnds) {
  for (std::size_t i = 0; i + 1 < pattern.size(); ++i) {
    if (operandEnds.find(pattern[i]) != std::string_view::npos &&
        std::string_view("*+?{").find(pattern[i + 1]) != std::string_view::npos) {
      return true;
    }
  }
  return false;
}

/// The decimal number at `pattern[i]`; 0 where there is none.
inline long NumberAt(std::string_view pattern, std::size_t i) {
  constexpr long kLargest = 1000000;
  long number = 0;
  for (; i < pattern.size() && IsDigit(pattern[i]); ++i)
    number = std::min(number * 10 + (pattern[i] - '0'), kLargest);
  return number;
}

/// How many copies of its innermost operand the engine makes of a pattern at most: an interval
/// multiplies them by its bound, and "+" doubles them, because it becomes "xx*" ("a++++" is sixteen).
inline long CopiesOf(std::string_view pattern) {
  constexpr long kTooMany = 1000000;
  long copies = 1;
  for (std::size_t i = 1; i < pattern.size(); ++i) {
    long factor = 1;
    if (pattern[i] == '+' && std::string_view("*+?})").find(pattern[i - 1]) < 5) factor = 2;
    if (pattern[i - 1] == '{' || pattern[i - 1] == ',') {
      factor = std::max(NumberAt(pattern, i) + 1, factor);
    }
    copies = std::min(copies * factor, kTooMany);
  }
  return copies;
}

inline EngineUse SafeUse(std::string_view pattern) {
  constexpr std::size_t kLongestPattern = 64;
  constexpr int kMostBrackets = 20;
  constexpr long kMostCopies = 200;

  EngineUse use;
  const auto brackets = std::count(pattern.begin(), pattern.end(), '(');
  if (pattern.size() > kLongestPattern || brackets > kMostBrackets ||
      CopiesOf(pattern) > kMostCopies) {
    use.compile = false;
  }
  if (HasEscaped(pattern, "123456789")) {
    if (HasRepeated(pattern, ")123456789")) use.compile = false;
    use.groups = false;
    use.longestText = 24;
  }
  const bool anchors =
      pattern.find_first_of("^$") != std::string_view::npos || HasEscaped(pattern, "bB<>`'");
  if (anchors && HasRepeated(pattern, ")")) use.groups = false;
  return use;
}

}  // namespace trovex::fuzz

#endif  // TROVEX_FUZZ_ENGINE_HAZARDS_H
