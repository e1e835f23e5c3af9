// The engine's graph, the copies and the lists.
//
// The nodes of the graph are the bytes, sets and back-references, which consume text, and the empty
// ones: anchors, the two ends of a group, each "|" and each repetition. A repetition with bounds is
// written out before: "x{2,}" is "xxx*", "x{0,3}" is "((x|)x|)x|". A node's number is its place in
// the written-out tree, operands before their operators, and the engine treats the ways out of a node
// in the order of their numbers.
//
// What stands after an anchor holds only where the anchor does. So for each anchor the engine copies
// what is reached from it without text, and the copy carries the anchor's condition. A copy is looked
// for, among all copies, only for the first of two ways.
//
// Then each node gets the list of all nodes that are reached from it without text, itself among them.
// It is merged from the lists of the nodes that its ways lead to, which are made first. In a loop that
// needs no text, one list waits for another: such a list is made anew each time it is asked for, until
// one is made from the outside of the loop. This is what takes exponential time.

#include "matcher/engine/engine_rehearsal.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <unordered_map>
#include <utility>
#include <vector>
#include "matcher/costs.h"

namespace trovex {

namespace {

using NodeNumber = std::int32_t;
/// Nodes in ascending order.
using NodeList = std::vector<NodeNumber>;

/// What must stand on the two sides of a place, a bit for each: the engine takes two conditions for
/// the same where they ask for the same.
using Condition = unsigned;
constexpr Condition kWordBefore = 1;
constexpr Condition kNoWordBefore = 2;
constexpr Condition kWordAfter = 4;
constexpr Condition kNoWordAfter = 8;
constexpr Condition kLineBegins = 16;
constexpr Condition kLineEnds = 32;
constexpr Condition kTextBegins = 64;
constexpr Condition kTextEnds = 128;

/// The conditions of an anchor, of which one must hold: the engine reads a word edge as "(\<|\>)", and
/// its opposite likewise.
struct Conditions {
  Condition first = 0;
  Condition second = 0;  // 0: there is no second
};

Conditions ConditionsOf(const SyntaxNode& anchor) {
  switch (static_cast<Anchor>(anchor.value)) {
    case Anchor::kLineStart:
      return {kLineBegins};
    case Anchor::kLineEnd:
      return {kLineEnds};
    case Anchor::kTextStart:
      return {kTextBegins};
    case Anchor::kTextEnd:
      return {kTextEnds};
    case Anchor::kWordStart:
      return {kNoWordBefore | kWordAfter};
    case Anchor::kWordEnd:
      return {kWordBefore | kNoWordAfter};
    case Anchor::kWordEdge:
      return {kNoWordBefore | kWordAfter, kWordBefore | kNoWordAfter};
    case Anchor::kNotWordEdge:
      return {kWordBefore | kWordAfter, kNoWordBefore | kNoWordAfter};
  }
  return {};
}

struct GraphNode {
  std::array<NodeNumber, 2> ways{};  // to what comes next without text, in ascending order
  int wayCount = 0;
  NodeNumber next = 0;  // what comes next after the text of a back-reference
  bool isBackReference = false;
  int group = 0;  // that a back-reference names, or whose end the node is
  bool isCopy = false;
  NodeNumber original = 0;  // of a copy
  Condition condition = 0;

  void AddWay(NodeNumber node) {
    const auto count = static_cast<std::size_t>(wayCount);
    if (std::find(ways.begin(), ways.begin() + wayCount, node) != ways.begin() + wayCount) return;
    ways[count] = node;
    ++wayCount;
    std::sort(ways.begin(), ways.begin() + wayCount);
  }
};

/// Writes the tree out into nodes.
class GraphWriter {
 public:
  GraphWriter(const SyntaxTree& tree, CompileBudget& budget) : tree_(tree), budget_(budget) {}

