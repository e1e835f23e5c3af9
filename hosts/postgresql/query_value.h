/* The type trovex_query as it is stored: one byte of options, then the expression as it was typed, in
 * the encoding of the database.
 *
 * Its text is the expression. Where options are on, they stand before it in braces, with one blank
 * after: "{words,case} Haus & Garten". No expression can begin with a brace, so nothing is read in two
 * ways. */

#ifndef TROVEX_POSTGRESQL_QUERY_VALUE_H
#define TROVEX_POSTGRESQL_QUERY_VALUE_H

#include "postgres.h"

#include "fmgr.h"
#include "nodes/nodes.h"
#if PG_VERSION_NUM >= 160000
#include "varatt.h"
#endif

enum {
  OPTION_WORDS = 1,
  OPTION_CASE = 2,
  OPTION_PHONETIC = 4,
  OPTION_VARIANTS = 8,
  ALL_OPTIONS = 15
};

/* A value, detoasted; it may have a short header. */
typedef struct varlena QueryValue;

#define PG_GETARG_QUERY(n) ((const QueryValue*)PG_DETOAST_DATUM_PACKED(PG_GETARG_DATUM(n)))

/* The options and the expression, side by side: what two equal values share. */
static inline const char* QueryBytes(const QueryValue* value) {
  return VARDATA_ANY(value);
}

static inline Size QuerySize(const QueryValue* value) {
  return VARSIZE_ANY_EXHDR(value);
}

static inline int QueryOptions(const QueryValue* value) {
  return (unsigned char)QueryBytes(value)[0];
}

static inline const char* QueryExpression(const QueryValue* value) {
  return QueryBytes(value) + 1;
}

static inline Size QueryExpressionSize(const QueryValue* value) {
  return QuerySize(value) - 1;
}

#endif /* TROVEX_POSTGRESQL_QUERY_VALUE_H */
