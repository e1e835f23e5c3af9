// What the library tells of itself.

#ifndef TROVEX_LIBRARY_H
#define TROVEX_LIBRARY_H

#include <trovex/export.h>

namespace trovex {

/// Texts of the library's own, which end with a zero byte and are never freed.
struct LibraryFacts {
  /// Its version, as "1.0.0".
  const char* version;
  /// The vector instructions that searches use on this machine, as "AVX2"; "none".
  const char* vectorInstructions;
  /// The library behind them with its version; empty when there is none.
  const char* vectorLibrary;
};

TROVEX_EXPORT LibraryFacts AboutLibrary() noexcept;

}  // namespace trovex

#endif  // TROVEX_LIBRARY_H