  std::vector<GraphNode> Write() {
    CountNodes();
    const auto count = static_cast<std::size_t>(counts_.back()) + 1;
    budget_.ChargeSteps(static_cast<std::int64_t>(count) * kEngineStepsPerNode);
    budget_.ChargeBytes(static_cast<std::int64_t>(count) * kEngineBytesPerNode);
    nodes_.resize(count);
    free_ = static_cast<NodeNumber>(count);
    const NodeNumber end = NewNode();
    start_ = WriteNode(tree_.Root(), end);
    return std::move(nodes_);
  }

  /// Where a match begins.
  NodeNumber Start() const { return start_; }

 private:
  /// How many nodes each part of the tree becomes.
  void CountNodes() {
    counts_.assign(tree_.nodes.size(), 0);
    for (std::size_t i = 0; i < counts_.size(); ++i) {
      const SyntaxNode& node = tree_.nodes[i];
      std::int64_t inside = 0;
      std::int64_t children = 0;
      for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling) {
        inside += counts_[static_cast<std::size_t>(c)];
        ++children;
      }
      if (node.kind == SyntaxKind::kGroup) inside = counts_[static_cast<std::size_t>(BodyOf(node))];
      counts_[i] = CountOf(node, inside, children);
    }
  }

  static std::int64_t CountOf(const SyntaxNode& node, std::int64_t inside, std::int64_t children) {
    switch (node.kind) {
      case SyntaxKind::kEmpty:
        return 0;
      case SyntaxKind::kAnchor:
        return ConditionsOf(node).second != 0 ? 3 : 1;
      case SyntaxKind::kGroup:
        return inside + 2;
      case SyntaxKind::kConcat:
        return inside;
      case SyntaxKind::kAlternate:
        return inside + children - 1;
      case SyntaxKind::kRepeat:
        if (inside == 0) return 0;
        if (node.max == kUnbounded) return (node.min + 1) * inside + 1;
        return node.max * inside + (node.max - node.min);
      default:
        return 1;
    }
  }

  /// Nodes are numbered from the last one to the first: what comes next is then known.
  NodeNumber NewNode() {
    --free_;
    At(free_).isCopy = isInCopy_;
    return free_;
  }
  GraphNode& At(NodeNumber node) { return nodes_[static_cast<std::size_t>(node)]; }

  /// Writes the part of the tree at `index`, after which `next` comes. Returns its first node, which
  /// is `next` where the part is empty. Recurses as deep as the pattern is nested.
  NodeNumber WriteNode(int index, NodeNumber next) {
    const SyntaxNode& node = tree_.Node(index);
    switch (node.kind) {
      case SyntaxKind::kEmpty:
        return next;
      case SyntaxKind::kAnchor:
        return WriteAnchor(node, next);
      case SyntaxKind::kBackReference: {
        const NodeNumber written = NewNode();
        At(written).isBackReference = true;
        At(written).group = node.value;
        At(written).next = next;
        At(written).AddWay(next);
        return written;
      }
      case SyntaxKind::kGroup: {
        const NodeNumber end = WriteGroupEdge(next);
        At(end).group = node.value;
        return WriteGroupEdge(WriteNode(BodyOf(node), end));
      }
      case SyntaxKind::kConcat:
        for (const int child : LastToFirst(node))
          next = WriteNode(child, next);
        return next;
      case SyntaxKind::kAlternate:
        return WriteAlternatives(node, next);
      case SyntaxKind::kRepeat:
        return CountsAsEmpty(node) ? next : WriteRepeat(node, next);
      default:
        return NewNode();
    }
  }

  /// The edges of groups are made after the repetitions are written out, and so are no copies.
  NodeNumber WriteGroupEdge(NodeNumber next) {
    const NodeNumber written = WriteEmptyNode(next);
    At(written).isCopy = false;
    return written;
  }

  /// A group that is all of a group's body is no node of its own.
  int BodyOf(const SyntaxNode& group) const {
    const SyntaxNode& body = tree_.Node(group.firstChild);
    return body.kind == SyntaxKind::kGroup ? body.firstChild : group.firstChild;
  }

