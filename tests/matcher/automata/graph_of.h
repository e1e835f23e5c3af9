// Graphs of patterns for the tests of what runs on them.

#ifndef TROVEX_TESTS_MATCHER_AUTOMATA_GRAPH_OF_H
#define TROVEX_TESTS_MATCHER_AUTOMATA_GRAPH_OF_H

#include "matcher/automata/position_graph.h"
#include "matcher/pattern/pattern_syntax.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace trovex::testing {

/// The graph of `pattern`, with letters and the underscore as the bytes of words; null beyond `most`
/// positions or edges.
inline std::unique_ptr<const PositionGraph> GraphOf(std::string_view pattern, bool words = false,
                                                    std::size_t most = 100'000) {
  GraphOptions options;
  options.words = words;
  for (int c = 0; c < 256; ++c)
    options.wordBytes.set(static_cast<std::size_t>(c), IsEngineWordByte(c));
  options.mostPositions = most;
  options.mostEdges = most;
  return MakePositionGraph(ParsePattern(pattern.data(), pattern.size(), nullptr), options);
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_AUTOMATA_GRAPH_OF_H
