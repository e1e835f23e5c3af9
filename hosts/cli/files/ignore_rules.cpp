// Reading lines, and judging by the last rule that fits.

#include "hosts/cli/files/ignore_rules.h"

#include <algorithm>
#include <cstddef>

namespace trovex::cli {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Takes off blanks at the end, but one after a backslash.
std::string_view WithoutBlanksAtEnd(std::string_view line) {
  while (line.ends_with(' ')) {
    const std::string_view rest = line.substr(0, line.size() - 1);
    const std::size_t last = rest.find_last_not_of('\\');
    const std::size_t backslashes = rest.size() - (last == rest.npos ? 0 : last + 1);
    if (backslashes % 2 == 1) break;
    line = rest;
  }
  return line;
}

}  // namespace

IgnoreRules IgnoreRules::Read(std::string_view content) {
  IgnoreRules rules;
  if (content.starts_with(kByteOrderMark)) content.remove_prefix(kByteOrderMark.size());
  for (std::size_t begin = 0; begin < content.size();) {
    const std::size_t end = std::min(content.find('\n', begin), content.size());
    std::string_view line = content.substr(begin, end - begin);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (!line.starts_with('#')) rules.Add(line);
    begin = end + 1;
  }
  return rules;
}

void IgnoreRules::Add(std::string_view line) {
  line = WithoutBlanksAtEnd(line);
  const bool wanted = line.starts_with('!');
  if (wanted) line.remove_prefix(1);
  const bool foldersOnly = line.ends_with('/');
  if (foldersOnly) line.remove_suffix(1);
  const bool wholePath = line.find('/') != line.npos;
  if (line.starts_with('/')) line.remove_prefix(1);
  if (line.empty()) return;
  rules_.push_back({Glob(line), wanted, foldersOnly, wholePath});
}

Judgement IgnoreRules::Judge(std::string_view path, bool isFolder) const {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  const auto last = std::find_if(rules_.rbegin(), rules_.rend(), [&](const Rule& rule) {
    return (isFolder || !rule.foldersOnly) && rule.glob.Fits(rule.wholePath ? path : name);
  });
  if (last == rules_.rend()) return Judgement::kNone;
  return last->wanted ? Judgement::kWanted : Judgement::kIgnored;
}

}  // namespace trovex::cli
