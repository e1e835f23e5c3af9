#include "text_form.h"

#include "mb/pg_wchar.h"
#include "utils/builtins.h"

#include <trovex/query_c.h>

static bool IsConverted(void) {
  switch (GetDatabaseEncoding()) {
    case PG_UTF8:
    case PG_SQL_ASCII:
    case PG_WIN1252:
    case PG_LATIN1:
      return false;
    default:
      return true;
  }
}

int SearchedEncoding(void) {
  const int encoding = GetDatabaseEncoding();
  return encoding == PG_WIN1252 || encoding == PG_LATIN1 ? TROVEX_LATIN1 : TROVEX_UTF8;
}

SearchedText TextToSearch(const char* bytes, size_t length) {
  SearchedText searched = {bytes, length};
  if (IsConverted()) {
    searched.bytes = pg_server_to_any(bytes, (int)length, PG_UTF8);
    /* What was not converted has no zero after it. */
    if (searched.bytes != bytes) searched.length = strlen(searched.bytes);
  }
  return searched;
}

SearchedText DatumToSearch(const text* value) {
  return TextToSearch(VARDATA_ANY(value), VARSIZE_ANY_EXHDR(value));
}

size_t CharactersIn(const char* bytes, size_t length) {
  const int encoding = GetDatabaseEncoding();
  if (SearchedEncoding() == TROVEX_LATIN1 || encoding == PG_SQL_ASCII) return length;
  size_t characters = 0;
  for (size_t i = 0; i < length; ++i)
    characters += ((unsigned char)bytes[i] & 0xC0) != 0x80;
  return characters;
}

text* TextOfSearched(const char* bytes, size_t length) {
  if (!IsConverted()) return cstring_to_text_with_len(bytes, (int)length);
  char* const converted = pg_any_to_server(bytes, (int)length, PG_UTF8);
  return converted == bytes ? cstring_to_text_with_len(bytes, (int)length)
                            : cstring_to_text(converted);
}
