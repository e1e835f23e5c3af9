// Writing to standard output and standard error.

#include "hosts/cli/output/result_stream.h"

#include "hosts/cli/output/progress.h"
#include "hosts/cli/output/visible_text.h"

#include <unistd.h>
#include <cerrno>

namespace trovex::cli {

namespace {

constexpr std::size_t kFlushSize = std::size_t{64} * 1024;
constexpr auto kPatience = std::chrono::milliseconds(50);

/// Writes all of `text`. Returns 0 or the error.
int WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

}  // namespace

ResultStream::ResultStream(std::string_view separator, Progress* progress, FailureHandler onFailure)
    : separator_(separator),
      progress_(progress),
      onFailure_(onFailure),
      toTerminal_(isatty(STDOUT_FILENO) != 0),
      lastWrite_(Clock::now()) {}

void ResultStream::Output(std::string_view text) {
  if (text.empty()) return;
  if (!wroteThisFile_) {
    if (wroteBefore_) pending_ += separator_;
    pending_ += heading_;
    wroteThisFile_ = true;
  }
  if (text.size() >= kFlushSize) {
    Flush();
    Write(text);
    return;
  }
  pending_ += text;
  if (pending_.size() >= kFlushSize) Flush();
}

void ResultStream::Complaint(std::string_view sentence) {
  Note("trovex: " + VisibleText(sentence) + "\n");
}

void ResultStream::Note(std::string_view lines) {
  Flush();
  if (progress_ != nullptr) progress_->Erase();
  static_cast<void>(WriteAll(STDERR_FILENO, lines));  // there is nowhere left to complain
}

void ResultStream::NextFile(std::string_view heading) {
  wroteBefore_ = wroteBefore_ || wroteThisFile_;
  wroteThisFile_ = false;
  heading_ = heading;
}

void ResultStream::Breathe() {
  if (pending_.empty()) return;
  if (toTerminal_ || Clock::now() - lastWrite_ >= kPatience) Flush();
}

void ResultStream::Flush() {
  if (pending_.empty()) return;
  Write(pending_);
  pending_.clear();
}

void ResultStream::Write(std::string_view text) {
  const bool besideProgress = toTerminal_ && progress_ != nullptr;
  if (besideProgress) progress_->Pause();
  const int error = WriteAll(STDOUT_FILENO, text);
  if (besideProgress && text.ends_with('\n')) progress_->Resume();
  lastWrite_ = Clock::now();
  if (error != 0) onFailure_(error);
}

}  // namespace trovex::cli
