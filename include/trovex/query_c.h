/* The second door with C linkage, for every language that can call C.
 *
 *     trovex_query* query = NULL;
 *     trovex_fault fault;
 *     if (trovex_compile(expression, length, NULL, &query, &fault) != TROVEX_OK) ...fault.sentence...
 *     trovex_searcher* searcher = NULL;
 *     if (trovex_searcher_new(query, &searcher) != TROVEX_OK) ...out of memory...
 *     if (trovex_search(searcher, text, textLength, NULL) == TROVEX_YES)
 *       for (size_t i = 0; i < trovex_item_count(searcher); ++i) ...trovex_get_item(searcher, i, &item)...
 *     trovex_searcher_free(searcher);
 *     trovex_query_free(query);
 *
 * What the words mean, and what holds for texts, positions and threads, is told in query.h. Beyond
 * that:
 *
 * - Failures are values: a status or a verdict below zero. No exception leaves a function.
 * - Handles are opaque. Each is freed once, by its own function; null may be freed and nothing
 *   happens. A searcher holds on to what it needs of its query, so they may be freed in any order.
 * - A null pointer where something has to be read or written, or a value that does not exist, such
 *   as an unknown encoding, is TROVEX_BAD_ARGUMENT; functions that return no status or verdict then
 *   return 0 or null. A text or an expression of length 0 may be null.
 * - What a function writes is written only when it succeeds, unless it says otherwise.
 * - Texts are not ended by a zero; their length is always told.
 */

#ifndef TROVEX_QUERY_C_H
#define TROVEX_QUERY_C_H

#include <trovex/export.h>

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* An expression with its options, compiled; any number of threads may use it at the same time. */
typedef struct trovex_query trovex_query;
/* The work space for the searches of a query: one thread at a time. */
typedef struct trovex_searcher trovex_searcher;

enum {
  TROVEX_OK = 0,
  /* The expression was refused; the fault says why. */
  TROVEX_REFUSED = -1,
  /* The call itself makes no sense: a null pointer, a value that does not exist, a length that no
     object has. */
  TROVEX_BAD_ARGUMENT = -2,
  TROVEX_NO_MEMORY = -3
};

/* Verdicts; below zero stand TROVEX_BAD_ARGUMENT and TROVEX_NO_MEMORY. */
enum { TROVEX_NO = 0, TROVEX_YES = 1, TROVEX_GAVE_UP = 2 };

/* How bytes are read as characters. */
enum { TROVEX_UTF8 = 0, TROVEX_LATIN1 = 1 };

/* Flags are ints: zero is no, every other value is yes. All zero is the default. */
typedef struct trovex_options {
  int words;
  int case_sensitive;
  int phonetic;
  int variants;
  int encoding; /* of the expression: TROVEX_UTF8 or TROVEX_LATIN1 */
} trovex_options;

/* The longest sentence of a fault, with its ending zero. */
enum { TROVEX_SENTENCE_SIZE = 256 };

typedef struct trovex_fault {
  int number;
  /* One English sentence in ASCII, ended by a zero; cut if it were too long. */
  char sentence[TROVEX_SENTENCE_SIZE];
  /* The range of the expression that it is about, in bytes. */
  size_t begin;
  size_t end;
} trovex_fault;

typedef struct trovex_tag {
  int number;
  size_t begin;
  size_t end;
} trovex_tag;

typedef struct trovex_item {
  size_t begin;
  size_t end;
  /* The tags of the item by their numbers, if the search was asked for them: valid as long as the
   * item is. */
  const trovex_tag* tags;
  size_t tag_count;
} trovex_item;

/* ---- Compiling ---- */

/* Compiles `length` bytes at `expression`; `options` may be null for the defaults. On TROVEX_OK,
 * `*query` is the caller's to free. Otherwise it is set to null, and `fault`, which may be null, is
 * filled in: for every failure there is a number, a sentence and a range, which is empty where the
 * failure is not about the expression. TROVEX_BAD_ARGUMENT has the number 9857, TROVEX_NO_MEMORY 9811. */
TROVEX_EXPORT int trovex_compile(const char* expression, size_t length,
                                 const trovex_options* options, trovex_query** query,
                                 trovex_fault* fault);

TROVEX_EXPORT void trovex_query_free(trovex_query* query);

/* ---- What was understood ---- */

