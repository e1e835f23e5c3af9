// Puts a pattern's tree together from the leaves up, for patterns of the second door.

#ifndef TROVEX_QUERY_EXPRESSION_SYNTAX_BUILDER_H
#define TROVEX_QUERY_EXPRESSION_SYNTAX_BUILDER_H

#include "matcher/pattern/pattern_syntax.h"
#include "text/char_set.h"

#include <vector>

namespace trovex {

class SyntaxBuilder {
 public:
  explicit SyntaxBuilder(SyntaxTree& tree) : tree_(tree) {}

  // Each adds a node and returns it.
  int Add(SyntaxKind kind, int value = 0);
  /// A byte, or a set where that has not exactly one.
  int AddSet(const CharSet& set);
  int AddGroup(int group, int body);
  int AddRepeat(int body, int min, int max);

  /// The node for `children` in order: none, the one, or a new node above them. `kind` is a
  /// sequence or an alternation.
  int Join(SyntaxKind kind, const std::vector<int>& children);

 private:
  SyntaxNode& Latest() { return tree_.nodes.back(); }

  SyntaxTree& tree_;
};

/// What a tree amounts to.
struct SyntaxExtent {
  /// Bytes, sets, anchors, groups and operators after "a{3}" is written as "aaa".
  double size = 0;
  /// Groups and repetitions inside one another.
  int nesting = 0;
};

SyntaxExtent MeasureExtent(const SyntaxTree& tree);

}  // namespace trovex

#endif  // TROVEX_QUERY_EXPRESSION_SYNTAX_BUILDER_H
