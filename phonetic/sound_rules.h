// How German letters sound, as a table that a linguist can check.
//
// A word is read from left to right. At each place the first row of the table that fits is taken: its
// letters stand there, what it asks of the place before them holds, and what it asks of the letters
// after them holds. The row's letters are passed over and its sounds are added. So rows with more
// letters stand above those with fewer, and exceptions above the rule.
//
// Letters are those of `ReadLetter`: lower case, accents other than the umlauts' gone. Sounds:
//
//   a e i o u ö ü     vowels, long or short; e is ä too
//   A Y W             the diphthongs of "mein", "neu" and "Haus"
//   b d f g h j k l m n p r s t w      as the letters; s voiced or not, w as in "Welt"
//   S x N             "Schule"; "ich" and "ach"; "lang"
//
// "z" is t and s, "x" and "chs" are k and s. Two equal sounds that meet are one, whether two letters
// were written or a word was joined there.
//
// What the table takes from the literature: the grouping of letters by the consonants before and after
// them is that of the Cologne phonetics (H. J. Postel, "Die Kölner Phonetik. Ein Verfahren zur
// Identifizierung von Personennamen auf der Grundlage der Gestaltanalyse", IBM-Nachrichten 19, 1969);
// hardening at the end of a syllable, the loss of e before l, n and r, "-ig", and h follow the usual
// descriptions of standard pronunciation (Duden volume 6, "Das Aussprachewörterbuch"; R. Wiese, "The
// Phonology of German", 1996). That vowels count, and all names of families, are ours.

#ifndef TROVEX_PHONETIC_SOUND_RULES_H
#define TROVEX_PHONETIC_SOUND_RULES_H

#include <string_view>

