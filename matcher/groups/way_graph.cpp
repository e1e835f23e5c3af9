// Writing out a pattern. It is built from its end to its start: each piece is given the step that
// follows it, and becomes the step that leads into it. The builder keeps its own stack: no pattern is
// too deep for it.

#include "matcher/groups/way_graph.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

namespace trovex {

namespace {

/// What is known of each node of the tree before it is written out.
struct NodeTraits {
  bool hasGroup = false;
  bool canBeEmpty = false;
  bool isFixed = true;  // it matches in one way only
  double size = 1;      // about how many steps it becomes
};

std::vector<NodeTraits> TraitsOf(const SyntaxTree& tree) {
  std::vector<NodeTraits> traits(tree.nodes.size());
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    const SyntaxNode& node = tree.nodes[i];
    NodeTraits& own = traits[i];
    bool allEmpty = true;
    bool anyEmpty = false;
    int children = 0;
    for (int c = node.firstChild; c != kNoNode; c = tree.Node(c).nextSibling) {
      const NodeTraits& child = traits[static_cast<std::size_t>(c)];
      own.hasGroup = own.hasGroup || child.hasGroup;
      own.isFixed = own.isFixed && child.isFixed;
      own.size += child.size;
      ++children;
      allEmpty = allEmpty && child.canBeEmpty;
      anyEmpty = anyEmpty || child.canBeEmpty;
    }
    switch (node.kind) {
      case SyntaxKind::kByte:
      case SyntaxKind::kSet:
        break;
      case SyntaxKind::kEmpty:
      case SyntaxKind::kAnchor:
      case SyntaxKind::kBackReference:
        own.canBeEmpty = true;
        break;
      case SyntaxKind::kGroup:
        own.hasGroup = true;
        own.canBeEmpty = allEmpty;
        own.size += 1;
        break;
      case SyntaxKind::kConcat:
        own.canBeEmpty = allEmpty;
        break;
      case SyntaxKind::kAlternate:
        own.canBeEmpty = anyEmpty;
        own.isFixed = false;
        own.size += static_cast<double>(children);  // the splits that lead to them
        break;
      case SyntaxKind::kRepeat: {
        const int rounds = node.max == kUnbounded ? std::max(node.min, 1) : node.max;
        own.canBeEmpty = node.min == 0 || allEmpty;
        own.isFixed = own.isFixed && node.min == node.max;
        own.hasGroup = own.hasGroup && node.max != 0;
        own.size = 1 + (own.size + 2) * rounds;
        break;
      }
    }
  }
  return traits;
}

class WayBuilder {
 public:
  WayBuilder(const SyntaxTree& tree, int maxSteps)
      : tree_(tree), traits_(TraitsOf(tree)), maxSteps_(maxSteps) {}

  WayGraph Build() {
    graph_.groupCount = tree_.groupCount;
    if (tree_.nodes.empty() || traits_.back().size > maxSteps_) return TooLarge();
    CollectSets();
    entry_ = Append({WayKind::kMatch, 0, kNoStep, kNoStep, 0});
    Visit(tree_.Root(), 0);
    while (!frames_.empty()) {
      if (IsFull()) return TooLarge();
      Advance();
    }
    graph_.start = entry_;
    Sort();
    for (std::size_t i = 0; i < graph_.steps.size(); ++i) {
      graph_.maxDepth = std::max(graph_.maxDepth, graph_.steps[i].depth);
      if (graph_.steps[i].kind == WayKind::kMatch) graph_.end = static_cast<int>(i);
    }
    return std::move(graph_);
  }

 private:
  /// A node that is being written out. `entry_` is the step that follows it when it is begun, and
  /// the step that leads into it when it is done.
  struct Frame {
    int node;
    int depth;
    int exit = kNoStep;  // what follows the node
    bool isBegun = false;
    int rounds = 0;           // of a repetition: how many are begun
    int roundExit = kNoStep;  // what follows the round that is being written out
    int split = kNoStep;      // of an endless repetition: whether there is another round
    bool isAskedFor = false;  // of a sequence: whether a group stood in the pieces so far
    bool hasLast = false;     // of a sequence: whether its last piece is done
    std::size_t base = 0;     // where its children stand in `children_`
    std::size_t entries = 0;  // where the entries of its alternatives stand in `entries_`
  };

