// The searches of place_scan.h with vector instructions, many places at a time.
//
// A search reads its probes from tables which hold every set of bytes in several forms: bit by bit
// for one byte at a time, and in those forms in which a whole vector of bytes can be tested at
// once.

#ifndef TROVEX_MATCHER_SCAN_VECTOR_SCAN_H
#define TROVEX_MATCHER_SCAN_VECTOR_SCAN_H

#include "matcher/tuning.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace trovex {

/// The most probes of one search.
inline constexpr std::size_t kMaxProbes = 4;

/// The most alternatives of one search.
inline constexpr std::size_t kMaxAlternatives = 8;

/// Sixteen bytes that a vector instruction looks up by numbers below 16.
using NibbleTable = std::array<std::uint8_t, 16>;

/// In which form the vectors of a search test the sets of its probes.
enum class ScanForm {
  kBytes,   // every set is a single byte
  kMasked,  // every set has just those c with (c & mask) == value, as both cases of a letter have
  kRanges,  // every set has just those c for which c & mask lies between two bytes, as digits do
  kKinds,   // any sets
  kAlternatives,  // sets for several alternatives
  kLowHalves,     // the same for bytes below 128, by the lower half of each byte alone
};

/// What a search reads. Probe i has its place i in every table.
struct ScanTables {
  int count = 0;
  /// The greatest offset.
  std::ptrdiff_t reach = 0;
  std::array<std::ptrdiff_t, kMaxProbes> offsets{};

  ScanForm form = ScanForm::kBytes;

  /// For bytes, masked sets and ranges. A range has the values from `values` on, and so many more.
  std::array<std::uint8_t, kMaxProbes> masks{};
  std::array<std::uint8_t, kMaxProbes> values{};
  std::array<std::uint8_t, kMaxProbes> widths{};

  /// For the other forms: c may belong to the set if high[c / 16] & low[c % 16] is not zero, to
  /// that of alternative a if its bit a is set; for lower halves if low[c % 16] says so and c is below 128.
  std::array<NibbleTable, kMaxProbes> high{};
  std::array<NibbleTable, kMaxProbes> low{};

  /// Unless it is, the form lets some bytes pass that do not belong to their sets.
  bool isExact = true;

  /// Bit a of `members[i][c]`: c belongs to the set that alternative a has for probe i.
  std::array<std::array<std::uint8_t, 256>, kMaxProbes> members{};

  /// A bit for every alternative of which all probes hold at `place`.
  unsigned AlternativesAt(const unsigned char* place) const {
    unsigned alternatives = 255;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count) && alternatives != 0; ++i)
      alternatives &= members[i][place[offsets[i]]];
    return alternatives;
  }

  /// The first of `places` places, the first of which is `place`, at which all probes of an
  /// alternative hold; or null.
  const unsigned char* FindOneByOne(const unsigned char* place, std::ptrdiff_t places) const {
    for (; places > 0; ++place, --places) {
      if (AlternativesAt(place) != 0) return place;
    }
    return nullptr;
  }
};

/// A search: the first place in [begin, end) at which all probes of an alternative hold and after
/// which, up to `end`, the greatest offset has room; or null. It reads nothing outside.
using FindPlace = const unsigned char* (*)(const ScanTables& tables, const unsigned char* begin,
                                           const unsigned char* end);

/// Whether that search may find a place: false only where it does not. It reads nothing outside, either.
using MayFindPlace = bool (*)(const ScanTables& tables, const unsigned char* begin,
                              const unsigned char* end);

/// Hits one after the other, as offsets from `base`; all of the places from `base` up to `tested`.
struct HitBatch {
  /// So many places are tested together; a batch is full when another chunk might not have room.
  static constexpr std::ptrdiff_t kChunk = 64;

  const unsigned char* base = nullptr;
  const unsigned char* tested = nullptr;
  std::size_t count = 0;
  /// What is written after the last hit means nothing.
  std::array<std::uint16_t, kMostHits + kChunk> offsets{};
};

/// A search for many hits: `batch` gets those of about `window` places of [begin, end), the first of which
/// is a hit or near one. False when there is no hit up to `end`. Nothing outside is read.
using FindHits = bool (*)(const ScanTables& tables, const unsigned char* begin,
                          const unsigned char* end, std::ptrdiff_t window, HitBatch& batch);

/// The searches of some tables.
struct VectorScan {
  FindPlace findPlace = nullptr;
  MayFindPlace mayFindPlace = nullptr;
  FindHits findHits = nullptr;
};

/// Whether lower halves are looked up in a third of the time that whole bytes take.
bool AreLowHalvesFast();

/// The searches of these tables with the best vector instructions that the machine has; null when it
/// has none, or the library was built without them.
VectorScan ChooseVectorScan(const ScanTables& tables);

/// The vector instructions of these searches, for people: their name, or "none", and the library behind
/// them with its version, or nothing.
struct VectorFacts {
  const char* instructions;
  const char* library;
};

VectorFacts VectorsInUse();

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_VECTOR_SCAN_H
