// A line on the terminal that tells how far a long search is. It appears when the work has taken
// more than a second, and goes before anything else is written there.

#ifndef TROVEX_HOSTS_CLI_PROGRESS_H
#define TROVEX_HOSTS_CLI_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace trovex::cli {

class Progress {
 public:
  using Clock = std::chrono::steady_clock;

  /// Progress of work that begins at `start`, shown on `descriptor` if that is a terminal.
  Progress(int descriptor, Clock::time_point start);

  /// Whether there is a terminal to show it on.
  bool IsVisible() const { return visible_; }

  /// Shows these counts, if enough time has passed since the last showing.
  void Show(std::int64_t files, std::int64_t bytes, Clock::time_point now);
  /// Takes the line away.
  void Erase();

 private:
  int descriptor_;
  bool visible_;
  bool drawn_ = false;
  Clock::time_point start_;
  Clock::time_point nextDraw_;
};

/// The line's text: files and bytes that are done, their rate, and the time since the start.
std::string ProgressText(std::int64_t files, std::int64_t bytes, double seconds);

/// A number of bytes in the largest unit that keeps it above 1: "950 bytes", "1.5 MB".
std::string ReadableBytes(double bytes);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_PROGRESS_H
