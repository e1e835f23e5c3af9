#include "query/query_parts.h"

#include "phonetic/sound_key.h"
#include "text/code_page.h"
#include "text/utf8_character.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace trovex {

namespace {

/// Deeper levels are not set in further: a long chain of distances would be lost in blanks.
constexpr int kMostSetIn = 30;

/// `codePoint`, which is one of the code page, as UTF-8.
void AppendUtf8(char32_t codePoint, std::string& to) {
  if (codePoint < 0x80) {
    to += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    to += static_cast<char>(0xC0 | (codePoint >> 6));
    to += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else {
    to += static_cast<char>(0xE0 | (codePoint >> 12));
    to += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    to += static_cast<char>(0x80 | (codePoint & 0x3F));
  }
}

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

/// `text` between quotes, with what would end a line or harm a terminal as "\x" and its number.
std::string Quoted(const std::string& text) {
  constexpr std::array<char, 17> kDigits = {"0123456789ABCDEF"};
  std::string result = "\"";
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    // The control characters from U+0080 on begin with this byte.
    const bool isHigh =
        c == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (c >= ' ' && c != 0x7F && !isHigh) {
      result += text[i];
      continue;
    }
    const auto value = isHigh ? static_cast<unsigned char>(text[++i]) : c;
    result += {'\\', 'x', kDigits[value >> 4], kDigits[value & 15]};
  }
  return result += '"';
}

std::string Distance(const QueryPart& part) {
  std::string result;
  if (part.ordered) result += ", the right one behind the left one";
  if (!part.distance.has_value()) return result;
  result += ", at most " + std::to_string(*part.distance);
  if (part.distanceInWords)
    return result + (*part.distance == 1 ? " word between" : " words between");
  return result + (*part.distance == 1 ? " character between" : " characters between");
}

std::string What(const QueryPart& part) {
  switch (part.kind) {
    case QueryPart::Kind::kPattern:
      return "pattern " + Quoted(part.text);
    case QueryPart::Kind::kSound:
      return "sounds like " + Quoted(part.text) + ": " + part.soundKey;
    case QueryPart::Kind::kAnd:
      return "AND" + Distance(part);
    case QueryPart::Kind::kOr:
      return "OR";
    case QueryPart::Kind::kNot:
      return "NOT";
  }
  return {};
}

}  // namespace

std::vector<QueryPart> PartsOf(const QueryNode& root, std::string_view expression,
                               Encoding encoding) {
  PartLister lister(expression, encoding);
  lister.List(root, 0);
  return lister.Result();
}

std::string DescribeParts(const std::vector<QueryPart>& parts) {
  std::string text;
  for (const QueryPart& part : parts) {
    text.append(2 * static_cast<std::size_t>(std::min(part.level, kMostSetIn)), ' ');
    text += What(part);
    for (std::size_t i = 0; i < part.tags.size(); ++i)
      text += (i == 0 ? part.tags.size() == 1 ? ", tag " : ", tags " : " ") +
              std::to_string(part.tags[i]);
    text += '\n';
  }
  return text;
}

}  // namespace trovex
