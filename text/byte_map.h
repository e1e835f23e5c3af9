// A table from bytes to bytes, by which texts are compared without regard to case.

#ifndef TROVEX_TEXT_BYTE_MAP_H
#define TROVEX_TEXT_BYTE_MAP_H

#include <array>
#include <cstddef>

namespace trovex {

/// A table that maps each byte to the byte it is compared as.
using ByteMap = std::array<unsigned char, 256>;

/// The table that maps each byte to itself.
inline constexpr ByteMap kSameBytes = [] {
  ByteMap map{};
  for (std::size_t c = 0; c < map.size(); ++c)
    map[c] = static_cast<unsigned char>(c);
  return map;
}();

}  // namespace trovex

#endif  // TROVEX_TEXT_BYTE_MAP_H
