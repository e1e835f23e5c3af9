// Where a few bytes may stand again after a run, as in "(.)[a-z]+\1" or "([a-z]{3})[a-z]*\1": the starts of a row with a
// back-reference, sifted by the thirty-two bytes after each.
//
// What each start asks for differs, and in a word most bytes are one. Of a stretch of the text it is first told with
// vectors, a bit for each place, where the bytes before the run stand, which bytes belong to the run, and where the
// bytes after the reference stand. Then, start by start, the group's bytes are compared with all places after it at
// once, and what the run can reach is left of them:
//
//   (.)[a-z]+\1 in "der Rest."     the start at "e": the run reaches   -xx         "r", " "
//                                  where "e" stands                    ...         nothing
//                                  the one at "R": "est", "."          ....        nothing
//
// The last of the places left is where the longest match has the group again. Where the run goes on after what is seen,
// it is not known.

#ifndef TROVEX_MATCHER_GROUPS_REPEAT_SIEVE_H
#define TROVEX_MATCHER_GROUPS_REPEAT_SIEVE_H

#include "matcher/scan/vector_scan.h"
#include "text/char_set.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

/// A row of fixed bytes, of which some are the group, a run, the group once more, and fixed bytes.
struct RepeatRow {
  std::vector<CharSet> beginning;  // up to the run
  std::size_t group = 0;           // where in it the group begins
  std::size_t length = 0;          // of the group, at least 1
  CharSet run;
  std::size_t least = 0;  // of the run
  std::size_t most = 0;
  std::vector<CharSet> ending;  // after the group's second time
};

/// The same as it is looked for. Sets are told by halves of bytes.
struct RepeatLook {
  static constexpr std::size_t kMostBytes = 8;
  static constexpr std::size_t kSeen = 32;

  struct Set {
    NibbleTable high;
    NibbleTable low;
  };

  std::size_t beginningCount = 0;
  std::array<Set, kMostBytes> beginning{};
  std::size_t endingCount = 0;
  std::array<Set, kMostBytes> ending{};
  Set run{};
  std::size_t group = 0;
  std::size_t length = 0;
  /// Bit i: the run may have i bytes, fewer than are seen; and whether it may have more.
  std::uint64_t lengths = 0;
  bool canGoOn = false;
};

/// A stretch of a text: by place, whether the row's beginning stands there, a byte of the run, and its ending.
struct RepeatStretch {
  static constexpr std::size_t kBits = 64;
  static constexpr std::size_t kMostWords = 16;
  /// What is looked at after a start lies in the two words after its own.
  static constexpr std::size_t kWordsAfter = 2;
  static constexpr std::size_t kBytes = (kMostWords + kWordsAfter + 1) * kBits;

  const unsigned char* begin;   // in the text
  const unsigned char* tested;  // up to here starts are known
  const unsigned char* end;     // of the text
  std::size_t words;
  bool isCopied;  // it is near the end of the text
  std::array<std::uint64_t, kMostWords + kWordsAfter> starts;
  std::array<std::uint64_t, kMostWords + kWordsAfter> runs;
  std::array<std::uint64_t, kMostWords + kWordsAfter> endings;
  std::array<unsigned char, kBytes> copy;

  /// As many bytes as are looked at.
  const unsigned char* Bytes() const { return isCopied ? copy.data() : begin; }
};

/// A start, by its place in the stretch, and how many bytes the longest match has there; 0: it is not known whether
/// there is one.
struct RepeatHit {
  std::size_t place;
  std::size_t length;
};

/// The searches with the best vector instructions of the machine; null if there are none.
struct RepeatSearch {
  /// Tells the places of `stretch`, of which the bytes are known, and how many words.
  void (*mark)(const RepeatLook& look, RepeatStretch& stretch) = nullptr;
  /// The first hit from `place` up to `limit`; `limit` if there is none.
  RepeatHit (*find)(const RepeatLook& look, const RepeatStretch& stretch, std::size_t place,
                    std::size_t limit) = nullptr;
};

class RepeatSieve {
 public:
  class Workspace {
   public:
    // Not the stretch: it is set where it is needed.
    Workspace() { Reset(); }  // NOLINT(cppcoreguidelines-pro-type-member-init)

    /// The text is another one.
    void Reset() { stretch_.begin = stretch_.tested = stretch_.end = nullptr; }

   private:
    friend class RepeatSieve;
    RepeatStretch stretch_;
  };

  /// Nothing where the row is too long, vectors cannot tell one of its sets, or there are no vector instructions.
  static std::optional<RepeatSieve> For(const RepeatRow& row);

  struct Start {
    const unsigned char* place;  // null: there is none
    std::size_t length;  // of the longest match there; 0: it is not known whether there is one
  };

  /// The first of [place, last] at which a match begins, or may begin, in a text that ends at `end`. It is quickest
  /// where it goes on from where it came to. Nothing outside is read.
  Start Find(const unsigned char* place, const unsigned char* last, const unsigned char* end,
             Workspace& work) const;

 private:
  RepeatSieve() = default;
  void Test(const unsigned char* place, const unsigned char* end, RepeatStretch& stretch) const;

  RepeatLook look_;
  RepeatSearch search_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_GROUPS_REPEAT_SIEVE_H
