// Opening and reading.

#include "hosts/cli/files/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <new>
#include <thread>
#include <utility>

namespace trovex::cli {

namespace {

/// Whether waiting for a descriptor has been in vain, so that nobody waits again.
std::atomic<bool> waitedInVain{false};

bool IsRegularFile(int descriptor) {
  return RegularFileOf(descriptor).has_value();
}

}  // namespace

int OpenWaiting(const char* path, int flags) {
  constexpr int kMostTries = 1000;
  for (int tries = 0;; ++tries) {
    const int descriptor = open(path, flags | O_CLOEXEC);
    if (descriptor >= 0) return descriptor;
    const int error = errno;
    if (error == EINTR) continue;
    const bool scarce = error == EMFILE || error == ENFILE;
    if (tries == kMostTries) waitedInVain = true;
    if (!scarce || waitedInVain) {
      errno = error;
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

std::optional<FileIdentity> RegularFileOf(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

void Buffer::Reserve(std::size_t capacity) {
  if (capacity <= capacity_) return;
  void* const grown = std::realloc(data_.get(), capacity);
  if (grown == nullptr) throw std::bad_alloc();
  static_cast<void>(data_.release());
  data_.reset(static_cast<char*>(grown));
  capacity_ = capacity;
}

void Buffer::Trim(std::size_t most) {
  if (capacity_ <= most) return;
  data_.reset();
  capacity_ = 0;
}

std::variant<Input, SystemError> Input::Open(const FileToSearch& file) {
  if (file.path == kStandardInput) {
    // Of a file that somebody has begun to read, only the rest is searched.
    const bool fromBegin = lseek(STDIN_FILENO, 0, SEEK_CUR) == 0;
    return Input(STDIN_FILENO, false, fromBegin && IsRegularFile(STDIN_FILENO));
  }
  const int descriptor = OpenWaiting(file.path.c_str(), O_RDONLY | O_NOCTTY);
  if (descriptor < 0) return SystemError{errno};
  return Input(descriptor, true, file.regular || IsRegularFile(descriptor), file.readsWhole);
}

Input::Input(Input&& other) noexcept
    : descriptor_(other.descriptor_),
      owned_(std::exchange(other.owned_, false)),
      regular_(other.regular_),
      readsWhole_(other.readsWhole_) {}

Input::~Input() {
  if (owned_) close(descriptor_);
}

bool Input::Is(const FileIdentity& file) const {
  return RegularFileOf(descriptor_) == file;
}

std::uint64_t Input::Size() const {
  struct stat status {};
  if (fstat(descriptor_, &status) != 0) return 0;
  return static_cast<std::uint64_t>(std::max<off_t>(0, status.st_size));
}

std::variant<std::size_t, SystemError> Input::Read(char* data, std::size_t size) {
  for (;;) {
    const ssize_t count = read(descriptor_, data, size);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) return SystemError{errno};
  }
}

std::variant<std::size_t, SystemError> Input::ReadAt(char* data, std::size_t size,
                                                     std::uint64_t offset) const {
  for (;;) {
    const ssize_t count = pread(descriptor_, data, size, static_cast<off_t>(offset));
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) return SystemError{errno};
  }
}

std::variant<std::string, SystemError> ReadWholeFile(const std::string& path) {
  FileToSearch file;
  file.path = path;
  auto opened = Input::Open(file);
  if (const auto* error = std::get_if<SystemError>(&opened)) return *error;
  std::string content;
  for (char block[4096];;) {
    const auto count = std::get<Input>(opened).Read(block, sizeof block);
    if (const auto* error = std::get_if<SystemError>(&count)) return *error;
    if (std::get<std::size_t>(count) == 0) return content;
    content.append(block, std::get<std::size_t>(count));
  }
}

}  // namespace trovex::cli
