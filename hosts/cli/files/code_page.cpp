// Reading and writing UTF-8, and the code page's table.

#include "hosts/cli/files/code_page.h"

#include <iconv.h>
#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace trovex::cli {

namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

/// A conversion of iconv, closed at the end of its life.
class Converter {
 public:
  Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
  ~Converter() {
    if (IsOpen()) iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool IsOpen() const { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

  /// Null when `text` has no counterpart.
  std::optional<std::string> Convert(std::string_view text) {
    std::string source(text);
    char* in = source.data();
    std::size_t inLeft = source.size();
    std::string result;
    while (inLeft > 0) {
      char chunk[256];
      char* out = chunk;
      std::size_t outLeft = sizeof chunk;
      const std::size_t status = iconv(handle_, &in, &inLeft, &out, &outLeft);
      if (status == static_cast<std::size_t>(-1) && errno != E2BIG) return std::nullopt;
      result.append(chunk, sizeof chunk - outLeft);
    }
    return result;
  }

 private:
  iconv_t handle_;
};

constexpr bool IsContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

/// What the first byte of a UTF-8 character tells: how many bytes there are, the bits that the
/// first one holds, and the smallest number that needs so many.
struct LeadByte {
  int length;
  char32_t bits;
  char32_t least;
};

constexpr LeadByte ReadLeadByte(unsigned char c) {
  if (c < 0x80) return {1, c, 0};
  if (c >= 0xC2 && c < 0xE0) return {2, c & 0x1FU, 0x80};
  if (c >= 0xE0 && c < 0xF0) return {3, c & 0x0FU, 0x800};
  if (c >= 0xF0 && c < 0xF5) return {4, c & 0x07U, 0x10000};
  return {0, 0, 0};
}

}  // namespace

Utf8Character ReadUtf8(std::string_view text) {
  constexpr Utf8Character kInvalid{kReplacementCharacter, 1, false};
  const LeadByte lead = ReadLeadByte(static_cast<unsigned char>(text.front()));
  if (lead.length == 0 || text.size() < static_cast<std::size_t>(lead.length)) return kInvalid;
  char32_t code = lead.bits;
  for (std::size_t i = 1; i < static_cast<std::size_t>(lead.length); ++i) {
    if (!IsContinuation(text[i])) return kInvalid;
    code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3FU);
  }
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < lead.least || code > 0x10FFFF || surrogate) return kInvalid;
  return {code, lead.length, true};
}

std::size_t AsciiPrefixLength(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::size_t i = 0;
  for (std::uint64_t word; i + sizeof word <= text.size(); i += sizeof word) {
    std::memcpy(&word, text.data() + i, sizeof word);
    if (std::endian::native == std::endian::little && (word & kHighBits) != 0)
      return i + static_cast<std::size_t>(std::countr_zero(word & kHighBits)) / 8;
    if ((word & kHighBits) != 0) break;
  }
  while (i < text.size() && static_cast<unsigned char>(text[i]) < 0x80)
    ++i;
  return i;
}

void AppendUtf8(char32_t code, std::string& out) {
  const auto add = [&out](char32_t byte) { out += static_cast<char>(byte); };
  if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xC0 | code >> 6);
    add(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    add(0xE0 | code >> 12);
    add(0x80 | (code >> 6 & 0x3F));
    add(0x80 | (code & 0x3F));
  } else {
    add(0xF0 | code >> 18);
    add(0x80 | (code >> 12 & 0x3F));
    add(0x80 | (code >> 6 & 0x3F));
    add(0x80 | (code & 0x3F));
  }
}

std::optional<std::string> ConvertToUtf8(std::string_view text, const char* encoding) {
  Converter converter("UTF-8", encoding);
  if (!converter.IsOpen()) return std::nullopt;
  return converter.Convert(text);
}

CodePage::CodePage() {
  // What the bytes 0x80 to 0x9F stand for; zero where there is no character.
  constexpr std::array<char16_t, 32> kMiddle = {
      0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,       //
      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
  for (char32_t value = 0; value < 256; ++value) {
    char32_t code = value;
    if (value >= 0x80 && value < 0xA0) code = kMiddle[value - 0x80];
    const bool exists = code != 0 || value == 0;
    AppendUtf8(exists ? code : kReplacementCharacter, utf8_[value]);
    if (exists && value >= 0x80) bytes_.emplace_back(code, static_cast<char>(value));
  }
  std::sort(bytes_.begin(), bytes_.end());
}

const CodePage& CodePage::Get() {
  static const CodePage codePage;
  return codePage;
}

std::optional<char> CodePage::ByteFor(char32_t code) const {
  if (code < 0x80) return static_cast<char>(code);
  const auto less = [](const std::pair<char32_t, char>& entry, char32_t c) {
    return entry.first < c;
  };
  const auto found = std::lower_bound(bytes_.begin(), bytes_.end(), code, less);
  if (found == bytes_.end() || found->first != code) return std::nullopt;
  return found->second;
}

std::string CodePage::ToUtf8(std::string_view text) const {
  std::string result;
  result.reserve(text.size() + text.size() / 8);
  while (!text.empty()) {
    const std::size_t ascii = AsciiPrefixLength(text);
    result.append(text.substr(0, ascii));
    text.remove_prefix(ascii);
    if (text.empty()) break;
    result.append(Utf8For(text.front()));
    text.remove_prefix(1);
  }
  return result;
}

}  // namespace trovex::cli
