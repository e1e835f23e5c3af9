// The searches of place_scan.h with vector instructions, many places at a time.
//
// A search reads its probes from tables which hold every set of bytes in three forms: bit by bit for
// one byte at a time, and in the two forms in which a whole vector of bytes can be tested at once.

#ifndef TROVEX_MATCHER_VECTOR_SCAN_H
#define TROVEX_MATCHER_VECTOR_SCAN_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace trovex {

/// The most probes of one search.
inline constexpr std::size_t kMaxProbes = 4;

/// Sixteen bytes that a vector instruction looks up by numbers below 16.
using NibbleTable = std::array<std::uint8_t, 16>;

/// What a search reads. Probe i has its place i in every table.
struct ScanTables {
  int count = 0;
  /// The greatest offset.
  std::ptrdiff_t reach = 0;
  std::array<std::ptrdiff_t, kMaxProbes> offsets{};

  /// Bit i of `members[c]`: c belongs to the set of probe i.
  std::array<std::uint8_t, 256> members{};

  /// Whether every set consists of just those c with (c & mask) == value: a single byte, or a letter
  /// in both cases, which differ in one bit.
  bool areMasked = false;
  /// Whether every set is a single byte; all bits of the masks are set then.
  bool areBytes = false;
  std::array<std::uint8_t, kMaxProbes> masks{};
  std::array<std::uint8_t, kMaxProbes> values{};

  /// A byte c may belong to the set if high[c / 16] & low[c % 16] is not zero; unless `areExact`,
  /// some bytes that do not belong give the same.
  std::array<NibbleTable, kMaxProbes> high{};
  std::array<NibbleTable, kMaxProbes> low{};
  bool areExact = true;

  /// Whether all probes hold at `place`.
  bool HoldAt(const unsigned char* place) const {
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
      if ((members[place[offsets[i]]] >> i & 1) == 0) return false;
    }
    return true;
  }

  /// The first of `places` places, the first of which is `place`, at which they do; or null.
  const unsigned char* FindOneByOne(const unsigned char* place, std::ptrdiff_t places) const {
    for (; places > 0; ++place, --places) {
      if (HoldAt(place)) return place;
    }
    return nullptr;
  }
};

/// A search: the first place in [begin, end) at which all probes hold and behind which, up to `end`,
/// the greatest offset has room; or null. It reads nothing outside.
using FindPlace = const unsigned char* (*)(const ScanTables& tables, const unsigned char* begin,
                                           const unsigned char* end);

/// The search of these tables with the best vector instructions that the machine has; null when it has
/// none, or the library was built without them.
FindPlace ChooseVectorScan(const ScanTables& tables);

}  // namespace trovex

#endif  // TROVEX_MATCHER_VECTOR_SCAN_H
