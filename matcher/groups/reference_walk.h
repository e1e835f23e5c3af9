// Patterns with back-references of which the text leaves only one way open,
// such as "\<([a-z]+) \1\>".
//
// As with single_way.h: if the steps that can consume the next byte never take
// the same one, and no back-reference competes with them, there is nothing to
// try: from a start there is one way, and it is followed until it ends. The
// last place where the pattern could end on it is the end of the longest match.
//
// If moreover all its pieces have fixed lengths, as in "([a-z][a-z][a-z])\1",
// the places where bytes repeat at the right distances are looked for first,
// eight at a time. Where it begins with a word that stands again after a byte,
// as in the first example, the words are that the same byte stands after.

#ifndef TROVEX_MATCHER_GROUPS_REFERENCE_WALK_H
#define TROVEX_MATCHER_GROUPS_REFERENCE_WALK_H

#include "matcher/groups/single_way.h"
#include "matcher/groups/way_graph.h"
#include "text/byte_map.h"
#include "text/byte_range.h"
#include "text/char_set.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

class ReferenceWalk {
 public:
  /// What the walk asks of the pattern's options.
  struct Options {
    bool wholeWords = false;
    CharSet wordBytes;
    ByteMap comparedAs{};
  };

  /// Nothing if the pattern leaves a choice, or is large.
  static std::optional<ReferenceWalk> Make(const WayGraph& graph, const Options& options);

  /// A group on the way: its range, and where it was opened since.
  struct Capture {
    ByteRange range;
    std::size_t opened = kNowhere;
  };
  using Captures = std::vector<Capture>;

  /// The end of the longest match from `start`, in a line that ends at
  /// `lineEnd`; kNowhere if there is none. `captures` is work space. Adds the
  /// bytes that were looked at to `used`.
  std::size_t EndOfMatch(TextView text, std::size_t start, std::size_t lineEnd, Captures& captures,
                         std::uint64_t& used) const;

  /// The ranges of the groups of that match: group g's to groups[g - 1].
  void FindGroups(TextView text, const ByteRange& match, Captures& captures,
                  std::vector<ByteRange>& groups) const;

  /// The first place from `from` to `lastStart`, both in one line, at which a match could begin as far as
  /// the bytes beside the place say; kNowhere if there is none.
  std::size_t NextStart(TextView text, std::size_t from, std::size_t lastStart) const;

  /// Whether NextPlace() leaves places out.
  bool LooksForPlaces() const { return looksForRuns_ || !repeats_.empty(); }

  /// The first place from `from` to `lastStart` at which a match could begin;
  /// kNowhere if there is none.
  std::size_t NextPlace(TextView text, std::size_t from, std::size_t lastStart) const;

 private:
  using State = std::uint16_t;
  static constexpr State kNoState = UINT16_MAX;
  struct Link {
    State to = kNoState;
    std::uint16_t marks = 0;  // number of a list; 0: none
  };
  /// The byte at one offset from a match's start stands at another one again.
  struct Repeat {
    std::size_t first;
    std::size_t second;
  };

  enum class Start : unsigned char { kNever, kAfterNoWord, kAlways };

  void NoteStarts();
  void NoteFirstRun();
  bool RunsAreWords() const;
  bool CanStartAt(TextView text, std::size_t place) const;
  std::size_t NextRun(TextView text, std::size_t from, std::size_t lastStart) const;
  bool CanGoOnAfterRun(TextView text, std::size_t start, std::size_t lineEnd,
                       std::uint64_t& used) const;
  bool Fill(const WayGraph& graph, const std::vector<WayPath>& paths);
  void NoteRepeats(const WayGraph& graph, const std::vector<WayPath>& paths);
  bool Pass(std::uint16_t list, TextView text, std::size_t place, Captures& captures) const;
  bool CanEndAt(std::uint16_t list, TextView text, std::size_t place) const;
  bool Repeats(TextView text, const ByteRange& range, std::size_t place, std::size_t lineEnd) const;
  bool CanBeAt(TextView text, std::size_t place) const;
  std::size_t Follow(TextView text, std::size_t start, std::size_t lineEnd, std::size_t stop,
                     Captures& captures, std::uint64_t& used) const;

  Options options_;
  std::size_t groupCount_ = 0;
  std::size_t captureCount_ = 0;
  State first_ = 0;
  ByteMap classOf_{};
  std::size_t classCount_ = 0;
  std::vector<Link> links_;               // by state and class of the byte
  std::vector<Link> ends_;                // by state: to the pattern's end
  std::vector<Link> references_;          // by state: to a back-reference
  std::vector<unsigned char> isSpecial_;  // by state: whether it has an entry in one of the two
  std::vector<int> groups_;               // by state: the group of the back-reference
  std::vector<std::vector<WayMark>> marks_;
  std::array<Start, 256> starts_{};  // by the byte at the place
  bool canStartAnywhere_ = false;
  /// What each byte is to a first group that is a run of bytes, if the pattern begins with one, and with a
  /// back-reference to it after the next byte: part of the run, or that byte.
  enum class InRun : unsigned char { kNo, kRun, kAfter };
  bool beginsWithRun_ = false;
  bool looksForRuns_ = false;  // it can begin where such a run does, and nowhere else
  std::array<InRun, 256> inRun_{};
  std::vector<Repeat> repeats_;
  std::size_t reach_ = 0;  // the greatest offset in `repeats_`
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_GROUPS_REFERENCE_WALK_H
