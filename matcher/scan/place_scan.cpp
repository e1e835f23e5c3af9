// Making the tables of a search, and the search one place at a time.

#include "matcher/scan/place_scan.h"

#include "matcher/scan/byte_frequency.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <optional>
#include <utility>

namespace trovex {

namespace {

using Byte = unsigned char;

// Tables.

/// A set as sixteen rows of sixteen: bit l of row h stands for the byte 16 h + l.
using Rows = std::array<std::uint16_t, 16>;

Rows RowsOf(const CharSet& bytes) {
  const CharSet lastWord(~0ULL);
  Rows rows{};
  for (std::size_t word = 0; word < 4; ++word) {
    const unsigned long long bits = ((bytes >> (64 * word)) & lastWord).to_ullong();
    for (std::size_t row = 0; row < 4; ++row)
      rows[4 * word + row] = static_cast<std::uint16_t>(bits >> (16 * row));
  }
  return rows;
}

/// Calls `visit(h, l)` for every byte 16 h + l of the set.
template <typename Visit>
void ForEachByte(const Rows& rows, const Visit& visit) {
  for (std::size_t h = 0; h < rows.size(); ++h) {
    for (unsigned row = rows[h]; row != 0; row &= row - 1)
      visit(h, static_cast<std::size_t>(std::countr_zero(row)));
  }
}

/// A set as those c for which c & mask lies from `first` to `last`; it may have more bytes than the set that
/// it stands for.
struct RangeSet {
  std::uint8_t mask = 255;
  std::uint8_t first = 255;
  std::uint8_t last = 0;
  int size = 0;
  int frequency = 0;  // in 100,000

