// A search that takes long lets Ctrl-C through.
//
// Python notes a signal and acts on it when the main thread asks. A long search asks now and then, by the
// clock; where the answer is an exception, it is set in the thread, and the search ends.

#ifndef TROVEX_HOSTS_PYTHON_SIGNALS_H
#define TROVEX_HOSTS_PYTHON_SIGNALS_H

#include <chrono>

namespace trovex::python {

class Signals {
 public:
  /// Asks, if that has not been done for a while. True when an exception is set, from then on. The
  /// thread is one of Python's and need not hold the interpreter's lock.
  bool Raised();

  /// The same as a search's `interrupt`, with a Signals as the context.
  static bool Interrupt(void* signals) { return static_cast<Signals*>(signals)->Raised(); }

 private:
  using Clock = std::chrono::steady_clock;

  Clock::time_point asked_ = Clock::now();
  bool raised_ = false;
};

}  // namespace trovex::python

#endif  // TROVEX_HOSTS_PYTHON_SIGNALS_H
