// The most trivial matcher of a pattern's tree: from a set of places to the set of places that a node
// leads to. All matches of a text are looked for start by start and line by line.

#ifndef TROVEX_TESTS_MATCHER_TREE_MATCHER_H
#define TROVEX_TESTS_MATCHER_TREE_MATCHER_H

#include "matcher/pattern/pattern_syntax.h"
#include "matcher/pattern_program.h"
#include "text/byte_range.h"

#include <cstddef>
#include <set>
#include <string_view>
#include <vector>

namespace trovex::testing {

class TreeMatcher {
 public:
  /// `tree` has no back-references and must outlive the matcher.
  TreeMatcher(const SyntaxTree& tree, const ProgramOptions& options)
      : tree_(tree), options_(options) {}

  /// All matches of `text`.
  std::vector<ByteRange> AllMatches(std::string_view text) {
    text_ = text;
    std::vector<ByteRange> matches;
    std::size_t touched = kNowhere;  // where a match that was not empty ended
    for (std::size_t begin = 0; IsPlaceOfALine(begin);) {
      const std::size_t end = LongestFrom(begin, begin == touched);
      if (end == kNowhere) {
        ++begin;
        continue;
      }
      matches.push_back({begin, end});
      touched = end > begin ? end : kNowhere;
      begin = end > begin ? end : end + 1;
    }
    return matches;
  }

 private:
  using Places = std::set<std::size_t>;

  bool IsPlaceOfALine(std::size_t place) const {
    if (place < text_.size()) return true;
    return place == text_.size() && (place == 0 || text_[place - 1] != '\n');
  }

  std::size_t LongestFrom(std::size_t begin, bool refusesEmpty) {
    std::size_t longest = kNowhere;
    for (const std::size_t end : From(tree_.Root(), {begin})) {
      if (refusesEmpty && end == begin) continue;
      if (options_.wholeWords && (IsWordBefore(begin) || IsWordAt(end))) continue;
      longest = end;
    }
    return longest;
  }

  Places From(int index, const Places& places) {
    const SyntaxNode& node = tree_.Node(index);
    Places reached;
    switch (node.kind) {
      case SyntaxKind::kEmpty:
        return places;
      case SyntaxKind::kByte:
      case SyntaxKind::kSet:
        for (const std::size_t place : places) {
          if (place < text_.size() && text_[place] != '\n' && Matches(node, text_[place]))
            reached.insert(place + 1);
        }
        return reached;
      case SyntaxKind::kAnchor:
        for (const std::size_t place : places) {
          if (Holds(static_cast<Anchor>(node.value), place)) reached.insert(place);
        }
        return reached;
      case SyntaxKind::kGroup:
        return From(node.firstChild, places);
      case SyntaxKind::kConcat:
        reached = places;
        for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
          reached = From(c, reached);
        return reached;
      case SyntaxKind::kAlternate:
        for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
          reached.merge(From(c, places));
        return reached;
      case SyntaxKind::kRepeat:
        return Repeated(node, places);
      case SyntaxKind::kBackReference:
        break;
    }
    return {};
  }

  Places Repeated(const SyntaxNode& node, Places places) {
    for (int round = 0; round < node.min; ++round)
      places = From(node.firstChild, places);
    Places all = places;
    for (int round = node.min; node.max == kUnbounded || round < node.max; ++round) {
      places = From(node.firstChild, places);
      const std::size_t before = all.size();
      all.insert(places.begin(), places.end());
      if (all.size() == before) break;
    }
    return all;
  }

  bool Matches(const SyntaxNode& node, char c) const {
    const unsigned char compared = tree_.translate[static_cast<unsigned char>(c)];
    if (node.kind == SyntaxKind::kByte) return compared == node.value;
    return tree_.Set(node)[compared];
  }

  bool IsWordAt(std::size_t place) const {
    return place < text_.size() && options_.wordBytes[static_cast<unsigned char>(text_[place])];
  }
  bool IsWordBefore(std::size_t place) const { return place > 0 && IsWordAt(place - 1); }

  bool Holds(Anchor anchor, std::size_t place) const {
    switch (anchor) {
      case Anchor::kLineStart:
      case Anchor::kTextStart:
        return place == 0 || text_[place - 1] == '\n';
      case Anchor::kLineEnd:
      case Anchor::kTextEnd:
        return place == text_.size() || text_[place] == '\n';
      case Anchor::kWordStart:
        return !IsWordBefore(place) && IsWordAt(place);
      case Anchor::kWordEnd:
        return IsWordBefore(place) && !IsWordAt(place);
      case Anchor::kWordEdge:
        return IsWordBefore(place) != IsWordAt(place);
      case Anchor::kNotWordEdge:
        return IsWordBefore(place) == IsWordAt(place);
    }
    return false;
  }

  const SyntaxTree& tree_;
  const ProgramOptions options_;
  std::string_view text_;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_TREE_MATCHER_H
