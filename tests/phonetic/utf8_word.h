// Words that tests write in UTF-8, in bytes of the code page.

#ifndef TROVEX_TESTS_PHONETIC_UTF8_WORD_H
#define TROVEX_TESTS_PHONETIC_UTF8_WORD_H

#include <string>
#include <string_view>

namespace trovex::testing {

/// `word` in Latin-1. It must hold no characters beyond U+00FF.
inline std::string CodePageWord(std::string_view word) {
  std::string bytes;
  for (std::size_t i = 0; i < word.size(); ++i) {
    const auto c = static_cast<unsigned char>(word[i]);
    if (c < 0x80) {
      bytes += word[i];
    } else {
      ++i;
      bytes += static_cast<char>((c << 6) | (static_cast<unsigned char>(word[i]) & 0x3F));
    }
  }
  return bytes;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_PHONETIC_UTF8_WORD_H
