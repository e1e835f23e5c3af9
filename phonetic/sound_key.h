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

#include <array>
#include <cstddef>
#include <cstdint>
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

/// Finds all words of a text that sound alike. A word is a whole one, from an edge of letters, digits and
/// underscores of the code page to the next, and holds letters only.
class SoundSearch {
 public:
  /// Finds nothing if `key` is empty.
  explicit SoundSearch(SoundKey key);

  /// Takes `text`, which must stay as it is while it is searched.
  void Begin(TextView text);
  /// Goes on to the next word that sounds alike and writes its range; false if there is none. Allocates
  /// nothing.
  bool Next(ByteRange& word);

 private:
  static constexpr std::size_t kBlock = 64;

  std::uint64_t BeginningsInBlock() const;
  std::size_t EndIfAlike(std::size_t begin) const;

  SoundKey key_;
  std::array<unsigned char, 256> kinds_{};  // of each byte; see sound_key.cpp
  TextView text_;
  std::size_t block_ = 0;  // where the block at hand begins
  std::uint64_t beginnings_ =
      0;  // of words in it that are still to be looked at, a bit for each byte
};

}  // namespace trovex

#endif  // TROVEX_PHONETIC_SOUND_KEY_H
