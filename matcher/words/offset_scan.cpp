#include "matcher/words/offset_scan.h"

#include "matcher/runs/byte_words.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace trovex {

namespace {

/// So many windows are looked at in one turn.
constexpr std::size_t kAtOnce = 4;

/// What of the bytes at a place is a window: four bytes as they are, some of four, or some of eight.
enum class Kind { kFour, kShort, kLong };

template <Kind kKind>
std::size_t HashOf(std::uint64_t bytes, std::uint64_t mask, int shift) {
  const auto first = static_cast<std::uint32_t>(bytes);
  if constexpr (kKind == Kind::kFour) return OffsetTable::HashOfShort(first, shift);
  if constexpr (kKind == Kind::kShort)
    return OffsetTable::HashOfShort(first & static_cast<std::uint32_t>(mask), shift);
  return OffsetTable::HashOfLong(bytes & mask, shift);
}

template <std::size_t kStride, Kind kKind>
std::size_t Find(const OffsetTable& table, const unsigned char* text, std::size_t count,
                 const unsigned char* end, std::uint32_t* const hits) {
  using Word = std::conditional_t<kKind == Kind::kLong, std::uint64_t, std::uint32_t>;
  constexpr std::size_t kLead = kStride - 1;
  constexpr std::size_t kReach = kLead + sizeof(Word);
  constexpr std::size_t kReachOfTurn = (kAtOnce - 1) * kStride + kReach;
  const auto size = static_cast<std::size_t>(end - text);
  // Copies, of which the compiler knows that no hit that is written changes them.
  const std::uint64_t mask = table.mask;
  const int shift = table.shift;
  const std::uint8_t* const places = table.places.data();
  std::size_t written = 0;
  const auto look = [&](std::size_t place, std::uint64_t bytes) {
    const std::uint8_t found = places[HashOf<kKind>(bytes, mask, shift)];
    hits[written] = OffsetHit::Of(place, found);
    written += found != 0 ? 1 : 0;
  };
  std::size_t place = 0;
  for (; count >= kAtOnce && place + kReachOfTurn <= size; count -= kAtOnce) {
    for (std::size_t i = 0; i < kAtOnce; ++i, place += kStride)
      look(place, BytesAt<Word>(text + place + kLead));
  }
  for (; count > 0 && place + kReach <= size; --count, place += kStride)
    look(place, BytesAt<Word>(text + place + kLead));
  for (; count > 0; --count, place += kStride)
    look(place, EightBytes(text + place + kLead, text, end));
  return written;
}

template <std::size_t kStride>
void FindBeginningsOfStride(const FollowerTable& table, const unsigned char* text,
                            std::span<const std::uint32_t> hits, Beginnings& found) {
  // One more is written than there are, and counts for nothing.
  std::array<std::uint32_t, kStride * Beginnings::kMostHits + 1> places;
  std::size_t count = 0;
  for (const std::uint32_t hit : hits) {
    for (std::size_t step = 0; step < kStride; ++step) {
      places[count] = static_cast<std::uint32_t>(OffsetHit::PlaceOf(hit) + step);
      count += OffsetHit::PlacesOf(hit) >> step & 1;
    }
  }
  FindBeginningsPlainly(table, text, std::span(places).first(count), 1, found);
}

}  // namespace

std::size_t FindOffsets(const OffsetTable& table, const unsigned char* text, std::size_t count,
                        const unsigned char* end, std::uint32_t* hits) {
  static_assert(OffsetTable::kMostStride == 4);
  using Function = std::size_t (*)(const OffsetTable&, const unsigned char*, std::size_t,
                                   const unsigned char*, std::uint32_t*);
  static constexpr std::array<std::array<Function, 4>, 3> kAll = {{
      {&Find<1, Kind::kFour>, &Find<2, Kind::kFour>, &Find<3, Kind::kFour>, &Find<4, Kind::kFour>},
      {&Find<1, Kind::kShort>, &Find<2, Kind::kShort>, &Find<3, Kind::kShort>,
       &Find<4, Kind::kShort>},
      {&Find<1, Kind::kLong>, &Find<2, Kind::kLong>, &Find<3, Kind::kLong>, &Find<4, Kind::kLong>},
  }};
  const Kind kind = !table.IsShort()           ? Kind::kLong
                    : table.mask != 0xFFFFFFFF ? Kind::kShort
                                               : Kind::kFour;
  return kAll[static_cast<std::size_t>(kind)][table.stride - 1](table, text, count, end, hits);
}

void FindBeginningsOf(const FollowerTable& table, const unsigned char* text,
                      std::span<const std::uint32_t> hits, std::size_t stride, Beginnings& found) {
  static constexpr std::array kOfStride = {&FindBeginningsOfStride<1>, &FindBeginningsOfStride<2>,
                                           &FindBeginningsOfStride<3>, &FindBeginningsOfStride<4>};
  kOfStride[stride - 1](table, text, hits, found);
}

}  // namespace trovex
