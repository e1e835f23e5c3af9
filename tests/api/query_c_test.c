/* The C header from a C11 program: every function of it, and every way to call it wrongly.
 *
 * The program prints what is wrong and returns how much of it there was. */

#include <trovex/query_c.h>

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

static void expect(int holds, const char* what, int line) {
  if (holds) return;
  printf("line %d: %s\n", line, what);
  ++failures;
}
#define EXPECT(condition) expect((condition) ? 1 : 0, #condition, __LINE__)

static trovex_query* compile(const char* expression) {
  trovex_query* query = NULL;
  trovex_fault fault;
  if (trovex_compile(expression, strlen(expression), NULL, &query, &fault) != TROVEX_OK)
    printf("%s: %s\n", expression, fault.sentence);
  EXPECT(query != NULL);
  return query;
}

static trovex_searcher* searcher_for(const char* expression) {
  trovex_query* const query = compile(expression);
  trovex_searcher* searcher = NULL;
  EXPECT(trovex_searcher_new(query, &searcher) == TROVEX_OK);
  trovex_query_free(query);
  return searcher;
}

static void test_compiling(void) {
  trovex_query* query = NULL;
  trovex_fault fault;
  trovex_options options;
  memset(&options, 0, sizeof(options));
  EXPECT(trovex_compile("(Haus)", 6, &options, &query, NULL) == TROVEX_OK);
  EXPECT(trovex_tag_count(query) == 1);
  trovex_query_free(query);

  query = (trovex_query*)&fault;
  EXPECT(trovex_compile("(Haus", 5, &options, &query, &fault) == TROVEX_REFUSED);
  EXPECT(query == NULL);
  EXPECT(fault.number == 9807);
  EXPECT(strlen(fault.sentence) > 10);
  EXPECT(fault.begin <= fault.end && fault.end <= 5);
  EXPECT(trovex_compile("(Haus", 5, NULL, &query, NULL) == TROVEX_REFUSED);
  EXPECT(trovex_compile(NULL, 0, NULL, &query, &fault) == TROVEX_REFUSED);

  EXPECT(trovex_compile(NULL, 1, NULL, &query, &fault) == TROVEX_BAD_ARGUMENT);
  EXPECT(fault.number == 9857 && fault.begin == 0 && fault.end == 0);
  EXPECT(strcmp(fault.sentence,
                "An argument of the call is missing or has a value that does not exist.") == 0);
  EXPECT(trovex_compile("a", 1, NULL, NULL, NULL) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_compile("a", (size_t)-1, NULL, &query, NULL) == TROVEX_BAD_ARGUMENT);
  options.encoding = 2;
  EXPECT(trovex_compile("a", 1, &options, &query, NULL) == TROVEX_BAD_ARGUMENT);
  options.encoding = -1;
  EXPECT(trovex_compile("a", 1, &options, &query, NULL) == TROVEX_BAD_ARGUMENT);
  trovex_query_free(NULL);
}

static void test_options(void) {
  static const struct {
    trovex_options options;
    const char* expression;
    const char* text;
    int verdict;
  } cases[] = {
      {{1, 0, 0, 0, 0}, "us", "Haus", TROVEX_NO},
      {{0, 1, 0, 0, 0}, "haus", "Haus", TROVEX_NO},
      {{0, 0, 1, 0, 0}, "Meier", "Mayr", TROVEX_YES},
      {{0, 0, 0, 1, 0}, "Mueller", "M\xC3\xBCller", TROVEX_YES},
      {{0, 0, 0, 0, TROVEX_LATIN1}, "M\xFCller", "M\xC3\xBCller", TROVEX_YES},
      {{0, 0, 0, 0, TROVEX_UTF8}, "Mueller", "M\xC3\xBCller", TROVEX_NO},
  };
  for (size_t i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i) {
    trovex_query* query = NULL;
    trovex_searcher* searcher = NULL;
    EXPECT(trovex_compile(cases[i].expression, strlen(cases[i].expression), &cases[i].options,
                          &query, NULL) == TROVEX_OK);
    EXPECT(trovex_searcher_new(query, &searcher) == TROVEX_OK);
    EXPECT(trovex_search(searcher, cases[i].text, strlen(cases[i].text), NULL) == cases[i].verdict);
    trovex_searcher_free(searcher);
    trovex_query_free(query);
  }
}

