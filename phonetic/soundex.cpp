// Coding and searching by code.
//
// A place in a text is searched for in one of two ways.
//
// Finding the code anywhere: at every letter that equals the code's first letter a comparison
// begins. Each further letter either adds nothing, or is the code's next digit, or refutes the
// comparison; blanks and line feeds end it. The first start whose comparison completes the code is
// the place. All comparisons run side by side, so the text is read once.
//
// Comparing whole words cuts the text into words first; a word matches when its own code is the one
// searched.

#include "phonetic/soundex.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

namespace trovex {

namespace {

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

/// The first letter of every byte value; zero where there is none.
constexpr std::array<char, 256> kFirstLetter = [] {
  std::array<char, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    if (!kNormalized[byte].empty()) table[byte] = kNormalized[byte].front();
  }
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

/// The first letter of the byte at `p`; zero where it stands for none, hence ends a word.
char FirstLetterAt(const char* p) {
  return kFirstLetter[static_cast<unsigned char>(*p)];
}

/// The first place from `i` on in the zero-terminated `text` whose first letter is `letter`, or the
/// place of the zero.
///
/// A search passes most of its text here, and each place that it stops at is dear by comparison.
std::size_t SkipTo(char letter, const char* text, std::size_t i) {
  while (FirstLetterAt(text + i) != letter && text[i] != '\0')
    ++i;
  return i;
}

/// The characters of `code` up to its end.
std::string_view CodeText(const SoundexCode& code) {
  const auto* const end = std::find(code.begin(), code.end(), '\0');
  return {code.data(), static_cast<std::size_t>(end - code.begin())};
}

/// How a stretch of text agrees with a code, letter by letter. The only state of a comparison is
/// how many characters of the code it has matched: the digit matched last follows from it.
class CodeComparison {
 public:
  explicit CodeComparison(std::string_view code) : code_(code) {}

  /// Whether a comparison begins with `letter`: one character is then matched.
  bool BeginsWith(char letter) const { return letter == code_[0]; }

  /// How many characters are matched after `letter`, when `matched` (at least 1) were before it; 0
  /// when the letter refutes the comparison.
  std::size_t After(std::size_t matched, char letter) const {
    const char digit = DigitOf(letter);
    const char lastDigit = matched == 1 ? DigitOf(code_[0]) : code_[matched - 1];
    if (digit == lastDigit || digit == kNotCoded) return matched;
    if (matched == code_.size() || code_[matched] != digit) return 0;
    return matched + 1;
  }

 private:
  std::string_view code_;
};

/// The comparisons of one search that have begun and are not refuted, each at its own start.
///
/// Two that have matched the same number of characters go the same way for ever, so the one that
/// began first stands for both, and there are never more than the code has characters. One that
/// began later never overtakes, so the first to complete the code is the one that began first.
class OpenComparisons {
 public:
  explicit OpenComparisons(std::string_view code) : comparison_(code), length_(code.size()) {}

  bool None() const { return furthest_ == 0; }
  void Clear() { furthest_ = 0; }

  /// Begins a comparison at `start` if `letter`, the first of its byte, is the code's first.
  void Begin(char letter, std::size_t start) {
    if (!comparison_.BeginsWith(letter)) return;
    if (furthest_ == 0) starts_.fill(kNoStart);
    starts_[1] = std::min(starts_[1], start);
    furthest_ = std::max<std::size_t>(furthest_, 1);
  }

  /// Takes one more letter.
  void Take(char letter) {
    if (DigitOf(letter) == kNotCoded) return;  // most often a vowel, which changes no comparison
    std::size_t furthest = 0;
    for (std::size_t matched = furthest_; matched > 0; --matched) {
      const std::size_t start = std::exchange(starts_[matched], kNoStart);
      const std::size_t after = start == kNoStart ? 0 : comparison_.After(matched, letter);
      if (after == 0) continue;
      starts_[after] = std::min(starts_[after], start);
      furthest = std::max(furthest, after);
    }
    furthest_ = furthest;
  }

  /// Whether a comparison has matched the whole code, and where it began.
  bool IsComplete() const { return furthest_ == length_; }
  std::size_t CompleteStart() const { return starts_[length_]; }

 private:
  static constexpr std::size_t kNoStart = std::numeric_limits<std::size_t>::max();

  CodeComparison comparison_;
  std::size_t length_;
  std::size_t furthest_ = 0;  // the greatest number of matched characters; 0 when there is none
  std::array<std::size_t, kSoundexCodeSize + 1> starts_{};  // by the number of matched characters
};

/// Scans the zero-terminated `text` for `code`, which is not empty: for the first start from which the
/// code is completed before a blank, a line feed or the end.
std::optional<SoundexRange> MatchSoundexCode(const char* text, std::string_view code) {
  OpenComparisons open(code);
  for (std::size_t i = 0;; ++i) {
    if (open.None()) i = SkipTo(code[0], text, i);
    if (text[i] == '\0') return std::nullopt;
    if (text[i] == ' ' || text[i] == '\n') {
      open.Clear();
      continue;
    }
    bool firstOfByte = true;
    for (const char letter : LettersAt(text + i)) {
      if (!open.None()) open.Take(letter);
      if (firstOfByte) open.Begin(letter, i);
      firstOfByte = false;
      if (open.IsComplete()) return SoundexRange{open.CompleteStart(), i + 1};
    }
  }
}

/// Whether the code of the word at `word` is `code`, or agrees with it in all ten characters.
bool MatchSoundexCodeOfWord(const char* word, std::string_view code) {
  const CodeComparison comparison(code);
  std::size_t matched = 0;
  for (; FirstLetterAt(word) != '\0'; ++word) {
    for (const char letter : LettersAt(word)) {
      if (matched == kSoundexCodeSize) return true;
      if (matched > 0) {
        matched = comparison.After(matched, letter);
      } else if (comparison.BeginsWith(letter)) {
        matched = 1;
      }
      if (matched == 0) return false;
    }
  }
  return matched == code.size();
}

/// Finds the first word of the zero-terminated `text` that has `code`. Such a word begins with the
/// code's first letter.
std::optional<SoundexRange> FindWord(const char* text, std::string_view code) {
  for (std::size_t i = SkipTo(code[0], text, 0); text[i] != '\0';
       i = SkipTo(code[0], text, i + 1)) {
    const bool insideWord = i > 0 && FirstLetterAt(text + i - 1) != '\0';
    if (insideWord || !MatchSoundexCodeOfWord(text + i, code)) continue;
    SoundexRange found{i, i + 1};
    while (FirstLetterAt(text + found.end) != '\0')
      ++found.end;
    return found;
  }
  return std::nullopt;
}

}  // namespace

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

std::optional<SoundexRange> FindSoundex(const char* text, const SoundexCode& code,
                                        bool wholeWords) {
  const std::string_view characters = CodeText(code);
  if (characters.empty()) return std::nullopt;
  return wholeWords ? FindWord(text, characters) : MatchSoundexCode(text, characters);
}

}  // namespace trovex
