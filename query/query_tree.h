// What an expression of the second door means: a tree of operands.
//
// A node is a pattern, a word that is looked for by its sound, or an operator above other nodes. A
// chain "a & b & c" is one node with three children, however long it is, and so is a chain of "|";
// so the tree is never deeper than the brackets that were typed.
//
// Patterns are trees of their own (matcher/pattern/pattern_syntax.h) over bytes of the Windows Latin-1
// code page. Everything that an option says about letters is written into their sets: upper and
// lower case, spelling variants. Whoever compiles them only has to know whole words and whether
// back-references compare letters without their case.

#ifndef TROVEX_QUERY_QUERY_TREE_H
#define TROVEX_QUERY_QUERY_TREE_H

#include "matcher/pattern/pattern_syntax.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trovex {

/// A part of the typed expression: bytes as they were typed, the end exclusive.
struct TypedRange {
  std::size_t begin = 0;
  std::size_t end = 0;

  friend bool operator==(const TypedRange&, const TypedRange&) = default;
};

enum class QueryKind : unsigned char {
  kPattern,  // a leaf: `pattern`
  kSound,    // a leaf: `word`
  kAnd,      // two children or more, `links` between them
  kOr,       // two children or more
  kNot,      // one child, which is no kNot: "!!a" is a
};

enum class DistanceUnit : unsigned char { kCharacters, kWords };

/// What stands between two operands of an AND.
struct AndLink {
  /// The greatest distance, 0 or more. Numbers that are too large are the largest.
  std::optional<std::int64_t> distance;
  DistanceUnit unit = DistanceUnit::kCharacters;
  /// Whether the right operand's item must begin at or after the end of the left one's: "&>".
  bool ordered = false;

  /// Whether pairs of items decide: a distance, an order, or both. Otherwise the operands may lie
  /// anywhere. The parser has made sure that each of the two operands of such a link can have items
  /// or is the NOT of an operand that can, and that they are not both a NOT.
  bool IsNear() const { return distance.has_value() || ordered; }

  friend bool operator==(const AndLink&, const AndLink&) = default;
};

/// One pattern. Neighbouring alternatives of an "either" that are patterns are one pattern.
struct QueryPattern {
  /// Never faulty; its `translate` is the identity. An alternation may stand in a sequence without
  /// a group around it, and a set may be empty: then it matches nowhere.
  SyntaxTree tree;
  /// The tag of the tree's group 1. The groups are numbered without gaps, as the tags are.
  int firstTag = 0;
  bool hasBackReferences = false;

  int TagOfGroup(int group) const { return firstTag + group - 1; }
};

struct QueryNode {
  QueryKind kind = QueryKind::kPattern;
  /// In the order in which they were typed. Never null.
  std::vector<std::unique_ptr<QueryNode>> children;
  /// kAnd: `links[i]` stands between the children i and i + 1. The chain is grouped from the right:
  /// a &5 b &9 c is a &5 (b &9 c).
  std::vector<AndLink> links;
  /// kPattern.
  std::unique_ptr<QueryPattern> pattern;
  /// kSound: letters of the code page, at least one.
  std::string word;
  /// The tags of the brackets that hold exactly this operand, the innermost first. They belong to
  /// every item of this node, with the item's own range.
  std::vector<int> tags;
  /// The part of the expression that this node is made of, without brackets around it.
  TypedRange typed;
};

}  // namespace trovex

#endif  // TROVEX_QUERY_QUERY_TREE_H
