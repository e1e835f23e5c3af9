// A trie of keywords read backwards, the order in which a text is compared with them.
//
// Every node stands for the ending of one or more keywords. The trie of "he" (keyword 0), "she"
// (1), "his" (2) and "hers" (3):
//
//   root -- e -- h [0] -- s [1]
//     |
//     +---- s -- i -- h [2]
//           |
//           +--- r -- e -- h [3]
//
// To see which keywords end at a place in the text, follow the edges from the root by the bytes
// before that place, right to left, and note each numbered node on the way.
//
// A node keeps its edges in a height-balanced search tree: most nodes have one edge, a few may have
// hundreds. All nodes and edges live in an arena.

#ifndef TROVEX_MATCHER_KEYWORDS_KEYWORD_TRIE_H
#define TROVEX_MATCHER_KEYWORDS_KEYWORD_TRIE_H

#include "matcher/keywords/chunk_arena.h"

namespace trovex {

struct KeywordTrieEdge;

struct KeywordTrieNode {
  /// The root of the search tree of this node's edges; null when it has none.
  KeywordTrieEdge* links = nullptr;
  /// The node one byte nearer the root; null for the root.
  KeywordTrieNode* parent = nullptr;
  /// The number of the keyword that ends here, or -1.
  int keyword = -1;
  /// The number of bytes from the root; the length of the keyword that ends here.
  int depth = 0;

  // What the tables of the keyword set are computed with; see keyword_set.cpp.

  /// The next node of a breadth-first walk.
  KeywordTrieNode* next = nullptr;
  /// The node of the longest ending of this node's path, read from the root, that is itself a path
  /// of the trie; null for the root.
  KeywordTrieNode* fail = nullptr;
  /// How far the search may advance when its comparison stopped at this node.
  int shift = 0;
  /// How far it may advance, judged only by the keywords that begin within what this node has read.
  int maxShift = 0;
};

struct KeywordTrieEdge {
  KeywordTrieEdge* left = nullptr;
  KeywordTrieEdge* right = nullptr;
  KeywordTrieNode* target = nullptr;
  unsigned char label = 0;
  /// The number of edges on the longest way down from here, this one included.
  unsigned char height = 1;
};

/// The node that the edge `label` of `node` leads to, or null.
inline KeywordTrieNode* FindChild(const KeywordTrieNode& node, unsigned char label) {
  const KeywordTrieEdge* edge = node.links;
  while (edge != nullptr && edge->label != label)
    edge = label < edge->label ? edge->left : edge->right;
  return edge == nullptr ? nullptr : edge->target;
}

/// The same, after adding edge and node where there are none. Null when memory is short; the trie
/// is then as it was.
KeywordTrieNode* FindOrAddChild(KeywordTrieNode& node, unsigned char label, ChunkArena& arena);

/// Calls `visit(edge)` for every edge of the search tree `edges`, in the order of the labels.
template <typename Visit>
void ForEachEdge(const KeywordTrieEdge* edges, const Visit& visit) {
  if (edges == nullptr) return;
  ForEachEdge(edges->left, visit);
  visit(*edges);
  ForEachEdge(edges->right, visit);
}

}  // namespace trovex

#endif  // TROVEX_MATCHER_KEYWORDS_KEYWORD_TRIE_H
