// The matches of a row of runs (run_scan.h), found from a string in its middle.
//
// What a row begins with can be everywhere, and something in it rare: a dot between digits, the end of a word. A
// scan finds that string. From there one goes back over the runs before it, to where the row begins, and forward
// from there.
//
//   [0-9]{1,3}\.[0-9]{1,3}\.[0-9]+    [0-9]\.[0-9] is looked for; from its dot back over up to three digits
//   [a-z]+ung                         "ung"; from there back over all letters
//   [A-Z][a-z]+keit                   "keit"; back over all small letters, and one capital
//   .{0,500}x                         "x"; from the first one back over up to 500 bytes of the line
//   [a-z]+$                           a letter and the line feed after it; back over all letters
//
// The way back is one and leads to the leftmost start, because the runs on it have nothing in common with their
// neighbours, and the first byte of the string belongs to none of them: so no match that begins before the
// string has another one first. A run that may be missing makes neighbours of those at its sides; and where all
// before a run may be missing, it has no end, for a match could begin in the middle of it. The run right before
// the string may have that byte where it has no end and only the string follows it: it goes back to the same place
// from wherever in it the string stands, and which of the strings in it is the last is told on the way forward. If
// it is all that stands before the string, it may have an end, too: the first string leads furthest to the left.
//
// What must stand before a match is asked of that one place: no byte of a first run that has no fixed length will
// do for it.
//
//   [A-Z][a-z]+ung in "erfungungX"    from the first "ung" back to the blank before "erf": nothing
//                                     from the second one, back to the first: the same again, so nothing

#ifndef TROVEX_MATCHER_RUNS_RUN_MIDDLE_H
#define TROVEX_MATCHER_RUNS_RUN_MIDDLE_H

#include "matcher/runs/run_scan.h"
#include "matcher/scan/beside.h"
#include "matcher/scan/place_cursor.h"
#include "matcher/scan/string_scan.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace trovex {

struct MiddleString;

class RunMiddle {
 public:
  /// Of `runs`, which a RunScan takes, the rarest string in their middle; nothing where they have none. `beside` is
  /// what must stand beside a match: the scan has been told what after it.
  static std::optional<RunMiddle> For(const std::vector<Run>& runs, const Beside& beside = {});

  /// At how many of 100,000 places the string is to be expected (RateInClusters).
  double Rate() const { return rate_; }

  /// Calls `take(start, end)` for the matches in [place, end) one after another, each from the end of the one
  /// before it on, until it returns false. The text goes from `begin` to `end`; `scan` reads the row, and `notes`
  /// are those of the text.
  template <typename Take>
  void ForEach(const unsigned char* place, const unsigned char* begin, const unsigned char* end,
               const RunScan& scan, RunScan::Notes& notes, PlaceCursor& cursor, Take take) const {
    if (beginsLines_ && place == begin) {
      const unsigned char* const stop = scan.EndOfMatch(begin, begin, end, notes);
      if (stop != nullptr && !take(begin, stop)) return;
      if (stop != nullptr) place = stop;
    }
    Walk walk = {place, begin, end, nullptr};
    if (beginsLines_) place = FromNextLine(place, begin, end);
    string_.ForEach(place, begin, end, cursor,
                    [&](const unsigned char* found) -> const unsigned char* {
                      const auto [start, stop] = MatchAround(found, scan, notes, walk);
                      if (start == nullptr) return found + 1;
                      return take(start, stop) ? stop : nullptr;
                    });
  }

  /// The first of these in a text that begins at `place`; null if there is none.
  std::pair<const unsigned char*, const unsigned char*> First(const unsigned char* place,
                                                              const unsigned char* end,
                                                              const RunScan& scan,
                                                              RunScan::Notes& notes) const;

 private:
  using Byte = unsigned char;

  /// A run before the string, the last one first.
  struct RunBefore {
    std::ptrdiff_t least;
    std::ptrdiff_t most;
    MemberTable members;
  };

  /// How far the matches of a text have come.
  struct Walk {
    const Byte* place;  // from where on the next one may start
    const Byte* begin;  // of the text
    const Byte* end;    // of the text
    const Byte* tried;  // where the string stood that no match was found around; null: none
  };

  RunMiddle(const std::vector<Run>& runs, std::size_t middle, const MiddleString& told,
            const Beside& beside);

  /// `place`, or the end of its line where that is far and all matches behind `place` begin lines.
  static const Byte* FromNextLine(const Byte* place, const Byte* begin, const Byte* end) {
    return std::max(place, FromLineFeed(place != begin ? place - 1 : place, end));
  }

  const Byte* StartBefore(const Byte* middle, const Walk& walk) const;

  /// The match that the string at `found` leads to; null if there is none.
  std::pair<const Byte*, const Byte*> MatchAround(const Byte* found, const RunScan& scan,
                                                  RunScan::Notes& notes, Walk& walk) const {
    const Byte* const middle = found + lead_;
    const Byte* const start = StartBefore(middle, walk);
    const bool mayStart =
        start != nullptr && mayBeBefore_[start != walk.begin ? start[-1] : Byte{'\n'}];
    const Byte* const stop =
        mayStart ? scan.EndOfMatch(start, walk.begin, walk.end, notes) : nullptr;
    walk.tried = stop == nullptr ? middle : nullptr;
    if (stop == nullptr) return {nullptr, nullptr};
    walk.place = stop;
    return {start, stop};
  }

  std::vector<RunBefore> before_;
  bool meetsMiddle_;         // the run before the string has no end and may hold its first byte
  std::ptrdiff_t lead_;      // how many bytes of that run the string begins with: one or none
  bool beginsLines_;         // only a line feed may stand before a match
  MemberTable mayBeBefore_;  // the bytes that may stand before a match
  double rate_;
  StringScan string_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_RUNS_RUN_MIDDLE_H