  bool Holds(unsigned c) const { return (c & mask) >= first && (c & mask) <= last; }
};

RangeSet RangeUnderMask(const Rows& rows, std::uint8_t mask) {
  RangeSet range;
  range.mask = mask;
  ForEachByte(rows, [&](std::size_t h, std::size_t l) {
    const auto masked = static_cast<std::uint8_t>((16 * h + l) & mask);
    range.first = std::min(range.first, masked);
    range.last = std::max(range.last, masked);
  });
  for (unsigned c = 0; c < kByteFrequency.size(); ++c) {
    if (!range.Holds(c)) continue;
    ++range.size;
    range.frequency += kByteFrequency[c];
  }
  return range;
}

/// The range that comes nearest to the set: of all bytes, or of letters in either case.
RangeSet RangeAround(const Rows& rows) {
  constexpr std::uint8_t kAnyCase = 0xDF;
  const RangeSet plain = RangeUnderMask(rows, 255);
  const RangeSet anyCase = RangeUnderMask(rows, kAnyCase);
  return anyCase.frequency < plain.frequency ? anyCase : plain;
}

/// Whether so little more belongs to `range` than to the set that it is worth looking for.
bool IsNear(const RangeSet& range, const Rows& rows) {
  constexpr int kMoreBytes = 4;
  int size = 0;
  int frequency = 0;
  ForEachByte(rows, [&](std::size_t h, std::size_t l) {
    ++size;
    frequency += kByteFrequency[16 * h + l];
  });
  return size > 0 && range.size - size <= kMoreBytes &&
         range.frequency <= frequency + frequency / 4 + 300;
}

void AddBits(std::uint8_t& byte, unsigned bits) {
  byte = static_cast<std::uint8_t>(byte | bits);
}

/// Adds a bit to the tables for the bytes that `row` has in the upper half `h`.
void AddRow(std::size_t h, std::uint16_t row, unsigned bit, NibbleTable& high, NibbleTable& low) {
  AddBits(high[h], bit);
  for (unsigned rest = row; rest != 0; rest &= rest - 1)
    AddBits(low[static_cast<std::size_t>(std::countr_zero(rest))], bit);
}

/// Fills the two tables for one set. Equal rows are of one kind and share a bit. Returns whether
/// the tables say exactly what belongs to the set: with more than eight kinds, some share a bit
/// though they differ.
bool FillWithKinds(const Rows& rows, NibbleTable& high, NibbleTable& low) {
  std::array<std::uint16_t, 16> kinds{};
  std::ptrdiff_t count = 0;
  for (std::size_t h = 0; h < rows.size(); ++h) {
    if (rows[h] == 0) continue;
    const auto end = kinds.begin() + count;
    const auto kind = std::find(kinds.begin(), end, rows[h]);
    if (kind == end) kinds[static_cast<std::size_t>(count++)] = rows[h];
    AddRow(h, rows[h], 1U << ((kind - kinds.begin()) % 8), high, low);
  }
  return count <= 8;
}

/// Adds one alternative's set to the two tables. Returns whether they say exactly what belongs to
/// it: they do when all its rows are equal, as for a letter in both cases.
bool AddAlternative(const Rows& rows, unsigned bit, NibbleTable& high, NibbleTable& low) {
  bool isExact = true;
  std::uint16_t any = 0;
  for (std::size_t h = 0; h < rows.size(); ++h) {
    if (rows[h] == 0) continue;
    isExact = isExact && (any == 0 || any == rows[h]);
    any |= rows[h];
    AddRow(h, rows[h], bit, high, low);
  }
  return isExact;
}

/// Whether all bytes of the set are below 128.
bool IsAscii(const CharSet& bytes) {
  return (bytes >> 128).none();
}

/// The bytes below 128 that have a lower half in common with one of the set.
CharSet BytesByLowHalf(const CharSet& bytes) {
  CharSet halves;
  for (std::size_t c = 0; c < bytes.size(); ++c) {
    if (bytes[c]) halves.set(c % 16);
  }
  CharSet like;
  for (std::size_t row = 0; row < 128; row += 16)
    like |= halves << row;
  return like;
}

/// Whether alternatives with these probes are looked for by the lower halves of their bytes.
bool GoByLowHalves(const std::vector<Probes>& alternatives) {
  if (!AreLowHalvesFast()) return false;
  double rate = 0;
  for (const Probes& probes : alternatives) {
    Probes like;
    for (const Probe& probe : probes) {
      if (!IsAscii(probe.bytes)) return false;
      like.push_back({probe.offset, BytesByLowHalf(probe.bytes)});
    }
    rate += ExpectedRate(like);
  }
  return rate <= kFewFalsePlaces;
}

/// Tables with the offsets alone.
ScanTables TablesWithOffsets(const Probes& probes) {
  ScanTables tables;
  tables.count = static_cast<int>(probes.size());
  for (std::size_t i = 0; i < probes.size(); ++i) {
    tables.offsets[i] = probes[i].offset;
    tables.reach = std::max(tables.reach, tables.offsets[i]);
  }
  return tables;
}

void AddMembers(const Rows& rows, unsigned bit, std::array<std::uint8_t, 256>& members) {
  ForEachByte(rows, [&](std::size_t h, std::size_t l) { AddBits(members[16 * h + l], bit); });
}

void FillWithRanges(const std::array<RangeSet, kMaxProbes>& ranges, ScanTables& tables) {
  tables.form = ScanForm::kRanges;
  for (std::size_t i = 0; i < static_cast<std::size_t>(tables.count); ++i) {
    tables.masks[i] = ranges[i].mask;
    tables.values[i] = ranges[i].first;
    tables.widths[i] = static_cast<std::uint8_t>(ranges[i].last - ranges[i].first);
  }
}

ScanTables MakeTables(const Probes& probes) {
  ScanTables tables = TablesWithOffsets(probes);
  bool areBytes = true;
  bool areMasked = true;
  bool areRanges = true;
  bool areRangesExact = true;
  bool areKindsExact = true;
  std::array<RangeSet, kMaxProbes> ranges;
  for (std::size_t i = 0; i < probes.size(); ++i) {
    const Rows rows = RowsOf(probes[i].bytes);
    AddMembers(rows, 1, tables.members[i]);
    const std::optional<MaskedByte> set = MaskedByteOf(probes[i].bytes);
    tables.masks[i] = set ? set->mask : 0;
    tables.values[i] = set ? set->value : 0;
    areMasked = areMasked && set;
    areBytes = areBytes && set && set->mask == 255;
    ranges[i] = RangeAround(rows);
    areRanges = areRanges && IsNear(ranges[i], rows);
    areRangesExact =
        areRangesExact && static_cast<std::size_t>(ranges[i].size) == probes[i].bytes.count();
    if (!FillWithKinds(rows, tables.high[i], tables.low[i])) areKindsExact = false;
  }
  if (areBytes || areMasked) {
    tables.form = areBytes ? ScanForm::kBytes : ScanForm::kMasked;
  } else if (areRanges) {
    FillWithRanges(ranges, tables);
    tables.isExact = areRangesExact;
  } else {
    tables.form = ScanForm::kKinds;
    tables.isExact = areKindsExact;
  }
  return tables;
}

ScanTables MakeTables(const std::vector<Probes>& alternatives) {
  if (alternatives.size() == 1) return MakeTables(alternatives[0]);
  ScanTables tables = TablesWithOffsets(alternatives[0]);
  const bool goByLowHalves = GoByLowHalves(alternatives);
  tables.form = goByLowHalves ? ScanForm::kLowHalves : ScanForm::kAlternatives;
  tables.isExact = !goByLowHalves;
  for (std::size_t a = 0; a < alternatives.size(); ++a) {
    const unsigned bit = 1U << a;
    for (std::size_t i = 0; i < alternatives[a].size(); ++i) {
      const Rows rows = RowsOf(alternatives[a][i].bytes);
      AddMembers(rows, bit, tables.members[i]);
      if (!AddAlternative(rows, bit, tables.high[i], tables.low[i])) tables.isExact = false;
    }
  }
  return tables;
}

// Searching.

/// Tries every place; most are refused by the first probe.
const Byte* FindOneByOne(const ScanTables& tables, const Byte* begin, const Byte* end) {
  return tables.FindOneByOne(begin, end - begin - tables.reach);
}

/// Where the first probe wants a single byte: goes from one occurrence of it to the next.
const Byte* FindByFirstByte(const ScanTables& tables, const Byte* begin, const Byte* end) {
  const std::ptrdiff_t offset = tables.offsets[0];
  std::ptrdiff_t places = end - begin - tables.reach;
  while (places > 0) {
    const auto* const byte = static_cast<const Byte*>(
        std::memchr(begin + offset, tables.values[0], static_cast<std::size_t>(places)));
    if (byte == nullptr) return nullptr;
    const Byte* const place = byte - offset;
    if (tables.AlternativesAt(place) != 0) return place;
    places -= place + 1 - begin;
    begin = place + 1;
  }
  return nullptr;
}

template <FindPlace find>
bool Finds(const ScanTables& tables, const Byte* begin, const Byte* end) {
  return find(tables, begin, end) != nullptr;
}

/// The first hit alone, as a batch.
template <FindPlace find>
bool FindFirstHit(const ScanTables& tables, const Byte* begin, const Byte* end,
                  std::ptrdiff_t /*window*/, HitBatch& batch) {
  batch.base = find(tables, begin, end);
  if (batch.base == nullptr) return false;
  batch.tested = batch.base + 1;
  batch.count = 1;
  batch.offsets[0] = 0;
  return true;
}

constexpr double kBytesCounted = 100'000;

/// How many of so many bytes belong to the set. The table counts in two encodings: what it has of all bytes is
/// too much.
int Frequency(const CharSet& bytes) {
  int frequency = 0;
  ForEachByte(RowsOf(bytes),
              [&](std::size_t h, std::size_t l) { frequency += kByteFrequency[16 * h + l]; });
  return std::min(frequency, static_cast<int>(kBytesCounted));
}

/// Whether it pays to look for the first probe's byte alone.
bool IsLedByByte(const ScanTables& tables) {
  if (tables.form == ScanForm::kAlternatives || tables.form == ScanForm::kLowHalves) return false;
  if (tables.form == ScanForm::kBytes && tables.count == 1) return true;
  const auto& members = tables.members[0];
  return std::count(members.begin(), members.end(), 1) == 1 &&
         kByteFrequency[tables.values[0]] < kRareFirstByte;
}

/// The bytes from `first` to `last`.
CharSet BytesBetween(int first, int last) {
  CharSet bytes;
  for (int byte = first; byte <= last; ++byte)
    bytes.set(static_cast<std::size_t>(byte));
  return bytes;
}

/// Whether a sequence of UTF-8 begins with one of `first`, and goes on with one of `second`.
bool IsSequence(const CharSet& first, const CharSet& second) {
  static const CharSet kNoLeads = ~BytesBetween(0xC2, 0xDF);
  static const CharSet kNoContinuations = ~BytesBetween(0x80, 0xBF);
  return first.any() && second.any() && (first & kNoLeads).none() &&
         (second & kNoContinuations).none();
}

// Choosing.

constexpr std::size_t kCasesOfALetter = 2;

/// Whether both are classes and have most bytes in common.
bool AreAlike(const CharSet& a, const CharSet& b) {
  const std::size_t least = std::min(a.count(), b.count());
  return least > kCasesOfALetter && 2 * (a & b).count() >= least;
}

/// The choice of the offsets of a few alternatives.
class Chooser {
 public:
  explicit Chooser(const std::vector<std::vector<CharSet>>& alternatives)
      : alternatives_(alternatives), rates_(alternatives.size(), 1), chosen_(alternatives.size()) {
    constexpr std::size_t kOffsets = PlaceScan::kMaxOffset + 1;
    offsets_ = std::min(alternatives[0].size(), kOffsets);
    for (const std::vector<CharSet>& sets : alternatives) {
      for (std::size_t offset = 0; offset < offsets_; ++offset)
        shares_.push_back(Share(sets[offset]));
    }
  }

