/* The type trovex_query: what goes in and out, and how its values are ordered. */

#include "compiled_query.h"
#include "faults.h"

#include "common/hashfn.h"
#include "lib/stringinfo.h"
#include "libpq/pqformat.h"
#include "utils/builtins.h"

#if PG_VERSION_NUM >= 160000
#define ESCONTEXT(call) ((call)->context)
#include "nodes/miscnodes.h"
#else
#define ESCONTEXT(call) NULL
#define ereturn(escontext, nothing, ...) \
  do {                                   \
    (void)(escontext);                   \
    ereport(ERROR, __VA_ARGS__);         \
  } while (0)
#endif

/* The version of the binary form, its first byte. */
#define BINARY_VERSION 1

typedef struct OptionName {
  const char* name;
  int option;
} OptionName;

static const OptionName optionNames[] = {{"words", OPTION_WORDS},
                                         {"case", OPTION_CASE},
                                         {"phonetic", OPTION_PHONETIC},
                                         {"variants", OPTION_VARIANTS}};

static bool IsBetweenNames(char c) {
  return c == ',' || c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/* Reads names of options, in any order, with commas or blanks between. -1 when an error was left in
 * `escontext`. */
static int ReadOptions(const char* names, size_t length, Node* escontext) {
  int options = 0;
  size_t at = 0;
  while (at < length) {
    if (IsBetweenNames(names[at])) {
      ++at;
      continue;
    }
    size_t end = at;
    while (end < length && !IsBetweenNames(names[end]))
      ++end;
    int option = 0;
    for (size_t i = 0; i < lengthof(optionNames); ++i) {
      const char* const name = optionNames[i].name;
      if (strlen(name) == end - at && pg_strncasecmp(name, names + at, end - at) == 0)
        option = optionNames[i].option;
    }
    if (option == 0) {
      ereturn(escontext, -1,
              (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
               errmsg("unknown option of a trovex_query: \"%s\"", pnstrdup(names + at, end - at)),
               errhint("The options are words, case, phonetic and variants.")));
    }
    options |= option;
    at = end;
  }
  return options;
}

static QueryValue* MakeValue(int options, const char* expression, size_t length, Node* escontext) {
  QueryValue* const value = palloc(VARHDRSZ + 1 + length);
  SET_VARSIZE(value, VARHDRSZ + 1 + length);
  VARDATA(value)[0] = (char)options;
  memcpy(VARDATA(value) + 1, expression, length);
  return CompileQuery(value, escontext) == NULL ? NULL : value;
}

static bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/* Where the options end that `typed` begins with, after their closing brace; 0 when there are none. */
static size_t OptionsEnd(const char* typed, size_t length) {
  if (length < 2 || typed[0] != '{' || !(IsLetter(typed[1]) || typed[1] == ' ')) return 0;
  const char* const brace = memchr(typed, '}', length);
  return brace == NULL ? 0 : (size_t)(brace - typed) + 1;
}

/* The value of a text such as "{words} Haus"; null when an error was left in `escontext`. */
static QueryValue* ReadValue(const char* typed, size_t length, Node* escontext) {
  size_t at = OptionsEnd(typed, length);
  int options = 0;
  if (at > 0) {
    options = ReadOptions(typed + 1, at - 2, escontext);
    if (options < 0) return NULL;
    if (at < length && typed[at] == ' ') ++at;
  }
  return MakeValue(options, typed + at, length - at, escontext);
}

static void WriteValue(const QueryValue* value, StringInfo to) {
  const int options = QueryOptions(value);
  if (options != 0) {
    const char* before = "{";
    for (size_t i = 0; i < lengthof(optionNames); ++i) {
      if ((options & optionNames[i].option) == 0) continue;
      appendStringInfo(to, "%s%s", before, optionNames[i].name);
      before = ",";
    }
    appendStringInfoString(to, "} ");
  }
  appendBinaryStringInfo(to, QueryExpression(value), (int)QueryExpressionSize(value));
}

PG_FUNCTION_INFO_V1(pg_trovex_query_in);
Datum pg_trovex_query_in(PG_FUNCTION_ARGS) {
  const char* const typed = PG_GETARG_CSTRING(0);
  QueryValue* const value = ReadValue(typed, strlen(typed), ESCONTEXT(fcinfo));
  if (value == NULL) PG_RETURN_NULL();
  PG_RETURN_POINTER(value);
}

PG_FUNCTION_INFO_V1(pg_trovex_query_out);
Datum pg_trovex_query_out(PG_FUNCTION_ARGS) {
  StringInfoData written;
  initStringInfo(&written);
  WriteValue(PG_GETARG_QUERY(0), &written);
  PG_RETURN_CSTRING(written.data);
}

PG_FUNCTION_INFO_V1(pg_trovex_query_recv);
Datum pg_trovex_query_recv(PG_FUNCTION_ARGS) {
  StringInfo const message = (StringInfo)PG_GETARG_POINTER(0);
  const int version = pq_getmsgbyte(message);
  int length;
  if (version != BINARY_VERSION)
    ereport(ERROR, (errcode(ERRCODE_INVALID_BINARY_REPRESENTATION),
                    errmsg("unknown version of a binary trovex_query: %d", version)));
  const char* const typed = pq_getmsgtext(message, message->len - message->cursor, &length);
  PG_RETURN_POINTER(ReadValue(typed, (size_t)length, NULL));
}

PG_FUNCTION_INFO_V1(pg_trovex_query_send);
Datum pg_trovex_query_send(PG_FUNCTION_ARGS) {
  StringInfoData written;
  StringInfoData message;
  initStringInfo(&written);
  WriteValue(PG_GETARG_QUERY(0), &written);
  pq_begintypsend(&message);
  pq_sendbyte(&message, BINARY_VERSION);
  pq_sendtext(&message, written.data, written.len);
  PG_RETURN_BYTEA_P(pq_endtypsend(&message));
}

PG_FUNCTION_INFO_V1(pg_trovex_query_of_text);
Datum pg_trovex_query_of_text(PG_FUNCTION_ARGS) {
  const text* const typed = PG_GETARG_TEXT_PP(0);
  PG_RETURN_POINTER(ReadValue(VARDATA_ANY(typed), VARSIZE_ANY_EXHDR(typed), NULL));
}

PG_FUNCTION_INFO_V1(pg_trovex_query_with_options);
Datum pg_trovex_query_with_options(PG_FUNCTION_ARGS) {
  const text* const typed = PG_GETARG_TEXT_PP(0);
  const text* const names = PG_GETARG_TEXT_PP(1);
  const int options = ReadOptions(VARDATA_ANY(names), VARSIZE_ANY_EXHDR(names), NULL);
  PG_RETURN_POINTER(MakeValue(options, VARDATA_ANY(typed), VARSIZE_ANY_EXHDR(typed), NULL));
}

/* By the bytes of the expression, then by the options. */
static int Compare(const QueryValue* a, const QueryValue* b) {
  const Size sizeA = QueryExpressionSize(a);
  const Size sizeB = QueryExpressionSize(b);
  const int order = memcmp(QueryExpression(a), QueryExpression(b), Min(sizeA, sizeB));
  if (order != 0) return order < 0 ? -1 : 1;
  if (sizeA != sizeB) return sizeA < sizeB ? -1 : 1;
  return QueryOptions(a) - QueryOptions(b);
}

#define COMPARISON(name, relation)                                              \
  PG_FUNCTION_INFO_V1(pg_trovex_query_##name);                                  \
  Datum pg_trovex_query_##name(PG_FUNCTION_ARGS) {                              \
    PG_RETURN_BOOL(Compare(PG_GETARG_QUERY(0), PG_GETARG_QUERY(1)) relation 0); \
  }

COMPARISON(lt, <)
COMPARISON(le, <=)
COMPARISON(eq, ==)
COMPARISON(ne, !=)
COMPARISON(ge, >=)
COMPARISON(gt, >)

PG_FUNCTION_INFO_V1(pg_trovex_query_cmp);
Datum pg_trovex_query_cmp(PG_FUNCTION_ARGS) {
  PG_RETURN_INT32(Compare(PG_GETARG_QUERY(0), PG_GETARG_QUERY(1)));
}

PG_FUNCTION_INFO_V1(pg_trovex_query_hash);
Datum pg_trovex_query_hash(PG_FUNCTION_ARGS) {
  const QueryValue* const value = PG_GETARG_QUERY(0);
  return hash_any((const unsigned char*)QueryBytes(value), (int)QuerySize(value));
}

PG_FUNCTION_INFO_V1(pg_trovex_query_hash_extended);
Datum pg_trovex_query_hash_extended(PG_FUNCTION_ARGS) {
  const QueryValue* const value = PG_GETARG_QUERY(0);
  return hash_any_extended((const unsigned char*)QueryBytes(value), (int)QuerySize(value),
                           (uint64)PG_GETARG_INT64(1));
}
