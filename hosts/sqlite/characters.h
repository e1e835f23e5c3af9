// Places of a text in characters, counted as SQLite's own functions count them, so that what is found can be
// given to substr(). In valid UTF-8 these are the code points. In broken text a byte below 0xC0 is a character,
// and a byte from 0xC0 on is one together with all continuation bytes after it.

#ifndef TROVEX_HOSTS_SQLITE_CHARACTERS_H
#define TROVEX_HOSTS_SQLITE_CHARACTERS_H

#include <cstddef>
#include <string_view>

namespace trovex::sqlite {

/// Goes forward through a text and tells how many characters begin before a place.
class CharacterCounter {
 public:
  explicit CharacterCounter(std::string_view text) : text_(text) {}

  /// Starts at `other`'s place: for a look ahead, from where the other one stays.
  CharacterCounter(const CharacterCounter& other) = default;
  CharacterCounter& operator=(const CharacterCounter& other) = default;

  /// The number of characters that begin before the byte `place`, which must not be before the place
  /// of the call before.
  std::size_t CountTo(std::size_t place);

 private:
  void CountSlowly(std::size_t end);

  std::string_view text_;
  std::size_t place_ = 0;
  std::size_t count_ = 0;
  /// Whether continuation bytes from here on belong to a character that began before.
  bool isInCharacter_ = false;
};

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_CHARACTERS_H
