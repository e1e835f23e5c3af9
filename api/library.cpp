// What the library tells of itself.

#include <trovex/library.h>

#include "matcher/scan/vector_scan.h"

namespace trovex {

LibraryFacts AboutLibrary() noexcept {
  const VectorFacts vectors = VectorsInUse();
  return {TROVEX_VERSION, vectors.instructions, vectors.library};
}

}  // namespace trovex
