// Finds the match that the engine finds, for patterns without back-references, in one pass over a line.
//
// The engine tries one start after the other, which costs the square of a long line. Here all starts are
// followed at the same time, along the engine's own graph (engine_graph.h): at every place, each node
// that is reached knows the leftmost start from which it is. The time is at most that of the line times
// the nodes that are reached, and is spent from a credit while it passes.

#ifndef TROVEX_MATCHER_ENGINE_GRAPH_SEARCH_H
#define TROVEX_MATCHER_ENGINE_GRAPH_SEARCH_H

#include "matcher/engine/bounded_matcher.h"
#include "matcher/engine/engine_graph.h"
#include "matcher/engine/text_reader.h"
#include "matcher/search_outcome.h"
#include "matcher/work_credit.h"

#include <vector>

namespace trovex {

class GraphSearch {
 public:
  /// All must outlive the search.
  GraphSearch(const BoundedMatcher& matcher, const EngineGraph& graph, const BoundedText& text,
              WorkCredit& credit);

  /// Finds the leftmost-longest match that starts from `from` to `lastStart`. With `words`, only those
  /// that the rule for whole words lets pass count. Gives up where the credit was spent before one was
  /// known.
  SearchOutcome Find(int from, int lastStart, const WordRule* words, GroupRange& match);

 private:
  using Number = EngineGraph::Number;

  struct Thread {
    Number node;
    int start;
  };

  void Enter(Number node, int start, int place);
  void Reach(Number node, int start, int place);
  void NoteEnd(int place, const WordRule* words, GroupRange& match) const;
  void FollowByte(int place);
  int SkipTo(int place, int lastStart) const;

  const BoundedMatcher& matcher_;
  const EngineGraph& graph_;
  const TextReader text_;
  WorkCredit& credit_;
  std::vector<Thread> reached_;  // at the present place, by their starts
  std::vector<Thread> next_;     // after its byte
  std::vector<int> reachedAt_;   // by node: the place at which it was last reached
  EngineGraph::Conditions holding_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_ENGINE_GRAPH_SEARCH_H
