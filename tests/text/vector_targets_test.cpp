// The machine's instruction sets, as Highway's own library finds them.

#include "text/vector_targets.h"

#include <gtest/gtest.h>

#ifdef TROVEX_USE_HIGHWAY
#include <hwy/highway.h>

namespace trovex {
namespace {

TEST(VectorTargets, AreThoseThatHighwayFinds) {
  constexpr std::int64_t kCompiledFor =
      HWY_SSSE3 | HWY_SSE4 | HWY_AVX2 | HWY_AVX3 | HWY_AVX3_DL | HWY_STATIC_TARGET;
  EXPECT_EQ(MachineVectorTargets() & kCompiledFor, hwy::SupportedTargets() & kCompiledFor);
}

}  // namespace
}  // namespace trovex
#endif
