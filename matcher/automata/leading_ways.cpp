// The bytes with which matches can begin, and what must stand beside them.

#include "matcher/automata/position_graph.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace trovex {

namespace {

/// One way to begin, as far as it was followed, and the nodes that it has come to.
struct Way {
  LeadingBytes bytes;
  std::vector<std::uint32_t> nodes;
};

bool CanEnd(const PositionGraph& graph, const Way& way) {
  return std::any_of(way.nodes.begin(), way.nodes.end(),
                     [&](std::uint32_t node) { return graph.ends[node] != 0; });
}

/// The positions after `way`, those with the lowest bytes first.
std::vector<std::uint32_t> PositionsAfter(const PositionGraph& graph, const Way& way) {
  std::vector<std::uint32_t> after;
  for (const std::uint32_t node : way.nodes) {
    for (const PositionEdge& edge : graph.next[node])
      after.push_back(edge.position);
  }
  std::sort(after.begin(), after.end());
  after.erase(std::unique(after.begin(), after.end()), after.end());
  std::stable_sort(after.begin(), after.end(), [&](std::uint32_t a, std::uint32_t b) {
    return graph.bytes[a]._Find_first() < graph.bytes[b]._Find_first();
  });
  return after;
}

/// Adds `way` with one more offset, at which `positions` are reached, to `ways`; where it looks like one
/// that is there, both become one.
void AddWay(const PositionGraph& graph, const Way& way, const std::vector<std::uint32_t>& positions,
            std::vector<Way>& ways) {
  CharSet bytes;
  for (const std::uint32_t position : positions)
    bytes |= graph.bytes[position];
  Way longer = {way.bytes, positions};
  longer.bytes.push_back(bytes);
  const auto same = std::find_if(ways.begin(), ways.end(),
                                 [&](const Way& other) { return other.bytes == longer.bytes; });
  if (same == ways.end()) {
    ways.push_back(std::move(longer));
  } else {
    same->nodes.insert(same->nodes.end(), positions.begin(), positions.end());
  }
}

/// All `ways` with one more offset. Each splits into one for every position after it, or, if these were
/// too many, into as many as it has a share in `mostWays`.
std::vector<Way> Lengthened(const PositionGraph& graph, const std::vector<Way>& ways,
                            std::size_t mostWays) {
  std::vector<std::vector<std::uint32_t>> after;
  std::size_t count = 0;
  for (const Way& way : ways) {
    after.push_back(PositionsAfter(graph, way));
    count += after.back().size();
  }
  std::vector<Way> longer;
  for (std::size_t i = 0; i < ways.size(); ++i) {
    const std::size_t parts = count <= mostWays ? after[i].size() : mostWays / ways.size();
    const std::size_t size = parts == 0 ? 1 : (after[i].size() + parts - 1) / parts;
    for (auto part = after[i].begin(); part != after[i].end();) {
      const auto left = static_cast<std::size_t>(after[i].end() - part);
      const auto end = part + static_cast<std::ptrdiff_t>(std::min(size, left));
      AddWay(graph, ways[i], {part, end}, longer);
      part = end;
    }
  }
  return longer;
}

// What stands beside matches.

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

std::vector<LeadingBytes> LeadingWays(const PositionGraph& graph, std::size_t mostWays,
                                      std::size_t mostOffsets) {
  const auto isLast = [&](const Way& way) {
    return way.nodes.size() > kMostAbreast || CanEnd(graph, way);
  };
  std::vector<Way> ways = {{{}, {graph.Start()}}};
  for (std::size_t offset = 0; offset < mostOffsets; ++offset) {
    if (std::any_of(ways.begin(), ways.end(), isLast)) break;
    ways = Lengthened(graph, ways, mostWays);
  }
  std::vector<LeadingBytes> leading;
  leading.reserve(ways.size());
  for (Way& way : ways)
    leading.push_back(std::move(way.bytes));
  return leading;
}

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
