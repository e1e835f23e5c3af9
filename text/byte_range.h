// A text as its bytes, and ranges of them.

#ifndef TROVEX_TEXT_BYTE_RANGE_H
#define TROVEX_TEXT_BYTE_RANGE_H

#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>

namespace trovex {

/// A text: any bytes, never written, nothing outside of it read.
using TextView = std::span<const unsigned char>;

/// Stands in both ends of a range that is not there.
inline constexpr std::size_t kNowhere = SIZE_MAX;

/// Byte offsets into a text, the end exclusive. A range by default is nowhere: a group that took no
/// part in a match has it.
struct ByteRange {
  std::size_t begin = kNowhere;
  std::size_t end = kNowhere;

  bool IsNowhere() const { return begin == kNowhere; }
  std::size_t Length() const { return end - begin; }
  bool operator==(const ByteRange&) const = default;
  /// By begin, then by end.
  auto operator<=>(const ByteRange&) const = default;
};

}  // namespace trovex

#endif  // TROVEX_TEXT_BYTE_RANGE_H
