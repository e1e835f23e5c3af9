// The search tree: what a typed expression becomes, and what a host runs over one text after
// another.
//
//     CSearchTreeItem            base of all nodes
//       CUnarySearchTreeItem     a node with one child
//         CNotOperator
//       CBinarySearchTreeItem    a node with two children
//         CAndOperator           with a near-by distance
//       CSubExpression           a leaf: one pattern
//
// GetSearchTree (functions.h) builds a tree from what a user typed. A host may also build one
// itself: make the nodes, SetSearchOptions on the root, OptimizeAndCompile on the root, then Search
// on the root as often as wanted, deleting each array that it returns, and at last delete the root.
//
// A node owns its children: deleting the root frees the whole tree. Copies are shallow: a copy
// shares the children of its source, and only one of the two may be destroyed with them (give the
// other null children first).
//
// The compiled patterns of the leaves live in the module's environments (functions.h). They are
// gone after ResetEnvironment, hence also after the next GetSearchTree whose parse succeeds.

#ifndef TROVEX_SEARCH_TREE_H
#define TROVEX_SEARCH_TREE_H

#include <trovex/export.h>
#include <trovex/found_items.h>
#include <trovex/host_framework.h>

#include <cstdint>

namespace trovex {
class LeafPattern;
}

/// The bits of the options word that SetSearchOptions takes.
enum SearchOptions : unsigned long {
  /// Mask of the search mode. A mode other than the two below finds nothing.
  kSearchModeMask = 0x0F,
  /// The leaf is an extended regular expression.
  kSearchModeRegularExpression = 1,
  /// The leaf is a word to be found by its Soundex code.
  kSearchModePhonetic = 2,
  /// Only whole words match.
  kSearchMatchWords = 0x10,
  /// Upper and lower case differ.
  kSearchCaseSensitive = 0x20
};

/// The base of all nodes. By itself it is empty, compiles to nothing and finds nothing.
class TROVEX_EXPORT CSearchTreeItem {
 public:
  CSearchTreeItem();
  CSearchTreeItem(const CSearchTreeItem& other);
  CSearchTreeItem& operator=(const CSearchTreeItem& other);

  virtual ~CSearchTreeItem();

  /// 1 when the node lacks an operand or its text, else 0.
  virtual int IsEmpty();

  /// Hands the options word to every leaf below.
  virtual void SetSearchOptions(unsigned long options);

  /// Compiles every leaf into an environment of its own and puts the cheaper operand of each AND on
  /// the left. Writes a measure of the subtree's size to `cost`: the length of a leaf's text, one
  /// more for each operator.
  ///
  /// Returns null on success, else a message text; operands that were exchanged stay exchanged.
  virtual const char* OptimizeAndCompile(int* cost);

  /// Searches `length` bytes of `text` and returns a new array, which the caller deletes. With whole
  /// words the byte text[length] is looked at; for phonetic leaves it must be zero.
  ///
  /// `tagNr` asks for one bracket of the typed expression, counted from 1 in the order of the "(":
  /// its matches come back with their tag-matched flag set. 0 or less asks for none.
  ///
  /// Returns null when a child is missing, a leaf is not compiled (any longer), or memory runs out.
  virtual CFoundItemArray* Search(const char* text, int length, int tagNr);

  /// The number of the bracket that this node stands for; 0 for none.
  int GetTagNr();
  void SetTagNr(int tagNr);

 private:
  std::int32_t tagNumber_ = 0;
};

/// A node with one child.
class TROVEX_EXPORT CUnarySearchTreeItem : public CSearchTreeItem {
 public:
  CUnarySearchTreeItem();
  CUnarySearchTreeItem(const CUnarySearchTreeItem& other);
  CUnarySearchTreeItem& operator=(const CUnarySearchTreeItem& other);
  /// Deletes the child.
  ~CUnarySearchTreeItem() override;

  int IsEmpty() override;
  void SetSearchOptions(unsigned long options) override;
  const char* OptimizeAndCompile(int* cost) override;

  /// The child, which stays the node's; null when there is none.
  CSearchTreeItem* GetChild();
  /// Stores `child`, which is the node's from now on. The old child is neither deleted nor
  /// returned.
  void SetChild(CSearchTreeItem* child);

 private:
  CSearchTreeItem* child_ = nullptr;  // owned, except by a shallow copy
};

/// A node with two children.
class TROVEX_EXPORT CBinarySearchTreeItem : public CSearchTreeItem {
 public:
  CBinarySearchTreeItem();
  CBinarySearchTreeItem(const CBinarySearchTreeItem& other);
  CBinarySearchTreeItem& operator=(const CBinarySearchTreeItem& other);
  /// Deletes the children, the left one first.
  ~CBinarySearchTreeItem() override;

