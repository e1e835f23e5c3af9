#include "native/python_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>

namespace trovex::python {

namespace {

/// The characters of bytes 128 to 159 of the code page; 0 where there is none.
constexpr std::array<char16_t, 32> kPageCharacters = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // € ‚ ƒ „ … † ‡
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,       // ˆ ‰ Š ‹ Œ Ž
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // ‘ ’ “ ” • – —
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,  // ˜ ™ š › œ ž Ÿ
};

/// The bytes of the punctuation from U+2000 on, which is what texts have beside Latin-1: dashes, quotation marks.
constexpr char16_t kPunctuation = 0x2000;
constexpr std::array<unsigned char, 64> kPunctuationBytes = [] {
  std::array<unsigned char, 64> bytes{};
  for (std::size_t i = 0; i < kPageCharacters.size(); ++i) {
    const std::size_t at = kPageCharacters[i] - std::size_t{kPunctuation};
    if (at < bytes.size()) bytes[at] = static_cast<unsigned char>(0x80 + i);
  }
  return bytes;
}();

/// Whether a byte of Latin-1 is another character in the code page.
bool DiffersFromPage(const unsigned char* bytes, std::size_t length) noexcept {
  unsigned char found = 0;  // of one byte, so that many are looked at in one step
  for (std::size_t i = 0; i < length; ++i)
    found |= static_cast<unsigned char>(static_cast<signed char>(bytes[i]) < -96);
  return found != 0;
}

/// The byte of the code page for a character beyond ASCII; 0 where it has none.
unsigned char PageByte(Py_UCS4 character) noexcept {
  if (character >= 0xA0 && character <= 0xFF) return static_cast<unsigned char>(character);
  if (character - kPunctuation < kPunctuationBytes.size())
    return kPunctuationBytes[character - kPunctuation];
  if (character > 0x2122 || character < 0x0152) return 0;
  const auto* const found = std::find(kPageCharacters.begin(), kPageCharacters.end(), character);
  if (found == kPageCharacters.end()) return 0;
  return static_cast<unsigned char>(0x80 + (found - kPageCharacters.begin()));
}

/// Whether a character beyond U+00FF, or one of the thirty-two that Latin-1 and the code page read differently.
constexpr bool IsElsewhere(Py_UCS2 character) noexcept {
  return (character & 0xFF00) != 0 || (character & 0xE0) == 0x80;
}

/// Puts the bytes of those characters that stand elsewhere in the code page; false where it lacks one.
bool PutElsewhere(const Py_UCS2* from, std::size_t length, char* to) noexcept {
  for (std::size_t i = 0; i < length; ++i) {
    if (!IsElsewhere(from[i])) continue;
    const unsigned char byte = PageByte(from[i]);
    if (byte == 0) return false;
    to[i] = static_cast<char>(byte);
  }
  return true;
}

/// Writes characters in the code page; false where it lacks one. Most stretches have none that stand elsewhere.
bool WritePage(const Py_UCS2* from, std::size_t length, char* to) noexcept {
  constexpr std::size_t kStretch = 32;  // fewer are not put into vector instructions
  std::size_t done = 0;
  for (; length - done >= kStretch; done += kStretch) {
    Py_UCS2 elsewhere = 0;
    for (std::size_t i = 0; i < kStretch; ++i) {
      const Py_UCS2 c = from[done + i];
      to[done + i] = static_cast<char>(c);
      elsewhere |= static_cast<Py_UCS2>(c & 0xFF00) | static_cast<Py_UCS2>((c & 0xE0) == 0x80);
    }
    if (elsewhere != 0 && !PutElsewhere(from + done, kStretch, to + done)) return false;
  }
  for (std::size_t i = done; i < length; ++i)
    to[i] = static_cast<char>(from[i]);
  return PutElsewhere(from + done, length - done, to + done);
}

template <typename Character>
void WriteUtf8(const Character* from, std::size_t length, std::string& to) {
  constexpr Py_UCS4 kReplacement = 0xFFFD;
  // Of UTF-8 a character of one, two or four bytes takes at most two, three or four.
  to.resize(length * std::min<std::size_t>(4, sizeof(Character) + 1));
  char* out = to.data();
  const auto put = [&out](Py_UCS4 byte) { *out++ = static_cast<char>(byte); };
  for (std::size_t i = 0; i < length; ++i) {
    Py_UCS4 c = from[i];
    if (c < 0x80) {
      put(c);
      continue;
    }
    if (c < 0x800) {
      put(0xC0 | c >> 6);
    } else {
      if (c >= 0xD800 && c <= 0xDFFF) c = kReplacement;
      if (c < 0x10000) {
        put(0xE0 | c >> 12);
      } else {
        put(0xF0 | c >> 18);
        put(0x80 | (c >> 12 & 0x3F));
      }
      put(0x80 | (c >> 6 & 0x3F));
    }
    put(0x80 | (c & 0x3F));
  }
  to.resize(static_cast<std::size_t>(out - to.data()));
}

std::size_t LengthOf(PyObject* text) noexcept {
  return static_cast<std::size_t>(PyUnicode_GET_LENGTH(text));
}

/// The UTF-8 that CPython has already made of `text`, if any.
std::string_view KnownUtf8([[maybe_unused]] PyObject* text) noexcept {
#ifndef Py_GIL_DISABLED
  const auto* const object = reinterpret_cast<PyCompactUnicodeObject*>(text);
  if (PyUnicode_IS_COMPACT(text) && object->utf8 != nullptr)
    return {object->utf8, static_cast<std::size_t>(object->utf8_length)};
#endif
  return {};
}

void WriteStrAsUtf8(PyObject* text, std::string& buffer) {
  const void* const data = PyUnicode_DATA(text);
  switch (PyUnicode_KIND(text)) {
    case PyUnicode_1BYTE_KIND:
      return WriteUtf8(static_cast<const Py_UCS1*>(data), LengthOf(text), buffer);
    case PyUnicode_2BYTE_KIND:
      return WriteUtf8(static_cast<const Py_UCS2*>(data), LengthOf(text), buffer);
    default:
      return WriteUtf8(static_cast<const Py_UCS4*>(data), LengthOf(text), buffer);
  }
}

bool WriteStrInPage(PyObject* text, std::string& buffer) {
  // A character of four bytes is none of the page, and with one byte it is a C1 control.
  if (PyUnicode_KIND(text) != PyUnicode_2BYTE_KIND) return false;
  buffer.resize(LengthOf(text));
  return WritePage(static_cast<const Py_UCS2*>(PyUnicode_DATA(text)), LengthOf(text),
                   buffer.data());
}

void MakeReady([[maybe_unused]] PyObject* text) {
#if PY_VERSION_HEX < 0x030C0000
  if (PyUnicode_READY(text) != 0) throw nb::python_error();
#endif
}

}  // namespace

