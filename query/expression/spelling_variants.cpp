// Typed letters are spelled out first. What is then written as one letter where two of the spelled
// out stand side by side, is an alternative to the two.

#include "query/expression/spelling_variants.h"

#include "text/code_page.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace trovex {

namespace {

constexpr unsigned char kSharpS = 0xDF;
constexpr unsigned char kSmallA = 0xE4;  // with its two dots
constexpr unsigned char kSmallO = 0xF6;
constexpr unsigned char kSmallU = 0xFC;

/// The cases in which a letter may be written.
enum class LetterCase : unsigned char { kLower, kUpper, kEither };

/// A letter after spelling out: without its accent, in lower case.
struct SpelledLetter {
  unsigned char base;
  LetterCase letterCase;
};

/// A small letter of the page without its accent. Umlauts and ß stay as they are.
unsigned char WithoutAccent(unsigned char small) {
  struct Accented {
    unsigned char base;
    std::string_view letters;
  };
  static constexpr std::array<Accented, 10> kAccented = {{
      {'a', "\xE0\xE1\xE2\xE3\xE5"},
      {'c', "\xE7"},
      {'e', "\xE8\xE9\xEA\xEB"},
      {'i', "\xEC\xED\xEE\xEF"},
      {'n', "\xF1"},
      {'o', "\xF2\xF3\xF4\xF5"},
      {'s', "\x9A"},
      {'u', "\xF9\xFA\xFB"},
      {'y', "\xFD\xFF"},
      {'z', "\x9E"},
  }};
  for (const Accented& accented : kAccented) {
    if (accented.letters.find(static_cast<char>(small)) != std::string_view::npos) {
      return accented.base;
    }
  }
  return small;
}

/// The letters that each small letter is without its accent stands for, of both cases.
const std::array<CharSet, 256>& LettersByBase() {
  static const std::array<CharSet, 256> letters = [] {
    std::array<CharSet, 256> table;
    for (unsigned c = 0; c < 256; ++c) {
      const unsigned char small = CodePageLower(static_cast<unsigned char>(c));
      table[WithoutAccent(small)].set(c);
    }
    return table;
  }();
  return letters;
}

class Speller {
 public:
  Speller(bool caseSensitive, SyntaxBuilder& builder)
      : caseSensitive_(caseSensitive), builder_(builder) {}

  void Spell(std::string_view letters, std::vector<int>& sequence) {
    for (const char letter : letters)
      SpellOut(static_cast<unsigned char>(letter));
    for (std::size_t i = 0; i < spelled_.size();) {
      const std::size_t end = RunEnd(i);
      Append(i, end, sequence);
      i = end;
    }
  }

 private:
  void SpellOut(unsigned char letter) {
    const unsigned char small = CodePageLower(letter);
    const bool upper = small != letter;
    const LetterCase first = upper ? LetterCase::kUpper : LetterCase::kLower;
    const LetterCase second = upper ? LetterCase::kEither : LetterCase::kLower;
    switch (small) {
      case kSmallA:
        return Add('a', first, 'e', second);
      case kSmallO:
        return Add('o', first, 'e', second);
      case kSmallU:
        return Add('u', first, 'e', second);
      case kSharpS:
        return Add('s', first, 's', second);
      default:
        spelled_.push_back({WithoutAccent(small), first});
    }
  }
  void Add(unsigned char one, LetterCase oneCase, unsigned char two, LetterCase twoCase) {
    spelled_.push_back({one, oneCase});
    spelled_.push_back({two, twoCase});
  }

  /// The letters that may be written for the spelled letters `i` and `i` + 1 together.
  CharSet Together(std::size_t i) const {
    const SpelledLetter one = spelled_[i];
    const SpelledLetter two = spelled_[i + 1];
    if (two.base != (one.base == 's' ? 's' : 'e')) return {};
    const unsigned char small = one.base == 'a'   ? kSmallA
                                : one.base == 'o' ? kSmallO
                                : one.base == 'u' ? kSmallU
                                : one.base == 's' ? kSharpS
                                                  : 0;
    if (small == 0) return {};
    const unsigned char large = CodePageUpper(small);
    if (!caseSensitive_) return CharSet().set(small).set(large);
    if (one.letterCase == LetterCase::kUpper) {
      return small == large ? CharSet() : CharSet().set(large);
    }
    return two.letterCase == LetterCase::kUpper ? CharSet() : CharSet().set(small);
  }

  CharSet Alone(std::size_t i) const {
    const SpelledLetter letter = spelled_[i];
    CharSet set = LettersByBase()[letter.base];
    if (!caseSensitive_ || letter.letterCase == LetterCase::kEither) return set;
    for (unsigned c = 0; c < set.size(); ++c) {
      const bool upper = CodePageLower(static_cast<unsigned char>(c)) != c;
      if (upper != (letter.letterCase == LetterCase::kUpper)) set.reset(c);
    }
    return set;
  }

  /// Where the letters end of which each may be written together with the next.
  std::size_t RunEnd(std::size_t begin) const {
    std::size_t end = begin + 1;
    while (end < spelled_.size() && end - begin < kLongestSharpRun && Together(end - 1).any())
      ++end;
    return end;
  }

  /// Appends all ways to write the letters from `begin` to `end`: those in which the two in the
  /// middle are written apart, and those in which they are written together.
  void Append(std::size_t begin, std::size_t end, std::vector<int>& sequence) {
    if (begin == end) return;
    if (end - begin == 1) {
      sequence.push_back(builder_.AddSet(Alone(begin)));
      return;
    }
    const std::size_t middle = begin + (end - begin) / 2;
    std::vector<int> apart;
    Append(begin, middle, apart);
    Append(middle, end, apart);
    std::vector<int> together;
    Append(begin, middle - 1, together);
    together.push_back(builder_.AddSet(Together(middle - 1)));
    Append(middle + 1, end, together);
    const int one = builder_.Join(SyntaxKind::kConcat, apart);
    const int other = builder_.Join(SyntaxKind::kConcat, together);
    sequence.push_back(builder_.Join(SyntaxKind::kAlternate, {one, other}));
  }

  bool caseSensitive_;
  SyntaxBuilder& builder_;
  std::vector<SpelledLetter> spelled_;
};

}  // namespace

void AppendSpellings(std::string_view letters, bool caseSensitive, SyntaxBuilder& builder,
                     std::vector<int>& sequence) {
  Speller(caseSensitive, builder).Spell(letters, sequence);
}

}  // namespace trovex
