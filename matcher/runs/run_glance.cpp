#include "matcher/runs/run_glance.h"

#include "matcher/scan/place_scan.h"

#include <algorithm>

#ifdef TROVEX_USE_HIGHWAY

// Vectors whose length is known only at run time cannot be members.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "matcher/runs/run_glance.cpp"
#include <hwy/foreach_target.h>
// Must come after it.
#include <hwy/highway.h>
#include "matcher/runs/set_members-inl.h"

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

RunGlance::Look ChooseLook() {
  return nullptr;
}

#else

static_assert(RunGlance::kBytes == static_cast<std::ptrdiff_t>(kPlaces));

GlanceBits LookAt(const RunGlance::Halves& halves, const Byte* place, const Byte* begin,
                  const Byte* end) {
  const KindMembers isMember(halves.low[0], halves.high[0]);
  const KindMembers isNext(halves.low[1], halves.high[1]);
  if (end - begin >= RunGlance::kBytes) {
    const Byte* const from = std::min(place, end - RunGlance::kBytes);
    return {MembersOfWord(isMember, from) >> (place - from),
            MembersOfWord(isNext, from) >> (place - from)};
  }
  return {MembersOfFew(isMember, begin, end - begin) >> (place - begin),
          MembersOfFew(isNext, begin, end - begin) >> (place - begin)};
}

RunGlance::Look ChooseLook() {
  return &LookAt;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace trovex
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace trovex {

namespace {
HWY_EXPORT(ChooseLook);
}  // namespace

std::optional<RunGlance> RunGlance::For(const CharSet& bytes, const CharSet& next) {
  RunGlance glance;
  glance.look_ = HWY_DYNAMIC_DISPATCH(ChooseLook)();
  if (glance.look_ == nullptr) return std::nullopt;
  const CharSet* const sets[2] = {&bytes, &next};
  for (std::size_t i = 0; i < 2; ++i) {
    const ScanTables tables = PlaceScan(Probes{{0, *sets[i]}}).Tables();
    if (!AreHalvesExact(tables, *sets[i])) return std::nullopt;
    glance.halves_.high[i] = tables.high[0];
    glance.halves_.low[i] = tables.low[0];
  }
  glance.feedIsNext_ = next['\n'] ? 1 : 0;
  return glance;
}

}  // namespace trovex

#endif  // HWY_ONCE

#else

namespace trovex {

std::optional<RunGlance> RunGlance::For(const CharSet& /*bytes*/, const CharSet& /*next*/) {
  return std::nullopt;
}

}  // namespace trovex

#endif  // TROVEX_USE_HIGHWAY
