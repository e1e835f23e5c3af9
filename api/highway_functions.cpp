// What Highway's headers call of its library, for the shared library alone, which is so rid of it. No
// host sees these functions.

#include "text/vector_targets.h"

#include <hwy/targets.h>

namespace hwy {

std::int64_t SupportedTargets() {
  return trovex::MachineVectorTargets();
}

ChosenTarget& GetChosenTarget() {
  static ChosenTarget chosen;
  return chosen;
}

}  // namespace hwy
