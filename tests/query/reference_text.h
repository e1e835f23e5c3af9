// A text as characters, decoded in the most trivial way: the yardstick for the second door.

#ifndef TROVEX_TESTS_QUERY_REFERENCE_TEXT_H
#define TROVEX_TESTS_QUERY_REFERENCE_TEXT_H

#include <cstddef>
#include <string_view>
#include <vector>

namespace trovex::testing {

/// A character that the code page lacks.
inline constexpr int kForeign = 256;

/// One character: its byte in the code page, or `kForeign`, and the bytes of the text that it stands for.
struct Character {
  int code;
  std::size_t begin;
  std::size_t end;
};

using Characters = std::vector<Character>;

Characters ReadUtf8(std::string_view text);
Characters ReadLatin1(std::string_view text);

/// Whether the five bytes that the code page leaves undefined include `byte`.
bool IsUndefined(int byte);
bool IsWordCharacter(int code);
int LowerCase(int code);
int UpperCase(int code);

/// The UTF-8 bytes of the character `code` of the code page, below 128 or from 160 on.
std::string_view Utf8Of(int code);

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_QUERY_REFERENCE_TEXT_H
