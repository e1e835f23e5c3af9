// Soundex, German-aware: the code of a word, and the search for a place in a text that has it.
//
// A code is the word's first letter followed by the digits of its consonant groups (R. C. Russell's
// coding of 1918). What is ours: umlauts and the sharp s are spelled out ("AE", "SS"), digits are
// read as German number words ("VIER"), accented vowels lose their accents; vowels, H, W and Y
// neither count nor separate equal digits; and a code has one to ten characters, without padding.

#ifndef TROVEX_PHONETIC_SOUNDEX_H
#define TROVEX_PHONETIC_SOUNDEX_H

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace trovex {

inline constexpr int kSoundexCodeSize = 10;

/// A code: upper-case ASCII, zero-terminated when shorter than ten bytes; all zero when empty.
using SoundexCode = std::array<char, kSoundexCodeSize>;

/// The upper-case letters that byte `c` stands for: one for a letter, more for an umlaut, the sharp
/// s or a digit, none for every other byte. Valid for ever.
std::string_view NormalizeSoundexChar(unsigned char c);

/// The code of `word`; empty when nothing in it stands for a letter.
SoundexCode MakeSoundexCode(std::string_view word);

/// Where in a text a code was found: byte offsets, the end exclusive.
struct SoundexRange {
  std::size_t start;
  std::size_t end;
};

/// The first place in the zero-terminated `text` that has `code`: with `wholeWords` the first word, else
/// the first start from which the code is completed before a blank, a line feed or the end. None for an
/// empty code.
std::optional<SoundexRange> FindSoundex(const char* text, const SoundexCode& code, bool wholeWords);

}  // namespace trovex

#endif  // TROVEX_PHONETIC_SOUNDEX_H
