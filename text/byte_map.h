// A table from bytes to bytes, by which texts are compared without regard to case.

#ifndef TROVEX_TEXT_BYTE_MAP_H
#define TROVEX_TEXT_BYTE_MAP_H

#include <array>

namespace trovex {

/// A table that maps each byte to the byte it is compared as.
using ByteMap = std::array<unsigned char, 256>;

}  // namespace trovex

#endif  // TROVEX_TEXT_BYTE_MAP_H
