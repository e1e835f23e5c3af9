// SQLite as a loadable extension calls it: through the table of functions that a program hands over when it
// loads the extension. Every file of the extension includes this header instead of SQLite's own.
//
// Several threads may load the extension into their connections at the same time, so the address of the table
// is atomic. A process has one SQLite; all of them hand over the same table.

#ifndef TROVEX_HOSTS_SQLITE_SQLITE_API_H
#define TROVEX_HOSTS_SQLITE_SQLITE_API_H

#include <sqlite3ext.h>

#include <atomic>

namespace trovex::sqlite {

inline std::atomic<const sqlite3_api_routines*> apiTable{nullptr};

}  // namespace trovex::sqlite

// SQLite's header calls everything through this name.
#define sqlite3_api (::trovex::sqlite::apiTable.load(std::memory_order_acquire))

#endif  // TROVEX_HOSTS_SQLITE_SQLITE_API_H
