// A text as a pattern's program sees it: folded bytes, and what anchors ask.

#ifndef TROVEX_MATCHER_ENGINE_TEXT_READER_H
#define TROVEX_MATCHER_ENGINE_TEXT_READER_H

#include "matcher/engine/bounded_matcher.h"
#include "matcher/pattern/pattern_syntax.h"

#include <cstddef>

namespace trovex {

class TextReader {
 public:
  /// Both must outlive the reader.
  TextReader(const SyntaxTree& tree, const BoundedText& text) : tree_(tree), text_(text) {}

  int Length() const { return text_.length; }
  bool IsEnd(int position) const { return position == text_.length; }
  int ByteAt(int position) const {
    return tree_.translate[static_cast<unsigned char>(text_.begin[position])];
  }
  bool IsByteAt(int position, int byte) const {
    return !IsEnd(position) && ByteAt(position) == byte;
  }
  bool IsInSetAt(int position, const CharSet& set) const {
    return !IsEnd(position) && set.test(static_cast<std::size_t>(ByteAt(position)));
  }

  /// Whether a byte of a word stands at `position`, which may lie beyond either end.
  bool IsWordAt(int position) const {
    return position >= 0 && position < text_.length && IsEngineWordByte(ByteAt(position));
  }

  bool Holds(Anchor anchor, int position) const {
    const bool wordBefore = IsWordAt(position - 1);
    const bool wordAfter = IsWordAt(position);
    switch (anchor) {
      case Anchor::kLineStart:
        return position == 0 || ByteAt(position - 1) == '\n';
      case Anchor::kLineEnd:
        return IsEnd(position) ? text_.endsLine : ByteAt(position) == '\n';
      case Anchor::kTextStart:
        return position == 0;
      case Anchor::kTextEnd:
        return IsEnd(position);
      case Anchor::kWordStart:
        return !wordBefore && wordAfter;
      case Anchor::kWordEnd:
        return wordBefore && !wordAfter;
      case Anchor::kWordEdge:
        return wordBefore != wordAfter;
      case Anchor::kNotWordEdge:
        return wordBefore == wordAfter;
    }
    return false;
  }

 private:
  const SyntaxTree& tree_;
  const BoundedText text_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_ENGINE_TEXT_READER_H
