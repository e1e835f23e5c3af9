// The spellings of a run of typed letters: with and without umlauts, sharp s and accents.
//
// Two spellings are the same when they are equal after ä is written ae, ö oe, ü ue, ß ss, and every
// other accent is left out. So "Strasse" has the spelling "Straße", "ae" has "ä", "sss" has "sß" and
// "ßs", "é" has "e" and "è", and "a" has "à" but not "ä".
//
// With regard to case a letter's spellings have its case; "Ä" is "Ae" or "AE", and "ß", which has no
// capital, is "ss" but not "SS".

#ifndef TROVEX_QUERY_EXPRESSION_SPELLING_VARIANTS_H
#define TROVEX_QUERY_EXPRESSION_SPELLING_VARIANTS_H

#include "query/expression/syntax_builder.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace trovex {

/// In so many "s" one after the other each place of a "ß" is found; a longer run is no word, and is
/// cut into pieces of that length, so that its tree does not grow with the square of the run's.
inline constexpr std::size_t kLongestSharpRun = 16;

/// Adds the nodes for all spellings of `letters` and appends them to `sequence`, in order.
void AppendSpellings(std::string_view letters, bool caseSensitive, SyntaxBuilder& builder,
                     std::vector<int>& sequence);

}  // namespace trovex

#endif  // TROVEX_QUERY_EXPRESSION_SPELLING_VARIANTS_H
