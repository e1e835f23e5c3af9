// Reading words by the rules of sound.
//
// Words are compared while they are read: at the first sound that differs from the key's a word is given
// up. Most need not be looked at, for from their first letter the key's first sound cannot come.

#include "phonetic/sound_key.h"

#include "phonetic/sound_rules.h"
#include "text/code_page.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace trovex {

namespace {

// Letters, as the rules have them: a to z, and the four after z.

constexpr char kFirstLetter = 'a';
constexpr std::size_t kLetterCount = 30;
constexpr char kNoLetter = '\0';

/// What a letter of the code page beyond ASCII is read as. š and ž are read as their base
/// letters: no single letter stands for their sound.
struct LetterReading {
  unsigned char upper;
  unsigned char lower;
  char letter;
};
constexpr LetterReading kReadings[] = {
    {0xC4, 0xE4, '{'}, {0xD6, 0xF6, '|'}, {0xDC, 0xFC, '}'}, {0xDF, 0xDF, '~'}, {0xC6, 0xE6, '{'},
    {0x8C, 0x9C, '|'}, {0xD8, 0xF8, '|'}, {0xC0, 0xE0, 'a'}, {0xC1, 0xE1, 'a'}, {0xC2, 0xE2, 'a'},
    {0xC3, 0xE3, 'a'}, {0xC5, 0xE5, 'o'}, {0xC7, 0xE7, 's'}, {0xC8, 0xE8, 'e'}, {0xC9, 0xE9, 'e'},
    {0xCA, 0xEA, 'e'}, {0xCB, 0xEB, 'e'}, {0xCC, 0xEC, 'i'}, {0xCD, 0xED, 'i'}, {0xCE, 0xEE, 'i'},
    {0xCF, 0xEF, 'i'}, {0xD0, 0xF0, 'd'}, {0xD1, 0xF1, 'n'}, {0xD2, 0xF2, 'o'}, {0xD3, 0xF3, 'o'},
    {0xD4, 0xF4, 'o'}, {0xD5, 0xF5, 'o'}, {0xD9, 0xF9, 'u'}, {0xDA, 0xFA, 'u'}, {0xDB, 0xFB, 'u'},
    {0xDD, 0xFD, 'y'}, {0x9F, 0xFF, 'y'}, {0xDE, 0xFE, 't'}, {0x8A, 0x9A, 's'}, {0x8E, 0x9E, 's'}};

/// The letter of the rules that each byte is read as; `kNoLetter` for all that are none.
constexpr std::array<char, 256> kLetters = [] {
  std::array<char, 256> letters{};
  const auto add = [&letters](unsigned char upper, unsigned char lower, char letter) {
    letters[upper] = letter;
    letters[lower] = letter;
  };
  for (char c = 'a'; c <= 'z'; ++c)
    add(static_cast<unsigned char>(c - 'a' + 'A'), static_cast<unsigned char>(c), c);
  for (const LetterReading& reading : kReadings)
    add(reading.upper, reading.lower, reading.letter);
  return letters;
}();

char ReadLetter(unsigned char byte) {
  return kLetters[byte];
}

/// A set of letters or sounds, which are all below 128.
class SmallSet {
 public:
  constexpr explicit SmallSet(std::string_view members) {
    for (const char member : members)
      holds_[static_cast<unsigned char>(member)] = true;
  }
  constexpr bool Holds(char c) const { return holds_[static_cast<unsigned char>(c)]; }

