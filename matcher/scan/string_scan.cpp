#include "matcher/scan/string_scan.h"

#include <algorithm>

namespace trovex {

namespace {

/// The string with what is asked beside it.
std::vector<CharSet> WithNeighbours(std::vector<CharSet> sets, const Beside& beside) {
  if (beside.AsksBefore()) sets.insert(sets.begin(), beside.before);
  if (beside.AsksAfter()) sets.push_back(beside.after);
  return sets;
}

}  // namespace

/// Of what is asked beside the string only a single byte is looked for: any other class
/// leaves most places over and takes longer to look for than the bytes of the string.
Probes StringScan::ProbesFor(const std::vector<CharSet>& sets, const Beside& beside) {
  std::vector<CharSet> probed = WithNeighbours(sets, beside);
  if (beside.AsksBefore() && beside.before.count() != 1) probed.front().set();
  if (beside.AsksAfter() && beside.after.count() != 1) probed.back().set();
  return ChooseProbes(probed);
}

StringScan::StringScan(const std::vector<CharSet>& sets, const Beside& beside)
    : length_(sets.size()),
      lead_(beside.AsksBefore() ? 1 : 0),
      tail_(beside.AsksAfter() ? 1 : 0),
      beginsLines_(IsLineFeed(beside.before)),
      scan_(ProbesFor(sets, beside)) {
  const Probes probes = ProbesFor(sets, beside);
  const std::vector<CharSet> whole = WithNeighbours(sets, beside);
  for (std::size_t offset = 0; offset < whole.size(); ++offset) {
    const Rest rest = {static_cast<std::uint32_t>(offset), tables_.NumberOf(whole[offset])};
    all_.push_back(rest);
    const bool isProbed = std::any_of(probes.begin(), probes.end(), [&](const Probe& probe) {
      return static_cast<std::size_t>(probe.offset) == offset;
    });
    if (!isProbed) rest_.push_back(rest);
  }
  const Probe rarest = ChooseProbes(sets).front();
  rarest_ = {static_cast<std::uint32_t>(rarest.offset), tables_.NumberOf(rarest.bytes)};
}

bool StringScan::HoldsAllAt(const Byte* place, const Byte* begin, const Byte* end) const {
  for (const Rest& rest : all_) {
    const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(rest.offset) - lead_;
    const bool isBeyond = offset < 0 ? place == begin : offset == end - place;
    if (!tables_[rest.table][isBeyond ? Byte{'\n'} : place[offset]]) return false;
  }
  return true;
}

}  // namespace trovex
