#include "matcher/keywords/keyword_trie.h"

#include "tests/matcher/keywords/malloc_watch.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <array>
#include <numeric>
#include <random>
#include <vector>

namespace trovex {
namespace {

using Labels = std::vector<unsigned char>;

Labels AllLabels() {
  Labels labels(256);
  std::iota(labels.begin(), labels.end(), static_cast<unsigned char>(0));
  return labels;
}

/// The height of a search tree that is balanced and knows its heights; fails the test otherwise.
int BalancedHeight(const KeywordTrieEdge* edge) {
  if (edge == nullptr) return 0;
  const int left = BalancedHeight(edge->left);
  const int right = BalancedHeight(edge->right);
  EXPECT_LE(std::abs(left - right), 1);
  EXPECT_EQ(edge->height, std::max(left, right) + 1);
  return std::max(left, right) + 1;
}

/// Adds children in the order of `labels` and checks the node after each of them.
void ExpectChildrenAreKept(const Labels& labels) {
  ChunkArena arena;
  KeywordTrieNode node;
  std::array<const KeywordTrieNode*, 256> children{};
  for (const unsigned char label : labels) {
    ASSERT_EQ(FindChild(node, label), nullptr);
    children[label] = FindOrAddChild(node, label, arena);
    ASSERT_NE(children[label], nullptr);
    ASSERT_EQ(FindOrAddChild(node, label, arena), children[label]);
    ASSERT_LE(BalancedHeight(node.links), 11);
    for (std::size_t c = 0; c < children.size(); ++c)
      ASSERT_EQ(FindChild(node, static_cast<unsigned char>(c)), children[c]);
  }
  Labels visited;
  ForEachEdge(node.links, [&](const KeywordTrieEdge& edge) { visited.push_back(edge.label); });
  EXPECT_EQ(visited, AllLabels());
}

TEST(KeywordTrie, ChildrenAreFoundInWhateverOrderTheyCame) {
  Labels labels = AllLabels();
  ExpectChildrenAreKept(labels);
  std::reverse(labels.begin(), labels.end());
  ExpectChildrenAreKept(labels);
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::shuffle(labels.begin(), labels.end(), random);
    ExpectChildrenAreKept(labels);
  }
}

TEST(KeywordTrie, AChildKnowsItsPlace) {
  ChunkArena arena;
  KeywordTrieNode root;
  KeywordTrieNode* const child = FindOrAddChild(root, 'a', arena);
  ASSERT_NE(child, nullptr);
  const KeywordTrieNode* const grandchild = FindOrAddChild(*child, 'b', arena);
  ASSERT_NE(grandchild, nullptr);
  EXPECT_EQ(child->parent, &root);
  EXPECT_EQ(child->depth, 1);
  EXPECT_EQ(grandchild->parent, child);
  EXPECT_EQ(grandchild->depth, 2);
  EXPECT_EQ(grandchild->keyword, -1);
}

TEST(KeywordTrie, WithoutMemoryTheTrieStaysAsItWas) {
  ChunkArena arena;
  KeywordTrieNode node;
  const testing::AllocationLimit limit(1);
  int added = 0;
  while (added < 256 && FindOrAddChild(node, static_cast<unsigned char>(added), arena) != nullptr)
    ++added;
  ASSERT_GT(added, 0);
  ASSERT_LT(added, 256);
  for (int label = 0; label < 256; ++label)
    EXPECT_EQ(FindChild(node, static_cast<unsigned char>(label)) != nullptr, label < added);
}

}  // namespace
}  // namespace trovex
