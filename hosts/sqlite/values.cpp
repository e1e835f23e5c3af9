#include "hosts/sqlite/values.h"

#include <cstddef>
#include <new>

namespace trovex::sqlite {

std::string_view BytesOf(sqlite3_value* value) {
  return BytesOf(value, sqlite3_value_type(value));
}

std::string_view BytesOf(sqlite3_value* value, int type) {
  // SQLite wants to be asked for the bytes first and then for their number.
  const bool isBlob = type == SQLITE_BLOB;
  const void* const bytes = isBlob ? sqlite3_value_blob(value) : sqlite3_value_text(value);
  const int count = sqlite3_value_bytes(value);
  if (bytes != nullptr) return {static_cast<const char*>(bytes), static_cast<std::size_t>(count)};
  const bool isEmptyBlob = isBlob && count == 0;
  if (!isEmptyBlob) throw std::bad_alloc();
  return {};
}

}  // namespace trovex::sqlite
