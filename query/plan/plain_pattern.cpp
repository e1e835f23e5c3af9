#include "query/plan/plain_pattern.h"

#include "text/utf8_character.h"

#include <cstddef>
#include <cstring>
#include <vector>

namespace trovex {

namespace {

bool IsAsciiSet(const CharSet& set) {
  return (set >> 0x80).none();
}

bool IsLineAnchor(const SyntaxNode& node) {
  const auto anchor = static_cast<Anchor>(node.value);
  return anchor == Anchor::kLineStart || anchor == Anchor::kLineEnd ||
         anchor == Anchor::kTextStart || anchor == Anchor::kTextEnd;
}

/// Whether `node` by itself matches ASCII alone, whatever its children do.
bool IsPlainNode(const SyntaxTree& tree, const SyntaxNode& node) {
  switch (node.kind) {
    case SyntaxKind::kByte:
      return node.value < 0x80;
    case SyntaxKind::kSet:
      return IsAsciiSet(tree.Set(node));
    case SyntaxKind::kAnchor:
      return IsLineAnchor(node);
    case SyntaxKind::kBackReference:
      return false;
    default:
      return true;
  }
}

/// Whether the empty string matches; `mayBeEmpty` knows it of the children.
bool MayBeEmpty(const SyntaxTree& tree, const SyntaxNode& node,
                const std::vector<bool>& mayBeEmpty) {
  const auto child = [&](int index) { return mayBeEmpty[static_cast<std::size_t>(index)]; };
  switch (node.kind) {
    case SyntaxKind::kByte:
    case SyntaxKind::kSet:
      return false;
    case SyntaxKind::kRepeat:
      return node.min == 0 || child(node.firstChild);
    case SyntaxKind::kGroup:
      return child(node.firstChild);
    case SyntaxKind::kConcat:
      for (int i = node.firstChild; i != kNoNode; i = tree.Node(i).nextSibling) {
        if (!child(i)) return false;
      }
      return true;
    case SyntaxKind::kAlternate:
      for (int i = node.firstChild; i != kNoNode; i = tree.Node(i).nextSibling) {
        if (child(i)) return true;
      }
      return false;
    default:
      return true;
  }
}

}  // namespace

bool IsPlainPattern(const SyntaxTree& tree) {
  std::vector<bool> mayBeEmpty;
  mayBeEmpty.reserve(tree.nodes.size());
  for (const SyntaxNode& node : tree.nodes) {
    if (!IsPlainNode(tree, node)) return false;
    mayBeEmpty.push_back(MayBeEmpty(tree, node, mayBeEmpty));
  }
  return !mayBeEmpty.empty() && !mayBeEmpty.back();
}

bool MayHoldMarks(TextView text) {
  constexpr int kFirstByteOfMarks = 0xCC;
  static_assert((0xC0 | kFirstMark >> 6) == kFirstByteOfMarks);
  static_assert((0xC0 | kLastMark >> 6) == kFirstByteOfMarks);
  return !text.empty() && std::memchr(text.data(), kFirstByteOfMarks, text.size()) != nullptr;
}

}  // namespace trovex
