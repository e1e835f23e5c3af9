// The parser of typed expressions.
//
//     pattern & pattern      both
//     pattern &20 pattern    both, at most 20 bytes apart
//     !pattern               not
//     ( ... )                grouping, and a tag: brackets are numbered by their "(" from 1 on
//     \& \! \( \) \\         the character itself
//
// One level of the parser reads up to the end of the text or to the ")" that closes it. Text that
// is neither an operator nor an operator's operand collects in the level's segment and becomes a
// leaf when an operator, or the end, asks for it. From this follow rules that users meet:
//
// - Brackets around no operator make no node: their text stays in the segment, where they are the
//   pattern's own groups.
// - Only a level whose operator is returned directly becomes a tagged node. In "((a & b))" the
//   outer level has nothing to return: the inner AND is dropped, and the whole text is one pattern.
// - A node made by brackets stands for the whole segment; other text of the segment is dropped.
// - "a & b & c" is a & (b & c); "a & !b & c" is (a & !b) & c: the operand of "!" ends at the next "&".
//
// Brackets and NOTs may stand inside one another up to a limit, for the parser recurses there, as do the
// walks over the tree that it makes. A chain of ANDs has none: it is read in a loop.
//
// A fault travels as an exception that carries a message number up to ParseExpression; every node
// under construction has an owner on the way, which deletes it.

#include "expr/expression_parser.h"

#include "matcher/limits.h"

#include <limits>
#include <string_view>
#include <utility>

namespace trovex {

namespace {

using Node = std::unique_ptr<CSearchTreeItem>;

/// A fault in a typed expression.
struct ExpressionError {
  MessageNumber number;
};

/// Counts one more level of the parser for as long as the object lives. Levels beyond the limit are
/// refused.
class NestedLevel {
 public:
  explicit NestedLevel(int& depth) : depth_(depth) {
    if (depth_ > kMaxExpressionNesting) throw ExpressionError{MessageNumber::kExpressionTooLong};
    ++depth_;
  }
  ~NestedLevel() { --depth_; }
  NestedLevel(const NestedLevel&) = delete;
  NestedLevel& operator=(const NestedLevel&) = delete;

 private:
  int& depth_;
};

/// What a level of the parser reads: everything up to its end, or one operand, which ends at the next
/// "&" as well.
enum class LevelKind { kPlain, kOperand };

/// What a level of the parser ended at. "&" and ")" are left to be read by the level above.
enum class LevelEnd { kText, kAnd, kBracket };

constexpr bool IsWhiteSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

class ExpressionParser {
 public:
  /// `expression` is zero-terminated and outlives the parser. Every leaf is given the options word.
  ExpressionParser(const char* expression, unsigned long options)
      : cursor_(expression), options_(options) {}

  /// The tree of the whole expression. Throws ExpressionError.
  Node Parse() {
    LevelEnd end = LevelEnd::kText;
    Node root = ParseExpressionLevel(LevelKind::kPlain, end);
    if (bracketDepth_ > 0) throw ExpressionError{MessageNumber::kMissingClosingBracket};
    if (bracketDepth_ < 0) throw ExpressionError{MessageNumber::kMissingOpeningBracket};
    return RequireOperand(std::move(root), MessageNumber::kEmptySubexpression);
  }

  /// The number of brackets opened so far, which is the latest tag.
  int TagCount() const { return tagCounter_; }

 private:
  Node ParseExpressionLevel(LevelKind kind, LevelEnd& end);
  Node ParseBracket();
  Node ParseNot(LevelEnd& end);
  Node ParseAnds(Node left, const char* segment, LevelEnd& end);
  std::unique_ptr<CAndOperator> ParseAnd(Node left, const char* segment);
  int ParseNearBy();

  /// A leaf of the text from `begin` up to the read position.
  Node Leaf(const char* begin) {
    if (++patterns_ > kMaxExpressionPatterns) {
      throw ExpressionError{MessageNumber::kExpressionTooLong};
    }
    auto leaf = std::make_unique<CSubExpression>();
    leaf->SetSubExpression(begin, static_cast<int>(cursor_ - begin), tagCounter_);
    leaf->SetSearchOptions(options_);
    return leaf;
  }

  static Node RequireOperand(Node operand, MessageNumber missing) {
    if (operand == nullptr || operand->IsEmpty() != 0) throw ExpressionError{missing};
    return operand;
  }

