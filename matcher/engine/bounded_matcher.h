// The library's own search for the few patterns that must not be given to the engine
// (pattern_hazards.h), with bounds on time and memory and no recursion.
//
// The pattern becomes a program of small steps. A run of the program tries one way through it and
// keeps the other ways for later, on a stack of its own. Ways are tried in the engine's order: as
// much as possible for repetitions, alternatives from the left. What was tried once, at the same
// address of the program and place of the text and with the same ranges of the groups that back-references name, is
// never tried again; so a run ends, and for a pattern without back-references its time is at most
// the length of the program times that of the text.
//
// The longest match is the farthest end that any way reaches; the groups are those of the first way
// that reaches it. A loop that consumes nothing is left the second time its start is reached. An empty
// round of a repetition leaves a group with its earlier range. That is what the engine does, but for
// the groups of patterns without back-references: of a known match they are told in another way
// (group_walk.h), which is the engine's own.
//
// What back-references match is the engine's reading too, which is not the obvious one:
//
// - A group in "(...)+" or "(...){2}" is written out more than once, and where several of these
//   can close at the same place, the engine knows only some of their ranges. So "(.+)+\1" matches
//   "aa" of "aaa".
// - Before the first byte of a match, a back-reference matches nothing at all if its group could
//   have closed there, whether it has or not. So "((a*)b)*\2" matches the empty text.

#ifndef TROVEX_MATCHER_ENGINE_BOUNDED_MATCHER_H
#define TROVEX_MATCHER_ENGINE_BOUNDED_MATCHER_H

#include "matcher/pattern/pattern_syntax.h"
#include "matcher/search_outcome.h"
#include "text/case_helpers.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace trovex {

class BracketRanges;
class EngineGraph;
class LineGroups;
class WorkCredit;

/// The text that a match must lie in.
struct BoundedText {
  const char* begin;
  int length;
  bool endsLine;  // whether "$" matches at its end
};

/// The range of a group, -1 twice if it took no part.
struct GroupRange {
  int start = -1;
  int end = -1;

  bool operator==(const GroupRange&) const = default;
};

/// The rule for whole words on a line, of patterns without anchors: a refused match is tried shorter at
/// the same start, then further right. The byte after the line counts, unless the match fills the line.
struct WordRule {
  const char* line;
  int length;

  bool CanStartAt(int place) const {
    return place == 0 || !IsWordConstituent(static_cast<unsigned char>(line[place - 1]));
  }
  bool CanEndAt(int place, int start) const {
    return place - start == length || !IsWordConstituent(static_cast<unsigned char>(line[place]));
  }
};

class BoundedMatcher {
 public:
  /// Only a tree that other readers of the pattern share is not copied.
  explicit BoundedMatcher(std::shared_ptr<const SyntaxTree> tree);
  explicit BoundedMatcher(SyntaxTree tree);
  ~BoundedMatcher();
  BoundedMatcher(const BoundedMatcher&) = delete;
  BoundedMatcher& operator=(const BoundedMatcher&) = delete;

  /// Finds the leftmost-longest match that starts from `from` to `lastStart`. Writes the ranges of
  /// the whole match and of the groups; nothing is written if there is none, or if it gives up at the
  /// bounds or the end of the credit. With `words`, only matches count that it lets pass; the pattern
  /// must have no anchors.
  SearchOutcome Find(const BoundedText& text, int from, int lastStart,
                     std::vector<GroupRange>& ranges, WorkCredit& credit,
                     const WordRule* words = nullptr) const;

  /// Finds the range of that match alone, for patterns without back-references, in one pass.
  SearchOutcome FindWhole(const BoundedText& text, int from, int lastStart, GroupRange& match,
                          WorkCredit& credit, const WordRule* words = nullptr) const;

  /// The ranges of the groups of the match that is known to be `match`. Nothing is written if the engine
  /// denies the match with its groups (kNotFound), or if it gives up at the bounds or the end of the credit.
  SearchOutcome FindGroups(const BoundedText& text, GroupRange match,
                           std::vector<GroupRange>& ranges, WorkCredit& credit) const;

