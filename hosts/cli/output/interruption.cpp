// Only what a signal's handler may do: writing, and atomic variables.

#include "hosts/cli/output/interruption.h"

#include "hosts/cli/output/progress.h"

#include <unistd.h>
#include <atomic>
#include <csignal>
#include <string_view>

namespace trovex::cli {

namespace {

std::atomic<const Progress*> drawnProgress{nullptr};
std::atomic<bool> colorsInUse{false};
std::atomic<bool> linksInUse{false};

void Write(int descriptor, std::string_view text) {
  static_cast<void>(!write(descriptor, text.data(), text.size()));
}

void EndBySignal(int signal) {
  EraseTraces();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

void HandleInterruptions() {
  std::signal(SIGPIPE, SIG_IGN);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    struct sigaction action {};
    // What whoever started the program has ignored stays ignored.
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = EndBySignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
  }
}

void RemoveTracesOf(const Progress& progress, bool colors, bool links) {
  drawnProgress = &progress;
  colorsInUse = colors;
  linksInUse = links;
}

void EraseTraces() {
  const Progress* const progress = drawnProgress;
  if (progress != nullptr && progress->IsDrawn()) Write(STDERR_FILENO, "\r\033[K");
  if (linksInUse) Write(STDOUT_FILENO, "\033]8;;\033\\");
  if (colorsInUse) Write(STDOUT_FILENO, "\033[0m");
}

}  // namespace trovex::cli
