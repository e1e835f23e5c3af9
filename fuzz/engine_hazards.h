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

/// The greatest bound of an interval.
inline long LargestBound(std::string_view pattern) {
  long largest = 1;
  for (std::size_t i = 1; i < pattern.size(); ++i) {
    if (pattern[i - 1] == '{' || pattern[i - 1] == ',') {
      largest = std::max(largest, NumberAt(pattern, i));
    }
  }
  return largest;
}

/// How many repetitions repeat what ends in a repetition or a bracket.
inline int NestedRepetitions(std::string_view pattern) {
  int nested = 0;
  for (std::size_t i = 1; i < pattern.size(); ++i) {
    if (std::string_view("*+?})").find(pattern[i - 1]) == std::string_view::npos) continue;
    if (std::string_view("*+?{").find(pattern[i]) != std::string_view::npos) ++nested;
  }
  return nested;
}

/// How many copies of its innermost operand the engine makes of repetitions in repetitions: an
/// interval multiplies them by its bound, and "+" doubles them, because it becomes "xx*" ("a++++" is
/// sixteen).
inline long NestedCopies(std::string_view pattern) {
  constexpr long kTooMany = 1000000;
  long copies = 1;
  for (std::size_t i = 1; i < pattern.size(); ++i) {
    if (std::string_view("*+?})").find(pattern[i - 1]) == std::string_view::npos) continue;
    if (pattern[i] == '+') copies *= 2;
    if (pattern[i] == '{') {
      const std::string_view interval = pattern.substr(i, pattern.find('}', i) - i + 1);
      copies *= LargestBound(interval) + 1;
    }
    copies = std::min(copies, kTooMany);
  }
  return copies;
}

inline bool HasAnchor(std::string_view pattern) {
  return pattern.find_first_of("^$") != std::string_view::npos || HasEscaped(pattern, "bB<>`'");
}

inline EngineUse SafeUse(std::string_view pattern) {
  constexpr std::size_t kLongestPattern = 64;
  constexpr int kMostBrackets = 20;
  constexpr long kMostCopies = 200;
  // Behind an anchor, what can be empty is copied once more for every way to reach it, and the ways
  // multiply: "^a*{2}*{2}*{2}*{2}*{2}" does not compile within minutes.
  constexpr int kMostNestedWithAnchor = 4;
  constexpr long kMostCopiesWithAnchor = 4;
  // Copies of a group with alternatives that can be empty: here too the ways multiply, as in
  // "(|||||||||||||x){6,}".
  constexpr long kMostCopiesOfAlternatives = 4;

  EngineUse use;
  const auto brackets = std::count(pattern.begin(), pattern.end(), '(');
  if (pattern.size() > kLongestPattern || brackets > kMostBrackets ||
      LargestBound(pattern) * NestedCopies(pattern) > kMostCopies) {
    use.compile = false;
  }
  const bool alternatives = pattern.find_first_of("|\n") != std::string_view::npos;
  if (alternatives && NestedCopies(pattern) > kMostCopiesOfAlternatives) use.compile = false;
  if (HasAnchor(pattern)) {
    if (NestedRepetitions(pattern) > kMostNestedWithAnchor) use.compile = false;
    if (NestedCopies(pattern) > kMostCopiesWithAnchor) use.compile = false;
    if (HasRepeated(pattern, ")")) use.groups = false;
  }
  if (HasEscaped(pattern, "123456789")) {
    if (HasRepeated(pattern, ")123456789")) use.compile = false;
    use.groups = false;
    use.longestText = 24;
  }
  return use;
}

}  // namespace trovex::fuzz

#endif  // TROVEX_FUZZ_ENGINE_HAZARDS_H
