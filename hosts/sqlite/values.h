// Values of SQL as bytes, and failures as SQL errors.

#ifndef TROVEX_HOSTS_SQLITE_VALUES_H
#define TROVEX_HOSTS_SQLITE_VALUES_H

#include "hosts/sqlite/sqlite_api.h"

#include <string_view>

namespace trovex::sqlite {

inline bool IsNull(sqlite3_value* value) {
  return sqlite3_value_type(value) == SQLITE_NULL;
}

inline bool IsBlob(sqlite3_value* value) {
  return sqlite3_value_type(value) == SQLITE_BLOB;
}

/// The bytes of a value that is not NULL: a text as UTF-8, whatever the encoding of the database is, a
/// number as SQLite writes it, a BLOB as it is. Valid as long as the value is, and until SQLite is
/// asked for it in another form. Throws std::bad_alloc.
std::string_view BytesOf(sqlite3_value* value);

/// The same where sqlite3_value_type(value) is known: there are millions of rows.
std::string_view BytesOf(sqlite3_value* value, int type);

/// Calls `body` for a function of SQL. What it throws, which is memory that runs out, becomes an SQL error.
template <typename Body>
void Guarded(sqlite3_context* context, Body&& body) noexcept {
  try {
    body();
  } catch (...) {
    sqlite3_result_error_nomem(context);
  }
}

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_VALUES_H
