// Searching for patterns with back-references: the leftmost match, of those the
// longest, with its groups.
//
// Every way through the pattern counts, and a back-reference stands for the
// range that its group has on that way just then; while the group has taken no
// part, it matches nowhere. Of the ways to the longest match the one counts
// that POSIX wants (way_graph.h).
//
// Where the text leaves only one way open, it is followed (reference_walk.h), and
// a run of bytes that stands twice is looked for as such (doubled_run.h). A row of
// runs and fixed bytes is read piece by piece (reference_row.h).
// In general nothing is known that does it fast. From a place where a match
// could begin the ways are tried one after another; what became of a step of
// the pattern at a place of the text, with the same ranges of the groups that
// are still to be compared, is remembered and never tried again. One budget
// holds for all searches of one text; where it ends, the search gives up and
// says where it was.
//
// What can be said of a pattern by automata, they say beforehand:
// WithoutReferences() writes it without its back-references, and no match
// begins where that one has none.

#ifndef TROVEX_MATCHER_GROUPS_REFERENCE_SEARCH_H
#define TROVEX_MATCHER_GROUPS_REFERENCE_SEARCH_H

#include "matcher/groups/doubled_run.h"
#include "matcher/groups/reference_row.h"
#include "matcher/groups/reference_walk.h"
#include "matcher/groups/way_graph.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/search_outcome.h"
#include "text/byte_map.h"
#include "text/byte_range.h"
#include "text/char_set.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

/// The table that leaves every byte as it is.
constexpr ByteMap IdentityMap() {
  ByteMap map{};
  for (std::size_t i = 0; i < map.size(); ++i)
    map[i] = static_cast<unsigned char>(i);
  return map;
}

struct ReferenceOptions {
  /// A match counts only if neither the byte before nor the one after it
  /// belongs to a word.
  bool wholeWords = false;
  /// The bytes of which words are made.
  CharSet wordBytes;
  /// As what back-references compare bytes.
  ByteMap comparedAs = IdentityMap();
};

/// A pattern that matches wherever `tree` does, and more: each back-reference
/// is replaced by what its group can match. `comparedAs` is that of the
/// options. What a back-reference stands for becomes "any bytes" where it
/// cannot be told, or where the tree would grow beyond a few thousand nodes.
SyntaxTree WithoutReferences(const SyntaxTree& tree, const ByteMap& comparedAs);

/// A pattern, ready to be searched for. Immutable; any number of threads may
/// use it, each through a ReferenceRun of its own.
class ReferenceSearch {
 public:
  /// Only what the search needs is kept of `tree`.
  ReferenceSearch(const SyntaxTree& tree, const ReferenceOptions& options);

  /// Whether it goes through a text fast, with nobody looking for places
  /// beforehand: at most one way is open at each of them, or the ways are those of a row.
  bool IsFast() const { return walk_.has_value() || doubled_.has_value() || row_.has_value(); }

  /// Whether a scan of `text` leaves a match possible.
  bool MayHold(TextView text) const { return !row_ || row_->MayBeIn(text); }

 private:
  friend class ReferenceRun;

  void NoteReferencedGroups();
  void NoteWhatIsAskedFor();
  std::uint64_t AskedBefore(const WayStep& step, std::uint64_t next, std::uint64_t other) const;
  void NoteStart();
  int SlotOf(int group) const { return slots_[static_cast<std::size_t>(group)]; }

  // Which of the ranges of groups a way may still ask for are bits: two for
  // each slot.
  static std::uint64_t RangeBit(int slot) { return std::uint64_t{1} << (2 * slot); }
  static std::uint64_t OpeningBit(int slot) { return std::uint64_t{2} << (2 * slot); }

  WayGraph graph_;
  ReferenceOptions options_;
  std::vector<int> slots_;  // by group: its number among those that are referred to, or -1
  int slotCount_ = 0;
  std::vector<std::uint64_t> asked_;  // by step: what may still be asked for
  CharSet firstBytes_;                // what a match begins with, unless it can be empty
  bool canBeEmpty_ = false;
  bool isTooLarge_ = false;
  std::optional<ReferenceWalk> walk_;  // set if the pattern leaves only one way open
  std::optional<DoubledRun> doubled_;  // set if the pattern is one
  std::optional<ReferenceRow> row_;    // set if the pattern is one, and nothing else is faster
};

/// One thread's work space for a search. After the first texts it allocates
/// nothing.
class ReferenceRun {
 public:
  /// `search` must outlive the run.
  explicit ReferenceRun(const ReferenceSearch& search);

  /// The text of the searches to come; it must stay where it is. They share one
  /// budget: about 2 µs a byte of the text, and a second beside it.
  void Begin(TextView text);

  /// The same for `text`, which is the rest of the one before from a place on, and begins with a line there.
  void BeginRest(TextView text);

