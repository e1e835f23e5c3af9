/* Texts for people: with what was found marked, as a whole or as a snippet. */

#include "search.h"

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

static void MarkItem(MarkedText* marked, size_t begin, size_t end) {
  begin = Max(begin, marked->done);
  end = Min(end, marked->end);
  if (end <= begin) return;
  AppendTo(marked, begin);
  Append(&marked->written, marked->marks.before);
  AppendTo(marked, end);
  Append(&marked->written, marked->marks.after);
}

static void MarkItems(void* context, const trovex_item* items, size_t count) {
  for (size_t i = 0; i < count; ++i)
    MarkItem(context, items[i].begin, items[i].end);
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
/* How many bytes are walked through without asking for interrupts. */
#define WALK ((size_t)1 << 20)

/* An item, and the words that it begins and ends in; words are counted from 0. */
typedef struct PlacedItem {
  size_t begin;
  size_t end;
  size_t firstWord;
  size_t lastWord;
} PlacedItem;

typedef struct PlacedItems {
  PlacedItem items[MOST_ITEMS_OF_SNIPPET];
  size_t count;
} PlacedItems;

static void KeepItems(void* context, const trovex_item* items, size_t count) {
  PlacedItems* const placed = context;
  for (size_t i = 0; i < count && placed->count < MOST_ITEMS_OF_SNIPPET; ++i) {
    PlacedItem* const item = &placed->items[placed->count++];
    item->begin = items[i].begin;
    item->end = items[i].end;
  }
}

static bool IsBlank(SearchedText text, size_t at) {
  const char c = text.bytes[at];
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/* Whether a word begins at `at`: a row of characters without white space. */
static bool IsWordStart(SearchedText text, size_t at) {
  return !IsBlank(text, at) && (at == 0 || IsBlank(text, at - 1));
}

/* Counts the words before and at the beginnings of the items, and from there to their ends. */
static void FindWords(SearchedText text, PlacedItems* placed) {
  size_t at = 0;
  size_t words = 0;
  for (size_t i = 0; i < placed->count; ++i) {
    PlacedItem* const item = &placed->items[i];
    for (; at < text.length && at <= item->begin; ++at) {
      words += IsWordStart(text, at);
      if (at % WALK == 0) CHECK_FOR_INTERRUPTS();
    }
    item->firstWord = words == 0 ? 0 : words - 1;
    item->lastWord = item->firstWord;
    const size_t farEnough = item->firstWord + MOST_WORDS;
    for (size_t inside = item->begin + 1; inside < item->end && item->lastWord < farEnough;
         ++inside)
      item->lastWord += IsWordStart(text, inside);
  }
}

/* The items from `*first` to `*last` that stand within `words` words: as many as possible, and of
 * those the earliest. */
static void ChooseItems(const PlacedItems* placed, size_t words, size_t* first, size_t* last) {
  *first = 0;
  *last = 0;
  size_t end = 0;
  for (size_t begin = 0; begin < placed->count; ++begin) {
    end = Max(end, begin);
    while (end + 1 < placed->count &&
           placed->items[end + 1].lastWord - placed->items[begin].firstWord < words)
      ++end;
    if (end - begin <= *last - *first) continue;
    *first = begin;
    *last = end;
  }
}

/* Goes back from `at` by up to `words` beginnings of words; tells how many there were. */
static size_t GoBack(SearchedText text, size_t* at, size_t words) {
  size_t done = 0;
  for (size_t place = *at; place > 0 && done < words;) {
    --place;
    if (!IsWordStart(text, place)) continue;
    *at = place;
    ++done;
  }
  return done;
}

/* Goes on from `at`, where a word begins, to the end of the `words`-th word from there or to the last
 * one; tells how many there were. */
static size_t GoOn(SearchedText text, size_t* at, size_t words) {
  size_t done = 0;
  for (size_t place = *at; place < text.length; ++place) {
    if (IsWordStart(text, place)) {
      if (done == words) break;
      ++done;
    }
    if (!IsBlank(text, place)) *at = place + 1;
  }
  return done;
}

/* The beginning of the word that holds `at`, or the next one when it stands between words. */
static size_t WordAt(SearchedText text, size_t at) {
  while (at > 0 && at < text.length && !IsBlank(text, at) && !IsBlank(text, at - 1))
    --at;
  while (at < text.length && IsBlank(text, at))
    ++at;
  return at;
}

PG_FUNCTION_INFO_V1(pg_trovex_snippet);
Datum pg_trovex_snippet(PG_FUNCTION_ARGS) {
  const text* const body = PG_GETARG_TEXT_PP(0);
  CompiledQuery* const compiled = CompiledQueryOfCall(fcinfo, PG_GETARG_QUERY(1));
  const SearchedText ellipsis = DatumToSearch(PG_GETARG_TEXT_PP(4));
  const int32 wordsWanted = PG_GETARG_INT32(5);
  if (wordsWanted < 1 || wordsWanted > MOST_WORDS)
    ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
                    errmsg("the number of words must be between 1 and %d", MOST_WORDS)));
  const size_t words = (size_t)wordsWanted;
  MarkedText marked = {.text = DatumToSearch(body)};
  marked.marks.before = DatumToSearch(PG_GETARG_TEXT_PP(2));
  marked.marks.after = DatumToSearch(PG_GETARG_TEXT_PP(3));

  PlacedItems* const placed = palloc0(sizeof(PlacedItems));
  EachItem(compiled, marked.text, (ItemsWanted){.most = MOST_ITEMS_OF_SNIPPET}, KeepItems, placed);
  FindWords(marked.text, placed);
  size_t first;
  size_t last;
  ChooseItems(placed, words, &first, &last);

  /* What is chosen stands in the middle; where the text ends before that, more stands in front. */
  size_t begin = WordAt(marked.text, placed->count == 0 ? 0 : placed->items[first].begin);
  const size_t chosen = placed->items[last].lastWord - placed->items[first].firstWord + 1;
  const size_t spare = words > chosen ? words - chosen : 0;
  const size_t before = GoBack(marked.text, &begin, spare / 2);
  size_t end = begin;
  const size_t shown = GoOn(marked.text, &end, words);
  if (shown < words && before == spare / 2) GoBack(marked.text, &begin, words - shown);

  marked.done = begin;
  marked.end = end;
  initStringInfo(&marked.written);
  if (begin > WordAt(marked.text, 0)) Append(&marked.written, ellipsis);
  for (size_t i = first; i < placed->count && placed->items[i].begin < end; ++i)
    MarkItem(&marked, placed->items[i].begin, placed->items[i].end);
  AppendTo(&marked, end);
  if (WordAt(marked.text, end) < marked.text.length) Append(&marked.written, ellipsis);
  PG_RETURN_TEXT_P(TextOfSearched(marked.written.data, (size_t)marked.written.len));
}
