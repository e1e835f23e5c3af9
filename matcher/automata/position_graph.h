// A pattern as a graph of positions: which byte of it can follow which in a match.
//
// Every byte and every set of the pattern is a position. An edge from one to another says that the
// second can match the byte after the one that the first matched; the start and the end of a match
// are two more ends of edges. Anchors are gone: what they demand stands on the edges that lead past
// them, as the pairs of neighbours (the byte before the place and the byte after it) between which
// the edge may be taken. There are three kinds of bytes, so nine pairs, and a set of pairs says
// exactly what any mix of anchors on any number of ways says.
//
//   (a|^b)*c    positions a, b, c; the start and a and b each lead to a and c between any neighbours,
//               and to b where a line feed stands before
//
// Where whole words are asked for, the edges from the start and to the end also demand that the
// neighbour outside of the match belongs to no word.
//
// A counted repetition is written out: x{2,4} is x x (x (x)?)?, one inside the other, so that each copy
// leads to the next and after the last and the edges do not multiply.

#ifndef TROVEX_MATCHER_AUTOMATA_POSITION_GRAPH_H
#define TROVEX_MATCHER_AUTOMATA_POSITION_GRAPH_H

#include "matcher/budget.h"
#include "matcher/pattern/neighbours.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/scan/beside.h"
#include "text/byte_map.h"
#include "text/char_set.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace trovex {

struct PositionEdge {
  std::uint32_t position;
  Neighbours neighbours;

  bool operator==(const PositionEdge&) const = default;
};

/// Lists of edges, one after the other.
class EdgeLists {
 public:
  /// Ends the list that edges are being added to; the next one begins.
  void EndList() { ends_.push_back(static_cast<std::uint32_t>(edges_.size())); }
  void Add(PositionEdge edge) { edges_.push_back(edge); }
  std::size_t EdgeCount() const { return edges_.size(); }
  std::size_t ListCount() const { return ends_.size(); }

  std::span<const PositionEdge> operator[](std::size_t list) const {
    const std::uint32_t begin = list == 0 ? 0 : ends_[list - 1];
    return {edges_.data() + begin, ends_[list] - begin};
  }
  /// The latest list, of which edges can still be changed.
  std::span<PositionEdge> Latest() {
    const std::uint32_t begin = ends_.size() < 2 ? 0 : ends_[ends_.size() - 2];
    return {edges_.data() + begin, ends_.back() - begin};
  }

 private:
  std::vector<PositionEdge> edges_;
  std::vector<std::uint32_t> ends_;
};

struct PositionGraph {
  /// The number of positions. The start is one more node, numbered after them; so is, where edges
  /// are followed backwards, the end.
  std::uint32_t size = 0;
  std::uint32_t Start() const { return size; }
  std::uint32_t End() const { return size; }

  /// The bytes that each position matches; never a newline.
  std::vector<CharSet> bytes;
  /// The edges from each node to positions, in ascending order of these.
  EdgeLists next;
  /// Between which neighbours a match can end after each node.
  std::vector<Neighbours> ends;

  /// The same backwards: the edges into each position from positions, and those into the end.
  EdgeLists previous;
  /// Between which neighbours a match can start before each position; before the end: be empty.
  std::vector<Neighbours> starts;

  /// What each byte is to an edge. Kinds that no edge tells apart are one; a newline is always known.
  std::array<ByteKind, 256> kindOf{};
  /// Bytes that nothing in the graph tells apart have the same class.
  ByteMap classOf{};
  int classes = 0;
  /// A byte of each class.
  ByteMap byteOfClass{};

  /// Whether a match can be empty somewhere, if words are not asked for.
  bool canBeEmpty = false;
};

/// What decides the graph beside the pattern.
struct GraphOptions {
  /// Matches must be whole words. What is only a part of a pattern need not begin one, or end one.
  bool words = false;
  bool wordsAtStart = true;
  bool wordsAtEnd = true;
  /// The bytes that words are made of; no newline.
  CharSet wordBytes;
  /// Beyond so many positions or edges there is no graph.
  std::size_t mostPositions = 0;
  std::size_t mostEdges = 0;
  /// What making it is charged to; null: to nobody.
  CompileBudget* budget = nullptr;
};

/// The graph of `tree`, which has no back-references. Null where it would be larger than `options`
/// allow; the time is bounded by these numbers. Throws BudgetExhausted.
std::unique_ptr<const PositionGraph> MakePositionGraph(const SyntaxTree& tree,
                                                       const GraphOptions& options);

/// Which bytes can stand at each of the first offsets of a match.
using LeadingBytes = std::vector<CharSet>;

/// The ways in which a match can begin: every match begins in one of them. There are up to `mostWays`,
/// the alternatives of the pattern told apart as far as that goes, all of the same length: `mostOffsets`,
/// or what the shortest match has.
std::vector<LeadingBytes> LeadingWays(const PositionGraph& graph, std::size_t mostWays,
                                      std::size_t mostOffsets);

/// What must stand beside a match, where it is the same for all of them; nothing where it depends on the match.
std::optional<Beside> BesideOf(const PositionGraph& graph);

/// The bytes that can stand before a match; all where it can be empty.
CharSet BytesBefore(const PositionGraph& graph);

/// Whether the pattern is nothing but one string of sets: position 0, then 1, and so on to the last. Only
/// where a match starts and ends may neighbours count.
bool IsOneString(const PositionGraph& graph);

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_POSITION_GRAPH_H
