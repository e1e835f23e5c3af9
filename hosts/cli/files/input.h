// Reading files: with read() into memory of our own, never mapped. What has been read stays, whatever
// happens to the file meanwhile; and a block that was just read is searched while it is still in the
// processor's cache, which makes reading as fast as mapping.

#ifndef TROVEX_HOSTS_CLI_INPUT_H
#define TROVEX_HOSTS_CLI_INPUT_H

#include "hosts/cli/files/file_walk.h"

#include <sys/types.h>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace trovex::cli {

/// A block of bytes that grows and keeps its memory. What is new in it is not initialised.
class Buffer {
 public:
  char* Data() { return data_.get(); }
  std::size_t Capacity() const { return capacity_; }
  std::string_view View(std::size_t begin, std::size_t end) const {
    return {data_.get() + begin, end - begin};
  }
  /// Makes room for `capacity` bytes; what is there stays. Throws std::bad_alloc.
  void Reserve(std::size_t capacity);
  /// Gives memory back that is more than `most`.
  void Trim(std::size_t most);

 private:
  struct Free {
    void operator()(char* block) const { std::free(block); }
  };
  std::unique_ptr<char, Free> data_;
  std::size_t capacity_ = 0;
};

/// A number of errno.
struct SystemError {
  int number;
};

/// Which file it is, by whatever name.
struct FileIdentity {
  dev_t device;
  ino_t number;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// The regular file behind a descriptor; nothing if it is none.
std::optional<FileIdentity> RegularFileOf(int descriptor);

/// Opens a file or folder, as open() does. Where no descriptor is left, waits for another thread to
/// close one; if that is in vain for a second, nobody waits again.
int OpenWaiting(const char* path, int flags);

/// An open file.
class Input {
 public:
  /// Opens the file, or takes the standard input, which stays open afterwards.
  static std::variant<Input, SystemError> Open(const FileToSearch& file);

  Input(Input&& other) noexcept;
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  Input& operator=(Input&&) = delete;
  ~Input();

  int Descriptor() const { return descriptor_; }
  /// Whether it has a size and can be read at any place: a regular file, from its begin.
  bool IsRegular() const { return regular_; }
  /// Whether a read that gives less than what was asked for has come to the end.
  bool ReadsWhole() const { return readsWhole_; }
  bool Is(const FileIdentity& file) const;
  /// The size that the file system tells.
  std::uint64_t Size() const;

  /// Reads at most `size` bytes; at least one, but at the end. Returns their number or an error.
  std::variant<std::size_t, SystemError> Read(char* data, std::size_t size);
  /// The same at `offset`, of a regular file.
  std::variant<std::size_t, SystemError> ReadAt(char* data, std::size_t size,
                                                std::uint64_t offset) const;

 private:
  Input(int descriptor, bool owned, bool regular, bool readsWhole = false)
      : descriptor_(descriptor), owned_(owned), regular_(regular), readsWhole_(readsWhole) {}

  int descriptor_;
  bool owned_;
  bool regular_;
  bool readsWhole_;
};

/// All of the file at `path`, or of the standard input.
std::variant<std::string, SystemError> ReadWholeFile(const std::string& path);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_INPUT_H
