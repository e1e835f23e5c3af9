// Building the program of a pattern, and what is known of it before any text.

#include "matcher/engine/bounded_matcher.h"

#include "matcher/engine/bracket_ranges.h"
#include "matcher/engine/engine_graph.h"
#include "matcher/engine/line_groups.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace trovex {

BoundedMatcher::BoundedMatcher(SyntaxTree tree)
    : BoundedMatcher(std::make_shared<const SyntaxTree>(std::move(tree))) {}

BoundedMatcher::BoundedMatcher(std::shared_ptr<const SyntaxTree> tree)
    : sharedTree_(std::move(tree)), tree_(*sharedTree_) {
  Emit(tree_.Root(), {true, false});
  Append(Operation::kMatch, 0);
  if (referenced_ != 0) NoteWhatReferencesSee();
  NoteStart();
  if (referenced_ == 0) graph_ = std::make_unique<EngineGraph>(*this);
  canReadLines_ = HasGraph() && LineGroups::Suits(*this, *graph_);
}

BoundedMatcher::~BoundedMatcher() = default;

bool BoundedMatcher::HasGraph() const {
  return graph_ != nullptr && graph_->IsWhole();
}

std::unique_ptr<LineGroups> BoundedMatcher::MakeLineGroups() const {
  return std::make_unique<LineGroups>(*this, *graph_);
}

/// A way passes `step` at `place`.
void BoundedMatcher::PassBracket(const Step& step, int place, BracketRanges& ranges) const {
  if (step.operation == Operation::kOpenGroup) ranges.Open(step.first, place);
  if (step.operation == Operation::kCloseGroup) {
    ranges.Close(step.first, place, IsOptional(step));
  }
}

/// Notes, address by address, the groups whose range as it is there a back-reference may still ask for.
void BoundedMatcher::NoteWhatReferencesSee() {
  seen_.resize(program_.size());
  bool changed = true;
  while (changed) {
    changed = false;
    for (std::size_t address = program_.size(); address-- > 0;) {
      const unsigned seen = SeenFrom(static_cast<int>(address));
      changed = changed || seen != seen_[address];
      seen_[address] = seen;
    }
  }
}

unsigned BoundedMatcher::SeenFrom(int address) const {
  const Step& step = At(address);
  switch (step.operation) {
    case Operation::kMatch:
      return 0;
    case Operation::kJump:
      return SeenAt(step.first);
    case Operation::kSplit:
      return SeenAt(step.first) | SeenAt(step.second);
    case Operation::kBackReference:
      return SeenAt(address + 1) | GroupBit(step.first);
    case Operation::kOpenGroup:
      return SeenAt(address + 1) & ~GroupBit(step.first);
    default:
      return SeenAt(address + 1);
  }
}

/// Notes what a match can begin with, and which groups can close before its first byte.
void BoundedMatcher::NoteStart() {
  unsigned before = 0;
  do {
    before = emptyAtStart_;
    for (const int address : Closure(0)) {
      const Step& step = At(address);
      if (step.operation == Operation::kCloseGroup) emptyAtStart_ |= GroupBit(step.first);
    }
  } while (emptyAtStart_ != before);

  for (const int address : Closure(0)) {
    const Step& step = At(address);
    if (step.operation == Operation::kByte) firstBytes_.set(static_cast<std::size_t>(step.first));
    if (step.operation == Operation::kSet) firstBytes_ |= SetOf(step);
    if (step.operation == Operation::kMatch) canBeEmpty_ = true;
  }
}

/// All addresses that are reached from `from` without a byte, if every anchor on the way holds.
std::vector<int> BoundedMatcher::Closure(int from) const {
  std::vector<int> addresses{from};
  std::vector<bool> isReached(program_.size());
  const auto reach = [&](int address) {
    if (isReached[static_cast<std::size_t>(address)]) return;
    isReached[static_cast<std::size_t>(address)] = true;
    addresses.push_back(address);
  };
  std::size_t followed = 0;
  while (followed < addresses.size()) {
    const int address = addresses[followed++];
    const Step& step = At(address);
    switch (step.operation) {
      case Operation::kByte:
      case Operation::kSet:
      case Operation::kMatch:
        break;
      case Operation::kJump:
        reach(step.first);
        break;
      case Operation::kSplit:
        reach(step.first);
        reach(step.second);
        break;
      case Operation::kBackReference:
        if (from == 0 && (emptyAtStart_ & GroupBit(step.first)) != 0) reach(address + 1);
        break;
      default:
        reach(address + 1);
    }
  }
  return addresses;
}

int BoundedMatcher::Append(Operation operation, int first, int second) {
  program_.push_back({operation, first, second});
  const bool isBracket = operation == Operation::kOpenGroup || operation == Operation::kCloseGroup;
  isCopy_.push_back(emitsCopy_ && !isBracket);
  const int address = Here() - 1;
  // Of the engine's nodes a branch is the one after its sides.
  if (operation != Operation::kJump && operation != Operation::kSplit)
    engineOrder_.push_back(address);
  return address;
}

