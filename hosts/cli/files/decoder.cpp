// Three ways to decode: units of 16 or 32 bits by themselves, single bytes by a table that iconv has
// filled once, and everything else through iconv.
//
// UTF-16 and UTF-32 without a byte order mark are recognised by the zero bytes that ordinary letters
// have there. To be taken for such a text, all that is seen must be text in that encoding.

#include "hosts/cli/files/decoder.h"

#include <iconv.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

namespace trovex::cli {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(char32_t character, std::string& out) {
  const auto byte = [&out](char32_t value) { out += static_cast<char>(value); };
  if (character < 0x80) {
    byte(character);
  } else if (character < 0x800) {
    byte(0xC0 | character >> 6);
    byte(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    byte(0xE0 | character >> 12);
    byte(0x80 | (character >> 6 & 0x3F));
    byte(0x80 | (character & 0x3F));
  } else {
    byte(0xF0 | character >> 18);
    byte(0x80 | (character >> 12 & 0x3F));
    byte(0x80 | (character >> 6 & 0x3F));
    byte(0x80 | (character & 0x3F));
  }
}

std::size_t CountCharacters(std::string_view utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

/// How the units of UTF-16 or UTF-32 lie in a file.
struct UnitForm {
  std::size_t size = 2;  // 2 or 4 bytes
  bool bigEndian = false;
};

char32_t UnitAt(const char* bytes, UnitForm form) {
  char32_t unit = 0;
  for (std::size_t i = 0; i < form.size; ++i) {
    const std::size_t at = form.bigEndian ? i : form.size - 1 - i;
    unit = unit << 8 | static_cast<unsigned char>(bytes[at]);
  }
  return unit;
}

bool IsHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

/// Reads one character at the front of `bytes` and takes it away; null when it is cut off. What is no
/// character is the replacement.
std::optional<char32_t> TakeCharacter(std::string_view& bytes, UnitForm form) {
  if (bytes.size() < form.size) return std::nullopt;
  const char32_t unit = UnitAt(bytes.data(), form);
  if (form.size == 2 && IsHighSurrogate(unit)) {
    if (bytes.size() < 4) return std::nullopt;
    const char32_t second = UnitAt(bytes.data() + 2, form);
    if (IsLowSurrogate(second)) {
      bytes.remove_prefix(4);
      return 0x10000 + ((unit - 0xD800) << 10) + (second - 0xDC00);
    }
  }
  bytes.remove_prefix(form.size);
  const bool isSurrogate = unit >= 0xD800 && unit < 0xE000;
  return isSurrogate || unit > 0x10FFFF ? kReplacement : unit;
}

class UnitDecoder : public Decoder {
 public:
  UnitDecoder(UnitForm form, std::size_t markLength) : Decoder(markLength), form_(form) {}

  void Decode(std::string_view in, bool last, std::string& out) override {
    SkipMark(in);
    out.reserve(out.size() + in.size() / form_.size);
    // What was cut off is read together with the few bytes that complete it.
    while (!rest_.empty() && !in.empty()) {
      rest_ += in.front();
      in.remove_prefix(1);
      std::string_view rest = rest_;
      if (const auto character = TakeCharacter(rest, form_)) {
        AppendUtf8(*character, out);
        rest_ = std::string(rest);
      }
    }
    while (const auto character = TakeCharacter(in, form_))
      AppendUtf8(*character, out);
    rest_ += in;
    if (last && !rest_.empty()) {
      AppendUtf8(kReplacement, out);
      rest_.clear();
    }
  }

  std::uint64_t SourceLength(std::string_view decoded) const override {
    const std::size_t characters = CountCharacters(decoded);
    if (form_.size == 4) return std::uint64_t{4} * characters;
    const auto pairs = std::count_if(decoded.begin(), decoded.end(),
                                     [](char c) { return static_cast<unsigned char>(c) >= 0xF0; });
    return 2 * (std::uint64_t{characters} + static_cast<std::uint64_t>(pairs));
  }

 private:
  UnitForm form_;
  std::string rest_;  // less than a character
};

/// What each byte of an encoding is, as UTF-8.
using ByteTable = std::array<std::string, 256>;

class ByteDecoder : public Decoder {
 public:
  explicit ByteDecoder(ByteTable table) : Decoder(0), table_(std::move(table)) {}

  void Decode(std::string_view in, bool /*last*/, std::string& out) override {
    out.reserve(out.size() + in.size());
    for (const char c : in)
      out += table_[static_cast<unsigned char>(c)];
  }

  std::uint64_t SourceLength(std::string_view decoded) const override {
    return CountCharacters(decoded);
  }

 private:
  ByteTable table_;
};

/// Adds lengths up.
class LengthCount : public SourceCount {
 public:
  explicit LengthCount(const Decoder& decoder) : decoder_(decoder) {}

  std::uint64_t Add(std::string_view decoded) override {
    return length_ += decoder_.SourceLength(decoded);
  }

 private:
  const Decoder& decoder_;
  std::uint64_t length_ = 0;
};

/// An open converter of iconv.
class Converter {
 public:
  Converter(const std::string& to, const std::string& from)
      : handle_(iconv_open(to.c_str(), from.c_str())) {}
  ~Converter() {
    if (IsOpen()) iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool IsOpen() const { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

  /// Appends what `in` is and takes it away, up to what cannot be converted. Returns 0, or the error:
  /// EILSEQ for what is no character, EINVAL for one that is cut off.
  int Convert(std::string_view& in, std::string& out) {
    char block[4096];
    while (!in.empty()) {
      char* from = const_cast<char*>(in.data());
      std::size_t fromLeft = in.size();
      char* to = block;
      std::size_t toLeft = sizeof block;
      const std::size_t result = iconv(handle_, &from, &fromLeft, &to, &toLeft);
      const int error = result == static_cast<std::size_t>(-1) ? errno : 0;
      out.append(block, sizeof block - toLeft);
      in.remove_prefix(in.size() - fromLeft);
      if (error != 0 && error != E2BIG) return error;
    }
    return 0;
  }

  /// Appends what is still kept at the end of a text.
  void Finish(std::string& out) {
    char block[64];
    char* to = block;
    std::size_t toLeft = sizeof block;
    iconv(handle_, nullptr, nullptr, &to, &toLeft);
    out.append(block, sizeof block - toLeft);
  }

  /// Begins anew, in the state in which a text begins.
  void Reset() { iconv(handle_, nullptr, nullptr, nullptr, nullptr); }

 private:
  iconv_t handle_;
};

/// The table of an encoding in which every byte is a character, or none at all; null for others.
std::optional<ByteTable> TableOf(const std::string& name) {
  Converter converter("UTF-8", name);
  if (!converter.IsOpen()) return std::nullopt;
  ByteTable table;
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    const char c = static_cast<char>(byte);
    std::string_view in(&c, 1);
    const int error = converter.Convert(in, table[byte]);
    converter.Reset();
    if (error == EILSEQ) {
      AppendUtf8(kReplacement, table[byte]);
    } else if (error != 0 || CountCharacters(table[byte]) != 1) {
      return std::nullopt;
    }
  }
  return table;
}

/// Converts the text back, in one go: what a sign has switched stays so from piece to piece.
class IconvCount : public SourceCount {
 public:
  explicit IconvCount(const std::string& name) : back_(name, "UTF-8") {}

  std::uint64_t Add(std::string_view decoded) override {
    while (!decoded.empty()) {
      std::string bytes;
      const int error = back_.Convert(decoded, bytes);
      length_ += bytes.size();
      if (error == 0) break;
      // The replacement, which stands for one byte.
      ++length_;
      do {
        decoded.remove_prefix(1);
      } while (!decoded.empty() && (static_cast<unsigned char>(decoded.front()) & 0xC0) == 0x80);
    }
    return length_;
  }

 private:
  Converter back_;
  std::uint64_t length_ = 0;
};

class IconvDecoder : public Decoder {
 public:
  explicit IconvDecoder(const std::string& name)
      : Decoder(0), name_(name), converter_("UTF-8", name) {}

  void Decode(std::string_view in, bool last, std::string& out) override {
    rest_ += in;
    std::string_view left = rest_;
    for (;;) {
      const int error = converter_.Convert(left, out);
      if (left.empty() || (error == EINVAL && !last)) break;
      AppendUtf8(kReplacement, out);
      left.remove_prefix(1);
      converter_.Reset();
    }
    rest_.erase(0, rest_.size() - left.size());
    if (last) converter_.Finish(out);
  }

  std::uint64_t SourceLength(std::string_view decoded) const override {
    return IconvCount(name_).Add(decoded);
  }

  bool CountsOn() const override { return false; }
  std::unique_ptr<SourceCount> Count() const override {
    return std::make_unique<IconvCount>(name_);
  }

 private:
  std::string name_;
  Converter converter_;
  std::string rest_;
};

struct RecognisedForm {
  UnitForm form;
  std::size_t markLength = 0;
};

std::optional<RecognisedForm> FormOfMark(std::string_view bytes) {
  constexpr std::string_view kLittle32("\xFF\xFE\0\0", 4);
  constexpr std::string_view kBig32("\0\0\xFE\xFF", 4);
  if (bytes.starts_with(kLittle32)) return RecognisedForm{{4, false}, 4};
  if (bytes.starts_with(kBig32)) return RecognisedForm{{4, true}, 4};
  if (bytes.starts_with("\xFF\xFE")) return RecognisedForm{{2, false}, 2};
  if (bytes.starts_with("\xFE\xFF")) return RecognisedForm{{2, true}, 2};
  return std::nullopt;
}

bool IsTextCharacter(char32_t character) {
  if (character < 0x20) return character >= '\t' && character <= '\r';
  if (character >= 0x7F && character < 0xA0) return character == 0x85;
  const bool isNoCharacter = (character & 0xFFFE) == 0xFFFE;
  const bool isPrivate = character >= 0xE000 && character < 0xF900;
  return character != kReplacement && !isNoCharacter && !isPrivate;
}

/// Whether all that is seen is text of this form: nearly all of it Latin, or, where there is more of
/// it, as much as the blanks and signs of any script.
bool IsPlainly(std::string_view bytes, UnitForm form) {
  constexpr std::size_t kFew = 4;
  constexpr std::size_t kMany = 64;
  constexpr char32_t kLatinEnd = 0x250;
  std::size_t characters = 0;
  std::size_t latin = 0;
  while (const auto character = TakeCharacter(bytes, form)) {
    if (!IsTextCharacter(*character)) return false;
    ++characters;
    if (*character < kLatinEnd) ++latin;
  }
  if (characters >= kFew && latin * 10 >= characters * 9) return true;
  return characters >= kMany && latin * 8 >= characters;
}

std::optional<UnitForm> PlainForm(std::string_view bytes) {
  constexpr std::size_t kSeen = 4096;
  const std::string_view seen = bytes.substr(0, kSeen);
  if (seen.empty() || std::memchr(seen.data(), 0, seen.size()) == nullptr) return std::nullopt;
  for (const UnitForm form :
       {UnitForm{4, false}, UnitForm{4, true}, UnitForm{2, false}, UnitForm{2, true}}) {
    const bool isWhole = bytes.size() > kSeen || bytes.size() % form.size == 0;
    if (isWhole && IsPlainly(seen, form)) return form;
  }
  return std::nullopt;
}

std::unique_ptr<Decoder> MakeUnitDecoder(const RecognisedForm& recognised) {
  return std::make_unique<UnitDecoder>(recognised.form, recognised.markLength);
}

/// The decoder of UTF-16 or UTF-32 that was asked for by name. A mark at the start is left out. Where
/// the name does not tell the order of bytes, the mark does, or what is plain, or else the lowest byte
/// comes first.
std::unique_ptr<Decoder> DecoderOfName(std::string_view name, std::string_view firstBytes) {
  UnitForm form;
  form.size = name.starts_with("UTF-32") ? 4 : 2;
  form.bigEndian = name.ends_with("BE");
  const bool tellsOrder = form.bigEndian || name.ends_with("LE");

  std::optional<RecognisedForm> mark = FormOfMark(firstBytes);
  // The first two bytes of both little marks are the same.
  if (mark.has_value() && form.size == 2 && mark->form.size == 4 && !mark->form.bigEndian) {
    mark = RecognisedForm{{2, false}, 2};
  }
  const bool isOfSize = mark.has_value() && mark->form.size == form.size;
  if (isOfSize && (!tellsOrder || mark->form.bigEndian == form.bigEndian)) {
    return MakeUnitDecoder(*mark);
  }
  if (!tellsOrder) {
    form.bigEndian = true;
    form.bigEndian = IsPlainly(firstBytes.substr(0, 4096), form);
  }
  return MakeUnitDecoder({form, 0});
}

}  // namespace

std::unique_ptr<SourceCount> Decoder::Count() const {
  return std::make_unique<LengthCount>(*this);
}

void Decoder::SkipMark(std::string_view& in) {
  const std::size_t count = std::min(markLength_ - markSeen_, in.size());
  in.remove_prefix(count);
  markSeen_ += count;
}

std::unique_ptr<Decoder> ChooseDecoder(std::string_view firstBytes,
                                       const EncodingChoice& encoding) {
  if (encoding.encoding == Encoding::kAuto) {
    if (const auto mark = FormOfMark(firstBytes)) return MakeUnitDecoder(*mark);
    if (const auto form = PlainForm(firstBytes)) return MakeUnitDecoder({*form, 0});
    return nullptr;
  }
  if (encoding.encoding != Encoding::kNamed) return nullptr;
  if (IsUnitEncoding(encoding.name)) return DecoderOfName(encoding.name, firstBytes);
  if (auto table = TableOf(encoding.name)) return std::make_unique<ByteDecoder>(*std::move(table));
  return std::make_unique<IconvDecoder>(encoding.name);
}

}  // namespace trovex::cli
