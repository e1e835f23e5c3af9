// Seeded chance for the agreement tests: the same seed gives the same case again, so a failure that
// prints its seed can be repeated.

#ifndef TROVEX_TESTS_DICE_H
#define TROVEX_TESTS_DICE_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::testing {

class Dice {
 public:
  explicit Dice(std::uint32_t seed) : engine_(seed) {}

  /// A number from `low` to `high`, both included.
  int Between(int low, int high) {
    return low + static_cast<int>(engine_() % static_cast<std::uint32_t>(high - low + 1));
  }

  /// True once in `n` throws.
  bool OneIn(int n) { return Between(1, n) == 1; }

  /// One byte of `alphabet`; a byte that stands there more often comes more often.
  char Byte(std::string_view alphabet) {
    return alphabet[static_cast<std::size_t>(Between(0, static_cast<int>(alphabet.size()) - 1))];
  }

  /// One of `strings`.
  const std::string& OneOf(const std::vector<std::string>& strings) {
    return strings[static_cast<std::size_t>(Between(0, static_cast<int>(strings.size()) - 1))];
  }

  /// Up to `longest` bytes of `alphabet`.
  std::string Bytes(std::string_view alphabet, int longest) {
    std::string bytes(static_cast<std::size_t>(Between(0, longest)), '\0');
    for (char& byte : bytes)
      byte = Byte(alphabet);
    return bytes;
  }

 private:
  std::mt19937 engine_;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_DICE_H
