// The trial of searching: who can do the row, whether all found the same, and how fast each is.

#include "bench/side_by_side/contestants.h"
#include "bench/side_by_side/measure.h"
#include "bench/side_by_side/trials.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <utility>
#include <vector>

namespace trovex::bench {

namespace {

/// A contestant that can do the row.
struct Entrant {
  std::size_t column;
  std::unique_ptr<Engine> engine;

  const char* Name() const { return Contestants()[column].name; }
};

/// Those who can do the row, and in time.
std::vector<Entrant> Entrants(const Row& row, const std::string& text) {
  std::vector<Entrant> entrants;
  for (std::size_t i = 0; i < Contestants().size(); ++i) {
    const Contestant& contestant = Contestants()[i];
    if (!contestant.CanSearch(row)) continue;
    try {
      auto engine = contestant.Make(row);
      const auto firstRun = [&] { return SecondsOf([&] { engine->Count(text); }); };
      if (Guarded(firstRun, kSecondsMax)) entrants.push_back({i, std::move(engine)});
    } catch (const std::exception& e) {
      std::fprintf(stderr, "%s: %s: %s\n", row.name, contestant.name, e.what());
    }
  }
  return entrants;
}

/// Tells where the matches of two contestants part.
void TellDifference(const Row& row, const char* name, const std::vector<Range>& matches,
                    const char* otherName, const std::vector<Range>& others) {
  constexpr Range kNone{-1, -1};
  const auto [a, b] = std::mismatch(matches.begin(), matches.end(), others.begin(), others.end());
  const Range match = a != matches.end() ? *a : kNone;
  const Range other = b != others.end() ? *b : kNone;
  std::fprintf(stderr, "DIFFERENT: %s: %s has %zu matches, %s %zu; they part at %d-%d and %d-%d\n",
               row.name, name, matches.size(), otherName, others.size(), match.start, match.end,
               other.start, other.end);
}

/// Counts the matches and holds those of all entrants against those of the first.
void CheckMatches(const std::vector<Entrant>& entrants, const std::string& text,
                  RowResult* result) {
  if (entrants.empty()) return;
  const Entrant& first = entrants.front();
  const std::vector<Range> expected = first.engine->Matches(text);
  result->matches = static_cast<std::int64_t>(expected.size());
  for (std::size_t i = 1; i < entrants.size(); ++i) {
    const std::vector<Range> matches = entrants[i].engine->Matches(text);
    if (matches == expected) continue;
    result->agree = false;
    TellDifference(*result->row, first.Name(), expected, entrants[i].Name(), matches);
  }
}

}  // namespace

RowResult TrySearching(const Row& row, const std::string& text) {
  RowResult result{.row = &row, .rates = Columns(Contestants().size())};
  const std::vector<Entrant> entrants = Entrants(row, text);
  CheckMatches(entrants, text, &result);

  std::vector<Work> works(entrants.size());
  for (std::size_t i = 0; i < entrants.size(); ++i)
    works[i] = [&engine = *entrants[i].engine, &text] { engine.Count(text); };
  const std::vector<double> seconds = FastestRuns(works);
  for (std::size_t i = 0; i < entrants.size(); ++i)
    result.rates[entrants[i].column] = static_cast<double>(text.size()) / seconds[i] * 1e-9;
  return result;
}

}  // namespace trovex::bench
