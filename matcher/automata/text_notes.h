// What the searches of one text, one after another, have in common.
//
// A host's search asks for one match after the other, each time from behind the latest. What a locator
// finds out about the text on the way (match_locator.h) holds for all of them, as long as the text does
// not change; whoever asks for them keeps one of these, so that the locator knows that it is still the
// same text.

#ifndef TROVEX_MATCHER_AUTOMATA_TEXT_NOTES_H
#define TROVEX_MATCHER_AUTOMATA_TEXT_NOTES_H

#include <utility>

namespace trovex {

class TextNotes {
 public:
  /// Whether this is the first search of the text with `locator`.
  bool IsFirstSearch(const void* locator) { return std::exchange(locator_, locator) != locator; }

 private:
  const void* locator_ = nullptr;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_TEXT_NOTES_H
