// What a search finds in a text: matches, and the lines that they lie on.

#ifndef TROVEX_HOSTS_CLI_FOUND_H
#define TROVEX_HOSTS_CLI_FOUND_H

#include "hosts/cli/search/units.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
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
  /// Whether matches are what it was found by; else its unit satisfies the expression without one.
  bool matched = false;
  /// Whether the portion before has the line, too, with matches before these.
  bool goesOn = false;
  /// How many lines of the text stand before it, once they have been counted.
  std::int64_t linesBefore = 0;
};

/// What was found in one text, or a portion of it. All ranges are of the text's bytes.
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
  /// Whether the last of `lines` goes on in the next portion.
  bool lastGoesOn = false;
  /// Where searches ended without an answer.
  std::vector<std::size_t> gaveUp;

  bool Any() const { return linesWithMatches > 0 || unitsWithout > 0; }

  /// Forgets what comes after the first `most` lines, besides one that goes on.
  void KeepLines(std::int64_t most) {
    if (lines.empty()) {
      linesWithMatches = std::min(linesWithMatches, most);
      unitsWithout = std::min(unitsWithout, most - linesWithMatches);
      return;
    }
    const std::size_t kept = static_cast<std::size_t>(most) + (lines.front().goesOn ? 1 : 0);
    if (lines.size() <= kept) return;
    lines.resize(kept);
    lastGoesOn = false;
    const std::size_t end = lines.empty() ? 0 : lines.back().line.end + 1;
    const auto isAfter = [end](Range unit) { return unit.begin >= end; };
    satisfied.erase(std::find_if(satisfied.begin(), satisfied.end(), isAfter), satisfied.end());
    unitsWithout = static_cast<std::int64_t>(satisfied.size());
    linesWithMatches = std::count_if(lines.begin(), lines.end(), [](const FoundLine& found) {
      return found.matched && !found.goesOn;
    });
    matches.resize(lines.empty() ? 0 : lines.back().firstMatch + lines.back().matchCount);
  }

  void Clear() {
    lines.clear();
    matches.clear();
    satisfied.clear();
    linesWithMatches = unitsWithout = 0;
    lastGoesOn = false;
    gaveUp.clear();
  }
};

/// Takes a portion of what is found while the search goes on, and may change it; returns whether more is wanted.
using TakePortion = std::function<bool(Found& portion)>;

/// Counts the line feeds of a text, along with what is found in it.
class LineCount {
 public:
  explicit LineCount(std::string_view text) : text_(text) {}

  /// Writes how many lines stand before those of a portion. Portions come in order.
  void Number(Found& found) {
    for (FoundLine& line : found.lines) {
      if (line.line.begin > place_)
        count_ += CountLineFeeds(Piece(text_, {place_, line.line.begin}));
      place_ = line.line.end;
      line.linesBefore = count_;
    }
  }
  /// The line feeds of the whole text, which are counted once.
  std::int64_t OfText() {
    if (!ofText_.has_value()) ofText_ = count_ + CountLineFeeds(text_.substr(place_));
    return *ofText_;
  }

 private:
  std::string_view text_;
  std::size_t place_ = 0;
  std::int64_t count_ = 0;  // before `place_`
  std::optional<std::int64_t> ofText_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FOUND_H
