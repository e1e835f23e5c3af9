/* The part of a text that shows best what was found in it, for hosts in C and in C++.
 *
 * Texts are cut between words: what stands between blanks, with its punctuation. A run without a blank is as
 * many words as it has times 64 characters, so a snippet is short whatever the text is. */

#ifndef TROVEX_HOSTS_COMMON_SNIPPET_H
#define TROVEX_HOSTS_COMMON_SNIPPET_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A range of a text in bytes, its end exclusive. */
typedef struct TextRange {
  size_t begin;
  size_t end;
} TextRange;

typedef struct Snippet {
  TextRange part;
  /* Whether words are left out before and after it. */
  bool isCutBefore;
  bool isCutBehind;
} Snippet;

/* Chooses at most `words` words of `text`, at least 1: those in which most of the `count` items begin, the first
 * of several such places, with as many words before the first item as after the last. Without items they are the
 * first words. The items come by their begin. Takes no memory; goes twice through what stands between the first and
 * the last item.
 *
 * `mustStop`, if it is not null, is asked with `context` every some ten thousand words; where it says yes,
 * nothing is chosen and false returned. It must not throw, nor leave in another way. */
bool ChooseSnippet(const char* text, size_t length, const TextRange* items, size_t count,
                   size_t words, bool (*mustStop)(void* context), void* context, Snippet* snippet);

/* What of `item` is to be marked in a text which is written up to `done` and ends at `end`; empty if nothing is.
 * Items may overlap: each byte is marked once. */
static inline TextRange PartToMark(TextRange item, size_t done, size_t end) {
  TextRange part;
  part.begin = item.begin < done ? done : item.begin;
  part.end = item.end > end ? end : item.end;
  if (part.end < part.begin) part.end = part.begin;
  return part;
}

#ifdef __cplusplus
}
#endif

#endif /* TROVEX_HOSTS_COMMON_SNIPPET_H */
