// A glance at the sixty-four bytes from a place on: which of them belong to a run, and which can begin what
// follows it. Most runs end within them, such as the rest of a word; then where it ends, and where what
// follows stands last in it, is told by their bits, and the text is not looked at once more.

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

  /// What the `kBytes` bytes at `place` are; all of them are read.
  GlanceBits At(const unsigned char* place) const { return look_(halves_, place); }

  /// Of both sets, the run's first: c belongs to it if high[c / 16] & low[c % 16] is not zero.
  struct Halves {
    NibbleTable high[2];
    NibbleTable low[2];
  };
  using Look = GlanceBits (*)(const Halves& halves, const unsigned char* place);

 private:
  RunGlance() = default;

  Halves halves_;
  Look look_ = nullptr;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_RUNS_RUN_GLANCE_H
