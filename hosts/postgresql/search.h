/* A search of one text.
 *
 * The library is C++ inside, PostgreSQL's errors are longjmps, and neither may cross the other's frames.
 * So whatever can raise an error while the library is at work runs in a PG_TRY of its own, in the
 * callback that the library called; what was caught there is raised again when the library has
 * returned. */

#ifndef TROVEX_POSTGRESQL_SEARCH_H
#define TROVEX_POSTGRESQL_SEARCH_H

#include "compiled_query.h"
#include "text_form.h"

/* Whether `text` satisfies the query. Can be cancelled between pieces of a long text. Where the search
 * gives up, an error is raised. */
extern bool SatisfiesQuery(CompiledQuery* compiled, SearchedText text);

/* Takes `count` items, which are valid during the call; may raise errors. */
typedef void (*ItemSink)(void* context, const trovex_item* items, size_t count);

typedef struct ItemsWanted {
  bool tags;
  /* 0 for all. */
  size_t most;
} ItemsWanted;

/* Hands the items of `text` to `sink`, some at a time, in their order. Otherwise as above. */
extern void EachItem(CompiledQuery* compiled, SearchedText text, ItemsWanted wanted, ItemSink sink,
                     void* context);

/* Whether the query will surely end at the next CHECK_FOR_INTERRUPTS. Raises nothing. */
extern bool MustEnd(void* context);

#endif /* TROVEX_POSTGRESQL_SEARCH_H */
