// Two passes over a pattern's tree: what can be empty, then what stands where.

#include "matcher/pattern/pattern_hazards.h"

#include <cstddef>
#include <vector>

namespace trovex {

namespace {

class HazardFinder {
 public:
  explicit HazardFinder(const SyntaxTree& tree)
      : tree_(tree),
        nullable_(tree.nodes.size()),
        groupNullable_(static_cast<std::size_t>(tree.groupCount) + 1) {}

  PatternHazards Run() {
    for (std::size_t i = 0; i < tree_.nodes.size(); ++i) {
      nullable_[i] = IsNullable(tree_.nodes[i]);
      if (tree_.nodes[i].kind == SyntaxKind::kGroup) GroupNullable(tree_.nodes[i]) = nullable_[i];
    }
    PatternHazards hazards;
    for (const SyntaxNode& node : tree_.nodes) {
      if (IsEmptyLoop(node)) hazards.groups = true;
      if (node.kind == SyntaxKind::kBackReference) hazards.search = true;
    }
    return hazards;
  }

 private:
  bool IsNullable(const SyntaxNode& node) {
    switch (node.kind) {
      case SyntaxKind::kEmpty:
      case SyntaxKind::kAnchor:
        return true;
      case SyntaxKind::kBackReference:
        return GroupNullable(node);
      case SyntaxKind::kGroup:
        return Nullable(node.firstChild);
      case SyntaxKind::kRepeat:
        return node.min == 0 || Nullable(node.firstChild);
      case SyntaxKind::kConcat:
        return CountNullable(node) == CountChildren(node);
      case SyntaxKind::kAlternate:
        return CountNullable(node) > 0;
      default:
        return false;
    }
  }

  int CountNullable(const SyntaxNode& node) const {
    int count = 0;
    for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling) {
      if (Nullable(c)) ++count;
    }
    return count;
  }
  int CountChildren(const SyntaxNode& node) const {
    int count = 0;
    for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
      ++count;
    return count;
  }

  /// Whether an anchor stands in the node or below. The depth is that of the pattern's brackets,
  /// which is limited.
  bool HoldsAnchor(int index) const {
    const SyntaxNode& node = tree_.Node(index);
    if (node.kind == SyntaxKind::kAnchor) return true;
    for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling) {
      if (HoldsAnchor(c)) return true;
    }
    return false;
  }

  /// Whether `node` may go round without consuming anything in a way that the engine does not see.
  /// It does see the plainest, "(a*)*" and the like, where no anchor is inside.
  bool IsEmptyLoop(const SyntaxNode& node) const {
    if (node.kind != SyntaxKind::kRepeat || node.max != kUnbounded) return false;
    int body = node.firstChild;
    if (!Nullable(body)) return false;
    if (HoldsAnchor(body)) return true;
    while (tree_.Node(body).kind == SyntaxKind::kGroup)
      body = tree_.Node(body).firstChild;
    const SyntaxNode& inner = tree_.Node(body);
    return inner.kind != SyntaxKind::kRepeat || inner.min > 0 || inner.max > 1 ||
           Nullable(inner.firstChild);
  }

  bool Nullable(int index) const { return nullable_[static_cast<std::size_t>(index)]; }
  std::vector<bool>::reference GroupNullable(const SyntaxNode& node) {
    return groupNullable_[static_cast<std::size_t>(node.value)];
  }

  const SyntaxTree& tree_;
  std::vector<bool> nullable_;
  std::vector<bool> groupNullable_;
};

}  // namespace

PatternHazards FindHazards(const SyntaxTree& tree) {
  return HazardFinder(tree).Run();
}

}  // namespace trovex
