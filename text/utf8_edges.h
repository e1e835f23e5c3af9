// What stands beside a match that was found in the bytes of UTF-8, without decoding these.
//
// Where both neighbours are ASCII, the search has seen all there is. A combining mark after a match can make
// another letter of its last one. And where a match must not go on in a word, a neighbour beyond ASCII is read
// as a character.

#ifndef TROVEX_TEXT_UTF8_EDGES_H
#define TROVEX_TEXT_UTF8_EDGES_H

namespace trovex {

struct Utf8Edges {
  /// Whether the character before a match must belong to no word, and that after it.
  bool before = false;
  bool after = false;

  enum class Answer {
    kMatch,
    kNoMatch,
    kOtherLetter,  // the last letter has a mark: it is no match, but a shorter one may be
  };

  /// What is said of the match from `start` up to `stop` in a text from `begin` to `end`. The search has judged
  /// neighbours that are ASCII, and has taken all others for no part of a word.
  Answer Judge(const unsigned char* start, const unsigned char* stop, const unsigned char* begin,
               const unsigned char* end) const {
    const bool isBefore = before && start != begin && start[-1] >= 0x80;
    const bool isAfter = stop != end && *stop >= 0x80;
    if (!isBefore && !isAfter) return Answer::kMatch;
    return JudgeClosely(start, stop, begin, end);
  }

 private:
  Answer JudgeClosely(const unsigned char* start, const unsigned char* stop,
                      const unsigned char* begin, const unsigned char* end) const;
};

}  // namespace trovex

#endif  // TROVEX_TEXT_UTF8_EDGES_H
