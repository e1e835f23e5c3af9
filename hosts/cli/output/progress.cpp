// Drawing over one line of a terminal.

#include "hosts/cli/output/progress.h"

#include "hosts/cli/output/terminal.h"

#include <unistd.h>
#include <cstdio>

namespace trovex::cli {

namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 1s;
constexpr auto kRedrawInterval = 200ms;

void WriteTo(int descriptor, const std::string& text) {
  if (write(descriptor, text.data(), text.size()) < 0) return;  // a line that is missed is no loss
}

}  // namespace

std::string ReadableBytes(double bytes) {
  constexpr const char* kUnits[] = {"kB", "MB", "GB"};
  char text[32];
  if (bytes < 1000) {
    std::snprintf(text, sizeof text, "%.0f bytes", bytes);
    return text;
  }
  int unit = 0;
  for (bytes /= 1000; bytes >= 1000 && unit < 2; ++unit)
    bytes /= 1000;
  std::snprintf(text, sizeof text, "%.1f %s", bytes, kUnits[unit]);
  return text;
}

std::string ProgressText(std::int64_t files, std::int64_t bytes, double seconds,
                         std::size_t columns) {
  const double rate = seconds > 0 ? static_cast<double>(bytes) / seconds : 0;
  const std::string parts[] = {
      ReadableBytes(static_cast<double>(bytes)),
      ", " + std::to_string(files) + (files == 1 ? " file" : " files"),
      ", " + ReadableBytes(rate) + "/s",
      ", " + std::to_string(static_cast<std::int64_t>(seconds)) + " s",
  };
  std::string text;
  for (const std::string& part : parts) {
    if (text.size() + part.size() >= columns) break;
    text += part;
  }
  return text;
}

Progress::Progress(int descriptor, Clock::time_point start)
    : descriptor_(descriptor),
      visible_(isatty(descriptor) != 0),
      start_(start),
      nextDraw_(start + kPatience) {}

void Progress::Show(Clock::time_point now) {
  const std::unique_lock lock(mutex_, std::try_to_lock);
  if (!lock.owns_lock() || paused_ || now < nextDraw_) return;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  drawn_ = true;
  WriteTo(descriptor_,
          "\r\033[K" + ProgressText(files_, bytes_, seconds, TerminalColumns(descriptor_)));
  nextDraw_ = now + kRedrawInterval;
}

void Progress::Erase() {
  if (!drawn_) return;
  const std::lock_guard lock(mutex_);
  if (drawn_.exchange(false)) WriteTo(descriptor_, "\r\033[K");
}

void Progress::Pause() {
  if (!visible_) return;
  const std::lock_guard lock(mutex_);
  paused_ = true;
  if (drawn_.exchange(false)) WriteTo(descriptor_, "\r\033[K");
}

}  // namespace trovex::cli
