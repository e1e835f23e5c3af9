// The search for windows on machines that look up many bytes one after the other rather than side by side.
//
// Looked at is each second, third or fourth place, as in window_scan.h. But the table tells of each window at which
// offsets of a word it stands, a bit for each, so that a word is looked for only where it would begin:
//
//   "Garten", windows of four bytes, each third place:   Gart 0, arte 1, rten 2
//   d e r _ G a r t e n _ i s t                          looked at: r_Ga  rten  _ist; found: rten, two places before
//
// Eight bytes are hashed by one multiplication, so windows of eight cost no more than those of four. Nothing is asked
// of the processor that it could not foresee: a place is always written to the hits, and counts if the table has it.
// Processors that gather a vector's lanes from memory by themselves, one by one, are twice as fast so.

#ifndef TROVEX_MATCHER_WORDS_OFFSET_SCAN_H
#define TROVEX_MATCHER_WORDS_OFFSET_SCAN_H

#include "matcher/words/beginning_scan.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace trovex {

struct OffsetTable {
  static constexpr std::size_t kMostStride = 4;
  static constexpr std::size_t kMostBytes = 8;

  /// How many places from one window to the next: 1 to kMostStride.
  std::size_t stride = 1;
  /// What counts of the eight bytes at a place.
  std::uint64_t mask = 0;
  /// A hash has 64 - `shift` bits, 32 at most.
  int shift = 0;
  /// By the hash of a window, a bit for each place at which a word may begin that has it: the lowest one for the one
  /// that is `stride` - 1 bytes before the window, the next one for the place after it, and so on.
  std::vector<std::uint8_t> places;

  /// Windows of four bytes and fewer are hashed by what they are in 32 bits.
  bool IsShort() const { return mask >> 32 == 0; }
  std::size_t HashOf(std::uint64_t bytes) const {
    const std::uint64_t window = bytes & mask;
    return IsShort() ? HashOfShort(static_cast<std::uint32_t>(window), shift)
                     : HashOfLong(window, shift);
  }
  static std::size_t HashOfShort(std::uint32_t window, int shift) {
    return (window * WindowTable::kFirstFactor) >> (shift - 32);
  }
  static std::size_t HashOfLong(std::uint64_t window, int shift) {
    return static_cast<std::size_t>(window * 0x9E3779B97F4A7C15U >> shift);
  }
  void Add(std::uint64_t window, std::size_t offset) {
    const std::size_t place = stride - 1 - offset;
    places[HashOf(window)] |= static_cast<std::uint8_t>(1U << place);
  }
};

/// A window that the table has: how far after the first place that was looked at the first of its places lies, and
/// which of them it may be.
struct OffsetHit {
  static constexpr int kPlaceBits = 8;

  static std::uint32_t Of(std::size_t place, std::uint8_t places) {
    return static_cast<std::uint32_t>((place << kPlaceBits) + places);
  }
  static std::uint32_t PlaceOf(std::uint32_t hit) { return hit >> kPlaceBits; }
  static unsigned PlacesOf(std::uint32_t hit) { return hit & ((1U << kPlaceBits) - 1); }
};

/// Looks at the `count` windows that begin each `stride` places from the last of the first `stride` places of
/// `text` on, all before its `end`, and writes those that the table has to `hits`, in order. Reads nothing after `end`.
/// `hits` has room for `count` and one more. Returns how many were written.
std::size_t FindOffsets(const OffsetTable& table, const unsigned char* text, std::size_t count,
                        const unsigned char* end, std::uint32_t* hits);

/// Adds the places of `hits` at which a word may begin. They are Beginnings::kMostHits at most, and eight bytes can be
/// read at each place.
void FindBeginningsOf(const FollowerTable& table, const unsigned char* text,
                      std::span<const std::uint32_t> hits, std::size_t stride, Beginnings& found);

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_OFFSET_SCAN_H
