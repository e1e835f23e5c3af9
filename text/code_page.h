// The Windows Latin-1 code page (1252), byte by byte: its letters, words, pairs of cases and classes,
// and its characters' code points. It asks no locale.
//
// The page leaves five bytes undefined: 129, 141, 143, 144 and 157. They stand for no character, are no
// letters and belong to no class.

#ifndef TROVEX_TEXT_CODE_PAGE_H
#define TROVEX_TEXT_CODE_PAGE_H

#include <array>
#include <optional>
#include <string_view>

#include "text/char_set.h"

namespace trovex {

/// The bytes that the page leaves undefined, in ascending order.
inline constexpr std::array<unsigned char, 5> kUndefinedBytes = {0x81, 0x8D, 0x8F, 0x90, 0x9D};

/// Whether `c` is a letter: A to Z, À to ÿ without × and ÷, Š Œ Ž Ÿ and ƒ, ª º µ, of either case.
bool IsCodePageLetter(unsigned char c);

/// Whether `c` belongs to a word: a letter, a digit 0 to 9 or the underscore.
bool IsCodePageWord(unsigned char c);

/// The bytes that belong to words.
const CharSet& CodePageWords();

/// The upper-case partner of `c`, or `c`. The pairs are those of which the page has both letters: ß, ƒ,
/// ª, º and µ are their own partners.
unsigned char CodePageUpper(unsigned char c);
/// The lower-case partner of `c`, or `c`.
unsigned char CodePageLower(unsigned char c);

/// The bytes of one of the twelve POSIX classes, `name` being "alpha", "digit" and so on; nothing for
/// another name. The no-break space is a blank and a space as the ordinary one is; ª and º are lower
/// case as µ is; superscripts and fractions are no digits but punctuation, and so is the soft hyphen.
std::optional<CharSet> CodePageClass(std::string_view name);

/// The code point of `c`; for an undefined byte the control character of its number.
char32_t CodePageToUnicode(unsigned char c);

/// The byte of a code point; nothing when the page lacks it, as it lacks U+0080 to U+009F, also for the
/// undefined bytes.
std::optional<unsigned char> UnicodeToCodePage(char32_t codePoint);

}  // namespace trovex

#endif  // TROVEX_TEXT_CODE_PAGE_H
