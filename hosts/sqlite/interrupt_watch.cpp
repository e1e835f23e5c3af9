#include "hosts/sqlite/interrupt_watch.h"

#include <utility>

namespace trovex::sqlite {
namespace {

/// Often enough for a person who waits, and seldom enough to cost nothing.
constexpr std::chrono::milliseconds kBetweenLooks(2);

/// Some thousand steps of the virtual machine, in less than a tenth of a millisecond.
constexpr char kSmallStatement[] =
    "WITH RECURSIVE step(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM step WHERE n < 100)"
    " SELECT max(n) FROM step";

}  // namespace

void InterruptWatch::Attach(sqlite3* connection, SearchOptions& options) {
  connection_ = connection;
  options.interrupt = [](void* self) { return static_cast<InterruptWatch*>(self)->Ask(); };
  options.interruptContext = this;
}

bool InterruptWatch::Ask() {
  if (!std::exchange(wasAsked_, true) || wasInterrupted_) return wasInterrupted_;
  const Clock::time_point now = Clock::now();
  if (now < nextLook_) return false;
  const bool isFirstLook = nextLook_ == Clock::time_point();
  nextLook_ = now + kBetweenLooks;
  if (!isFirstLook) wasInterrupted_ = RunSmallStatement();
  return wasInterrupted_;
}

/// Whether it was interrupted. Any other failure, such as a program that allows no statements here, says
/// nothing.
bool InterruptWatch::RunSmallStatement() {
  if (small_ == nullptr) {
    const int prepared =
        sqlite3_prepare_v2(connection_, kSmallStatement, sizeof kSmallStatement, &small_, nullptr);
    if (prepared != SQLITE_OK) return prepared == SQLITE_INTERRUPT;
  }
  const int status = sqlite3_step(small_);
  sqlite3_reset(small_);
  return status == SQLITE_INTERRUPT;
}

}  // namespace trovex::sqlite