  int IsEmpty() override;
  void SetSearchOptions(unsigned long options) override;
  const char* OptimizeAndCompile(int* cost) override;

  /// The children, which stay the node's; null where there is none.
  CSearchTreeItem* GetLeftChild();
  CSearchTreeItem* GetRightChild();
  /// Store `child`, which is the node's from now on. The old child is neither deleted nor returned.
  void SetLeftChild(CSearchTreeItem* child);
  void SetRightChild(CSearchTreeItem* child);

 private:
  CSearchTreeItem* leftChild_ = nullptr;   // owned, except by a shallow copy
  CSearchTreeItem* rightChild_ = nullptr;  // owned, except by a shallow copy
};

/// A leaf: one pattern and how it is to be searched.
class TROVEX_EXPORT CSubExpression : public CSearchTreeItem {
 public:
  CSubExpression();
  CSubExpression(const CSubExpression& other);
  CSubExpression& operator=(const CSubExpression& other);
  /// Frees the text.
  ~CSubExpression() override;

  int IsEmpty() override;
  void SetSearchOptions(unsigned long options) override;
  const char* OptimizeAndCompile(int* cost) override;
  CFoundItemArray* Search(const char* text, int length, int tagNr) override;

  // Both overloads throw std::bad_alloc when memory runs out; the leaf is then as it was. So does
  // copying a leaf.

  /// Takes `text` as the pattern, as it is. What the other overload counts keeps its values.
  void SetSubExpression(const CString& text);

  /// Takes `length` bytes at `text`, a slice of a typed expression, as the pattern. `lastTagNr` is
  /// the number of the last bracket opened up to the end of the slice.
  ///
  /// Blanks at both ends go; a backslash before "&" or "!" goes; then, as long as the text begins
  /// with "(" and ends with ")", these two go, whether or not they belong to each other. The
  /// brackets opened in the slice are counted, so that Search can tell which group of the pattern a
  /// tag is.
  void SetSubExpression(const char* text, int length, int lastTagNr);

  /// 1 when the leaf is searched as a regular expression, else 0.
  int RegularExpression();
  /// 1 when the leaf is searched by its Soundex code, else 0.
  int PhoneticSearch();
  /// 16 when only whole words match, else 0.
  int MatchWords();
  /// 32 when upper and lower case differ, else 0.
  int CaseSensitive();

  /// The pattern as it is compiled; valid until it is set again.
  const CString& GetSubExpression() const { return text_; }
  /// The number of the last bracket opened before this leaf's slice.
  int GetTagBase() const { return tagBase_; }
  /// How many brackets were opened in this leaf's slice.
  int GetGroupCount() const { return groupCount_; }
  /// How many enclosing pairs of brackets were taken off the text.
  int GetStrippedBrackets() const { return strippedBrackets_; }

 private:
  friend class trovex::LeafPattern;

  CString text_;
  std::uint32_t options_ = 0;
  std::int32_t environmentNumber_ = -1;
  std::int32_t tagBase_ = 0;
  std::int32_t groupCount_ = 0;
  std::int32_t strippedBrackets_ = 0;
};

/// NOT: inverts the negative flag of its child's result and changes no item.
class TROVEX_EXPORT CNotOperator : public CUnarySearchTreeItem {
 public:
  CNotOperator();
  CNotOperator(const CNotOperator& other);
  CNotOperator& operator=(const CNotOperator& other);
  ~CNotOperator() override;

  CFoundItemArray* Search(const char* text, int length, int tagNr) override;
};

/// AND: the matches of both operands, if both occur; with a near-by distance only those that lie
/// within that distance of each other. An operand that is a NOT must not occur (within the
/// distance).
class TROVEX_EXPORT CAndOperator : public CBinarySearchTreeItem {
 public:
  CAndOperator();
  CAndOperator(const CAndOperator& other);
  CAndOperator& operator=(const CAndOperator& other);
  ~CAndOperator() override;

  CFoundItemArray* Search(const char* text, int length, int tagNr) override;

  /// Search without the last step, the marking of this node's own tag.
  CFoundItemArray* SearchChilds(const char* text, int length, int tagNr);

  /// The greatest gap, in bytes, between matches of the operands; negative: anywhere in the text.
  int GetNearBy();
  /// Stores the distance unchanged.
  void SetNearBy(int nearBy);

 private:
  std::int32_t nearBy_ = -1;
};

#endif  // TROVEX_SEARCH_TREE_H
