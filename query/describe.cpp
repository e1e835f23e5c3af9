// The lines of a description.

#include "query/describe.h"

#include "phonetic/sound_key.h"
#include "query/expression/expression_text.h"
#include "text/code_page.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace trovex {

namespace {

void AppendUtf8(char32_t codePoint, std::string& out) {
  const auto add = [&out](char32_t byte) {
    out.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
  };
  if (codePoint < 0x80) {
    add(codePoint);
  } else if (codePoint < 0x800) {
    add(0xC0 | codePoint >> 6);
    add(0x80 | (codePoint & 0x3F));
  } else {
    add(0xE0 | codePoint >> 12);
    add(0x80 | (codePoint >> 6 & 0x3F));
    add(0x80 | (codePoint & 0x3F));
  }
}

/// Appends a character of the page; what cannot be shown, as "\x" and two digits.
void AppendCharacter(unsigned char c, std::string& out) {
  const char32_t codePoint = CodePageToUnicode(c);
  const bool isControl = codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
  if (!isControl) return AppendUtf8(codePoint, out);
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  out += "\\x";
  out += kDigits[c >> 4];
  out += kDigits[c & 15];
}

class Description {
 public:
  explicit Description(const ExpressionText& text) : text_(text) {}

  void Describe(const QueryNode& node, std::size_t depth) {
    BeginLine(depth);
    switch (node.kind) {
      case QueryKind::kPattern:
        out_ += "pattern ";
        AppendTyped(node.typed);
        break;
      case QueryKind::kSound:
        out_ += "sounds like ";
        for (const char letter : node.word)
          AppendCharacter(static_cast<unsigned char>(letter), out_);
        out_.append(": ").append(DescribeSoundKey(MakeSoundKey(node.word)));
        break;
      case QueryKind::kAnd:
        out_ += HasNearLink(node) && node.links.size() > 1 ? "and, grouped from the right" : "and";
        break;
      case QueryKind::kOr:
        out_ += "or";
        break;
      case QueryKind::kNot:
        out_ += "not";
        break;
    }
    AppendTags(node);
    out_ += '\n';
    for (std::size_t i = 0; i < node.children.size(); ++i) {
      if (i > 0 && HasNearLink(node)) AppendLink(node.links[i - 1], depth + 1);
      Describe(*node.children[i], depth + 1);
    }
  }

  std::string Take() { return std::move(out_); }

 private:
  void BeginLine(std::size_t depth) { out_.append(2 * depth, ' '); }

  static bool HasNearLink(const QueryNode& node) {
    return std::any_of(node.links.begin(), node.links.end(),
                       [](const AndLink& link) { return link.IsNear(); });
  }

  void AppendTyped(TypedRange typed) {
    const auto characterAt = [this](std::size_t place) {
      return static_cast<std::size_t>(
          std::lower_bound(text_.places.begin(), text_.places.end(), place) - text_.places.begin());
    };
    const std::size_t end = characterAt(typed.end);
    for (std::size_t i = characterAt(typed.begin); i < end; ++i)
      AppendCharacter(text_.characters[i], out_);
  }

  void AppendTags(const QueryNode& node) {
    if (!node.tags.empty()) {
      out_ += node.tags.size() == 1 ? " (tag " : " (tags ";
      for (std::size_t i = 0; i < node.tags.size(); ++i)
        out_.append(i == 0 ? "" : ", ").append(std::to_string(node.tags[i]));
      out_ += ')';
    }
    if (node.pattern == nullptr || node.pattern->tree.groupCount == 0) return;
    const int groups = node.pattern->tree.groupCount;
    out_ += groups == 1 ? " (its bracket is tag " : " (its brackets are tags ";
    out_ += std::to_string(node.pattern->firstTag);
    if (groups > 1) out_.append(" to ").append(std::to_string(node.pattern->TagOfGroup(groups)));
    out_ += ')';
  }

  void AppendLink(const AndLink& link, std::size_t depth) {
    BeginLine(depth);
    if (link.distance) {
      out_.append("at most ").append(std::to_string(*link.distance));
      const bool words = link.unit == DistanceUnit::kWords;
      const bool one = *link.distance == 1;
      out_ += words ? (one ? " word between" : " words between")
                    : (one ? " character between" : " characters between");
      if (link.ordered) out_ += ", in this order";
    } else {
      out_ += link.ordered ? "in this order" : "anywhere";
    }
    out_ += '\n';
  }

  const ExpressionText& text_;
  std::string out_;
};

}  // namespace

std::string DescribeQuery(const ParsedQuery& query, std::string_view expression,
                          ExpressionEncoding encoding) {
  const ExpressionText text = DecodeExpression(expression, encoding);
  Description description(text);
  description.Describe(*query.root, 0);
  return description.Take();
}

}  // namespace trovex
