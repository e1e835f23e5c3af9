// Adding edges, and keeping their search trees balanced.

#include "matcher/keywords/keyword_trie.h"

#include <algorithm>

namespace trovex {

namespace {

int Height(const KeywordTrieEdge* edge) {
  return edge == nullptr ? 0 : edge->height;
}

void UpdateHeight(KeywordTrieEdge& edge) {
  edge.height = static_cast<unsigned char>(1 + std::max(Height(edge.left), Height(edge.right)));
}

/// Lifts the left child of `top` into its place.
void RotateRight(KeywordTrieEdge*& top) {
  KeywordTrieEdge* const lifted = top->left;
  top->left = lifted->right;
  lifted->right = top;
  UpdateHeight(*top);
  UpdateHeight(*lifted);
  top = lifted;
}

/// Lifts the right child of `top` into its place.
void RotateLeft(KeywordTrieEdge*& top) {
  KeywordTrieEdge* const lifted = top->right;
  top->right = lifted->left;
  lifted->left = top;
  UpdateHeight(*top);
  UpdateHeight(*lifted);
  top = lifted;
}

/// Restores the balance at `top` after one edge was added below it.
void Rebalance(KeywordTrieEdge*& top) {
  KeywordTrieEdge*& left = top->left;
  KeywordTrieEdge*& right = top->right;
  if (left != nullptr && left->height > Height(right) + 1) {
    if (left->right != nullptr && left->right->height > Height(left->left)) RotateLeft(left);
    RotateRight(top);
  } else if (right != nullptr && right->height > Height(left) + 1) {
    if (right->left != nullptr && right->left->height > Height(right->right)) RotateRight(right);
    RotateLeft(top);
  } else {
    UpdateHeight(*top);
  }
}

/// Adds `edge`, whose label is new, to the search tree `top`.
void InsertEdge(KeywordTrieEdge*& top, KeywordTrieEdge* edge) {
  if (top == nullptr) {
    top = edge;
    return;
  }
  InsertEdge(edge->label < top->label ? top->left : top->right, edge);
  Rebalance(top);
}

}  // namespace

KeywordTrieNode* FindOrAddChild(KeywordTrieNode& node, unsigned char label, ChunkArena& arena) {
  if (KeywordTrieNode* const child = FindChild(node, label)) return child;
  auto* const edge = arena.New<KeywordTrieEdge>();
  auto* const child = arena.New<KeywordTrieNode>();
  if (edge == nullptr || child == nullptr) return nullptr;
  child->parent = &node;
  child->depth = node.depth + 1;
  edge->label = label;
  edge->target = child;
  InsertEdge(node.links, edge);
  return child;
}

}  // namespace trovex
