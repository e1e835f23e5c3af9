#include "text/utf8_edges.h"

#include "text/utf8_character.h"

namespace trovex {

Utf8Edges::Answer Utf8Edges::JudgeClosely(const unsigned char* start, const unsigned char* stop,
                                          const unsigned char* begin,
                                          const unsigned char* end) const {
  if (stop != end && *stop >= 0x80) {
    if (ComposedWithLast(begin, stop, ReadSequence(stop, end)) != 0)
      return after ? Answer::kNoMatch : Answer::kOtherLetter;
    if (after && IsWordAt(stop, end)) return Answer::kNoMatch;
  }
  const bool isInWord = before && start != begin && start[-1] >= 0x80 && IsWordBefore(begin, start);
  return isInWord ? Answer::kNoMatch : Answer::kMatch;
}

}  // namespace trovex
