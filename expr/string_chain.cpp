#include "expr/string_chain.h"

#include "expr/and_chain.h"
#include "expr/item_blocks.h"
#include "expr/leaf_pattern.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace trovex {

namespace {

using Byte = unsigned char;

/// In so many bytes a chain is searched before what it takes to search for its strings at once is made: some ten
/// microseconds.
constexpr std::int64_t kBytesBefore = std::int64_t{1} << 15;

}  // namespace

bool ChainOutline::operator==(const ChainOutline& other) const {
  return size_ == other.size_ &&
         std::equal(nodes_.begin(), nodes_.begin() + static_cast<std::ptrdiff_t>(size_),
                    other.nodes_.begin(), [](const Node& a, const Node& b) {
                      return a.kind == b.kind && a.nearBy == b.nearBy && a.pattern == b.pattern;
                    });
}

bool ChainOutline::Add(const Node& node) {
  if (size_ == kMostNodes) return false;
  if (node.kind == Node::Kind::kString && ++strings_ > StringMatches::kMostStrings) return false;
  nodes_[size_++] = node;
  return true;
}

bool ChainOutline::ReadAnd(CAndOperator& node) {
  if (!Add({Node::Kind::kAnd, node.GetNearBy(), nullptr, nullptr})) return false;
  const std::size_t left = size_;
  if (!ReadOperand(node.GetLeftChild(), true)) return false;
  return ReadOperand(node.GetRightChild(), nodes_[left].kind != Node::Kind::kNot);
}

bool ChainOutline::ReadOperand(CSearchTreeItem* node, bool mayBeNot) {
  if (CAndOperator* const both = AsPlainAnd(node)) return ReadAnd(*both);
  if (CNotOperator* const negation = AsPlainNot(node)) {
    if (!mayBeNot || !Add({Node::Kind::kNot, 0, nullptr, nullptr})) return false;
    node = negation->GetChild();
  }
  const CSubExpression* const leaf = AsPlainLeaf(node);
  if (leaf == nullptr) return false;
  const CompiledPattern* const pattern = LeafPattern(*leaf).String();
  return pattern != nullptr && Add({Node::Kind::kString, 0, pattern, leaf});
}

StringChain::Result StringChain::Search(CAndOperator& first, const char* text, int length,
                                        bool isLookedAt) {
  ChainOutline outline;
  if (text == nullptr || length <= 0 || !outline.Read(first)) return nullptr;
  std::unique_ptr<StringChain>& chain = LeafPattern::KeptChain();
  if (chain == nullptr || !(chain->outline_ == outline))
    chain = std::make_unique<StringChain>(outline);
  chain->bytes_ += length;
  if (chain->bytes_ < kBytesBefore) return nullptr;
  if (!chain->matches_) chain->Prepare();
  return chain->Run(outline, text, length, isLookedAt);
}

StringChain::StringChain(const ChainOutline& outline) : outline_(outline) {
  for (std::size_t i = 0; i < outline.Size(); ++i) {
    if (outline[i].leaf != nullptr)
      patterns_.push_back(LeafPattern(*outline[i].leaf).SharedString());
  }
}

/// Those that bring places have the first numbers.
void StringChain::Prepare() {
  std::size_t node = 0;
  leaves_.clear();
  operands_.clear();
  leafOf_.clear();
  AddOperand(node, false, false, false);
  std::vector<StringMatches::String> strings;
  for (const bool bringsPlaces : {true, false}) {
    for (Leaf& leaf : leaves_) {
      if ((leaf.isNegated && leaf.isDecisive) == bringsPlaces) continue;
      leaf.number = strings.size();
      strings.push_back(
          StringMatches::StringOf(*outline_[leaf.node].pattern->locator, leaf.number));
      if (bringsPlaces) leafOf_.push_back(static_cast<std::size_t>(&leaf - leaves_.data()));
    }
  }
  ChooseWanted();
  matches_.emplace(strings, leafOf_.size(), StringMatches::Sight::kRest);
}