 private:
  std::array<bool, 128> holds_{};
};

constexpr SmallSet kVowels("aeiouy{|}");
constexpr SmallSet kSoftNeighbours("lrnj");  // before them a consonant does not harden

constexpr bool IsVowel(char letter) {
  return kVowels.Holds(letter);
}
constexpr bool IsConsonant(char letter) {
  return letter != kNoLetter && !IsVowel(letter);
}

/// Whether `letter`, `kNoLetter` at the end of the word, is what `asked` names; see SoundRule.
constexpr bool IsAsked(char asked, char letter) {
  switch (asked) {
    case 'V':
      return IsVowel(letter);
    case 'C':
      return IsConsonant(letter);
    case 'K':
      return IsConsonant(letter) && letter != 'l';
    case 'H':
      return IsConsonant(letter) && !kSoftNeighbours.Holds(letter);
    case '$':
      return letter == kNoLetter;
    default:
      return letter == asked;
  }
}

// The rules by the letter that they begin with.

struct RuleRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

constexpr std::size_t kRuleCount = std::size(kSoundRules);

constexpr std::size_t IndexOf(char letter) {
  return static_cast<std::size_t>(letter - kFirstLetter);
}

constexpr std::array<RuleRange, kLetterCount> kRulesOf = [] {
  std::array<RuleRange, kLetterCount> ranges{};
  for (std::size_t rule = 0; rule < kRuleCount; ++rule) {
    RuleRange& range = ranges[IndexOf(kSoundRules[rule].letters.front())];
    if (range.end == 0) range.begin = rule;
    range.end = rule + 1;
  }
  return ranges;
}();

/// Whether the rules of every letter stand together and the last of them fits everywhere, so that each
/// letter is read by some rule.
constexpr bool RulesAreComplete() {
  for (std::size_t letter = 0; letter < kLetterCount; ++letter) {
    const RuleRange range = kRulesOf[letter];
    if (range.end == 0) return false;
    for (std::size_t rule = range.begin; rule < range.end; ++rule) {
      if (IndexOf(kSoundRules[rule].letters.front()) != letter) return false;
    }
    const SoundRule& last = kSoundRules[range.end - 1];
    if (last.letters.size() != 1 || last.before != Before::kAnything || !last.after.empty()) {
      return false;
    }
  }
  return true;
}
static_assert(RulesAreComplete());

constexpr SmallSet kVowelSounds("aeiou|}AYW");
constexpr SmallSet kDiphthongSounds("AYW");
/// After these an e fades before l and n.
constexpr SmallSet kWeakSounds("bdfgkpstwxSmN");

/// Reads a word, sound by sound.
class WordReader {
 public:
  explicit WordReader(std::string_view word) : word_(word) {}

  bool IsDone() const { return place_ == word_.size(); }

  /// Passes over the next letters that a rule fits and returns their sounds, without one that only
  /// doubles the sound before.
  std::string_view Read() {
    const SoundRule& rule = NextRule();
    place_ += rule.letters.size();
    std::string_view sounds = rule.sounds;
    if (!sounds.empty() && sounds.front() == last_) sounds.remove_prefix(1);
    for (const char sound : sounds) {
      if (kVowelSounds.Holds(sound)) ++vowels_;
      last_ = sound;
    }
    return sounds;
  }

 private:
  /// The letter at `place`; none at the end of the word.
  char LetterAt(std::size_t place) const {
    return place < word_.size() ? ReadLetter(static_cast<unsigned char>(word_[place])) : kNoLetter;
  }
  char LetterBefore() const { return place_ > 0 ? LetterAt(place_ - 1) : kNoLetter; }

  const SoundRule& NextRule() const {
    const RuleRange range = kRulesOf[IndexOf(LetterAt(place_))];
    std::size_t rule = range.begin;
    while (rule + 1 < range.end && !Fits(kSoundRules[rule]))
      ++rule;
    return kSoundRules[rule];
  }

  bool Fits(const SoundRule& rule) const {
    for (std::size_t i = 1; i < rule.letters.size(); ++i) {
      if (LetterAt(place_ + i) != rule.letters[i]) return false;
    }
    return FitsBefore(rule.before) && FitsAfter(rule.after, place_ + rule.letters.size());
  }

  bool FitsBefore(Before before) const {
    switch (before) {
      case Before::kAnything:
        return true;
      case Before::kBeginning:
        return place_ == 0;
      case Before::kVowel:
        return IsVowel(LetterBefore());
      case Before::kConsonant:
        return IsConsonant(LetterBefore());
      case Before::kDiphthong:
        return kDiphthongSounds.Holds(last_);
      case Before::kWeakPlace:
        return vowels_ > 0 && kWeakSounds.Holds(last_);
      case Before::kEndingI:
        return LetterBefore() == 'i' && last_ == 'i' && vowels_ > 1;
    }
    return false;
  }

