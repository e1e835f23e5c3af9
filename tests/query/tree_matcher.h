// The most trivial matcher of a pattern's tree: all places where a match that begins at one place can
// end. For short texts and patterns without back-references; word edges ask the code page.

#ifndef TROVEX_TESTS_QUERY_TREE_MATCHER_H
#define TROVEX_TESTS_QUERY_TREE_MATCHER_H

#include "matcher/pattern/pattern_syntax.h"
#include "text/code_page.h"

#include <cstddef>
#include <set>
#include <string_view>

namespace trovex::testing {

class TreeMatcher {
 public:
  TreeMatcher(const SyntaxTree& tree, std::string_view text) : tree_(tree), text_(text) {}

  /// Whether the whole text is a match.
  bool MatchesAll() const { return Ends(tree_.Root(), {0}).count(text_.size()) > 0; }

 private:
  using Places = std::set<std::size_t>;

  Places Ends(int index, const Places& starts) const {
    const SyntaxNode& node = tree_.Node(index);
    Places ends;
    switch (node.kind) {
      case SyntaxKind::kEmpty:
        return starts;
      case SyntaxKind::kByte:
        return Step(starts, CharSet().set(static_cast<std::size_t>(node.value)));
      case SyntaxKind::kSet:
        return Step(starts, tree_.Set(node));
      case SyntaxKind::kAnchor:
        for (const std::size_t place : starts) {
          if (Holds(static_cast<Anchor>(node.value), place)) ends.insert(place);
        }
        return ends;
      case SyntaxKind::kBackReference:
        return {};
      case SyntaxKind::kGroup:
        return Ends(node.firstChild, starts);
      case SyntaxKind::kConcat:
        ends = starts;
        for (int child = node.firstChild; child != kNoNode; child = tree_.Node(child).nextSibling)
          ends = Ends(child, ends);
        return ends;
      case SyntaxKind::kAlternate:
        for (int child = node.firstChild; child != kNoNode; child = tree_.Node(child).nextSibling)
          ends.merge(Ends(child, starts));
        return ends;
      case SyntaxKind::kRepeat:
        return Repeat(node, starts);
    }
    return {};
  }

  Places Repeat(const SyntaxNode& node, const Places& starts) const {
    Places now = starts;
    Places ends;
    const int rounds =
        node.max == kUnbounded ? node.min + static_cast<int>(text_.size()) : node.max;
    for (int round = 0; round <= rounds && !now.empty(); ++round) {
      if (round >= node.min) ends.insert(now.begin(), now.end());
      now = Ends(node.firstChild, now);
    }
    return ends;
  }

  Places Step(const Places& starts, const CharSet& set) const {
    Places ends;
    for (const std::size_t place : starts) {
      if (place < text_.size() && set[static_cast<unsigned char>(text_[place])])
        ends.insert(place + 1);
    }
    return ends;
  }

  bool WordAt(std::size_t place) const {
    return place < text_.size() && IsCodePageWord(static_cast<unsigned char>(text_[place]));
  }

  bool Holds(Anchor anchor, std::size_t place) const {
    const bool before = place > 0 && WordAt(place - 1);
    const bool after = WordAt(place);
    switch (anchor) {
      case Anchor::kLineStart:
      case Anchor::kTextStart:
        return place == 0;
      case Anchor::kLineEnd:
      case Anchor::kTextEnd:
        return place == text_.size();
      case Anchor::kWordStart:
        return !before && after;
      case Anchor::kWordEnd:
        return before && !after;
      case Anchor::kWordEdge:
        return before != after;
      case Anchor::kNotWordEdge:
        return before == after;
    }
    return false;
  }

  const SyntaxTree& tree_;
  std::string_view text_;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_QUERY_TREE_MATCHER_H