  WayGraph TooLarge() const {
    WayGraph graph;
    graph.groupCount = tree_.groupCount;
    graph.isTooLarge = true;
    return graph;
  }

  bool IsFull() const { return graph_.steps.size() > static_cast<std::size_t>(maxSteps_) * 4; }

  const NodeTraits& Traits(int node) const { return traits_[static_cast<std::size_t>(node)]; }

  int Append(const WayStep& step) {
    graph_.steps.push_back(step);
    return static_cast<int>(graph_.steps.size()) - 1;
  }
  WayStep& At(int step) { return graph_.steps[static_cast<std::size_t>(step)]; }

  void Visit(int node, int depth) {
    Frame frame{node, depth};
    frame.exit = entry_;
    frames_.push_back(frame);
  }

  /// Begins a piece that is compared by its end, or goes on without.
  void VisitPiece(int node, int depth, bool counts) {
    if (counts) {
      ++depth;
      entry_ = Append({WayKind::kPieceEnd, 0, entry_, kNoStep, depth});
    }
    Visit(node, depth);
  }

  /// Takes the latest frame one step further.
  void Advance() {
    Frame& frame = frames_.back();
    const SyntaxNode& node = tree_.Node(frame.node);
    switch (node.kind) {
      case SyntaxKind::kEmpty:
        break;
      case SyntaxKind::kByte:
      case SyntaxKind::kSet:
        entry_ = Append({WayKind::kBytes, SetIndex(node), entry_, kNoStep, frame.depth});
        break;
      case SyntaxKind::kAnchor:
        entry_ = Append({WayKind::kAnchor, node.value, entry_, kNoStep, frame.depth});
        break;
      case SyntaxKind::kBackReference:
        graph_.hasReferences = true;
        entry_ = Append({WayKind::kReference, node.value, entry_, entry_, frame.depth});
        break;
      case SyntaxKind::kGroup:
        return AdvanceGroup(frame, node);
      case SyntaxKind::kConcat:
        return AdvanceConcat(frame, node);
      case SyntaxKind::kAlternate:
        return AdvanceAlternate(frame, node);
      case SyntaxKind::kRepeat:
        return AdvanceRepeat(frame, node);
    }
    frames_.pop_back();
  }

  void AdvanceGroup(Frame& frame, const SyntaxNode& node) {
    const int depth = frame.depth;
    if (!frame.isBegun) {
      frame.isBegun = true;
      entry_ = Append({WayKind::kClose, node.value, entry_, kNoStep, depth});
      return Visit(node.firstChild, depth);
    }
    entry_ = Append({WayKind::kOpen, node.value, entry_, kNoStep, depth});
    frames_.pop_back();
  }

  void PushChildren(Frame& frame, const SyntaxNode& node) {
    frame.isBegun = true;
    frame.base = children_.size();
    frame.entries = entries_.size();
    for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
      children_.push_back(c);
  }

  void AdvanceConcat(Frame& frame, const SyntaxNode& node) {
    if (!frame.isBegun) PushChildren(frame, node);
    if (children_.size() == frame.base) {
      frames_.pop_back();
      return;
    }
    const int child = children_.back();
    children_.pop_back();
    const bool isLast = !frame.hasLast;
    frame.hasLast = true;
    frame.isAskedFor = frame.isAskedFor || Traits(child).hasGroup;
    VisitPiece(child, frame.depth, frame.isAskedFor && !isLast && !Traits(child).isFixed);
  }

