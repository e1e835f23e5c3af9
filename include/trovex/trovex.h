// Trovex: boolean, near-by and phonetic search of German text.
//
// This header brings the whole interface:
//
//   functions.h       the plain functions: one pattern, one text; environments; Soundex;
//                     GetSearchTree, which turns a typed expression into a tree
//   search_tree.h     the nodes of a search tree
//   found_items.h     what a search returns
//   host_framework.h  the counted string, the serialisable object and the pointer array
//                     that the classes above are made of
//
// Rules that hold for all of it:
//
// - Texts and patterns are bytes of the Windows Latin-1 code page (ä 228, ö 246, ü 252, Ä 196,
//   Ö 214, Ü 220, ß 223). A text is made of lines that end in a line feed (10).
// - Positions are byte offsets from the start of the buffer that was passed in; ends are exclusive.
// - Nothing is ever written to a searched text. Nothing outside of it is read, but for the byte after it,
//   text[length]: it must exist where whole words are wanted, and a phonetic search needs a zero there.
// - Flags are ints: zero is false, every other value is true.
// - A failure is a message text: one English sentence, zero-terminated, in a buffer that belongs to
//   the library. It is valid until the next message is loaded; copy it before calling the library
//   again. Null means success. Nothing throws, but for the few operations that say so.
// - A null pointer where a function needs something to read or to write makes that function return
//   its failure value (a message text, 0 or null) and change nothing, but for what tells of a
//   failure: GetSearchTree's tree is then null and CompileToEnvironment's number -1.
// - All state is module-wide and unguarded: one thread at a time. A process that wants to search on
//   several cores forks workers.

#ifndef TROVEX_TROVEX_H
#define TROVEX_TROVEX_H

#include <trovex/found_items.h>
#include <trovex/functions.h>
#include <trovex/host_framework.h>
#include <trovex/search_tree.h>

#endif  // TROVEX_TROVEX_H
