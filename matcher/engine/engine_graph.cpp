#include "matcher/engine/engine_graph.h"

#include "matcher/limits.h"

namespace trovex {

namespace {

using Conditions = EngineGraph::Conditions;

// On the byte before ...
constexpr Conditions kWordBefore = 0x01;
constexpr Conditions kNoWordBefore = 0x02;
constexpr Conditions kLineStartsHere = 0x04;
constexpr Conditions kTextStartsHere = 0x08;
// ... and on the byte after.
constexpr Conditions kWordAfter = 0x10;
constexpr Conditions kNoWordAfter = 0x20;
constexpr Conditions kLineEndsHere = 0x40;
constexpr Conditions kTextEndsHere = 0x80;

/// What an anchor demands: one set of conditions, or either of two.
struct Demands {
  Conditions first;
  Conditions second = 0;  // 0: there is but one
};

Demands DemandsOf(Anchor anchor) {
  switch (anchor) {
    case Anchor::kLineStart:
      return {kLineStartsHere};
    case Anchor::kLineEnd:
      return {kLineEndsHere};
    case Anchor::kTextStart:
      return {kTextStartsHere};
    case Anchor::kTextEnd:
      return {kTextEndsHere};
    case Anchor::kWordStart:
      return {kNoWordBefore | kWordAfter};
    case Anchor::kWordEnd:
      return {kWordBefore | kNoWordAfter};
    case Anchor::kWordEdge:
      return {kNoWordBefore | kWordAfter, kWordBefore | kNoWordAfter};
    case Anchor::kNotWordEdge:
      return {kWordBefore | kWordAfter, kNoWordBefore | kNoWordAfter};
  }
  return {0};
}

}  // namespace

Conditions EngineGraph::Holding(const TextReader& text, int place) {
  Conditions holding = text.IsWordAt(place - 1) ? kWordBefore : kNoWordBefore;
  holding |= text.IsWordAt(place) ? kWordAfter : kNoWordAfter;
  if (text.Holds(Anchor::kLineStart, place)) holding |= kLineStartsHere;
  if (text.Holds(Anchor::kTextStart, place)) holding |= kTextStartsHere;
  if (text.Holds(Anchor::kLineEnd, place)) holding |= kLineEndsHere;
  if (text.Holds(Anchor::kTextEnd, place)) holding |= kTextEndsHere;
  return holding;
}

bool EngineGraph::AreExclusive(Conditions one, Conditions other) {
  const Conditions both = one | other;
  const auto hasBoth = [&](Conditions a, Conditions b) {
    return (both & a) != 0 && (both & b) != 0;
  };
  return hasBoth(kWordBefore, kNoWordBefore) || hasBoth(kWordAfter, kNoWordAfter);
}

EngineGraph::EngineGraph(const BoundedMatcher& matcher) : nodeOf_(matcher.program_.size(), -1) {
  AddSteps(matcher);
  Link(matcher);
  start_ = NodeOfAddress(matcher, 0);
  CopyAfterAnchors();
}

EngineGraph::Number EngineGraph::AddNode(const Node& node) {
  nodes_.push_back(node);
  if (nodes_.size() > kMaxGroupNodes) isWhole_ = false;
  return static_cast<Number>(nodes_.size()) - 1;
}

void EngineGraph::AddSteps(const BoundedMatcher& matcher) {
  for (const int address : matcher.engineOrder_) {
    const BoundedMatcher::Step& step = matcher.At(address);
    Node node;
    node.address = address;
    node.isCopy = matcher.isCopy_[static_cast<std::size_t>(address)];
    if (step.operation == BoundedMatcher::Operation::kAnchor) {
      const Demands demands = DemandsOf(static_cast<Anchor>(step.first));
      node.conditions = demands.first;
      if (demands.second != 0) {
        // An alternative of two anchors.
        const Number first = AddNode(node);
        node.conditions = demands.second;
        AddNode(node);
        node.conditions = 0;
        node.nextCount = 2;
        node.next = {first, first + 1};
      }
    }
    nodeOf_[static_cast<std::size_t>(address)] = AddNode(node);
  }
}

void EngineGraph::Link(const BoundedMatcher& matcher) {
  for (Node& node : nodes_) {
    const BoundedMatcher::Step& step = matcher.At(node.address);
    switch (step.operation) {
      case BoundedMatcher::Operation::kByte:
      case BoundedMatcher::Operation::kSet:
        node.afterByte = NodeOfAddress(matcher, node.address + 1);
        break;
      case BoundedMatcher::Operation::kSplit:
        node.next = {NodeOfAddress(matcher, step.first), NodeOfAddress(matcher, step.second)};
        node.nextCount = node.next[0] == node.next[1] ? 1 : 2;
        break;
      case BoundedMatcher::Operation::kMatch:
        break;
      default:
        if (node.nextCount == 2) break;
        node.next[0] = NodeOfAddress(matcher, node.address + 1);
        node.nextCount = 1;
    }
  }
}

EngineGraph::Number EngineGraph::NodeOfAddress(const BoundedMatcher& matcher, int address) const {
  while (matcher.At(address).operation == BoundedMatcher::Operation::kJump)
    address = matcher.At(address).first;
  return nodeOf_[static_cast<std::size_t>(address)];
}

void EngineGraph::CopyAfterAnchors() {
  const auto count = static_cast<Number>(nodes_.size());
  std::vector<bool> isVisited(nodes_.size());
  for (Number root = 0; root < count && isWhole_; ++root)
    Visit(root, isVisited);
  copies_.clear();
}

/// Visits what is reached from `root` without a byte, and makes the copies after each anchor when it is
/// first come to.
void EngineGraph::Visit(Number root, std::vector<bool>& isVisited) {
  std::vector<Number> pending{root};
  while (!pending.empty() && isWhole_) {
    const Number number = pending.back();
    pending.pop_back();
    if (isVisited[static_cast<std::size_t>(number)]) continue;
    isVisited[static_cast<std::size_t>(number)] = true;
    if (At(number).conditions != 0 && At(number).nextCount > 0 && !At(At(number).next[0]).isCopy) {
      CopyAfter(number);
      isVisited.resize(nodes_.size());
    }
    const Node& node = At(number);
    for (int n = node.nextCount; n-- > 0;)
      pending.push_back(node.next[static_cast<std::size_t>(n)]);
  }
}

/// Makes copies of all that is reached after `anchor` without a byte.
void EngineGraph::CopyAfter(Number anchor) {
  struct Branch {
    Number original;
    Number copy;
    Conditions conditions;
  };
  std::vector<Branch> secondSides;
  Branch here{anchor, anchor, At(anchor).conditions};
  bool goesOn = true;
  while (isWhole_) {
    if (!goesOn) {
      if (secondSides.empty()) return;
      here = secondSides.back();
      secondSides.pop_back();
      const Number original = At(here.original).next[1];
      const Number copy = Copy(original, here.conditions);
      Node& from = nodes_[static_cast<std::size_t>(here.copy)];
      from.next[1] = copy;
      from.nextCount = 2;
      here = {original, copy, here.conditions};
      goesOn = true;
    }
    const Node source = At(here.original);
    if (source.nextCount == 0) {
      goesOn = false;  // what stands for a byte leads on where its original does
    } else if (source.nextCount == 1 && here.original == anchor && here.copy != anchor) {
      // A loop that comes back to the anchor.
      Node& from = nodes_[static_cast<std::size_t>(here.copy)];
      from.next[0] = source.next[0];
      from.nextCount = 1;
      goesOn = false;
    } else if (source.nextCount == 1) {
      here.conditions |= source.conditions;
      const Number copy = Copy(source.next[0], here.conditions);
      Node& from = nodes_[static_cast<std::size_t>(here.copy)];
      from.next[0] = copy;
      from.nextCount = 1;
      here = {source.next[0], copy, here.conditions};
    } else {
      const Number known = KnownCopy(source.next[0], here.conditions);
      const Number copy = known >= 0 ? known : Copy(source.next[0], here.conditions);
      Node& from = nodes_[static_cast<std::size_t>(here.copy)];
      from.next[0] = copy;
      from.nextCount = 1;
      secondSides.push_back(here);
      here = {source.next[0], copy, here.conditions};
      goesOn = known < 0;
    }
  }
}

EngineGraph::Number EngineGraph::Copy(Number original, Conditions conditions) {
  Node node = At(original);
  node.conditions |= conditions;
  node.isCopy = true;
  node.nextCount = 0;
  const Number copy = AddNode(node);
  copies_[{original, node.conditions}] = copy;
  return copy;
}

EngineGraph::Number EngineGraph::KnownCopy(Number original, Conditions conditions) const {
  const auto known = copies_.find({original, conditions});
  return known != copies_.end() ? known->second : -1;
}

}  // namespace trovex
