// Measuring a pattern.
//
// The engine makes a graph of the pattern. Its nodes are the bytes, sets and back-references, which
// consume text, and the empty steps, which do not: anchors, the two ends of a group, each "|" and
// each repetition operator. For each node the engine lists every node that is reached from it by
// empty steps alone, so what costs is how many there are: `reach` inside an expression, and
// `behind` it, where the expression can be empty.
//
// An anchor costs more. What lies behind it holds only where the anchor holds, so the engine copies
// every node that is reached from it, and the copies of the anchors among them give rise to further
// copies. `copies` and `copiesBehind` say how many nodes one walk through an expression copies and
// how often it leaves the expression at its end, which is more than once when several of its
// alternatives can be empty.

#include "matcher/pattern/pattern_limits.h"

#include "matcher/limits.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace trovex {

namespace {

double Saturated(double number) {
  return std::min(number, kUncountable);
}

/// What is known of an expression by itself.
struct Measure {
  bool nullable = false;
  double anchors = 0;
  // The longest chains of empty steps: anywhere inside, from the start, to the end, and, if the
  // expression is nullable, from the start to the end.
  double inside = 0;
  double enter = 0;
  double leave = 0;
  double through = 0;
  double reach = 1;    // nodes reached from the start by empty steps
  double copies = 1;   // nodes that a walk from the start copies
  double walksOn = 0;  // how often that walk leaves at the end
  // The same for a walk that takes every way but goes round no loop twice.
  double ways = 1;
  double waysOn = 0;
  double positions = 1;  // bytes, sets, anchors and back-references: what the automaton is made of
  double first = 1;      // those that may come first
  double last = 1;       // and last
  double neighbours = 0;
};

Measure EmptyMeasure() {
  Measure measure;
  measure.nullable = true;
  measure.reach = measure.copies = measure.ways = 0;
  measure.walksOn = measure.waysOn = 1;
  measure.positions = measure.first = measure.last = 0;
  return measure;
}

/// `measure` behind a chain of `steps` empty steps, and, unless it is to be left out, before one.
Measure Wrapped(Measure measure, double steps, double stepsBehind) {
  measure.enter += steps;
  measure.leave += stepsBehind;
  measure.through = measure.nullable ? measure.through + steps + stepsBehind : 0;
  measure.inside = std::max({measure.inside, measure.enter, measure.leave, measure.through});
  return measure;
}

/// An anchor. The engine reads a word edge as "(\<|\>)", and its opposite likewise.
Measure AnchorMeasure(int anchor) {
  const bool two = anchor == static_cast<int>(Anchor::kWordEdge) ||
                   anchor == static_cast<int>(Anchor::kNotWordEdge);
  Measure measure;
  measure.nullable = true;
  measure.anchors = measure.walksOn = measure.waysOn = two ? 2 : 1;
  measure.reach = measure.copies = measure.ways = two ? 3 : 1;
  return Wrapped(measure, two ? 2 : 1, 0);
}

Measure BackReferenceMeasure() {
  Measure measure;
  measure.nullable = true;  // what it refers to may be empty
  measure.walksOn = measure.waysOn = 1;
  return Wrapped(measure, 1, 0);
}

Measure GroupMeasure(const Measure& body) {
  Measure group = Wrapped(body, 1, 1);
  group.reach += body.nullable ? 2 : 1;
  group.copies = Saturated(1 + body.copies + body.walksOn);
  group.ways = Saturated(1 + body.ways + body.waysOn);
  return group;
}

Measure Sequence(const Measure& left, const Measure& right) {
  Measure both;
  both.nullable = left.nullable && right.nullable;
  both.anchors = Saturated(left.anchors + right.anchors);
  both.enter = left.nullable ? std::max(left.enter, left.through + right.enter) : left.enter;
  both.leave = right.nullable ? std::max(right.leave, left.leave + right.through) : right.leave;
  both.through = both.nullable ? left.through + right.through : 0;
  both.inside = std::max({left.inside, right.inside, left.leave + right.enter});
  both.reach = left.reach + (left.nullable ? right.reach : 0);
  both.copies = Saturated(left.copies + left.walksOn * right.copies);
  both.walksOn = Saturated(left.walksOn * right.walksOn);
  both.ways = Saturated(left.ways + left.waysOn * right.ways);
  both.waysOn = Saturated(left.waysOn * right.waysOn);
  both.positions = left.positions + right.positions;
  both.first = left.first + (left.nullable ? right.first : 0);
  both.last = right.last + (right.nullable ? left.last : 0);
  both.neighbours = Saturated(left.neighbours + right.neighbours + left.last * right.first);
  return both;
}

/// Either of both, without the node of the "|".
Measure Either(const Measure& left, const Measure& right) {
  Measure either;
  either.nullable = left.nullable || right.nullable;
  either.anchors = Saturated(left.anchors + right.anchors);
  either.enter = std::max(left.enter, right.enter);
  either.leave = std::max(left.leave, right.leave);
  either.through = std::max(left.through, right.through);
  either.inside = std::max(left.inside, right.inside);
  either.reach = left.reach + right.reach;
  either.copies = Saturated(left.copies + right.copies);
  either.walksOn = Saturated(left.walksOn + right.walksOn);
  either.ways = Saturated(left.ways + right.ways);
  either.waysOn = Saturated(left.waysOn + right.waysOn);
  either.positions = left.positions + right.positions;
  either.first = left.first + right.first;
  either.last = left.last + right.last;
  either.neighbours = Saturated(left.neighbours + right.neighbours);
  return either;
}

/// `left|right`. Of several alternatives the first stands deepest in the engine's graph.
Measure Alternative(const Measure& left, const Measure& right) {
  Measure either = Wrapped(Either(left, right), 1, 0);
  either.reach += 1;
  either.copies = Saturated(either.copies + 1);
  either.ways = Saturated(either.ways + 1);
  return either;
}

Measure StarMeasure(const Measure& body) {
  // A walk that comes round again has passed other anchors, so what it copies differs.
  const double rounds = body.nullable ? std::exp2(std::min(body.anchors, 60.0) + 1) : 1;
  Measure star = body;
  star.nullable = true;
  star.inside = std::max(body.inside, body.leave + 1 + body.enter);
  star = Wrapped(star, 1, 1);
  star.reach = 1 + body.reach;
  star.copies = Saturated(rounds * (1 + body.copies + body.walksOn));
  star.walksOn = rounds;
  star.ways = Saturated(1 + body.ways);
  star.waysOn = 1;
  star.neighbours = Saturated(body.neighbours + body.last * body.first);
  return star;
}

/// A repetition, written out as the engine writes it out: "x{2,}" as "xxx*", "x{0,3}" as
/// "((x|)x|)x|".
Measure RepeatMeasure(const SyntaxNode& node, const Measure& body) {
  Measure whole = EmptyMeasure();
  for (int i = 0; i < node.min; ++i)
    whole = Sequence(whole, body);
  if (node.max == kUnbounded) return Sequence(whole, StarMeasure(body));
  Measure rest = EmptyMeasure();
  for (int i = node.min; i < node.max; ++i) {
    rest = Alternative(Sequence(rest, body), EmptyMeasure());
  }
  return Sequence(whole, rest);
}

class PatternMeasurer {
 public:
  explicit PatternMeasurer(const SyntaxTree& tree) : tree_(tree) {}

