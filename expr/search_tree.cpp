// The nodes of a search tree that do not search by themselves: what they own, and how options travel
// through them. How they are compiled stands in api/tree_functions.cpp.

#include "expr/and_chain.h"

#include <trovex/search_tree.h>
#include <new>
#include <utility>
#include <vector>

CSearchTreeItem::CSearchTreeItem() = default;
CSearchTreeItem::CSearchTreeItem(const CSearchTreeItem& other) = default;
CSearchTreeItem& CSearchTreeItem::operator=(const CSearchTreeItem& other) = default;
CSearchTreeItem::~CSearchTreeItem() = default;

int CSearchTreeItem::IsEmpty() {
  return 1;
}

void CSearchTreeItem::SetSearchOptions(unsigned long /*options*/) {}

const char* CSearchTreeItem::OptimizeAndCompile(int* /*cost*/) {
  return nullptr;
}

CFoundItemArray* CSearchTreeItem::Search(const char* /*text*/, int /*length*/, int /*tagNr*/) {
  return nullptr;
}

int CSearchTreeItem::GetTagNr() {
  return tagNumber_;
}

void CSearchTreeItem::SetTagNr(int tagNr) {
  tagNumber_ = tagNr;
}

CUnarySearchTreeItem::CUnarySearchTreeItem() = default;
CUnarySearchTreeItem::CUnarySearchTreeItem(const CUnarySearchTreeItem& other) = default;
CUnarySearchTreeItem& CUnarySearchTreeItem::operator=(const CUnarySearchTreeItem& other) = default;

CUnarySearchTreeItem::~CUnarySearchTreeItem() {
  delete std::exchange(child_, nullptr);
}

int CUnarySearchTreeItem::IsEmpty() {
  return child_ == nullptr ? 1 : 0;
}

void CUnarySearchTreeItem::SetSearchOptions(unsigned long options) {
  if (child_ != nullptr) child_->SetSearchOptions(options);
}

CSearchTreeItem* CUnarySearchTreeItem::GetChild() {
  return child_;
}

void CUnarySearchTreeItem::SetChild(CSearchTreeItem* child) {
  child_ = child;
}

CBinarySearchTreeItem::CBinarySearchTreeItem() = default;
CBinarySearchTreeItem::CBinarySearchTreeItem(const CBinarySearchTreeItem& other) = default;
CBinarySearchTreeItem& CBinarySearchTreeItem::operator=(const CBinarySearchTreeItem& other) =
    default;

/// Deletes the operands from left to right. An AND among them is emptied first and its operands take its
/// place, so that chains are deleted in a loop, and without memory.
CBinarySearchTreeItem::~CBinarySearchTreeItem() {
  CSearchTreeItem* left = std::exchange(leftChild_, nullptr);
  CSearchTreeItem* right = std::exchange(rightChild_, nullptr);
  for (;;) {
    // (a & b) & rest  becomes  a & (b & rest).
    while (CAndOperator* const both = trovex::AsPlainAnd(left)) {
      left = both->leftChild_;
      both->leftChild_ = both->rightChild_;
      both->rightChild_ = right;
      right = both;
    }
    delete left;
    CAndOperator* const both = trovex::AsPlainAnd(right);
    if (both == nullptr) break;
    left = std::exchange(both->leftChild_, nullptr);
    right = std::exchange(both->rightChild_, nullptr);
    delete both;
  }
  delete right;
}

int CBinarySearchTreeItem::IsEmpty() {
  return leftChild_ == nullptr || rightChild_ == nullptr ? 1 : 0;
}

namespace {

/// Hands `options` to the operands below `root`, from left to right. The ANDs on the way down to the leftmost
/// operand wait for their turn in a list, however many of them a host has put there.
void SetInTurn(CBinarySearchTreeItem& root, unsigned long options) {
  std::vector<CBinarySearchTreeItem*> waiting = {&root};
  CSearchTreeItem* next = root.GetLeftChild();
  for (;;) {
    if (CAndOperator* const both = trovex::AsPlainAnd(next)) {
      waiting.push_back(both);
      next = both->GetLeftChild();
      continue;
    }
    if (next != nullptr) next->SetSearchOptions(options);
    if (waiting.empty()) return;
    next = waiting.back()->GetRightChild();
    waiting.pop_back();
  }
}

}  // namespace

void CBinarySearchTreeItem::SetSearchOptions(unsigned long options) {
  try {
    SetInTurn(*this, options);
  } catch (const std::bad_alloc&) {
    // Without memory for the list, each operand sees to its own.
    if (leftChild_ != nullptr) leftChild_->SetSearchOptions(options);
    if (rightChild_ != nullptr) rightChild_->SetSearchOptions(options);
  }
}

CSearchTreeItem* CBinarySearchTreeItem::GetLeftChild() {
  return leftChild_;
}

CSearchTreeItem* CBinarySearchTreeItem::GetRightChild() {
  return rightChild_;
}

void CBinarySearchTreeItem::SetLeftChild(CSearchTreeItem* child) {
  leftChild_ = child;
}

void CBinarySearchTreeItem::SetRightChild(CSearchTreeItem* child) {
  rightChild_ = child;
}
