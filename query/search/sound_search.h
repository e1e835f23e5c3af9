// Finds the words of a text that sound like one, one after another.
//
// Between two words a scan passes over many places at a time: it stops where a letter with which such a
// word may begin stands behind a byte of no word. Only these words are read.

#ifndef TROVEX_QUERY_SEARCH_SOUND_SEARCH_H
#define TROVEX_QUERY_SEARCH_SOUND_SEARCH_H

#include "matcher/scan/place_cursor.h"
#include "matcher/scan/place_scan.h"
#include "phonetic/sound_key.h"
#include "text/byte_range.h"

#include <cstddef>

namespace trovex {

class SoundSearch {
 public:
  /// Finds nothing if `key` is empty.
  explicit SoundSearch(const SoundKey& key);

  /// Takes `text`, which must stay as it is while it is searched.
  void Begin(TextView text);

  /// Goes on to the next word that sounds alike and writes its range; false if there is none. Allocates
  /// nothing.
  bool Next(ByteRange& word);

 private:
  bool IsAlikeAt(std::size_t begin, ByteRange& word) const;

  SoundMatcher matcher_;
  PlaceScan scan_;  // for the bytes before such words
  PlaceCursor cursor_;
  TextView text_;
  /// The byte before the next words; the first word of a text has none.
  std::size_t place_ = 0;
  bool isAtStart_ = false;
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_SOUND_SEARCH_H
