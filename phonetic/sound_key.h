// What a German word sounds like, for telling words that sound alike.
//
// The letters are read by the rules of sound_rules.h, and what comes of them, a row of sounds, is the
// word's key. Two words are alike when their keys are equal. Unlike the Soundex code, which keeps the
// first letter and throws the vowels away, a key has all the sounds of a word: "Meier" is "mAr", as
// "Mayr" is, and "Meter" is not. It is made for finding names in running text, where a key that is shared
// by one word in a hundred is of no use.

#ifndef TROVEX_PHONETIC_SOUND_KEY_H
#define TROVEX_PHONETIC_SOUND_KEY_H

#include "text/byte_range.h"
#include "text/char_set.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace trovex {

/// The sounds of a word, one byte each as sound_rules.h names them; empty where there is no key.
struct SoundKey {
  std::string sounds;

  bool operator==(const SoundKey&) const = default;
};

/// The key of `word`, in bytes of the code page. Empty for an empty word and for one in which anything but
/// letters stands: no word sounds like that.
SoundKey MakeSoundKey(std::string_view word);

/// The sounds of `key` in UTF-8, to be shown: diphthongs and "sch" spelled out, "ai" "oi" "au" "sch" "ch"
/// "ng", apart by blanks.
std::string DescribeSoundKey(const SoundKey& key);

/// Says of words whether they sound like one. A word is a whole one, from an edge of letters, digits and
/// underscores of the code page to the next, and holds letters only. Never changes.
class SoundMatcher {
 public:
  /// No word sounds like it if `key` is empty.
  explicit SoundMatcher(SoundKey key);

  /// The letters with which a word may begin that sounds alike.
  const CharSet& Beginnings() const { return beginnings_; }

  /// The end of the word of `text` that begins at `begin`, with one of `Beginnings()`, if it sounds alike;
  /// else kNowhere.
  std::size_t EndIfAlike(TextView text, std::size_t begin) const;

 private:
  SoundKey key_;
  CharSet beginnings_;
  std::array<unsigned char, 256> kinds_{};  // of each byte; see sound_key.cpp
};

}  // namespace trovex

#endif  // TROVEX_PHONETIC_SOUND_KEY_H
