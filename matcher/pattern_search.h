// The searches of one thread for one pattern: all matches of a text, one after the other.
//
// The matches of a text are the leftmost, of those the longest, then on from its end. An empty match counts
// where it does not touch the match before it, and the search goes on one byte further:
//
//   x*     in "axxb"      empty at 0, "xx" at 1, empty at 4; not at 3, where "xx" ends
//   ^|b$   in "ab\nb"     empty at 0, "b" at 1, "b" at 3
//
// A line feed ends a line; what stands after the last one is a line if it is not empty. A text of no
// bytes has one line, the empty one.

#ifndef TROVEX_MATCHER_PATTERN_SEARCH_H
#define TROVEX_MATCHER_PATTERN_SEARCH_H

#include "matcher/automata/match_locator.h"
#include "matcher/groups/group_finder.h"
#include "matcher/groups/reference_search.h"
#include "matcher/pattern_program.h"
#include "matcher/search_outcome.h"
#include "matcher/tuning.h"
#include "text/byte_range.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

class PatternSearch {
 public:
  /// `program` must outlive the search.
  explicit PatternSearch(const PatternProgram& program);
  PatternSearch(const PatternSearch&) = delete;
  PatternSearch& operator=(const PatternSearch&) = delete;

  const PatternProgram& Program() const { return program_; }

  /// The locator whose looks at short texts tell of the pattern's matches; null if none does.
  const LocatorProgram* Looked() const { return isLocated_ ? program_.Locator() : nullptr; }

  /// The matches that follow are those of `text`, which must stay as it is meanwhile. It is never
  /// written, and nothing outside of it is read.
  void Begin(TextView text);

  /// The next match. With `kNotFound` there are no more, with `kGaveUp` it is not known: `GaveUpAt`
  /// says up to where all matches were found. Both stay until the next `Begin`. Throws nothing but
  /// std::bad_alloc.
  SearchOutcome Next(ByteRange& match) {
    match = Next();
    return outcome_;
  }

  /// The same in registers, for matches can be a few bytes apart: nowhere where the outcome is not kFound.
  ByteRange Next() {
    const MatchLocator::Match* const ready = isLocated_ ? locator_->TakeReady() : nullptr;
    if (ready == nullptr) return NextNotReady();
    place_ = static_cast<std::size_t>(ready->end - text_.data());
    return {static_cast<std::size_t>(ready->start - text_.data()), place_};
  }
  SearchOutcome Outcome() const { return outcome_; }

  /// Leaves out the matches that begin on the line of `match`, the latest one.
  void SkipLine(const ByteRange& match);

  /// Leaves out the matches that begin before `line`, where a line of the text begins.
  void SkipTo(std::size_t line);

  /// The first match of `text` alone, as Begin and Next find it; a short text that has none is done with
  /// before anything is begun. Afterwards, Begin comes before anything else.
  SearchOutcome First(TextView text, ByteRange& match) {
    if (locator_ && text.size() <= kLookedAtText) {
      LocatedRange found;
      const unsigned char* const begin = text.data();
      const unsigned char* const end = begin + text.size();
      const LocatorProgram& program = *program_.Locator();
      using Answer = LocatorProgram::Answer;
      // Of matches that are not located a look tells at best that there are none: mostly where they are rare.
      const bool looks = isLocated_ || program.Screen().Rate() <= kScreenRate;
      const Answer answer = looks ? program.LookAt(begin, end, found) : Answer::kUnknown;
      if (answer == Answer::kNoMatch) return outcome_ = SearchOutcome::kNotFound;
      if (answer == Answer::kMatch && isLocated_) {
        match = {static_cast<std::size_t>(found.start - begin),
                 static_cast<std::size_t>(found.end - begin)};
        return outcome_ = SearchOutcome::kFound;
      }
    }
    Begin(text);
    return Next(match);
  }

  /// Where the groups of `match`, a match of this text, lie: groups[g - 1] is the range of group g,
  /// nowhere if it took no part. With `kGaveUp`, where that would take too long, there are none.
  SearchOutcome Groups(const ByteRange& match, std::vector<ByteRange>& groups);

  /// With `kGaveUp`: a match that was not found starts here or later.
  std::size_t GaveUpAt() const { return place_; }

  /// What has been spent since `Begin` where reading the text once was not enough, in units of about a
  /// nanosecond.
  std::int64_t Work() const;

 private:
  ByteRange NextNotReady();
  ByteRange NextLocated();
  SearchOutcome NextWithReferences(ByteRange& match);
  std::size_t LineEnd(std::size_t place) const;
  void GoOnAfter(ByteRange match);

  const PatternProgram& program_;
  bool isLocated_;  // the locator's matches are the pattern's
  std::optional<MatchLocator> locator_;
  GroupFinder::Workspace groupWork_;
  std::optional<ReferenceRun> references_;

  TextView text_;
  std::size_t end_ = 0;                               // of the last line
  std::size_t place_ = 0;                             // where the search goes on
  bool touches_ = false;                              // a match ended there
  SearchOutcome outcome_ = SearchOutcome::kNotFound;  // once it is not `kFound` any more
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_SEARCH_H
