// A pattern as a graph of positions: which byte of it can follow which in a match.
//
// Every byte and every set of the token stream is a position. An edge from one to another says that
// the second can match the byte behind the one that the first matched; the start and the end of a
// match are two more ends of edges. Anchors are gone: what they demand stands on the edges that lead
// past them, as the pairs of neighbours (the byte before the place and the byte behind it) between
// which the edge may be taken. There are three kinds of bytes, so nine pairs, and a set of pairs says
// exactly what any mix of anchors on any number of ways says.
//
// Where whole words are asked for, the edges from the start and to the end also demand that the
// neighbour outside of the match belongs to no word.

#ifndef TROVEX_MATCHER_AUTOMATA_POSITION_GRAPH_H
#define TROVEX_MATCHER_AUTOMATA_POSITION_GRAPH_H

#include "matcher/line_filter/pattern_automaton.h"
#include "matcher/pattern/engine_stream.h"
#include "text/byte_map.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace trovex {

/// The kinds of neighbours. The edge of the text counts as a newline.
enum class ByteKind : std::uint8_t { kOther, kLetter, kNewline };
inline constexpr int kByteKinds = 3;

/// A set of pairs of neighbours, one bit each.
using Neighbours = std::uint16_t;
inline constexpr Neighbours kAnyNeighbours = 0x1FF;

constexpr Neighbours NeighbourBit(ByteKind before, ByteKind behind) {
  return static_cast<Neighbours>(
      1U << (static_cast<unsigned>(before) * kByteKinds + static_cast<unsigned>(behind)));
}

struct PositionEdge {
  std::uint32_t position;
  Neighbours neighbours;
};

struct PositionGraph {
  /// The number of positions. The start is one more node, numbered behind them.
  std::uint32_t size = 0;
  std::uint32_t Start() const { return size; }

  /// The bytes that each position matches; never a newline.
  std::vector<CharSet> bytes;
  /// The edges from each node to positions, in ascending order of these.
  std::vector<std::vector<PositionEdge>> next;
  /// Between which neighbours a match can end behind each node.
  std::vector<Neighbours> ends;

  /// What each byte is to an edge. Kinds that no edge tells apart are one; a newline is always known.
  std::array<ByteKind, 256> kindOf{};
  /// Bytes that nothing in the graph tells apart have the same class.
  ByteMap classOf{};

  /// How many edges there are.
  std::size_t edgeCount = 0;
};

/// What decides the graph beside the pattern's stream.
struct GraphOptions {
  /// Matches must be whole words.
  bool words = false;
  /// As what the engine compares each byte; null where it compares bytes as they are.
  const ByteMap* translate = nullptr;
};

/// The graph of `stream`. Null where automata made of it could not answer as the engine does, or
/// would be too large to be worth it.
std::unique_ptr<PositionGraph> MakePositionGraph(const TokenStream& stream,
                                                 const GraphOptions& options);

/// Which bytes can stand at each of the first offsets of a match.
using LeadingBytes = std::vector<CharSet>;

/// The ways in which a match can begin: every match begins in one of them. There are up to `mostWays`,
/// the alternatives of the pattern told apart as far as that goes, all of the same length: `mostOffsets`,
/// or what the shortest match has.
std::vector<LeadingBytes> LeadingWays(const PositionGraph& graph, std::size_t mostWays,
                                      std::size_t mostOffsets);

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_POSITION_GRAPH_H
