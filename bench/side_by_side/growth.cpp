// The trial of growth: on a text four times as long, a search should take four times as long, also
// when the text is one single line.

#include "bench/side_by_side/contestants.h"
#include "bench/side_by_side/measure.h"
#include "bench/side_by_side/trials.h"

#include <algorithm>

namespace trovex::bench {

namespace {

const GrowthPattern kPatterns[] = {
    // NOLINT(cert-err58-cpp): a fault here ends the program
    {"Tastaturbelegung", "Tastaturbelegung"},
    {"[a-z]+ung", "[a-z]+ung"},
    {"[A-Z][a-z]+", "[A-Z][a-z]+"},
    {"Datei.*Verzeichnis", "Datei.*Verzeichnis"},
    {"\\bund\\b", "\\bund\\b"},
    {"whole word \"und\"", "und", Mode::kWholeWords},
    {"[a-z]+xyzq|qzz, no match", "[a-z]+xyzq|qzz"},
};

std::string Repeated(const std::string& line, std::size_t size) {
  std::string text;
  text.reserve(size);
  while (text.size() < size)
    text.append(line, 0, std::min(line.size(), size - text.size()));
  return text;
}

}  // namespace

std::span<const GrowthPattern> GrowthPatterns() {
  return kPatterns;
}

GrowthResult TryGrowth(const GrowthPattern& pattern, const std::string& line) {
  GrowthResult result{.name = pattern.name, .seconds = {}};
  const auto engine =
      MakeTree({.name = pattern.name, .expression = pattern.expression, .mode = pattern.mode});
  bool inTime = true;
  for (const std::size_t megabytes : kGrowthMegabytes) {
    const std::string text = Repeated(line, megabytes << 20);
    const Work work = [&] { engine->Count(text); };
    const auto measure = [&] { return FastestRuns({work})[0]; };
    result.seconds.push_back(inTime ? Guarded(measure, kSecondsMax) : std::nullopt);
    inTime = result.seconds.back().has_value();
  }
  return result;
}

}  // namespace trovex::bench
