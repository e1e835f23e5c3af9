// Whether the program wants the statement to end: sqlite3_interrupt(), or a progress handler that says so.
//
// SQLite asks both between the steps of its own virtual machine, not while a function of ours is at work, and
// tells nobody else (sqlite3_is_interrupted() came late, and knows nothing of handlers). So a long search runs
// a small statement now and then, which reads no table: it is interrupted just as the statement would be
// in which the search runs, and its steps count for the progress handler.

#ifndef TROVEX_HOSTS_SQLITE_INTERRUPT_WATCH_H
#define TROVEX_HOSTS_SQLITE_INTERRUPT_WATCH_H

#include "hosts/sqlite/sqlite_api.h"

#include <trovex/query.h>

#include <chrono>
#include <cstddef>

namespace trovex::sqlite {

/// Watches during one search.
class InterruptWatch {
 public:
  InterruptWatch() = default;
  ~InterruptWatch() {
    if (small_ != nullptr) sqlite3_finalize(small_);
  }
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  /// Whether the search of a text of `length` bytes is to be watched. A text that is no longer than a piece
  /// of others is searched without, and faster: rows of a table are such texts.
  static bool IsNeededFor(std::size_t length) { return length > kShortText; }

  /// Has `options` ask this watch, which lives as long as they do.
  void Attach(sqlite3* connection, SearchOptions& options);

  bool WasInterrupted() const { return wasInterrupted_; }

 private:
  using Clock = std::chrono::steady_clock;

  static constexpr std::size_t kShortText = 10 * 1024;

  bool Ask();
  bool RunSmallStatement();

  sqlite3* connection_ = nullptr;
  sqlite3_stmt* small_ = nullptr;
  /// The first question comes when a search begins, and most are over before there is another.
  bool wasAsked_ = false;
  Clock::time_point nextLook_;
  bool wasInterrupted_ = false;
};

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_INTERRUPT_WATCH_H
