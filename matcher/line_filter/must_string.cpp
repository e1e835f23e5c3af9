// The extraction walks over the token stream with a stack of operands. Of each operand it knows
// what is fixed of its matches: how they begin, how they end, what they contain, and the whole of
// them if that is fixed. The operators say how two such pieces of knowledge become one.
//
// Sets and anchors leave nothing fixed. So a string is exact only when the pattern is that string.

#include "matcher/line_filter/must_string.h"

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
  std::string is;     // the whole match
  std::string left;   // how it begins
  std::string right;  // how it ends
  StringList in;      // what it contains
};

/// Adds `added` to `list`, unless some string of the list contains it; strings that it contains
/// leave the list.
void AddString(StringList& list, std::string_view added) {
  const auto containsAdded = [&](const std::string& listed) {
    return listed.find(added) != std::string::npos;
  };
  if (std::any_of(list.begin(), list.end(), containsAdded)) return;
  std::erase_if(list, [&](const std::string& listed) {
    return added.find(listed) != std::string_view::npos;
  });
  list.emplace_back(added);
}

/// For each start in `a`, how long the longest string is that begins there and occurs in `b`.
std::vector<std::size_t> CommonLengths(std::string_view a, std::string_view b) {
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
StringList CommonStrings(const StringList& a, const StringList& b) {
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
  return {text, text, text, {text}};
}

/// Makes `left` what is fixed of the matches of `left` or `right`.
void Alternate(Operand& left, const Operand& right) {
  if (left.is != right.is) left.is.clear();
  KeepCommonPrefix(left.left, right.left);
  KeepCommonSuffix(left.right, right.right);
  left.in = CommonStrings(left.in, right.in);
}

/// Makes `left` what is fixed of a match of `left` and one of `right` behind it.
void Concatenate(Operand& left, const Operand& right) {
  for (const std::string& contained : right.in)
    AddString(left.in, contained);
  if (!left.right.empty() && !right.left.empty()) AddString(left.in, left.right + right.left);

  if (!left.is.empty()) left.left += right.left;
  if (right.is.empty()) left.right.clear();
  left.right += right.right;
  if (left.is.empty() || right.is.empty()) {
    left.is.clear();
  } else {
    left.is += right.is;
  }
}

/// The longest string that `operand` contains, the first of them.
MustEntry LongestOf(const Operand& operand) {
  const auto longest = std::max_element(
      operand.in.begin(), operand.in.end(),
      [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
  if (longest == operand.in.end()) return {};
  return {*longest, *longest == operand.is};
}

/// The must string of the pattern that ends with the first end marker; nothing when it has none.
std::optional<MustEntry> FindMustString(const std::vector<Token>& tokens) {
  std::vector<Operand> stack;
  const auto popRight = [&stack] {
    Operand right = std::move(stack.back());
    stack.pop_back();
    return right;
  };
  for (const Token token : tokens) {
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
  try {
    std::optional<MustEntry> must = FindMustString(automaton.tokens);
    if (!must.has_value()) return;
    automaton.mustList.insert(automaton.mustList.begin(), std::move(*must));
  } catch (const std::bad_alloc&) {
    return;
  }
}

}  // namespace trovex
