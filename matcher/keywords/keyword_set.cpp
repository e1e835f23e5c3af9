// Three ways to search for keywords.
//
// A few keywords are searched for with a place scan (place_scan.h): it finds the places where the
// rarest bytes of a keyword stand, and the keyword itself is compared there. Where there are too
// many keywords for it, where the machine has no means to do it fast, and in a text where the
// places come so close together that it does not pay, the search goes by leaps.
//
// Both ways to leap lay a window on the text and look at its last byte first. When no keyword has
// this byte, the window may leap by its whole length; when some have, by the distance of the byte
// from their ends. `delta` holds that distance for every byte of the text; it is zero for a byte
// that ends a keyword, and only then is the window compared.
//
//   keywords "he", "she", "his", "hers": delta is 0 for e and s, 1 for h, i and r, else 2
//
//   m o n k s h o o d
//  [m o]                  o: leap 2
//      [n k]              k: leap 2
//          [s h]          h: leap 1
//            [h o]        o: leap 2
//                [o d]    d: leap 2, after the text: nothing found
//
// A single keyword, compared byte for byte, is searched for with the window of its length after
// Boyer, Moore and Horspool. All other sets are searched with the window of the shortest keyword
// after Commentz and Walter: the text before the window's end is followed through the trie of the
// backward keywords (keyword_trie.h), as far as it goes. How far the window may advance from where
// that ends is known beforehand, from the places where the bytes read occur in other keywords.
//
// The first occurrence found this way is the one that ends first. A longer keyword may start before
// it, or with it, and end after it; so the search goes on for as long as such a keyword could
// reach.

#include "matcher/keywords/keyword_set.h"

#include "matcher/keywords/chunk_arena.h"
#include "matcher/keywords/keyword_trie.h"
#include "matcher/scan/place_scan.h"
#include "matcher/tuning.h"
#include "text/char_set.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <vector>

namespace trovex {

struct KeywordSet {
  /// A keyword in the order of the text, every byte folded.
  struct Target {
    const unsigned char* bytes;
    int length;
    /// The number of the keyword.
    int index;
  };

  /// Owns the trie and the bytes of `targets`.
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

  /// The first few keywords that were added, of equal ones the first. A single keyword is
  /// `targets[0]`.
  std::array<Target, PlaceScan::kMaxAlternatives> targets{};
  /// How many keywords differ from each other; those that `targets` has no room for count too.
  std::size_t differentWords = 0;
  /// The single keyword's advance after a comparison: the distance from its last byte to the same
  /// byte before it.
  int repeatShift = 0;