  PatternCost Run() {
    MeasureSize();
    // What is too large is not looked at any closer.
    if (cost_.size > kMaxPatternSize || cost_.nesting > kMaxPatternNesting) return cost_;
    MeasureBottomUp();
    AddPairsTopDown();
    return cost_;
  }

 private:
  void MeasureSize() {
    std::vector<double> sizes(tree_.nodes.size(), 1);
    std::vector<int> nesting(tree_.nodes.size(), 0);
    for (std::size_t i = 0; i < tree_.nodes.size(); ++i) {
      const SyntaxNode& node = tree_.nodes[i];
      for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling) {
        const auto child = static_cast<std::size_t>(c);
        sizes[i] += sizes[child];
        nesting[i] = std::max(nesting[i], nesting[child]);
      }
      if (node.kind == SyntaxKind::kRepeat) sizes[i] *= Copies(node);
      sizes[i] = Saturated(sizes[i]);
      if (node.kind == SyntaxKind::kRepeat || node.kind == SyntaxKind::kGroup) ++nesting[i];
    }
    cost_.size = Saturated(sizes.back() * tree_.skippedRepetition);
    cost_.nesting = std::max(nesting.back(), tree_.skippedOperators);
  }

  /// How often the body of a repetition is written out. A body that "{0}" takes away was read all
  /// the same.
  static double Copies(const SyntaxNode& repeat) {
    return std::max(1, repeat.max == kUnbounded ? repeat.min + 1 : repeat.max);
  }