namespace trovex {

/// What a rule asks of the place before its letters.
enum class Before : unsigned char {
  kAnything,
  kBeginning,  // of the word
  kVowel,      // the letter before is a vowel
  kConsonant,  // the letter before is a consonant
  kDiphthong,  // the sound before is a diphthong
  kWeakPlace,  // a vowel has been heard, and last an obstruent, m or ng: where an e fades
  kEndingI,    // the letter before is an i that is not the word's first vowel: "-ig"
};

/// A row of the table. `after` lists what may stand after the letters, apart by blanks; empty: anything.
/// In it, capital letters are kinds and all others themselves:
///
///   V  a vowel        C  a consonant
///   K  a consonant other than l
///   H  a consonant other than l, r, n and j: one before which a syllable ends, and hardens
///   $  the end of the word
struct SoundRule {
  std::string_view letters;
  Before before = Before::kAnything;
  std::string_view after;
  std::string_view sounds;
};

/// The letters of the rules beyond z, one byte each, so that all letters are in a row.
#define TROVEX_AE "{"
#define TROVEX_OE "|"
#define TROVEX_UE "}"
#define TROVEX_SZ "~"

inline constexpr SoundRule kSoundRules[] = {
    // Vowels.
    {"aeu", Before::kAnything, "", "Y"},  // Haeusler
    {"ae", Before::kAnything, "", "e"},
    {"ai", Before::kAnything, "", "A"},
    {"ay", Before::kAnything, "", "A"},
    {"aj", Before::kAnything, "", "A"},  // Majer, as Maier
    {"au", Before::kAnything, "", "W"},
    {"a", Before::kAnything, "", "a"},

    {TROVEX_AE "u", Before::kAnything, "", "Y"},
    {TROVEX_AE, Before::kAnything, "", "e"},

    {"eau", Before::kAnything, "$ x$", "o"},  // Rousseau
    {"eu", Before::kAnything, "", "Y"},
    {"ei", Before::kAnything, "", "A"},
    {"ey", Before::kAnything, "", "A"},
    {"ej", Before::kAnything, "", "A"},
    {"e", Before::kDiphthong, "r", ""},              // Mayer and Mayr, Bauer and Baur
    {"e", Before::kWeakPlace, "l$ ll$ lK llK", ""},  // Vogel and Vogl, Seidelmann and Seidlmann
    {"e", Before::kWeakPlace, "n$", ""},             // Hagen and Hagn
    {"e", Before::kAnything, "", "e"},

    {"ie", Before::kAnything, "", "i"},
    {"ij", Before::kAnything, "C $", "A"},  // Dijk
    {"i", Before::kAnything, "", "i"},

    {"oe", Before::kAnything, "", "|"},
    {"oi", Before::kAnything, "gt", "o"},  // Voigt, as Vogt: the i lengthens
    {"oi", Before::kAnything, "", "Y"},
    {"oy", Before::kAnything, "", "Y"},
    {"oj", Before::kAnything, "", "Y"},
    {"ou", Before::kAnything, "", "u"},    // Louis
    {"ow", Before::kConsonant, "$", "o"},  // Virchow
    {"o", Before::kAnything, "", "o"},

    {TROVEX_OE, Before::kAnything, "", "|"},

    {"ue", Before::kAnything, "", "}"},
    {"u", Before::kAnything, "", "u"},

    {TROVEX_UE, Before::kAnything, "", "}"},

    {"y", Before::kBeginning, "V", "j"},
    {"y", Before::kConsonant, "V", "j"},
    {"y", Before::kAnything, "", "i"},

    // Consonants.
    {"bb", Before::kAnything, "$ H", "p"},
    {"bb", Before::kAnything, "", "b"},
    {"b", Before::kAnything, "$ H", "p"},  // Schwab and Schwap
    {"b", Before::kAnything, "", "b"},

    {"chs", Before::kAnything, "ch", "xs"},  // a word joined: "nachschauen"
    {"chs", Before::kAnything, "", "ks"},    // Fuchs and Fux
    {"ch", Before::kBeginning, "", "k"},     // Christ
    {"ch", Before::kAnything, "", "x"},
    {"ck", Before::kAnything, "", "k"},
    {"cz", Before::kAnything, "", "tS"},  // Czerny and Tscherny
    {"c", Before::kAnything, "e i y " TROVEX_AE " " TROVEX_OE " ae oe", "ts"},
    {"c", Before::kAnything, "", "k"},

    {"dd", Before::kAnything, "$ H", "t"},
    {"dd", Before::kAnything, "", "d"},
    {"dsch", Before::kAnything, "", "tS"},
    {"d", Before::kAnything, "$ H", "t"},  // Brand, Brandt and Brant
    {"d", Before::kAnything, "", "d"},

    {"f", Before::kAnything, "", "f"},

    {"gh", Before::kBeginning, "", "g"},
    {"gg", Before::kAnything, "$ H", "k"},
    {"gg", Before::kAnything, "", "g"},
    {"g", Before::kEndingI, "$ s$ t$ st$", "x"},  // Ludwig
    {"g", Before::kAnything, "$ H", "k"},         // Berg
    {"g", Before::kAnything, "", "g"},

    {"h", Before::kBeginning, "", "h"},
    {"h", Before::kConsonant, "", ""},          // Walther; also Bernhard, as Bernard
    {"h", Before::kVowel, "C $", ""},           // Kuhn
    {"h", Before::kVowel, "ei eu ey ej", "h"},  // "daheim"
    {"h", Before::kVowel, "e", ""},             // "gehen"
    {"h", Before::kAnything, "", "h"},          // Johann

    {"j", Before::kAnything, "", "j"},
    {"k", Before::kAnything, "", "k"},
    {"l", Before::kAnything, "", "l"},
    {"m", Before::kAnything, "", "m"},

    {"ndts", Before::kAnything, "$", "ns"},  // Ahrendts, Ahrends, Arens: a t comes by itself
    {"ndtz", Before::kAnything, "$", "ns"},
    {"nds", Before::kAnything, "$", "ns"},
    {"ntz", Before::kAnything, "$", "ns"},
    {"nts", Before::kAnything, "$", "ns"},
    {"nz", Before::kAnything, "$", "ns"},
    {"ng", Before::kAnything, "", "N"},
    {"n", Before::kAnything, "", "n"},

    {"ph", Before::kAnything, "", "f"},
    {"p", Before::kAnything, "", "p"},

    {"qu", Before::kAnything, "", "kw"},
    {"q", Before::kAnything, "", "k"},

    {"r", Before::kAnything, "", "r"},

    {"sch", Before::kAnything, "", "S"},
    {"sh", Before::kBeginning, "", "S"},
    {"sz", Before::kBeginning, "y i", "S"},  // Szymanski
    {"sz", Before::kAnything, "", "s"},      // Weisz
    {"s", Before::kBeginning, "p t", "S"},   // Stein
    {"s", Before::kAnything, "", "s"},

    {TROVEX_SZ, Before::kAnything, "", "s"},

    {"tzsch", Before::kAnything, "", "tS"},  // Nietzsche and Nitsche
    {"tion", Before::kAnything, "", "tsion"},
    {"t", Before::kAnything, "", "t"},

    // V is f, but w between vowels (Novak, Evers) and in some beginnings that came with foreign names.
    {"v", Before::kBeginning, "ik ic io inz inc ale anes era$", "w"},
    {"v", Before::kVowel, "V", "w"},
    {"v", Before::kAnything, "", "f"},

    {"w", Before::kAnything, "", "w"},
    {"x", Before::kAnything, "", "ks"},

    {"zsch", Before::kAnything, "", "tS"},
    {"zz", Before::kAnything, "", "ts"},
    {"z", Before::kAnything, "", "ts"},
};

#undef TROVEX_AE
#undef TROVEX_OE
#undef TROVEX_UE
#undef TROVEX_SZ

}  // namespace trovex

#endif  // TROVEX_PHONETIC_SOUND_RULES_H
