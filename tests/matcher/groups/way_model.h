// The most trivial search with groups: it lists all ways through a pattern and takes the best.
//
// A way has a key: for each piece of the pattern, in order, where it ends, and then what happened inside
// of it. Of two ways the one whose key is greater at the first difference is the better: earlier pieces
// take the longest, of alternatives with the same range the first counts.

#ifndef TROVEX_TESTS_MATCHER_GROUPS_WAY_MODEL_H
#define TROVEX_TESTS_MATCHER_GROUPS_WAY_MODEL_H

#include "matcher/pattern/pattern_syntax.h"
#include "text/byte_range.h"
#include "text/char_set.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex::testing {

using Groups = std::vector<ByteRange>;

struct ModelMatch {
  ByteRange range;
  Groups groups;
};

/// Letters, digits and '_', as far as the tests have them.
inline CharSet PlainWordBytes() {
  CharSet bytes;
  for (const char c :
       std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_"))
    bytes.set(static_cast<unsigned char>(c));
  return bytes;
}

class WayModel {
 public:
  WayModel(const SyntaxTree& tree, std::string text, bool folds = false, bool words = false)
      : tree_(tree), text_(std::move(text)), folds_(folds), words_(words) {}

  /// The longest match that begins at `begin`, or the one that ends at `end`.
  std::optional<ModelMatch> At(std::size_t begin, std::optional<std::size_t> end = {}) const {
    if (words_ && IsWord(begin, -1)) return {};
    const Way* best = nullptr;
    const std::vector<Way> ways =
        Ways(tree_.Root(), begin, Groups(static_cast<std::size_t>(tree_.groupCount)));
    for (const Way& way : ways) {
      if (end.has_value() && way.end != *end) continue;
      if (words_ && IsWord(way.end, 0)) continue;
      if (best == nullptr || way.end > best->end || (way.end == best->end && way.key > best->key)) {
        best = &way;
      }
    }
    if (best == nullptr) return {};
    return ModelMatch{{begin, best->end}, best->groups};
  }

  /// The leftmost longest match that begins from `from` to `lastStart`. There is none after the last
  /// line feed of a text.
  std::optional<ModelMatch> Find(std::size_t from, std::size_t lastStart) const {
    for (std::size_t begin = from; begin <= lastStart && begin <= text_.size(); ++begin) {
      if (begin == text_.size() && begin > 0 && text_.back() == '\n') break;
      if (auto match = At(begin)) return match;
    }
    return {};
  }

 private:
  using Key = std::vector<long>;
  struct Way {
    std::size_t end;
    Groups groups;
    Key key;
  };
  using WayList = std::vector<Way>;

  bool IsWord(std::size_t place, int offset) const {
    const std::size_t at = place + static_cast<std::size_t>(offset);
    return at < text_.size() && PlainWordBytes().test(static_cast<unsigned char>(text_[at]));
  }

  bool Holds(Anchor anchor, std::size_t at) const {
    const bool before = IsWord(at, -1);
    const bool after = IsWord(at, 0);
    switch (anchor) {
      case Anchor::kLineStart:
      case Anchor::kTextStart:
        return at == 0 || text_[at - 1] == '\n';
      case Anchor::kLineEnd:
      case Anchor::kTextEnd:
        return at == text_.size() || text_[at] == '\n';
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

  int Folded(std::size_t at) const {
    const int c = static_cast<unsigned char>(text_[at]);
    return folds_ && c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c;
  }

  /// Of ways that end alike with the same groups, the best is enough.
  static WayList Pruned(const WayList& ways) {
    const auto order = [](const std::pair<std::size_t, Groups>& x,
                          const std::pair<std::size_t, Groups>& y) {
      if (x.first != y.first) return x.first < y.first;
      return std::lexicographical_compare(
          x.second.begin(), x.second.end(), y.second.begin(), y.second.end(),
          [](const ByteRange& a, const ByteRange& b) {
            return a.begin != b.begin ? a.begin < b.begin : a.end < b.end;
          });
    };
    std::map<std::pair<std::size_t, Groups>, Key, decltype(order)> best(order);
    for (const Way& way : ways) {
      const auto [entry, isNew] = best.try_emplace({way.end, way.groups}, way.key);
      if (!isNew && way.key > entry->second) entry->second = way.key;
    }
    WayList pruned;
    for (const auto& [state, key] : best)
      pruned.push_back({state.first, state.second, key});
    return pruned;
  }

  WayList Ways(int index, std::size_t at, const Groups& groups) const {
    const SyntaxNode& node = tree_.Node(index);
    const auto value = static_cast<std::size_t>(node.value);
    const auto matches = [&](bool condition, std::size_t length) {
      return condition ? WayList{{at + length, groups, {}}} : WayList{};
    };
    const bool hasByte = at < text_.size() && text_[at] != '\n';
    const std::size_t byte =
        hasByte ? tree_.translate[static_cast<unsigned char>(text_[at])] : std::size_t{0};
    switch (node.kind) {
      case SyntaxKind::kEmpty:
        return matches(true, 0);
      case SyntaxKind::kByte:
        return matches(hasByte && byte == value, 1);
      case SyntaxKind::kSet:
        return matches(hasByte && tree_.Set(node).test(byte), 1);
      case SyntaxKind::kAnchor:
        return matches(Holds(static_cast<Anchor>(node.value), at), 0);
      case SyntaxKind::kBackReference:
        return ReferenceWays(groups[value - 1], at, groups);
      case SyntaxKind::kGroup: {
        WayList ways = Ways(node.firstChild, at, groups);
        for (Way& way : ways)
          way.groups[value - 1] = {at, way.end};
        return Pruned(ways);
      }
      case SyntaxKind::kConcat: {
        WayList ways{{at, groups, {}}};
        for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
          ways = Continued(ways, c);
        return ways;
      }
      case SyntaxKind::kAlternate: {
        WayList ways;
        long number = 0;
        for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling, --number) {
          for (Way& way : Ways(c, at, groups)) {
            way.key.insert(way.key.begin(), number);
            ways.push_back(std::move(way));
          }
        }
        return Pruned(ways);
      }
      case SyntaxKind::kRepeat:
        return RepeatWays(node, at, groups);
    }
    return {};
  }

  WayList ReferenceWays(const ByteRange& group, std::size_t at, const Groups& groups) const {
    if (group.IsNowhere() || group.Length() > text_.size() - at) return {};
    for (std::size_t i = 0; i < group.Length(); ++i) {
      if (Folded(group.begin + i) != Folded(at + i)) return {};
    }
    return {{at + group.Length(), groups, {}}};
  }

  /// The ways on from the ends of `ways` through the node `next`.
  WayList Continued(const WayList& ways, int next, bool mustConsume = false) const {
    WayList continued;
    for (const Way& way : ways) {
      for (Way& on : Ways(next, way.end, way.groups)) {
        if (mustConsume && on.end == way.end) continue;
        Key key = way.key;
        key.push_back(static_cast<long>(on.end));
        key.insert(key.end(), on.key.begin(), on.key.end());
        continued.push_back({on.end, on.groups, std::move(key)});
      }
    }
    return Pruned(continued);
  }

  WayList RepeatWays(const SyntaxNode& node, std::size_t at, const Groups& groups) const {
    constexpr long kNoRound = -1;
    WayList ways{{at, groups, {}}};
    for (int i = 0; i < node.min; ++i)
      ways = Continued(ways, node.firstChild);
    WayList all;
    const auto add = [&](const WayList& ended) {
      for (Way way : ended) {
        way.key.push_back(kNoRound);
        all.push_back(std::move(way));
      }
    };
    add(ways);
    if (node.min == 0 && node.max != 0) {
      for (const Way& way : Continued(ways, node.firstChild)) {
        if (way.end == at) add({way});
      }
    }
    for (int i = node.min; (node.max == kUnbounded || i < node.max) && !ways.empty(); ++i) {
      ways = Continued(ways, node.firstChild, true);
      add(ways);
    }
    return Pruned(all);
  }

  const SyntaxTree& tree_;
  const std::string text_;
  const bool folds_;
  const bool words_;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_GROUPS_WAY_MODEL_H
