// The language of typed expressions told rule by rule: one function a byte of the language, a fault
// thrown as its message number. What comes out is a tree of plain values, or the number.
//
// The model knows nothing of compiling; the cost exchange, which needs to know whether a leaf
// compiles, takes that as a function.

#ifndef TROVEX_TESTS_EXPR_EXPRESSION_MODEL_H
#define TROVEX_TESTS_EXPR_EXPRESSION_MODEL_H

#include "tests/expr/leaf_model.h"
#include "tests/expr/tree_model.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace trovex::testing {

inline std::string ModelMessage(int number) {
  switch (number) {
    case 9807:
      return "The closing bracket ) is missing in a subexpression.";
    case 9815:
      return "The opening bracket is missing in a subexpression.";
    case 9819:
      return "The search expression contains an empty subexpression.";
    case 9820:
      return "When a not operator (!) is used between two subexpressions, it must be preceded by "
             "an "
             "and operator (&).";
    case 9821:
      return "The operand after the not operator is missing.";
    case 9822:
      return "The left operand of an and operator (&) is missing.";
    case 9823:
      return "The right operand of an and operator is missing.";
    default:
      return "";
  }
}

class ExpressionModel {
 public:
  explicit ExpressionModel(std::string expression) : text_(std::move(expression)) { Parse(); }

  /// The number of the fault's message; 0 when there is none.
  int Fault() const { return fault_; }
  const ModelNode* Tree() const { return tree_.get(); }
  ModelNode* Tree() { return tree_.get(); }
  int TagCount() const { return tags_; }

 private:
  struct FaultNumber {
    int number;
  };

  enum class Role { kPlain, kNotOperand, kRightOperand };

  /// One run of the parser from an opening to its end, with what it sees on its way.
  struct Level {
    Role role;
    std::size_t start;
    bool escaped = false;
    bool contentSeen = false;
    std::unique_ptr<ModelNode> current = nullptr;
    bool closed = false;
    bool done = false;
  };

  void Parse() {
    try {
      tree_ = RunLevel(Role::kPlain).current;
      if (depth_ > 0) throw FaultNumber{9807};
      if (depth_ < 0) throw FaultNumber{9815};
      if (tree_ == nullptr || tree_->IsEmpty()) throw FaultNumber{9819};
    } catch (const FaultNumber& fault) {
      fault_ = fault.number;
      tree_.reset();
    }
  }

  /// The byte at the read position; zero at the end.
  char Here() const { return at_ < text_.size() ? text_[at_] : '\0'; }

  std::unique_ptr<ModelNode> LeafFrom(std::size_t start) const {
    return ModelLeaf(std::string_view(text_).substr(start, at_ - start), tags_);
  }

  Level RunLevel(Role role) {
    Level level{.role = role, .start = at_};
    while (!level.done)
      Step(level);
    return level;
  }

  void Step(Level& level) {
    const char byte = Here();
    const bool plainOperator = !level.escaped && byte != '\0';
    if (byte == '\0') {
      End(level);
    } else if (byte == ' ') {
      level.escaped = false;
      ++at_;
    } else if (byte == '\\') {
      level.escaped = !level.escaped;
      if (!level.escaped) level.contentSeen = true;
      ++at_;
    } else if (byte == '!' && plainOperator) {
      Not(level);
    } else if (byte == '&' && plainOperator) {
      And(level);
    } else if (byte == '(' && plainOperator) {
      Open(level);
    } else if (byte == ')' && plainOperator) {
      Close(level);
    } else {
      level.escaped = false;
      level.contentSeen = true;
      ++at_;
    }
  }

  void End(Level& level) {
    if (level.current == nullptr && at_ > level.start) level.current = LeafFrom(level.start);
    level.done = true;
  }

  void Not(Level& level) {
    if (level.contentSeen || level.current != nullptr) throw FaultNumber{9820};
    ++at_;
    const std::size_t operandStart = at_;
    Level operand = RunLevel(Role::kNotOperand);
    if (operand.current == nullptr) operand.current = LeafFrom(operandStart);
    if (operand.current->IsEmpty()) throw FaultNumber{9821};
    level.current = std::make_unique<ModelNode>();
    level.current->kind = ModelNode::Kind::kNot;
    level.current->left = std::move(operand.current);
    if (level.role != Role::kPlain || operand.closed) {
      level.closed = operand.closed;
      level.done = true;
    }
  }

  void And(Level& level) {
    if (level.role == Role::kNotOperand) {
      level.done = true;
      return;
    }
    auto both = std::make_unique<ModelNode>();
    both->kind = ModelNode::Kind::kAnd;
    both->left = level.current != nullptr ? std::move(level.current) : LeafFrom(level.start);
    if (both->left->IsEmpty()) throw FaultNumber{9822};
    ++at_;
    int length = 0;
    int distance = 0;
    if (std::sscanf(text_.c_str() + at_, "%d%n", &distance, &length) == 1) {
      both->nearBy = distance;
      at_ += static_cast<std::size_t>(length);
    }
    const std::size_t operandStart = at_;
    Level operand = RunLevel(Role::kRightOperand);
    both->right = operand.current != nullptr ? std::move(operand.current) : LeafFrom(operandStart);
    if (both->right->IsEmpty()) throw FaultNumber{9823};
    level.current = std::move(both);
    if (level.role == Role::kRightOperand || operand.closed) {
      level.closed = operand.closed;
      level.done = true;
    }
  }

  void Open(Level& level) {
    const int tag = ++tags_;
    ++depth_;
    ++at_;
    Level inner = RunLevel(Role::kPlain);
    if (Here() != ')') throw FaultNumber{9807};
    if (inner.current != nullptr) {
      if (inner.current->IsEmpty()) throw FaultNumber{9819};
      inner.current->tag = tag;
    }
    level.current = std::move(inner.current);
    level.contentSeen = true;
    ++at_;
  }

  void Close(Level& level) {
    if (--depth_ < 0) throw FaultNumber{9815};
    level.current.reset();
    level.closed = true;
    level.done = true;
  }

  std::string text_;
  std::size_t at_ = 0;
  int depth_ = 0;
  int tags_ = 0;
  int fault_ = 0;
  std::unique_ptr<ModelNode> tree_;
};

/// The message that compiling a leaf gives; empty when there is none.
using ModelCompile = std::function<std::string(const ModelNode&)>;

/// Puts the cheaper operand of every AND on the left, up to the first leaf that does not compile.
/// Returns that leaf's message, or an empty string.
inline std::string ExchangeByCost(ModelNode& node, const ModelCompile& compile, int& cost) {
  if (node.kind == ModelNode::Kind::kLeaf) {
    cost = static_cast<int>(node.text.size());
    return compile(node);
  }
  int left = 0;
  int right = 0;
  std::string message = ExchangeByCost(*node.left, compile, left);
  if (message.empty() && node.kind == ModelNode::Kind::kAnd) {
    message = ExchangeByCost(*node.right, compile, right);
    if (message.empty() && left > right) node.left.swap(node.right);
  }
  cost = left + right + 1;
  return message;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_EXPR_EXPRESSION_MODEL_H
