// A search tree as plain values, and its evaluation told in the slowest way there is.
//
// The operators know their children's results only as ModelArray values. What a leaf finds comes
// from a function that the test hands in: prepared arrays for the tests of the operators, the
// exported plain functions for the tests of whole expressions.

#ifndef TROVEX_TESTS_EXPR_TREE_MODEL_H
#define TROVEX_TESTS_EXPR_TREE_MODEL_H

#include "tests/expr/found_items_model.h"

#include <trovex/search_tree.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace trovex::testing {

struct ModelNode {
  enum class Kind { kLeaf, kAnd, kNot };

  Kind kind = Kind::kLeaf;
  int tag = 0;

  // An operator's operands; a NOT has only the left one.
  std::unique_ptr<ModelNode> left;
  std::unique_ptr<ModelNode> right;
  int nearBy = -1;

  // A leaf's pattern and what was counted in its slice.
  std::string text;
  int tagBase = 0;
  int groupCount = 0;
  int strippedBrackets = 0;

  bool IsEmpty() const {
    if (kind == Kind::kLeaf) return text.empty();
    return left == nullptr || (kind == Kind::kAnd && right == nullptr);
  }
};

/// What a leaf finds; no value stands for a null array.
using ModelLeafSearch = std::function<std::optional<ModelArray>(const ModelNode&)>;

inline std::optional<ModelArray> Evaluate(const ModelNode* node, int tagNr,
                                          const ModelLeafSearch& searchLeaf);

inline std::optional<ModelArray> EvaluateChilds(const ModelNode& node, int tagNr,
                                                const ModelLeafSearch& searchLeaf) {
  if (node.left == nullptr || node.right == nullptr) return std::nullopt;
  const bool anywhere = node.nearBy < 0;

  std::optional<ModelArray> left = Evaluate(node.left.get(), tagNr, searchLeaf);
  if (!left) return std::nullopt;
  if (!left->IsNegative() && left->IsEmpty()) return left;
  if (anywhere && left->IsNegative() && !left->IsEmpty()) return ModelArray{};

  std::optional<ModelArray> right = Evaluate(node.right.get(), tagNr, searchLeaf);
  if (!right) return std::nullopt;
  if (anywhere && right->IsNegative() && !right->IsEmpty()) return ModelArray{};
  if (!right->IsNegative() && right->IsEmpty()) return right;

  if (anywhere && left->IsNegative()) return right;
  if (anywhere && right->IsNegative()) return left;
  return ModelMerge(*left, *right, node.nearBy);
}

inline std::optional<ModelArray> Evaluate(const ModelNode* node, int tagNr,
                                          const ModelLeafSearch& searchLeaf) {
  if (node == nullptr) return std::nullopt;
  if (node->kind == ModelNode::Kind::kLeaf) return searchLeaf(*node);
  std::optional<ModelArray> result;
  if (node->kind == ModelNode::Kind::kAnd) {
    result = EvaluateChilds(*node, tagNr, searchLeaf);
  } else {
    result = Evaluate(node->left.get(), tagNr, searchLeaf);
    if (result) result->negative = result->negative == 0 ? 1 : 0;
  }
  if (result && tagNr >= 1 && tagNr == node->tag) result->SetTagMatched();
  return result;
}

inline std::string DescribeLeaf(int tag, const std::string& text, int tagBase, int groupCount,
                                int strippedBrackets) {
  return "{" + text + "|tag " + std::to_string(tag) + " base " + std::to_string(tagBase) +
         " groups " + std::to_string(groupCount) + " stripped " + std::to_string(strippedBrackets) +
         "}";
}

inline std::string Describe(const ModelNode* node) {
  if (node == nullptr) return "none";
  const std::string tag = std::to_string(node->tag);
  switch (node->kind) {
    case ModelNode::Kind::kAnd:
      return "AND<near " + std::to_string(node->nearBy) + " tag " + tag + ">(" +
             Describe(node->left.get()) + ", " + Describe(node->right.get()) + ")";
    case ModelNode::Kind::kNot:
      return "NOT<tag " + tag + ">(" + Describe(node->left.get()) + ")";
    case ModelNode::Kind::kLeaf:
      break;
  }
  return DescribeLeaf(node->tag, node->text, node->tagBase, node->groupCount,
                      node->strippedBrackets);
}

inline std::string Describe(CSearchTreeItem* node) {
  if (node == nullptr) return "none";
  const std::string tag = std::to_string(node->GetTagNr());
  if (auto* both = dynamic_cast<CAndOperator*>(node)) {
    return "AND<near " + std::to_string(both->GetNearBy()) + " tag " + tag + ">(" +
           Describe(both->GetLeftChild()) + ", " + Describe(both->GetRightChild()) + ")";
  }
  if (auto* inverted = dynamic_cast<CNotOperator*>(node)) {
    return "NOT<tag " + tag + ">(" + Describe(inverted->GetChild()) + ")";
  }
  if (auto* leaf = dynamic_cast<CSubExpression*>(node)) {
    const CString& text = leaf->GetSubExpression();
    const std::string bytes(static_cast<const char*>(text),
                            static_cast<std::size_t>(text.GetLength()));
    return DescribeLeaf(leaf->GetTagNr(), bytes, leaf->GetTagBase(), leaf->GetGroupCount(),
                        leaf->GetStrippedBrackets());
  }
  return "unknown node";
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_EXPR_TREE_MODEL_H
