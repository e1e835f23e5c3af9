// The second door against the reference, which shares no line with it.
//
// TROVEX_AGREEMENT_SEARCHES sets how many searches each test makes; a failure prints the seed of its case.

#include "tests/agreement_searches.h"
#include "tests/dice.h"
#include "tests/query/random_query.h"
#include "tests/query/reference_query.h"

#include <gtest/gtest.h>
#include <trovex/query.h>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace trovex {
namespace {

using testing::AgreementSearches;
using testing::Characters;
using testing::Dice;
using testing::RefItem;
using testing::RefOptions;
using testing::RefQuery;
using testing::RefResult;

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

/// A query with all options, compiled, that is held against the reference on one text after another.
class Case {
 public:
  Case(RefQuery query, const RefOptions& options, bool utf8Expression, bool utf8Text)
      : query_(std::move(query)), options_(options), utf8Text_(utf8Text) {
    const ExactText expression(testing::Type(query_, utf8Expression));
    ExpressionOptions how;
    how.words = options.words;
    how.caseSensitive = options.caseSensitive;
    how.encoding = utf8Expression ? Encoding::kUtf8 : Encoding::kLatin1;
    about_ = "expression '" + Shown(expression.View()) + "'" + (options.words ? " words" : "") +
             (options.caseSensitive ? " case" : "") + (utf8Expression ? "" : " (Latin-1)") +
             (utf8Text ? "" : ", in Latin-1");
    auto compiled = Query::Compile(expression.View(), how);
    if (const auto* const fault = std::get_if<Fault>(&compiled)) {
      about_ += ": refused: " + fault->sentence;
    } else {
      searcher_.emplace(std::get<Query>(compiled));
    }
  }

  bool IsUtf8Text() const { return utf8Text_; }

  /// What differs from the reference on `text`, or nothing.
  std::string Difference(const std::string& text, bool tags) {
    if (!searcher_) return about_;
    const std::string about = about_ + " text '" + Shown(text) + "'";
    const ExactText exact(text);
    SearchOptions how;
    how.encoding = utf8Text_ ? Encoding::kUtf8 : Encoding::kLatin1;
    how.tags = tags;
    const Verdict verdict = searcher_->Search(exact.View(), how);
    const std::string found = Written(searcher_->Items());

    const Characters characters = utf8Text_ ? testing::ReadUtf8(text) : testing::ReadLatin1(text);
    const RefResult right = testing::Evaluate(query_, characters, options_);
    const std::string expected = Written(right, characters, text.size(), tags);
    if (verdict != (right.satisfied ? Verdict::kYes : Verdict::kNo)) {
      return about + ": verdict " + std::to_string(static_cast<int>(verdict));
    }
    if (found != expected) return about + ": found " + found + "expected " + expected;
    if (searcher_->Matches(exact.View(), how.encoding) != verdict) return about + ": Matches";
    how.mostItems = 2;
    searcher_->Search(exact.View(), how);
    const ItemView first = searcher_->Items();
    const std::size_t count = right.satisfied ? right.items.size() : 0;
    if (first.size() != std::min(how.mostItems, count) || !expected.starts_with(Written(first))) {
      return about + ": the first items are " + Written(first) + "of " + expected;
    }
    return {};
  }

 private:
  RefQuery query_;
  RefOptions options_;
  bool utf8Text_;
  std::string about_;
  std::optional<Searcher> searcher_;
};

Case RandomCase(Dice& dice, RefQuery query) {
  RefOptions options;
  options.words = dice.Between(0, 2) == 0;
  options.caseSensitive = dice.Between(0, 1) == 0;
  const bool utf8Expression = dice.Between(0, 1) == 0;
  return {std::move(query), options, utf8Expression, dice.Between(0, 1) == 0};
}

/// Makes cases from `firstSeed` on, with twenty texts each, and reports the first few that differ.
template <typename MakeQuery>
void HoldAgainstReference(std::uint32_t firstSeed, int searches, bool tags, MakeQuery make) {
  int differences = 0;
  for (int i = 0; i < searches / 20 && differences < 10; ++i) {
    const std::uint32_t seed = firstSeed + static_cast<std::uint32_t>(i);
    Dice dice(seed);
    Case c = RandomCase(dice, make(dice));
    for (int text = 0; text < 20; ++text) {
      const std::string difference =
          c.Difference(testing::RandomText(dice, c.IsUtf8Text()), tags && text % 4 != 0);
      if (difference.empty()) continue;
      ++differences;
      ADD_FAILURE() << "seed " << seed << ": " << difference;
      break;
    }
  }
}

TEST(QueryReference, OfRandomQueriesWithTheReference) {
  HoldAgainstReference(0, AgreementSearches(120'000), true, testing::RandomQuery);
}

TEST(QueryReference, OfRandomPatternsWithTheReference) {
  HoldAgainstReference(1'000'000'000, AgreementSearches(60'000), true,
                       [](Dice& dice) { return testing::RandomPatternQuery(dice, false); });
}

/// The reference tells no groups of these.
TEST(QueryReference, OfBackReferencesWithTheReference) {
  HoldAgainstReference(2'000'000'000, AgreementSearches(30'000), false,
                       [](Dice& dice) { return testing::RandomPatternQuery(dice, true); });
}

/// Calls `use` with every text of up to `most` of the characters.
template <typename Use>
void ForEachText(std::string_view characters, std::size_t most, Use use) {
  std::vector<std::string> texts = {""};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    use(texts[i]);
    if (texts[i].size() == most) continue;
    for (const char c : characters)
      texts.push_back(texts[i] + c);
  }
}

TEST(QueryReference, OfAllSmallPatternsOnAllSmallTexts) {
  const std::vector<testing::Piece> pieces = testing::SmallPieces();
  int differences = 0;
  const auto hold = [&](const std::vector<testing::Piece>& sequence, std::size_t longest) {
    RefQuery query;
    query.pattern = testing::MakePiece(testing::PieceKind::kSequence, sequence);
    testing::NumberTags(query);
    for (const bool words : {false, true}) {
      Case c(query, {.words = words, .caseSensitive = true}, true, true);
      ForEachText("a \n", longest, [&](const std::string& text) {
        const std::string difference = differences < 10 ? c.Difference(text, true) : "";
        if (difference.empty()) return;
        ++differences;
        ADD_FAILURE() << difference;
      });
    }
  };
  for (const testing::Piece& first : pieces) {
    for (const testing::Piece& second : pieces) {
      hold({first, second}, 4);
      for (const testing::Piece& third : pieces)
        hold({first, second, third}, 2);
    }
  }
}

}  // namespace
}  // namespace trovex