  std::vector<Probes> Choose() {
    while (offsets_ > 0 && Count() < PlaceScan::kMaxProbes) {
      const std::size_t offset = NextOffset();
      if (Count() >= 2 && Rate() < (MixesWithBytes(offset) ? kRareEnoughForBytes : kRareEnough))
        break;
      const bool hardlyHelps =
          RateWith(offset) > (Count() < 2 ? kProbeHelps : kLaterProbeHelps) * Rate();
      if (Count() > 0 && hardlyHelps) break;
      Take(offset);
    }
    return std::move(chosen_);
  }

 private:
  /// The share of all bytes that belong to the set; never nothing, as any byte may be common in a
  /// text of its own kind.
  static double Share(const CharSet& bytes) {
    return std::max(static_cast<double>(Frequency(bytes)), 0.5) / kBytesCounted;
  }

  double& ShareOf(std::size_t alternative, std::size_t offset) {
    return shares_[alternative * offsets_ + offset];
  }

  std::size_t Count() const { return chosen_[0].size(); }

  /// Whether only single bytes are looked for so far, and a class would be with a probe at `offset`: then a place takes
  /// about twice as long.
  bool MixesWithBytes(std::size_t offset) const {
    if (Count() == 0 || alternatives_.size() > 1 || alternatives_[0][offset].count() == 1)
      return false;
    return std::all_of(chosen_[0].begin(), chosen_[0].end(),
                       [](const Probe& probe) { return probe.bytes.count() == 1; });
  }

