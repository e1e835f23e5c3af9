// Asked of the libraries as they were loaded.

#include "hosts/cli/command/version.h"

#include <gnu/libc-version.h>
#include <trovex/query.h>

namespace trovex::cli {

std::string VersionText() {
  const LibraryFacts library = AboutLibrary();
  std::string text = "trovex " TROVEX_VERSION "\n";
  text += std::string("vector instructions: ") + library.vectorInstructions + "\n";
  text += std::string("libraries: libtrovex ") + library.version;
  if (*library.vectorLibrary != '\0') text += std::string(", ") + library.vectorLibrary;
  text += std::string(", GNU C library ") + gnu_get_libc_version() + "\n";
  return text;
}

}  // namespace trovex::cli
