// Sets of bytes, against every mask and value.

#include "text/char_set.h"

#include "tests/dice.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace trovex {
namespace {

CharSet BytesUnder(std::size_t mask, std::size_t value) {
  CharSet bytes;
  for (std::size_t c = 0; c < bytes.size(); ++c)
    bytes[c] = (c & mask) == value;
  return bytes;
}

TEST(MaskedByte, IsToldOfEverySetThatHasTheForm) {
  for (std::size_t mask = 0; mask < 256; ++mask) {
    for (std::size_t value = 0; value < 256; ++value) {
      if ((value & ~mask) != 0) continue;
      const std::optional<MaskedByte> byte = MaskedByteOf(BytesUnder(mask, value));
      ASSERT_TRUE(byte.has_value()) << mask << " " << value;
      ASSERT_EQ(byte->mask, mask);
      ASSERT_EQ(byte->value, value);
    }
  }
}

TEST(MaskedByte, IsToldOfNoOtherSet) {
  EXPECT_FALSE(MaskedByteOf(CharSet()).has_value());
  testing::Dice dice(20);
  for (int round = 0; round < 20'000; ++round) {
    CharSet bytes;
    for (int i = dice.Between(1, 8); i > 0; --i)
      bytes.set(static_cast<std::size_t>(dice.Between(0, 15)));
    bool hasForm = false;
    for (std::size_t mask = 0; mask < 16 && !hasForm; ++mask)
      hasForm = BytesUnder(mask | 0xF0, bytes._Find_first() & (mask | 0xF0)) == bytes;
    ASSERT_EQ(MaskedByteOf(bytes).has_value(), hasForm) << bytes << ", round " << round;
  }
}

}  // namespace
}  // namespace trovex
