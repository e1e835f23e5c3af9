// Texts that go to a terminal: in its encoding, and without anything that it would obey.

#ifndef TROVEX_HOSTS_CLI_VISIBLE_TEXT_H
#define TROVEX_HOSTS_CLI_VISIBLE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace trovex::cli {

/// How the bytes of a text are written.
struct TextForm {
  /// As UTF-8: bytes that are no valid UTF-8 become the characters that they have in the Windows
  /// Latin-1 code page.
  bool utf8 = true;
  /// All bytes are of that code page, also where they could be UTF-8.
  bool fromLatin1 = false;
  /// Control characters but the tab are shown as "\x1B".
  bool visible = false;
};

/// Whether a terminal might obey the character: controls but the tab, and what turns the direction of the text.
bool IsObeyedByTerminals(char32_t code);

/// The longest prefix of `text` of at most `most` bytes, from 4 on, that ends between two characters.
std::string_view WholeCharacters(std::string_view text, std::size_t most);

/// Appends `text` in this form.
void AppendText(std::string_view text, const TextForm& form, std::string& out);

/// `text` as UTF-8 without control characters, for messages.
std::string VisibleText(std::string_view text);

/// The columns that a terminal takes for `text`, which is visible text in UTF-8.
std::size_t ColumnsOf(std::string_view text);

/// The number of characters of `text`, where a byte that is no valid UTF-8 is one.
std::size_t CharactersOf(std::string_view text);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_VISIBLE_TEXT_H
