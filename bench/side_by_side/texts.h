// The texts that are searched, each in up to three forms.

#ifndef TROVEX_BENCH_TEXTS_H
#define TROVEX_BENCH_TEXTS_H

#include "bench/side_by_side/engine.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::bench {

enum class Form {
  kLines,    // as it is
  kOneLine,  // with every line feed replaced by a blank
  kRows,  // that line cut into rows of 36 bytes, as a column of a table might hold them: short texts
};

class Text {
 public:
  /// `content` in `form`; `name` is that of the content.
  Text(const std::string& name, std::string content, Form form);

  /// For people: the name and the form.
  const std::string& Title() const { return title_; }
  bool IsShort() const { return !rows_.empty(); }
  /// How many bytes are searched.
  std::size_t Size() const;

  /// All matches of the text; of short texts the first one of each.
  std::int64_t Count(Engine& engine) const;
  std::vector<Range> Matches(Engine& engine) const;
  /// Whether a byte that is no ASCII stands directly before or after `match`, which is one of Matches().
  bool IsBesideHighByte(const Range& match) const;

 private:
  std::string title_;
  std::string bytes_;
  std::vector<std::string_view> rows_;  // into `bytes_`, of short texts
};

}  // namespace trovex::bench

#endif  // TROVEX_BENCH_TEXTS_H
