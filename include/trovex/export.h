// How a declaration becomes part of the library's promise to its hosts.

#ifndef TROVEX_EXPORT_H
#define TROVEX_EXPORT_H

/// Marks what the shared library exports. Everything without this mark is hidden inside it.
#define TROVEX_EXPORT __attribute__((visibility("default")))

#endif  // TROVEX_EXPORT_H
