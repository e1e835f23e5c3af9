// Line feeds one after the other, for texts of which every line is wanted: sixty-four bytes are looked
// at together, which is less work than a call of memchr() for each line.

#ifndef TROVEX_HOSTS_CLI_LINE_FEEDS_H
#define TROVEX_HOSTS_CLI_LINE_FEEDS_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace trovex::cli {

#if defined(__SSE2__)
/// A bit for each of the 64 bytes at `at`, the lowest for the first: set where it is a line feed.
inline std::uint64_t LineFeedMask(const char* at) {
  std::uint64_t mask = 0;
  for (int part = 0; part < 4; ++part) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + 16 * part));
    const int bits = _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')));
    mask |= static_cast<std::uint64_t>(bits) << (16 * part);
  }
  return mask;
}
#endif

/// Calls `take` with the place of every line feed of `text` from `begin` to `end`, in order.
template <typename Take>
void ForEachLineFeed(std::string_view text, std::size_t begin, std::size_t end, Take take) {
#if defined(__SSE2__)
  for (; begin < end && text.size() - begin >= 64; begin += 64) {
    std::uint64_t mask = LineFeedMask(text.data() + begin);
    if (end - begin < 64) mask &= (std::uint64_t{1} << (end - begin)) - 1;
    for (; mask != 0; mask &= mask - 1)
      take(begin + static_cast<std::size_t>(std::countr_zero(mask)));
  }
#endif
  for (; begin < end; ++begin) {
    if (text[begin] == '\n') take(begin);
  }
}

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_LINE_FEEDS_H
