// The nodes of a search tree that do not search by themselves: what they own, and how options,
// costs and compile errors travel through them.

#include "api/messages.h"

#include <trovex/search_tree.h>
#include <utility>

using trovex::LoadMessageText;
using trovex::MessageNumber;

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

const char* CUnarySearchTreeItem::OptimizeAndCompile(int* cost) {
  if (cost == nullptr) return LoadMessageText(MessageNumber::kEmptySubexpression);
  if (child_ == nullptr) {
    *cost = 0;
    return LoadMessageText(MessageNumber::kEmptySubexpression);
  }
  const char* error = child_->OptimizeAndCompile(cost);
  *cost += 1;
  return error;
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

CBinarySearchTreeItem::~CBinarySearchTreeItem() {
  delete std::exchange(leftChild_, nullptr);
  delete std::exchange(rightChild_, nullptr);
}

int CBinarySearchTreeItem::IsEmpty() {
  return leftChild_ == nullptr || rightChild_ == nullptr ? 1 : 0;
}

void CBinarySearchTreeItem::SetSearchOptions(unsigned long options) {
  if (leftChild_ != nullptr) leftChild_->SetSearchOptions(options);
  if (rightChild_ != nullptr) rightChild_->SetSearchOptions(options);
}

const char* CBinarySearchTreeItem::OptimizeAndCompile(int* cost) {
  if (cost == nullptr) return LoadMessageText(MessageNumber::kEmptySubexpression);
  *cost = 0;

  int leftCost = 0;
  if (leftChild_ == nullptr) return LoadMessageText(MessageNumber::kEmptySubexpression);
  if (const char* error = leftChild_->OptimizeAndCompile(&leftCost)) return error;

  int rightCost = 0;
  if (rightChild_ == nullptr) return LoadMessageText(MessageNumber::kEmptySubexpression);
  if (const char* error = rightChild_->OptimizeAndCompile(&rightCost)) return error;

  // The left operand is searched first and may make the right one's search unnecessary.
  if (leftCost > rightCost) std::swap(leftChild_, rightChild_);
  *cost = leftCost + rightCost + 1;
  return nullptr;
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