static void test_describing(void) {
  trovex_query* const query = compile("(Haus|Hof) &>5w !~Garten");
  const size_t length = trovex_describe(query, NULL, 0);
  char* const whole = malloc(length + 1);
  char cut[6];
  EXPECT(length > 20);
  EXPECT(trovex_describe(query, whole, length + 1) == length);
  EXPECT(strlen(whole) == length);
  EXPECT(trovex_describe(query, cut, sizeof(cut)) == length);
  EXPECT(strncmp(whole, cut, 5) == 0 && cut[5] == '\0');
  EXPECT(trovex_describe(query, NULL, 5) == 0);
  EXPECT(trovex_describe(NULL, cut, 5) == 0);
  free(whole);

  trovex_part part;
  EXPECT(trovex_part_count(query) == 4);
  EXPECT(trovex_get_part(query, 0, &part) == TROVEX_OK);
  EXPECT(part.kind == TROVEX_AND && part.level == 0);
  EXPECT(part.has_distance == 1 && part.distance == 5 && part.distance_in_words == 1);
  EXPECT(part.ordered == 1);
  EXPECT(strcmp(part.text, "") == 0 && strcmp(part.sound_key, "") == 0);
  EXPECT(trovex_get_part(query, 1, &part) == TROVEX_OK);
  EXPECT(part.kind == TROVEX_PATTERN && part.level == 1);
  EXPECT(part.tag_count == 1 && part.tags[0] == 1);
  EXPECT(part.begin <= 1 && part.end >= 9);
  EXPECT(trovex_get_part(query, 2, &part) == TROVEX_OK && part.kind == TROVEX_NOT);
  EXPECT(trovex_get_part(query, 3, &part) == TROVEX_OK && part.kind == TROVEX_SOUND);
  EXPECT(strcmp(part.text, "Garten") == 0 && strlen(part.sound_key) > 0);
  EXPECT(trovex_get_part(query, 4, &part) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_get_part(query, (size_t)-1, &part) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_get_part(query, 0, NULL) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_get_part(NULL, 0, &part) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_part_count(NULL) == 0);
  EXPECT(trovex_tag_count(NULL) == TROVEX_BAD_ARGUMENT);

  size_t size = 0;
  EXPECT(trovex_required_clause_count(query) == 1);
  EXPECT(trovex_required_string_count(query, 0) == 2);
  EXPECT(strcmp(trovex_required_string(query, 0, 0, &size), "haus") == 0 && size == 4);
  EXPECT(strcmp(trovex_required_string(query, 0, 1, NULL), "hof") == 0);
  EXPECT(trovex_required_string(query, 0, 2, &size) == NULL);
  EXPECT(trovex_required_string(query, 1, 0, &size) == NULL);
  EXPECT(trovex_required_string_count(query, 1) == 0);
  EXPECT(trovex_required_folds_case(query) == 1);
  EXPECT(trovex_required_clause_count(NULL) == 0);
  EXPECT(trovex_required_string_count(NULL, 0) == 0);
  EXPECT(trovex_required_string(NULL, 0, 0, &size) == NULL);
  EXPECT(trovex_required_folds_case(NULL) == 0);
  trovex_query_free(query);
}

