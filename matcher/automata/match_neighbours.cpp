// What must stand beside the matches of a graph.

#include "matcher/automata/position_graph.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace trovex {

namespace {

/// Kinds of bytes, one bit each.
using Kinds = unsigned;

constexpr Kinds BitOf(ByteKind kind) {
  return 1U << static_cast<unsigned>(kind);
}

/// The kinds of the bytes that `position` matches.
Kinds KindsAt(const PositionGraph& graph, std::uint32_t position) {
  Kinds kinds = 0;
  for (std::size_t c = 0; c < graph.kindOf.size(); ++c) {
    if (graph.bytes[position][c]) kinds |= BitOf(graph.kindOf[c]);
  }
  return kinds;
}

/// The bytes of these kinds.
CharSet BytesOf(const PositionGraph& graph, Kinds kinds) {
  CharSet bytes;
  for (std::size_t c = 0; c < bytes.size(); ++c)
    bytes.set(c, (kinds & BitOf(graph.kindOf[c])) != 0);
  return bytes;
}

/// Collects which kinds may stand outside of a match at one of its ends.
class Outside {
 public:
  /// `pairOf(outer, inner)` is the pair of neighbours; at that end of a match, `allowed` are those that may stand beside
  /// a byte of one of the kinds `inner`.
  template <typename PairOf>
  void Add(Neighbours allowed, Kinds inner, PairOf pairOf) {
    for (int k = 0; k < kByteKinds; ++k) {
      const auto kind = static_cast<ByteKind>(k);
      if ((inner & BitOf(kind)) == 0) continue;
      Kinds kinds = 0;
      for (int o = 0; o < kByteKinds; ++o) {
        const auto outer = static_cast<ByteKind>(o);
        if ((allowed & pairOf(outer, kind)) != 0) kinds |= BitOf(outer);
      }
      isOne_ = isOne_ && (any_ == 0 || any_ == kinds) && kinds != 0;
      any_ |= kinds;
    }
  }

  /// Those that may stand beside some match.
  Kinds Any() const { return any_; }

  /// Whether they may stand beside each.
  bool IsOne() const { return isOne_ && any_ != 0; }

 private:
  Kinds any_ = 0;
  bool isOne_ = true;
};

Outside Before(const PositionGraph& graph) {
  Outside before;
  for (std::uint32_t position = 0; position < graph.size; ++position) {
    if (graph.starts[position] == 0) continue;
    before.Add(graph.starts[position], KindsAt(graph, position), NeighbourBit);
  }
  return before;
}

Outside After(const PositionGraph& graph) {
  Outside after;
  for (std::uint32_t position = 0; position < graph.size; ++position) {
    if (graph.ends[position] == 0) continue;
    after.Add(graph.ends[position], KindsAt(graph, position),
              [](ByteKind outer, ByteKind inner) { return NeighbourBit(inner, outer); });
  }
  return after;
}

}  // namespace

std::optional<Beside> BesideOf(const PositionGraph& graph) {
  const Outside before = Before(graph);
  const Outside after = After(graph);
  if (!before.IsOne() || !after.IsOne()) return std::nullopt;
  return Beside{BytesOf(graph, before.Any()), BytesOf(graph, after.Any())};
}

CharSet BytesBefore(const PositionGraph& graph) {
  return graph.canBeEmpty ? ~CharSet() : BytesOf(graph, Before(graph).Any());
}

}  // namespace trovex