  /// Finds the places where keywords can start: alternative i stands for `targets[i]`, which then
  /// are sorted, the longest first. Empty when the set is searched by leaps alone.
  std::optional<PlaceScan> places;
  /// Whether the only keyword stands wherever it can start, as the scan looks at every byte of it.
  bool placesAreStarts = false;
};

namespace {

using Byte = unsigned char;
using Target = KeywordSet::Target;

/// Advances of `delta` are kept in a byte, so a long window leaps a little less than it could.
constexpr int kLargestDelta = std::numeric_limits<Byte>::max();

/// Whether the set is searched as one keyword whose bytes are compared as they are.
bool IsSingle(const KeywordSet& set) {
  return set.words == 1 && !set.folds;
}

// Building.

/// The bytes of a keyword, folded; null when memory is short.
Byte* CopyFolded(KeywordSet& set, const char* text, int length) {
  auto* const copy = static_cast<Byte*>(set.arena.Allocate(static_cast<std::size_t>(length)));
  if (copy == nullptr) return nullptr;
  std::transform(text, text + length, copy, [&](char c) { return set.fold[static_cast<Byte>(c)]; });
  return copy;
}

void PrepareSingle(KeywordSet& set) {
  const int length = set.minLength;
  const Byte* const target = set.targets[0].bytes;
  set.delta.fill(static_cast<Byte>(std::min(length, kLargestDelta)));
  set.repeatShift = length;
  for (int i = 0; i < length; ++i) {
    const int distance = length - 1 - i;
    set.delta[target[i]] = static_cast<Byte>(std::min(distance, kLargestDelta));
    if (distance > 0 && target[i] == target[length - 1]) set.repeatShift = distance;
  }
}

/// The failure link of the child that `edge` leads to from `node`: the child of the first node on
/// the chain of `node`'s own failure links that has such an edge, or else the root.
///
/// Every node passed on the way lacks the edge. A comparison that this byte of the text stops there
/// may be one that gets past `node`, when the window has advanced by the difference of their
/// depths; so it must not advance further. The nodes after the one with the edge were limited when
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
/// has read any of them must not advance beyond it. The chain after a node that is not affected
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

/// For every byte of a folded keyword the bytes of a text that are compared as it.
using ComparedAs = std::array<CharSet, 256>;

/// The bytes that can stand at each offset of the keyword, as far as a place scan can look and the
/// shortest keyword goes.
std::vector<CharSet> SetsOf(const KeywordSet& set, const Target& target,
                            const ComparedAs& comparedAs) {
  const int length = std::min(set.minLength, PlaceScan::kMaxOffset + 1);
  std::vector<CharSet> sets;
  sets.reserve(static_cast<std::size_t>(length));
  for (int i = 0; i < length; ++i)
    sets.push_back(comparedAs[target.bytes[i]]);
  return sets;
}

/// Makes the place scan, if the set is one for it.
void PreparePlaces(KeywordSet& set) {
  if (set.differentWords == 0 || set.differentWords > set.targets.size()) return;
  if (set.minLength == 0) return;
  ComparedAs comparedAs;
  for (std::size_t c = 0; c < comparedAs.size(); ++c)
    comparedAs[set.fold[c]].set(c);

  const auto end = set.targets.begin() + static_cast<std::ptrdiff_t>(set.differentWords);
  std::stable_sort(set.targets.begin(), end,
                   [](const Target& a, const Target& b) { return a.length > b.length; });
  std::vector<std::vector<CharSet>> alternatives;
  for (auto target = set.targets.begin(); target != end; ++target)
    alternatives.push_back(SetsOf(set, *target, comparedAs));
  const std::vector<Probes> probes = ChooseProbesForAlternatives(alternatives);
  const PlaceScan places = PlaceScan::ForAlternatives(probes);
  if (!places.IsFast()) return;
  set.places = places;
  set.placesAreStarts =
      set.differentWords == 1 && probes[0].size() == static_cast<std::size_t>(set.maxLength);
}

// Searching.

/// What a search answers; the start is null when no keyword occurs.
struct Found {
  const Byte* start = nullptr;
  int index = 0;
  int length = 0;
};

// Searching with the place scan.

/// Whether `target` stands at `start`, before `limit`.
bool StandsAt(const KeywordSet& set, const Target& target, const Byte* start, const Byte* limit) {
  if (target.length > limit - start) return false;
  if (!set.folds)
    return std::memcmp(start, target.bytes, static_cast<std::size_t>(target.length)) == 0;
  return std::equal(target.bytes, target.bytes + target.length, start,
                    [&](Byte wanted, Byte byte) { return wanted == set.fold[byte]; });
}

/// The longest keyword that starts at `start`, a place that the scan has found, or null.
const Target* LongestAt(const KeywordSet& set, const Byte* start, const Byte* limit) {
  if (set.placesAreStarts) return &set.targets[0];
  for (unsigned rest = set.places->AlternativesAt(start); rest != 0; rest &= rest - 1) {
    const Target& target = set.targets[static_cast<std::size_t>(std::countr_zero(rest))];
    if (StandsAt(set, target, start, limit)) return &target;
  }
  return nullptr;
}

/// Goes from one place that the scan finds to the next. Returns whether that settled the search;
/// `found` then tells the longest keyword at the first place where one starts, if there is any.
/// Where the places come too close together for this to pay, the search is not settled, and no
/// keyword starts before `text`, which has moved on.
bool SearchByPlaces(const KeywordSet& set, const Byte*& text, const Byte* limit, Found& found) {
  std::ptrdiff_t credit = kFirstCreditForStops;
  if (limit - text < set.minLength) return true;
  // Where a place is found, the shortest keyword must have room.
  const Byte* const end = limit - (set.minLength - 1 - set.places->Reach());
  for (;;) {
    const Byte* const place = set.places->Find(text, end);
    if (place == nullptr) return true;
    if (const Target* const target = LongestAt(set, place, limit)) {
      found = {place, target->index, target->length};
      return true;
    }
    credit += (place - text) - kPriceOfAStop;
    text = place + 1;
    if (credit < 0) return false;
  }
}

// Searching for a single keyword by leaps. `end` is the end of the window on the text.

/// Whether the window ending at `end`, whose last byte agrees, holds the keyword. The byte before
/// it is looked at first: it refutes most windows.
bool HoldsTarget(const KeywordSet& set, const Byte* end) {
  const int length = set.minLength;
  if (end[-2] != set.targets[0].bytes[length - 2]) return false;
  return std::memcmp(end - length, set.targets[0].bytes, static_cast<std::size_t>(length) - 2) == 0;
}

/// Advances the window until its last byte agrees, or until its end is after `last`, by at most
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

/// The start of the keyword's first occurrence between `text` and `limit`, which lie at least its
/// length apart, found by leaps; or null.
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

Found SearchSingle(const KeywordSet& set, const Byte* text, const Byte* limit) {
  const std::ptrdiff_t length = set.minLength;
  if (length > limit - text) return {};
  const Byte* start = text;
  if (length == 1) {
    start = static_cast<const Byte*>(
        std::memchr(text, set.targets[0].bytes[0], static_cast<std::size_t>(limit - text)));
  } else if (length > 1) {
    start = SearchByLeaps(set, text, limit);
  }
  return {start, 0, set.minLength};
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
/// it ends after it and starts no later.
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

Found SearchTrie(const KeywordSet& set, const Byte* text, const Byte* limit) {
  if (limit - text < set.minLength) return {};
  const Occurrence first = FindFirstEnding(set, text, limit);
  if (first.node == nullptr) return {};
  const Occurrence best = FindLeftmostLongest(set, text, limit, first);
  return {best.start, best.node->keyword, best.node->depth};
}

Found Find(const KeywordSet& set, const Byte* text, const Byte* limit) {
  Found found;
  if (set.places && SearchByPlaces(set, text, limit, found)) return found;
  return IsSingle(set) ? SearchSingle(set, text, limit) : SearchTrie(set, text, limit);
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
  const Byte* target = nullptr;
  if (set.differentWords < set.targets.size()) {
    target = CopyFolded(set, text, length);
    if (target == nullptr) return MessageNumber::kMemoryOverflow;
  }
  KeywordTrieNode* node = set.root;
  for (int i = length; i > 0; --i) {
    const Byte label = set.fold[static_cast<Byte>(text[i - 1])];
    node = FindOrAddChild(*node, label, set.arena);
    if (node == nullptr) return MessageNumber::kMemoryOverflow;
  }
  if (node->keyword < 0) {
    node->keyword = set.words;
    if (target != nullptr) set.targets[set.differentWords] = {target, length, set.words};
    ++set.differentWords;
  }
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
  try {
    PreparePlaces(set);
  } catch (const std::bad_alloc&) {
    // The set is searched by leaps.
  }
}

const char* KeywordSetSearch(const KeywordSet& set, const char* text, int size,
                             KeywordMatch* match) {
  const auto* const bytes = reinterpret_cast<const Byte*>(text);
  const Found found = Find(set, bytes, bytes + size);
  const auto* const start = reinterpret_cast<const char*>(found.start);
  if (start != nullptr && match != nullptr) *match = {found.index, start, found.length};
  return start;
}

void KeywordSetFree(KeywordSet* set) {
  delete set;
}

}  // namespace trovex
