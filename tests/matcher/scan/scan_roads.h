// Every road that a search for places can take on this machine, for tests that hold each of them
// against the trivial search.

#ifndef TROVEX_TESTS_MATCHER_SCAN_SCAN_ROADS_H
#define TROVEX_TESTS_MATCHER_SCAN_SCAN_ROADS_H

#ifdef TROVEX_USE_HIGHWAY
#include <hwy/highway.h>
#endif
#include <cstdint>
#include <string>
#include <vector>

namespace trovex::testing {

/// An instruction set that scans can be made for; the last resort is to do without.
struct ScanRoad {
  std::int64_t target;
  std::string name;
};

/// As long as it lives, scans are made for one road.
class OnScanRoad {
 public:
#ifdef TROVEX_USE_HIGHWAY
  explicit OnScanRoad(const ScanRoad& road) {
    hwy::SetSupportedTargetsForTest(road.target);
  }
  ~OnScanRoad() {
    hwy::SetSupportedTargetsForTest(0);
  }
#else
  explicit OnScanRoad(const ScanRoad& /*road*/) {}
#endif
  OnScanRoad(const OnScanRoad&) = delete;
  OnScanRoad& operator=(const OnScanRoad&) = delete;
};

inline std::vector<ScanRoad> AllScanRoads() {
#ifdef TROVEX_USE_HIGHWAY
  std::vector<ScanRoad> roads = {{HWY_STATIC_TARGET, hwy::TargetName(HWY_STATIC_TARGET)}};
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    if (target != HWY_STATIC_TARGET) roads.push_back({target, hwy::TargetName(target)});
  }
  return roads;
#else
  return {{0, "plain"}};
#endif
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_SCAN_SCAN_ROADS_H
