// The extraction walks over the token stream with a stack of operands. Of each operand it knows
// what is fixed of its matches: how they begin, how they end, what they contain, and the whole of
// them if that is fixed. The operators say how two such pieces of knowledge become one.
//
// Sets and anchors leave nothing fixed. So a string is exact only when the pattern is that string.

#include "matcher/line_filter/must_string.h"

#include "matcher/costs.h"
#include "matcher/limits.h"

#include <algorithm>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex {

namespace {

/// Strings of which none contains another.
using StringList = std::vector<std::string>;

/// What is fixed of the matches of one operand; everything is empty where nothing is.
struct Operand {
  std::string is;            // the whole match
  std::string left;          // how it begins
  std::string right;         // how it ends
  StringList in;             // what it contains
  bool endsWithRun = false;  // `right` is the last of `in`

  void NoteRun() { endsWithRun = !in.empty() && in.back() == right; }
};

/// Evaluates the stream within a budget.
class Evaluation {
 public:
  explicit Evaluation(CompileBudget& budget) : budget_(budget) {}

  /// The must string of the pattern that ends with the first end marker; nothing when it has none.
  std::optional<MustEntry> Run(const std::vector<Token>& tokens);

 private:
  void AddString(StringList& list, std::string_view added);
  StringList CommonStrings(const StringList& a, const StringList& b);
  std::vector<std::size_t> CommonLengths(std::string_view a, std::string_view b);
  bool Holds(std::string_view text, std::string_view part);
  void Alternate(Operand& left, const Operand& right);
  void Concatenate(Operand& left, const Operand& right);
  void ExtendRun(Operand& left, const Operand& right);
  void Charge(std::size_t bytes) { budget_.ChargeSteps(static_cast<std::int64_t>(bytes)); }

