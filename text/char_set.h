// A set of bytes: what a bracket of a pattern stands for, or what may stand at a place of a text.

#ifndef TROVEX_TEXT_CHAR_SET_H
#define TROVEX_TEXT_CHAR_SET_H

#include <bitset>

namespace trovex {

using CharSet = std::bitset<256>;

}  // namespace trovex

#endif  // TROVEX_TEXT_CHAR_SET_H
