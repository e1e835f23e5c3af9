// One group of the matches on a line, where each match is looked for from the end of the group before.
//
// Who asks for a group is given its range and goes on from its end, which may be in the middle of the match.
// With "(Haus).*Katze" all matches of a line end at the same place: to locate each of them, and to tell the
// groups of each, takes the square of the line. Here the line is read once, from its end to its start. At
// every place, each node of the engine's graph (engine_graph.h) then knows the furthest end of a match
// that it leads to. A match starts where the start of the graph has an end, which is that of the longest.
//
//   (a).*b on "aabab"    the start has the end 5 at 0, 1 and 3, and none at 2, 4 and 5
//
// The group is told by the engine's walk (group_walk.h). A node lies on a way to the end of the match if that
// is the furthest end that it leads to: the walk meets none that leads further, or the match would be longer.
// The walk is left as soon as nothing on the way can change the group.
//
// What the nodes know is kept at one place in so many, and worked out again between two of these when a
// walk comes there.
//
// A search that goes on from the end of a group takes what follows for a text of its own: a line begins there,
// and no byte stands before. What the nodes know at that one place is worked out anew for it; at all later ones
// anchors see the same bytes as before.
//
// For patterns without back-references and hazards, and with anchors only where all that the engine reaches
// after one stands under its condition, and where a match has one node to end at, at any place (Suits).

#ifndef TROVEX_MATCHER_ENGINE_LINE_GROUPS_H
#define TROVEX_MATCHER_ENGINE_LINE_GROUPS_H

#include "matcher/engine/bounded_matcher.h"
#include "matcher/engine/bracket_ranges.h"
#include "matcher/engine/engine_graph.h"
#include "matcher/engine/text_reader.h"
#include "matcher/search_outcome.h"
#include "matcher/work_credit.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

class LineGroups {
 public:
  /// Both must outlive the object.
  LineGroups(const BoundedMatcher& matcher, const EngineGraph& graph);

  /// Whether lines can be read at once for the pattern.
  static bool Suits(const BoundedMatcher& matcher, const EngineGraph& graph);

  /// Reads the line, or the rest of one, from `begin`, where a line begins, to `end`, for group `group`. With
  /// `words`, only whole words are matches: for patterns without anchors, on lines after which no byte of a word
  /// stands. Returns false where that is more than `credit` affords, or too long; nothing is then prepared.
  bool Prepare(const char* begin, const char* end, int group, bool words, WorkCredit& credit);

  /// Whether what was read last holds `place`, and was read for `group`.
  bool Covers(const char* place, int group) const {
    return begin_ != nullptr && begin_ <= place && place <= end_ && group == group_;
  }
  const char* LineEnd() const { return end_; }
  /// Forgets the line, as the text may change.
  void Forget() { begin_ = nullptr; }

  struct Match {
    SearchOutcome outcome = SearchOutcome::kNotFound;
    const char* start = nullptr;  // also where it gives up: of a match whose group is not told
    /// Offsets from the start of the match; -1 twice if the group took no part.
    GroupRange group;
  };
  /// The leftmost match that starts at `place` or later, of those the longest. `beginsText`: what stands before
  /// `place` belongs to another text.
  Match Find(const char* place, bool beginsText, WorkCredit& credit);

 private:
  using Number = EngineGraph::Number;
  using Conditions = EngineGraph::Conditions;
  using Operation = BoundedMatcher::Operation;
  using End = std::int32_t;  // an offset in the line; -1: none

  void OrderNodes();
  void NoteWhatLeadsToBrackets();
  Conditions HoldingAt(int offset) const;
  bool CanStartAt(int offset) const;
  bool CanEndAt(int offset) const;
  void StepBack(int offset, Conditions holding, const End* following, End* ends) const;
  int NextStart(int offset) const;
  int FirstStart(int offset, WorkCredit& credit);
  bool Load(int offset, WorkCredit& credit);
  const End* EndsAt(int offset) const;
  bool Walk(int start, WorkCredit& credit, GroupRange& group);
  Number StepWithoutByte(Number number, const End* ends, End end);
  void ForgetPassed();
  bool MatchesByte(const BoundedMatcher::Step& step, int offset) const;

  const BoundedMatcher& matcher_;
  const EngineGraph& graph_;
  std::vector<Number>
      order_;  // what a node leads to without a byte stands before it, but for loops
  bool hasLoops_ = false;
  int group_ = 0;
  bool words_ = false;
  std::vector<bool> leadsToBracket_;  // by node: whether one of the group is on some way from it

  const char* begin_ = nullptr;  // null: nothing is prepared
  const char* end_ = nullptr;
  int length_ = 0;
  std::vector<std::uint64_t> starts_;  // a bit for each place at which a match starts
  std::vector<End> kept_;              // the ends at every multiple of the stretch, node by node
  std::vector<End> stretch_;           // those of one stretch
  int loaded_ = -1;                    // which one that is
  int textBegin_ = -1;                 // the place that was last taken for the beginning of a text,
  std::vector<End> endsAtBegin_;       // and the ends there
  std::vector<bool> isPassed_;         // by node: whether the walk was there since the last byte
  std::vector<Number> passed_;         // the nodes for which it was
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_ENGINE_LINE_GROUPS_H
