// UTF-8 texts and expressions, held against the trivial decoder that the tests use.
//
//     input:  how often the text is repeated, substitute, text
//
// The text is decoded with the vector instructions of the machine and without, whole and line by line,
// and the places of all characters are asked forwards and backwards.

#include "fuzz/input.h"
#include "fuzz/require.h"
#include "tests/text/trivial_utf8.h"
#include "text/decoded_expression.h"
#include "text/utf8_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::fuzz {
namespace {

using testing::BytesOf;
using testing::DecodeTrivially;
using testing::TrivialCharacter;

using Byte = unsigned char;

/// A text in a heap block of exactly its length.
class ExactText {
 public:
  explicit ExactText(std::string_view text)
      : bytes_(std::make_unique_for_overwrite<Byte[]>(text.size())), length_(text.size()) {
    if (!text.empty()) std::memcpy(bytes_.get(), text.data(), text.size());
  }
  TextView View() const { return {bytes_.get(), length_}; }

 private:
  std::unique_ptr<Byte[]> bytes_;
  std::size_t length_;
};

std::string StringOf(TextView text) {
  return {reinterpret_cast<const char*>(text.data()), text.size()};
}

void HoldPlace(Utf8Text& decoder, const std::vector<TrivialCharacter>& characters, std::size_t i) {
  const TrivialCharacter& character = characters[i];
  Require(decoder.SourceRange({i, i + 1}) == ByteRange{character.begin, character.end},
          "a character leads back to its range");
  Require(decoder.DecodedOffset(character.begin) == i, "a character is found by its first byte");
  Require(decoder.DecodedOffset(character.end - 1) == i, "a character is found by its last byte");
}

void HoldDecoder(Utf8Text& decoder, const std::string& text, Byte substitute) {
  const ExactText exact(text);
  const std::vector<TrivialCharacter> characters = DecodeTrivially(text);
  const std::string expected = BytesOf(characters, substitute);
  RequireSame(StringOf(decoder.Decode(exact.View(), substitute)), expected,
              "a text is decoded as it is trivially");
  for (std::size_t i = 0; i < characters.size(); ++i)
    HoldPlace(decoder, characters, i);
  for (std::size_t i = characters.size(); i-- > 0;)
    HoldPlace(decoder, characters, i);
  Require(decoder.SourceOffset(characters.size()) == text.size(), "the end is the end");
  Require(decoder.DecodedOffset(text.size()) == characters.size(), "the end is the end");

  std::string pieces;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t feed = std::min(text.find('\n', begin), text.size() - 1);
    const ExactText line(std::string_view(text).substr(begin, feed + 1 - begin));
    pieces += StringOf(decoder.Decode(line.View(), substitute));
    begin = feed + 1;
  }
  RequireSame(pieces, expected, "lines are decoded the same one by one");
}

void HoldExpression(const std::string& typed) {
  const DecodedExpression decoded = DecodeUtf8Expression(typed);
  const std::vector<TrivialCharacter> characters = DecodeTrivially(typed);
  RequireSame(decoded.bytes, BytesOf(characters, decoded.substitute),
              "an expression is decoded as it is trivially");
  for (std::size_t i = 0; i < characters.size(); ++i) {
    Require(decoded.typed[i] == ByteRange{characters[i].begin, characters[i].end},
            "a character of an expression leads back to its range");
    Require(decoded.isLacking[i] == !characters[i].byte.has_value(),
            "it is known what the page lacks");
  }
}

}  // namespace
}  // namespace trovex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace trovex::fuzz;
  Input input(data, size);
  const int repeated = 1 + input.Byte() % 8;
  const std::uint8_t substitute = input.Byte();
  const std::string piece = input.Rest().substr(0, 300);
  std::string text;
  for (int i = 0; i < repeated; ++i)
    text += piece;

  trovex::Utf8Text plain{trovex::Utf8Blocks()};
  trovex::Utf8Text chosen;
  HoldDecoder(plain, text, substitute);
  HoldDecoder(chosen, text, substitute);
  HoldExpression(piece);
  return 0;
}