std::size_t CountCharacters(std::string_view bytes) noexcept {
  std::size_t count = 0;
  for (const char byte : bytes)
    count += static_cast<signed char>(byte) > -65;  // not of the form 10xxxxxx
  return count;
}

std::string_view Utf8OfStr(PyObject* text, std::string& buffer) {
  MakeReady(text);
  if (PyUnicode_IS_ASCII(text))
    return {static_cast<const char*>(PyUnicode_DATA(text)), LengthOf(text)};
  if (const std::string_view known = KnownUtf8(text); known.data() != nullptr) return known;
  WriteStrAsUtf8(text, buffer);
  return buffer;
}

Encoding EncodingNamed(std::string_view name) {
  if (name == "utf-8") return Encoding::kUtf8;
  std::string plain;
  for (const char c : name) {
    if (c != '-' && c != '_' && c != ' ')
      plain += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  if (plain == "utf8") return Encoding::kUtf8;
  for (const char* const known : {"windows1252", "cp1252", "1252", "latin1", "iso88591", "l1"}) {
    if (plain == known) return Encoding::kLatin1;
  }
  const std::string sentence =
      "unknown encoding: " + std::string(name) + " (known are utf-8 and windows-1252)";
  PyErr_SetString(PyExc_LookupError, sentence.c_str());
  throw nb::python_error();
}

PythonText::PythonText(PyObject* text, trovex::Encoding encoding) : encoding_(encoding) {
  if (PyUnicode_Check(text)) {
    ReadStr(text);
  } else {
    ReadBuffer(text);
  }
}

PythonText::~PythonText() {
  if (hasView_) PyBuffer_Release(&view_);
}

void PythonText::ReadStr(PyObject* text) {
  MakeReady(text);
  const auto* const data = static_cast<const unsigned char*>(PyUnicode_DATA(text));
  const bool oneByte = PyUnicode_KIND(text) == PyUnicode_1BYTE_KIND;
  if (!oneByte || (!PyUnicode_IS_ASCII(text) && DiffersFromPage(data, LengthOf(text))))
    return Write(text);
  encoding_ = trovex::Encoding::kLatin1;
  bytes_ = {reinterpret_cast<const char*>(data), LengthOf(text)};
}

void PythonText::Write(PyObject* text) {
  if (WriteStrInPage(text, written_)) {
    encoding_ = trovex::Encoding::kLatin1;
    bytes_ = written_;
    return;
  }
  encoding_ = trovex::Encoding::kUtf8;
  counted_ = true;
  bytes_ = Utf8OfStr(text, written_);
}

void PythonText::ReadBuffer(PyObject* text) {
  if (PyBytes_CheckExact(text)) {
    bytes_ = {PyBytes_AS_STRING(text), static_cast<std::size_t>(PyBytes_GET_SIZE(text))};
    return;
  }
  if (!PyObject_CheckBuffer(text)) {
    PyErr_Format(PyExc_TypeError, "a text is a str or a buffer of bytes, not %.200s",
                 Py_TYPE(text)->tp_name);
    throw nb::python_error();
  }
  if (PyObject_GetBuffer(text, &view_, PyBUF_SIMPLE) != 0) throw nb::python_error();
  hasView_ = true;
  bytes_ = {static_cast<const char*>(view_.buf), static_cast<std::size_t>(view_.len)};
}

}  // namespace trovex::python
