// Steps over sets of positions, a bit for each, where too many different sets would come by to make
// states of them.
//
// Most edges lead from a position to the next one, or a few further: all of the same length are one shift
// of the whole set. What is left of the edges is put into groups: the positions that are followed by the
// same ones under the same condition, or that follow the same ones. A group is passed by all at once, in
// either direction:
//
//   a.{0,3}b    positions 0 to 4, the start
//               shift by 1    0 to 1, 1 to 2, 2 to 3, 3 to 4
//               groups        {0, 1, 2} to {4}     {the start} to {0}
//
// The cost of a step is known beforehand: it does not depend on how many positions are in a set.

#ifndef TROVEX_MATCHER_AUTOMATA_POSITION_SIMULATION_H
#define TROVEX_MATCHER_AUTOMATA_POSITION_SIMULATION_H

#include "matcher/automata/position_graph.h"
#include "matcher/limits.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

class PositionSimulation {
 public:
  /// The bits of 64 nodes.
  using Word = std::uint64_t;

  /// `graph` must outlive the simulation.
  explicit PositionSimulation(const PositionGraph& graph);

  /// How many words a set has: bit n for node n, the start being the last.
  std::size_t Words() const { return words_; }
  /// About how many nanoseconds a step takes.
  std::int64_t StepCost() const { return stepCost_; }
  /// Whether that is more than a search may spend; there is then nothing to take steps with.
  bool IsTooCostly() const { return stepCost_ > kMaxStepCost; }
  /// Whether it is certain beforehand that it is.
  static bool IsTooLarge(const PositionGraph& graph) {
    return graph.size / 64 > kMaxStepCost || graph.next.EdgeCount() > kMaxSimulatedEdges;
  }

  /// Makes `to` the positions that match `byte` after those of `from`. `pair` is the number of the
  /// neighbours of the place before it: the byte before, and `byte`.
  void StepForwards(const Word* from, unsigned pair, unsigned char byte, Word* to) const;

  /// Makes `to` the nodes after which a match can go on with one of `from`, where `byte` is to be
  /// matched next, or end. `from` is changed.
  void StepBackwards(Word* from, unsigned pair, unsigned char byte, Word* to) const;

  /// The nodes after which a match can end between the neighbours of number `pair`.
  const Word* Ends(unsigned pair) const { return ends_.data() + pair * words_; }

  /// The set of the start alone.
  void SetStart(Word* set) const;
  bool HasStart(const Word* set) const {
    return (set[graph_.size / 64] >> (graph_.size % 64) & 1) != 0;
  }

 private:
  /// Part of a set: some words, the others being zero.
  struct Part {
    std::uint32_t first = 0;  // the first word that is not zero
    std::uint32_t count = 0;
    std::size_t bits = 0;  // where they lie in `partBits_`
  };
  struct Group {
    Neighbours neighbours;
    Part sources;
    Part targets;
  };

  /// All edges over `distance` positions, between any neighbours.
  struct Shift {
    unsigned distance;
    std::vector<Word> sources;
  };

  void AddEdges();
  void AddShift(std::uint32_t distance);
  void AddEnds();
  void AddMatched();
  Part MakePart(const std::vector<std::uint32_t>& nodes);
  bool Meets(const Word* set, const Part& part) const;
  void Add(const Part& part, Word* set) const;

  const PositionGraph& graph_;
  const std::size_t words_;
  std::int64_t stepCost_ = 0;
  std::vector<Shift> shifts_;
  std::vector<Group> groups_;
  std::vector<Word> partBits_;
  std::vector<Word> matched_;  // by class of bytes: the positions that match them
  std::vector<Word> ends_;     // by pair of neighbours
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_POSITION_SIMULATION_H
