// The graph that the engine walks to tell the groups of a match, for patterns without back-references.
//
// Every step of the program is a node, in the engine's order: what stands inside of a branch comes before
// the branch. A node leads on without a byte to one or two others, or it stands for a byte.
//
// After an anchor everything that is reached without a byte is there a second time, under the condition
// of that anchor, and so on for the anchors among that. How far such a copy goes, and what it shares with
// others, decides which groups the engine tells, so it is made in just the engine's order. Where an
// anchor stands in a writing-out of a repetition that is not the first, the engine makes no copy: the
// anchor's condition is lost, which is why it finds matches there that it denies with their groups.

#ifndef TROVEX_MATCHER_ENGINE_ENGINE_GRAPH_H
#define TROVEX_MATCHER_ENGINE_ENGINE_GRAPH_H

#include "matcher/engine/bounded_matcher.h"
#include "matcher/engine/text_reader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace trovex {

class EngineGraph {
 public:
  using Number = std::int32_t;       // of a node
  using Conditions = std::uint32_t;  // bits; see `Holding`

  struct Node {
    int address = 0;  // in the program
    Conditions conditions = 0;
    bool isCopy = false;
    int nextCount = 0;
    std::array<Number, 2> next{};  // where it leads without a byte
    Number afterByte = -1;         // where it leads with its byte
  };

  explicit EngineGraph(const BoundedMatcher& matcher);

  /// False if the graph is too large to be made.
  bool IsWhole() const { return isWhole_; }

  Number Start() const { return start_; }
  const Node& At(Number number) const { return nodes_[static_cast<std::size_t>(number)]; }
  std::size_t Size() const { return nodes_.size(); }

  /// The conditions that hold at `place`. Those of a node on the byte before must hold for the node to
  /// be there at all, those on the byte after for what it stands for to match.
  static Conditions Holding(const TextReader& text, int place);
  static constexpr Conditions kOnByteBefore = 0x0F;
  /// Whether the one conditions and the other can never hold at the same place.
  static bool AreExclusive(Conditions one, Conditions other);

 private:
  Number AddNode(const Node& node);
  void AddSteps(const BoundedMatcher& matcher);
  void Link(const BoundedMatcher& matcher);
  Number NodeOfAddress(const BoundedMatcher& matcher, int address) const;
  void CopyAfterAnchors();
  void Visit(Number root, std::vector<bool>& isVisited);
  void CopyAfter(Number anchor);
  Number Copy(Number original, Conditions conditions);
  Number KnownCopy(Number original, Conditions conditions) const;

  std::vector<Node> nodes_;
  std::vector<Number> nodeOf_;                              // by address
  std::map<std::pair<Number, Conditions>, Number> copies_;  // the latest
  Number start_ = 0;
  bool isWhole_ = true;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_ENGINE_ENGINE_GRAPH_H
