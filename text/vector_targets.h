// Which of Highway's instruction sets this machine has.
//
// Highway can tell by itself, in a shared library of its own; but that one measures the clock when it
// is loaded, for 4 ms, which is longer than many a search takes. So the machine is asked here.

#ifndef TROVEX_TEXT_VECTOR_TARGETS_H
#define TROVEX_TEXT_VECTOR_TARGETS_H

#include <cstdint>

namespace trovex {

/// The instruction sets that the processor and the system support, as Highway numbers them
/// (HWY_AVX2 ...); among them those that this file was compiled for.
std::int64_t MachineVectorTargets();

}  // namespace trovex

#endif  // TROVEX_TEXT_VECTOR_TARGETS_H
