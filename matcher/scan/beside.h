// What must stand directly before and directly after a match: of "^a" a line feed before it, of "\<a\>" on both
// sides a byte that belongs to no word. Beyond an edge of the text a line feed is thought to stand.

#ifndef TROVEX_MATCHER_SCAN_BESIDE_H
#define TROVEX_MATCHER_SCAN_BESIDE_H

#include "text/char_set.h"

namespace trovex {

struct Beside {
  CharSet before = ~CharSet();
  CharSet after = ~CharSet();

  bool AsksBefore() const { return !before.all(); }
  bool AsksAfter() const { return !after.all(); }
  bool IsAny() const { return !AsksBefore() && !AsksAfter(); }
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_BESIDE_H