  bool CountsAsEmpty(const SyntaxNode& repeat) const {
    return repeat.max == 0 || counts_[static_cast<std::size_t>(repeat.firstChild)] == 0;
  }

  NodeNumber WriteEmptyNode(NodeNumber next) {
    const NodeNumber written = NewNode();
    At(written).AddWay(next);
    return written;
  }

  NodeNumber WriteAnchor(const SyntaxNode& node, NodeNumber next) {
    const Conditions conditions = ConditionsOf(node);
    if (conditions.second == 0) return WriteCondition(conditions.first, next);
    const NodeNumber either = NewNode();
    At(either).AddWay(WriteCondition(conditions.second, next));
    At(either).AddWay(WriteCondition(conditions.first, next));
    return either;
  }

  NodeNumber WriteCondition(Condition condition, NodeNumber next) {
    const NodeNumber written = WriteEmptyNode(next);
    At(written).condition = condition;
    return written;
  }

  /// "a|b|c" is "(a|b)|c".
  NodeNumber WriteAlternatives(const SyntaxNode& node, NodeNumber next) {
    const std::vector<int> children = LastToFirst(node);
    const NodeNumber whole = NewNode();
    NodeNumber either = whole;
    for (std::size_t i = 0; i + 1 < children.size(); ++i) {
      At(either).AddWay(WriteNode(children[i], next));
      const bool isFirstPair = i + 2 == children.size();
      const NodeNumber rest = isFirstPair ? WriteNode(children[i + 1], next) : NewNode();
      At(either).AddWay(rest);
      either = rest;
    }
    return whole;
  }

  NodeNumber WriteRepeat(const SyntaxNode& node, NodeNumber next) {
    const int body = node.firstChild;
    if (node.max == kUnbounded) {
      const NodeNumber loop = NewNode();
      At(loop).AddWay(WriteRound(body, node.min > 0, loop));
      At(loop).AddWay(next);
      next = loop;
    } else if (node.max > node.min) {
      next = WriteOptionalRounds(node, next);
    }
    for (int round = node.min; round > 0; --round)
      next = WriteRound(body, round > 1, next);
    return next;
  }

  /// Writes the rounds of which there may be fewer.
  NodeNumber WriteOptionalRounds(const SyntaxNode& node, NodeNumber next) {
    const int body = node.firstChild;
    const NodeNumber whole = NewNode();
    NodeNumber optional = whole;
    for (int round = node.max; round > node.min + 1; --round) {
      const NodeNumber written = WriteRound(body, true, next);
      const NodeNumber inner = NewNode();
      At(optional).AddWay(inner);
      At(optional).AddWay(next);
      optional = inner;
      next = written;
    }
    At(optional).AddWay(WriteRound(body, node.min > 0, next));
    At(optional).AddWay(next);
    return whole;
  }

  /// Writes a round of a repetition. All but the first are copies of it.
  NodeNumber WriteRound(int body, bool isCopy, NodeNumber next) {
    const bool wasInCopy = std::exchange(isInCopy_, isInCopy_ || isCopy);
    const NodeNumber written = WriteNode(body, next);
    isInCopy_ = wasInCopy;
    return written;
  }

  std::vector<int> LastToFirst(const SyntaxNode& node) const {
    std::vector<int> children;
    for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
      children.push_back(c);
    std::reverse(children.begin(), children.end());
    return children;
  }

  const SyntaxTree& tree_;
  CompileBudget& budget_;
  std::vector<std::int64_t> counts_;
  std::vector<GraphNode> nodes_;
  bool isInCopy_ = false;
  NodeNumber free_ = 0;  // the numbers below are not given away yet
  NodeNumber start_ = 0;
};

class EngineRehearsal {
 public:
  EngineRehearsal(const SyntaxTree& tree, int maxDepth, CompileBudget& budget)
      : maxDepth_(maxDepth), budget_(budget) {
    GraphWriter writer(tree, budget);
    nodes_ = writer.Write();
    start_ = writer.Start();
    originals_ = nodes_.size();
    hasBackReferences_ = std::any_of(nodes_.begin(), nodes_.end(),
                                     [](const GraphNode& node) { return node.isBackReference; });
    hasGroups_ = tree.groupCount > 0;
  }