  /// At which share of all places the probes chosen so far hold.
  double Rate() const { return std::accumulate(rates_.begin(), rates_.end(), 0.0); }

  /// The same with a probe at `offset`.
  double RateWith(std::size_t offset) {
    double rate = 0;
    for (std::size_t a = 0; a < rates_.size(); ++a)
      rate += rates_[a] * ShareOf(a, offset);
    return rate;
  }

  /// Where the next probe spares most places; among single bytes another one, where a class that is no range does not
  /// spare many more.
  std::size_t NextOffset() {
    std::size_t best = 0;
    std::size_t byte = offsets_;
    for (std::size_t offset = 0; offset < offsets_; ++offset) {
      if (RateWith(offset) < RateWith(best)) best = offset;
      const bool isByte = alternatives_[0][offset].count() == 1;
      if (isByte && (byte == offsets_ || RateWith(offset) < RateWith(byte))) byte = offset;
    }
    if (byte == offsets_ || !MixesWithBytes(best)) return best;
    const Rows rows = RowsOf(alternatives_[0][best]);
    const bool isRange = IsNear(RangeAround(rows), rows);
    return isRange || RateWith(byte) - RateWith(best) >= kWorthAClass ? best : byte;
  }

  void Take(std::size_t offset) {
    for (std::size_t a = 0; a < rates_.size(); ++a) {
      chosen_[a].push_back({static_cast<int>(offset), alternatives_[a][offset]});
      rates_[a] *= ShareOf(a, offset);
      TieToNeighbours(a, offset);
      ShareOf(a, offset) = 1;  // taken again, it would not help
      MakeLikelier(a, alternatives_[a][offset]);
    }
  }

  /// The two bytes of a sequence of UTF-8 come together: with one of them, the other is likely.
  void TieToNeighbours(std::size_t a, std::size_t offset) {
    const auto tie = [&](std::size_t lead) {
      if (lead + 1 >= offsets_ || !IsSequence(alternatives_[a][lead], alternatives_[a][lead + 1]))
        return;
      const std::size_t other = lead == offset ? lead + 1 : lead;
      const double both = std::min(ShareOf(a, lead), ShareOf(a, lead + 1));
      ShareOf(a, other) = both / ShareOf(a, offset);
    };
    tie(offset);
    if (offset > 0) tie(offset - 1);
  }

