#include "matcher/scan/string_scan.h"

#include <algorithm>

namespace trovex {

StringScan::StringScan(const std::vector<CharSet>& sets)
    : length_(sets.size()), scan_(ChooseProbes(sets)) {
  const Probes probes = ChooseProbes(sets);
  std::vector<CharSet> different;
  for (std::size_t offset = 0; offset < sets.size(); ++offset) {
    const bool isProbed = std::any_of(probes.begin(), probes.end(), [&](const Probe& probe) {
      return static_cast<std::size_t>(probe.offset) == offset;
    });
    if (isProbed) continue;
    auto same = std::find(different.begin(), different.end(), sets[offset]);
    if (same == different.end()) {
      same = different.insert(different.end(), sets[offset]);
      members_.emplace_back();
      for (std::size_t c = 0; c < sets[offset].size(); ++c)
        members_.back()[c] = sets[offset][c];
    }
    rest_.push_back(
        {static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(same - different.begin())});
  }
}

}  // namespace trovex
