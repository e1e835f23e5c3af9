#include "matcher/engine/pattern_limits.h"

#include "matcher/engine/engine_rehearsal.h"
#include "matcher/limits.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace trovex {

namespace {

/// How often the body of a repetition is written out.
double RoundsOf(const SyntaxNode& repeat) {
  return repeat.max == kUnbounded ? repeat.min + 1 : repeat.max;
}

/// How many operators a repetition is written with: "a{2}" needs none, "a{0,3}" is "((a?a)?a)?".
double OperatorsOf(const SyntaxNode& repeat) {
  return repeat.max == kUnbounded ? 1 : repeat.max - repeat.min;
}

/// The size of `node`, whose children have `inside` together, and are `children`.
double SizeOf(const SyntaxNode& node, double inside, double children) {
  switch (node.kind) {
    case SyntaxKind::kEmpty:
      return 0;
    case SyntaxKind::kGroup:
      return inside + 1;
    case SyntaxKind::kConcat:
      return inside;
    case SyntaxKind::kAlternate:
      return inside + children - 1;
    case SyntaxKind::kRepeat:
      return inside > 0 ? RoundsOf(node) * inside + OperatorsOf(node) : 0;
    default:
      return 1;
  }
}

}  // namespace

PatternSize MeasurePattern(const SyntaxTree& tree) {
  std::vector<double> sizes(tree.nodes.size(), 0);
  std::vector<int> nesting(tree.nodes.size(), 0);
  double largest = 0;
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    const SyntaxNode& node = tree.nodes[i];
    double inside = 0;
    double children = 0;
    for (int c = node.firstChild; c != kNoNode; c = tree.Node(c).nextSibling) {
      const auto child = static_cast<std::size_t>(c);
      inside += sizes[child];
      ++children;
      nesting[i] = std::max(nesting[i], nesting[child]);
    }
    sizes[i] = SizeOf(node, inside, children);
    // What "{0}" takes away was written out before.
    largest = std::max({largest, inside, sizes[i]});
    if (node.kind == SyntaxKind::kRepeat || node.kind == SyntaxKind::kGroup) ++nesting[i];
  }
  return {std::max(nesting.back(), tree.skippedOperators), largest};
}

MessageNumber CheckPatternLimits(const SyntaxTree& tree, CompileBudget& budget) {
  const PatternSize pattern = MeasurePattern(tree);
  if (pattern.nesting > kMaxPatternNesting || pattern.size > kMaxPatternSize) {
    return MessageNumber::kExpressionTooLong;
  }
  // The engine finds a fault before it does anything of note.
  if (tree.faulty) return MessageNumber::kNone;
  try {
    const int depth = RehearseEngineCompile(tree, kMaxEmptySteps, budget);
    return depth > kMaxEmptySteps ? MessageNumber::kExpressionTooLong : MessageNumber::kNone;
  } catch (const BudgetExhausted&) {
    return MessageNumber::kMemoryOverflow;
  }
}

MessageNumber CheckPatternLimits(const SyntaxTree& tree) {
  CompileBudget budget;
  return CheckPatternLimits(tree, budget);
}

}  // namespace trovex
