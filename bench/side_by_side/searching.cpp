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
  std::shared_ptr<Engine> engine;

  const char* Name() const { return Contestants()[column].name; }
};

/// Those who can do the row, and in time. Who refuses it is noted in `refused`.
std::vector<Entrant> Entrants(const Row& row, const Text& text, EngineStock& stock,
                              Refusals* refused) {
  std::vector<Entrant> entrants;
  for (std::size_t i = 0; i < Contestants().size(); ++i) {
    const Contestant& contestant = Contestants()[i];
    if (!contestant.CanSearch(row)) continue;
    try {
      auto engine = stock.Get(row, i);
      const auto firstRun = [&] { return SecondsOf([&] { text.Count(*engine); }); };
      if (Guarded(firstRun, kSecondsMax)) entrants.push_back({i, std::move(engine)});
    } catch (const std::exception& e) {
      std::fprintf(stderr, "%s: %s: %s\n", row.name.c_str(), contestant.name, e.what());
      (*refused)[i] = true;
    }
  }
  return entrants;
}

/// The matches of a row that all read alike. To query.h umlauts are letters, which belong to words; to
/// the others they are none. So of whole words, all count those that have no such byte beside them.
std::vector<Range> ComparedMatches(const Row& row, const Text& text, Engine& engine) {
  std::vector<Range> matches = text.Matches(engine);
  if (row.mode != Mode::kWholeWords) return matches;
  std::erase_if(matches, [&text](const Range& match) { return text.IsBesideHighByte(match); });
  return matches;
}

/// Tells where the matches of two contestants part.
void TellDifference(const Row& row, const char* name, const std::vector<Range>& matches,
                    const char* otherName, const std::vector<Range>& others) {
  constexpr Range kNone{-1, -1};
  const auto [a, b] = std::mismatch(matches.begin(), matches.end(), others.begin(), others.end());
  const Range match = a != matches.end() ? *a : kNone;
  const Range other = b != others.end() ? *b : kNone;
  std::fprintf(stderr, "DIFFERENT: %s: %s has %zu matches, %s %zu; they part at %d-%d and %d-%d\n",
               row.name.c_str(), name, matches.size(), otherName, others.size(), match.start,
               match.end, other.start, other.end);
}

/// Counts the compared matches and holds those of all entrants against those of the first; the one that
/// reads the row otherwise is left out.
void CheckMatches(const std::vector<Entrant>& entrants, const Text& text, RowResult* result) {
  const Entrant* first = nullptr;
  std::vector<Range> expected;
  for (const Entrant& entrant : entrants) {
    if (entrant.Name() == result->row->readOtherwiseBy) continue;
    const std::vector<Range> matches = ComparedMatches(*result->row, text, *entrant.engine);
    if (first == nullptr) {
      first = &entrant;
      expected = matches;
      result->matches = static_cast<std::int64_t>(expected.size());
    } else if (matches != expected) {
      result->agree = false;
      TellDifference(*result->row, first->Name(), expected, entrant.Name(), matches);
    }
  }
}

}  // namespace

std::shared_ptr<Engine> EngineStock::Get(const Row& row, std::size_t column) {
  constexpr double kLong = 0.1;
  const auto kept = kept_.find({&row, column});
  if (kept != kept_.end()) return kept->second;
  std::shared_ptr<Engine> engine;
  const double seconds = SecondsOf([&] { engine = Contestants()[column].Make(row); });
  if (column >= kDoors && seconds > kLong) kept_[{&row, column}] = engine;
  return engine;
}

RowResult TrySearching(const Row& row, const Text& text, EngineStock& stock) {
  const std::size_t contestants = Contestants().size();
  RowResult result{.row = &row, .rates = Columns(contestants), .refused = Refusals(contestants)};
  const std::vector<Entrant> entrants = Entrants(row, text, stock, &result.refused);
  CheckMatches(entrants, text, &result);

  std::vector<Work> works(entrants.size());
  for (std::size_t i = 0; i < entrants.size(); ++i)
    works[i] = [&engine = *entrants[i].engine, &text] { text.Count(engine); };
  const std::vector<double> seconds = FastestRuns(works);
  for (std::size_t i = 0; i < entrants.size(); ++i)
    result.rates[entrants[i].column] = static_cast<double>(text.Size()) / seconds[i] * 1e-9;
  return result;
}

}  // namespace trovex::bench
