// The places that a scan has found for the beginning of a row of runs (run_scan.h), sifted by what stands after them.
//
// What a row begins with can be common, and what follows its first run of no fixed length rare. Of the thirty-two bytes
// after the fixed beginning, the bits say which belong to the run, and which begin what is fixed after it:
//
//   an[a-z]+en in "Kanne, andere"      after the first "an"     ne, andere     after the second   dere
//   the run, from its least byte on                             -x                                -xxx
//   up to where "en" could stand                                -xx                               -xxxx
//   "en"                                                        ......                            ....
//
// Where these have no bit in common, no match begins. All places of a batch are looked at, one after the other and
// without a branch that depends on them: a processor does several of them at once, and guesses nothing wrong. Where the
// row ends with what is seen, the last of the bits tells where the longest match does.

#ifndef TROVEX_MATCHER_RUNS_RUN_SIEVE_H
#define TROVEX_MATCHER_RUNS_RUN_SIEVE_H

#include "matcher/runs/run_scan.h"
#include "matcher/scan/vector_scan.h"
#include "text/char_set.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

/// What the places of a batch are looked at for.
struct SieveLook {
  /// So many bytes are seen of the run, and no more are compared after it.
  static constexpr std::ptrdiff_t kSeen = 32;
  static constexpr std::size_t kMostTail = 4;
  static constexpr std::size_t kMostCompared = 8;

  /// The first bytes of the row, as far as they are sets of the form (c & mask) == value.
  std::array<std::uint8_t, kMostCompared> masks{};
  std::array<std::uint8_t, kMostCompared> values{};
  /// How many bytes stand before the run, and how many there must be from the beginning on to look at.
  std::ptrdiff_t lead = 0;
  std::ptrdiff_t room = 0;
  NibbleTable runHigh{};
  NibbleTable runLow{};
  /// Bit i: the run may have i bytes; the last one that counts, kSeen, stands for all from there on.
  std::uint64_t lengths = 0;
  /// What follows the run, byte by byte, in the form of the first bytes where all have that, and by halves.
  std::size_t tailCount = 0;
  bool isTailMasked = true;
  std::array<std::uint8_t, kMostTail> tailMasks{};
  std::array<std::uint8_t, kMostTail> tailValues{};
  std::array<NibbleTable, kMostTail> tailHigh{};
  std::array<NibbleTable, kMostTail> tailLow{};
  /// How far a match ends after the last place of what follows the run; below 0: what is seen is not all of the row.
  std::ptrdiff_t endAfter = -1;
};

/// By hit of a batch: how many bytes the longest match has that begins there, if that is confirmed; 0: it is not known
/// whether there is one.
using SieveLengths = std::array<std::uint8_t, kMostHits + HitBatch::kChunk>;

/// Drops hits of `batch`, in a text that ends at `end`.
using SiftHits = void (*)(const SieveLook& look, const unsigned char* end, HitBatch& batch,
                          SieveLengths& lengths);

class RunSieve {
 public:
  /// For the places at which the probes of `tables` hold. `row` has what must stand before a match and after it as runs
  /// of one byte: the first `before` bytes, which whoever takes a hit asks for, and the last `after`. Nothing where the row
  /// has no run that mostly ends soon, and something after it, or there are no vector instructions.
  static std::optional<RunSieve> For(const std::vector<Run>& row, std::ptrdiff_t before,
                                     std::ptrdiff_t after, const ScanTables& tables);

  /// Whether a length that was told, of a match that ends at `stop` in a text that ends at `end`, is right. Vectors do not
  /// tell all sets: what must stand after a match may only seem to. A line feed is thought after the text.
  bool Confirms(const unsigned char* stop, const unsigned char* end) const {
    return isExact_ || last_[stop != end ? *stop : '\n'];
  }

  /// Drops the hits at which the row does not begin. The text ends at `end`; nothing after it is read, nor before the
  /// hits. A hit may stay though it is none: at most where its length is 0.
  void Sift(const unsigned char* end, HitBatch& batch, SieveLengths& lengths) const {
    sift_(look_, end, batch, lengths);
  }

 private:
  RunSieve() = default;
  bool CompareBeginning(const std::vector<CharSet>& beginning, std::ptrdiff_t before,
                        const ScanTables& tables);
  std::size_t AddTail(const std::vector<CharSet>& tail, bool isAfter);

  SieveLook look_;
  bool isExact_ = true;
  MemberTable last_{};  // what must stand after a match, unless vectors tell it
  SiftHits sift_ = nullptr;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_RUNS_RUN_SIEVE_H
