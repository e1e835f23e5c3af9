// Queries and patterns as text, for tests: every part of a tree stands in it once.
//
//     Haus & !(x|~Meier)      and('Haus', not('x'|sound 'Meier'))
//
// A pattern's tree is written as an expression with a bracket around everything that has parts.

#ifndef TROVEX_TESTS_QUERY_QUERY_TEXT_H
#define TROVEX_TESTS_QUERY_QUERY_TEXT_H

#include "query/query_parser.h"

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

namespace trovex::testing {

inline std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts)
    text += part;
  return text;
}

inline std::string SetText(const CharSet& set) {
  std::string text = "[";
  for (std::size_t c = 0; c < set.size(); ++c) {
    if (!set[c]) continue;
    std::size_t last = c;
    while (last + 1 < set.size() && set[last + 1])
      ++last;
    text += static_cast<char>(c);
    if (last > c + 1) text += '-';
    if (last > c) text += static_cast<char>(last);
    c = last;
  }
  return text + "]";
}

inline std::string RepetitionText(int min, int max) {
  const std::string most = max == kUnbounded ? std::string() : std::to_string(max);
  return Joined({"{", std::to_string(min), ",", most, "}"});
}

/// "**" and the like are written as one repetition, whether the tree has one node for it or two; so
/// are sets of one byte as the byte.
inline std::string TreeText(const SyntaxTree& tree, int index) {
  static const std::string kAnchors = "^$`'<>bB";
  const SyntaxNode& node = tree.Node(index);
  const auto children = [&](std::string_view separator) {
    std::string text;
    for (int child = node.firstChild; child != kNoNode; child = tree.Node(child).nextSibling) {
      if (child != node.firstChild) text += separator;
      text += TreeText(tree, child);
    }
    return text;
  };
  switch (node.kind) {
    case SyntaxKind::kEmpty:
      return "()";
    case SyntaxKind::kByte:
      return std::string(1, static_cast<char>(node.value));
    case SyntaxKind::kSet: {
      const std::string text = SetText(tree.Set(node));
      return text.size() == 3 ? text.substr(1, 1) : text;
    }
    case SyntaxKind::kAnchor:
      return std::string("\\") + kAnchors[static_cast<std::size_t>(node.value)];
    case SyntaxKind::kBackReference:
      return Joined({"\\", std::to_string(node.value)});
    case SyntaxKind::kGroup:
      return Joined({std::to_string(node.value), "(", children(""), ")"});
    case SyntaxKind::kConcat:
      return Joined({"<", children(""), ">"});
    case SyntaxKind::kAlternate:
      return Joined({"<", children("|"), ">"});
    case SyntaxKind::kRepeat: {
      int min = node.min;
      int max = node.max;
      int body = node.firstChild;
      const auto simple = [](const SyntaxNode& n) {
        return n.min <= 1 && (n.max == 1 || n.max == kUnbounded);
      };
      while (tree.Node(body).kind == SyntaxKind::kRepeat && simple(node) &&
             simple(tree.Node(body))) {
        min *= tree.Node(body).min;
        if (tree.Node(body).max == kUnbounded) max = kUnbounded;
        body = tree.Node(body).firstChild;
      }
      return TreeText(tree, body) + RepetitionText(min, max);
    }
  }
  return "?";
}

inline std::string TreeText(const SyntaxTree& tree) {
  return TreeText(tree, tree.Root());
}

inline std::string LinkText(const AndLink& link) {
  std::string text = link.ordered ? "&>" : "&";
  if (link.distance) text += std::to_string(*link.distance);
  return text + (link.unit == DistanceUnit::kWords ? "w" : "");
}

inline std::string TagText(const QueryNode& node) {
  std::string text;
  for (const int tag : node.tags)
    text += Joined({"#", std::to_string(tag)});
  return text;
}

/// `patternText(node)` is what stands for a pattern.
template <typename PatternText>
std::string QueryText(const QueryNode& node, const PatternText& patternText) {
  const auto child = [&](std::size_t i) { return QueryText(*node.children[i], patternText); };
  std::string text;
  switch (node.kind) {
    case QueryKind::kPattern:
      return patternText(node) + TagText(node);
    case QueryKind::kSound:
      return Joined({"~", node.word, TagText(node)});
    case QueryKind::kNot:
      return Joined({"!", child(0), TagText(node)});
    case QueryKind::kAnd:
    case QueryKind::kOr:
      for (std::size_t i = 0; i < node.children.size(); ++i) {
        if (i > 0 && node.kind == QueryKind::kOr) text += "|";
        if (i > 0 && node.kind == QueryKind::kAnd) {
          text += Joined({" ", LinkText(node.links[i - 1]), " "});
        }
        text += child(i);
      }
      return Joined({"{", text, "}", TagText(node)});
  }
  return "?";
}

/// With the trees of its patterns, the tag of the first group before them.
inline std::string QueryText(const ParsedQuery& query) {
  return QueryText(*query.root, [](const QueryNode& node) {
    const QueryPattern& pattern = *node.pattern;
    std::string groups;
    if (pattern.tree.groupCount > 0) groups = std::to_string(pattern.firstTag) + ":";
    return Joined({"'", groups, TreeText(pattern.tree), "'"});
  });
}

/// With what was typed for its patterns.
inline std::string TypedText(const ParsedQuery& query, std::string_view expression) {
  return QueryText(*query.root, [expression](const QueryNode& node) {
    const TypedRange typed = node.typed;
    return Joined({"'", expression.substr(typed.begin, typed.end - typed.begin), "'"});
  });
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_QUERY_QUERY_TEXT_H