  /// What the searches since `Begin` or `BeginRest` have spent, in units of about 10 ns.
  std::uint64_t Used() const;

  /// ReferenceSearch::IsFast of the text: a row is not read any more where that took too long in it.
  bool IsFast() const { return search_.walk_ || search_.doubled_ || (search_.row_ && !leftRow_); }

  /// The leftmost match that begins from `from` to `lastStart`, of those the
  /// longest. Writes its range, and to `groups`, unless that is null, the range
  /// of group g at g - 1. Nothing is written unless a match is found. Where it was fast and ceases to be, kGaveUp: the
  /// same search, from where it stood, goes on otherwise.
  SearchOutcome Find(std::size_t from, std::size_t lastStart, ByteRange& match,
                     std::vector<ByteRange>* groups);

  /// Where the search stood when it gave up: no match begins before, from
  /// `from` on.
  std::size_t GaveUpAt() const { return gaveUpAt_; }

 private:
  using Place = std::uint32_t;  // in the line
  using Value = std::uint32_t;  // index into `ends_`

  /// A range of a group that is referred to, on the way that is being tried.
  struct Capture {
    Place opened;
    Place begin;
    Place end;
    bool operator==(const Capture&) const = default;
  };
  /// The end of a piece on the best way onward, and those of the pieces around
  /// it.
  struct PieceEnd {
    Place place;
    Value around;
    int depth;
  };
  /// What became of a split.
  struct Outcome {
    std::uint32_t step;
    Place place;
    std::uint32_t captures;
    Value value;
    bool takesOther;
  };
  /// What is to be done once the way onward is known.
  struct Frame {
    int step;
    Place place;
    std::uint32_t captures;
    bool isSecond;
    Value first;
    std::uint32_t outcome;
  };

  /// A branch that is not tried yet, and how many changes of captures came before it.
  struct Branch {
    int step;
    Place place;
    std::size_t changes;
  };
  struct Change {
    std::size_t slot;
    Capture before;
  };

  void BeginAgain(TextView text);
  bool EnterLine(std::size_t place);
  SearchOutcome FindDoubled(std::size_t from, std::size_t lastStart, ByteRange& match,
                            std::vector<ByteRange>* groups);
  SearchOutcome FindRow(std::size_t from, std::size_t lastStart, ByteRange& match);
  SearchOutcome FindInLine(std::size_t from, std::size_t lastStart, ByteRange& match,
                           std::vector<ByteRange>* groups);
  SearchOutcome Walk(std::size_t& from, std::size_t lastStart, ByteRange& match,
                     std::vector<ByteRange>* groups);
  bool CanStartAt(std::size_t place) const;
  void Forget();
  SearchOutcome LongestFrom(Place start, Place& end, bool withGroups);
  SearchOutcome TryAllWays(Place start, Place& end);
  void NoteChange(int group);
  bool CanEndAt(Place place) const;
  SearchOutcome From(Place start, Place& end);
  Value BestValue(Place start);
  Value Descend(int step, Place place);
  bool ReturnTo(Frame& frame, Value& value);
  int Pass(const WayStep& step, Place& place);
  bool Repeats(int group, Place& place);
  void Trace(Place start, std::vector<ByteRange>& groups);

  std::uint32_t NumberOfCaptures(std::uint64_t asked);
  void LoadCaptures(std::uint32_t number);
  void GrowCaptureSlots();
  std::uint32_t FindOrAdd(std::uint32_t step, Place place, std::uint32_t captures, bool& isNew);
  void GrowOutcomeSlots();
  Value CutTo(int depth, Value value) const;
  bool IsBetter(Value second, Value first) const;

  const ReferenceSearch& search_;
  const WayGraph& graph_;
  TextView text_;
  std::size_t lineBegin_ = 0;
  std::size_t lineEnd_ = 0;
  bool hasLine_ = false;
  std::uint64_t budget_ = 0;
  std::uint64_t used_ = 0;
  std::size_t gaveUpAt_ = 0;

  std::vector<Capture> captures_;       // of the way that is being tried, by slot
  std::vector<Capture> knownCaptures_;  // all that were met at splits, one set after the other
  std::vector<std::uint32_t> captureSlots_;
  std::vector<Outcome> outcomes_;
  std::vector<std::uint32_t> outcomeSlots_;
  std::vector<PieceEnd> ends_;
  std::vector<Frame> frames_;
  std::vector<Branch> branches_;
  std::vector<Change> changes_;
  std::vector<std::size_t> opened_;
  ReferenceWalk::Captures walkCaptures_;
  std::vector<std::size_t> same_;
  ReferenceRow::Workspace row_;
  const unsigned char* rowText_ = nullptr;  // where the text began that the row is read in
  std::uint64_t rowUsedBefore_ = 0;         // of the row, before the rest of the text
  bool leftRow_ = false;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_GROUPS_REFERENCE_SEARCH_H