  void MeasureBottomUp() {
    measures_.reserve(tree_.nodes.size());
    for (const SyntaxNode& node : tree_.nodes) {
      measures_.push_back(MeasureOf(node));
      if (IsEmptyLoop(node)) hasEmptyLoop_ = true;
    }
    const Measure& whole = measures_.back();
    cost_.emptySteps = std::max({whole.inside, whole.enter, whole.leave, whole.through});
    cost_.neighbourPairs = whole.neighbours;
  }

  Measure MeasureOf(const SyntaxNode& node) const {
    switch (node.kind) {
      case SyntaxKind::kEmpty:
        return EmptyMeasure();
      case SyntaxKind::kAnchor:
        return AnchorMeasure(node.value);
      case SyntaxKind::kBackReference:
        return BackReferenceMeasure();
      case SyntaxKind::kGroup:
        return GroupMeasure(Of(node.firstChild));
      case SyntaxKind::kRepeat:
        return RepeatMeasure(node, Of(node.firstChild));
      case SyntaxKind::kConcat:
      case SyntaxKind::kAlternate: {
        Measure measure = Of(node.firstChild);
        for (int c = tree_.Node(node.firstChild).nextSibling; c != kNoNode;
             c = tree_.Node(c).nextSibling) {
          measure = node.kind == SyntaxKind::kConcat ? Sequence(measure, Of(c))
                                                     : Alternative(measure, Of(c));
        }
        return measure;
      }
      default:
        return Measure();
    }
  }

  bool IsEmptyLoop(const SyntaxNode& node) const {
    return node.kind == SyntaxKind::kRepeat && node.max == kUnbounded &&
           Of(node.firstChild).nullable;
  }

  /// What lies behind an expression, and how often the expression is written out.
  struct Behind {
    double times = 1;
    double reach = 0;
    double copies = 0;
    double ways = 0;
  };

  void AddPairsTopDown() {
    behind_.resize(tree_.nodes.size());
    double pairs = 0;
    double ways = 0;
    double copies = 0;
    for (int i = tree_.Root(); i >= 0; --i) {
      PassToChildren(i);
      const SyntaxNode& node = tree_.Node(i);
      const Behind& behind = behind_[static_cast<std::size_t>(i)];
      pairs = Saturated(pairs + behind.times * PairsAt(node, Of(i), behind));
      ways = Saturated(ways +
                       behind.times * NodesAt(node) * (Of(i).ways + Of(i).waysOn * behind.ways));
      if (node.kind == SyntaxKind::kAnchor) {
        copies = Saturated(copies + behind.times * Of(i).anchors * (1 + behind.copies));
      }
    }
    // The engine looks for each copy among all others.
    pairs += copies * copies / 100;
    if (hasEmptyLoop_) pairs += kEmptyLoopWeight * ways;
    // Among the copies it finds some pairs many times.
    if (hasEmptyLoop_ && copies > 0) pairs *= 2;
    cost_.emptyPairs = Saturated(pairs);
  }

