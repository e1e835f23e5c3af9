// Lines one after the other, for texts of which every line is wanted or most are found: sixty-four bytes are
// looked at together, which is less work than a search, or a call of memchr(), for each line.

#ifndef TROVEX_HOSTS_CLI_LINE_SCAN_H
#define TROVEX_HOSTS_CLI_LINE_SCAN_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace trovex::cli {

/// A bit for each of the 64 bytes at `at`, the lowest for the first: set where it is `byte` when the bits of `fold`
/// are set in both.
inline std::uint64_t MaskOf(const char* at, char byte, char fold = 0) {
  std::uint64_t mask = 0;
#if defined(__SSE2__)
  const __m128i wanted = _mm_set1_epi8(static_cast<char>(byte | fold));
  const __m128i folded = _mm_set1_epi8(fold);
  for (std::size_t part = 0; part < 4; ++part) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + 16 * part));
    const int bits = _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_or_si128(bytes, folded), wanted));
    mask |= static_cast<std::uint64_t>(static_cast<unsigned>(bits)) << (16 * part);
  }
#else
  for (int i = 0; i < 64; ++i)
    mask |= static_cast<std::uint64_t>((at[i] | fold) == (byte | fold) ? 1 : 0) << i;
#endif
  return mask;
}

/// Calls `take` with the place of every line feed of `text` from `begin` to `end`, in order.
template <typename Take>
void ForEachLineFeed(std::string_view text, std::size_t begin, std::size_t end, Take take) {
  for (; begin < end && text.size() - begin >= 64; begin += 64) {
    std::uint64_t mask = MaskOf(text.data() + begin, '\n');
    if (end - begin < 64) mask &= (std::uint64_t{1} << (end - begin)) - 1;
    for (; mask != 0; mask &= mask - 1)
      take(begin + static_cast<std::size_t>(std::countr_zero(mask)));
  }
  for (; begin < end; ++begin) {
    if (text[begin] == '\n') take(begin);
  }
}

/// Tells of each line of a text whether it holds a string of ASCII letters and digits.
class LineScan {
 public:
  /// With `folds`, letters stand for their other case, too.
  LineScan(std::string_view string, bool folds) : string_(string), folds_(folds) {
    for (char& c : string_)
      c = static_cast<char>(c | FoldOf(c));
  }

  /// Calls `take` with the begin and the end of each line, which is its line feed or the end of the text, and
  /// whether it holds the string, until it returns false. `isSure` is asked about the end of a place where the string
  /// stands, whether it counts.
  template <typename IsSure, typename Take>
  void ForEachLine(std::string_view text, IsSure isSure, Take take) const {
    std::size_t line = 0;
    bool holds = false;
    const auto anyOf = [&](std::size_t at, std::uint64_t marks) {
      for (; marks != 0; marks &= marks - 1) {
        const std::size_t place = at + static_cast<std::size_t>(std::countr_zero(marks));
        if (StandsAt(text, place) && isSure(place + string_.size())) return true;
      }
      return false;
    };
    char padded[64 + kLookedAt] = {};
    for (std::size_t at = 0; at < text.size(); at += 64) {
      const char* block = text.data() + at;
      if (text.size() - at < sizeof padded) {
        std::memset(padded, 0, sizeof padded);
        std::memcpy(padded, block, text.size() - at);
        block = padded;
      }
      std::uint64_t marks = MarksAt(block);
      for (std::uint64_t feeds = MaskOf(block, '\n'); feeds != 0; feeds &= feeds - 1) {
        const auto bit = static_cast<std::size_t>(std::countr_zero(feeds));
        if (at + bit >= text.size()) break;
        const std::uint64_t before = (std::uint64_t{1} << bit) - 1;
        holds = holds || anyOf(at, marks & before);
        if (!take(line, at + bit, holds)) return;
        line = at + bit + 1;
        holds = false;
        marks &= ~before;
      }
      holds = holds || anyOf(at, marks);
    }
    if (line < text.size()) take(line, text.size(), holds);
  }

 private:
  /// So many bytes are compared wherever a string may begin.
  static constexpr std::size_t kLookedAt = 3;

  char FoldOf(char letter) const {
    const bool isLetter = (letter | 0x20) >= 'a' && (letter | 0x20) <= 'z';
    return folds_ && isLetter ? 0x20 : 0;
  }

  std::uint64_t MarksAt(const char* block) const {
    std::uint64_t marks = ~std::uint64_t{0};
    for (std::size_t i = 0; i < std::min(kLookedAt, string_.size()); ++i)
      marks &= MaskOf(block + i, string_[i], FoldOf(string_[i]));
    return marks;
  }

  bool StandsAt(std::string_view text, std::size_t place) const {
    if (text.size() - place < string_.size()) return false;
    for (std::size_t i = kLookedAt; i < string_.size(); ++i) {
      if ((text[place + i] | FoldOf(string_[i])) != string_[i]) return false;
    }
    return true;
  }

  std::string string_;
  bool folds_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_LINE_SCAN_H