/* The number of tags; TROVEX_BAD_ARGUMENT for null. */
TROVEX_EXPORT int trovex_tag_count(const trovex_query* query);

/* Writes the description, lines of UTF-8, and an ending zero to the `size` bytes at
 * `buffer`, as much as has room. Returns the length of the whole, without the zero; 0 when the query
 * is null or memory runs out. `buffer` may be null when `size` is 0. */
TROVEX_EXPORT size_t trovex_describe(const trovex_query* query, char* buffer, size_t size);

enum { TROVEX_PATTERN = 0, TROVEX_SOUND = 1, TROVEX_AND = 2, TROVEX_OR = 3, TROVEX_NOT = 4 };

/* One operand or operator; see QueryPart in query.h. The strings, UTF-8 and ended by a zero, and the
 * tags are valid as long as the query. */
typedef struct trovex_part {
  int kind;
  int level;
  const char* text;      /* "" where there is none */
  const char* sound_key; /* "" where there is none */
  int has_distance;
  int64_t distance;
  int distance_in_words;
  int ordered;
  const int* tags;
  size_t tag_count;
  size_t begin;
  size_t end;
} trovex_part;

/* The parts, each before its operands. */
TROVEX_EXPORT size_t trovex_part_count(const trovex_query* query);
TROVEX_EXPORT int trovex_get_part(const trovex_query* query, size_t index, trovex_part* part);

/* The strings of which every text that satisfies the query holds at least one of every clause; see
 * RequiredStrings in query.h. They are ended by a zero and valid as long as the query; null where
 * there is none of that number. */
TROVEX_EXPORT size_t trovex_required_clause_count(const trovex_query* query);
TROVEX_EXPORT size_t trovex_required_string_count(const trovex_query* query, size_t clause);
TROVEX_EXPORT const char* trovex_required_string(const trovex_query* query, size_t clause,
                                                 size_t index, size_t* length);
/* Whether the text may hold them in either case of each letter: 1 or 0. */
TROVEX_EXPORT int trovex_required_folds_case(const trovex_query* query);

/* ---- Searching ---- */

/* On TROVEX_OK, `*searcher` is the caller's to free; otherwise it is set to null. */
TROVEX_EXPORT int trovex_searcher_new(const trovex_query* query, trovex_searcher** searcher);
TROVEX_EXPORT void trovex_searcher_free(trovex_searcher* searcher);

/* All zero means: UTF-8, no tags, all items, nobody is asked. */
typedef struct trovex_search_options {
  int encoding; /* of the text: TROVEX_UTF8 or TROVEX_LATIN1 */
  int tags;
  /* The search ends when it has so many items; 0 for all. For the verdict alone there is
   * trovex_matches. */
  size_t most_items;
  /* Asked now and then with `interrupt_context`: not zero ends the search with TROVEX_GAVE_UP. */
  int (*interrupt)(void* context);
  void* interrupt_context;
} trovex_search_options;

/* The verdict on a text alone; `options` may be null, its `most_items` and `tags` are ignored. */
TROVEX_EXPORT int trovex_matches(trovex_searcher* searcher, const char* text, size_t length,
                                 const trovex_search_options* options);

/* Searches a text and keeps its items; `options` may be null. Returns the verdict. */
TROVEX_EXPORT int trovex_search(trovex_searcher* searcher, const char* text, size_t length,
                                const trovex_search_options* options);

/* The items of the latest trovex_search, valid until the searcher searches again or is freed. */
TROVEX_EXPORT size_t trovex_item_count(const trovex_searcher* searcher);
TROVEX_EXPORT int trovex_get_item(const trovex_searcher* searcher, size_t index, trovex_item* item);

/* Called with one item after the other; the item is valid during the call. Returns whether to go
 * on: zero ends the search, with TROVEX_YES. It must not use the searcher, and no exception or
 * longjmp may leave it. */
typedef int (*trovex_visit)(void* context, const trovex_item* item);

/* Searches a text and calls `visit` for each item while the search goes on; none is kept. */
TROVEX_EXPORT int trovex_search_each(trovex_searcher* searcher, const char* text, size_t length,
                                     const trovex_search_options* options, trovex_visit visit,
                                     void* context);

/* Where the latest search gave up; 0 for any other verdict. */
TROVEX_EXPORT size_t trovex_gave_up_at(const trovex_searcher* searcher);

#ifdef __cplusplus
}
#endif

#endif /* TROVEX_QUERY_C_H */
