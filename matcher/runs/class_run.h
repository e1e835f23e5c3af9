// The matches of a pattern that is a single run: a set of bytes, so many of them or more side by side.
//
//   [^a-z]{8}   [A-Z]{3,}   [0-9]+   [0-9]{2,4}
//
// Where the bytes of such a set are common, so are the places at which a few of them stand side by side, and to
// look at each of these takes longer than to look at all bytes at once. For sixty-four bytes at a time, the bits
// of a word say which of them belong to the set. The places from which n bytes are members are then told by a
// few shifts, each of which doubles how many are known:
//
//   [0-9]{3} in "a1234-567 89"    members             .xxxx.xxx.xx
//                                 and the next one    .xxx..xx..x.
//                                 and the third       .xx...x.....
//
// Of these, those without a member before them are where a run begins that is long enough; and it ends after the
// last of them, as many bytes further as a match must have. The edges of all such runs of a stretch of text are
// noted, begin and end in turn, and the matches are cut off them: the whole run, or as much as a match may have.

#ifndef TROVEX_MATCHER_RUNS_CLASS_RUN_H
#define TROVEX_MATCHER_RUNS_CLASS_RUN_H

#include "matcher/runs/run_scan.h"
#include "matcher/scan/place_scan.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace trovex {

/// The edges of the runs that begin in a stretch of text and are long enough, in bytes from its beginning: where a
/// run begins, where it ends, where the next one begins, and so on. The last one may go on beyond the stretch: then
/// it lacks its end.
struct RunEdges {
  static constexpr std::size_t kMostWords = 64;
  static constexpr std::size_t kBits = 64;

  std::size_t count;
  /// What is written after the last edge means nothing.
  std::array<std::uint16_t, kMostWords * kBits + kBits> places;
};

/// Where a run begins, and how far it is known to go: where `ends`, that is its end.
struct FirstRun {
  const unsigned char* start = nullptr;  // null: there is none
  const unsigned char* known = nullptr;
  bool ends = false;
};

/// The searches of some tables, with a set of bytes, for runs of at least `least` of these. Nothing outside of the
/// text is read.
struct ClassSearch {
  /// Finds the edges of the runs in `words` times sixty-four bytes at `begin`, the last of which may lie beyond
  /// `end`. The byte before `begin` counts as no member.
  void (*markEdges)(const ScanTables& tables, std::uint32_t least, const unsigned char* begin,
                    std::size_t words, const unsigned char* end, RunEdges& edges) = nullptr;
  /// The first of them in [begin, end); nothing where there is none.
  FirstRun (*findFirst)(const ScanTables& tables, std::uint32_t least, const unsigned char* begin,
                        const unsigned char* end) = nullptr;
};

/// Those with the best vector instructions that the machine has, for the form of `tables`; null when it has none.
ClassSearch ChooseClassSearch(const ScanTables& tables);

class ClassRun {
 public:
  /// A stretch of a text, and the runs in it.
  class Cursor {
   public:
    // Not the edges: they are set where they are needed.
    Cursor() {}  // NOLINT(cppcoreguidelines-pro-type-member-init, modernize-use-equals-default)

    /// Forgets the stretch: the text is another one.
    void Reset() {
      begin_ = tested_ = nullptr;
      words_ = kFirstWords;
    }

   private:
    friend class ClassRun;
    static constexpr std::size_t kFirstWords = 2;

    const unsigned char* begin_ = nullptr;
    const unsigned char* tested_ = nullptr;    // all runs that begin before it are known
    const unsigned char* end_ = nullptr;       // of the text that was known
    const unsigned char* place_ = nullptr;     // where the run of the latest match begins
    const unsigned char* lastStop_ = nullptr;  // the end of the last run
    bool isCut_ = false;                       // the last run goes on after that
    std::size_t next_ = 0;                     // the edge where that begins
    std::size_t words_ = kFirstWords;
    RunEdges edges_;
  };

  /// Nothing where the run cannot be looked for so: it may be empty or must be longer than a word has bits, or
  /// there are no vector instructions.
  static std::optional<ClassRun> For(const Run& run);

  /// Calls `take(start, end)` for the matches in [place, end) one after another, each from the end of the one
  /// before it on, until it returns false. The text ends at `end`. It is quickest where the next call goes on from
  /// where the last one came to.
  template <typename Take>
  void ForEach(const unsigned char* place, const unsigned char* end, Cursor& cursor,
               Take take) const {
    while (place < end) {
      if (place < cursor.place_ || place >= cursor.tested_ || end != cursor.end_)
        Test(place, end, cursor);
      place = TakeAll(place, cursor, take);
      if (place == nullptr) return;
      cursor.place_ = place;
    }
  }

  /// The first of these; null if there is none. Keeps nothing.
  std::pair<const unsigned char*, const unsigned char*> First(const unsigned char* place,
                                                              const unsigned char* end) const;

 private:
  explicit ClassRun(const Run& run);
  void Test(const unsigned char* place, const unsigned char* end, Cursor& cursor) const;
  void FindLastStop(Cursor& cursor) const;

  /// Takes the matches of the stretch. Returns where the next one may start; null: no more are wanted.
  template <typename Take>
  const unsigned char* TakeAll(const unsigned char* place, Cursor& cursor, Take take) const {
    const unsigned char* const begin = cursor.begin_;
    const std::uint16_t* const edges = cursor.edges_.places.data();
    const std::size_t count = cursor.edges_.count;
    for (std::size_t next = cursor.next_; next < count; next += 2) {
      const bool isLast = next + 2 == count;
      const bool isCut = isLast && cursor.isCut_;
      const unsigned char* const run = begin + edges[next];
      const unsigned char* const stop = isLast ? cursor.lastStop_ : begin + edges[next + 1];
      // Of a run that was cut, what is left may be the beginning of a longer match.
      const unsigned char* const rest =
          TakeFrom(std::max(place, run), stop, isCut ? most_ : least_, take);
      if (rest == nullptr) {
        cursor.next_ = next;
        cursor.place_ = run;
        return nullptr;
      }
      if (isCut) cursor.tested_ = rest;
    }
    cursor.next_ = count;
    return std::max(place, cursor.tested_);
  }

  /// Takes the matches of the run from `start` to `stop`, as long as that has `least` bytes. Returns where the rest
  /// begins; null: no more are wanted.
  template <typename Take>
  const unsigned char* TakeFrom(const unsigned char* start, const unsigned char* stop,
                                std::ptrdiff_t least, Take& take) const {
    while (stop - start >= least) {
      const unsigned char* const end = start + std::min(stop - start, most_);
      if (!take(start, end)) return nullptr;
      start = end;
    }
    return start;
  }

  ScanTables tables_;
  ClassSearch search_;
  PlaceScan others_;  // finds the bytes that do not belong to the set
  std::ptrdiff_t least_;
  std::ptrdiff_t most_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_RUNS_CLASS_RUN_H
