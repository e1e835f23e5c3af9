/* The compiled queries of this backend.
 *
 * A query is compiled once and kept in a cache, which is bounded in number and memory: who was not asked
 * for the longest time goes first. What was compiled lives in memory of the library, outside of
 * PostgreSQL's contexts, and belongs to the cache. A call that goes over many rows holds on to its query
 * in fn_extra, until the memory context of the call ends, be it by an error. */

#ifndef TROVEX_POSTGRESQL_COMPILED_QUERY_H
#define TROVEX_POSTGRESQL_COMPILED_QUERY_H

#include "query_value.h"

#include "lib/ilist.h"

#include <trovex/query_c.h>

typedef struct CompiledQuery {
  trovex_query* query;
  /* Made by the first search; null before, and again when it has grown too large. */
  trovex_searcher* searcher;

  /* What it was compiled of. */
  char* bytes;
  Size size;
  uint32 hash;
  /* Estimated bytes that compiling it took. */
  size_t memory;
  /* Where it stands in the cache: among those whose hashes share a row, and by its latest use. */
  dlist_node inRow;
  dlist_node inOrder;
  /* The calls that hold on to it, and the cache, which counts for one. */
  int holders;
} CompiledQuery;

/* The compiled form of `value`; valid until the next call of this function. Where the expression is
 * refused, an error is raised; with `escontext` it is left there, if it can be, and null returned. */
extern CompiledQuery* CompileQuery(const QueryValue* value, Node* escontext);

/* The same for a function that is called for many rows: what it returns is valid until the memory of
 * the call ends, or the call asks for another query. */
extern CompiledQuery* CompiledQueryOfCall(FunctionCallInfo call, const QueryValue* value);

#endif /* TROVEX_POSTGRESQL_COMPILED_QUERY_H */
