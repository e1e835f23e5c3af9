// The search for places by the bytes that can stand there.
//
// The stages of the matcher look closely at a place of a text only if a match may be there. Which
// bytes can stand at a fixed distance from the start of a match is often known: at the start of
// "Hinweis", case ignored, an h or an H, two bytes further an n or an N, and so on. A few such
// conditions on the bytes at and after a place, called probes, are tested together on many places
// at a time, with the vector instructions of the machine (vector_scan.h) where it has some.
//
// What is looked for may be one of several things, "Fehler", "Warnung" or "Hinweis". Each of them
// then has sets of bytes of its own for the same offsets, and a place is found when the bytes there
// belong to the sets of the same one.
//
// The choice of the probes decides how many places are left: the rarer their bytes, the fewer.

#ifndef TROVEX_MATCHER_SCAN_PLACE_SCAN_H
#define TROVEX_MATCHER_SCAN_PLACE_SCAN_H

#include "matcher/scan/vector_scan.h"
#include "text/char_set.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace trovex {

/// One condition on a place p of a text: the byte at p + offset belongs to `bytes`.
struct Probe {
  int offset = 0;
  CharSet bytes;
};

using Probes = std::vector<Probe>;

/// Finds the places of a text at which every one of a few probes holds.
class PlaceScan {
 public:
  static constexpr std::size_t kMaxProbes = trovex::kMaxProbes;
  static constexpr std::size_t kMaxAlternatives = trovex::kMaxAlternatives;
  static constexpr int kMaxOffset = 250;

  /// Takes 1 to `kMaxProbes` probes with offsets from 0 to `kMaxOffset`, the one that holds least
  /// often preferably first. Allocates nothing.
  explicit PlaceScan(const Probes& probes);

  /// Finds the places at which every probe of at least one of the alternatives holds. Takes 1 to
  /// `kMaxAlternatives` of them, all with the same offsets in the same order. Allocates nothing.
  static PlaceScan ForAlternatives(const std::vector<Probes>& alternatives);

  /// The first place p in [begin, end) with p + (greatest offset) < end at which all probes hold,
  /// or null. Reads nothing outside of [begin, end).
  const unsigned char* Find(const unsigned char* begin, const unsigned char* end) const {
    return find_(tables_, begin, end);
  }

  /// Whether Find may find a place: false only where it does not. Takes a short text less than Find.
  bool MayFind(const unsigned char* begin, const unsigned char* end) const {
    return mayFind_(tables_, begin, end);
  }

  /// Calls `take(p)` for the places that Find finds from `place` on, one after another. It returns from where on the
  /// next one counts, which is after p; null: no more are wanted.
  template <typename Take>
  void ForEach(const unsigned char* place, const unsigned char* end, Take take) const {
    while (place != nullptr && end - place > Reach()) {
      place = Find(place, end);
      if (place != nullptr) place = take(place);
    }
  }

  /// The same for many places one after another (place_cursor.h).
  bool FindHits(const unsigned char* begin, const unsigned char* end, std::ptrdiff_t window,
                HitBatch& batch) const {
    return findHits_(tables_, begin, end, window, batch);
  }

  /// Whether every hit of FindHits is a place that Find finds; otherwise AlternativesAt tells.
  bool AreHitsExact() const { return tables_.isExact; }

  /// Finds the same without vector instructions.
  const unsigned char* FindPlainly(const unsigned char* begin, const unsigned char* end) const {
    return findPlainly_(tables_, begin, end);
  }

  /// A bit for every alternative of which all probes hold at `place`, which `Find` has found.
  unsigned AlternativesAt(const unsigned char* place) const {
    return tables_.AlternativesAt(place);
  }

  /// The greatest offset.
  std::ptrdiff_t Reach() const { return tables_.reach; }

  /// What its searches read.
  const ScanTables& Tables() const { return tables_; }

  /// Whether `Find` passes over many places at a time, as it does with vector instructions, or when
  /// the C library finds a byte for it.
  bool IsFast() const;

 private:
  explicit PlaceScan(const ScanTables& tables);

  ScanTables tables_;
  FindPlace findPlainly_;
  FindPlace find_;
  MayFindPlace mayFind_;
  trovex::FindHits findHits_;
};

/// The first place that `forEach(take)` calls `take` for, which asks it for no more; null if there is none.
template <typename ForEach>
const unsigned char* FirstTaken(ForEach forEach) {
  const unsigned char* first = nullptr;
  forEach([&first](const unsigned char* place) -> const unsigned char* {
    first = place;
    return nullptr;
  });
  return first;
}

/// Whether the halves of bytes that `tables` has for its first probe tell exactly what belongs to `set`, which that
/// looks for, whatever form it has.
bool AreHalvesExact(const ScanTables& tables, const CharSet& set);

/// Chooses probes for a search: of `sets[i]`, the bytes that can stand at offset i of whatever is
/// looked for, as many as are worth their time, at most `PlaceScan::kMaxProbes`, the rarest in
/// German text first. At least one, unless there are no sets.
Probes ChooseProbes(const std::vector<CharSet>& sets);

/// Chooses the same for alternatives, which all have as many sets.
std::vector<Probes> ChooseProbesForAlternatives(
    const std::vector<std::vector<CharSet>>& alternatives);

/// At how many of 100,000 places all probes would hold if every byte came with its frequency in
/// German text and independently of the others.
double ExpectedRate(const Probes& probes);

/// The same, but where one byte of a class stands, as a digit does, others like it are likely to stand beside it.
double RateInClusters(const Probes& probes);

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_PLACE_SCAN_H
