#include "index_conditions.h"

#include "lib/stringinfo.h"
#include "mb/pg_wchar.h"

/* What a trigram index can look for: so many letters and digits side by side. */
#define LEAST_WORD 3
/* Beyond these, an index gives up on a pattern and reads all it has. */
#define MOST_ALTERNATIVES 8
#define MOST_OF_PATTERN 64
#define MOST_MARKED_LETTERS 6

/* Conditions on their way; what is said twice is left out. */
typedef struct Conditions {
  IndexCondition* list;
  int count;
  bool foldsCase;
  /* The words that are asked for as they were typed, in lower case. */
  StringInfoData words;
} Conditions;

static bool IsAsciiLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

static bool IsWordCharacter(char c) {
  return IsAsciiLetter(c) || (c >= '0' && c <= '9');
}

static void Add(Conditions* conditions, bool isPattern, const char* string) {
  if (conditions->count == MOST_INDEX_CONDITIONS) return;
  conditions->list[conditions->count].isPattern = isPattern;
  conditions->list[conditions->count].string = string;
  ++conditions->count;
}

/* ---- Clauses of strings ---- */

static bool HasWord(const char* string, size_t length) {
  size_t row = 0;
  for (size_t i = 0; i < length && row < LEAST_WORD; ++i)
    row = IsWordCharacter(string[i]) ? row + 1 : 0;
  return row == LEAST_WORD;
}

static const char* LikeString(const char* string, size_t length) {
  StringInfoData like;
  initStringInfo(&like);
  appendStringInfoChar(&like, '%');
  for (size_t i = 0; i < length; ++i) {
    if (strchr("%_\\", string[i]) != NULL) appendStringInfoChar(&like, '\\');
    appendStringInfoChar(&like, string[i]);
  }
  appendStringInfoChar(&like, '%');
  return like.data;
}

/* A string as a regular expression; what is neither a letter nor a digit is written by its number. */
static void AppendPattern(StringInfo pattern, const char* string, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (IsWordCharacter(string[i]))
      appendStringInfoChar(pattern, string[i]);
    else
      appendStringInfo(pattern, "\\x%02x", (unsigned char)string[i]);
  }
}

/* One of several strings, if an index can look for all of them. */
static void AddAlternatives(Conditions* conditions, const trovex_query* query, size_t clause) {
  const size_t count = trovex_required_string_count(query, clause);
  size_t total = 0;
  StringInfoData pattern;
  if (count > MOST_ALTERNATIVES) return;
  initStringInfo(&pattern);
  for (size_t i = 0; i < count; ++i) {
    size_t length = 0;
    const char* const string = trovex_required_string(query, clause, i, &length);
    total += length;
    if (!HasWord(string, length) || total > MOST_OF_PATTERN) return;
    if (i > 0) appendStringInfoChar(&pattern, '|');
    AppendPattern(&pattern, string, length);
  }
  Add(conditions, true, pattern.data);
}

static void AddClauses(Conditions* conditions, const trovex_query* query) {
  const size_t clauses = trovex_required_clause_count(query);
  for (size_t clause = 0; clause < clauses; ++clause) {
    size_t length = 0;
    const char* const first = trovex_required_string(query, clause, 0, &length);
    if (trovex_required_string_count(query, clause) > 1)
      AddAlternatives(conditions, query, clause);
    else if (HasWord(first, length) && strstr(conditions->words.data, first) == NULL)
      Add(conditions, false, LikeString(first, length));
  }
}

/* ---- Words with marked letters ---- */

/* A letter that is not of ASCII, in UTF-8; upper case null where there is none, the letter without its
 * mark and the mark null where it cannot be taken apart. */
typedef struct MarkedLetter {
  const char* lower;
  const char* upper;
  const char* apart;
} MarkedLetter;

static const MarkedLetter markedLetters[] = {
    {"ä", "Ä", "a\u0308"}, {"ö", "Ö", "o\u0308"}, {"ü", "Ü", "u\u0308"}, {"ß", NULL, NULL},
    {"à", "À", "a\u0300"}, {"á", "Á", "a\u0301"}, {"â", "Â", "a\u0302"}, {"ã", "Ã", "a\u0303"},
    {"å", "Å", "a\u030a"}, {"æ", "Æ", NULL},      {"ç", "Ç", "c\u0327"}, {"è", "È", "e\u0300"},
    {"é", "É", "e\u0301"}, {"ê", "Ê", "e\u0302"}, {"ë", "Ë", "e\u0308"}, {"í", "Í", "i\u0301"},
    {"î", "Î", "i\u0302"}, {"ï", "Ï", "i\u0308"}, {"ñ", "Ñ", "n\u0303"}, {"ò", "Ò", "o\u0300"},
    {"ó", "Ó", "o\u0301"}, {"ô", "Ô", "o\u0302"}, {"õ", "Õ", "o\u0303"}, {"ø", "Ø", NULL},
    {"ù", "Ù", "u\u0300"}, {"ú", "Ú", "u\u0301"}, {"û", "Û", "u\u0302"}, {"ý", "Ý", "y\u0301"}};

