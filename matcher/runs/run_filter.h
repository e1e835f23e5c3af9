// The places where a row of runs (run_scan.h) can begin, sixty-four places at a time.
//
// Where the bytes that a row begins with are common, most places that they lead to are none: of all words
// with a capital letter, few have another one after them. Here the whole row is followed for all places at
// once. For each set of the row, the bits of a word say which of sixty-four bytes belong to it. From the end of
// the row to its beginning, every step makes of the places at which what follows can begin those at which it
// can begin one byte or one run earlier:
//
//   [A-Z][a-z]+ [A-Z]         An  Ute  Maier      bit by bit:
//   [A-Z]                     x....x...x....      its own bytes
//   " " before it             ....x...x.....      the blanks before these
//   [a-z]+ before that        ......xx......      a byte, and all bytes of its run before it
//   [A-Z] before that         .....x........      where the row can begin
//
// A run that ends at a marked place is marked from there to its beginning by one addition: the carry goes as
// far as there are ones. (R. D. Cameron et al., "Bitwise Data Parallelism in Regular Expression Matching",
// PACT 2014.) So that it goes backwards, the bits of a word stand in the opposite order of its bytes.
//
// Every place where a match begins is among the marked ones; the others are few. A bounded run counts as one
// without an end; beyond the stretch that is looked at, anything may stand, and beyond the text a line feed.

#ifndef TROVEX_MATCHER_RUNS_RUN_FILTER_H
#define TROVEX_MATCHER_RUNS_RUN_FILTER_H

#include "matcher/runs/run_scan.h"
#include "matcher/scan/vector_scan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

/// A row of runs as steps from its end to its beginning.
struct RunSteps {
  static constexpr std::size_t kMostSets = 6;
  static constexpr std::size_t kMostSteps = 20;

  enum class Kind : std::uint8_t {
    kByte,      // one byte of the set
    kMaybe,     // one or none
    kEndless,   // any number of them
    kFirstByte  // one, with which the row begins
  };
  struct Step {
    Kind kind;
    std::uint8_t set;
  };

  std::size_t setCount = 0;
  /// For each set those of a search for its bytes.
  std::array<ScanTables, kMostSets> sets{};
  std::size_t stepCount = 0;
  std::array<Step, kMostSteps> steps{};
};

/// Sixty-four places: the first has the highest bit.
using PlaceMarks = std::uint64_t;

/// Marks the places of `words` times sixty-four bytes at `begin`, the last of which may lie beyond `end`. Nothing
/// outside is read.
using MarkPlaces = void (*)(const RunSteps& steps, const unsigned char* begin, std::size_t words,
                            const unsigned char* end, PlaceMarks* marks);

/// The best one for the machine's vector instructions; null when it has none.
MarkPlaces ChooseMarkPlaces();

class RunFilter {
 public:
  /// A stretch of a text and where the row can begin in it.
  class Cursor {
   public:
    /// Forgets the stretch: the text is another one.
    void Reset() {
      begin_ = tested_ = nullptr;
      words_ = kFirstWords;
    }

   private:
    friend class RunFilter;
    static constexpr std::size_t kFirstWords = 2;
    static constexpr std::size_t kMostWords = 64;

    const unsigned char* begin_ = nullptr;
    const unsigned char* tested_ = nullptr;
    const unsigned char* end_ = nullptr;  // of the text that was known
    std::size_t words_ = kFirstWords;
    std::array<PlaceMarks, kMostWords> marks_;
  };

  /// Nothing where the row cannot be looked for so: it may begin with a run of nothing, it has too many sets, or
  /// there are no vector instructions.
  static std::optional<RunFilter> For(const std::vector<Run>& runs);

  /// The first marked place in [place, end), in a text that ends at `end`; or null. It is quickest where places
  /// are asked for one after the other.
  const unsigned char* Find(const unsigned char* place, const unsigned char* end,
                            Cursor& cursor) const;

 private:
  RunFilter() = default;
  bool Add(RunSteps::Kind kind, std::uint8_t set);
  bool AddRun(const Run& run, bool isFirst, std::uint8_t set);
  void Test(const unsigned char* place, const unsigned char* end, Cursor& cursor) const;

  RunSteps steps_;
  MarkPlaces mark_ = nullptr;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_RUNS_RUN_FILTER_H
