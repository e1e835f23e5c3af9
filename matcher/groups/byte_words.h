// Eight bytes of a text at a time.

#ifndef TROVEX_MATCHER_GROUPS_BYTE_WORDS_H
#define TROVEX_MATCHER_GROUPS_BYTE_WORDS_H

#include <cstdint>
#include <cstring>

namespace trovex {

/// The eight bytes at `bytes`.
inline std::uint64_t LoadWord(const unsigned char* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
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

#endif  // TROVEX_MATCHER_GROUPS_BYTE_WORDS_H
