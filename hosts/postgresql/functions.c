/* What is asked of a text: the verdict, the number of its items, the items; and of a query: what was
 * understood. */

#include "faults.h"
#include "search.h"

#include "catalog/pg_type.h"
#include "funcapi.h"
#include "mb/pg_wchar.h"
#include "utils/array.h"
#include "utils/builtins.h"
#include "utils/memutils.h"

PG_MODULE_MAGIC;

PG_FUNCTION_INFO_V1(pg_trovex_matches);
Datum pg_trovex_matches(PG_FUNCTION_ARGS) {
  const text* const body = PG_GETARG_TEXT_PP(0);
  CompiledQuery* const compiled = CompiledQueryOfCall(fcinfo, PG_GETARG_QUERY(1));
  const bool isSatisfied = SatisfiesQuery(compiled, DatumToSearch(body));
  PG_FREE_IF_COPY((void*)body, 0);
  PG_RETURN_BOOL(isSatisfied);
}

static void CountItems(void* context, const trovex_item* items, size_t count) {
  (void)items;
  *(size_t*)context += count;
}

PG_FUNCTION_INFO_V1(pg_trovex_count);
Datum pg_trovex_count(PG_FUNCTION_ARGS) {
  const text* const body = PG_GETARG_TEXT_PP(0);
  CompiledQuery* const compiled = CompiledQueryOfCall(fcinfo, PG_GETARG_QUERY(1));
  size_t count = 0;
  EachItem(compiled, DatumToSearch(body), (ItemsWanted){0}, CountItems, &count);
  PG_FREE_IF_COPY((void*)body, 0);
  PG_RETURN_INT32((int32)count);
}

/* A place of the text, and the number of characters before it. */
typedef struct CountedPlace {
  size_t byte;
  size_t characters;
} CountedPlace;

/* The rows of trovex_items. */
typedef struct ItemRows {
  SearchedText text;
  ReturnSetInfo* result;
  int tagCount;
  /* Of the tags of a row, each by its number. */
  Datum* tagTexts;
  Datum* tagStarts;
  bool* tagIsMissing;
  CountedPlace counted;
  /* Emptied after some rows. */
  MemoryContext rowMemory;
} ItemRows;

enum { COLUMN_START, COLUMN_LENGTH, COLUMN_ITEM, COLUMN_TAGS, COLUMN_TAG_STARTS, COLUMNS };

/* The characters before `byte`, counted from where it was counted last. */
static size_t CharactersBefore(ItemRows* rows, size_t byte) {
  CountedPlace* const counted = &rows->counted;
  if (byte >= counted->byte)
    counted->characters += CharactersIn(rows->text.bytes + counted->byte, byte - counted->byte);
  else
    counted->characters -= CharactersIn(rows->text.bytes + byte, counted->byte - byte);
  counted->byte = byte;
  return counted->characters;
}

static Datum TextOfRange(const ItemRows* rows, size_t begin, size_t end) {
  return PointerGetDatum(TextOfSearched(rows->text.bytes + begin, end - begin));
}

static Datum TagArray(const ItemRows* rows, Datum* values, Oid type) {
  const bool isText = type == TEXTOID;
  if (rows->tagCount == 0) return PointerGetDatum(construct_empty_array(type));
  int size = rows->tagCount;
  int first = 1;
  return PointerGetDatum(construct_md_array(values, rows->tagIsMissing, 1, &size, &first, type,
                                            isText ? -1 : 4, !isText, TYPALIGN_INT));
}

static void PutRow(ItemRows* rows, const trovex_item* item) {
  Datum values[COLUMNS];
  bool isNull[COLUMNS] = {false};
  const size_t start = CharactersBefore(rows, item->begin);
  values[COLUMN_START] = Int32GetDatum((int32)start + 1);
  values[COLUMN_LENGTH] =
      Int32GetDatum((int32)CharactersIn(rows->text.bytes + item->begin, item->end - item->begin));
  values[COLUMN_ITEM] = TextOfRange(rows, item->begin, item->end);
  for (int i = 0; i < rows->tagCount; ++i)
    rows->tagIsMissing[i] = true;
  for (size_t i = 0; i < item->tag_count; ++i) {
    const trovex_tag* const tag = &item->tags[i];
    const int index = tag->number - 1;
    rows->tagIsMissing[index] = false;
    rows->tagTexts[index] = TextOfRange(rows, tag->begin, tag->end);
    rows->tagStarts[index] = Int32GetDatum((int32)CharactersBefore(rows, tag->begin) + 1);
  }
  values[COLUMN_TAGS] = TagArray(rows, rows->tagTexts, TEXTOID);
  values[COLUMN_TAG_STARTS] = TagArray(rows, rows->tagStarts, INT4OID);
  tuplestore_putvalues(rows->result->setResult, rows->result->setDesc, values, isNull);
}

static void PutRows(void* context, const trovex_item* items, size_t count) {
  ItemRows* const rows = context;
  const MemoryContext outer = MemoryContextSwitchTo(rows->rowMemory);
  for (size_t i = 0; i < count; ++i)
    PutRow(rows, &items[i]);
  MemoryContextSwitchTo(outer);
  MemoryContextReset(rows->rowMemory);
}

PG_FUNCTION_INFO_V1(pg_trovex_items);
Datum pg_trovex_items(PG_FUNCTION_ARGS) {
  const text* const body = PG_GETARG_TEXT_PP(0);
  const int32 most = PG_NARGS() > 2 ? PG_GETARG_INT32(2) : 0;
  if (most < 0)
    ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
                    errmsg("the number of items must not be negative")));
  /* fn_extra is not ours in a function that returns a set. Nothing else is compiled before it ends. */
  CompiledQuery* const compiled = CompileQuery(PG_GETARG_QUERY(1), NULL);
  InitMaterializedSRF(fcinfo, 0);

  ItemRows rows = {0};
  rows.text = DatumToSearch(body);
  rows.result = (ReturnSetInfo*)fcinfo->resultinfo;
  rows.tagCount = trovex_tag_count(compiled->query);
  rows.tagTexts = palloc0((Size)rows.tagCount * sizeof(Datum));
  rows.tagStarts = palloc0((Size)rows.tagCount * sizeof(Datum));
  rows.tagIsMissing = palloc0((Size)rows.tagCount * sizeof(bool));
  rows.rowMemory =
      AllocSetContextCreate(CurrentMemoryContext, "trovex items", ALLOCSET_DEFAULT_SIZES);
  EachItem(compiled, rows.text, (ItemsWanted){.tags = true, .most = (size_t)most}, PutRows, &rows);
  MemoryContextDelete(rows.rowMemory);
  return (Datum)0;
}

PG_FUNCTION_INFO_V1(pg_trovex_explain);
Datum pg_trovex_explain(PG_FUNCTION_ARGS) {
  CompiledQuery* const compiled = CompileQuery(PG_GETARG_QUERY(0), NULL);
  size_t length = trovex_describe(compiled->query, NULL, 0);
  char* const lines = palloc(length + 1);
  if (length == 0 || trovex_describe(compiled->query, lines, length + 1) != length)
    ReportNoMemory(0);
  if (lines[length - 1] == '\n') lines[--length] = '\0';
  PG_RETURN_TEXT_P(cstring_to_text(pg_any_to_server(lines, (int)length, PG_UTF8)));
}
