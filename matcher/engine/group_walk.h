// Tells the groups of a known match as the engine does, for patterns without back-references.
//
// The engine first notes, at every place of the match, the nodes of its graph (engine_graph.h) that lie
// on any way from the start to the end. Then it walks once, without ever turning back, along noted nodes:
// at a branch it takes the first side that is noted, and the second if it has passed the first since
// the last byte. A group is what was passed between its brackets last.
//
// That walk has two peculiarities, which are the reason for doing the same here. A round of a repetition
// that consumes nothing may be walked, and leaves its mark on the groups, where "(()|a)*" needs no such
// round. And after some branches the walk goes round for ever without consuming anything. Here it is
// given up when it goes on and on with nothing new passed.
//
// Time and memory are at most the size of the graph times the length of the match.

#ifndef TROVEX_MATCHER_ENGINE_GROUP_WALK_H
#define TROVEX_MATCHER_ENGINE_GROUP_WALK_H

#include "matcher/engine/bounded_matcher.h"
#include "matcher/engine/engine_graph.h"
#include "matcher/engine/text_reader.h"
#include "matcher/work_credit.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

class GroupWalk {
 public:
  /// All must outlive the walk.
  GroupWalk(const BoundedMatcher& matcher, const EngineGraph& graph, const BoundedText& text,
            WorkCredit& credit);

  enum class Outcome : unsigned char {
    kTold,
    kDenied,    // the engine finds no way through the match
    kEndless,   // the engine does not come back
    kTooLarge,  // there is more to note than the bounds or the credit allow
  };

  /// Writes the ranges of `match` and its groups to `ranges` if they are told.
  Outcome Go(GroupRange match, std::vector<GroupRange>& ranges);

 private:
  using Number = EngineGraph::Number;
  using Operation = BoundedMatcher::Operation;

  /// What is reached at one place: a part of `reached_`.
  struct Layer {
    std::size_t begin;
    std::size_t end;
    EngineGraph::Conditions holding;
  };

  const BoundedMatcher::Step& StepOf(Number node) const {
    return matcher_.At(graph_.At(node).address);
  }
  const Layer& LayerAt(int place) const {
    return layers_[static_cast<std::size_t>(place - start_)];
  }
  Number AfterByte(Number node, int place) const;
  bool NoteForwards(GroupRange match);
  bool NoteBackwards(GroupRange match);
  bool FindLastNode(const Layer& layer);
  void KeepWays(const Layer& layer);
  void Index(const Layer& layer);
  bool IsNoted(Number node, const Layer& layer) const;
  Outcome Walk(GroupRange match, std::vector<GroupRange>& ranges);
  Number StepWithoutByte(Number node, int place);
  void ForgetPassed();

  static constexpr std::size_t kNoEntry = SIZE_MAX;

  const BoundedMatcher& matcher_;
  const EngineGraph& graph_;
  const TextReader text_;
  WorkCredit& credit_;
  std::vector<Layer> layers_;    // by place, from the start of the match on
  std::vector<Number> reached_;  // the nodes of all layers
  std::vector<bool> leadsOn_;    // by entry of `reached_`: whether the end is reached from it
  std::vector<std::size_t>
      entryOf_;                 // by node: its latest entry, in the layer that was indexed last
  std::vector<bool> isPassed_;  // by node: whether the walk was there since the last byte
  std::vector<Number> passed_;  // the nodes for which it was
  Number lastNode_ = -1;
  int start_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_ENGINE_GROUP_WALK_H
