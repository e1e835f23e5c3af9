// A line on the terminal that tells how far a long search is. It appears when the work has taken
// more than a second, and goes before anything else is written there.

#ifndef TROVEX_HOSTS_CLI_PROGRESS_H
#define TROVEX_HOSTS_CLI_PROGRESS_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

namespace trovex::cli {

/// May be used by several threads.
class Progress {
 public:
  using Clock = std::chrono::steady_clock;

  /// Progress of work that begins at `start`, shown on `descriptor` if that is a terminal; -1: nowhere.
  Progress(int descriptor, Clock::time_point start);

  /// So much more is done: files, and bytes of the files at hand. Shows it, if enough time has passed
  /// since the last showing.
  void Add(std::int64_t files, std::int64_t bytes) {
    files_ += files;
    bytes_ += bytes;
    if (visible_) Show(Clock::now());
  }
  /// Takes the line away.
  void Erase();
  /// The same, and draws none until Resume(): a line of something else is not at its end.
  void Pause();
  void Resume() { paused_ = false; }

  /// Whether a line may stand on the terminal: for a signal's handler.
  bool IsDrawn() const { return drawn_; }

 private:
  void Show(Clock::time_point now);

  int descriptor_;
  bool visible_;
  Clock::time_point start_;
  std::mutex mutex_;
  std::atomic<bool> drawn_{false};
  std::atomic<bool> paused_{false};
  Clock::time_point nextDraw_;
  std::atomic<std::int64_t> files_{0};
  std::atomic<std::int64_t> bytes_{0};
};

/// The line's text, in less than `columns`: files and bytes that are done, their rate, and the time
/// since the start.
std::string ProgressText(std::int64_t files, std::int64_t bytes, double seconds,
                         std::size_t columns);

/// A number of bytes in the largest unit that keeps it above 1: "950 bytes", "1.5 MB".
std::string ReadableBytes(double bytes);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_PROGRESS_H