  const char* cursor_;
  unsigned long options_;
  int nesting_ = 0;
  int bracketDepth_ = 0;
  int tagCounter_ = 0;
  int patterns_ = 0;
};

/// Reads one level; `end` tells what it ended at. Null when the level's text is to stay in the segment of
/// the level above.
Node ExpressionParser::ParseExpressionLevel(LevelKind kind, LevelEnd& end) {
  const NestedLevel level(nesting_);
  const char* const segment = cursor_;
  bool escaped = false;
  bool contentSeen = false;
  LevelEnd operandEnd = LevelEnd::kText;
  Node current;
  end = LevelEnd::kText;

  for (;;) {
    const char c = *cursor_;
    if (c == '\0') {
      if (current == nullptr && cursor_ > segment) current = Leaf(segment);
      return current;
    }
    if (c == ' ') {
      escaped = false;
      ++cursor_;
    } else if (c == '\\') {
      escaped = !escaped;
      if (!escaped) contentSeen = true;
      ++cursor_;
    } else if (escaped || std::string_view("!&()").find(c) == std::string_view::npos) {
      escaped = false;
      contentSeen = true;
      ++cursor_;
    } else if (c == '!') {
      if (contentSeen || current != nullptr) throw ExpressionError{MessageNumber::kNotWithoutAnd};
      current = ParseNot(operandEnd);
      if (operandEnd == LevelEnd::kBracket) end = LevelEnd::kBracket;
      if (kind == LevelKind::kOperand || end == LevelEnd::kBracket) return current;
    } else if (c == '&') {
      if (kind == LevelKind::kOperand) {
        end = LevelEnd::kAnd;
        return current;
      }
      current = ParseAnds(std::move(current), segment, operandEnd);
      if (operandEnd == LevelEnd::kBracket) {
        end = LevelEnd::kBracket;
        return current;
      }
    } else if (c == '(') {
      current = ParseBracket();
      contentSeen = true;
    } else {
      if (--bracketDepth_ < 0) throw ExpressionError{MessageNumber::kMissingOpeningBracket};
      end = LevelEnd::kBracket;
      return nullptr;
    }
  }
}

/// Reads a bracket level with both brackets. Its node, if it has one, gets the bracket's tag.
Node ExpressionParser::ParseBracket() {
  const int tag = ++tagCounter_;
  ++bracketDepth_;
  ++cursor_;
  LevelEnd end = LevelEnd::kText;
  Node node = ParseExpressionLevel(LevelKind::kPlain, end);
  if (*cursor_ != ')') throw ExpressionError{MessageNumber::kMissingClosingBracket};
  if (node != nullptr) {
    node = RequireOperand(std::move(node), MessageNumber::kEmptySubexpression);
    node->SetTagNr(tag);
  }
  ++cursor_;
  return node;
}

/// Reads "!" and its operand, which ended at `end`.
Node ExpressionParser::ParseNot(LevelEnd& end) {
  auto negation = std::make_unique<CNotOperator>();
  const char* const operand = ++cursor_;
  Node child = ParseExpressionLevel(LevelKind::kOperand, end);
  if (child == nullptr) child = Leaf(operand);
  child = RequireOperand(std::move(child), MessageNumber::kMissingNotOperand);
  negation->SetChild(child.release());
  return negation;
}

/// Reads "&" and what follows it up to `end`: "& b & c" becomes left & (b & c). An operand that is a NOT
/// ends the chain. Without a node for the left operand, that is the text from `segment` on.
Node ExpressionParser::ParseAnds(Node left, const char* segment, LevelEnd& end) {
  std::unique_ptr<CAndOperator> chain = ParseAnd(std::move(left), segment);
  for (CAndOperator* last = chain.get();;) {
    const char* const operand = cursor_;
    Node right = ParseExpressionLevel(LevelKind::kOperand, end);
    if (end == LevelEnd::kAnd) {
      CAndOperator* const next = ParseAnd(std::move(right), operand).release();
      last->SetRightChild(next);
      last = next;
      continue;
    }
    if (right == nullptr) right = Leaf(operand);
    right = RequireOperand(std::move(right), MessageNumber::kMissingRightAndOperand);
    last->SetRightChild(right.release());
    return chain;
  }
}

/// Reads "&" and its distance. The AND has its left operand: `left`, or else the text from `segment` on.
std::unique_ptr<CAndOperator> ExpressionParser::ParseAnd(Node left, const char* segment) {
  auto conjunction = std::make_unique<CAndOperator>();
  if (left == nullptr) left = Leaf(segment);
  left = RequireOperand(std::move(left), MessageNumber::kMissingLeftAndOperand);
  conjunction->SetLeftChild(left.release());
  ++cursor_;
  conjunction->SetNearBy(ParseNearBy());
  return conjunction;
}

/// Reads a signed decimal number with optional white space before it and returns it. Without one,
/// nothing is read and the distance is -1. A number that an int cannot hold is the nearest that it
/// can.
int ExpressionParser::ParseNearBy() {
  using Limits = std::numeric_limits<int>;
  const char* p = cursor_;
  while (IsWhiteSpace(*p))
    ++p;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  if (!IsDigit(*p)) return -1;
  long long value = 0;
  for (; IsDigit(*p); ++p) {
    if (value <= Limits::max()) value = value * 10 + (*p - '0');
  }
  cursor_ = p;
  if (negative) value = -value;
  if (value > Limits::max()) return Limits::max();
  if (value < Limits::min()) return Limits::min();
  return static_cast<int>(value);
}

}  // namespace

ParsedExpression ParseExpression(const char* expression, unsigned long options) {
  try {
    ExpressionParser parser(expression, options);
    Node root = parser.Parse();
    return {std::move(root), parser.TagCount()};
  } catch (const ExpressionError& error) {
    return {nullptr, 0, error.number};
  }
}

}  // namespace trovex
