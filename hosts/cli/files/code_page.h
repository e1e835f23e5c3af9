// Characters and bytes: UTF-8, and the Windows Latin-1 code page that the library searches.
//
// Five bytes of the code page stand for no character (0x81, 0x8D, 0x8F, 0x90, 0x9D).

#ifndef TROVEX_HOSTS_CLI_CODE_PAGE_H
#define TROVEX_HOSTS_CLI_CODE_PAGE_H

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex::cli {

/// What stands at one place of a UTF-8 text.
struct Utf8Character {
  char32_t code;  // meaningless when not valid
  int length;     // in bytes, at least 1; 1 when not valid
  bool valid;
};

/// Reads the character at the start of `text`, which is not empty. Overlong forms, surrogates,
/// numbers above 0x10FFFF and cut-off characters are not valid: their first byte then stands alone.
Utf8Character ReadUtf8(std::string_view text);

/// The length of the longest prefix of `text` that is pure ASCII.
std::size_t AsciiPrefixLength(std::string_view text);

/// Appends the UTF-8 form of `code`.
void AppendUtf8(char32_t code, std::string& out);

/// Converts `text` from the encoding that iconv knows as `encoding` to UTF-8. Null when the text is
/// not valid in it or the encoding is unknown.
std::optional<std::string> ConvertToUtf8(std::string_view text, const char* encoding);

/// The Windows Latin-1 code page.
class CodePage {
 public:
  /// The one table of this process.
  static const CodePage& Get();

  /// The byte that stands for `code`; null when the code page lacks the character.
  std::optional<char> ByteFor(char32_t code) const;

  /// The UTF-8 form of the character that `byte` stands for, or of U+FFFD when there is none.
  std::string_view Utf8For(char byte) const { return utf8_[static_cast<unsigned char>(byte)]; }

  /// The UTF-8 form of a text in this code page.
  std::string ToUtf8(std::string_view text) const;

 private:
  CodePage();

  std::array<std::string, 256> utf8_;
  /// The characters above ASCII with their bytes, in the order of the characters.
  std::vector<std::pair<char32_t, char>> bytes_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_CODE_PAGE_H
