// The rows of the side-by-side benchmark: what is searched for, in the library's words and in those
// of its peers.

#ifndef TROVEX_BENCH_ROWS_H
#define TROVEX_BENCH_ROWS_H

#include <string>
#include <string_view>
#include <vector>

namespace trovex::bench {

/// A pattern as all peers read it: in it, "^" and "$" are the ends of lines, the dot does not match
/// a line feed, and case is folded for the letters A to Z at least.
struct PeerPattern {
  std::string pattern;
  bool foldCase = false;
  /// The group whose range is asked for instead of the match's; 0: none.
  int group = 0;

  bool NeedsGroups() const { return group != 0 || pattern.find("\\1") != pattern.npos; }
};

/// An expression of several plain patterns, put together by hand: their matches all together, if
/// each of them occurs.
struct ByHand {
  std::vector<std::string> operands;
  /// The greatest distance between one operand and what follows it in the expression; below 0:
  /// anywhere in the text.
  int nearBy = -1;
  /// Whether the last one must not occur (within the distance).
  bool lastExcluded = false;
};

/// How the library is asked. kLeaf: the first door with a tree of one leaf made by hand, for a
/// pattern that would lose its first and its last bracket as a typed expression.
enum class Mode { kPlain, kFolded, kWholeWords, kPhonetic, kLeaf };

struct Row {
  /// As it stands in the table, in UTF-8.
  std::string name;
  /// The library's expression.
  std::string expression;
  Mode mode = Mode::kPlain;
  /// What the peers search for where it is not the expression itself.
  std::string peerPattern = {};
  /// Where the row is an expression with an operator; else it has no operands.
  ByHand byHand = {};
  /// The group whose range is asked for instead of the match's; 0: none.
  int group = 0;
  /// The names of peers that cannot do the row.
  std::string without = {};
  /// The door that reads the row otherwise by its rules: its matches are held against nobody's.
  std::string readOtherwiseBy = {};

  bool IsByHand() const { return !byHand.operands.empty(); }
  bool HasPeer(std::string_view name) const {
    return mode != Mode::kPhonetic && without.find(name) == without.npos;
  }
  /// Without operators.
  PeerPattern ForPeers() const {
    return {peerPattern.empty() ? expression : peerPattern, mode == Mode::kFolded, group};
  }
};

/// All rows. Those of long lists are made of `words`, which are sorted, in Windows Latin-1; without
/// words there are none.
std::vector<Row> MakeRows(const std::vector<std::string>& words);

/// A row that is told in a line: its name, "plain", "leaf", "folded" or "whole", or of an expression with operators "and" or
/// "near" with the distance, and then "not" where its last operand is a NOT; the expression, what the peers search for
/// instead, if anything, and the names of those that cannot, with tabs between them. Throws std::runtime_error if it
/// is none.
Row RowOfLine(const std::string& line);

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_ROWS_H
