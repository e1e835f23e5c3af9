// A few words: "der|die|das", "Datei(en)?", "error|warning" in either case, "(19|20)[0-9][0-9]". A run may stand after
// them: "(der|die|das) [A-Z][a-z]+", "(http|https|ftp)://[^ ]+".
//
// Where a scan has found a place at which one of them may stand, all are compared with it at once, eight bytes at a
// time, and the longest that stands there is the match. There is nothing to build up before that and no state to go
// through byte by byte: the matches of such words can be a few bytes apart, and texts a few bytes long. What a mask
// does not tell of the sets of bytes that a word is made of, as of [0-9], is asked afterwards. With a run after them,
// each word that stands there counts: the match is the longest with any.

#ifndef TROVEX_MATCHER_WORDS_FEW_WORDS_H
#define TROVEX_MATCHER_WORDS_FEW_WORDS_H

#include "matcher/budget.h"
#include "matcher/pattern/neighbours.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/runs/byte_words.h"
#include "matcher/runs/run_scan.h"
#include "matcher/words/word_list.h"
#include "text/char_set.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

class FewWords {
 public:
  static constexpr std::size_t kMostWords = 8;
  using Byte = unsigned char;

  /// The words of `tree`, which must be whole words if `words` says so. Nothing where it is no list of two to
  /// kMostWords words, nor such a list with a run after it. The work is charged to `budget`.
  static std::optional<FewWords> For(const SyntaxTree& tree, bool words, CompileBudget& budget);

  /// Between which neighbours a word may start, and end.
  Neighbours Starts() const { return starts_; }
  Neighbours Stops() const { return stops_; }

  /// How many nanoseconds a byte of a text is expected to take where a scan leads to their leading bytes; infinitely
  /// many where these are too common for one.
  double CostOfByte() const { return cost_; }

  /// The length of the longest word at `place`, in a text from `begin` to `end`, of which `canEnd(place + length)`
  /// accepts the end, or of the longest with the run after it; 0 where there is none.
  template <typename CanEnd>
  std::size_t LongestAt(const Byte* place, const Byte* begin, const Byte* end,
                        const CanEnd& canEnd) const {
    const std::uint64_t bytes = EightBytes(place, begin, end);
    // Which of them stands there is as good as chance, so none is asked about alone.
    unsigned standing = 0;
    for (std::size_t i = 0; i < count_; ++i)
      standing |= static_cast<unsigned>((bytes & masks_[i]) == values_[i]) << i;
    if (run_) return LongestWithRun(standing, place, begin, end);
    for (; standing != 0; standing &= standing - 1) {
      const auto number = static_cast<std::size_t>(std::countr_zero(standing));
      const std::size_t length = lengths_[number];
      if (StandsAt(number, place, begin, end) && canEnd(place + length)) return length;
    }
    return 0;
  }

 private:
  /// A set of which a mask does not tell all.
  struct SetAt {
    std::size_t offset;
    std::uint32_t table;
  };

  /// Eight bytes of a word after its first eight.
  struct Piece {
    std::uint64_t mask = 0;
    std::uint64_t value = 0;
  };

  static std::optional<FewWords> BeforeRun(const SyntaxTree& tree, CompileBudget& budget);
  explicit FewWords(const WordList& list);
  void Add(std::string_view word, const std::vector<CharSet>& sets);

  /// Whether a word stands at `place`, where its first eight bytes may.
  bool StandsAt(std::size_t number, const Byte* place, const Byte* begin, const Byte* end) const {
    return static_cast<std::size_t>(end - place) >= lengths_[number] &&
           ((told_ >> number & 1U) != 0 || GoesOnAt(number, place, begin, end));
  }

  /// The same of a word for which there is room, and of which these do not tell all.
  bool GoesOnAt(std::size_t number, const Byte* place, const Byte* begin, const Byte* end) const;

  /// LongestAt with a run after the words, of those whose first eight bytes may stand at `place`, a bit for each.
  std::size_t LongestWithRun(unsigned standing, const Byte* place, const Byte* begin,
                             const Byte* end) const;

  // The longest word first; those of one length as they come.
  std::size_t count_ = 0;
  unsigned told_ = 0;  // the bits of words that are told by their first eight bytes
  std::array<std::uint64_t, kMostWords> masks_{};
  std::array<std::uint64_t, kMostWords> values_{};
  std::array<std::size_t, kMostWords> lengths_{};
  std::array<std::vector<Piece>, kMostWords> rests_;
  std::array<std::vector<SetAt>, kMostWords> sets_;
  MemberTables tables_;
  Neighbours starts_;
  Neighbours stops_;
  std::optional<RunScan> run_;  // after each word; it is never empty
  MemberTable inRun_{};         // its bytes
  double cost_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_FEW_WORDS_H
