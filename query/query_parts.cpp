#include "query/query_parts.h"

#include "phonetic/sound_key.h"
#include "text/code_page.h"
#include "text/utf8_character.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

namespace trovex {

namespace {

/// What was typed, as valid UTF-8.
std::string AsUtf8(std::string_view typed, Encoding encoding) {
  std::string result;
  const auto* at = reinterpret_cast<const unsigned char*>(typed.data());
  const auto* const end = at + typed.size();
  while (at < end) {
    const Utf8Sequence sequence = ReadSequence(at, end);
    if (encoding == Encoding::kUtf8 && sequence.isWellFormed) {
      result.append(at, at + sequence.length);
      at += sequence.length;
    } else {
      AppendUtf8(CodePageToUnicode(*at++), result);
    }
  }
  return result;
}

class PartLister {
 public:
  PartLister(std::string_view expression, Encoding encoding)
      : expression_(expression), encoding_(encoding) {}

  void List(const QueryNode& node, int level) {
    switch (node.kind) {
      case QueryKind::kPattern:
        ListPattern(node, level);
        break;
      case QueryKind::kSound:
        ListSound(node, level);
        break;
      case QueryKind::kNot:
        Append(QueryPart::Kind::kNot, node, level);
        List(*node.children.front(), level + 1);
        break;
      case QueryKind::kOr:
        Append(QueryPart::Kind::kOr, node, level);
        for (const auto& child : node.children)
          List(*child, level + 1);
        break;
      case QueryKind::kAnd:
        ListChain(node, level);
        break;
    }
  }

  std::vector<QueryPart> Result() { return std::move(parts_); }

 private:
  QueryPart& Append(QueryPart::Kind kind, const QueryNode& node, int level) {
    QueryPart part;
    part.kind = kind;
    part.level = level;
    part.tags = node.tags;
    std::sort(part.tags.begin(), part.tags.end());
    part.begin = node.typed.begin;
    part.end = node.typed.end;
    parts_.push_back(std::move(part));
    return parts_.back();
  }

  std::string Typed(const QueryNode& node) const {
    return AsUtf8(expression_.substr(node.typed.begin, node.typed.end - node.typed.begin),
                  encoding_);
  }

  void ListPattern(const QueryNode& node, int level) {
    QueryPart& part = Append(QueryPart::Kind::kPattern, node, level);
    part.text = Typed(node);
    for (int group = 1; group <= node.pattern->tree.groupCount; ++group)
      part.tags.push_back(node.pattern->TagOfGroup(group));
  }

  void ListSound(const QueryNode& node, int level) {
    QueryPart& part = Append(QueryPart::Kind::kSound, node, level);
    part.text = AsUtf8(node.word, Encoding::kLatin1);
    part.soundKey = DescribeSoundKey(MakeSoundKey(node.word));
  }

  /// A chain of ANDs from the left: what is left of a distance is its left operand, all that stands
  /// right of it is the right one.
  void ListChain(const QueryNode& node, int level) {
    const std::size_t last = node.children.size() - 1;
    for (std::size_t i = 0; i < last; ++level) {
      QueryPart& part = Append(QueryPart::Kind::kAnd, node, level);
      if (i > 0) {
        part.tags.clear();
        part.begin = node.children[i]->typed.begin;
      }
      const AndLink& link = node.links[i];
      part.distance = link.distance;
      part.distanceInWords = link.unit == DistanceUnit::kWords;
      part.ordered = link.ordered;
      List(*node.children[i++], level + 1);
      if (link.IsNear()) continue;
      while (i < last && !node.links[i].IsNear())
        List(*node.children[i++], level + 1);
    }
    List(*node.children[last], level);
  }

  std::string_view expression_;
  Encoding encoding_;
  std::vector<QueryPart> parts_;
};

}  // namespace

std::vector<QueryPart> PartsOf(const QueryNode& root, std::string_view expression,
                               Encoding encoding) {
  PartLister lister(expression, encoding);
  lister.List(root, 0);
  return lister.Result();
}

}  // namespace trovex
