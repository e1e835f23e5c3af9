// Cutting texts: into lines and paragraphs, and a long text into pieces that can be searched one by
// one.
//
// A line ends in a line feed, or in a carriage return and a line feed, which are one line end. A
// paragraph is a run of lines that are not empty. No unit holds the end of its last line, so that
// what stands after the last line end is not taken for one more line.

#ifndef TROVEX_HOSTS_CLI_UNITS_H
#define TROVEX_HOSTS_CLI_UNITS_H

#include "hosts/cli/command/options.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace trovex::cli {

/// A range of a text in bytes, its end exclusive.
struct Range {
  std::size_t begin = 0;
  std::size_t end = 0;

  friend bool operator==(const Range&, const Range&) = default;
};

inline std::string_view Piece(std::string_view text, Range range) {
  return text.substr(range.begin, range.end - range.begin);
}

/// `text` without the line end that it may end with.
std::string_view WithoutLineEnd(std::string_view text);

/// The line that holds the byte at `place`, without its end. A line end belongs to the line before
/// it.
Range LineAround(std::string_view text, std::size_t place);

/// Where the line after the one of `place` begins; the end of `text` when there is none.
std::size_t NextLineBegin(std::string_view text, std::size_t place);

/// The number of line feeds in `text`.
std::int64_t CountLineFeeds(std::string_view text);

/// Steps through the units of a text, from `place`, where one begins. Writes the next unit and moves
/// `place` after it; returns false after the last one. A whole file is one unit, also when it is
/// empty, and steps to one after the text.
bool NextUnit(std::string_view text, Scope scope, std::size_t& place, Range& unit);

/// The unit, a line or a paragraph, that holds the byte at `place`. A place on an empty line is of no
/// paragraph: the range is that of the line.
Range UnitAround(std::string_view text, Scope scope, std::size_t place);

/// The first place at or after `from` where `text` may be parted so that no line, or with
/// Scope::kParagraph no paragraph, is; `npos` when there is none. `text` begins with a line.
std::size_t FirstCut(std::string_view text, Scope scope, std::size_t from);

/// The last such place in the text, after its begin; 0 when there is none.
std::size_t LastCut(std::string_view text, Scope scope);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_UNITS_H