  /// The pairs that begin at the nodes which the engine makes of `node` alone.
  double PairsAt(const SyntaxNode& node, const Measure& measure, const Behind& behind) const {
    // Nested loops are counted several times over; no node reaches more than all.
    const double all = 2 * cost_.size;
    const double reach = std::min(all, measure.reach + (measure.nullable ? behind.reach : 0));
    const double reachBehind = std::min(all, behind.reach);
    switch (node.kind) {
      case SyntaxKind::kAnchor:
        // Of the pairs among the copies only those count that go forward: half of all.
        return measure.reach * reach + measure.anchors * behind.copies * behind.copies / 2;
      case SyntaxKind::kGroup:
        return reach + 1 + reachBehind;
      case SyntaxKind::kAlternate:
        return AlternativeCount(node) * reach;
      case SyntaxKind::kRepeat:
        return Copies(node) * (reach + reachBehind);
      default:
        return 0;
    }
  }

  /// How many nodes without text the engine makes of `node` alone.
  double NodesAt(const SyntaxNode& node) const {
    switch (node.kind) {
      case SyntaxKind::kAnchor:
      case SyntaxKind::kBackReference:
        return 1;
      case SyntaxKind::kGroup:
        return 2;
      case SyntaxKind::kAlternate:
        return AlternativeCount(node);
      case SyntaxKind::kRepeat:
        return Copies(node);
      default:
        return 0;
    }
  }

  double AlternativeCount(const SyntaxNode& node) const {
    double count = 0;
    for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
      ++count;
    return count;
  }

  void PassToChildren(int index) {
    const SyntaxNode& node = tree_.Node(index);
    Behind behind = behind_[static_cast<std::size_t>(index)];
    if (node.kind == SyntaxKind::kConcat) return PassAlong(node, behind);
    if (node.kind == SyntaxKind::kGroup) {
      behind.reach += 1;
      behind.copies += 1;
      behind.ways += 1;
    }
    if (node.kind == SyntaxKind::kRepeat) {
      const Measure& whole = Of(index);
      behind.times = Saturated(behind.times * Copies(node));
      behind.reach += whole.reach;
      behind.copies = Saturated(whole.copies + std::max(1.0, whole.walksOn) * behind.copies);
      behind.ways = Saturated(whole.ways + std::max(1.0, whole.waysOn) * behind.ways);
    }
    for (int c = node.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling) {
      behind_[static_cast<std::size_t>(c)] = behind;
    }
  }

  /// Behind each part of a concatenation stand the later parts and what is behind the whole.
  void PassAlong(const SyntaxNode& concat, Behind behind) {
    std::vector<int> parts;
    for (int c = concat.firstChild; c != kNoNode; c = tree_.Node(c).nextSibling)
      parts.push_back(c);
    std::reverse(parts.begin(), parts.end());
    for (const int part : parts) {
      behind_[static_cast<std::size_t>(part)] = behind;
      const Measure& measure = Of(part);
      behind.reach = measure.reach + (measure.nullable ? behind.reach : 0);
      behind.copies = Saturated(measure.copies + measure.walksOn * behind.copies);
      behind.ways = Saturated(measure.ways + measure.waysOn * behind.ways);
    }
  }

  const Measure& Of(int index) const { return measures_[static_cast<std::size_t>(index)]; }

  const SyntaxTree& tree_;
  PatternCost cost_;
  std::vector<Measure> measures_;
  std::vector<Behind> behind_;
  bool hasEmptyLoop_ = false;
};

}  // namespace

PatternCost MeasurePattern(const SyntaxTree& tree) {
  return PatternMeasurer(tree).Run();
}

MessageNumber CheckPatternLimits(const SyntaxTree& tree) {
  const PatternCost cost = MeasurePattern(tree);
  if (cost.nesting > kMaxPatternNesting || cost.size > kMaxPatternSize ||
      cost.emptySteps > kMaxEmptySteps) {
    return MessageNumber::kExpressionTooLong;
  }
  if (cost.emptyPairs > kMaxEmptyPairs || cost.neighbourPairs > kMaxNeighbourPairs) {
    return MessageNumber::kMemoryOverflow;
  }
  return MessageNumber::kNone;
}

}  // namespace trovex
