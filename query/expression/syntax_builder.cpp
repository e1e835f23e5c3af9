// Nodes of a pattern's tree, and its size.

#include "query/expression/syntax_builder.h"

#include <algorithm>
#include <cstddef>

namespace trovex {

namespace {

/// Beyond every limit; products stay below it.
constexpr double kUncountableSize = 1e15;

}  // namespace

int SyntaxBuilder::Add(SyntaxKind kind, int value) {
  SyntaxNode node;
  node.kind = kind;
  node.value = value;
  tree_.nodes.push_back(node);
  return tree_.Root();
}

int SyntaxBuilder::AddSet(const CharSet& set) {
  if (set.count() == 1) {
    int byte = 0;
    while (!set[static_cast<std::size_t>(byte)])
      ++byte;
    return Add(SyntaxKind::kByte, byte);
  }
  tree_.sets.push_back(set);
  return Add(SyntaxKind::kSet, static_cast<int>(tree_.sets.size()) - 1);
}

int SyntaxBuilder::AddGroup(int group, int body) {
  const int node = Add(SyntaxKind::kGroup, group);
  Latest().firstChild = body;
  return node;
}

int SyntaxBuilder::AddRepeat(int body, int min, int max) {
  const int node = Add(SyntaxKind::kRepeat);
  Latest().firstChild = body;
  Latest().min = min;
  Latest().max = max;
  return node;
}

int SyntaxBuilder::Join(SyntaxKind kind, const std::vector<int>& children) {
  if (children.size() == 1) return children.front();
  if (children.empty()) return Add(SyntaxKind::kEmpty);
  for (std::size_t i = 0; i + 1 < children.size(); ++i)
    tree_.nodes[static_cast<std::size_t>(children[i])].nextSibling = children[i + 1];
  const int parent = Add(kind);
  Latest().firstChild = children.front();
  return parent;
}

SyntaxExtent MeasureExtent(const SyntaxTree& tree) {
  std::vector<SyntaxExtent> extents(tree.nodes.size());
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    const SyntaxNode& node = tree.nodes[i];
    SyntaxExtent& extent = extents[i];
    int children = 0;
    for (int child = node.firstChild; child != kNoNode; child = tree.Node(child).nextSibling) {
      const SyntaxExtent& inner = extents[static_cast<std::size_t>(child)];
      extent.size += inner.size;
      extent.nesting = std::max(extent.nesting, inner.nesting);
      ++children;
    }
    switch (node.kind) {
      case SyntaxKind::kEmpty:
      case SyntaxKind::kConcat:
        break;
      case SyntaxKind::kAlternate:
        extent.size += children - 1;
        break;
      case SyntaxKind::kGroup:
        ++extent.size;
        ++extent.nesting;
        break;
      case SyntaxKind::kRepeat:
        extent.size *= node.max == kUnbounded ? std::max(node.min, 1) : node.max;
        ++extent.size;
        ++extent.nesting;
        break;
      default:
        extent.size = 1;
    }
    extent.size = std::min(extent.size, kUncountableSize);
  }
  return extents.back();
}

}  // namespace trovex
