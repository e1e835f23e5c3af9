// Where a row of runs ends that starts at a given place. A run is a set of bytes and how many of them may
// stand side by side.
//
//   [A-Z][a-z]+            [A-Z] once, [a-z] once or more
//   https?://[^ ]+         "http", "s" once or not, "://", [^ ] once or more
//   a.{0,100}b             a, up to 100 bytes, b
//
// From a given start there is one way through such a row, as long as no byte can belong to a run and to
// what may follow it: each run takes all that it can, many bytes at a time. Only the last run of no fixed
// length may be told from what follows by trying, as the dot from the b: of the places where that can
// follow, the last counts. Others may, too, where an endless run comes after it that takes all of it: then the first
// place counts, for from there that run reaches whatever it does from any other.
//
//   a.*b.*c                a, the first b after it, the last c after that on the line
//
// What must stand after a match is read as one more run of a single byte, which belongs to no match. It may be the
// line feed that is thought after the text.
//
// A start at which the row fails says something of the starts after it: whoever comes into an endless run
// that has been read, anywhere in it, comes out of it at the same end and fails there just the same.
// These stretches are noted, and what is known of the bytes before a place, so that no text is read again
// and again. Of a run that ends within the next few bytes nothing is noted: a glance tells the same once more
// (run_glance.h).
//
//   a[a-z]*;  in "abcabcabc."   the start at 0 reads [a-z]* from 1 to 9 and finds no ";". The starts at
//                               3 and 6 come into that run at 4 and 7: they need not read it

#ifndef TROVEX_MATCHER_RUNS_RUN_SCAN_H
#define TROVEX_MATCHER_RUNS_RUN_SCAN_H

#include "matcher/limits.h"
#include "matcher/runs/run_glance.h"
#include "matcher/scan/beside.h"
#include "matcher/scan/place_scan.h"
#include "matcher/scan/string_scan.h"
#include "text/char_set.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

struct Run {
  /// The most of a run that has no end.
  static constexpr std::uint32_t kEndless = UINT32_MAX;

  /// Bytes of the text; no newline.
  CharSet bytes;
  std::uint32_t least = 1;
  std::uint32_t most = 1;

  bool IsFixed() const { return least == most; }
};

class RunScan {
 public:
  /// What the searches of one text note.
  class Notes {
   public:
    void Forget() { isEmpty_ = true; }

   private:
    friend class RunScan;
    using Byte = unsigned char;

    /// Places side by side; null: none. Not set by default: most notes stay empty.
    struct Stretch {
      const Byte* first;
      const Byte* last;

      bool Holds(const Byte* place) const { return first <= place && place <= last; }
    };

    bool isEmpty_ = true;
    /// By endless run: who comes into it at one of these places fails.
    std::array<Stretch, kMaxRuns> failures_;
    /// By bounded run: from the first place to the last all bytes belong to it, and whether the one at
    /// the last does not.
    std::array<Stretch, kMaxRuns> known_;
    std::array<bool, kMaxRuns> endsThere_;
    /// What follows the run that is tried begins at none of these places.
    Stretch withoutTail_;
  };

  /// Whether finding out where a match of `runs` ends, with a byte of `after` after it, takes no longer than it may,
  /// and no run of no fixed length but the last, and those that another takes over from, can have a byte that what
  /// follows can begin with, too.
  static bool CanTake(const std::vector<Run>& runs, const CharSet& after = ~CharSet());

  /// Takes 1 to `kMaxRuns` runs that it can take.
  explicit RunScan(const std::vector<Run>& runs, const CharSet& after = ~CharSet());

  /// Where the longest match ends that starts at `start`, in a text from `begin` to `end`; null if there is none.
  /// Starts come in ascending order until the notes are forgotten. Nothing outside of the text is read; beyond it, a
  /// line feed is thought to stand.
  const unsigned char* EndOfMatch(const unsigned char* start, const unsigned char* begin,
                                  const unsigned char* end, Notes& notes) const;

  /// The first place after `start`, at which EndOfMatch has just found nothing, where a match may start.
  const unsigned char* NextStart(const unsigned char* start, const Notes& notes) const;

 private:
  using Byte = unsigned char;

  /// A run as it is read.
  struct ReadyRun {
    explicit ReadyRun(const Run& run);

    std::ptrdiff_t least;
    std::ptrdiff_t most;
    bool isFixed;
    bool isEndless;
    MemberTable members;
    PlaceScan exits;  // finds the bytes that do not belong to it
    /// Of it, and of what follows it where it is tried; none for a fixed run, and where it does not serve.
    std::optional<RunGlance> glance;
    /// What stands between it and run `next`, where it may have bytes of that; the first place of it counts.
    std::optional<StringScan> bridge;
    std::size_t next = 0;
  };

  /// Where the walk came into runs and left them.
  struct Walk {
    std::uint32_t read = 0;  // a bit for each endless run of which more than a glance was taken
    std::array<const Byte*, kMaxRuns> entered;
    std::array<const Byte*, kMaxRuns> left;
  };

  bool IsAfter(std::size_t index) const { return after_ != 0 && index + 1 == runs_.size(); }

  static const Byte* AfterBridge(const ReadyRun& run, const Byte* lowest, const Byte* highest,
                                 const Byte* end);
  static const Byte* EndOfRun(const ReadyRun& run, const Byte* place, const Byte* limit);
  const Byte* EndOfBoundedRun(std::size_t index, const Byte* place, const Byte* end,
                              Notes& notes) const;
  static const Byte* PassFixed(const ReadyRun& run, const Byte* place, const Byte* end);
  bool PassAtAGlance(std::size_t index, const Byte*& place, const Byte* begin,
                     const Byte* end) const;
  const Byte* LastTailAmong(std::uint64_t places, const Byte* base, const Byte* end) const;
  const Byte* LastTail(const Byte* lowest, const Byte* highest, const Byte* end,
                       Notes& notes) const;
  bool HoldsTail(const Byte* place, const Byte* end) const;
  bool IsNoted(std::size_t run, const Byte* place, const Notes& notes) const;
  void Prepare(Notes& notes) const;
  void Note(std::size_t run, const Byte* first, const Byte* last, Notes& notes) const;
  void NoteFailure(const Walk& walk, Notes& notes) const;

  std::vector<ReadyRun> runs_;     // with what must stand after them
  std::ptrdiff_t after_;           // 1 where something must, else 0
  std::size_t tried_;              // the run that has to be tried from its end; kMaxRuns: none
  std::ptrdiff_t tailLength_ = 0;  // of what follows that
  int tailByte_ = -1;              // what it begins with; below 0: with one of several bytes
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_RUNS_RUN_SCAN_H
