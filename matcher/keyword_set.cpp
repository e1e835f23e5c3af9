// Two ways to search for keywords, each by leaps.
//
// Both lay a window on the text and look at its last byte first. When no keyword has this byte, the
// window may leap by its whole length; when some have, by the distance of the byte from their ends.
// `delta` holds that distance for every byte of the text; it is zero for a byte that ends a
// keyword, and only then is the window compared.
//
//   keywords "he", "she", "his", "hers": delta is 0 for e and s, 1 for h, i and r, else 2
//
//   m o n k s h o o d
//  [m o]                  o: leap 2
//      [n k]              k: leap 2
//          [s h]          h: leap 1
//            [h o]        o: leap 2
//                [o d]    d: leap 2, behind the text: nothing found
//
// A single keyword, compared byte for byte, is searched for with the window of its length after
// Boyer, Moore and Horspool; before that, for as long as it pays, by looking for its rarest byte. All other sets are searched with the window of the shortest keyword
// after Commentz and Walter: the text before the window's end is followed through the trie of the
// backward keywords (keyword_trie.h), as far as it goes. How far the window may advance from where
// that ends is known beforehand, from the places where the bytes read occur in other keywords.
//
// The first occurrence found this way is the one that ends first. A longer keyword may start before
// it, or with it, and end behind it; so the search goes on for as long as such a keyword could
// reach.

#include "matcher/keyword_set.h"

#include "matcher/byte_frequency.h"
#include "matcher/chunk_arena.h"
#include "matcher/keyword_trie.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>

namespace trovex {

struct KeywordSet {
  /// Owns the trie and `target`.
  ChunkArena arena;
  KeywordTrieNode* root = nullptr;
  /// The number of keywords added, equal ones included.
  int words = 0;
  /// The lengths of the shortest and the longest keyword.
  int minLength = std::numeric_limits<int>::max();
  int maxLength = -1;

  /// What every byte is compared as; each byte as itself when the set does not fold.
  ByteMap fold{};
  bool folds = false;

  /// How far the window advances when its last byte, as it stands in the text, is this one.
  ByteMap delta{};
  /// The node of the trie that this byte of the text leads to from the root; null exactly where
  /// `delta` is not zero.
  std::array<const KeywordTrieNode*, 256> next{};

