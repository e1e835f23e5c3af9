// Eight bytes of a text at a time.

#ifndef TROVEX_MATCHER_RUNS_BYTE_WORDS_H
#define TROVEX_MATCHER_RUNS_BYTE_WORDS_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace trovex {

/// As many bytes at `place` as `Word` has, the first of them the lowest.
template <typename Word>
Word BytesAt(const unsigned char* place) {
  Word bytes = 0;
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(&bytes, place, sizeof bytes);
  } else {
    for (std::size_t i = 0; i < sizeof bytes; ++i)
      bytes |= Word{place[i]} << (8 * i);
  }
  return bytes;
}

inline std::uint64_t EightBytes(const unsigned char* place) {
  return BytesAt<std::uint64_t>(place);
}

/// The same in a text that ends at `end`, of which what lies from `begin` on can be read: bytes after the end are
/// zero. `place` is between the two.
inline std::uint64_t EightBytes(const unsigned char* place, const unsigned char* begin,
                                const unsigned char* end) {
  const auto left = end - place;
  if (left >= 8) return EightBytes(place);
  if (end - begin >= 8) return EightBytes(end - 8) >> 1 >> (63 - 8 * left);
  std::uint64_t bytes = 0;
  for (std::ptrdiff_t i = 0; i < left; ++i)
    bytes |= std::uint64_t{place[i]} << (8 * i);
  return bytes;
}

/// Eight times `byte`.
constexpr std::uint64_t Repeated(unsigned char byte) {
  return 0x0101010101010101U * std::uint64_t{byte};
}

/// The top bit of each byte that is zero.
constexpr std::uint64_t ZeroBytes(std::uint64_t word) {
  constexpr std::uint64_t kLow = 0x7F7F7F7F7F7F7F7FU;
  return ~(((word & kLow) + kLow) | word | kLow);
}

}  // namespace trovex

#endif  // TROVEX_MATCHER_RUNS_BYTE_WORDS_H
