// A fuzzer's input, taken apart from front to back: first the small values that choose what is done,
// then the strings, so that a mutation in the middle of a text leaves everything else as it was.

#ifndef TROVEX_FUZZ_INPUT_H
#define TROVEX_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace trovex::fuzz {

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  bool IsEmpty() const { return rest_.empty(); }

  /// The next byte; 0 when all are taken.
  std::uint8_t Byte() {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<std::uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return byte;
  }

  /// The next byte as a number from -128 to 127.
  int SignedByte() { return static_cast<std::int8_t>(Byte()); }

  /// Up to `count` bytes.
  std::string Bytes(std::size_t count) {
    std::string bytes(rest_.substr(0, count));
    rest_.remove_prefix(bytes.size());
    return bytes;
  }

  /// Everything up to the next zero byte, which is taken too.
  std::string UpToZero() {
    const std::size_t length = std::min(rest_.find('\0'), rest_.size());
    std::string text = Bytes(length);
    Byte();
    return text;
  }

  /// All that is left.
  std::string Rest() { return Bytes(rest_.size()); }

 private:
  std::string_view rest_;
};

}  // namespace trovex::fuzz

#endif  // TROVEX_FUZZ_INPUT_H