  /// Whether what stands from `place` on is one of the alternatives of `after`.
  bool FitsAfter(std::string_view after, std::size_t place) const {
    if (after.empty()) return true;
    std::size_t next = place;
    bool fits = true;
    for (const char asked : after) {
      if (asked == ' ') {
        if (fits) return true;
        next = place;
        fits = true;
      } else {
        fits = fits && IsAsked(asked, LetterAt(next++));
      }
    }
    return fits;
  }

  std::string_view word_;
  std::size_t place_ = 0;
  char last_ = kNoLetter;  // the last sound
  int vowels_ = 0;         // heard so far
};

/// Whether `word`, which holds letters only, has the sounds `key`.
bool SoundsLike(std::string_view word, std::string_view key) {
  WordReader reader(word);
  while (!reader.IsDone()) {
    const std::string_view sounds = reader.Read();
    if (!key.starts_with(sounds)) return false;
    key.remove_prefix(sounds.size());
  }
  return key.empty();
}

/// Whether a word that begins with `letter` may begin with `sound`.
bool CanSoundAs(char letter, char sound) {
  const RuleRange range = kRulesOf[IndexOf(letter)];
  return std::any_of(
      kSoundRules + range.begin, kSoundRules + range.end, [&](const SoundRule& rule) {
        const bool mayFit = rule.before == Before::kAnything || rule.before == Before::kBeginning;
        return mayFit && (rule.sounds.empty() || rule.sounds.front() == sound);
      });
}

// The kinds of bytes.
constexpr unsigned char kOfWord = 1;  // belongs to words
constexpr unsigned char kLetter = 2;  // a letter that sounds

}  // namespace

SoundKey MakeSoundKey(std::string_view word) {
  SoundKey key;
  const bool sounds = std::all_of(word.begin(), word.end(), [](char c) {
    return ReadLetter(static_cast<unsigned char>(c)) != kNoLetter;
  });
  if (!sounds) return key;
  for (WordReader reader(word); !reader.IsDone();)
    key.sounds += reader.Read();
  return key;
}

std::string DescribeSoundKey(const SoundKey& key) {
  static constexpr std::pair<char, std::string_view> kSpelled[] = {
      {'A', "ai"}, {'Y', "oi"}, {'W', "au"}, {'S', "sch"},
      {'x', "ch"}, {'N', "ng"}, {'|', "ö"},  {'}', "ü"}};
  std::string described;
  for (const char sound : key.sounds) {
    if (!described.empty()) described += ' ';
    const auto* const spelled = std::find_if(std::begin(kSpelled), std::end(kSpelled),
                                             [&](const auto& row) { return row.first == sound; });
    if (spelled != std::end(kSpelled)) {
      described += spelled->second;
    } else {
      described += sound;
    }
  }
  return described;
}

SoundMatcher::SoundMatcher(SoundKey key) : key_(std::move(key)) {
  for (std::size_t byte = 0; byte < kinds_.size(); ++byte) {
    const auto c = static_cast<unsigned char>(byte);
    const char letter = ReadLetter(c);
    unsigned char kind = IsCodePageWord(c) ? kOfWord : 0;
    if (letter != kNoLetter) kind |= kLetter;
    kinds_[byte] = kind;
    beginnings_[byte] =
        letter != kNoLetter && !key_.sounds.empty() && CanSoundAs(letter, key_.sounds.front());
  }
}

std::size_t SoundMatcher::EndIfAlike(TextView text, std::size_t begin) const {
  std::size_t end = begin;
  unsigned kinds = kLetter;  // what all its bytes have in common
  for (; end < text.size() && (kinds_[text[end]] & kOfWord) != 0; ++end)
    kinds &= kinds_[text[end]];
  const char* const letters = reinterpret_cast<const char*>(text.data() + begin);
  const bool isAlike = kinds != 0 && SoundsLike({letters, end - begin}, key_.sounds);
  return isAlike ? end : kNowhere;
}

}  // namespace trovex
