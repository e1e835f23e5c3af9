// What a search finds in a text: matches, and the lines that they lie on.

#ifndef TROVEX_HOSTS_CLI_FOUND_H
#define TROVEX_HOSTS_CLI_FOUND_H

#include "hosts/cli/search/units.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex::cli {

/// How much somebody wants to know. Each includes what stands before it.
enum class Need {
  kVerdict,  // whether there is anything: the search ends with the first
  kCount,    // how many lines
  kLines,    // which lines
  kMatches,  // where the matches are
};

/// A line that is found, without its line end, and the matches that begin on it; none where something
/// did not occur and nothing more was asked.
struct FoundLine {
  Range line;
  std::size_t firstMatch = 0;
  std::size_t matchCount = 0;
  /// How many lines of the text stand before it, once they have been counted.
  std::int64_t linesBefore = 0;
};

/// What was found in one text. All ranges are of its bytes.
struct Found {
  /// For Need::kLines, each once, in order.
  std::vector<FoundLine> lines;
  /// For Need::kMatches, those of a line after those of the line before it; they may overlap.
  std::vector<Range> matches;
  /// For Need::kLines: the units that satisfy the expression without a match. Their lines are among
  /// `lines`, unless the unit is the whole file.
  std::vector<Range> satisfied;
  /// How many lines matches begin on, and how many units satisfy the expression without a match.
  std::int64_t linesWithMatches = 0;
  std::int64_t unitsWithout = 0;
  /// Where searches ended without an answer.
  std::vector<std::size_t> gaveUp;

  /// Counts the line feeds of `text`, in which this was found, and the lines before each of `lines`.
  std::int64_t CountLines(std::string_view text) {
    std::int64_t count = 0;
    std::size_t place = 0;
    for (FoundLine& found : lines) {
      if (found.line.begin > place) count += CountLineFeeds(Piece(text, {place, found.line.begin}));
      place = found.line.end;
      found.linesBefore = count;
    }
    return count + CountLineFeeds(text.substr(place));
  }

  bool Any() const { return linesWithMatches > 0 || unitsWithout > 0; }

  /// Forgets what comes after the first `most` lines.
  void KeepLines(std::int64_t most) {
    if (lines.empty()) {
      linesWithMatches = std::min(linesWithMatches, most);
      unitsWithout = std::min(unitsWithout, most - linesWithMatches);
      return;
    }
    if (static_cast<std::int64_t>(lines.size()) <= most) return;
    lines.resize(static_cast<std::size_t>(most));
    const std::size_t end = lines.empty() ? 0 : lines.back().line.end + 1;
    const auto isAfter = [end](Range unit) { return unit.begin >= end; };
    satisfied.erase(std::find_if(satisfied.begin(), satisfied.end(), isAfter), satisfied.end());
    unitsWithout = static_cast<std::int64_t>(satisfied.size());
    linesWithMatches = 0;
    auto unit = satisfied.begin();
    for (const FoundLine& found : lines) {
      while (unit != satisfied.end() && std::max(unit->end, unit->begin + 1) <= found.line.begin)
        ++unit;
      if (unit == satisfied.end() || found.line.begin < unit->begin) ++linesWithMatches;
    }
    matches.resize(lines.empty() ? 0 : lines.back().firstMatch + lines.back().matchCount);
  }

  void Clear() {
    lines.clear();
    matches.clear();
    satisfied.clear();
    linesWithMatches = unitsWithout = 0;
    gaveUp.clear();
  }
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FOUND_H