  void AdvanceAlternate(Frame& frame, const SyntaxNode& node) {
    if (!frame.isBegun) {
      PushChildren(frame, node);
    } else {
      entries_.push_back(entry_);
    }
    if (children_.size() > frame.base) {
      const int child = children_.back();
      children_.pop_back();
      entry_ = frame.exit;
      return Visit(child, frame.depth);
    }
    // The last alternative's entry came first. Neighbours are joined until one is left, so that no
    // way to an alternative is long.
    std::reverse(entries_.begin() + static_cast<std::ptrdiff_t>(frame.entries), entries_.end());
    std::size_t count = entries_.size() - frame.entries;
    int* const entries = entries_.data() + frame.entries;
    for (; count > 1; count = (count + 1) / 2) {
      for (std::size_t i = 0; i + 1 < count; i += 2)
        entries[i / 2] = Append({WayKind::kSplit, 0, entries[i], entries[i + 1], frame.depth});
      if (count % 2 != 0) entries[count / 2] = entries[count - 1];
    }
    entry_ = entries[0];
    entries_.resize(frame.entries);
    frames_.pop_back();
  }

  void AdvanceRepeat(Frame& frame, const SyntaxNode& node) {
    if (node.max == 0) {
      frames_.pop_back();
      return;
    }
    if (frame.rounds > 0) EndRound(frame, node);
    const int count = node.max == kUnbounded ? std::max(node.min, 1) : node.max;
    if (frame.rounds == count) {
      frames_.pop_back();
      return;
    }
    if (frame.rounds == 0 && node.max == kUnbounded) {
      entry_ = frame.split = Append({WayKind::kSplit, 0, kNoStep, frame.exit, frame.depth});
    }
    ++frame.rounds;
    frame.roundExit = entry_;
    const NodeTraits& child = Traits(node.firstChild);
    VisitPiece(node.firstChild, frame.depth, child.hasGroup && !child.isFixed && node.max != 1);
  }

  /// Joins the round that was just written out to those after it.
  void EndRound(const Frame& frame, const SyntaxNode& node) {
    const bool canBeEmpty = Traits(node.firstChild).canBeEmpty;
    const int round = entry_;
    if (node.max == kUnbounded) {
      if (frame.rounds > 1) return;
      At(frame.split).next = canBeEmpty ? Filled(round, frame.split, kNoStep) : round;
      if (node.min > 0) return;
      entry_ = frame.split;
      if (!canBeEmpty) return;
      // Of rounds that match nothing, only a single one counts.
      const int first = Filled(round, frame.split, frame.exit);
      entry_ = Append({WayKind::kSplit, 0, first, frame.exit, frame.depth});
      return;
    }
    const int optional = node.max - node.min;
    if (frame.rounds > optional) return;
    const bool isFirst = node.min == 0 && frame.rounds == optional;
    const int next =
        canBeEmpty ? Filled(round, frame.roundExit, isFirst ? frame.exit : kNoStep) : round;
    entry_ = Append({WayKind::kSplit, 0, next, frame.exit, frame.depth});
  }

  bool ConsumesNothing(const WayStep& step) const {
    return step.kind != WayKind::kMatch && step.kind != WayKind::kBytes;
  }

  /// The steps from `from`, but where they come to `barrier` before the first byte, they lead to
  /// `instead`.
  int Filled(int from, int barrier, int instead) {
    constexpr int kUnknown = -2;
    copies_.assign(graph_.steps.size(), kUnknown);
    copies_[static_cast<std::size_t>(barrier)] = instead;
    const auto copyOf = [&](int step) {
      return step == kNoStep ? kNoStep : copies_[static_cast<std::size_t>(step)];
    };
    std::vector<int> stack{from};
    while (!stack.empty() && !IsFull()) {
      const int index = stack.back();
      if (copyOf(index) != kUnknown) {
        stack.pop_back();
        continue;
      }
      const WayStep step = At(index);
      if (!ConsumesNothing(step)) {
        copies_[static_cast<std::size_t>(index)] = index;
        continue;
      }
      const int next = step.kind == WayKind::kReference ? step.next : copyOf(step.next);
      const int other = copyOf(step.other);
      if (next == kUnknown || other == kUnknown) {
        if (next == kUnknown) stack.push_back(step.next);
        if (other == kUnknown) stack.push_back(step.other);
        continue;
      }
      copies_[static_cast<std::size_t>(index)] = CopyOf(index, step, next, other);
    }
    return IsFull() ? from : copyOf(from);
  }

