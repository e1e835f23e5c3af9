// Chains of ANDs are as long as a user types them, "a & b & c & ..."; what walks over a tree goes along
// them in a loop, where a call for each operand would need a stack as deep as the chain is long.
//
// The parser makes chains that go on in the right operand, and, of "a & !b & !c", in the left one.
// Compiling puts the smaller operand on the left, so in a compiled tree the left operand's chains are
// short, and it is the right operand that a search has to follow in a loop.

#ifndef TROVEX_EXPR_AND_CHAIN_H
#define TROVEX_EXPR_AND_CHAIN_H

#include <trovex/search_tree.h>
#include <typeinfo>

namespace trovex {

/// `node` if it is an AND of the library's own, else null. A class that a host derived has operations
/// of its own, which must be called.
inline CAndOperator* AsPlainAnd(CSearchTreeItem* node) {
  // There is one description of the library's own class, so its address tells; names are long to compare.
  return node != nullptr && &typeid(*node) == &typeid(CAndOperator)
             ? static_cast<CAndOperator*>(node)
             : nullptr;
}

/// The same for a NOT.
inline CNotOperator* AsPlainNot(CSearchTreeItem* node) {
  return node != nullptr && &typeid(*node) == &typeid(CNotOperator)
             ? static_cast<CNotOperator*>(node)
             : nullptr;
}

/// The same for a leaf.
inline CSubExpression* AsPlainLeaf(CSearchTreeItem* node) {
  return node != nullptr && &typeid(*node) == &typeid(CSubExpression)
             ? static_cast<CSubExpression*>(node)
             : nullptr;
}

}  // namespace trovex

#endif  // TROVEX_EXPR_AND_CHAIN_H
