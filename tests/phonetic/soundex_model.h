// Soundex coding and searching told step by step, a byte and a letter at a time, with the code as
// ten raw bytes. It prepares nothing: every byte's letters are looked for in a list of rows, and
// every word of a text is copied before it is compared.

#ifndef TROVEX_TESTS_PHONETIC_SOUNDEX_MODEL_H
#define TROVEX_TESTS_PHONETIC_SOUNDEX_MODEL_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace trovex::testing {

inline constexpr std::size_t kModelCodeSize = 10;
using ModelCode = std::array<char, kModelCodeSize>;

struct ModelRange {
  int start;
  int end;
};

/// What a byte is spelled as; empty when it stands for nothing.
inline std::string ModelLetters(char byte) {
  struct Row {
    const char* bytes;
    const char* letters;
  };
  static constexpr Row kRows[] = {
      {"\xE4\xC4", "AE"},
      {"\xF6\xD6", "OE"},
      {"\xFC\xDC", "UE"},
      {"\xDF", "SS"},
      {"0", "NULL"},
      {"1", "EINS"},
      {"2", "ZWEI"},
      {"3", "DREI"},
      {"4", "VIER"},
      {"5", "FUENF"},
      {"6", "SECHS"},
      {"7", "SIEBEN"},
      {"8", "ACHT"},
      {"9", "NEUN"},
      {"\xE0\xE1\xE2\xC0\xC1", "A"},
      {"\xE8\xE9\xEA\xC8\xC9", "E"},
      {"\xF2\xF3\xF4\xD2\xD3", "O"},
      {"\xF9\xFA\xFB\xD9\xDA", "U"},
  };
  const auto value = static_cast<signed char>(byte);
  if (value >= 'a' && value <= 'z') return {static_cast<char>(value - 'a' + 'A')};
  if (value >= 'A' && value <= 'Z') return {byte};
  for (const Row& row : kRows) {
    for (const char* p = row.bytes; *p != '\0'; ++p) {
      if (*p == byte) return row.letters;
    }
  }
  return "";
}

/// The digit group of an upper-case letter.
inline char ModelDigit(char letter) {
  const char* const groups[] = {"AEHIOUWY", "BFPV", "CGJKQSXZ", "DT", "L", "MN", "R"};
  for (int digit = 0; digit < 7; ++digit) {
    if (std::string(groups[digit]).find(letter) != std::string::npos) {
      return static_cast<char>('0' + digit);
    }
  }
  return '?';
}

/// The code of `word`, which ends at its first zero byte.
inline ModelCode ModelSoundexCode(const std::string& word) {
  ModelCode out{};
  std::size_t n = 0;
  char last = '?';
  for (const char byte : word) {
    if (byte == '\0') break;
    for (const char letter : ModelLetters(byte)) {
      if (n == 0) {
        out[n++] = letter;
        last = ModelDigit(letter);
      } else if (n < kModelCodeSize && ModelDigit(letter) != last && ModelDigit(letter) != '0') {
        last = ModelDigit(letter);
        out[n++] = last;
      }
    }
  }
  return out;
}

/// Whether the code ends in front of its `i`-th byte.
inline bool ModelCodeEnds(const ModelCode& code, std::size_t i) {
  return i == kModelCodeSize || code[i] == '\0';
}

/// Whether the whole of `word` agrees with `code`.
inline bool ModelWordMatches(const std::string& word, const ModelCode& code) {
  std::size_t i = 0;
  char last = '?';
  for (const char byte : word) {
    for (const char letter : ModelLetters(byte)) {
      if (i == kModelCodeSize) return true;
      const char digit = ModelDigit(letter);
      if (i == 0) {
        if (letter != code[0]) return false;
      } else {
        if (digit == last || digit == '0') continue;
        if (code[i] != digit) return false;
      }
      last = digit;
      ++i;
    }
  }
  return ModelCodeEnds(code, i);
}

/// What became of one candidate: the byte at which it was completed, or the byte at which the walk
/// goes on.
struct ModelCandidate {
  bool completed;
  std::size_t at;
};

/// Walks from `begin`, where the code's first letter may stand. A blank, a line feed or the end
/// gives a candidate up where it stands; a letter that refutes it sends the walk back to the byte
/// after its beginning.
inline ModelCandidate ModelWalkFrom(const std::string& text, std::size_t begin,
                                    const ModelCode& code) {
  const ModelCandidate refuted{false, begin + 1};
  std::size_t i = 0;
  char last = '?';
  for (std::size_t at = begin; at < text.size(); ++at) {
    if (text[at] == ' ' || text[at] == '\n') return {false, at + 1};
    for (const char letter : ModelLetters(text[at])) {
      const char digit = ModelDigit(letter);
      if (i == 0) {
        if (letter != code[0]) return refuted;
      } else {
        if (digit == last || digit == '0') continue;
        if (code[i] != digit) return refuted;
      }
      last = digit;
      ++i;
      if (ModelCodeEnds(code, i)) return {true, at};
    }
    if (i == 0) return refuted;  // the byte stands for nothing
  }
  return {false, text.size()};
}

/// The first match of `code` in `text`, which holds no zero byte.
inline std::optional<ModelRange> ModelSearch(const std::string& text, const ModelCode& code,
                                             bool wholeWords) {
  if (code[0] == '\0') return std::nullopt;
  if (!wholeWords) {
    for (std::size_t begin = 0; begin < text.size();) {
      const ModelCandidate walked = ModelWalkFrom(text, begin, code);
      if (walked.completed) {
        return ModelRange{static_cast<int>(begin), static_cast<int>(walked.at) + 1};
      }
      begin = walked.at;
    }
    return std::nullopt;
  }
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    std::string word;
    while (at < text.size() && !ModelLetters(text[at]).empty())
      word += text[at++];
    if (word.empty()) {
      ++at;
    } else if (ModelWordMatches(word, code)) {
      return ModelRange{static_cast<int>(start), static_cast<int>(at)};
    }
  }
  return std::nullopt;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_PHONETIC_SOUNDEX_MODEL_H
