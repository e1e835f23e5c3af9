// A UTF-8 text as bytes of the code page, one for each character, and the way back to its own bytes.
//
// Read so, a text is searched as one of the code page is:
//
// - A well-formed sequence is one character: its byte of the code page, or the substitute where the page
//   lacks it.
// - Every byte that belongs to no well-formed sequence is a character by itself, that of the code page.
//   It changes nothing for the rest of the text.
// - A base letter with a combining diaeresis, acute, grave, circumflex, tilde, ring or cedilla after it
//   is one character, the composed one, where the code page has it. A mark that makes no character of
//   the page with what stands before it is a character by itself, which the page lacks.
// - Line feeds are line feeds. What stands between two of them is decoded the same with and without the
//   rest of the text.

#ifndef TROVEX_TEXT_UTF8_TEXT_H
#define TROVEX_TEXT_UTF8_TEXT_H

#include <cstddef>
#include <memory>
#include <vector>

#include "text/byte_range.h"
#include "text/utf8_blocks.h"

namespace trovex {

/// The work space for one text after another. It grows with the longest text and allocates nothing for
/// texts that are no longer. Memory that runs out is std::bad_alloc.
class Utf8Text {
 public:
  Utf8Text() : Utf8Text(ChooseUtf8Blocks()) {}
  /// With these vector instructions, or with none.
  explicit Utf8Text(const Utf8Blocks& blocks) : blocks_(blocks) {}

  /// The decoded text, which is `text` itself when that is plain ASCII. It is never longer. It is valid
  /// until the next call, and all that is asked below is asked about it; `text` must stay as it is so
  /// long.
  TextView Decode(TextView text, unsigned char substitute);

  /// Where in the text the character at `decoded` begins, which is where the one before it ends, its
  /// mark counted with it. `decoded` is at most the decoded text's length. Questions in ascending order
  /// cost no more together than reading the text once; any other costs as much as reading about a
  /// thousand bytes.
  std::size_t SourceOffset(std::size_t decoded);

  /// The range of the text that `decoded` stands for; nowhere stays nowhere.
  ByteRange SourceRange(ByteRange decoded);

  /// Which character the byte at `source` belongs to, as its offset in the decoded text. The end is the
  /// end. It costs as much as SourceOffset.
  std::size_t DecodedOffset(std::size_t source);

 private:
  /// A boundary of characters.
  struct Boundary {
    std::size_t source = 0;
    std::size_t decoded = 0;
  };

  void MakeRoom();
  std::size_t DecodeFrom(std::size_t start, unsigned char substitute);
  void NoteBoundary(Utf8Decoding& decoding);
  bool DecodeBlocks(Utf8Decoding& decoding) const;
  bool DecodeClosely(Utf8Decoding& decoding);

  bool IsMarkOfLast(const unsigned char* at) const;
  Boundary After(Boundary boundary) const;
  Boundary PassAscii(Boundary boundary, std::size_t distance) const;
  Boundary PassSequences(Boundary boundary, std::size_t distance) const;
  template <std::size_t Boundary::*kPlace>
  Boundary Nearest(std::size_t goal) const;

  const unsigned char* Begin() const { return text_.data(); }
  const unsigned char* End() const { return text_.data() + text_.size(); }
  std::size_t OffsetOf(const unsigned char* at) const {
    return static_cast<std::size_t>(at - Begin());
  }

  Utf8Blocks blocks_;
  TextView text_;
  bool isPlain_ = true;
  /// Whether each character is one well-formed sequence: none was composed, and no byte stands by itself.
  bool isRegular_ = true;

  std::unique_ptr<unsigned char[]> decoded_;
  std::size_t capacity_ = 0;

  /// One about every thousand bytes; up to the first both texts are the same.
  std::vector<Boundary> boundaries_;
  /// The answer to the last question.
  Boundary latest_;
};

/// Whether all bytes of `text` are ASCII.
bool IsPlainAscii(TextView text);

/// Whether each character of `text` is one well-formed sequence, and none is a combining mark.
bool IsRegularUtf8(TextView text);
/// The same with these vector instructions, or with none.
bool IsRegularUtf8(TextView text, const Utf8Blocks& blocks);

}  // namespace trovex

#endif  // TROVEX_TEXT_UTF8_TEXT_H
