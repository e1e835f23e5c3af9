// Coding and searching by code.
//
// A place in a text is searched for in one of two ways. Finding the code anywhere walks the text
// with one candidate at a time: the letter that equals the code's first letter opens a candidate,
// each further letter either adds nothing, completes the next digit, or refutes the candidate, and
// then the walk resumes at the byte behind the candidate. Blanks and line feeds end a candidate.
// Comparing whole words cuts the text into words first; a word matches when its own code is the one
// searched.

#include "phonetic/soundex.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace trovex {

namespace {

constinit SoundexState soundexState;

/// The digit of each letter from A to Z; '0' is not coded.
constexpr std::string_view kDigits = "01230120022455012623010202";

constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

struct Replacement {
  unsigned char byte;
  std::string_view letters;
};

/// What bytes other than letters stand for. Upper-case vowels with a circumflex, every accented i,
/// and letters such as ç or ñ are left out on purpose: they stand for nothing and end a word.
constexpr Replacement kReplacements[] = {
    {228, "AE"},    {246, "OE"},     {252, "UE"},   {196, "AE"},   {214, "OE"},   {220, "UE"},
    {223, "SS"},    {'1', "EINS"},   {'2', "ZWEI"}, {'3', "DREI"}, {'4', "VIER"}, {'5', "FUENF"},
    {'6', "SECHS"}, {'7', "SIEBEN"}, {'8', "ACHT"}, {'9', "NEUN"}, {'0', "NULL"}, {224, "A"},
    {226, "A"},     {225, "A"},      {232, "E"},    {234, "E"},    {233, "E"},    {242, "O"},
    {244, "O"},     {243, "O"},      {249, "U"},    {251, "U"},    {250, "U"},    {192, "A"},
    {193, "A"},     {200, "E"},      {201, "E"},    {210, "O"},    {211, "O"},    {217, "U"},
    {218, "U"}};

/// The letters of every byte value.
constexpr std::array<std::string_view, 256> kNormalized = [] {
  std::array<std::string_view, 256> table{};
  for (std::size_t i = 0; i < kLetters.size(); ++i) {
    const std::string_view letter = kLetters.substr(i, 1);
    table[static_cast<unsigned char>(letter[0])] = letter;
    table[static_cast<unsigned char>(letter[0]) + ('a' - 'A')] = letter;
  }
  for (const Replacement& row : kReplacements)
    table[row.byte] = row.letters;
  return table;
}();

constexpr char kNotCoded = '0';

/// The digit of `letter`, which is one from A to Z.
constexpr char DigitOf(char letter) {
  return kDigits[static_cast<std::size_t>(letter - 'A')];
}

std::string_view LettersAt(const char* p) {
  return kNormalized[static_cast<unsigned char>(*p)];
}

/// The characters of `code` up to its end.
std::string_view CodeText(const SoundexCode& code) {
  const auto* const end = std::find(code.begin(), code.end(), '\0');
  return {code.data(), static_cast<std::size_t>(end - code.begin())};
}

struct TextRange {
  std::size_t start;
  std::size_t end;
};

/// What one letter does to a comparison with a code.
enum class Step { kNothing, kAdvanced, kRefuted };

/// How far a stretch of text agrees with a code.
struct Comparison {
  std::size_t matched = 0;  // characters of the code
  char lastDigit = kNotCoded;

