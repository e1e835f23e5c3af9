// The check of many bytes at a time, held against the one that reads one character after the other.

#include "hosts/cli/files/utf8_validity.h"

#include "tests/dice.h"
#include "tests/heap_text.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {
namespace {

/// The bytes at which a rule of UTF-8 begins or ends.
constexpr std::string_view kEdges =
    "A\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF";

void ExpectAgreement(std::string_view bytes) {
  const testing::HeapText text(bytes, '\x80');
  const std::string_view view(text.Data(), bytes.size());
  ASSERT_EQ(IsValidUtf8(view), IsValidUtf8Plainly(view)) << ::testing::PrintToString(view);
}

TEST(Utf8Validity, EveryFourBytesAtTheEdgesOfTheRulesAreJudgedAsOneByOne) {
  for (const std::size_t place : {std::size_t{29}, std::size_t{30}, std::size_t{31}}) {
    std::string text(66, 'a');
    for (std::size_t i = 0; i < kEdges.size() * kEdges.size(); ++i) {
      text[place] = kEdges[i / kEdges.size()];
      text[place + 1] = kEdges[i % kEdges.size()];
      for (std::size_t k = 0; k < kEdges.size() * kEdges.size(); ++k) {
        text[place + 2] = kEdges[k / kEdges.size()];
        text[place + 3] = kEdges[k % kEdges.size()];
        ASSERT_EQ(IsValidUtf8(text), IsValidUtf8Plainly(text))
            << place << " " << ::testing::PrintToString(text);
      }
    }
  }
}

TEST(Utf8Validity, EveryPairOfBytesIsJudgedAlikeAtEveryPlace) {
  for (int pair = 0; pair < 65536; ++pair) {
    for (const std::size_t place : std::vector<std::size_t>{0, 1, 30, 31, 32, 38}) {
      std::string text(40, 'a');
      text[place] = static_cast<char>(pair >> 8);
      text[place + 1] = static_cast<char>(pair & 255);
      ASSERT_EQ(IsValidUtf8(text), IsValidUtf8Plainly(text)) << place << " " << pair;
    }
  }
}

TEST(Utf8Validity, ACharacterIsJudgedAlikeAtEveryPlaceAndCutOffAnywhere) {
  for (const std::string_view character : {"ä", "€", "😀", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    for (std::size_t place = 0; place < 100; ++place) {
      std::string text(place, 'a');
      text += character;
      for (std::size_t length = place; length <= text.size(); ++length)
        ExpectAgreement(std::string_view(text).substr(0, length));
      text += std::string(place % 37, 'b');
      ExpectAgreement(text);
    }
  }
}

TEST(Utf8Validity, AnyTextIsJudgedAlike) {
  for (std::uint32_t seed = 0; seed < 20000; ++seed) {
    testing::Dice dice(seed);
    std::string text;
    const int fault = dice.Between(2, 300);
    for (int i = dice.Between(0, 90); i > 0; --i) {
      text += dice.OneOf({"a", "Wort ", "ä", "ü", "€", "😀", "\n"});
      if (dice.OneIn(fault)) text += dice.Byte(kEdges);
    }
    ASSERT_NO_FATAL_FAILURE(ExpectAgreement(text)) << "seed " << seed;
  }
}

}  // namespace
}  // namespace trovex::cli
