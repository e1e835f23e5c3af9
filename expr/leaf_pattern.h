// What operators may know of a leaf without having it searched.
//
// A leaf's pattern is kept in an environment of the module; api/tree_functions.cpp looks it up.

#ifndef TROVEX_EXPR_LEAF_PATTERN_H
#define TROVEX_EXPR_LEAF_PATTERN_H

#include "matcher/matcher.h"

#include <trovex/search_tree.h>
#include <memory>

namespace trovex {

class CPatternEnvironment;
class StringChain;

class LeafPattern {
 public:
  using Answer = LocatorProgram::Answer;

  /// `leaf` is of the library's own class. Valid for as long as nothing is compiled or activated.
  explicit LeafPattern(const CSubExpression& leaf);

  /// What a look at a text, of any length, tells of the first whole match of the leaf in it. Where it is known, what a
  /// search would leave behind is done.
  Answer LookAt(const char* text, int length, LocatedRange& match) const;
  /// The same, of whether `leaf` has one.
  static Answer LookAt(const CSubExpression& leaf, const char* text, int length);

  /// What the leaf is compiled into, where it finds the matches of a string and no group is asked for; else null.
  const CompiledPattern* String() const;
  /// The same, to be kept; not null.
  std::shared_ptr<const CompiledPattern> SharedString() const;

  /// Whether a search of the leaf would leave nothing behind that is not there already.
  bool LeavesNothingBehind() const;
  /// Leaves behind what a search of the leaf does. For one whose search was not necessary.
  void NoteSearched() const;

  /// Where the module keeps the latest chain of strings.
  static std::unique_ptr<StringChain>& KeptChain();

 private:
  CPatternEnvironment* environment_ = nullptr;  // null: it has to be searched
};

}  // namespace trovex

#endif  // TROVEX_EXPR_LEAF_PATTERN_H