static void test_searching(void) {
  const char text[] = "Tu\xCC\x88r am Haus, T\xC3\xBCr am Hof";
  trovex_searcher* const searcher = searcher_for("(T)\xC3\xBCr");
  trovex_search_options options;
  trovex_item item;
  memset(&options, 0, sizeof(options));
  options.tags = 1;
  EXPECT(trovex_search(searcher, text, strlen(text), &options) == TROVEX_YES);
  EXPECT(trovex_item_count(searcher) == 2);
  EXPECT(trovex_get_item(searcher, 0, &item) == TROVEX_OK && item.begin == 0 && item.end == 5);
  EXPECT(item.tag_count == 1 && item.tags[0].number == 1);
  EXPECT(item.tags[0].begin == 0 && item.tags[0].end == 1);
  EXPECT(trovex_get_item(searcher, 1, &item) == TROVEX_OK && item.begin == 15 && item.end == 19);
  EXPECT(item.tag_count == 1 && item.tags[0].begin == 15);
  EXPECT(trovex_get_item(searcher, 2, &item) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_get_item(searcher, 0, NULL) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_get_item(NULL, 0, &item) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_item_count(NULL) == 0);

  options.most_items = 1;
  EXPECT(trovex_search(searcher, text, strlen(text), &options) == TROVEX_YES);
  EXPECT(trovex_item_count(searcher) == 1);
  EXPECT(trovex_matches(searcher, text, strlen(text), &options) == TROVEX_YES);
  EXPECT(trovex_item_count(searcher) == 0);
  EXPECT(trovex_matches(searcher, "x", 1, NULL) == TROVEX_NO);
  EXPECT(trovex_matches(searcher, NULL, 0, NULL) == TROVEX_NO);
  EXPECT(trovex_gave_up_at(searcher) == 0);

  options.encoding = TROVEX_LATIN1;
  EXPECT(trovex_search(searcher, "T\xFCr", 3, &options) == TROVEX_YES);

  EXPECT(trovex_search(searcher, NULL, 1, NULL) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_search(NULL, text, 1, NULL) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_matches(searcher, NULL, 1, NULL) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_matches(NULL, text, 1, NULL) == TROVEX_BAD_ARGUMENT);
  /* A negative number that was taken for a length. */
  EXPECT(trovex_search(searcher, text, (size_t)-1, NULL) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_matches(searcher, text, (size_t)-1, NULL) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_search(searcher, text, SIZE_MAX / 2 + 1, NULL) == TROVEX_BAD_ARGUMENT);
  options.encoding = 77;
  EXPECT(trovex_search(searcher, text, 1, &options) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_matches(searcher, text, 1, &options) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_gave_up_at(NULL) == 0);
  trovex_searcher_free(searcher);

  trovex_searcher* none = (trovex_searcher*)&options;
  EXPECT(trovex_searcher_new(NULL, &none) == TROVEX_BAD_ARGUMENT && none == NULL);
  trovex_query* const query = compile("a");
  EXPECT(trovex_searcher_new(query, NULL) == TROVEX_BAD_ARGUMENT);
  trovex_query_free(query);
  trovex_searcher_free(NULL);
}

struct Seen {
  int calls;
  int most;
  size_t ends;
};

static int see(void* context, const trovex_item* item) {
  struct Seen* const seen = context;
  seen->ends = 100 * seen->ends + item->end + (item->tag_count > 0 ? item->tags[0].begin : 0);
  return ++seen->calls < seen->most;
}

static void test_visiting(void) {
  trovex_searcher* const searcher = searcher_for("a(b)?");
  trovex_search_options options;
  struct Seen seen = {0, 10, 0};
  memset(&options, 0, sizeof(options));
  options.tags = 1;
  EXPECT(trovex_search_each(searcher, "a ab a", 6, &options, see, &seen) == TROVEX_YES);
  EXPECT(seen.calls == 3 && seen.ends == 10000 + 100 * (4 + 3) + 6);
  EXPECT(trovex_item_count(searcher) == 0);
  seen.calls = 0;
  seen.most = 2;
  EXPECT(trovex_search_each(searcher, "a ab a", 6, NULL, see, &seen) == TROVEX_YES);
  EXPECT(seen.calls == 2);
  EXPECT(trovex_search_each(searcher, "x", 1, NULL, see, &seen) == TROVEX_NO);
  EXPECT(trovex_search_each(NULL, "x", 1, NULL, see, &seen) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_search_each(searcher, NULL, 1, NULL, see, &seen) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_search_each(searcher, "x", 1, NULL, NULL, &seen) == TROVEX_BAD_ARGUMENT);
  EXPECT(trovex_search_each(searcher, "x", (size_t)-1, NULL, see, &seen) == TROVEX_BAD_ARGUMENT);
  options.encoding = 9;
  EXPECT(trovex_search_each(searcher, "x", 1, &options, see, &seen) == TROVEX_BAD_ARGUMENT);
  trovex_searcher_free(searcher);
}

static int stop_at_once(void* context) {
  ++*(int*)context;
  return 1;
}

static void test_interrupting(void) {
  trovex_searcher* const searcher = searcher_for("a|b");
  trovex_search_options options;
  int asked = 0;
  memset(&options, 0, sizeof(options));
  options.interrupt = stop_at_once;
  options.interrupt_context = &asked;
  EXPECT(trovex_search(searcher, "xxa", 3, &options) == TROVEX_GAVE_UP);
  EXPECT(asked == 1);
  EXPECT(trovex_gave_up_at(searcher) == 0);
  EXPECT(trovex_matches(searcher, "xxa", 3, &options) == TROVEX_GAVE_UP);
  trovex_searcher_free(searcher);
}

int main(void) {
  test_compiling();
  test_options();
  test_describing();
  test_searching();
  test_visiting();
  test_interrupting();
  return failures;
}
