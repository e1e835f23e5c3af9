// Reading a file to its end. The size that the file system tells is where reading begins to ask for
// memory, not what it believes: a file may grow or shrink while it is read.

#include "hosts/cli/files/file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

namespace trovex::cli {

namespace {

constexpr std::size_t kFirstBlock = std::size_t{64} * 1024;

ReadError SystemError(int error) {
  return {std::strerror(error)};
}

ReadError TooLong() {
  return {"the text has 2 GiB or more and is not searched"};
}

}  // namespace

FileBytes::FileBytes(std::string_view bytes) {
  Resize(bytes.size());
  if (!bytes.empty()) std::memcpy(Data(), bytes.data(), bytes.size());
}

FileBytes FileBytes::WithSize(std::size_t size) {
  FileBytes bytes;
  bytes.Resize(size);
  return bytes;
}

void FileBytes::Resize(std::size_t size) {
  void* const grown = std::realloc(data_.get(), size + 1);
  if (grown == nullptr) throw std::bad_alloc();
  static_cast<void>(data_.release());
  data_.reset(static_cast<char*>(grown));
  size_ = size;
  Data()[size] = '\0';
}

std::variant<FileBytes, ReadError> ReadDescriptor(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return SystemError(errno);
  const bool sizeKnown = S_ISREG(status.st_mode) && status.st_size > 0;
  const auto told = sizeKnown ? static_cast<std::size_t>(status.st_size) : 0;
  if (told > kMaxTextLength) return TooLong();

  // One byte more than is told, so that the end of the file shows without growing the block.
  FileBytes bytes = FileBytes::WithSize(sizeKnown ? told + 1 : kFirstBlock);
  std::size_t used = 0;
  for (;;) {
    const ssize_t count = read(descriptor, bytes.Data() + used, bytes.Size() - used);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return SystemError(errno);
    if (count == 0) break;
    used += static_cast<std::size_t>(count);
    if (used > kMaxTextLength) return TooLong();
    if (used == bytes.Size()) bytes.Resize(std::min(used * 2, kMaxTextLength + 1));
  }
  bytes.Resize(used);
  return bytes;
}

std::variant<FileBytes, ReadError> ReadFile(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (descriptor < 0) return SystemError(errno);
  auto result = ReadDescriptor(descriptor);
  close(descriptor);
  return result;
}

}  // namespace trovex::cli
