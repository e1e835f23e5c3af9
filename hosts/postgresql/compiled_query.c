#include "compiled_query.h"

#include "faults.h"
#include "text_form.h"

#include "common/hashfn.h"
#include "utils/memutils.h"

#include <malloc.h>

/* A session has a few queries at work, or a table of saved ones; what goes beyond is compiled again. */
#define MOST_QUERIES 512
#define MOST_MEMORY ((size_t)64 << 20)
#define ROWS 256

/* The cache: rows of queries by their hashes, and all of them in the order of their latest use, the
 * latest first. Lists of all zero are empty ones. */
static dlist_head rows[ROWS];
static dlist_head order;
static int cachedQueries = 0;
static size_t cachedMemory = 0;

/* What a call over many rows keeps in fn_extra. */
typedef struct CallMemory {
  CompiledQuery* compiled;
  MemoryContextCallback atEnd;
} CallMemory;

static void LetGo(CompiledQuery* compiled) {
  if (--compiled->holders > 0) return;
  trovex_searcher_free(compiled->searcher);
  trovex_query_free(compiled->query);
  free(compiled->bytes);
  free(compiled);
}

static void RemoveOldest(void) {
  CompiledQuery* const oldest = dlist_tail_element(CompiledQuery, inOrder, &order);
  dlist_delete(&oldest->inRow);
  dlist_delete(&oldest->inOrder);
  --cachedQueries;
  cachedMemory -= oldest->memory;
  LetGo(oldest);
}

static void AddToCache(CompiledQuery* compiled) {
  while (cachedQueries == MOST_QUERIES ||
         (cachedQueries > 0 && cachedMemory + compiled->memory > MOST_MEMORY))
    RemoveOldest();
  dlist_push_head(&rows[compiled->hash % ROWS], &compiled->inRow);
  dlist_push_head(&order, &compiled->inOrder);
  ++cachedQueries;
  cachedMemory += compiled->memory;
}

static bool IsOf(const CompiledQuery* compiled, const QueryValue* value) {
  return compiled->size == QuerySize(value) &&
         memcmp(compiled->bytes, QueryBytes(value), compiled->size) == 0;
}

static CompiledQuery* FindInCache(const QueryValue* value, uint32 hash) {
  dlist_iter i;
  dlist_foreach(i, &rows[hash % ROWS]) {
    CompiledQuery* const compiled = dlist_container(CompiledQuery, inRow, i.cur);
    if (compiled->hash != hash || !IsOf(compiled, value)) continue;
    dlist_move_head(&order, &compiled->inOrder);
    return compiled;
  }
  return NULL;
}

static size_t MemoryInUse(void) {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

/* The parts that can run out of memory; null then. Nothing else is raised while it is made. */
static CompiledQuery* NewQuery(const QueryValue* value, uint32 hash) {
  CompiledQuery* const compiled = calloc(1, sizeof(CompiledQuery));
  if (compiled == NULL) return NULL;
  compiled->size = QuerySize(value);
  compiled->hash = hash;
  compiled->holders = 1;
  compiled->bytes = malloc(compiled->size);
  if (compiled->bytes == NULL) {
    free(compiled);
    return NULL;
  }
  memcpy(compiled->bytes, QueryBytes(value), compiled->size);
  return compiled;
}

CompiledQuery* CompileQuery(const QueryValue* value, Node* escontext) {
  const uint32 hash = hash_bytes((const unsigned char*)QueryBytes(value), (int)QuerySize(value));
  CompiledQuery* compiled = FindInCache(value, hash);
  if (compiled == NULL) {
    const int given = QueryOptions(value);
    const SearchedText expression =
        TextToSearch(QueryExpression(value), QueryExpressionSize(value));
    trovex_options options = {0};
    trovex_fault fault;
    options.words = given & OPTION_WORDS;
    options.case_sensitive = given & OPTION_CASE;
    options.phonetic = given & OPTION_PHONETIC;
    options.variants = given & OPTION_VARIANTS;
    options.encoding = SearchedEncoding();

    compiled = NewQuery(value, hash);
    if (compiled == NULL) ReportNoMemory(QuerySize(value));
    const size_t before = MemoryInUse();
    const int status =
        trovex_compile(expression.bytes, expression.length, &options, &compiled->query, &fault);
    if (status != TROVEX_OK) {
      LetGo(compiled);
      if (status == TROVEX_NO_MEMORY) ReportNoMemory(QuerySize(value));
      ReportFault(&fault, expression, escontext);
      return NULL;
    }
    const size_t after = MemoryInUse();
    compiled->memory = after > before ? after - before : 0;
    AddToCache(compiled);
  }
  return compiled;
}

static void EndCall(void* argument) {
  CallMemory* const memory = argument;
  if (memory->compiled != NULL) LetGo(memory->compiled);
  memory->compiled = NULL;
}

CompiledQuery* CompiledQueryOfCall(FunctionCallInfo call, const QueryValue* value) {
  FmgrInfo* const function = call->flinfo;
  CallMemory* memory = function->fn_extra;
  if (memory == NULL) {
    memory = MemoryContextAllocZero(function->fn_mcxt, sizeof(CallMemory));
    memory->atEnd.func = EndCall;
    memory->atEnd.arg = memory;
    MemoryContextRegisterResetCallback(function->fn_mcxt, &memory->atEnd);
    function->fn_extra = memory;
  }
  if (memory->compiled != NULL && IsOf(memory->compiled, value)) return memory->compiled;
  CompiledQuery* const compiled = CompileQuery(value, NULL);
  ++compiled->holders;
  if (memory->compiled != NULL) LetGo(memory->compiled);
  memory->compiled = compiled;
  return compiled;
}