  /// The first keyword added, in the order of the text.
  unsigned char* target = nullptr;
  /// The single keyword's advance after a comparison: the distance from its last byte to the same
  /// byte before it.
  int repeatShift = 0;
  /// Where in the single keyword the byte stands that is the rarest in German text; -1 when even that
  /// one is common.
  int rareOffset = -1;
};

namespace {

using Byte = unsigned char;

/// Advances of `delta` are kept in a byte, so a long window leaps a little less than it could.
constexpr int kLargestDelta = std::numeric_limits<Byte>::max();

/// Whether the set is searched as one keyword whose bytes are compared as they are.
bool IsSingle(const KeywordSet& set) {
  return set.words == 1 && !set.folds;
}

// Building.

/// Keeps the first keyword apart from the trie: should it stay the only one, it is searched for by
/// itself.
bool KeepTarget(KeywordSet& set, const char* text, int length) {
  set.target = static_cast<Byte*>(set.arena.Allocate(static_cast<std::size_t>(length)));
  if (set.target == nullptr) return false;
  std::copy_n(text, length, set.target);
  return true;
}

/// The offset of the byte of `target` that is the rarest in German text; -1 when none is rare.
int RareOffset(const Byte* target, int length) {
  constexpr int kRare = 5000;  // in 100,000
  const Byte* const rarest = std::min_element(target, target + length, [](Byte a, Byte b) {
    return kByteFrequency[a] < kByteFrequency[b];
  });
  if (rarest == target + length || kByteFrequency[*rarest] > kRare) return -1;
  return static_cast<int>(rarest - target);
}

void PrepareSingle(KeywordSet& set) {
  const int length = set.minLength;
  set.delta.fill(static_cast<Byte>(std::min(length, kLargestDelta)));
  set.repeatShift = length;
  for (int i = 0; i < length; ++i) {
    const int distance = length - 1 - i;
    set.delta[set.target[i]] = static_cast<Byte>(std::min(distance, kLargestDelta));
    if (distance > 0 && set.target[i] == set.target[length - 1]) set.repeatShift = distance;
  }
  set.rareOffset = RareOffset(set.target, length);
}

/// The failure link of the child that `edge` leads to from `node`: the child of the first node on
/// the chain of `node`'s own failure links that has such an edge, or else the root.
///
/// Every node passed on the way lacks the edge. A comparison that this byte of the text stops there
/// may be one that gets past `node`, when the window has advanced by the difference of their
/// depths; so it must not advance further. The nodes behind the one with the edge were limited when
/// that one was looked at.
KeywordTrieNode* FindFailureLink(const KeywordTrieNode& node, const KeywordTrieEdge& edge,
                                 KeywordTrieNode* root) {
  for (KeywordTrieNode* f = node.fail; f != nullptr; f = f->fail) {
    if (KeywordTrieNode* const child = FindChild(*f, edge.label)) return child;
    f->shift = std::min(f->shift, node.depth - f->depth);
  }
  return root;
}

/// Tells the nodes on the chain of failure links that a keyword starts at `node`: a comparison that
/// has read any of them must not advance beyond it. The chain behind a node that is not affected
/// is not affected either.
void LimitShiftsByKeyword(const KeywordTrieNode& node) {
  for (KeywordTrieNode* f = node.fail; f != nullptr; f = f->fail) {
    const int distance = node.depth - f->depth;
    if (f->maxShift <= distance) return;
    f->maxShift = distance;
  }
}

/// Computes the failure links and the shifts of all nodes, and in `delta` the distance of every
/// byte from the end of a keyword.
void PrepareNodes(KeywordSet& set, ByteMap& delta) {
  // No advance is ever zero, not even with the empty keyword in the set.
  const int window = std::max(set.minLength, 1);
  delta.fill(static_cast<Byte>(std::min(window, kLargestDelta)));

  KeywordTrieNode* last = set.root;
  for (KeywordTrieNode* node = set.root; node != nullptr; node = node->next) {
    node->shift = window;
    node->maxShift = window;
    ForEachEdge(node->links, [&](const KeywordTrieEdge& edge) {
      last->next = edge.target;
      last = edge.target;
      Byte& distance = delta[edge.label];
      distance = static_cast<Byte>(std::min<int>(distance, node->depth));
      edge.target->fail = FindFailureLink(*node, edge, set.root);
    });
    if (node->keyword >= 0) LimitShiftsByKeyword(*node);
  }

  // A comparison that stops at a node has read all nodes above it.
  for (KeywordTrieNode* node = set.root->next; node != nullptr; node = node->next) {
    node->maxShift = std::min(node->maxShift, node->parent->maxShift);
    node->shift = std::min(node->shift, node->maxShift);
  }
}

void PrepareTrie(KeywordSet& set) {
  ByteMap foldedDelta{};
  PrepareNodes(set, foldedDelta);
  for (std::size_t c = 0; c < set.fold.size(); ++c) {
    set.delta[c] = foldedDelta[set.fold[c]];
    set.next[c] = FindChild(*set.root, set.fold[c]);
  }
}

// Searching for a single keyword. `end` is the end of the window on the text.

/// Whether the window ending at `end`, whose last byte agrees, holds the keyword. The byte before
/// it is looked at first: it refutes most windows.
bool HoldsTarget(const KeywordSet& set, const Byte* end) {
  const int length = set.minLength;
  if (end[-2] != set.target[length - 2]) return false;
  return std::memcmp(end - length, set.target, static_cast<std::size_t>(length) - 2) == 0;
}

/// Advances the window until its last byte agrees, or until its end is behind `last`, by at most
/// ten window lengths. Returns whether the byte agrees. A window whose byte agrees advances by zero
/// and stays where it is, so not every advance must be tested.
bool LeapToLastByte(const ByteMap& delta, const Byte*& end, const Byte* last) {
  while (end <= last) {
    end += delta[end[-1]];
    Byte shift = delta[end[-1]];
    end += shift;
    if (shift == 0) return true;
    end += delta[end[-1]];
    end += delta[end[-1]];
    shift = delta[end[-1]];
    end += shift;
    if (shift == 0) return true;
    end += delta[end[-1]];
    end += delta[end[-1]];
    shift = delta[end[-1]];
    end += shift;
    if (shift == 0) return true;
    end += delta[end[-1]];
    end += delta[end[-1]];
  }
  return false;
}

/// The start of the keyword's first occurrence between `text` and `limit`, which lie at least its length
/// apart, found by leaps; or null.
const Byte* SearchByLeaps(const KeywordSet& set, const Byte* text, const Byte* limit) {
  const std::ptrdiff_t length = set.minLength;
  const Byte* end = text + length;
  if (length < (limit - text) / 12) {
    const Byte* const last = limit - 11 * length;
    while (LeapToLastByte(set.delta, end, last)) {
      if (HoldsTarget(set, end)) return end - length;
      end += set.repeatShift;
    }
  }
  int shift = set.delta[end[-1]];
  while (shift <= limit - end) {
    end += shift;
    shift = set.delta[end[-1]];
    if (shift != 0) continue;
    if (HoldsTarget(set, end)) return end - length;
    shift = set.repeatShift;
  }
  return nullptr;
}

/// Goes from one occurrence of the keyword's rare byte to the next, as fast as the machine finds bytes,
/// and compares there. Returns whether that settled the search; `found` is then the start of the first
/// occurrence or null. Where the byte comes too often for this to pay, the search is not settled, and
/// the keyword does not start before `text`, which has moved on.
bool SearchByRareByte(const KeywordSet& set, const Byte*& text, const Byte* limit,
                      const Byte*& found) {
  constexpr std::ptrdiff_t kPriceOfAStop = 32;  // in bytes passed
  std::ptrdiff_t credit = 1024;
  const int length = set.minLength;
  const Byte* place = text + set.rareOffset;
  const Byte* const end = limit - (length - set.rareOffset) + 1;
  found = nullptr;
  while (place < end) {
    const auto* const stop = static_cast<const Byte*>(
        std::memchr(place, set.target[set.rareOffset], static_cast<std::size_t>(end - place)));
    if (stop == nullptr) return true;
    const Byte* const start = stop - set.rareOffset;
    if (std::memcmp(start, set.target, static_cast<std::size_t>(length)) == 0) {
      found = start;
      return true;
    }
    credit += (stop - place) - kPriceOfAStop;
    place = stop + 1;
    if (credit < 0) {
      text = start + 1;
      return limit - text < length;
    }
  }
  return true;
}

/// The start of the single keyword's first occurrence, or null.
const Byte* SearchSingle(const KeywordSet& set, const Byte* text, int size) {
  const std::ptrdiff_t length = set.minLength;
  if (length == 0) return text;
  if (length > size) return nullptr;
  if (length == 1) {
    return static_cast<const Byte*>(
        std::memchr(text, set.target[0], static_cast<std::size_t>(size)));
  }

  const Byte* const limit = text + size;
  const Byte* found = nullptr;
  if (set.rareOffset >= 0 && SearchByRareByte(set, text, limit, found)) return found;
  return SearchByLeaps(set, text, limit);
}

// Searching with the trie.

/// An occurrence of the keyword of `node`; a null node stands for none.
struct Occurrence {
  const Byte* start = nullptr;
  const KeywordTrieNode* node = nullptr;
};

/// What the trie says about the text before a place.
struct Verdict {
  /// The longest keyword that ends there, or null.
  const KeywordTrieNode* found;
  /// How far to the next place where one may end.
  int shift;
};

/// Follows the text before `end`, whose last byte ends a keyword, through the trie and down to
/// `text` at most. Only keywords that start at `latest` or before it count.
Verdict FollowBackwards(const KeywordSet& set, const Byte* text, const Byte* end,
                        const Byte* latest) {
  const KeywordTrieNode* found = nullptr;
  const Byte* start = end - 1;
  const KeywordTrieNode* node = set.next[*start];
  for (;;) {
    if (node->keyword >= 0 && start <= latest) found = node;
    if (start == text) break;
    const KeywordTrieNode* const child = FindChild(*node, set.fold[start[-1]]);
    if (child == nullptr) break;
    node = child;
    --start;
  }
  return {found, node->shift};
}

/// The first window end, from `end` to `limit`, whose last byte ends a keyword; null if none does.
const Byte* LeapToCandidate(const KeywordSet& set, const Byte* end, const Byte* limit) {
  const ByteMap& delta = set.delta;
  const std::ptrdiff_t window = set.minLength;
  if (window < (limit - end) / 4) {
    const Byte* const last = limit - 4 * window;
    while (end < last) {
      const Byte shift = delta[end[-1]];
      if (shift == 0) return end;
      end += shift;
      end += delta[end[-1]];
      end += delta[end[-1]];
    }
  }
  for (;;) {
    const Byte shift = delta[end[-1]];
    if (shift == 0) return end;
    if (shift > limit - end) return nullptr;
    end += shift;
  }
}

/// The occurrence that ends first, and the longest of those that end there.
Occurrence FindFirstEnding(const KeywordSet& set, const Byte* text, const Byte* limit) {
  if (set.minLength == 0) return {text, set.root};
  const Byte* end = text + set.minLength;
  for (;;) {
    end = LeapToCandidate(set, end, limit);
    if (end == nullptr) return {};
    const Verdict verdict = FollowBackwards(set, text, end, end);
    if (verdict.found != nullptr) return {end - verdict.found->depth, verdict.found};
    if (verdict.shift > limit - end) return {};
    end += verdict.shift;
  }
}

/// The leftmost and there the longest occurrence, given the one that ends first: it is that one, or
/// it ends behind it and starts no later.
Occurrence FindLeftmostLongest(const KeywordSet& set, const Byte* text, const Byte* limit,
                               Occurrence best) {
  // Where the longest keyword would end that starts with the best occurrence so far.
  const auto lastEnd = [&] {
    return set.maxLength < limit - best.start ? best.start + set.maxLength : limit;
  };
  const Byte* end = best.start + best.node->depth;
  const Byte* last = lastEnd();
  int shift = 1;
  while (shift <= last - end) {
    end += shift;
    shift = set.delta[end[-1]];
    if (shift != 0) continue;
    const Verdict verdict = FollowBackwards(set, text, end, best.start);
    shift = verdict.shift;
    if (verdict.found == nullptr) continue;
    best = {end - verdict.found->depth, verdict.found};
    last = lastEnd();
  }
  return best;
}

Occurrence SearchTrie(const KeywordSet& set, const Byte* text, int size) {
  if (size < set.minLength) return {};
  const Byte* const limit = text + size;
  const Occurrence first = FindFirstEnding(set, text, limit);
  if (first.node == nullptr) return {};
  return FindLeftmostLongest(set, text, limit, first);
}

}  // namespace

KeywordSetPtr KeywordSetCreate(const ByteMap* fold) {
  KeywordSetPtr set(new (std::nothrow) KeywordSet);
  if (set == nullptr) return nullptr;
  set->root = set->arena.New<KeywordTrieNode>();
  if (set->root == nullptr) return nullptr;
  set->folds = fold != nullptr;
  for (std::size_t c = 0; c < set->fold.size(); ++c)
    set->fold[c] = fold == nullptr ? static_cast<Byte>(c) : (*fold)[c];
  return set;
}

MessageNumber KeywordSetAdd(KeywordSet& set, const char* text, int length) {
  if (set.words == 0 && !KeepTarget(set, text, length)) return MessageNumber::kMemoryOverflow;
  KeywordTrieNode* node = set.root;
  for (int i = length; i > 0; --i) {
    const Byte label = set.fold[static_cast<Byte>(text[i - 1])];
    node = FindOrAddChild(*node, label, set.arena);
    if (node == nullptr) return MessageNumber::kMemoryOverflow;
  }
  if (node->keyword < 0) node->keyword = set.words;
  ++set.words;
  set.minLength = std::min(set.minLength, length);
  set.maxLength = std::max(set.maxLength, length);
  return MessageNumber::kNone;
}

void KeywordSetPrepare(KeywordSet& set) {
  if (IsSingle(set)) {
    PrepareSingle(set);
  } else {
    PrepareTrie(set);
  }
}

const char* KeywordSetSearch(const KeywordSet& set, const char* text, int size,
                             KeywordMatch* match) {
  const auto* const bytes = reinterpret_cast<const Byte*>(text);
  const Byte* start = nullptr;
  int index = 0;
  int length = set.minLength;
  if (IsSingle(set)) {
    start = SearchSingle(set, bytes, size);
  } else if (const Occurrence found = SearchTrie(set, bytes, size); found.node != nullptr) {
    start = found.start;
    index = found.node->keyword;
    length = found.node->depth;
  }
  if (start == nullptr) return nullptr;
  const auto* const found = reinterpret_cast<const char*>(start);
  if (match != nullptr) *match = {index, found, length};
  return found;
}

void KeywordSetFree(KeywordSet* set) {
  delete set;
}

}  // namespace trovex
