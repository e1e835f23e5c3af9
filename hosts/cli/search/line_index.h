// The lines of a file: which line an offset belongs to, and where a line lies.
//
// Built from the file's own bytes in one pass, when the first match of the file is to be shown.

#ifndef TROVEX_HOSTS_CLI_LINE_INDEX_H
#define TROVEX_HOSTS_CLI_LINE_INDEX_H

#include "hosts/cli/search/units.h"

#include <string_view>
#include <vector>

namespace trovex::cli {

class LineIndex {
 public:
  /// The lines of `file` from `begin` on, where its first line begins. `file` outlives the index.
  LineIndex(std::string_view file, int begin);

  /// How many lines there are. A line feed at the very end begins no further line.
  int LineCount() const { return static_cast<int>(begins_.size()); }

  /// The line, counted from 0, that `offset` lies on; its line end belongs to it. An offset after
  /// the last line belongs to the last line. There must be a line.
  int LineOf(int offset) const;

  /// The range of line `line` without its line end.
  Unit Line(int line) const;

 private:
  std::string_view file_;
  std::vector<int> begins_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_LINE_INDEX_H
