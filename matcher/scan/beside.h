// What must stand directly before and directly after a match: of "^a" a line feed before it, of "\<a\>" on both
// sides a byte that belongs to no word. Beyond an edge of the text a line feed is thought to stand.

#ifndef TROVEX_MATCHER_SCAN_BESIDE_H
#define TROVEX_MATCHER_SCAN_BESIDE_H

#include "matcher/tuning.h"
#include "text/char_set.h"

#include <cstddef>
#include <cstring>

namespace trovex {

struct Beside {
  CharSet before = ~CharSet();
  CharSet after = ~CharSet();

  bool AsksBefore() const { return !before.all(); }
  bool AsksAfter() const { return !after.all(); }
  bool IsAny() const { return !AsksBefore() && !AsksAfter(); }
};

/// Whether nothing but a line feed is in `bytes`.
inline bool IsLineFeed(const CharSet& bytes) {
  return bytes.count() == 1 && bytes['\n'];
}

/// From where on something that begins with a line feed is to be looked for in a text from `place` to `end`: where no
/// line feed is near, from the first one, or from the end. Line feeds alone are looked for twice as fast as with other
/// bytes, and many texts are one single line.
inline const unsigned char* FromLineFeed(const unsigned char* place, const unsigned char* end) {
  if (end - place < kNearLineFeed) return place;
  const void* const found = std::memchr(place, '\n', static_cast<std::size_t>(end - place));
  const auto* const feed = found != nullptr ? static_cast<const unsigned char*>(found) : end;
  return feed - place < kNearLineFeed ? place : feed;
}

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_BESIDE_H
