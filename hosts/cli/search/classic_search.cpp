// Compiling, decoding and searching.
//
// A tag whose bracket took no part in a match comes back as an empty range that lies on the line
// feed before the match's line. It is no match of the tag and left out.

#include "hosts/cli/search/classic_search.h"

#include "hosts/cli/files/code_page.h"

#include <algorithm>
#include <limits>
#include <new>
#include <optional>
#include <utility>

namespace trovex::cli {

namespace {

/// What stands for a character that the code page lacks. A regular expression cannot name a zero
/// byte, nor a range that holds it. The phonetic search ends at a zero byte, but passes over a byte
/// that stands for no letter.
constexpr char kPlaceholder = '\0';
constexpr char kPhoneticPlaceholder = '\x81';

/// Puts a zero byte after a text and the old byte back.
class ZeroAfter {
 public:
  explicit ZeroAfter(char* byte) : byte_(byte), saved_(std::exchange(*byte, '\0')) {}
  ~ZeroAfter() { *byte_ = saved_; }
  ZeroAfter(const ZeroAfter&) = delete;
  ZeroAfter& operator=(const ZeroAfter&) = delete;

 private:
  char* byte_;
  char saved_;
};

bool HoldsItem(const CFoundItemArray& items) {
  for (int i = 0; i < items.GetSize(); ++i) {
    if (items.GetAt(i) != nullptr) return true;
  }
  return false;
}

/// The expression in the code page; null when it holds a character that is not there.
std::optional<std::string> ToCodePage(std::string_view utf8) {
  std::string bytes;
  while (!utf8.empty()) {
    const Utf8Character character = ReadUtf8(utf8);
    const auto byte = character.valid ? CodePage::Get().ByteFor(character.code)
                                      : std::optional<char>(utf8.front());
    if (!byte.has_value()) return std::nullopt;
    bytes += *byte;
    utf8.remove_prefix(static_cast<std::size_t>(character.length));
  }
  return bytes;
}

/// Adds the line of `match` unless it is the latest. The ends of a long line are not looked for again for each
/// of its matches.
void AddLineOf(Range match, std::string_view file, Found& found) {
  if (!found.lines.empty()) {
    const Range latest = found.lines.back().line;
    if (match.begin >= latest.begin && match.begin <= latest.end) return;
  }
  const Range line = LineAround(file, match.begin);
  if (!found.lines.empty() && found.lines.back().line.begin == line.begin) return;
  found.lines.push_back({line, found.matches.size(), 0, true});
  ++found.linesWithMatches;
}

}  // namespace

ClassicSearch::ClassicSearch(std::unique_ptr<CSearchTreeItem> root, int tagCount,
                             const Options& options)
    : root_(std::move(root)),
      tagCount_(tagCount),
      tag_(options.tag),
      scope_(options.scope),
      phonetic_(options.phonetic),
      latin1_(options.encoding == Encoding::kWindows1252) {}

std::variant<ClassicSearch, std::string> ClassicSearch::Compile(std::string_view expression,
                                                                const Options& options) {
  const std::optional<std::string> bytes = ToCodePage(expression);
  if (!bytes.has_value())
    return "The expression holds a character that windows-1252, the code page of the classic "
           "search, does not have.";
  CSearchTreeItem* tree = nullptr;
  int tagCount = 0;
  const char* const message =
      GetSearchTree(bytes->c_str(), options.phonetic ? 0 : 1, options.phonetic ? 1 : 0,
                    options.words ? 1 : 0, options.caseSensitive ? 1 : 0, tree, &tagCount);
  std::unique_ptr<CSearchTreeItem> root(tree);
  if (message != nullptr) return std::string(message);
  return ClassicSearch(std::move(root), tagCount, options);
}

void ClassicSearch::Search(std::string_view text, Need need, Found& found) {
  found.Clear();
  if (text.size() >= static_cast<std::size_t>(std::numeric_limits<int>::max()))
    throw std::bad_alloc();  // its positions are no longer than this
  Decode(text);
  const std::string_view decoded(decoded_.data(), decoded_.size() - 1);
  std::size_t place = 0;
  for (Range unit; NextUnit(decoded, scope_, place, unit);) {
    SearchUnit(text, unit, need, found);
    if (need == Need::kVerdict && found.Any()) return;
  }
}

void ClassicSearch::Decode(std::string_view text) {
  const char placeholder = phonetic_ ? kPhoneticPlaceholder : kPlaceholder;
  offsets_.clear();
  const bool asItIs = latin1_ || AsciiPrefixLength(text) == text.size();
  if (asItIs) {
    decoded_.assign(text);
  } else {
    decoded_.clear();
    for (std::size_t in = 0; in < text.size();) {
      const Utf8Character character = ReadUtf8(text.substr(in));
      const auto byte =
          character.valid ? CodePage::Get().ByteFor(character.code) : std::optional<char>(text[in]);
      decoded_ += byte.value_or(placeholder);
      offsets_.push_back(in);
      in += static_cast<std::size_t>(character.length);
    }
    offsets_.push_back(text.size());
  }
  if (phonetic_) std::replace(decoded_.begin(), decoded_.end(), '\0', placeholder);
  decoded_ += '\0';
}

void ClassicSearch::SearchUnit(std::string_view file, Range unit, Need need, Found& found) {
  char* const text = decoded_.data() + unit.begin;
  const std::size_t length = unit.end - unit.begin;
  std::vector<std::size_t> returns;
  for (std::size_t i = 0; i + 1 < length; ++i) {
    if (text[i] != '\r' || text[i + 1] != '\n') continue;
    text[i] = '\n';
    returns.push_back(unit.begin + i);
  }
  std::unique_ptr<CFoundItemArray> items;
  {
    const ZeroAfter zero(text + length);
    items.reset(root_->Search(text, static_cast<int>(length), tag_));
  }
  if (items == nullptr) return;
  const Range range{FileOffset(unit.begin), FileOffset(unit.end)};
  if (items->IsNegative() != 0) {
    if (HoldsItem(*items)) return;
    ++found.unitsWithout;
    found.satisfied.push_back(range);
    std::size_t place = range.begin;
    for (Range line;
         scope_ != Scope::kFile && place <= range.end && NextUnit(file, Scope::kLine, place, line);)
      found.lines.push_back({line, found.matches.size()});
    return;
  }
  if (tag_ > 0) items->DeleteItemsWithTagNotMatched();
  for (int i = 0; i < items->GetSize(); ++i) {
    CFoundItem* const item = items->GetAt(i);
    if (item == nullptr) continue;
    const auto begin = static_cast<std::size_t>(item->GetStartPos());
    const auto end = static_cast<std::size_t>(item->GetEndPos());
    const bool empty = begin == end;
    if (empty && tag_ > 0 && begin < length && text[begin] == '\n') continue;
    // Flattened line ends show an empty line that the file does not have.
    if (empty && begin > 0 &&
        std::binary_search(returns.begin(), returns.end(), unit.begin + begin - 1))
      continue;
    const std::size_t first = FileOffset(unit.begin + begin);
    const Range match{first, empty ? first : FileOffset(unit.begin + end)};
    AddLineOf(match, file, found);
    found.matches.push_back(match);
    ++found.lines.back().matchCount;
    if (need == Need::kVerdict) return;
  }
}

}  // namespace trovex::cli
