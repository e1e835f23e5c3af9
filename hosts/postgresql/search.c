#include "search.h"

#include "faults.h"

#include "miscadmin.h"

/* Texts up to this size are searched without a break: some ten microseconds. */
#define SHORT_TEXT ((size_t)32 << 10)
/* A searcher that met a text of this size is not kept, for it may have grown with it. */
#define LARGE_TEXT ((size_t)8 << 20)

#define MOST_ITEMS_AT_ONCE 64
#define MOST_TAGS_AT_ONCE 256

bool MustEnd(void* context) {
  (void)context;
  return InterruptPending && (QueryCancelPending || ProcDiePending) &&
         INTERRUPTS_CAN_BE_PROCESSED();
}

/* Asked by the library. */
static int MustStop(void* context) {
  return MustEnd(context);
}

static trovex_searcher* SearcherOf(CompiledQuery* compiled, size_t textLength) {
  if (compiled->searcher == NULL &&
      trovex_searcher_new(compiled->query, &compiled->searcher) != TROVEX_OK)
    ReportNoMemory(textLength);
  return compiled->searcher;
}

static void DropSearcher(CompiledQuery* compiled) {
  trovex_searcher_free(compiled->searcher);
  compiled->searcher = NULL;
}

static trovex_search_options OptionsFor(SearchedText text) {
  trovex_search_options options = {0};
  options.encoding = SearchedEncoding();
  if (text.length > SHORT_TEXT) options.interrupt = MustStop;
  return options;
}

/* What is to be done when the library has returned. */
static void Conclude(CompiledQuery* compiled, SearchedText text, int verdict) {
  const size_t gaveUpAt = trovex_gave_up_at(compiled->searcher);
  if (text.length > LARGE_TEXT || verdict < 0) DropSearcher(compiled);
  if (verdict == TROVEX_NO || verdict == TROVEX_YES) return;
  if (verdict == TROVEX_NO_MEMORY) ReportNoMemory(text.length);
  if (verdict < 0) elog(ERROR, "trovex: a search was called in a way that makes no sense");
  CHECK_FOR_INTERRUPTS();
  ReportGaveUp(CharactersIn(text.bytes, gaveUpAt) + 1);
}

bool SatisfiesQuery(CompiledQuery* compiled, SearchedText text) {
  const trovex_search_options options = OptionsFor(text);
  trovex_searcher* const searcher = SearcherOf(compiled, text.length);
  const int verdict = trovex_matches(searcher, text.bytes, text.length, &options);
  Conclude(compiled, text, verdict);
  return verdict == TROVEX_YES;
}

/* Items on their way to a sink, with their tags. */
typedef struct Batch {
  ItemSink sink;
  void* context;
  trovex_item items[MOST_ITEMS_AT_ONCE];
  size_t itemCount;
  trovex_tag* tags;
  size_t tagCount;
  size_t mostTags;
  /* The sink raised an error, which is still to be seen to. */
  bool hasFailed;
} Batch;

/* False when the search has to end. */
static bool Flush(Batch* batch) {
  const MemoryContext context = CurrentMemoryContext;
  PG_TRY();
  {
    CHECK_FOR_INTERRUPTS();
    batch->sink(batch->context, batch->items, batch->itemCount);
  }
  PG_CATCH();
  {
    MemoryContextSwitchTo(context);
    batch->hasFailed = true;
  }
  PG_END_TRY();
  batch->itemCount = 0;
  batch->tagCount = 0;
  return !batch->hasFailed;
}

static int TakeItem(void* context, const trovex_item* item) {
  Batch* const batch = context;
  const bool isFull =
      batch->itemCount == MOST_ITEMS_AT_ONCE || batch->tagCount + item->tag_count > batch->mostTags;
  if (isFull && !Flush(batch)) return 0;
  trovex_item* const taken = &batch->items[batch->itemCount++];
  *taken = *item;
  taken->tags = batch->tags + batch->tagCount;
  for (size_t i = 0; i < item->tag_count; ++i)
    batch->tags[batch->tagCount++] = item->tags[i];
  return 1;
}

void EachItem(CompiledQuery* compiled, SearchedText text, ItemsWanted wanted, ItemSink sink,
              void* context) {
  trovex_search_options options = OptionsFor(text);
  trovex_searcher* const searcher = SearcherOf(compiled, text.length);
  const size_t tagCount = wanted.tags ? (size_t)trovex_tag_count(compiled->query) : 0;
  Batch batch = {0};
  options.tags = tagCount > 0;
  options.most_items = wanted.most;
  batch.sink = sink;
  batch.context = context;
  batch.mostTags = Max(tagCount, MOST_TAGS_AT_ONCE);
  if (tagCount > 0) batch.tags = palloc(batch.mostTags * sizeof(trovex_tag));
  const int verdict =
      trovex_search_each(searcher, text.bytes, text.length, &options, TakeItem, &batch);
  if (batch.hasFailed) PG_RE_THROW();
  Conclude(compiled, text, verdict);
  if (batch.itemCount > 0) {
    CHECK_FOR_INTERRUPTS();
    sink(context, batch.items, batch.itemCount);
  }
}
