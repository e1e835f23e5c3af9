#include "faults.h"

#include "lib/stringinfo.h"
#include "mb/pg_wchar.h"

#if PG_VERSION_NUM >= 160000
#include "nodes/miscnodes.h"
#else
#define errsave(escontext, ...) ereport(ERROR, __VA_ARGS__)
#endif

/* How many characters of a long expression a detail shows, and how many of them before the fault. */
#define MOST_SHOWN 72
#define SHOWN_BEFORE 24

enum { EXPRESSION_TOO_LONG = 9814 };

/* The byte at which character `number` of `text` begins, counted from 0. */
static size_t ByteOfCharacter(SearchedText text, size_t number) {
  size_t at = 0;
  for (size_t characters = 0; at < text.length; ++at) {
    characters += CharactersIn(text.bytes + at, 1);
    if (characters > number) break;
  }
  return at;
}

/* The expression around the fault in one line, and carets below. */
static char* FaultInItsPlace(const trovex_fault* fault, SearchedText expression) {
  StringInfoData detail;
  const size_t begin = CharactersIn(expression.bytes, fault->begin);
  const size_t size = CharactersIn(expression.bytes + fault->begin, fault->end - fault->begin);
  const size_t from = begin > MOST_SHOWN - SHOWN_BEFORE ? begin - SHOWN_BEFORE : 0;
  const size_t firstByte = ByteOfCharacter(expression, from);
  const size_t lastByte = ByteOfCharacter(expression, from + MOST_SHOWN);
  const size_t mostCarets = from + MOST_SHOWN - begin;
  const char* const dots = from > 0 ? "..." : "";

  initStringInfo(&detail);
  if (size > 1)
    appendStringInfo(&detail, "Fault %d, characters %zu to %zu:\n", fault->number, begin + 1,
                     begin + size);
  else
    appendStringInfo(&detail, "Fault %d, character %zu:\n", fault->number, begin + 1);
  appendStringInfoString(&detail, dots);
  for (size_t i = firstByte; i < lastByte; ++i) {
    const unsigned char c = (unsigned char)expression.bytes[i];
    appendStringInfoChar(&detail, c < ' ' || c == 0x7F ? ' ' : (char)c);
  }
  if (lastByte < expression.length) appendStringInfoString(&detail, "...");
  appendStringInfoChar(&detail, '\n');
  appendStringInfoSpaces(&detail, (int)(strlen(dots) + begin - from));
  for (size_t i = 0; i < Min(Max(size, 1), mostCarets); ++i)
    appendStringInfoChar(&detail, '^');
  return pg_any_to_server(detail.data, detail.len,
                          SearchedEncoding() == TROVEX_UTF8 ? PG_UTF8 : GetDatabaseEncoding());
}

void ReportFault(const trovex_fault* fault, SearchedText expression, Node* escontext) {
  const int code = fault->number == EXPRESSION_TOO_LONG ? ERRCODE_PROGRAM_LIMIT_EXCEEDED
                                                        : ERRCODE_INVALID_TEXT_REPRESENTATION;
  errsave(escontext, (errcode(code), errmsg_internal("%s", fault->sentence),
                      errdetail_internal("%s", FaultInItsPlace(fault, expression))));
}

void ReportNoMemory(size_t size) {
  ereport(ERROR, (errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory"),
                  errdetail("Failed on a search in %zu bytes.", size)));
}

void ReportGaveUp(size_t at) {
  ereport(ERROR,
          (errcode(ERRCODE_STATEMENT_TOO_COMPLEX),
           errmsg("The search was given up, as it would take too long to decide whether the text "
                  "satisfies the query."),
           errdetail("It had come to character %zu of the text.", at),
           errhint("Back-references such as \\1, and many operands that are found everywhere, "
                   "take long in long texts.")));
}
