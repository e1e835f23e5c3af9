#include "matcher/scan/text_screen.h"

#include "matcher/tuning.h"

#include <algorithm>
#include <utility>

namespace trovex {

namespace {

/// Of each of the strings the `most` rarest probes.
std::vector<Probes> Rarest(std::vector<Probes> probes, std::size_t most) {
  for (Probes& ofString : probes)
    ofString.resize(std::min(ofString.size(), most));
  return probes;
}

double RateOf(const std::vector<Probes>& probes) {
  double rate = 0;
  for (const Probes& ofString : probes)
    rate += ExpectedRate(ofString);
  return rate;
}

}  // namespace

void TextScreen::Consider(const std::vector<std::vector<CharSet>>& strings) {
  if (strings.empty() || strings.front().empty()) return;
  const std::vector<Probes> probes = ChooseProbesForAlternatives(strings);
  for (std::size_t most = 1; most <= kScreenProbes; ++most) {
    const std::vector<Probes> rarest = Rarest(probes, most);
    const double rate = RateOf(rarest);
    if (rate >= (scan_ ? rate_ / kScreenRateHelps : kScreenRate)) continue;
    scan_ = PlaceScan::ForAlternatives(rarest);
    rate_ = rate;
  }
}

void TextScreen::ConsiderBeside(const std::vector<CharSet>& string, const Beside& beside) {
  const double rate = kScreenRateBeside * RateOf(Rarest({ChooseProbes(string)}, kScreenProbes));
  if (beside.IsAny() || rate_ <= kScreenRateAlone || rate >= kScreenRate) return;
  Probes probes = Rarest({ChooseProbes(string)}, kScreenProbes).front();
  for (Probe& probe : probes)
    probe.offset += beside.AsksBefore() ? 1 : 0;
  if (beside.AsksBefore()) probes.push_back({0, beside.before});
  if (beside.AsksAfter()) {
    const std::size_t after = string.size() + (beside.AsksBefore() ? 1 : 0);
    probes.push_back({static_cast<int>(after), beside.after});
  }
  scan_.emplace(probes);
  rate_ = rate;
  hasEdges_ = true;
  if (beside.AsksBefore()) first_ = MembersOf(string.front());
  if (beside.AsksAfter()) last_ = MembersOf(string.back());
}

void TextScreen::ConsiderBeginsOfLines(const CharSet& first) {
  const double rate = kScreenRateOfLines + ExpectedRate(Probes{{0, first}}) / kShortTextOfScreens;
  if (rate >= std::min(rate_, kScreenRate)) return;
  scan_.emplace(Probes{{0, CharSet().set('\n')}});
  hasEdges_ = true;
  last_ = {};
  first_ = MembersOf(first);
  rate_ = rate;
}

}  // namespace trovex