  int Run() {
    MakeAllLists();
    if (depth_ > maxDepth_) return depth_;
    if (hasGroups_ || hasBackReferences_) ChargeForOppositeLists();
    if (hasBackReferences_) ChargeForStart();
    return depth_;
  }

 private:
  enum class Making : unsigned char { kNotBegun, kBegun, kDone };

  GraphNode& At(NodeNumber node) { return nodes_[static_cast<std::size_t>(node)]; }
  Making& MakingOf(NodeNumber node) { return making_[static_cast<std::size_t>(node)]; }
  NodeList& ListOf(NodeNumber node) { return lists_[static_cast<std::size_t>(node)]; }

  // Copies.

  NodeNumber Copy(NodeNumber original, Condition condition) {
    budget_.ChargeSteps(kEngineStepsPerNode);
    budget_.ChargeBytes(kEngineBytesPerNode);
    const auto number = static_cast<NodeNumber>(nodes_.size());
    GraphNode copy;
    copy.isCopy = true;
    copy.original = original;
    copy.condition = condition | At(original).condition;
    copy.isBackReference = At(original).isBackReference;
    copy.group = At(original).group;
    copy.next = At(original).next;
    copyOf_[KeyOf(original, copy.condition)] = number;
    nodes_.push_back(copy);
    lists_.emplace_back();
    making_.push_back(Making::kNotBegun);
    return number;
  }

  static std::uint64_t KeyOf(NodeNumber original, Condition condition) {
    return static_cast<std::uint64_t>(original) << 32 | condition;
  }

  /// The latest copy of `original` with exactly `condition`; -1 if there is none. The engine looks
  /// through all copies, the latest first.
  NodeNumber FindCopy(NodeNumber original, Condition condition) {
    const auto found = copyOf_.find(KeyOf(original, condition));
    const NodeNumber copy = found == copyOf_.end() ? -1 : found->second;
    const std::size_t last = copy < 0 ? originals_ : static_cast<std::size_t>(copy);
    budget_.ChargeSteps(static_cast<std::int64_t>(nodes_.size() - last) / 2 + 1);
    return copy;
  }

  /// What is left to do of a copy: the second way of a node that has two.
  struct Pending {
    NodeNumber original;
    NodeNumber copy;
    Condition condition;
  };

  /// Copies what is reached from `anchor`, which stands for its own copy.
  void CopyAfter(NodeNumber anchor) {
    std::vector<Pending> pending;
    CopyChain({anchor, anchor, At(anchor).condition}, anchor, pending);
    while (!pending.empty()) {
      // Of a node with two ways, the second is taken when everything after the first is copied.
      Pending branch = pending.back();
      pending.pop_back();
      const NodeNumber way = At(branch.original).ways[1];
      const NodeNumber copy = Copy(way, branch.condition);
      At(branch.copy).AddWay(copy);
      CopyChain({way, copy, branch.condition}, anchor, pending);
    }
  }

  /// Goes on from `from` until a node has no way on, or its first way is copied already.
  void CopyChain(Pending from, NodeNumber anchor, std::vector<Pending>& pending) {
    for (;;) {
      const GraphNode original = At(from.original);
      if (original.wayCount == 0) return;
      NodeNumber way = original.ways[0];
      if (original.isBackReference) {
        way = original.next;
        At(from.copy).wayCount = 0;
      } else if (original.wayCount == 1) {
        At(from.copy).wayCount = 0;
        if (from.original == anchor && from.copy != anchor) {
          At(from.copy).AddWay(way);
          return;
        }
        from.condition |= original.condition;
      } else {
        pending.push_back(from);
        NoteDepth(unfinished_ + pending.size());
        const NodeNumber known = FindCopy(way, from.condition);
        if (known >= 0) {
          At(from.copy).AddWay(known);
          return;
        }
      }
      const NodeNumber copy = Copy(way, from.condition);
      At(from.copy).AddWay(copy);
      from = {way, copy, from.condition};
    }
  }

