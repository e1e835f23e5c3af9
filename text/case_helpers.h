// Letters and case, German-aware: the runtime library's functions for the host's locale, extended
// by the three pairs of umlauts of the Windows Latin-1 code page.
//
// The sharp s (223) is left to the runtime library on purpose: it has no partner of the other case.
//
// Every function takes a byte value, 0 to 255.

#ifndef TROVEX_TEXT_CASE_HELPERS_H
#define TROVEX_TEXT_CASE_HELPERS_H

namespace trovex {

/// The upper-case partner of `c`, or `c`.
int ToUpperGer(int c);
/// The lower-case partner of `c`, or `c`.
int ToLowerGer(int c);
/// Whether `c` is an upper-case letter.
bool IsUpperGer(int c);
/// Whether `c` is a lower-case letter.
bool IsLowerGer(int c);
/// Whether `c` is a letter: upper case, lower case or alphabetic, or an umlaut.
bool IsLetterGer(int c);

/// Whether `c` belongs to a word where whole words are asked for: the locale's letters and digits
/// below 128, and the underscore. Bytes from 128 on, the umlauts among them, never do.
bool IsWordConstituent(int c);

}  // namespace trovex

#endif  // TROVEX_TEXT_CASE_HELPERS_H
