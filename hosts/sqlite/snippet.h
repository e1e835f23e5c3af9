// The part of a text that shows best what was found in it.
//
// Texts are cut between words: what stands between blanks, with its punctuation. A run without a blank is as
// many words as it has times 64 characters, so a snippet is short whatever the text is.

#ifndef TROVEX_HOSTS_SQLITE_SNIPPET_H
#define TROVEX_HOSTS_SQLITE_SNIPPET_H

#include "hosts/sqlite/marked_text.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace trovex::sqlite {

struct Snippet {
  Range part;
  /// Whether words are left out before and behind it.
  bool isCutBefore = false;
  bool isCutBehind = false;
};

/// Chooses at most `words` words of `text`, at least 1: those in which most of `items` begin, the first of
/// several such places, with as many words before the first item as behind the last. Without items they are the
/// first words. `items` come by their begin.
Snippet ChooseSnippet(std::string_view text, const std::vector<Range>& items, std::size_t words);

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_SNIPPET_H