  /// Whether `MakeLineGroups` may be asked.
  bool CanReadLines() const { return canReadLines_; }
  /// What tells one group of the matches on a line (line_groups.h). Uses this object.
  std::unique_ptr<LineGroups> MakeLineGroups() const;

  bool HasReferences() const { return referenced_ != 0; }
  bool HasAnchors() const { return hasAnchors_; }
  bool CanBeEmpty() const { return canBeEmpty_; }
  /// Whether `FindWhole` may be asked.
  bool HasGraph() const;
  std::size_t Size() const { return program_.size(); }

 private:
  friend class BoundedRun;
  friend class CopiedBrackets;
  friend class EngineGraph;
  friend class GraphSearch;
  friend class GroupWalk;
  friend class LineGroups;

  enum class Operation : unsigned char {
    kByte,           // first: the byte
    kSet,            // first: index of the set
    kAnchor,         // first: an Anchor
    kBackReference,  // first: the group
    kSplit,          // first, then second
    kJump,           // first
    kOpenGroup,      // first: the group; second: whether a repetition made it optional
    kCloseGroup,     // first: the group; second: the address of its opening bracket
    kMatch,
  };
  struct Step {
    Operation operation;
    int first = 0;
    int second = 0;
  };

  /// Which writing-out of an expression is meant. An empty round of a repetition leaves a group as
  /// it was, but only in the first writing-out: the engine forgets it in the others.
  struct Copy {
    bool isFirst;
    bool isOptional;  // the body of a repetition that may be left out
  };

  void Emit(int index, Copy copy);
  void EmitNode(const SyntaxNode& node, Copy copy);
  void EmitGroup(const SyntaxNode& node, Copy copy);
  void EmitAlternatives(const SyntaxNode& node, bool isFirst);
  void EmitRepeat(const SyntaxNode& node, bool isFirst);
  bool IsNothing(int index) const;
  int Append(Operation operation, int first, int second = 0);
  void NoteWhatReferencesSee();
  unsigned SeenFrom(int address) const;
  void NoteStart();
  std::vector<int> Closure(int from) const;

  int Here() const { return static_cast<int>(program_.size()); }
  Step& At(int address) { return program_[static_cast<std::size_t>(address)]; }
  const Step& At(int address) const { return program_[static_cast<std::size_t>(address)]; }
  const CharSet& SetOf(const Step& step) const {
    return tree_.sets[static_cast<std::size_t>(step.first)];
  }
  void PassBracket(const Step& step, int place, BracketRanges& ranges) const;
  /// Whether the group that `close` closes is one that a repetition made optional.
  bool IsOptional(const Step& close) const { return At(close.second).second != 0; }
  unsigned SeenAt(int address) const { return seen_[static_cast<std::size_t>(address)]; }

  /// Sets of groups are bits. Only the groups 1 to 9 can be referred to.
  static unsigned GroupBit(int group) { return group <= 9 ? 1U << group : 0; }

  const std::shared_ptr<const SyntaxTree> sharedTree_;
  const SyntaxTree& tree_;
  std::vector<Step> program_;
  std::vector<int> engineOrder_;  // the addresses in the order of the engine's nodes, without jumps
  std::vector<bool>
      isCopy_;  // by address: whether it belongs to a writing-out that is not the first
  bool emitsCopy_ = false;
  unsigned referenced_ = 0;                   // the groups that back-references name
  unsigned writtenOut_ = 0;                   // the groups that stand in the program
  unsigned copied_ = 0;                       // those that stand there more than once
  unsigned emptyAtStart_ = 0;                 // those that can close before the first byte
  std::vector<unsigned> seen_;                // by address: whose present range is asked for later
  std::unique_ptr<const EngineGraph> graph_;  // tells groups; null with back-references
  CharSet firstBytes_;                        // what a match can begin with, unless it can be empty
  bool canBeEmpty_ = false;
  bool hasAnchors_ = false;
  bool canReadLines_ = false;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_ENGINE_BOUNDED_MATCHER_H