  // Lists.

  /// A list that is being made.
  struct Unfinished {
    NodeNumber node = 0;
    int waysTaken = 0;
    bool isIncomplete = false;
    NodeList nodes;
    std::int64_t capacity = 0;  // of the engine's block
  };

  void MakeAllLists() {
    lists_.resize(nodes_.size());
    making_.resize(nodes_.size(), Making::kNotBegun);
    for (std::size_t node = 0; node < nodes_.size() && depth_ <= maxDepth_; ++node) {
      if (making_[node] == Making::kNotBegun) MakeList(static_cast<NodeNumber>(node));
    }
  }

  /// Makes the list of `root`, and on the way those that it is merged from.
  void MakeList(NodeNumber root) {
    Begin(root);
    while (unfinished_ > 0 && depth_ <= maxDepth_) {
      Unfinished& list = stack_[unfinished_ - 1];
      if (list.waysTaken == WaysInList(list.node)) {
        Finish();
        continue;
      }
      const NodeNumber way = At(list.node).ways[static_cast<std::size_t>(list.waysTaken++)];
      if (MakingOf(way) == Making::kDone) {
        Merge(list, ListOf(way));
      } else if (MakingOf(way) == Making::kBegun) {
        list.isIncomplete = true;
      } else {
        Begin(way);
      }
    }
  }

  void Begin(NodeNumber node) {
    budget_.ChargeSteps(kEngineStepsPerList);
    MakingOf(node) = Making::kBegun;
    const GraphNode& begun = At(node);
    if (begun.condition != 0 && begun.wayCount > 0 && !At(begun.ways[0]).isCopy) CopyAfter(node);
    if (unfinished_ == stack_.size()) stack_.emplace_back();
    Unfinished& list = stack_[unfinished_++];
    list.node = node;
    list.waysTaken = 0;
    list.isIncomplete = false;
    list.nodes.clear();
    list.capacity = At(node).wayCount + 1;
    NoteDepth(unfinished_);
  }

  /// The text of a back-reference may be empty, but that does not count here.
  int WaysInList(NodeNumber node) { return At(node).isBackReference ? 0 : At(node).wayCount; }

  /// The list begun last is complete, but for what waits for it: keeps it, and merges it into the one
  /// before. An incomplete list is kept only for the node that was asked for.
  void Finish() {
    Unfinished& done = stack_[--unfinished_];
    Insert(done);
    const bool isKept = !done.isIncomplete || unfinished_ == 0;
    if (unfinished_ > 0) {
      Merge(stack_[unfinished_ - 1], done.nodes);
      if (!isKept) stack_[unfinished_ - 1].isIncomplete = true;
    }
    MakingOf(done.node) = isKept ? Making::kDone : Making::kNotBegun;
    if (!isKept) return;
    budget_.ChargeBytes(done.capacity * std::int64_t{sizeof(NodeNumber)} + kEngineBytesPerList);
    ListOf(done.node) = done.nodes;
  }

  /// Adds the nodes of `list` to `into`, as the engine does: node by node.
  void Merge(Unfinished& into, const NodeList& list) {
    const auto added = static_cast<std::int64_t>(list.size());
    const auto present = static_cast<std::int64_t>(into.nodes.size());
    budget_.ChargeSteps(present == 0 ? added / kEngineCopiedPerStep : added + present);
    if (into.capacity < 2 * added + present) into.capacity = 2 * (added + into.capacity);
    if (present == 0) {
      into.nodes.assign(list.begin(), list.end());
      return;
    }
    merged_.resize(list.size() + into.nodes.size());
    const auto end = std::set_union(list.begin(), list.end(), into.nodes.begin(), into.nodes.end(),
                                    merged_.begin());
    merged_.erase(end, merged_.end());
    std::swap(into.nodes, merged_);
  }

