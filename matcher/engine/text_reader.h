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
  bool IsEnd(int place) const { return place == text_.length; }
  int ByteAt(int place) const {
    return tree_.translate[static_cast<unsigned char>(text_.begin[place])];
  }
  bool IsByteAt(int place, int byte) const { return !IsEnd(place) && ByteAt(place) == byte; }
  bool IsInSetAt(int place, const CharSet& set) const {
    return !IsEnd(place) && set.test(static_cast<std::size_t>(ByteAt(place)));
  }

  /// Whether a byte of a word stands at `place`, which may lie beyond either end.
  bool IsWordAt(int place) const {
    return place >= 0 && place < text_.length && IsEngineWordByte(ByteAt(place));
  }

  bool Holds(Anchor anchor, int place) const {
    const bool wordBefore = IsWordAt(place - 1);
    const bool wordAfter = IsWordAt(place);
    switch (anchor) {
      case Anchor::kLineStart:
        return place == 0 || ByteAt(place - 1) == '\n';
      case Anchor::kLineEnd:
        return IsEnd(place) ? text_.endsLine : ByteAt(place) == '\n';
      case Anchor::kTextStart:
        return place == 0;
      case Anchor::kTextEnd:
        return IsEnd(place);
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
