// Writing to standard output and standard error.

#include "hosts/cli/search/result_stream.h"

#include "hosts/cli/output/progress.h"

#include <unistd.h>
#include <cerrno>

namespace trovex::cli {

namespace {

constexpr std::size_t kFlushSize = std::size_t{64} * 1024;

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

ResultStream::ResultStream(std::string_view separator, Progress* progress)
    : separator_(separator), progress_(progress), toTerminal_(isatty(STDOUT_FILENO) != 0) {}

void ResultStream::Output(std::string_view text) {
  if (text.empty()) return;
  if (!wroteThisFile_ && wroteBefore_) pending_ += separator_;
  wroteThisFile_ = true;
  pending_ += text;
  lastByte_ = text.back();
  if (pending_.size() >= kFlushSize) Flush();
}

void ResultStream::Complaint(std::string_view sentence) {
  std::string line = "trovex: ";
  line.append(sentence).append("\n");
  Note(line);
}

void ResultStream::Note(std::string_view lines) {
  EndUnfinishedLine();
  Flush();
  if (progress_ != nullptr) progress_->Erase();
  static_cast<void>(WriteAll(STDERR_FILENO, lines));  // there is nowhere left to complain
}

void ResultStream::NextFile() {
  EndUnfinishedLine();
  wroteBefore_ = wroteBefore_ || wroteThisFile_;
  wroteThisFile_ = false;
  if (toTerminal_) Flush();
}

void ResultStream::EndUnfinishedLine() {
  if (lastByte_ == '\n') return;
  pending_ += '\n';
  lastByte_ = '\n';
}

void ResultStream::Flush() {
  if (pending_.empty()) return;
  if (toTerminal_ && progress_ != nullptr) progress_->Erase();
  const int error = WriteAll(STDOUT_FILENO, pending_);
  pending_.clear();
  if (error != 0) throw OutputFailure{error};
}

}  // namespace trovex::cli
