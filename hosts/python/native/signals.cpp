#include "native/signals.h"

#include <nanobind/nanobind.h>

namespace trovex::python {

namespace {

constexpr std::chrono::milliseconds kPause{20};

}  // namespace

bool Signals::Raised() {
  if (raised_) return true;
  const Clock::time_point now = Clock::now();
  if (now - asked_ < kPause) return false;
  const nanobind::gil_scoped_acquire lock;
  raised_ = PyErr_CheckSignals() != 0;
  asked_ = Clock::now();
  return raised_;
}

}  // namespace trovex::python
