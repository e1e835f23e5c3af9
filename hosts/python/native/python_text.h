// A Python object as a text that can be searched, and the way back from its bytes to its positions.
//
// Bytes and other buffers are searched as they are. A str is searched without a copy where a byte of it
// is a character of the code page: where it is ASCII, and where CPython keeps it in one byte a character
// and none of them is one of the thirty-two that Latin-1 and the page read differently. Its positions are
// then the bytes. Any other str is written into a buffer: in the code page, if that has all its
// characters, which is again one byte a character; else in UTF-8, whose positions have to be counted.

#ifndef TROVEX_HOSTS_PYTHON_PYTHON_TEXT_H
#define TROVEX_HOSTS_PYTHON_PYTHON_TEXT_H

#include <nanobind/nanobind.h>
#include <trovex/query.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace trovex::python {

namespace nb = nanobind;

/// The number of characters of UTF-8 in `bytes`.
std::size_t CountCharacters(std::string_view bytes) noexcept;

/// `text` as UTF-8, written into `buffer` or where CPython has it. A lone surrogate becomes the
/// replacement character, which no expression can ask for. Valid as long as both.
std::string_view Utf8OfStr(PyObject* text, std::string& buffer);

/// "utf-8" or "windows-1252" and their usual other names. Any other raises LookupError.
Encoding EncodingNamed(std::string_view name);

class PythonText {
 public:
  /// Reads `text`: a str, or an object with a buffer of bytes, whose encoding is `encoding`. It and what
  /// it holds are kept in place, not alive. Raises TypeError for other objects.
  PythonText(PyObject* text, Encoding encoding);
  ~PythonText();
  PythonText(const PythonText&) = delete;
  PythonText& operator=(const PythonText&) = delete;

  std::string_view Bytes() const noexcept { return bytes_; }
  trovex::Encoding Encoding() const noexcept { return encoding_; }
  /// Whether positions have to be counted; else they are bytes.
  bool IsCounted() const noexcept { return counted_; }

 private:
  void ReadStr(PyObject* text);
  void ReadBuffer(PyObject* text);
  void Write(PyObject* text);

  std::string_view bytes_;
  trovex::Encoding encoding_;
  bool counted_ = false;
  bool hasView_ = false;
  Py_buffer view_;
  std::string written_;
};

/// Positions of a text from its bytes, where places are asked for from left to right.
class Positions {
 public:
  Positions(std::string_view bytes, bool counted) noexcept : bytes_(bytes), counted_(counted) {}

  /// The position of byte `at`, which is none before that of the last call.
  std::size_t Advance(std::size_t at) noexcept {
    if (!counted_) return at;
    position_ += CountCharacters(bytes_.substr(byte_, at - byte_));
    byte_ = at;
    return position_;
  }

  /// The position of byte `at`, anywhere; it costs the way from the last Advance.
  std::size_t From(std::size_t at) const noexcept {
    if (!counted_) return at;
    if (at >= byte_) return position_ + CountCharacters(bytes_.substr(byte_, at - byte_));
    return position_ - CountCharacters(bytes_.substr(at, byte_ - at));
  }

 private:
  std::string_view bytes_;
  bool counted_;
  std::size_t byte_ = 0;
  std::size_t position_ = 0;
};

}  // namespace trovex::python

#endif  // TROVEX_HOSTS_PYTHON_PYTHON_TEXT_H
