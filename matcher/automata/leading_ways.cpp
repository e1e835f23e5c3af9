// The bytes with which matches can begin.

#include "matcher/automata/position_graph.h"
#include "matcher/tuning.h"

#include <algorithm>
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

}  // namespace trovex
