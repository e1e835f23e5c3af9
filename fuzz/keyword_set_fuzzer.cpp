// Keyword sets of any size, held against a search that tries every keyword at every place.
//
//     input:  fold table, number of keywords, (length, bytes) of each keyword, text
//
// One keyword without a fold table, the only case with a scan of its own, comes as often as the
// others: the number of keywords is a byte like any other.

#include "fuzz/input.h"
#include "fuzz/require.h"
#include "matcher/keywords/keyword_set.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::fuzz {
namespace {

constexpr int kMostKeywords = 40;
constexpr std::size_t kLongestKeyword = 300;
constexpr int kMostSearches = 50;

/// Table 0 is none, 1 is lower case, and from 2 on bytes of the same remainder are the same.
ByteMap FoldTable(int number) {
  ByteMap map{};
  for (std::size_t c = 0; c < map.size(); ++c) {
    const bool upper = (c >= 'A' && c <= 'Z') || c == 0xC4 || c == 0xD6 || c == 0xDC;
    const std::size_t folded =
        number == 1 ? c + (upper ? 32 : 0) : c % static_cast<std::size_t>(number);
    map[c] = static_cast<unsigned char>(folded);
  }
  return map;
}

std::string Folded(std::string_view bytes, const ByteMap* map) {
  std::string folded(bytes);
  if (map == nullptr) return folded;
  for (char& c : folded)
    c = static_cast<char>((*map)[static_cast<unsigned char>(c)]);
  return folded;
}

struct Found {
  int index = -1;
  int start = -1;
  int length = -1;

  std::string Description() const {
    return std::to_string(index) + " at " + std::to_string(start) + " for " +
           std::to_string(length);
  }
};

/// The longest of `keywords` that starts leftmost in `text` from `from` on, the first among equals.
Found TrivialSearch(const std::vector<std::string>& keywords, std::string_view text,
                    std::size_t from) {
  for (std::size_t start = from; start <= text.size(); ++start) {
    Found longest;
    for (std::size_t i = 0; i < keywords.size(); ++i) {
      const int length = static_cast<int>(keywords[i].size());
      if (length <= longest.length || !text.substr(start).starts_with(keywords[i])) continue;
      longest = {static_cast<int>(i), static_cast<int>(start), length};
    }
    if (longest.index >= 0) return longest;
  }
  return {};
}

/// A search nothing of whose text may be read beyond its last byte.
Found SearchFrom(const KeywordSet& set, std::string_view text, std::size_t from) {
  const std::string_view part = text.substr(from);
  const auto bytes = std::make_unique<char[]>(part.size());
  std::copy(part.begin(), part.end(), bytes.get());
  KeywordMatch match{};
  const char* start = KeywordSetSearch(set, bytes.get(), static_cast<int>(part.size()), &match);
  Require(start == KeywordSetSearch(set, bytes.get(), static_cast<int>(part.size()), nullptr),
          "a search without a description finds the same");
  if (start == nullptr) return {};
  Require(start == match.start, "a match is described where it is");
  return {match.index, static_cast<int>(start - bytes.get() + static_cast<std::ptrdiff_t>(from)),
          match.length};
}

std::vector<std::string> TakeKeywords(Input& input) {
  std::vector<std::string> keywords(input.Byte() % kMostKeywords + 1U);
  for (std::string& keyword : keywords)
    keyword = input.Bytes(std::min<std::size_t>(input.Byte(), kLongestKeyword));
  return keywords;
}

}  // namespace
}  // namespace trovex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace trovex;
  using namespace trovex::fuzz;
  Input input(data, size);
  const int table = input.Byte() % 16;
  const ByteMap map = FoldTable(std::max(table, 1));
  const ByteMap* const fold = table == 0 ? nullptr : &map;
  std::vector<std::string> keywords = TakeKeywords(input);
  const std::string text = input.Rest();

  const KeywordSetPtr set = KeywordSetCreate(fold);
  for (const std::string& keyword : keywords) {
    KeywordSetAdd(*set, keyword.data(), static_cast<int>(keyword.size()));
  }
  KeywordSetPrepare(*set);

  for (std::string& keyword : keywords)
    keyword = Folded(keyword, fold);
  const std::string folded = Folded(text, fold);
  std::size_t from = 0;
  for (int searches = 0; from <= text.size() && searches < kMostSearches; ++searches) {
    const Found expected = TrivialSearch(keywords, folded, from);
    RequireSame(SearchFrom(*set, text, from).Description(), expected.Description(),
                "the leftmost, longest keyword is found");
    if (expected.index < 0) break;
    from = static_cast<std::size_t>(expected.start) + 1;
  }
  return 0;
}
