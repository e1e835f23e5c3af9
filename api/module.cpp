// What happens when the library is loaded and unloaded.
//
// Loading needs no action: the matchers and the environment array come into being empty, and the
// string table is part of the module. Unloading gives back everything that the host left over, so
// that a host may load and unload the library any number of times.

#include <trovex/functions.h>

namespace {

/// Runs when the module is unloaded, or at the very end of the process, after the host's exit
/// handlers.
[[gnu::destructor]] void StopModule() {
  FreeBuffersInTrovexDll();
  ResetEnvironment();
}

}  // namespace
