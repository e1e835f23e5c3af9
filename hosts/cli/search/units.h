// Cutting a text into the pieces that are searched one by one: the whole file, its paragraphs or
// its lines.
//
// A line ends in a line feed, or in a carriage return and a line feed, which are one line end. A
// paragraph is a run of lines that are not empty. No unit holds the end of its last line, so that
// the text after the last line end is not taken for one more line.

#ifndef TROVEX_HOSTS_CLI_UNITS_H
#define TROVEX_HOSTS_CLI_UNITS_H

#include "hosts/cli/command/options.h"

#include <string_view>

namespace trovex::cli {

/// A range of a text, its end exclusive.
struct Unit {
  int begin;
  int end;

  friend bool operator==(const Unit&, const Unit&) = default;
};

/// The line of `text` that begins at `begin`, without its end.
Unit LineAt(std::string_view text, int begin);

/// Where the line after `line` begins; after the text when there is none.
int NextLineBegin(std::string_view text, Unit line);

/// Steps through the units of a text. A whole file is one unit, also when it is empty.
class UnitWalker {
 public:
  /// `text` outlives the walker. Bytes of units that were returned may be changed.
  UnitWalker(std::string_view text, Scope scope) : text_(text), scope_(scope) {}

  /// Writes the next unit. Returns false after the last one.
  bool Next(Unit& unit);

 private:
  bool NextFile(Unit& unit);
  bool NextParagraph(Unit& unit);
  bool NextLine(Unit& unit);
  bool AtEnd() const { return position_ >= static_cast<int>(text_.size()); }

  std::string_view text_;
  Scope scope_;
  int position_ = 0;
  bool fileDone_ = false;
};

/// Makes the carriage return of every line end in `length` bytes at `text` a line feed, so that "$"
/// matches before it and no offset changes. Other carriage returns stay.
void FlattenLineEnds(char* text, int length);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_UNITS_H
