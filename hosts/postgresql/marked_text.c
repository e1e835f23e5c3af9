/* Texts for people: with what was found marked, as a whole or as a snippet. */

#include "search.h"

#include "../common/snippet.h"

#include "lib/stringinfo.h"
#include "miscadmin.h"

/* What a text is shown with, in the form of the text. */
typedef struct Marks {
  SearchedText before;
  SearchedText after;
} Marks;

/* A part of a text on its way to the reader. Items may overlap, so each begins where the one before
 * has ended at the earliest. */
typedef struct MarkedText {
  SearchedText text;
  Marks marks;
  /* How far it is written, and where it shall end. */
  size_t done;
  size_t end;
  StringInfoData written;
} MarkedText;

static void Append(StringInfo to, SearchedText piece) {
  appendBinaryStringInfo(to, piece.bytes, (int)piece.length);
}

static void AppendTo(MarkedText* marked, size_t end) {
  appendBinaryStringInfo(&marked->written, marked->text.bytes + marked->done,
                         (int)(end - marked->done));
  marked->done = end;
}

static void MarkItem(MarkedText* marked, TextRange item) {
  const TextRange part = PartToMark(item, marked->done, marked->end);
  if (part.begin == part.end) return;
  AppendTo(marked, part.begin);
  Append(&marked->written, marked->marks.before);
  AppendTo(marked, part.end);
  Append(&marked->written, marked->marks.after);
}

static void MarkItems(void* context, const trovex_item* items, size_t count) {
  for (size_t i = 0; i < count; ++i)
    MarkItem(context, (TextRange){items[i].begin, items[i].end});
}

PG_FUNCTION_INFO_V1(pg_trovex_highlight);
Datum pg_trovex_highlight(PG_FUNCTION_ARGS) {
  const text* const body = PG_GETARG_TEXT_PP(0);
  CompiledQuery* const compiled = CompiledQueryOfCall(fcinfo, PG_GETARG_QUERY(1));
  MarkedText marked = {.text = DatumToSearch(body)};
  marked.marks.before = DatumToSearch(PG_GETARG_TEXT_PP(2));
  marked.marks.after = DatumToSearch(PG_GETARG_TEXT_PP(3));
  marked.end = marked.text.length;
  initStringInfo(&marked.written);
  EachItem(compiled, marked.text, (ItemsWanted){0}, MarkItems, &marked);
  AppendTo(&marked, marked.end);
  PG_RETURN_TEXT_P(TextOfSearched(marked.written.data, (size_t)marked.written.len));
}

/* A snippet is chosen among the first items. */
#define MOST_ITEMS_OF_SNIPPET 1000
#define MOST_WORDS 10000

typedef struct KeptItems {
  TextRange items[MOST_ITEMS_OF_SNIPPET];
  size_t count;
} KeptItems;

static void KeepItems(void* context, const trovex_item* items, size_t count) {
  KeptItems* const kept = context;
  for (size_t i = 0; i < count && kept->count < MOST_ITEMS_OF_SNIPPET; ++i)
    kept->items[kept->count++] = (TextRange){items[i].begin, items[i].end};
}

PG_FUNCTION_INFO_V1(pg_trovex_snippet);
Datum pg_trovex_snippet(PG_FUNCTION_ARGS) {
  const text* const body = PG_GETARG_TEXT_PP(0);
  CompiledQuery* const compiled = CompiledQueryOfCall(fcinfo, PG_GETARG_QUERY(1));
  const SearchedText ellipsis = DatumToSearch(PG_GETARG_TEXT_PP(4));
  const int32 words = PG_GETARG_INT32(5);
  if (words < 1 || words > MOST_WORDS)
    ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
                    errmsg("the number of words must be between 1 and %d", MOST_WORDS)));
  MarkedText marked = {.text = DatumToSearch(body)};
  marked.marks.before = DatumToSearch(PG_GETARG_TEXT_PP(2));
  marked.marks.after = DatumToSearch(PG_GETARG_TEXT_PP(3));

  KeptItems* const kept = palloc0(sizeof(KeptItems));
  EachItem(compiled, marked.text, (ItemsWanted){.most = MOST_ITEMS_OF_SNIPPET}, KeepItems, kept);
  Snippet snippet;
  while (!ChooseSnippet(marked.text.bytes, marked.text.length, kept->items, kept->count,
                        (size_t)words, MustEnd, NULL, &snippet))
    CHECK_FOR_INTERRUPTS();

  marked.done = snippet.part.begin;
  marked.end = snippet.part.end;
  initStringInfo(&marked.written);
  if (snippet.isCutBefore) Append(&marked.written, ellipsis);
  for (size_t i = 0; i < kept->count && kept->items[i].begin < marked.end; ++i)
    MarkItem(&marked, kept->items[i]);
  AppendTo(&marked, marked.end);
  if (snippet.isCutBehind) Append(&marked.written, ellipsis);
  PG_RETURN_TEXT_P(TextOfSearched(marked.written.data, (size_t)marked.written.len));
}
