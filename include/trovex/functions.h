// The plain functions, with C linkage, so that any language can call them.
//
// The general rules (bytes, offsets, the byte after a text, messages, null pointers, one thread)
// are told once, at the head of trovex.h.

#ifndef TROVEX_FUNCTIONS_H
#define TROVEX_FUNCTIONS_H

#include <trovex/export.h>

class CSearchTreeItem;

/// A compiled Soundex code: one upper-case letter and up to nine digits "1" to "6", zero-terminated
/// when shorter than ten bytes.
struct SoundexEnvironmentRecord {
  char code[10];
};

extern "C" {

// ---- A typed expression ----

/// Turns the zero-terminated `expression`, as its user typed it, into a compiled search tree.
///
/// With `regularExpression`, or without `phoneticSearch`, every pattern is an extended regular
/// expression; with `phoneticSearch` alone it is a word to be found by its Soundex code.
/// `matchWords` finds whole words only. Without `caseSensitive`, upper and lower case are the same.
///
/// Returns null on success: `tree` is the root, which the caller deletes, and `tagCount` the number
/// of brackets, hence the highest tag number.
///
/// A fault in the expression, or a null `expression` or `tagCount`, returns its message text, sets
/// `tree` to null and leaves `tagCount` and the environments of an earlier tree as they are. A fault in one of the patterns returns its
/// message text with `tree` and `tagCount` set; the caller deletes that tree and must not search
/// it.
///
/// The parse done, all earlier environments are discarded: trees that were compiled before find
/// nothing any longer (their Search returns null, or searches what now has their number).
TROVEX_EXPORT const char* GetSearchTree(const char* expression, int regularExpression,
                                        int phoneticSearch, int matchWords, int caseSensitive,
                                        CSearchTreeItem*& tree, int* tagCount);

// ---- One pattern ----

/// Compiles the zero-terminated `pattern`, an extended regular expression, and installs it in the
/// matcher in place of the one before. `foldCase` makes upper and lower case the same, `matchWords`
/// finds whole words only.
///
/// Returns null on success, else a message text; what is then installed must not be searched (a
/// search finds nothing). A null pattern returns null and changes nothing.
TROVEX_EXPORT const char* Compile(const char* pattern, int foldCase, int matchWords);

/// Finds the first match of the installed pattern in `length` bytes of `text`. A match lies within
/// one line.
///
/// Returns 1 and writes the range's offsets to `start` and `end`, or returns 0 and writes nothing.
/// `subexpression` says whose range it is: 0 or less the whole match, n > 0 the pattern's n-th
/// group. A group that took no part, or that the pattern does not have, has the range that begins
/// and ends one byte before the line of the match: -1 and -1 on the first line.
///
/// Whole words are judged by the flag of the latest Compile, also after ActivateEnvironment, with two
/// exceptions. The whole match of a pattern that is one fixed string, compiled without words, is
/// found wherever the string stands. And a pattern that was compiled for whole words finds nothing
/// on a line that does not hold one.
TROVEX_EXPORT int Search(const char* text, int length, int* start, int* end, int subexpression);

/// The number of groups in the installed pattern; 0 when none is installed.
TROVEX_EXPORT int GetSubExpressionCount(void);

/// Frees the installed pattern, and the memory of deleted found items that is kept for the next
/// searches. Environments keep theirs.
TROVEX_EXPORT void FreeBuffersInTrovexDll(void);

// ---- Texts ----

/// Turns every carriage return (13) of the zero-terminated `text` into a line feed (10) and every
/// tab (9) into a blank (32), in place.
TROVEX_EXPORT void ReplaceChars(char* text);

/// 1 when the byte value `character` is a letter in the host's locale or one of the umlauts ä, ö,
/// ü, Ä, Ö, Ü, else 0. The sharp s is a letter only where the locale says so. A value outside 0 to
/// 255 gives 0.
TROVEX_EXPORT int IsAlphaGer(int character);

// ---- Environments: many compiled patterns side by side ----

/// Discards every environment; numbers start again at 0.
TROVEX_EXPORT void ResetEnvironment(void);

/// Compiles the zero-terminated `pattern` into a new environment and writes its number to `number`:
/// 0 for the first after a reset, then 1, 2 and so on.
///
/// `regularExpression` nonzero makes it a regular expression; else `phonetic` nonzero makes it a
/// Soundex code (`caseSensitive` is then ignored); else it is a regular expression as well.
///
/// Returns null on success. Otherwise, also for a null `pattern`, returns a message text and writes
/// -1; no number is used up.
/// The matcher is left empty in the first case.
TROVEX_EXPORT const char* CompileToEnvironment(const char* pattern, int regularExpression,
                                               int phonetic, int caseSensitive, int matchWords,
                                               int* number);

/// Installs environment `number`: Search, or SearchSoundex, then works with it. What was installed
/// before is kept until RestoreEnvironment. Returns 1, or 0 when there is no such environment.
///
/// Activate and restore in pairs that do not overlap for the same number, and compile nothing in
/// between: after a second activation, the restoring puts the environment's own pattern back.
TROVEX_EXPORT int ActivateEnvironment(int number);

/// Puts back what was installed before environment `number` was activated; a Soundex code stays as
/// it is. Returns 1, or 0 when there is no such environment.
TROVEX_EXPORT int RestoreEnvironment(int number);

// ---- Phonetic search ----
//
// The code is a Soundex code after R. C. Russell's (U.S. patent 1,261,167 of 1918) with rules for
// German spelling: umlauts and the sharp s are spelled out, digits are read as number words, vowels
// do not separate equal digits, and the code is neither padded nor cut at four characters.

/// Computes the Soundex code of the zero-terminated `word` and keeps it for SearchSoundex, together
/// with `wordMode`: nonzero compares whole words, zero finds the code anywhere.
///
/// Returns nonzero when the word has a code, 0 when nothing in it codes to a letter or it is null.
TROVEX_EXPORT int CompileSoundex(const char* word, int wordMode);

/// Finds the first place in the zero-terminated `text` whose Soundex code is the kept one. Returns
/// 1 and writes the range's offsets to `start` and `end`, or returns 0 and writes nothing.
///
/// In word mode the range is a whole word whose code equals the kept one. Otherwise it runs from
/// the letter that the code begins with to the character that completed the code, within one word.
TROVEX_EXPORT int SearchSoundex(const char* text, int* start, int* end);

/// Copies the kept code to `record` and the kept mode to `wordMode`.
TROVEX_EXPORT void GetSoundexEnvironment(struct SoundexEnvironmentRecord* record, int* wordMode);

/// Replaces the kept code by `record` and the kept mode by `wordMode`.
TROVEX_EXPORT void SetSoundexEnvironment(const struct SoundexEnvironmentRecord* record,
                                         int wordMode);

}  // extern "C"

/// The same with the tree passed by address, as the plain functions pass their other results. A
/// null `tree` is a null pointer like any other.
inline const char* GetSearchTree(const char* expression, int regularExpression, int phoneticSearch,
                                 int matchWords, int caseSensitive, CSearchTreeItem** tree,
                                 int* tagCount) {
  CSearchTreeItem* none = nullptr;  // takes the null that there is no place for
  return tree == nullptr ? GetSearchTree(nullptr, 0, 0, 0, 0, none, nullptr)
                         : GetSearchTree(expression, regularExpression, phoneticSearch, matchWords,
                                         caseSensitive, *tree, tagCount);
}

#endif  // TROVEX_FUNCTIONS_H
