// A file's text as the library reads it, and the way back to the file's own bytes.
//
// The library searches bytes of the Windows Latin-1 code page, one byte a character. A UTF-8 file
// is decoded into a second buffer; offsets found there are mapped back to the file. A character
// that the code page lacks becomes one placeholder byte, which no pattern can name, so that it can
// match nothing but "." and negated sets and shifts no offset.
//
//     file     G  r  C3 BC  n  e  r  20  CE A9
//     text     G  r  FC     n  e  r  20  00          (an omega is not in the code page)
//
// Where both would be the same, the file's bytes are searched in place. Where they differ, the map
// keeps the file offset of every 64th byte of the text and walks the characters from there.

#ifndef TROVEX_HOSTS_CLI_SOURCE_TEXT_H
#define TROVEX_HOSTS_CLI_SOURCE_TEXT_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/files/file_bytes.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

/// What stands for a character that the code page lacks. A regular expression cannot name a zero
/// byte, nor a range that holds it. The phonetic search ends at a zero byte, but passes over a byte
/// that stands for no letter.
inline constexpr char kRegularExpressionPlaceholder = '\0';
inline constexpr char kPhoneticPlaceholder = '\x81';

class SourceText {
 public:
  /// Decodes `file`, whose size is at most kMaxTextLength. With `phonetic`, the text holds no zero
  /// byte. A UTF-8 byte order mark is left out of the text.
  SourceText(FileBytes file, Encoding encoding, bool phonetic);

  /// The text, and a writable byte after it, which is zero.
  char* Data() { return textBase_; }
  const char* Data() const { return textBase_; }
  int Length() const { return length_; }

  /// The file's own bytes.
  std::string_view File() const { return file_.View(); }
  /// Where the text begins in the file: after a byte order mark.
  int FileBegin() const { return fileBegin_; }
  /// The offset in the file of the character at `offset` in the text; the end maps to the end.
  int FileOffset(int offset) const;

  /// Whether the file is UTF-8; otherwise it is of the code page.
  bool IsUtf8() const { return utf8_; }
  /// A piece of the file as UTF-8. Bytes of a UTF-8 file stay as they are, valid or not.
  std::string ToUtf8(std::string_view piece) const;

 private:
  void DecodeUtf8(char placeholder);
  void UseOwnCopy();

  FileBytes file_;
  FileBytes copy_;  // used when the text is not the file's own bytes
  char* textBase_ = nullptr;
  int length_ = 0;
  int fileBegin_ = 0;
  bool utf8_ = false;
  /// The file offset of every 64th byte of the text; empty when one byte is one character.
  std::vector<std::uint32_t> checkpoints_;
};

/// Whether the file looks like something other than text: a zero byte near its start.
bool LooksBinary(std::string_view file);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_SOURCE_TEXT_H