  int CopyOf(int index, WayStep step, int next, int other) {
    if (next == step.next && other == step.other) return index;
    if (step.kind == WayKind::kSplit && (next == kNoStep || other == kNoStep)) {
      return next == kNoStep ? other : next;
    }
    if (next == kNoStep) return kNoStep;
    step.next = next;
    step.other = other;
    // Repetitions inside one another copy the same steps again and again; from equal steps, the same
    // ways lead on.
    const auto [copy, isNew] =
        known_.try_emplace({step.kind, step.value, step.next, step.other, step.depth}, kNoStep);
    if (isNew) copy->second = Append(step);
    return copy->second;
  }

  /// One set per byte or set of the tree; a byte has one of its own where it first stands.
  void CollectSets() {
    const auto asInText = [&](const CharSet& set) {
      CharSet bytes;
      for (std::size_t b = 0; b < 256; ++b)
        bytes[b] = set.test(tree_.translate[b]);
      bytes.reset('\n');
      return bytes;
    };
    for (const CharSet& set : tree_.sets)
      graph_.sets.push_back(asInText(set));
    byteSets_.assign(256, kNoStep);
    for (const SyntaxNode& node : tree_.nodes) {
      if (node.kind != SyntaxKind::kByte) continue;
      const auto byte = static_cast<std::size_t>(node.value & 0xFF);
      if (byteSets_[byte] != kNoStep) continue;
      byteSets_[byte] = static_cast<int>(graph_.sets.size());
      CharSet set;
      set.set(byte);
      graph_.sets.push_back(asInText(set));
    }
  }

  int SetIndex(const SyntaxNode& node) const {
    return node.kind == SyntaxKind::kSet ? node.value
                                         : byteSets_[static_cast<std::size_t>(node.value & 0xFF)];
  }

  /// Leaves the steps that the start leads to, each after those that it leads to without a byte.
  void Sort() {
    const std::vector<WayStep> steps = std::move(graph_.steps);
    graph_.steps.clear();
    constexpr int kUnseen = -2;
    constexpr int kSeen = -3;
    std::vector<int> places(steps.size(), kUnseen);
    const auto place = [&](int step) -> int& { return places[static_cast<std::size_t>(step)]; };
    std::vector<int> roots{graph_.start};
    std::vector<int> stack;
    std::vector<int> order;
    while (!roots.empty()) {
      stack.push_back(roots.back());
      roots.pop_back();
      while (!stack.empty()) {
        const int index = stack.back();
        const WayStep& step = steps[static_cast<std::size_t>(index)];
        if (place(index) == kUnseen) {
          place(index) = kSeen;
          const bool consumes = step.kind == WayKind::kBytes || step.kind == WayKind::kReference;
          if (consumes) {
            roots.push_back(step.next);
          } else if (step.next != kNoStep && place(step.next) == kUnseen) {
            stack.push_back(step.next);
          }
          if (step.other != kNoStep && place(step.other) == kUnseen) stack.push_back(step.other);
          continue;
        }
        stack.pop_back();
        if (place(index) != kSeen) continue;
        place(index) = static_cast<int>(order.size());
        order.push_back(index);
      }
    }
    graph_.steps.reserve(order.size());
    for (const int index : order) {
      WayStep step = steps[static_cast<std::size_t>(index)];
      if (step.next != kNoStep) step.next = place(step.next);
      if (step.other != kNoStep) step.other = place(step.other);
      graph_.steps.push_back(step);
    }
    graph_.start = place(graph_.start);
  }

  const SyntaxTree& tree_;
  const std::vector<NodeTraits> traits_;
  const int maxSteps_;
  WayGraph graph_;
  int entry_ = kNoStep;
  std::vector<Frame> frames_;
  std::vector<int> children_;
  std::vector<int> entries_;
  std::vector<int> copies_;
  std::map<std::tuple<WayKind, int, int, int, int>, int> known_;  // the copies, by what they are
  std::vector<int> byteSets_;
};

}  // namespace

WayGraph MakeWayGraph(const SyntaxTree& tree, int maxSteps) {
  return WayBuilder(tree, maxSteps).Build();
}

}  // namespace trovex
