// The rows. Texts are Windows Latin-1, so umlauts stand in patterns as escapes. The peers fold A to Z
// only, as bytes, and their negated sets match line feeds unless told otherwise: such rows word the
// same search differently for them.

#include "bench/side_by_side/rows.h"

namespace trovex::bench {

namespace {

constexpr const char* kEightWords =
    "datei|verzeichnis|prozess|speicher|fehler|benutzer|adresse|argument";
constexpr const char* kDottedNumbers = "[0-9]{1,3}\\.[0-9]{1,3}\\.[0-9]{1,3}\\.[0-9]{1,3}";

constexpr Row kRows[] = {
    {"rare word", "Tastaturbelegung"},
    {"common word", "Datei"},
    {"\"er\"", "er"},
    {"word, folded", "datei", Mode::kFolded},
    {"\"übersetzung\", folded",
     "\xFC"
     "bersetzung",
     Mode::kFolded, "[\xFC\xDC]bersetzung"},
    {"whole word \"und\"", "und", Mode::kWholeWords, "\\bund\\b"},
    {"Fehler|Warnung|Hinweis", "Fehler|Warnung|Hinweis"},
    {"eight words, folded", kEightWords, Mode::kFolded},
    {"[A-Z][a-z]+", "[A-Z][a-z]+"},
    {"[a-z]+ung", "[a-z]+ung"},
    {"Datei.*Verzeichnis", "Datei.*Verzeichnis"},
    {"[A-Za-z]+verzeichnis[a-z]*", "[A-Za-z]+verzeichnis[a-z]*"},
    {"dotted numbers", kDottedNumbers},
    {"^\\.SH", "^\\.SH"},
    {"werden\\.$", "werden\\.$"},
    {"([a-z]+)-([a-z]+)", "([a-z]+)-([a-z]+)", Mode::kLeaf},
    {"[^a-z]{8}", "[^a-z]{8}", Mode::kPlain, "[^a-z\\n]{8}"},

    {"Datei & Verzeichnis", "Datei & Verzeichnis", Mode::kPlain, nullptr,
     ByHand{.left = {"Datei"}, .right = {"Verzeichnis"}}},
    {"Datei &40 Verzeichnis", "Datei &40 Verzeichnis", Mode::kPlain, nullptr,
     ByHand{.left = {"Datei"}, .right = {"Verzeichnis"}, .nearBy = 40}},
    {"Datei & !Xylophon", "Datei & !Xylophon", Mode::kPlain, nullptr,
     ByHand{.left = {"Datei"}, .right = {"Xylophon"}, .rightExcluded = true}},
    {"Zeiger &40 !Verzeichnis", "Zeiger &40 !Verzeichnis", Mode::kPlain, nullptr,
     ByHand{.left = {"Zeiger"}, .right = {"Verzeichnis"}, .nearBy = 40, .rightExcluded = true}},
    {"sounds like \"Meier\"", "Meier", Mode::kPhonetic},
};

}  // namespace

std::span<const Row> Rows() {
  return kRows;
}

}  // namespace trovex::bench
