/* Texts of the database, in a form that can be searched.
 *
 * In UTF8, WIN1252 and LATIN1 a text is searched as it is; LATIN1 is read as its superset WIN1252. In
 * SQL_ASCII, which knows no encoding, it is read as UTF-8 where it is valid, and each byte counts as a
 * character. In all other encodings it is converted to UTF-8, and what is made of it is converted back. */

#ifndef TROVEX_POSTGRESQL_TEXT_FORM_H
#define TROVEX_POSTGRESQL_TEXT_FORM_H

#include "postgres.h"
#if PG_VERSION_NUM >= 160000
#include "varatt.h"
#endif

/* Bytes as they are searched. They belong to the text that they were made of, or stand in the memory
 * context that was current. */
typedef struct SearchedText {
  const char* bytes;
  size_t length;
} SearchedText;

extern SearchedText TextToSearch(const char* bytes, size_t length);
extern SearchedText DatumToSearch(const text* value);

/* How these bytes are read: TROVEX_UTF8 or TROVEX_LATIN1. */
extern int SearchedEncoding(void);

/* The number of characters that the server counts in `length` bytes. */
extern size_t CharactersIn(const char* bytes, size_t length);

/* What was made of searched bytes, as a value of type text. */
extern text* TextOfSearched(const char* bytes, size_t length);

#endif /* TROVEX_POSTGRESQL_TEXT_FORM_H */
