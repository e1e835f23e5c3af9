// One offset for the beginning of each line, searched by halving.

#include "hosts/cli/search/line_index.h"

#include <algorithm>

namespace trovex::cli {

LineIndex::LineIndex(std::string_view file, int begin) : file_(file) {
  const int end = static_cast<int>(file.size());
  for (int position = begin; position < end;) {
    begins_.push_back(position);
    const std::size_t feed = file.find('\n', static_cast<std::size_t>(position));
    position = feed == std::string_view::npos ? end : static_cast<int>(feed + 1);
  }
}

int LineIndex::LineOf(int offset) const {
  const auto behind = std::upper_bound(begins_.begin(), begins_.end(), offset);
  return static_cast<int>(std::max<std::ptrdiff_t>(behind - begins_.begin() - 1, 0));
}

Unit LineIndex::Line(int line) const {
  return LineAt(file_, begins_[static_cast<std::size_t>(line)]);
}

}  // namespace trovex::cli
