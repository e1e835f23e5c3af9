// Whether the program wants the statement to end: sqlite3_interrupt(), or a progress handler that says so.
//
// SQLite asks both between the steps of its own virtual machine, not while a function of ours is at work, and
// tells nobody else (sqlite3_is_interrupted() came late, and knows nothing of handlers). So a long search runs
// a small statement now and then, which reads no table: it is interrupted just as the statement would be
// in which the search runs, and its steps count for the progress handler.

#ifndef TROVEX_HOSTS_SQLITE_INTERRUPT_WATCH_H
#define TROVEX_HOSTS_SQLITE_INTERRUPT_WATCH_H

#include "hosts/sqlite/compiled_search.h"
#include "hosts/sqlite/sqlite_api.h"

#include <trovex/query.h>

#include <chrono>
#include <cstddef>

namespace trovex::sqlite {

/// Watches during one search.
class InterruptWatch {
 public:
  explicit InterruptWatch(sqlite3* connection) : connection_(connection) {}
  ~InterruptWatch() {
    if (small_ != nullptr) sqlite3_finalize(small_);
  }
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  /// Has `options` ask this watch, if there are questions in the search of a text of `length` bytes: a short
  /// text is searched for a lone pattern in one piece, and faster if nobody is to be asked.
  void Attach(const CompiledSearch& search, std::size_t length, SearchOptions& options);

  bool WasInterrupted() const { return wasInterrupted_; }

 private:
  using Clock = std::chrono::steady_clock;

  bool Ask();
  bool RunSmallStatement();

  sqlite3* connection_;
  sqlite3_stmt* small_ = nullptr;
  /// The first question comes when a search begins, and most are over before there is another.
  bool wasAsked_ = false;
  Clock::time_point nextLook_;
  bool wasInterrupted_ = false;
};

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_INTERRUPT_WATCH_H
