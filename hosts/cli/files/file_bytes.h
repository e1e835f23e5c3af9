// The bytes of a file in memory of our own.
//
// Files are read, never mapped: what has been read stays, whatever happens to the file meanwhile,
// and the byte after the text always exists, also when the file fills its last page.

#ifndef TROVEX_HOSTS_CLI_FILE_BYTES_H
#define TROVEX_HOSTS_CLI_FILE_BYTES_H

#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace trovex::cli {

/// The longest text that is searched: its length must fit an int.
inline constexpr std::size_t kMaxTextLength = std::numeric_limits<int>::max();

/// A block of bytes with one more byte after it, which is zero and writable.
class FileBytes {
 public:
  FileBytes() : FileBytes(std::string_view{}) {}
  /// A copy of `bytes`.
  explicit FileBytes(std::string_view bytes);
  /// Room for `size` bytes, not initialised but for the one after them.
  static FileBytes WithSize(std::size_t size);

  char* Data() { return data_.get(); }
  std::size_t Size() const { return size_; }
  std::string_view View() const { return {data_.get(), size_}; }

  /// Changes the size and keeps what fits.
  void Resize(std::size_t size);

 private:
  struct Free {
    void operator()(char* block) const { std::free(block); }
  };

  std::unique_ptr<char, Free> data_;
  std::size_t size_ = 0;
};

/// Why a file could not be read, as one phrase.
struct ReadError {
  std::string reason;
};

/// Reads the file at `path` to its end.
std::variant<FileBytes, ReadError> ReadFile(const std::string& path);

/// Reads `descriptor` to its end; it stays open.
std::variant<FileBytes, ReadError> ReadDescriptor(int descriptor);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FILE_BYTES_H
