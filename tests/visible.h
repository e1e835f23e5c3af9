// Bytes as a person can read them in the message of a failed test.

#ifndef TROVEX_TESTS_VISIBLE_H
#define TROVEX_TESTS_VISIBLE_H

#include <string>
#include <string_view>

namespace trovex::testing {

/// `bytes` with every byte that is no visible ASCII character, and every backslash, as "\xHH".
inline std::string Visible(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string visible;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > 32 && byte < 127 && c != '\\') {
      visible += c;
    } else {
      visible.append("\\x").append(1, kDigits[byte / 16]).append(1, kDigits[byte % 16]);
    }
  }
  return visible;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_VISIBLE_H
