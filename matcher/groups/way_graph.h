// All ways through a pattern, as a graph of small steps.
//
// The group finder and the search for patterns with back-references both ask for the best way: the one
// that POSIX wants. Its rule compares ways by the pieces of the pattern, outer pieces before the inner
// ones, earlier before later: the way on which a piece ends later is the better one. Of two ways that
// part at a step, all pieces that are open there decide, from the outermost inwards, by where they end;
// if they all end alike, the branch that is named first wins. So a step carries its depth, the number of
// pieces that are open, and a "piece end" says where one closes; that is all that is needed to tell two
// ways apart wherever they part.
//
// Not every piece is counted. The last piece of a sequence ends where the sequence does; a piece that
// always matches in one way cannot be matched in a better one; and where no group stands, nobody asks how
// the text was divided. (Borsotti and Trofimovich, "Efficient POSIX submatch extraction on nondeterministic
// finite automata", 2021, treat the same order from the front; here it is worked out from the end.)
//
// Repetitions are written out: "x{2,4}" is "xx(x(x)?)?". The rounds that a repetition must make may match
// nothing; those beyond must not, except that a repetition that may be left out can consist of one round
// that matches nothing. So there is no circle of steps that consume nothing: where the body of a
// repetition can be empty, the steps that lead from its start to its first byte stand in the graph a
// second time, without the way past them.

#ifndef TROVEX_MATCHER_GROUPS_WAY_GRAPH_H
#define TROVEX_MATCHER_GROUPS_WAY_GRAPH_H

#include "matcher/pattern/pattern_syntax.h"
#include "text/byte_range.h"
#include "text/char_set.h"

#include <cstddef>
#include <vector>

namespace trovex {

enum class WayKind : unsigned char {
  kMatch,      // the end of the pattern
  kBytes,      // `value`: index into `sets`; consumes one byte
  kReference,  // `value`: the group; `other`: what follows if it consumed nothing
  kAnchor,     // `value`: an Anchor
  kOpen,       // `value`: the group
  kClose,      // `value`: the group
  kPieceEnd,   // the innermost open piece ends
  kSplit,      // `next`, if `other` is no better
};

/// Stands for a step from which no way leads on.
inline constexpr int kNoStep = -1;

struct WayStep {
  WayKind kind = WayKind::kMatch;
  int value = 0;
  int next = kNoStep;
  int other = kNoStep;
  /// How many pieces are open before the step.
  int depth = 0;
};

struct WayGraph {
  /// What a step leads to without consuming a byte stands before it.
  std::vector<WayStep> steps;
  /// Sets of bytes as they stand in the text; none holds the line feed.
  std::vector<CharSet> sets;
  int start = kNoStep;
  /// The one step of the kind kMatch; kNoStep if no way leads to it.
  int end = kNoStep;
  int groupCount = 0;
  int maxDepth = 0;
  bool hasReferences = false;
  /// The pattern is too large to be written out; there are no steps.
  bool isTooLarge = false;

  const WayStep& Step(int index) const { return steps[static_cast<std::size_t>(index)]; }
  const CharSet& SetOf(const WayStep& step) const {
    return sets[static_cast<std::size_t>(step.value)];
  }
};

/// Writes out `tree`, in at most about `maxSteps` steps.
WayGraph MakeWayGraph(const SyntaxTree& tree, int maxSteps);

/// Whether `anchor` holds at `place` of `text`. A line feed ends a line, and so does the text's end;
/// "start and end of the text" are those of the line.
inline bool AnchorHolds(Anchor anchor, TextView text, std::size_t place, const CharSet& wordBytes) {
  const auto isWord = [&](std::size_t at) { return at < text.size() && wordBytes.test(text[at]); };
  const bool wordBefore = place > 0 && isWord(place - 1);
  switch (anchor) {
    case Anchor::kLineStart:
    case Anchor::kTextStart:
      return place == 0 || text[place - 1] == '\n';
    case Anchor::kLineEnd:
    case Anchor::kTextEnd:
      return place == text.size() || text[place] == '\n';
    case Anchor::kWordStart:
      return !wordBefore && isWord(place);
    case Anchor::kWordEnd:
      return wordBefore && !isWord(place);
    case Anchor::kWordEdge:
      return wordBefore != isWord(place);
    case Anchor::kNotWordEdge:
      return wordBefore == isWord(place);
  }
  return false;
}

}  // namespace trovex

#endif  // TROVEX_MATCHER_GROUPS_WAY_GRAPH_H