/// What has no places in a cluster is of no consequence but for three: the whole; a NOT with something to be near to;
/// and what must be found somewhere, wherever the rest is, because it has a distance and stands in an AND without.
void StringChain::ChooseWanted() {
  for (const Leaf& leaf : leaves_) {
    if (leaf.number < leafOf_.size()) operands_[leaf.operand].needs = 1U << leaf.number;
  }
  wanted_.clear();
  for (Operand& operand : operands_) {
    if (operand.isString) continue;
    const Operand& left = operands_[operand.left];
    const Operand& right = operands_[operand.right];
    const bool isDistance = operand.nearBy >= 0;
    operand.hasDistances = isDistance || left.hasDistances || right.hasDistances;
    if (operand.isLeftNegated || operand.isRightNegated) {
      operand.needs = operand.isLeftNegated ? right.needs : left.needs;
      if (isDistance) wanted_.push_back(left.needs | right.needs);
    } else {
      operand.needs = isDistance ? left.needs | right.needs : left.needs & right.needs;
    }
    for (const Operand* const below : {&left, &right}) {
      if (!isDistance && below->hasDistances) wanted_.push_back(below->needs);
    }
  }
  wanted_.push_back(operands_.back().needs);
}

/// Adds the part of the tree that begins with `node`, which is then the one after it. Returns its place.
std::size_t StringChain::AddOperand(std::size_t& node, bool isNegated, bool isAnywhere,
                                    bool isAfterNear) {
  const ChainOutline::Node& top = outline_[node];
  Operand operand;
  if (top.kind == ChainOutline::Node::Kind::kString) {
    leaves_.push_back(
        {node++, 0, operands_.size(), isNegated, isAnywhere || !isNegated, isAfterNear});
    operands_.push_back(std::move(operand));
    return operands_.size() - 1;
  }
  ++node;
  operand.isString = false;
  operand.nearBy = top.nearBy;
  longestDistance_ = std::max<std::int64_t>(longestDistance_, top.nearBy);
  for (const bool isLeft : {true, false}) {
    bool& isOperandNegated = isLeft ? operand.isLeftNegated : operand.isRightNegated;
    isOperandNegated = outline_[node].kind == ChainOutline::Node::Kind::kNot;
    if (isOperandNegated) ++node;
    const std::size_t first = node;
    (isLeft ? operand.left : operand.right) =
        AddOperand(node, isOperandNegated, top.nearBy < 0, isAfterNear);
    for (std::size_t i = first; isLeft && i < node; ++i)
      isAfterNear = isAfterNear ||
                    (outline_[i].kind == ChainOutline::Node::Kind::kAnd && outline_[i].nearBy >= 0);
  }
  operands_.push_back(std::move(operand));
  return operands_.size() - 1;
}

StringChain::Result StringChain::Run(const ChainOutline& outline, const char* text, int length,
                                     bool isLookedAt) {
  // Whether these are searched depends on what is found before, and on that alone what they leave behind.
  for (const Leaf& leaf : leaves_) {
    const CSubExpression* const later = leaf.isAfterNear ? outline[leaf.node].leaf : nullptr;
    if (later != nullptr && !LeafPattern(*later).LeavesNothingBehind()) return nullptr;
  }
  const auto* const bytes = reinterpret_cast<const Byte*>(text);
  matches_->Begin({bytes, static_cast<std::size_t>(length)});
  if (!isLookedAt && !IsSatisfied(outline)) return MakeResult();
  return longestDistance_ < 0 ? TakeAll(bytes) : TakeNear(bytes);
}

/// Whether each string occurs that must, and none that must not.
bool StringChain::IsSatisfied(const ChainOutline& outline) {
  return std::all_of(leaves_.begin(), leaves_.end(), [&](const Leaf& leaf) {
    if (!leaf.isAfterNear) LeafPattern(*outline[leaf.node].leaf).NoteSearched();
    return !leaf.isDecisive || matches_->IsFound(leaf.number) != leaf.isNegated;
  });
}