static bool StartsWith(const char* text, const char* start) {
  return start != NULL && strncmp(text, start, strlen(start)) == 0;
}

/* The letter that `text` begins with, and in `isUpper` whether it is a capital; null for another. */
static const MarkedLetter* FindMarkedLetter(const char* text, bool* isUpper) {
  for (size_t i = 0; i < lengthof(markedLetters); ++i) {
    *isUpper = StartsWith(text, markedLetters[i].upper);
    if (*isUpper || StartsWith(text, markedLetters[i].lower)) return &markedLetters[i];
  }
  return NULL;
}

/* A letter in all the ways in which it can be written in a text. In an encoding of one byte a character,
 * letters and marks cannot stand apart. */
static void AppendMarkedLetter(StringInfo pattern, const MarkedLetter* letter, bool isUpper,
                               bool foldsCase) {
  const char* const typed = isUpper ? letter->upper : letter->lower;
  const char* const other = isUpper ? letter->lower : letter->upper;
  const bool mayStandApart = letter->apart != NULL && GetDatabaseEncoding() == PG_UTF8;
  const bool hasOther = foldsCase && letter->upper != NULL;
  if (!hasOther && !mayStandApart) {
    appendStringInfoString(pattern, typed);
    return;
  }
  appendStringInfo(pattern, "(%s", typed);
  if (hasOther) appendStringInfo(pattern, "|%s", other);
  if (mayStandApart) {
    const char first = letter->apart[0];
    const char* const mark = letter->apart + 1;
    appendStringInfo(pattern, "|%c%s", isUpper ? pg_toupper((unsigned char)first) : first, mark);
  }
  appendStringInfoChar(pattern, ')');
}

/* Adds `typed`, if it has nothing but letters, digits and blanks, and letters with marks among them. */
static void AddTypedWords(Conditions* conditions, const char* typed) {
  StringInfoData pattern;
  StringInfoData word;
  size_t characters = 0;
  size_t marked = 0;
  initStringInfo(&pattern);
  initStringInfo(&word);
  while (*typed == ' ')
    ++typed;
  for (const char* at = typed; *at != '\0'; ++characters) {
    bool isUpper = false;
    const MarkedLetter* const letter = FindMarkedLetter(at, &isUpper);
    if (letter != NULL) {
      AppendMarkedLetter(&pattern, letter, isUpper, conditions->foldsCase);
      appendStringInfoChar(&word, '\n');
      at += strlen(letter->lower);
      ++marked;
    } else if (IsWordCharacter(*at)) {
      appendStringInfoChar(&pattern, *at);
      appendStringInfoChar(&word,
                           conditions->foldsCase ? (char)pg_tolower((unsigned char)*at) : *at);
      ++at;
    } else if (*at == ' ' && at[strspn(at, " ")] != '\0') {
      appendStringInfoString(&pattern, "\\x20");
      appendStringInfoChar(&word, *at++);
    } else if (*at == ' ') {
      break;
    } else {
      return;
    }
  }
  if (marked == 0 || marked > MOST_MARKED_LETTERS || characters < LEAST_WORD ||
      characters > MOST_OF_PATTERN)
    return;
  appendStringInfo(&conditions->words, "%s\n", word.data);
  Add(conditions, true, pg_any_to_server(pattern.data, pattern.len, PG_UTF8));
}

/* Patterns that are operands of ANDs alone must be found in every text. */
static void AddWordsOfOperands(Conditions* conditions, const CompiledQuery* compiled) {
  const int encoding = GetDatabaseEncoding();
  const size_t count = trovex_part_count(compiled->query);
  const bool isKnown = encoding == PG_UTF8 || encoding == PG_WIN1252 || encoding == PG_LATIN1;
  /* The level down to which all parts above are ANDs: below, only what stands under one of them. */
  int level = 0;
  if (!isKnown || (compiled->bytes[0] & OPTION_VARIANTS) != 0) return;
  for (size_t i = 0; i < count; ++i) {
    trovex_part part;
    if (trovex_get_part(compiled->query, i, &part) != TROVEX_OK) return;
    if (part.level > level) continue;
    level = part.kind == TROVEX_AND ? part.level + 1 : part.level;
    if (part.kind == TROVEX_PATTERN) AddTypedWords(conditions, part.text);
  }
}

bool ConditionsFoldCase(const CompiledQuery* compiled) {
  return (compiled->bytes[0] & OPTION_CASE) == 0;
}

int FindIndexConditions(const CompiledQuery* compiled, IndexCondition list[MOST_INDEX_CONDITIONS]) {
  Conditions conditions = {.list = list, .foldsCase = ConditionsFoldCase(compiled)};
  initStringInfo(&conditions.words);
  AddWordsOfOperands(&conditions, compiled);
  if (conditions.foldsCase == (trovex_required_folds_case(compiled->query) != 0))
    AddClauses(&conditions, compiled->query);
  return conditions.count;
}
