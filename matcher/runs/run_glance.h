// A glance at the sixty-four bytes from a place on: which of them belong to a run, and which can begin what
// follows it. Most runs end within them, such as the rest of a word; then where it ends, and where what
// follows stands last in it, is told by their bits, and the text is not looked at once more.
//
// Where the text ends before that, the bytes before the place are read with it, as far as they belong to the text, and
// their bits shifted out: how many bytes are left differs from place to place, and a load that depends on it would be
// guessed wrong.

#ifndef TROVEX_MATCHER_RUNS_RUN_GLANCE_H
#define TROVEX_MATCHER_RUNS_RUN_GLANCE_H

#include "matcher/scan/vector_scan.h"
#include "text/char_set.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace trovex {

/// Bit i stands for the byte i places further.
struct GlanceBits {
  std::uint64_t members;  // of the run
  std::uint64_t next;     // bytes that can begin what follows it
};

class RunGlance {
 public:
  static constexpr std::ptrdiff_t kBytes = 64;

  /// For a run of `bytes` and what begins with one of `next`; none if vectors cannot tell one of the sets exactly, or
  /// there are no vector instructions.
  static std::optional<RunGlance> For(const CharSet& bytes, const CharSet& next);

  /// What the `kBytes` bytes at `place` are, or as many as there are up to the end of the text, at least one. The text
  /// goes from `begin` to `end`, and nothing outside is read; a line feed is thought after it, which can be what
  /// follows, and belongs to no run.
  GlanceBits At(const unsigned char* place, const unsigned char* begin,
                const unsigned char* end) const {
    GlanceBits bits = look_(halves_, place, begin, end);
    if (end - place < kBytes) bits.next |= feedIsNext_ << (end - place);
    return bits;
  }

  /// Of both sets, the run's first: c belongs to it if high[c / 16] & low[c % 16] is not zero.
  struct Halves {
    NibbleTable high[2];
    NibbleTable low[2];
  };
  using Look = GlanceBits (*)(const Halves& halves, const unsigned char* place,
                              const unsigned char* begin, const unsigned char* end);

 private:
  RunGlance() = default;

  Halves halves_;
  std::uint64_t feedIsNext_ = 0;  // 1 where a line feed can begin what follows, else 0
  Look look_ = nullptr;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_RUNS_RUN_GLANCE_H