  Step Take(char letter, std::string_view code) {
    const char digit = DigitOf(letter);
    if (matched == 0) {
      if (letter != code[0]) return Step::kRefuted;
    } else {
      if (digit == lastDigit || digit == kNotCoded) return Step::kNothing;
      if (matched == code.size() || code[matched] != digit) return Step::kRefuted;
    }
    lastDigit = digit;
    ++matched;
    return Step::kAdvanced;
  }
};

/// Finds `code`, which is not empty, anywhere in the zero-terminated `text`.
bool FindCode(const char* text, std::string_view code, TextRange& found) {
  Comparison comparison;
  std::size_t candidate = 0;
  for (std::size_t i = 0; text[i] != '\0'; ++i) {
    if (text[i] == ' ' || text[i] == '\n') {
      comparison = {};
      continue;
    }
    for (const char letter : LettersAt(text + i)) {
      const bool opens = comparison.matched == 0;
      const Step step = comparison.Take(letter, code);
      if (step == Step::kRefuted) {
        // The walk resumes behind the candidate, or behind this byte when there was none yet.
        if (!opens) i = candidate;
        comparison = {};
        break;
      }
      if (opens) candidate = i;
      if (step == Step::kAdvanced && comparison.matched == code.size()) {
        found = {candidate, i + 1};
        return true;
      }
    }
  }
  return false;
}

/// Whether the code of `word` is `code`, or agrees with it in all ten characters.
bool WordHasCode(std::string_view word, std::string_view code) {
  Comparison comparison;
  for (const char c : word) {
    for (const char letter : NormalizeSoundexChar(static_cast<unsigned char>(c))) {
      if (comparison.matched == kSoundexCodeSize) return true;
      if (comparison.Take(letter, code) == Step::kRefuted) return false;
    }
  }
  return comparison.matched == code.size();
}

/// Finds the first word of the zero-terminated `text` that has `code`.
bool FindWord(const char* text, std::string_view code, TextRange& found) {
  for (std::size_t i = 0; text[i] != '\0';) {
    if (LettersAt(text + i).empty()) {
      ++i;
      continue;
    }
    const std::size_t start = i;
    while (!LettersAt(text + i).empty())
      ++i;
    if (WordHasCode({text + start, i - start}, code)) {
      found = {start, i};
      return true;
    }
  }
  return false;
}

}  // namespace

SoundexState& Soundex() {
  return soundexState;
}

std::string_view NormalizeSoundexChar(unsigned char c) {
  return kNormalized[c];
}

SoundexCode MakeSoundexCode(std::string_view word) {
  SoundexCode code{};
  std::size_t written = 0;
  char lastDigit = kNotCoded;
  for (const char c : word) {
    for (const char letter : NormalizeSoundexChar(static_cast<unsigned char>(c))) {
      if (written == code.size()) return code;
      const char digit = DigitOf(letter);
      if (written > 0 && (digit == lastDigit || digit == kNotCoded)) continue;
      code[written] = written == 0 ? letter : digit;
      lastDigit = digit;
      ++written;
    }
  }
  return code;
}

}  // namespace trovex

int CompileSoundex(const char* word, int wordMode) {
  trovex::SoundexState& soundex = trovex::Soundex();
  soundex.wordMode = wordMode;
  if (word == nullptr) return 0;
  soundex.code = trovex::MakeSoundexCode(word);
  return soundex.code[0];
}

int SearchSoundex(const char* text, int* start, int* end) {
  const trovex::SoundexState& soundex = trovex::Soundex();
  const std::string_view code = trovex::CodeText(soundex.code);
  if (text == nullptr || start == nullptr || end == nullptr || code.empty()) return 0;
  trovex::TextRange found{};
  if (soundex.wordMode != 0 ? !trovex::FindWord(text, code, found)
                            : !trovex::FindCode(text, code, found)) {
    return 0;
  }
  if (found.end > static_cast<std::size_t>(std::numeric_limits<int>::max())) return 0;
  *start = static_cast<int>(found.start);
  *end = static_cast<int>(found.end);
  return 1;
}

void GetSoundexEnvironment(SoundexEnvironmentRecord* record, int* wordMode) {
  if (record == nullptr || wordMode == nullptr) return;
  const trovex::SoundexState& soundex = trovex::Soundex();
  std::copy(soundex.code.begin(), soundex.code.end(), record->code);
  *wordMode = soundex.wordMode;
}

void SetSoundexEnvironment(const SoundexEnvironmentRecord* record, int wordMode) {
  if (record == nullptr) return;
  trovex::SoundexState& soundex = trovex::Soundex();
  std::copy_n(record->code, soundex.code.size(), soundex.code.begin());
  soundex.wordMode = wordMode;
}
