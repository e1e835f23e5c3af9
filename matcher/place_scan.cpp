// Making the tables of a search, and the search one place at a time.

#include "matcher/place_scan.h"

#include "matcher/byte_frequency.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <numeric>

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

/// A set in the form (c & mask) == value; `holds` says whether it has that form.
struct MaskedSet {
  bool holds;
  std::uint8_t mask;
  std::uint8_t value;
};

/// The bits in which the bytes of the set differ are masked out. The set has the form if it has all
/// bytes that agree in the others, of which there are two to the power of the bits masked out.
MaskedSet MaskedSetOf(const Rows& rows) {
  unsigned inAll = 255;
  unsigned inAny = 0;
  int size = 0;
  ForEachByte(rows, [&](std::size_t h, std::size_t l) {
    const auto c = static_cast<unsigned>(16 * h + l);
    inAll &= c;
    inAny |= c;
    ++size;
  });
  const unsigned differing = inAll ^ inAny;
  const bool holds = size > 0 && size == 1 << std::popcount(differing);
  return {holds, static_cast<std::uint8_t>(~differing), static_cast<std::uint8_t>(inAll)};
}

/// Fills the two tables for one set. Equal rows are one kind and share a bit. Returns whether the tables
/// say exactly what belongs to the set: with more than eight kinds, some share a bit though they differ.
bool FillNibbleTables(const Rows& rows, NibbleTable& high, NibbleTable& low) {
  std::array<std::uint16_t, 16> kinds{};
  std::size_t count = 0;
  for (std::size_t h = 0; h < rows.size(); ++h) {
    if (rows[h] == 0) continue;
    const auto end = kinds.begin() + static_cast<std::ptrdiff_t>(count);
    const auto kind =
        static_cast<std::size_t>(std::find(kinds.begin(), end, rows[h]) - kinds.begin());
    if (kind == count) kinds[count++] = rows[h];
    high[h] = static_cast<std::uint8_t>(1U << (kind % 8));
  }
  for (std::size_t kind = 0; kind < count; ++kind) {
    for (std::size_t l = 0; l < low.size(); ++l)
      low[l] = static_cast<std::uint8_t>(low[l] | (kinds[kind] >> l & 1U) << (kind % 8));
  }
  return count <= 8;
}

ScanTables MakeTables(const std::vector<Probe>& probes) {
  ScanTables tables;
  tables.count = static_cast<int>(probes.size());
  tables.areMasked = true;
  tables.areBytes = true;
  for (std::size_t i = 0; i < probes.size(); ++i) {
    tables.offsets[i] = probes[i].offset;
    tables.reach = std::max(tables.reach, tables.offsets[i]);
    const Rows rows = RowsOf(probes[i].bytes);
    ForEachByte(rows, [&](std::size_t h, std::size_t l) {
      std::uint8_t& members = tables.members[16 * h + l];
      members = static_cast<std::uint8_t>(members | 1U << i);
    });
    const MaskedSet set = MaskedSetOf(rows);
    tables.masks[i] = set.mask;
    tables.values[i] = set.value;
    tables.areMasked = tables.areMasked && set.holds;
    tables.areBytes = tables.areBytes && set.holds && set.mask == 255;
    const bool isExact = FillNibbleTables(rows, tables.high[i], tables.low[i]);
    tables.areExact = tables.areExact && isExact;
  }
  return tables;
}

// Searching.

/// Tries every place; most are refused by the first probe.
const Byte* FindOneByOne(const ScanTables& tables, const Byte* begin, const Byte* end) {
  return tables.FindOneByOne(begin, end - begin - tables.reach);
}

/// Where the first probe is a single byte: goes from one occurrence of it to the next.
const Byte* FindByFirstByte(const ScanTables& tables, const Byte* begin, const Byte* end) {
  const std::ptrdiff_t offset = tables.offsets[0];
  std::ptrdiff_t places = end - begin - tables.reach;
  while (places > 0) {
    const auto* const byte = static_cast<const Byte*>(
        std::memchr(begin + offset, tables.values[0], static_cast<std::size_t>(places)));
    if (byte == nullptr) return nullptr;
    const Byte* const place = byte - offset;
    if (tables.HoldAt(place)) return place;
    places -= place + 1 - begin;
    begin = place + 1;
  }
  return nullptr;
}

/// How many of 100,000 bytes belong to the set.
int Frequency(const CharSet& bytes) {
  int frequency = 0;
  ForEachByte(RowsOf(bytes),
              [&](std::size_t h, std::size_t l) { frequency += kByteFrequency[16 * h + l]; });
  return frequency;
}

constexpr double kBytesCounted = 100000;

/// A probe and how many bytes belong to its set.
struct Choice {
  Probe probe;
  int frequency;
};

/// A choice for every offset at which not every byte can stand, the rarest first.
std::vector<Choice> ChoicesByFrequency(const std::vector<CharSet>& sets) {
  std::vector<Choice> choices;
  const std::size_t count =
      std::min(sets.size(), static_cast<std::size_t>(PlaceScan::kMaxOffset) + 1);
  for (std::size_t i = 0; i < count; ++i)
    choices.push_back({{static_cast<int>(i), sets[i]}, Frequency(sets[i])});
  std::stable_sort(choices.begin(), choices.end(),
                   [](const Choice& a, const Choice& b) { return a.frequency < b.frequency; });
  return choices;
}

}  // namespace

PlaceScan::PlaceScan(const std::vector<Probe>& probes) : tables_(MakeTables(probes)) {
  constexpr int kRare = 3000;  // in 100,000
  const bool startsWithRareByte =
      probes[0].bytes.count() == 1 && Frequency(probes[0].bytes) < kRare;
  findPlainly_ = startsWithRareByte ? &FindByFirstByte : &FindOneByOne;
  find_ = ChooseVectorScan(tables_);
  if (find_ == nullptr) find_ = findPlainly_;
}

std::vector<Probe> ChooseProbes(const std::vector<CharSet>& sets) {
  constexpr double kRareEnough = 100;  // in 100,000
  std::vector<Probe> probes;
  for (const Choice& choice : ChoicesByFrequency(sets)) {
    if (probes.size() == PlaceScan::kMaxProbes) break;
    if (probes.size() > 1 && ExpectedRate(probes) < kRareEnough) break;
    if (!probes.empty() && choice.probe.bytes.all()) break;
    probes.push_back(choice.probe);
  }
  return probes;
}

double ExpectedRate(const std::vector<Probe>& probes) {
  double rate = kBytesCounted;
  for (const Probe& probe : probes)
    rate *= Frequency(probe.bytes) / kBytesCounted;
  return rate;
}

}  // namespace trovex
