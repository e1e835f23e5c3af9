// The search for windows: a few bytes side by side, of which a table tells whether they may be those of a word.
//
// Not every place is looked at, only each second, third or fourth: words are longer than a window, and the
// table knows the windows at as many offsets of a word as the scan leaves places out.
//
//   "Garten", windows of four bytes, each third place:   Gart arte rten
//   d e r _ G a r t e n _ i s t                          looked at: der_  Gart  en_i  ...
//
// The table has one bit for each value that a window is hashed to. Sixteen windows are hashed and looked up
// at a time, or as many as a vector of the machine has; where there are none, one after the other.

#ifndef TROVEX_MATCHER_WORDS_WINDOW_SCAN_H
#define TROVEX_MATCHER_WORDS_WINDOW_SCAN_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace trovex {

/// A window as two words of memory, the bytes after its end zero.
struct Window {
  std::uint32_t first = 0;
  std::uint32_t second = 0;
};

struct WindowTable {
  /// How many places from one window to the next: 1 to 4.
  std::size_t stride = 1;
  /// The bytes of a window: 1 to 8; 7 with a stride of 3, 4 with one of 4.
  std::size_t length = 1;
  /// What counts of a window's bytes: nothing after its end, nor the bit in which upper and lower case
  /// differ, if case is no matter.
  Window mask;
  /// A window's hash has 32 - `shift` bits.
  int shift = 0;
  std::vector<std::uint32_t> bits;

  static constexpr std::uint32_t kFirstFactor = 0x9E3779B1U;
  static constexpr std::uint32_t kSecondFactor = 0x85EBCA77U;

  std::uint32_t HashOf(const Window& window) const {
    return (window.first * kFirstFactor + window.second * kSecondFactor) >> shift;
  }
  bool Has(const Window& window) const {
    const std::uint32_t hash = HashOf(window);
    return (bits[hash / 32] >> (hash % 32) & 1) != 0;
  }
  void Add(const Window& window) {
    const std::uint32_t hash = HashOf(window);
    bits[hash / 32] |= std::uint32_t{1} << (hash % 32);
  }

  /// The window at `place` in a text that ends at `end`; bytes after that are zero. `kIsInside`: eight bytes
  /// can be read.
  template <bool kIsInside>
  Window At(const unsigned char* place, const unsigned char* end) const {
    Window window;
    if (kIsInside || end - place >= 8) {
      std::memcpy(&window, place, 8);
    } else {
      std::memcpy(&window, place, static_cast<std::size_t>(end - place));
    }
    window.first &= mask.first;
    window.second &= mask.second;
    return window;
  }
};

/// Looks at `count` windows, from the one at `first` on in a text that ends at `end`, and writes to `hits`
/// how far after `first` each of those begins that the table has, in order. Reads nothing after `end`; no
/// window begins there. `hits` has room for `count` and kWindowsAtOnce more. Returns how many were written.
using FindWindows = std::size_t (*)(const WindowTable& table, const unsigned char* first,
                                    std::size_t count, const unsigned char* end,
                                    std::uint32_t* hits);

inline constexpr std::size_t kWindowsAtOnce = 64;

/// Whether the machine looks up many windows at a time faster than one after the other. Others look for what
/// offset_scan.h has.
bool MachineGathersFast();

/// The fastest way that the machine has for windows of this length.
FindWindows ChooseWindowScan(const WindowTable& table);

/// The same for up to 64 windows of a short text, all of which begin before its end: a bit for each.
using TestWindows = std::uint64_t (*)(const WindowTable& table, const unsigned char* first,
                                      std::size_t count, const unsigned char* end);
TestWindows ChooseWindowTest(const WindowTable& table);
std::uint64_t TestWindowsPlainly(const WindowTable& table, const unsigned char* first,
                                 std::size_t count, const unsigned char* end);

/// The `count` lowest bits, up to 64.
inline std::uint64_t FirstBits(std::size_t count) {
  return count < 64 ? (std::uint64_t{1} << count) - 1 : ~std::uint64_t{0};
}

/// The same without vector instructions.
std::size_t FindWindowsPlainly(const WindowTable& table, const unsigned char* first,
                               std::size_t count, const unsigned char* end, std::uint32_t* hits);

/// Writes the numbers of the bits that are set, `first` added to them, all times `stride`, to `hits`, which has room
/// for three more. Returns where the next one goes.
inline std::uint32_t* WriteHits(std::uint64_t bits, std::size_t first, std::size_t stride,
                                std::uint32_t* hits) {
  constexpr int kAtOnce = 4;
  std::uint32_t* const end = hits + std::popcount(bits);
  // Without a branch for each: what is too much is written over by the next ones.
  for (; bits != 0; hits += kAtOnce) {
    for (int i = 0; i < kAtOnce; ++i, bits &= bits - 1) {
      const std::size_t number = first + (static_cast<std::size_t>(std::countr_zero(bits)) & 63);
      hits[i] = static_cast<std::uint32_t>(number * stride);
    }
  }
  return end;
}

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_WINDOW_SCAN_H
