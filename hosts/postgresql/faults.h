/* The errors that the extension raises. */

#ifndef TROVEX_POSTGRESQL_FAULTS_H
#define TROVEX_POSTGRESQL_FAULTS_H

#include "text_form.h"

#include "nodes/nodes.h"

#include <trovex/query_c.h>

/* The expression was refused: the sentence, and as a detail its number and the part that it is about.
 * Returns only where `escontext` takes errors. */
extern void ReportFault(const trovex_fault* fault, SearchedText expression, Node* escontext);

/* Memory ran out over something of `size` bytes. */
pg_attribute_noreturn() extern void ReportNoMemory(size_t size);

/* The search could not decide within its bounds; `at` is the character that it had come to, from 1. */
pg_attribute_noreturn() extern void ReportGaveUp(size_t at);

#endif /* TROVEX_POSTGRESQL_FAULTS_H */
