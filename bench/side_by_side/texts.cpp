#include "bench/side_by_side/texts.h"

#include <algorithm>
#include <utility>

namespace trovex::bench {

namespace {

constexpr std::size_t kRowSize = 36;

const char* NameOf(Form form) {
  switch (form) {
    case Form::kLines:
      return "lines";
    case Form::kOneLine:
      return "one line";
    case Form::kRows:
      return "short texts";
  }
  return "";
}

/// `line` with a line feed after every kRowSize bytes; a rest that fills no row is left out.
std::string CutIntoRows(const std::string& line) {
  std::string rows;
  rows.reserve(line.size() / kRowSize * (kRowSize + 1));
  for (std::size_t at = 0; at + kRowSize <= line.size(); at += kRowSize)
    rows.append(line, at, kRowSize) += '\n';
  return rows;
}

}  // namespace

Text::Text(const std::string& name, std::string content, Form form)
    : title_(name + ", " + NameOf(form)), bytes_(std::move(content)) {
  if (form == Form::kLines) return;
  std::replace(bytes_.begin(), bytes_.end(), '\n', ' ');
  if (form == Form::kOneLine) return;
  bytes_ = CutIntoRows(bytes_);
  for (std::size_t at = 0; at < bytes_.size(); at += kRowSize + 1)
    rows_.push_back(std::string_view(bytes_).substr(at, kRowSize));
}

std::size_t Text::Size() const {
  return IsShort() ? rows_.size() * kRowSize : bytes_.size();
}

std::int64_t Text::Count(Engine& engine) const {
  if (!IsShort()) return engine.Count(bytes_);
  std::int64_t count = 0;
  Range first{};
  for (const std::string_view row : rows_)
    count += engine.First(row, first) ? 1 : 0;
  return count;
}

std::vector<Range> Text::Matches(Engine& engine) const {
  if (!IsShort()) return engine.Matches(bytes_);
  std::vector<Range> matches;
  Range first{};
  for (const std::string_view row : rows_) {
    const auto at = static_cast<std::int32_t>(row.data() - bytes_.data());
    if (engine.First(row, first)) matches.push_back({at + first.start, at + first.end});
  }
  return matches;
}

bool Text::IsBesideHighByte(const Range& match) const {
  const auto isHigh = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
  const auto start = static_cast<std::size_t>(match.start);
  const auto end = static_cast<std::size_t>(match.end);
  return (start > 0 && isHigh(bytes_[start - 1])) || (end < bytes_.size() && isHigh(bytes_[end]));
}

}  // namespace trovex::bench