/// All matches. Of those that start at one place, the one of the rightmost operand comes first.
StringChain::Result StringChain::TakeAll(const Byte* text) {
  auto found = MakeResult();
  ItemMaker items;
  struct Match {
    std::size_t leaf;
    const Byte* stop;
  };
  std::array<Match, StringMatches::kMostStrings> here;
  std::size_t count = 0;
  const Byte* start = nullptr;
  const auto append = [&] {
    if (count > 1) {
      std::sort(here.begin(), here.begin() + static_cast<std::ptrdiff_t>(count),
                [](const Match& a, const Match& b) { return a.leaf > b.leaf; });
    }
    for (std::size_t i = 0; i < count; ++i)
      items.Append(*found, static_cast<int>(start - text), static_cast<int>(here[i].stop - text),
                   0);
    count = 0;
  };
  matches_->ForEach([&](std::size_t number, const Byte* place, const Byte* stop) {
    if (place != start) append();
    start = place;
    here[count++] = {leafOf_[number], stop};
    return true;
  });
  append();
  return found;
}

StringChain::Result StringChain::TakeNear(const Byte* text) {
  auto found = MakeResult();
  ItemMaker items;
  for (Operand& operand : operands_) {
    operand.places.clear();
    operand.hasPlaces = false;
  }
  seen_ = 0;
  std::int64_t clusterEnd = 0;
  bool isExcluded = false;
  matches_->ForEach([&](std::size_t number, const Byte* place, const Byte* stop) {
    const Place range = {static_cast<int>(place - text), static_cast<int>(stop - text)};
    if (range.start > clusterEnd + longestDistance_) {
      isExcluded = !Decide(*found, items);
      if (isExcluded) return false;
    }
    clusterEnd = std::max<std::int64_t>(clusterEnd, range.end);
    operands_[leaves_[leafOf_[number]].operand].places.push_back(range);
    seen_ |= 1U << number;
    return true;
  });
  isExcluded = isExcluded || !Decide(*found, items);
  const bool isComplete =
      !isExcluded && std::all_of(operands_.begin(), operands_.end(), [](const Operand& operand) {
        return operand.isString || operand.hasPlaces;
      });
  if (!isComplete) found->DeleteItems();
  return found;
}

/// Appends what the cluster has to `found`, and forgets it. False where a match is near to one that it must not be
/// near to.
bool StringChain::Decide(CFoundItemArray& found, ItemMaker& items) {
  const bool isWanted = std::any_of(wanted_.begin(), wanted_.end(), [&](std::uint32_t strings) {
    return (seen_ & strings) == strings;
  });
  if (isWanted) {
    for (Operand& operand : operands_) {
      if (!operand.isString && !Combine(operand)) return false;
    }
    for (const Place& place : operands_.back().places)
      items.Append(found, place.start, place.end, 0);
  }
  for (; seen_ != 0; seen_ &= seen_ - 1) {
    const auto number = static_cast<std::size_t>(std::countr_zero(seen_));
    operands_[leaves_[leafOf_[number]].operand].places.clear();
  }
  return true;
}

/// The places of both operands, or those that have a neighbour among the other's within the distance. False where the
/// other one is a NOT and one of them has.
bool StringChain::Combine(Operand& both) {
  const std::vector<Place>& a = operands_[both.left].places;
  const std::vector<Place>& b = operands_[both.right].places;
  const bool isExclusion = both.isLeftNegated || both.isRightNegated;
  const auto gap = [](const Place& earlier, const Place& later) {
    return std::abs(std::int64_t{later.start} - earlier.end);
  };
  both.places.clear();
  for (std::size_t i = 0, j = 0; i < a.size() || j < b.size();) {
    const bool isLeft = i < a.size() && (j == b.size() || a[i].start < b[j].start);
    const Place& place = isLeft ? a[i] : b[j];
    const std::vector<Place>& others = isLeft ? b : a;
    const std::size_t next = isLeft ? j : i;
    const bool isNear =
        both.nearBy >= 0 && ((next > 0 && gap(others[next - 1], place) <= both.nearBy) ||
                             (next < others.size() && gap(place, others[next]) <= both.nearBy));
    if (isExclusion && isNear) return false;
    if (!isExclusion && (isNear || both.nearBy < 0)) both.places.push_back(place);
    ++(isLeft ? i : j);
  }
  if (isExclusion) both.places = both.isLeftNegated ? b : a;
  both.hasPlaces = both.hasPlaces || !both.places.empty();
  return true;
}

}  // namespace trovex
