// How common each byte is in German text: how often it comes in 100,000 bytes.
//
// Counted over the German manual pages and the German collections of sayings that Debian ships, in
// Windows Latin-1, 13 million bytes together; the bytes of UTF-8 sequences as they are in the same texts in
// UTF-8, where that is more. The numbers guide a choice between roads that find the
// same; texts in which other bytes are common are searched more slowly, not differently.

#ifndef TROVEX_MATCHER_SCAN_BYTE_FREQUENCY_H
#define TROVEX_MATCHER_SCAN_BYTE_FREQUENCY_H

#include <array>
#include <cstdint>

namespace trovex {

inline constexpr std::array<std::uint16_t, 256> kByteFrequency = {
    0,     0,    0,    0,    0,    0,     0,    0,    0,    295,  2850, 0,   0,    0,    0,    0,
    0,     0,    0,    0,    0,    0,     0,    0,    0,    0,    0,    0,   0,    0,    0,    0,
    10579, 22,   271,  12,   19,   168,   223,  46,   326,  291,  1008, 20,  817,  1710, 1958, 297,
    214,   223,  185,  131,  189,  123,   72,   56,   91,   54,   176,  36,  30,   157,  33,   22,
    34,    443,  756,  246,  516,  692,   268,  263,  294,  571,  56,   193, 253,  305,  331,  194,
    1269,  13,   491,  861,  449,  261,   158,  184,  36,   29,   142,  52,  2384, 52,   3,    173,
    2,     3425, 1163, 1742, 3070, 10885, 2276, 1755, 2147, 5268, 68,   716, 2510, 1611, 6377, 2030,
    751,   36,   4582, 4083, 4511, 2267,  527,  869,  159,  326,  737,  38,  13,   38,   216,  0,
    14,    0,    0,    0,    10,   12,    0,    0,    0,    0,    0,    0,   0,    0,    0,    0,
    0,     0,    0,    0,    0,    0,     3,    0,    0,    0,    0,    0,   54,   0,    0,    110,
    0,     0,    0,    0,    276,  0,     0,    0,    0,    2,    0,    77,  0,    0,    0,    0,
    0,     0,    0,    0,    0,    0,     127,  0,    0,    0,    0,    77,  370,  0,    0,    0,
    0,     0,    170,  950,  10,   0,     0,    0,    0,    0,    0,    0,   0,    0,    0,    0,
    0,     0,    0,    0,    0,    0,     2,    0,    0,    0,    0,    0,   54,   0,    0,    108,
    0,     0,    14,   0,    276,  0,     0,    1,    0,    2,    0,    0,   0,    0,    0,    0,
    0,     0,    0,    0,    0,    0,     127,  0,    0,    0,    0,    0,   370,  0,    0,    0};

}  // namespace trovex

#endif  // TROVEX_MATCHER_SCAN_BYTE_FREQUENCY_H
