// The second door against the reference, which shares no line with it.
//
// TROVEX_AGREEMENT_SEARCHES sets how many searches each test makes; a failure prints the seed of its case.

#include "tests/dice.h"
#include "tests/query/random_query.h"
#include "tests/query/reference_query.h"

#include <gtest/gtest.h>
#include <trovex/query.h>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <variant>

namespace trovex {
namespace {

using testing::Characters;
using testing::Dice;
using testing::RefItem;
using testing::RefOptions;
using testing::RefQuery;
using testing::RefResult;

std::uint32_t SearchCount(std::uint32_t ordinary) {
  const char* const wanted = std::getenv("TROVEX_AGREEMENT_SEARCHES");
  return wanted != nullptr ? static_cast<std::uint32_t>(std::strtoul(wanted, nullptr, 10))
                           : ordinary;
}

/// `text` in a block of exactly its length.
class ExactText {
 public:
  explicit ExactText(std::string_view text)
      : bytes_(std::make_unique<char[]>(text.size())), size_(text.size()) {
    if (size_ > 0) std::memcpy(bytes_.get(), text.data(), size_);
  }
  std::string_view View() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<char[]> bytes_;
  std::size_t size_;
};

std::string Shown(std::string_view text) {
  std::ostringstream shown;
  for (const char c : text) {
    if (c >= ' ' && c <= '~') {
      shown << c;
    } else {
      shown << "\\x" << std::hex << static_cast<int>(static_cast<unsigned char>(c)) << ' ';
    }
  }
  return shown.str();
}

/// The items of a search as text, in bytes, each with its tags.
template <typename Items>
std::string Written(const Items& items) {
  std::ostringstream out;
  for (const Item& item : items) {
    out << item.begin << '-' << item.end;
    for (std::size_t i = 0; i < item.tagCount; ++i)
      out << " (" << item.tags[i].tag << ": " << item.tags[i].begin << '-' << item.tags[i].end
          << ')';
    out << "; ";
  }
  return out.str();
}

std::size_t ByteAt(const Characters& text, std::size_t character, std::size_t size) {
  return character < text.size() ? text[character].begin : size;
}
/// The end of what stands before the character; an empty range lies at its begin.
std::size_t EndByte(const Characters& text, std::size_t begin, std::size_t end, std::size_t size) {
  return begin == end ? ByteAt(text, begin, size) : text[end - 1].end;
}

std::string Written(const RefResult& result, const Characters& text, std::size_t size, bool tags) {
  std::ostringstream out;
  if (!result.satisfied) return {};
  for (const RefItem& item : result.items) {
    out << ByteAt(text, item.begin, size) << '-' << EndByte(text, item.begin, item.end, size);
    for (const auto& [tag, range] : item.tags) {
      if (tags) {
        out << " (" << tag << ": " << ByteAt(text, range.first, size) << '-'
            << EndByte(text, range.first, range.second, size) << ')';
      }
    }
    out << "; ";
  }
  return out.str();
}

struct Case {
  RefQuery query;
  RefOptions options;
  bool utf8Expression = true;
  bool utf8Text = true;
  bool tags = true;
};

/// Holds one search against the reference. Returns what differs, or nothing.
std::string Difference(const Case& c, const std::string& text) {
  const ExactText expression(testing::Type(c.query, c.utf8Expression));
  ExpressionOptions options;
  options.words = c.options.words;
  options.caseSensitive = c.options.caseSensitive;
  options.encoding = c.utf8Expression ? Encoding::kUtf8 : Encoding::kLatin1;
  std::ostringstream out;
  out << "expression '" << Shown(expression.View()) << "' text '" << Shown(text) << "'"
      << (options.words ? " words" : "") << (options.caseSensitive ? " case" : "")
      << (c.utf8Expression ? "" : " (Latin-1 expression)") << (c.utf8Text ? "" : " (Latin-1 text)");
  auto compiled = Query::Compile(expression.View(), options);
  if (const auto* const fault = std::get_if<Fault>(&compiled)) {
    out << ": refused: " << fault->sentence << ' ' << fault->begin << '-' << fault->end;
    return out.str();
  }
  const ExactText exact(text);
  SearchOptions how;
  how.encoding = c.utf8Text ? Encoding::kUtf8 : Encoding::kLatin1;
  how.tags = c.tags;
  Searcher searcher(std::get<Query>(compiled));
  const Verdict verdict = searcher.Search(exact.View(), how);
  const std::string found = Written(searcher.Items());

  const Characters characters = c.utf8Text ? testing::ReadUtf8(text) : testing::ReadLatin1(text);
  const RefResult right = testing::Evaluate(c.query, characters, c.options);
  const std::string expected = Written(right, characters, text.size(), c.tags);
  if (verdict != (right.satisfied ? Verdict::kYes : Verdict::kNo)) {
    out << ": verdict " << static_cast<int>(verdict) << ", expected " << right.satisfied;
    return out.str();
  }
  if (found != expected) {
    out << ": found " << found << "expected " << expected;
    return out.str();
  }
  if (searcher.Matches(exact.View(), how.encoding) != verdict)
    return out.str() + ": Matches differs";
  std::size_t streamed = 0;
  const std::size_t limit = searcher.Search(exact.View(), how) == Verdict::kYes ? 2 : 0;
  how.mostItems = limit;
  searcher.Search(exact.View(), how);
  const ItemView first = searcher.Items();
  streamed = first.size();
  if (streamed != (right.satisfied ? std::min(limit, right.items.size()) : 0)) {
    out << ": the first " << limit << " items are " << streamed;
    return out.str();
  }
  if (!expected.starts_with(Written(first))) return out.str() + ": the first items differ";
  return {};
}

Case RandomCase(Dice& dice, RefQuery query) {
  Case c;
  c.query = std::move(query);
  c.options.words = dice.Between(0, 2) == 0;
  c.options.caseSensitive = dice.Between(0, 1) == 0;
  c.utf8Expression = dice.Between(0, 1) == 0;
  c.utf8Text = dice.Between(0, 1) == 0;
  c.tags = dice.Between(0, 3) != 0;
  return c;
}

/// Makes cases from `first` on, with twenty texts each, and reports the first few that differ.
template <typename MakeQuery>
void HoldAgainstReference(std::uint32_t firstSeed, std::uint32_t searches, MakeQuery make) {
  int differences = 0;
  for (std::uint32_t i = 0; i < searches / 20 && differences < 10; ++i) {
    const std::uint32_t seed = firstSeed + i;
    Dice dice(seed);
    const Case c = RandomCase(dice, make(dice));
    for (int text = 0; text < 20; ++text) {
      const std::string difference = Difference(c, testing::RandomText(dice, c.utf8Text));
      if (difference.empty()) continue;
      ++differences;
      ADD_FAILURE() << "seed " << seed << ": " << difference;
      break;
    }
  }
}

TEST(QueryReference, OfRandomQueriesWithTheReference) {
  HoldAgainstReference(0, SearchCount(120'000), testing::RandomQuery);
}

TEST(QueryReference, OfRandomPatternsWithTheReference) {
  HoldAgainstReference(1'000'000'000, SearchCount(60'000),
                       [](Dice& dice) { return testing::RandomPatternQuery(dice, false); });
}

TEST(QueryReference, OfBackReferencesWithTheReference) {
  HoldAgainstReference(2'000'000'000, SearchCount(30'000),
                       [](Dice& dice) { return testing::RandomPatternQuery(dice, true); });
}

}  // namespace
}  // namespace trovex
