/* What an index of trigrams can be asked for a query.
 *
 * A query promises strings of which every text that satisfies it holds at least one of each clause:
 * that is "text ILIKE '%string%'", or for a clause of several strings "text ~* 'one|other'". These
 * strings are ASCII, as only that is written in one way. A word with an umlaut that must be there as it
 * was typed is asked for in each way in which it can be written: "m(ü|Ü|u + diaeresis)de". */

#ifndef TROVEX_POSTGRESQL_INDEX_CONDITIONS_H
#define TROVEX_POSTGRESQL_INDEX_CONDITIONS_H

#include "compiled_query.h"

/* Each condition costs the index a walk; more of them leave out few rows more. */
#define MOST_INDEX_CONDITIONS 4

typedef struct IndexCondition {
  /* Whether `string` is for the operators of regular expressions, else for those of LIKE. */
  bool isPattern;
  const char* string;
} IndexCondition;

/* Writes conditions that every text meets which satisfies the query, the best first, and tells how many
 * there are. They hold where the locale folds letters of ASCII as ASCII does. */
extern int FindIndexConditions(const CompiledQuery* compiled,
                               IndexCondition conditions[MOST_INDEX_CONDITIONS]);

/* Whether the conditions leave the case of letters open. */
extern bool ConditionsFoldCase(const CompiledQuery* compiled);

#endif /* TROVEX_POSTGRESQL_INDEX_CONDITIONS_H */
