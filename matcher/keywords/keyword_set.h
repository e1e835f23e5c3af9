// A set of fixed strings that are searched for together.
//
// A keyword set keeps the slower stages of the matcher off most of the text: the search leaps over
// every stretch where none of its keywords can be. A set is created, filled, prepared once, and
// then searched with any number of times; it must not be added to after it has been prepared.

#ifndef TROVEX_MATCHER_KEYWORDS_KEYWORD_SET_H
#define TROVEX_MATCHER_KEYWORDS_KEYWORD_SET_H

#include "resources/string_table.h"
#include "text/byte_map.h"

#include <memory>

namespace trovex {

struct KeywordSet;

/// An occurrence of a keyword in a text.
struct KeywordMatch {
  /// The number of the keyword: 0 for the first one added, and so on. Of equal keywords the first
  /// one's number is reported, though the others count.
  int index;
  const char* start;
  int length;
};

/// Frees `set`, which may be null, and all that it holds.
void KeywordSetFree(KeywordSet* set);

struct KeywordSetDeleter {
  void operator()(KeywordSet* set) const { KeywordSetFree(set); }
};
using KeywordSetPtr = std::unique_ptr<KeywordSet, KeywordSetDeleter>;

/// An empty set. Every byte of keywords and texts is compared as `fold` maps it; null stands for a
/// comparison of the bytes as they are. The table is copied. Returns null when memory is short.
KeywordSetPtr KeywordSetCreate(const ByteMap* fold);

/// Adds the keyword of `length` bytes at `text`. Returns `kNone`, or `kMemoryOverflow`; the set
/// then holds what it held before.
MessageNumber KeywordSetAdd(KeywordSet& set, const char* text, int length);

/// Computes the tables of the search. Cannot fail.
void KeywordSetPrepare(KeywordSet& set);

/// Finds, in `size` bytes at `text`, the occurrence of a keyword that starts leftmost, and the
/// longest of those that start there. Returns its start and describes it in `match`, which may be
/// null; returns null, leaving `match` alone, when no keyword occurs. Allocates nothing and reads
/// nothing beyond the `size` bytes.
const char* KeywordSetSearch(const KeywordSet& set, const char* text, int size,
                             KeywordMatch* match);

}  // namespace trovex

#endif  // TROVEX_MATCHER_KEYWORDS_KEYWORD_SET_H
