// The bytes of a stretch that is shorter than a vector, in one vector, and nothing read outside of it. For the files
// that are compiled once for every instruction set.
//
// Where the machine has loads under a mask, they do it. Elsewhere two loads of half as many bytes, one from the
// begin of the stretch and one up to its end, are put side by side. They overlap; of the bits that a test of all lanes
// gives, those of the second half are moved to where they belong:
//
//   a stretch of 20 bytes   lanes 0 to 15: bytes 0 to 15    lanes 16 to 31: bytes 4 to 19, moved back by twelve
//
// So a short text takes one test, as a block of a long one does, and no loop over what is left.

#if defined(TROVEX_MATCHER_SCAN_FEW_BYTES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TROVEX_MATCHER_SCAN_FEW_BYTES_INL_H
#undef TROVEX_MATCHER_SCAN_FEW_BYTES_INL_H
#else
#define TROVEX_MATCHER_SCAN_FEW_BYTES_INL_H
#endif

#include <hwy/highway.h>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// The bytes of a block that begins at `place`.
template <class D>
HWY_INLINE hn::Vec<D> BytesOf(const unsigned char* place) {
  return hn::LoadU(D(), place);
}

#if HWY_TARGET <= HWY_AVX3

/// From one place up to as many as a block of `D` has, of which nothing else is read.
template <class D>
struct FewPlaces {
  const unsigned char* begin;
  hn::Mask<D> lanes;

  HWY_INLINE FewPlaces(const unsigned char* place, std::size_t count)
      : FewPlaces(place, hn::FirstN(D(), count)) {}
  HWY_INLINE FewPlaces(const unsigned char* place, hn::Mask<D> of) : begin(place), lanes(of) {}

  HWY_INLINE FewPlaces operator+(std::ptrdiff_t offset) const { return {begin + offset, lanes}; }

  /// The bits of the places in their order, of the bits of all lanes.
  HWY_INLINE std::uint64_t InOrder(std::uint64_t bits) const { return bits & lanes.raw; }
};

template <class D>
HWY_INLINE hn::Vec<D> BytesOf(FewPlaces<D> places) {
  return hn::MaskedLoad(places.lanes, D(), places.begin);
}

#else

/// From one place up to as many as a block of `D` has, of which nothing else is read. `D` has 16 or 32 lanes.
template <class D>
struct FewPlaces {
  const unsigned char* begin;
  std::size_t count;

  HWY_INLINE FewPlaces(const unsigned char* place, std::size_t places)
      : begin(place), count(places) {}

  HWY_INLINE FewPlaces operator+(std::ptrdiff_t offset) const { return {begin + offset, count}; }

  /// The bits of the places in their order, of the bits of all lanes.
  HWY_INLINE std::uint64_t InOrder(std::uint64_t bits) const {
    if (count < 16) return bits & ((std::uint64_t{1} << count) - 1);
    return (bits & 0xFFFF) | (bits >> 16) << (count - 16);
  }
};

/// As many bytes as `Word` has, the first one lowest.
template <class Word>
HWY_INLINE std::uint64_t WordAt(const unsigned char* place) {
  std::uint64_t word = 0;
  if constexpr (std::endian::native == std::endian::little) {
    Word own;
    std::memcpy(&own, place, sizeof own);
    word = own;
  } else {
    for (std::size_t i = 0; i < sizeof(Word); ++i)
      word |= std::uint64_t{place[i]} << (8 * i);
  }
  return word;
}

/// From one byte to eight, the first one lowest.
HWY_INLINE std::uint64_t WordOfFew(const unsigned char* place, std::size_t count) {
  if (count >= 4) {
    const std::uint64_t last = WordAt<std::uint32_t>(place + count - 4);
    return WordAt<std::uint32_t>(place) | last << (8 * (count - 4));
  }
  const std::size_t middle = count / 2;
  const std::size_t last = count - 1;
  return place[0] | std::uint64_t{place[middle]} << (8 * middle) |
         std::uint64_t{place[last]} << (8 * last);
}

/// From one byte to fifteen, in their order.
HWY_INLINE hn::Vec128<std::uint8_t> SixteenOfFew(const unsigned char* place, std::size_t count) {
  const hn::Full128<std::uint64_t> words;
  std::uint64_t low = 0;
  std::uint64_t high = 0;
  if (count > 8) {
    low = WordAt<std::uint64_t>(place);
    high = WordAt<std::uint64_t>(place + count - 8) >> (8 * (16 - count));
  } else {
    low = WordOfFew(place, count);
  }
  if constexpr (std::endian::native == std::endian::little) {
    return hn::BitCast(hn::Full128<std::uint8_t>(),
                       hn::InterleaveLower(words, hn::Set(words, low), hn::Set(words, high)));
  } else {
    alignas(16) std::uint8_t bytes[16];
    for (std::size_t i = 0; i < 8; ++i) {
      bytes[i] = static_cast<std::uint8_t>(low >> (8 * i));
      bytes[8 + i] = static_cast<std::uint8_t>(high >> (8 * i));
    }
    return hn::Load(hn::Full128<std::uint8_t>(), bytes);
  }
}

template <class D>
HWY_INLINE hn::Vec<D> BytesOf(FewPlaces<D> places) {
  const hn::Full128<std::uint8_t> sixteen;
  const auto first = places.count < 16 ? SixteenOfFew(places.begin, places.count)
                                       : hn::LoadU(sixteen, places.begin);
  if constexpr (hn::MaxLanes(D()) == 16) {
    return first;
  } else {
    // Of fewer than sixteen, any other bytes will do.
    const auto last =
        places.count < 16 ? first : hn::LoadU(sixteen, places.begin + places.count - 16);
    return hn::Combine(D(), last, first);
  }
}

#endif

/// The bits of up to 64 places from `begin` on. `bitsAt` gives those of the lanes of a block, which it is given as
/// the place where it begins, or as FewPlaces.
template <class D, class BitsAt>
HWY_INLINE std::uint64_t BitsOfUpTo64(const unsigned char* begin, std::ptrdiff_t places,
                                      const BitsAt& bitsAt) {
  constexpr auto kBlock = static_cast<std::ptrdiff_t>(hn::MaxLanes(D()));
  static_assert(kBlock <= 64);
  if (places <= 0) return 0;
  if (kBlock == 64 || places < kBlock) {
    const FewPlaces<D> few(begin, static_cast<std::size_t>(places));
    return few.InOrder(bitsAt(few));
  }
  // In blocks of which the last two may overlap.
  const std::ptrdiff_t last = places - kBlock;
  std::uint64_t bits = bitsAt(begin + last) << last;
  for (std::ptrdiff_t at = 0; at < last; at += kBlock)
    bits |= bitsAt(begin + at) << at;
  return bits;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace trovex
HWY_AFTER_NAMESPACE();

#endif

#endif  // toggled for every instruction set