  CompileBudget& budget_;
};

/// Whether `part` occurs in `text`.
bool Evaluation::Holds(std::string_view text, std::string_view part) {
  if (part.size() > text.size()) return false;
  // In the worst case everything but the last byte of `part` occurs everywhere.
  Charge(1 + (text.size() - part.size() + 1) * (1 + part.size() / kMustBytesPerStep) / 2);
  return text.find(part) != std::string_view::npos;
}

/// Adds `added` to `list`, unless some string of the list contains it; strings that it contains
/// leave the list.
void Evaluation::AddString(StringList& list, std::string_view added) {
  Charge(list.size());
  const auto containsAdded = [&](const std::string& listed) { return Holds(listed, added); };
  if (std::any_of(list.begin(), list.end(), containsAdded)) return;
  std::erase_if(list, [&](const std::string& listed) { return Holds(added, listed); });
  list.emplace_back(added);
}

/// For each start in `a`, how long the longest string is that begins there and occurs in `b`.
std::vector<std::size_t> Evaluation::CommonLengths(std::string_view a, std::string_view b) {
  Charge(a.size() * (b.size() + 8));
  std::vector<std::size_t> longest(a.size(), 0);
  // length[j]: what a, from the start of the last round on, and b, from j on, have in common.
  std::vector<std::size_t> length(b.size() + 1, 0);
  for (std::size_t i = a.size(); i-- > 0;) {
    for (std::size_t j = 0; j < b.size(); ++j) {
      length[j] = a[i] == b[j] ? length[j + 1] + 1 : 0;
      longest[i] = std::max(longest[i], length[j]);
    }
  }
  return longest;
}

/// What matches of both operands contain: all that some string of `a` and some of `b` share.
StringList Evaluation::CommonStrings(const StringList& a, const StringList& b) {
  StringList common;
  for (const std::string& first : a) {
    for (const std::string& second : b) {
      const std::vector<std::size_t> lengths = CommonLengths(first, second);
      for (std::size_t i = 0; i < first.size(); ++i) {
        if (lengths[i] > 0) AddString(common, std::string_view(first).substr(i, lengths[i]));
      }
    }
  }
  return common;
}

void KeepCommonPrefix(std::string& a, const std::string& b) {
  a.erase(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first, a.end());
}

void KeepCommonSuffix(std::string& a, const std::string& b) {
  a.erase(a.begin(), std::mismatch(a.rbegin(), a.rend(), b.rbegin(), b.rend()).first.base());
}

Operand ByteOperand(Token byte) {
  const std::string text(1, static_cast<char>(byte));
  return {text, text, text, {text}, true};
}

/// Makes `left` what is fixed of the matches of `left` or `right`.
void Evaluation::Alternate(Operand& left, const Operand& right) {
  if (left.is != right.is) left.is.clear();
  KeepCommonPrefix(left.left, right.left);
  KeepCommonSuffix(left.right, right.right);
  left.in = CommonStrings(left.in, right.in);
  left.NoteRun();
}

/// Makes `left` what is fixed of a match of `left` and one of `right` after it.
void Evaluation::Concatenate(Operand& left, const Operand& right) {
  if (left.endsWithRun && !right.is.empty()) {
    ExtendRun(left, right);
  } else {
    for (const std::string& contained : right.in)
      AddString(left.in, contained);
    if (!left.right.empty() && !right.left.empty()) AddString(left.in, left.right + right.left);
  }
  Charge((right.left.size() + right.right.size()) / kMustBytesPerStep + 1);

  if (!left.is.empty()) left.left += right.left;
  if (right.is.empty()) left.right.clear();
  left.right += right.right;
  if (left.is.empty() || right.is.empty()) {
    left.is.clear();
  } else {
    left.is += right.is;
  }
  if (right.is.empty() || !left.endsWithRun) left.NoteRun();
}

/// Adds what is new where `right` is a string, and `left` ends with the string that it contains last:
/// this one becomes longer. So a long run of bytes is not copied for each of them.
void Evaluation::ExtendRun(Operand& left, const Operand& right) {
  const std::string& added = right.is;
  std::string run = std::move(left.in.back());
  left.in.pop_back();
  run += added;
  Charge(left.in.size() + added.size());
  std::erase_if(left.in, [&](const std::string& listed) {
    // It has not been in the run before.
    const std::size_t size = std::min(run.size(), listed.size() + added.size() - 1);
    return Holds(std::string_view(run).substr(run.size() - size), listed);
  });
  left.in.push_back(std::move(run));
}

/// The longest string that `operand` contains, the first of them.
MustEntry LongestOf(const Operand& operand) {
  const auto longest = std::max_element(
      operand.in.begin(), operand.in.end(),
      [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
  if (longest == operand.in.end()) return {};
  return {*longest, *longest == operand.is};
}

std::optional<MustEntry> Evaluation::Run(const std::vector<Token>& tokens) {
  std::vector<Operand> stack;
  const auto popRight = [&stack] {
    Operand right = std::move(stack.back());
    stack.pop_back();
    return right;
  };
  for (const Token token : tokens) {
    Charge(1);
    switch (token) {
      case TokOptional:
      case TokStar:
        stack.back() = {};
        break;
      case TokPlus:
        stack.back().is.clear();
        break;
      case TokOr:
      case TokTopOr: {
        const Operand right = popRight();
        Alternate(stack.back(), right);
        break;
      }
      case TokConcat: {
        const Operand right = popRight();
        Concatenate(stack.back(), right);
        break;
      }
      case EndMarker(0): {
        if (stack.size() != 1) return std::nullopt;
        MustEntry must = LongestOf(stack.back());
        return must.text.empty() ? std::nullopt : std::optional(std::move(must));
      }
      case 0:  // a must string cannot hold a NUL
        return std::nullopt;
      default:
        stack.push_back(IsByteToken(token) ? ByteOperand(token) : Operand{});
        break;
    }
  }
  return std::nullopt;
}

}  // namespace

void ExtractMustString(PatternAutomaton& automaton) noexcept {
  CompileBudget budget = automaton.budget.Part(kMaxMustStringSteps, kMaxLineFilterBytes);
  try {
    std::optional<MustEntry> must = Evaluation(budget).Run(automaton.tokens);
    if (must.has_value()) {
      automaton.mustList.insert(automaton.mustList.begin(), std::move(*must));
    }
  } catch (const BudgetExhausted&) {
  } catch (const std::bad_alloc&) {
  }
  automaton.budget.Settle(budget);
}

}  // namespace trovex
