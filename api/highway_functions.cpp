// What Highway's headers call of its library, for the shared library alone, which is so rid of it. No
// host sees these functions.

#include "text/vector_targets.h"

#include <hwy/base.h>
#include <hwy/targets.h>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace hwy {

std::int64_t SupportedTargets() {
  return trovex::MachineVectorTargets();
}

ChosenTarget& GetChosenTarget() {
  static ChosenTarget chosen;
  return chosen;
}

/// What a check in a header calls that does not hold. Only builds for debugging have any.
void Abort(const char* file, int line, const char* format, ...) {
  std::fprintf(stderr, "%s:%d: ", file, line);
  std::va_list values;
  va_start(values, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is started
  std::vfprintf(stderr, format, values);
  va_end(values);
  std::fputc('\n', stderr);
  std::abort();
}

}  // namespace hwy