// Recurses once per level of nesting, which is limited.
void BoundedMatcher::Emit(int index, Copy copy) {
  if (IsNothing(index)) return;
  const bool emittedCopy = std::exchange(emitsCopy_, !copy.isFirst);
  EmitNode(tree_.Node(index), copy);
  emitsCopy_ = emittedCopy;
}

void BoundedMatcher::EmitNode(const SyntaxNode& node, Copy copy) {
  switch (node.kind) {
    case SyntaxKind::kEmpty:
      return;
    case SyntaxKind::kByte:
      Append(Operation::kByte, node.value);
      return;
    case SyntaxKind::kSet:
      Append(Operation::kSet, node.value);
      return;
    case SyntaxKind::kAnchor:
      hasAnchors_ = true;
      Append(Operation::kAnchor, node.value);
      return;
    case SyntaxKind::kBackReference:
      referenced_ |= GroupBit(node.value);
      Append(Operation::kBackReference, node.value);
      return;
    case SyntaxKind::kGroup:
      EmitGroup(node, copy);
      return;
    case SyntaxKind::kConcat:
      for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling) {
        Emit(c, {copy.isFirst, false});
      }
      return;
    case SyntaxKind::kAlternate:
      EmitAlternatives(node, copy.isFirst);
      return;
    case SyntaxKind::kRepeat:
      EmitRepeat(node, copy.isFirst);
      return;
  }
}

void BoundedMatcher::EmitGroup(const SyntaxNode& node, Copy copy) {
  const int open = Append(Operation::kOpenGroup, node.value, copy.isOptional ? 1 : 0);
  Emit(node.firstChild, {copy.isFirst, false});
  Append(Operation::kCloseGroup, node.value, open);
  if ((writtenOut_ & GroupBit(node.value)) != 0) copied_ |= GroupBit(node.value);
  writtenOut_ |= GroupBit(node.value);
}

void BoundedMatcher::EmitAlternatives(const SyntaxNode& node, bool isFirst) {
  std::vector<int> alternatives;
  for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling) {
    alternatives.push_back(c);
  }
  // Of "|x" the engine tries "x" first, though of "x||y" the empty alternative before "y".
  if (IsNothing(alternatives[0])) std::swap(alternatives[0], alternatives[1]);

  // "x|y|z" is "(x|y)|z": all choices come first, and the outermost leads to the last alternative.
  const auto count = static_cast<int>(alternatives.size());
  const int splits = Here();
  for (int i = 1; i < count; ++i)
    Append(Operation::kSplit, Here() + 1);
  std::vector<int> jumps;
  for (int i = 0; i < count; ++i) {
    const int split = splits + count - 1 - i;
    if (i > 0) At(split).second = Here();
    Emit(alternatives[static_cast<std::size_t>(i)], {isFirst, false});
    if (i > 0) engineOrder_.push_back(split);
    if (i + 1 < count) jumps.push_back(Append(Operation::kJump, 0));
  }
  for (const int jump : jumps)
    At(jump).first = Here();
}

void BoundedMatcher::EmitRepeat(const SyntaxNode& node, bool isFirst) {
  for (int i = 0; i < node.min; ++i)
    Emit(node.firstChild, {isFirst && i == 0, false});
  const Copy next{isFirst && node.min == 0, isFirst};
  if (node.max == kUnbounded) {
    const int split = Append(Operation::kSplit, Here() + 1);
    Emit(node.firstChild, next);
    Append(Operation::kJump, split);
    At(split).second = Here();
    engineOrder_.push_back(split);
    return;
  }
  // "x{0,3}" is "((x|)x|)x|": all choices come first, and the outermost skips all.
  const int count = node.max - node.min;
  const int splits = Here();
  for (int i = 0; i < count; ++i)
    Append(Operation::kSplit, Here() + 1);
  for (int i = 1; i <= count; ++i) {
    Emit(node.firstChild, i == 1 ? next : Copy{false, false});
    At(splits + count - i).second = Here();
    engineOrder_.push_back(splits + count - i);
  }
}

/// Whether the engine makes nothing of the node. Recurses once per level of nesting.
bool BoundedMatcher::IsNothing(int index) const {
  const SyntaxNode& node = tree_.Node(index);
  if (node.kind == SyntaxKind::kEmpty) return true;
  if (node.kind == SyntaxKind::kRepeat) return node.max == 0 || IsNothing(node.firstChild);
  if (node.kind != SyntaxKind::kConcat) return false;
  for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling) {
    if (!IsNothing(c)) return false;
  }
  return true;
}

}  // namespace trovex
