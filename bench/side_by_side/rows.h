// The rows of the side-by-side benchmark: what is searched for, in the library's words and in those
// of its peers.

#ifndef TROVEX_BENCH_ROWS_H
#define TROVEX_BENCH_ROWS_H

#include <optional>
#include <span>

namespace trovex::bench {

/// A pattern as all peers read it: in it, "^" and "$" are the ends of lines, the dot does not match
/// a line feed, and case is folded for the letters A to Z at least.
struct PeerPattern {
  const char* pattern;
  bool foldCase = false;
};

/// An expression put together by hand out of two patterns.
struct ByHand {
  PeerPattern left;
  PeerPattern right;
  /// The greatest distance between the two; below 0: anywhere in the text.
  int nearBy = -1;
  /// Whether the right one must not occur (within the distance).
  bool rightExcluded = false;
};

/// How the library is asked. kLeaf: with a tree of one leaf made by hand, for a pattern that would
/// lose its first and its last bracket as a typed expression.
enum class Mode { kPlain, kFolded, kWholeWords, kPhonetic, kLeaf };

struct Row {
  /// As it stands in the table, in UTF-8.
  const char* name;
  /// The library's expression.
  const char* expression;
  Mode mode = Mode::kPlain;
  /// What the peers search for where it is not the expression itself.
  const char* peerPattern = nullptr;
  /// The row is an expression with an operator.
  std::optional<ByHand> byHand = std::nullopt;

  bool HasPeers() const { return mode != Mode::kPhonetic; }
};

std::span<const Row> Rows();

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_ROWS_H