  /// Where one byte of a class stands, as a digit does, others like it are likely to stand beside it.
  void MakeLikelier(std::size_t a, const CharSet& set) {
    for (std::size_t offset = 0; offset < offsets_; ++offset) {
      if (AreAlike(set, alternatives_[a][offset]))
        ShareOf(a, offset) = std::sqrt(ShareOf(a, offset));
    }
  }

  const std::vector<std::vector<CharSet>>& alternatives_;
  std::size_t offsets_;
  /// For every alternative one after the other: the shares of its sets.
  std::vector<double> shares_;
  /// For every alternative: at which share of all places its probes hold.
  std::vector<double> rates_;
  std::vector<Probes> chosen_;
};

/// Whether all bytes that are looked for are single ones, or a letter in both cases. What sets a class apart from other
/// bytes is mostly their upper half.
bool AreLetters(const std::vector<Probes>& alternatives) {
  return std::all_of(alternatives.begin(), alternatives.end(), [](const Probes& probes) {
    return std::all_of(probes.begin(), probes.end(),
                       [](const Probe& probe) { return probe.bytes.count() <= kCasesOfALetter; });
  });
}

/// Probes for alternatives that would be looked for by the lower halves of their bytes.
std::vector<Probes> ChooseForLowHalves(const std::vector<std::vector<CharSet>>& alternatives) {
  std::vector<std::vector<CharSet>> like = alternatives;
  for (std::vector<CharSet>& sets : like) {
    for (CharSet& set : sets)
      set = IsAscii(set) ? BytesByLowHalf(set) : ~CharSet();
  }
  std::vector<Probes> probes = Chooser(like).Choose();
  for (std::size_t a = 0; a < probes.size(); ++a) {
    for (Probe& probe : probes[a])
      probe.bytes = alternatives[a][static_cast<std::size_t>(probe.offset)];
  }
  return probes;
}

}  // namespace

PlaceScan::PlaceScan(const ScanTables& tables) : tables_(tables) {
  findPlainly_ = IsLedByByte(tables_) ? &FindByFirstByte : &FindOneByOne;
  const VectorScan vectors = ChooseVectorScan(tables_);
  find_ = vectors.findPlace != nullptr ? vectors.findPlace : findPlainly_;
  mayFind_ = vectors.mayFindPlace;
  findHits_ = vectors.findHits;
  if (findHits_ == nullptr) {
    const bool isLed = IsLedByByte(tables_);
    mayFind_ = isLed ? &Finds<FindByFirstByte> : &Finds<FindOneByOne>;
    findHits_ = isLed ? &FindFirstHit<FindByFirstByte> : &FindFirstHit<FindOneByOne>;
  }
}

PlaceScan::PlaceScan(const Probes& probes) : PlaceScan(MakeTables(probes)) {}

PlaceScan PlaceScan::ForAlternatives(const std::vector<Probes>& alternatives) {
  return PlaceScan(MakeTables(alternatives));
}

bool PlaceScan::IsFast() const {
  return find_ != &FindOneByOne;
}

bool AreHalvesExact(const ScanTables& tables, const CharSet& set) {
  for (std::size_t c = 0; c < set.size(); ++c) {
    const bool isTold = (tables.high[0][c / 16] & tables.low[0][c % 16]) != 0;
    if (isTold != set[c]) return false;
  }
  return true;
}

Probes ChooseProbes(const std::vector<CharSet>& sets) {
  return std::move(ChooseProbesForAlternatives({sets})[0]);
}

std::vector<Probes> ChooseProbesForAlternatives(
    const std::vector<std::vector<CharSet>>& alternatives) {
  std::vector<Probes> probes = Chooser(alternatives).Choose();
  if (alternatives.size() == 1 || !AreLowHalvesFast() || !AreLetters(probes)) return probes;
  std::vector<Probes> byLowHalves = ChooseForLowHalves(alternatives);
  return GoByLowHalves(byLowHalves) ? byLowHalves : probes;
}

double ExpectedRate(const Probes& probes) {
  double rate = kBytesCounted;
  for (const Probe& probe : probes)
    rate *= Frequency(probe.bytes) / kBytesCounted;
  return rate;
}

double RateInClusters(const Probes& probes) {
  double rate = kBytesCounted;
  for (std::size_t i = 0; i < probes.size(); ++i) {
    double share = Frequency(probes[i].bytes) / kBytesCounted;
    for (std::size_t before = 0; before < i; ++before) {
      if (AreAlike(probes[before].bytes, probes[i].bytes)) share = std::sqrt(share);
    }
    rate *= share;
  }
  return rate;
}

}  // namespace trovex
