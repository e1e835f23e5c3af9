// Patterns through the whole road of a search, held against the engine alone.
//
//     input:  flags, byte after the text, group, pattern, 0, text
//
// The keyword set and the automaton only keep lines off the engine, so both roads must give the same
// answer. Where they are known to read a pattern differently, both still run, for what the
// sanitizers may see.

#include "api/matcher_state.h"
#include "fuzz/input.h"
#include "fuzz/require.h"
#include "tests/heap_text.h"
#include "tests/matcher/line_filter/closure_reference.h"

#include <trovex/functions.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace trovex::fuzz {
namespace {

using testing::HeapText;

struct Flags {
  bool fold;
  bool words;

  explicit Flags(std::uint8_t bits) : fold((bits & 1) != 0), words((bits & 2) != 0) {}
};

struct Answer {
  int found;
  int start;
  int end;

  std::string Description() const {
    return found == 0 ? "nothing" : std::to_string(start) + ".." + std::to_string(end);
  }
};

Answer Find(HeapText& text, int group, bool engineOnly) {
  const std::string before(text.Data(), static_cast<std::size_t>(text.Length()) + 1);
  Matcher().engineOnly = engineOnly;
  Answer answer{0, 0, 0};
  answer.found = Search(text.Data(), text.Length(), &answer.start, &answer.end, group);
  Matcher().engineOnly = false;
  Require(std::string_view(text.Data(), before.size()) == before, "a search leaves the text alone");
  return answer;
}

void RequireRangeInText(const Answer& answer, int length) {
  if (answer.found == 0) return;
  Require(answer.start >= -1 && answer.start <= answer.end && answer.end <= length,
          "a range lies in the text, or before the line for a group without part");
}

constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Whether `pattern` holds a backslash and one of `escaped` after it.
bool HasEscaped(std::string_view pattern, std::string_view escaped) {
  for (std::size_t i = 0; i + 1 < pattern.size(); ++i) {
    if (pattern[i] == '\\' && escaped.find(pattern[i + 1]) != std::string_view::npos) return true;
  }
  return false;
}

/// The decimal number at `pattern[i]`; 0 where there is none.
long NumberAt(std::string_view pattern, std::size_t i) {
  constexpr long kLargest = 1000000;
  long number = 0;
  for (; i < pattern.size() && IsDigit(pattern[i]); ++i)
    number = std::min(number * 10 + (pattern[i] - '0'), kLargest);
  return number;
}

/// The greatest bound of an interval.
long LargestBound(std::string_view pattern) {
  long largest = 1;
  for (std::size_t i = 1; i < pattern.size(); ++i) {
    if (pattern[i - 1] == '{' || pattern[i - 1] == ',') {
      largest = std::max(largest, NumberAt(pattern, i));
    }
  }
  return largest;
}

/// How many copies of its innermost operand the engine makes of repetitions in repetitions: an
/// interval multiplies them by its bound, and "+" doubles them, because it becomes "xx*" ("a++++" is
/// sixteen).
long NestedCopies(std::string_view pattern) {
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

bool HasAnchor(std::string_view pattern) {
  return pattern.find_first_of("^$") != std::string_view::npos || HasEscaped(pattern, "bB<>`'");
}

/// Whether an interval stands where the engine takes its braces for ordinary bytes, or has a bound
/// that the automaton reads as none.
bool HasDebatableInterval(std::string_view pattern) {
  for (std::size_t i = pattern.find('{'); i != std::string_view::npos;
       i = pattern.find('{', i + 1)) {
    if (i == 0) return true;
    const std::string_view bounds = pattern.substr(i + 1);
    if (bounds.starts_with('0') || bounds.starts_with(',')) return true;
    if (bounds.find(",0") != std::string_view::npos) return true;
    if (std::string_view("(|\n^$*+?{}").find(pattern[i - 1]) != std::string_view::npos) return true;
    if (i >= 2 && pattern[i - 2] == '\\') return true;
  }
  return false;
}

/// Whether the two roads may read `pattern` differently in `text`.
bool MayBeReadDifferently(std::string_view pattern, std::string_view text, Flags flags) {
  constexpr auto kNowhere = std::string_view::npos;
  if (text.find('_') != kNowhere && HasEscaped(pattern, "wWbB<>")) return true;
  if (pattern.find("[.") != kNowhere || pattern.find("[=") != kNowhere) return true;
  if (flags.fold && pattern.find('[') != kNowhere && pattern.find('-') != kNowhere) return true;
  if (HasDebatableInterval(pattern)) return true;
  // The engine forgets anchors in the copies that it makes of a repeated group: it finds "+a" by
  // "(\B.){2}", but not by "\B.\B.".
  if (HasAnchor(pattern) && NestedCopies(pattern) > 1) return true;
  return !testing::ClosuresAreComplete(Matcher().installed->pattern->lineFilter);
}

}  // namespace
}  // namespace trovex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace trovex::fuzz;
  Input input(data, size);
  const Flags flags(input.Byte());
  const char after = static_cast<char>(input.Byte());
  const int group = input.SignedByte();
  const std::string pattern = input.UpToZero();
  const std::string bytes = input.Rest();

  HeapText text(bytes, after);
  const char* const message = Compile(pattern.c_str(), flags.fold ? 1 : 0, flags.words ? 1 : 0);
  const Answer whole = Find(text, group, false);
  const Answer plain = Find(text, group, true);
  RequireRangeInText(whole, text.Length());
  RequireRangeInText(plain, text.Length());
  if (message != nullptr) {
    Require(whole.found == 0 && plain.found == 0, "a faulty pattern finds nothing");
  } else if (!MayBeReadDifferently(pattern, bytes, flags)) {
    RequireSame(whole.Description(), plain.Description(), "both roads give the same answer");
  }
  FreeBuffersInTrovexDll();
  Require(Find(text, 0, false).found == 0, "nothing is found when nothing is installed");
  return 0;
}
