// The neighbours of a place between two bytes, and what anchors ask of them.
//
// An anchor looks at the byte before its place and at the byte after it. To anchors there are three kinds of
// bytes, so nine pairs of neighbours, and a set of pairs says exactly what any mix of anchors at one place
// says.

#ifndef TROVEX_MATCHER_PATTERN_NEIGHBOURS_H
#define TROVEX_MATCHER_PATTERN_NEIGHBOURS_H

#include "matcher/pattern/pattern_syntax.h"

#include <cstdint>

namespace trovex {

/// The kinds of neighbours. The edge of the text counts as a newline.
enum class ByteKind : std::uint8_t { kOther, kLetter, kNewline };
inline constexpr int kByteKinds = 3;

/// A set of pairs of neighbours, one bit each.
using Neighbours = std::uint16_t;
inline constexpr int kNeighbourPairs = kByteKinds * kByteKinds;
inline constexpr Neighbours kAnyNeighbours = 0x1FF;

/// The number of a pair, from 0 to 8.
constexpr unsigned NeighbourPair(ByteKind before, ByteKind after) {
  return static_cast<unsigned>(before) * kByteKinds + static_cast<unsigned>(after);
}
constexpr Neighbours NeighbourBit(ByteKind before, ByteKind after) {
  return static_cast<Neighbours>(1U << NeighbourPair(before, after));
}

/// The pairs of neighbours that `allows` accepts.
template <typename Condition>
constexpr Neighbours NeighboursWhere(Condition allows) {
  Neighbours neighbours = 0;
  for (int before = 0; before < kByteKinds; ++before) {
    for (int after = 0; after < kByteKinds; ++after) {
      const auto b = static_cast<ByteKind>(before);
      const auto a = static_cast<ByteKind>(after);
      if (allows(b, a)) neighbours |= NeighbourBit(b, a);
    }
  }
  return neighbours;
}

constexpr bool IsLetter(ByteKind kind) {
  return kind == ByteKind::kLetter;
}

inline constexpr Neighbours kNoLetterBefore =
    NeighboursWhere([](ByteKind before, ByteKind) { return !IsLetter(before); });
inline constexpr Neighbours kNoLetterAfter =
    NeighboursWhere([](ByteKind, ByteKind after) { return !IsLetter(after); });

/// What an anchor demands. A text is searched as its lines.
constexpr Neighbours AnchorNeighbours(Anchor anchor) {
  switch (anchor) {
    case Anchor::kLineStart:
    case Anchor::kTextStart:
      return NeighboursWhere(
          [](ByteKind before, ByteKind) { return before == ByteKind::kNewline; });
    case Anchor::kLineEnd:
    case Anchor::kTextEnd:
      return NeighboursWhere([](ByteKind, ByteKind after) { return after == ByteKind::kNewline; });
    case Anchor::kWordStart:
      return NeighboursWhere(
          [](ByteKind before, ByteKind after) { return !IsLetter(before) && IsLetter(after); });
    case Anchor::kWordEnd:
      return NeighboursWhere(
          [](ByteKind before, ByteKind after) { return IsLetter(before) && !IsLetter(after); });
    case Anchor::kWordEdge:
      return NeighboursWhere(
          [](ByteKind before, ByteKind after) { return IsLetter(before) != IsLetter(after); });
    case Anchor::kNotWordEdge:
      return NeighboursWhere(
          [](ByteKind before, ByteKind after) { return IsLetter(before) == IsLetter(after); });
  }
  return kAnyNeighbours;
}

/// Whether `neighbours` asks if the byte on one side is a letter: whether some pair with a letter and the
/// same with another byte in its place are not both in it or both not.
constexpr bool TellsLettersApart(Neighbours neighbours) {
  const auto has = [&](ByteKind before, ByteKind after) {
    return (neighbours & NeighbourBit(before, after)) != 0;
  };
  for (int i = 0; i < kByteKinds; ++i) {
    const auto kind = static_cast<ByteKind>(i);
    if (has(ByteKind::kLetter, kind) != has(ByteKind::kOther, kind)) return true;
    if (has(kind, ByteKind::kLetter) != has(kind, ByteKind::kOther)) return true;
  }
  return false;
}

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_NEIGHBOURS_H