  /// Inserts the node itself into its list.
  void Insert(Unfinished& done) {
    NodeList& nodes = done.nodes;
    const auto place = std::lower_bound(nodes.begin(), nodes.end(), done.node);
    budget_.ChargeSteps((nodes.end() - place) / kEngineMovedPerStep);
    if (place == nodes.end() || *place != done.node) nodes.insert(place, done.node);
    done.capacity = std::max(done.capacity, static_cast<std::int64_t>(nodes.size()));
  }

  // What follows.

  /// For patterns with groups the engine also lists from where each node is reached.
  void ChargeForOppositeLists() {
    std::vector<std::int64_t> counts(nodes_.size(), 0);
    for (const NodeList& list : lists_) {
      budget_.ChargeSteps(2 * static_cast<std::int64_t>(list.size()));
      for (const NodeNumber node : list)
        ++counts[static_cast<std::size_t>(node)];
    }
    for (const std::int64_t count : counts) {
      std::int64_t capacity = 1;
      while (capacity < count)
        capacity = 2 * (capacity + 1);
      budget_.ChargeBytes(capacity * std::int64_t{sizeof(NodeNumber)} + kEngineBytesPerList);
    }
  }

  /// Where a match begins, the engine takes in what comes after each back-reference. After each of them
  /// it looks at all again, and for each for the end of its group, from the first node on.
  void ChargeForStart() {
    NodeList reached = ListOf(start_);
    NodeList references;
    std::vector<bool> isReached(nodes_.size(), false);
    for (const NodeNumber node : reached)
      isReached[static_cast<std::size_t>(node)] = true;
    for (std::size_t i = 0; i < reached.size(); ++i) {
      if (!At(reached[i]).isBackReference || At(reached[i]).wayCount == 0) continue;
      references.push_back(reached[i]);
      const NodeList& after = ListOf(At(reached[i]).ways[0]);
      budget_.ChargeSteps(static_cast<std::int64_t>(after.size()));
      for (const NodeNumber node : after) {
        if (isReached[static_cast<std::size_t>(node)]) continue;
        isReached[static_cast<std::size_t>(node)] = true;
        reached.push_back(node);
      }
    }
    std::sort(reached.begin(), reached.end());
    std::int64_t looks = 0;
    for (const NodeNumber reference : references)
      looks += NodesBeforeGroupEnd(reached, At(reference).group);
    const auto rounds = static_cast<std::int64_t>(references.size());
    // A look takes a sixth of a step, and half of the references have been found on average. Then a list
    // is merged.
    budget_.ChargeSteps(rounds * (looks / 12 + static_cast<std::int64_t>(reached.size())));
  }

  std::int64_t NodesBeforeGroupEnd(const NodeList& reached, int group) {
    std::int64_t count = 0;
    for (const NodeNumber node : reached) {
      ++count;
      if (At(node).group == group && !At(node).isBackReference) break;
    }
    budget_.ChargeSteps(count / 4);
    return count;
  }

  void NoteDepth(std::size_t depth) { depth_ = std::max(depth_, static_cast<int>(depth)); }

  const int maxDepth_;
  CompileBudget& budget_;
  std::vector<GraphNode> nodes_;
  std::vector<NodeList> lists_;
  std::vector<Making> making_;
  std::vector<Unfinished> stack_;  // those from `unfinished_` on are kept for their memory
  std::size_t unfinished_ = 0;
  NodeList merged_;  // the latest list before the latest merge, kept for its memory
  std::unordered_map<std::uint64_t, NodeNumber> copyOf_;
  std::size_t originals_ = 0;
  NodeNumber start_ = 0;
  bool hasBackReferences_ = false;
  bool hasGroups_ = false;
  int depth_ = 0;
};

}  // namespace

int RehearseEngineCompile(const SyntaxTree& tree, int maxDepth, CompileBudget& budget) {
  return EngineRehearsal(tree, maxDepth, budget).Run();
}

}  // namespace trovex
