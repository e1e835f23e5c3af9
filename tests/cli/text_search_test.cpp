// A text by lines, paragraphs or as a whole, on every road, held against the plainest search: one
// searcher's search of one unit after the other.

#include "hosts/cli/search/text_search.h"

#include "tests/dice.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace trovex::cli {
namespace {

/// What the plainest search finds.
struct Plain {
  std::vector<std::size_t> lines;  // their begins
  std::vector<Range> matches;
  std::int64_t linesWithMatches = 0;
  std::int64_t unitsWithout = 0;
};

/// A text without the carriage returns of line ends, and the places of its bytes in the text.
struct Shortened {
  std::string text;
  std::vector<std::size_t> places;
};

Shortened WithoutReturns(std::string_view text) {
  Shortened result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    result.places.push_back(i);
    if (text.substr(i, 2) == "\r\n") ++i;
    result.text += text[i];
  }
  result.places.push_back(text.size());
  return result;
}

Plain SearchPlainly(const Query& query, const std::string& text, Scope scope, int tag) {
  Plain plain;
  std::size_t place = 0;
  for (Range unit; NextUnit(text, scope, place, unit);) {
    const auto [piece, places] =
        WithoutReturns(scope == Scope::kFile ? std::string_view(text) : Piece(text, unit));
    Searcher searcher(query);
    SearchOptions options;
    options.tags = true;
    if (searcher.Search(piece, options) != Verdict::kYes) continue;
    std::vector<Range> matches;
    for (const Item& item : searcher.Items()) {
      const TagRange* const range = item.Tag(tag);
      if (tag > 0 && range == nullptr) continue;
      Range match{unit.begin + places[item.begin], unit.begin + places[item.end]};
      const bool afterAll =
          match.begin == match.end && match.begin == text.size() && text.ends_with('\n');
      if (afterAll) continue;
      if (tag > 0) match = {unit.begin + places[range->begin], unit.begin + places[range->end]};
      matches.push_back(match);
    }
    if (searcher.Items().empty()) {
      ++plain.unitsWithout;
      std::size_t next = unit.begin;
      for (Range line;
           scope != Scope::kFile && next <= unit.end && NextUnit(text, Scope::kLine, next, line);)
        plain.lines.push_back(line.begin);
    }
    std::stable_sort(matches.begin(), matches.end(), [](Range a, Range b) {
      return std::pair(a.begin, a.end) < std::pair(b.begin, b.end);
    });
    for (const Range match : matches) {
      const std::size_t line = LineAround(text, match.begin).begin;
      if (plain.lines.empty() || plain.lines.back() != line) {
        plain.lines.push_back(line);
        ++plain.linesWithMatches;
      }
      plain.matches.push_back(match);
    }
  }
  return plain;
}

std::string RandomExpression(testing::Dice& dice, int depth) {
  static const std::vector<std::string> kTerms = {
      "a", "ab",   "b",     "ä",        "aä",   "c+", "^a", "b$",   "^$",  "a*",
      "$", "(a)b", "[ab]c", "(a|b)\\1", "~aba", ".",  "x",  "\\<b", "c|b", "(a)(ä)"};
  if (depth == 0 || dice.OneIn(3)) return dice.OneOf(kTerms);
  const auto operand = [&] {
    std::string inner = RandomExpression(dice, depth - 1);
    const bool bare = !dice.OneIn(3) && inner.find('&') == inner.npos && inner.front() != '!';
    return bare ? inner : inner.insert(0, 1, '(').append(")");
  };
  switch (dice.Between(0, 6)) {
    case 0:
      return std::string("!").append(operand());
    case 1:
      return operand() + " & !" + operand();
    case 2:
      return operand() + " &3 " + operand();
    case 3:
      return operand() + " &2w " + operand();
    case 4:
      return operand() + "|" + operand();
    case 5:
      return std::string("!").append(operand()) + " & !" + operand();
    default:
      return operand() + " & " + operand();
  }
}

std::string RandomText(testing::Dice& dice) {
  static const std::vector<std::string> pieces = {
      "a",  "b",   "c",    "ä", "x",  " ",     "\n",   "a",        "ab",
      "\n", "aba", "\n\n", "Ω", "\r", "\xE4 ", "\r\n", "\r\n\r\n", "a\xCC\x88"};
  std::string text;
  for (int i = dice.Between(0, 40); i > 0; --i)
    text += dice.OneOf(pieces);
  return text;
}

std::vector<std::size_t> Begins(const Found& found) {
  std::vector<std::size_t> begins;
  for (const FoundLine& line : found.lines)
    begins.push_back(line.line.begin);
  return begins;
}

/// Adds a portion to what was found before.
void Join(const Found& portion, Found& whole) {
  for (const FoundLine& line : portion.lines) {
    if (line.goesOn) {
      ASSERT_EQ(line.line, whole.lines.back().line);
      whole.lines.back().matchCount += line.matchCount;
    } else {
      whole.lines.push_back(line);
      whole.lines.back().firstMatch += whole.matches.size();
    }
  }
  whole.matches.insert(whole.matches.end(), portion.matches.begin(), portion.matches.end());
  whole.satisfied.insert(whole.satisfied.end(), portion.satisfied.begin(), portion.satisfied.end());
  whole.gaveUp.insert(whole.gaveUp.end(), portion.gaveUp.begin(), portion.gaveUp.end());
  whole.linesWithMatches += portion.linesWithMatches;
  whole.unitsWithout += portion.unitsWithout;
}

/// What is found is the same in portions, and as far as they are taken.
void HoldPortionsAgainstWhole(const SearchPlan& plan, const std::string& text, Need need,
                              testing::Dice& dice) {
  Found whole;
  TextSearch(plan).Search(text, need, whole);
  TextSearch search(plan, static_cast<std::size_t>(dice.Between(1, 6)));
  const int most = dice.OneIn(3) ? dice.Between(1, 3) : 1000;
  int taken = 0;
  bool goesOn = false;
  Found joined;
  const auto take = [&](Found& portion) {
    EXPECT_FALSE(portion.lines.empty());
    EXPECT_EQ(portion.lines.front().goesOn, goesOn);
    goesOn = portion.lastGoesOn;
    Join(portion, joined);
    portion.Clear();
    return ++taken < most;
  };
  Found last;
  search.Search(text, need, last, take);
  if (taken == most) {
    ASSERT_FALSE(last.Any());
    ASSERT_TRUE(std::equal(joined.matches.begin(), joined.matches.end(), whole.matches.begin()));
    search.Search(text, need, last);
    ASSERT_EQ(last.matches, whole.matches);
    ASSERT_EQ(last.lines.size(), whole.lines.size());
    return;
  }
  Join(last, joined);
  ASSERT_EQ(joined.matches, whole.matches);
  ASSERT_EQ(joined.satisfied, whole.satisfied);
  ASSERT_EQ(joined.linesWithMatches, whole.linesWithMatches);
  ASSERT_EQ(joined.unitsWithout, whole.unitsWithout);
  ASSERT_EQ(joined.lines.size(), whole.lines.size());
  for (std::size_t i = 0; i < whole.lines.size(); ++i) {
    ASSERT_EQ(joined.lines[i].line, whole.lines[i].line);
    ASSERT_EQ(joined.lines[i].matched, whole.lines[i].matched);
    ASSERT_EQ(joined.lines[i].firstMatch, whole.lines[i].firstMatch);
    ASSERT_EQ(joined.lines[i].matchCount, whole.lines[i].matchCount);
  }
}

void HoldAgainstPlain(std::uint32_t seed) {
  testing::Dice dice(seed);
  Options options;
  options.scope = std::vector{Scope::kFile, Scope::kParagraph, Scope::kLine,
                              Scope::kLine}[static_cast<std::size_t>(dice.Between(0, 3))];
  const std::string expression = RandomExpression(dice, 2);
  auto compiled = Query::Compile(expression);
  if (std::holds_alternative<Fault>(compiled)) return;
  const Query query = std::get<Query>(compiled);
  const int tag = query.TagCount() > 0 && dice.OneIn(3) ? dice.Between(1, query.TagCount()) : 0;
  const SearchPlan plan(query, options, tag);
  TextSearch search(plan);
  for (int i = 0; i < 3; ++i) {
    const std::string text = RandomText(dice);
    // A pattern in a file is found in its lines; an empty text has none.
    const bool byLine = plan.road == SearchPlan::Road::kItems;
    const Plain plain = SearchPlainly(query, text, byLine ? Scope::kLine : options.scope, tag);
    const auto where = [&] {
      return "seed " + std::to_string(seed) + ": " + expression + " tag " + std::to_string(tag) +
             " scope " + std::to_string(static_cast<int>(options.scope)) + " in " +
             ::testing::PrintToString(text);
    };
    Found found;
    search.Search(text, Need::kMatches, found);
    ASSERT_EQ(found.matches, plain.matches) << where();
    ASSERT_EQ(Begins(found), plain.lines) << where();
    ASSERT_EQ(found.linesWithMatches, plain.linesWithMatches) << where();
    ASSERT_EQ(found.unitsWithout, plain.unitsWithout) << where();
    search.Search(text, Need::kLines, found);
    ASSERT_EQ(Begins(found), plain.lines) << where();
    for (const FoundLine& line : found.lines)
      ASSERT_EQ(line.line, LineAround(text, line.line.begin)) << where();
    search.Search(text, Need::kCount, found);
    ASSERT_EQ(found.linesWithMatches + found.unitsWithout,
              plain.linesWithMatches + plain.unitsWithout)
        << where();
    search.Search(text, Need::kVerdict, found);
    ASSERT_EQ(found.Any(), !plain.lines.empty() || plain.unitsWithout > 0) << where();
    if (i > 0) continue;
    for (const Need need : {Need::kLines, Need::kMatches}) {
      SCOPED_TRACE(where());
      HoldPortionsAgainstWhole(plan, text, need, dice);
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(TextSearch, FindsWhatASearchOfEachUnitFinds) {
  for (std::uint32_t seed = 1; seed <= 6000; ++seed) {
    HoldAgainstPlain(seed);
    if (HasFatalFailure()) return;
  }
}

TEST(TextSearch, FindsTheSameInPortionsWhereItGivesUp) {
  if (testing::kUnderSanitizer) GTEST_SKIP() << "giving up takes a minute there";
  std::string hostile;
  for (int i = 0; i < 3000; ++i)
    hostile += "ab";
  const std::string text = "y y\nok\nyyyy" + hostile + "x" + hostile + "\ny\n";
  Options options;
  options.scope = Scope::kLine;
  // One gives up on the third line before it has found anything there, the other afterwards.
  for (const char* expression : {R"(y|(.*)(.*)x\2\1)", R"(y|(a.*)(.*)x\2\1)"}) {
    const SearchPlan plan(std::get<Query>(Query::Compile(expression)), options, 0);
    TextSearch search(plan, 2);
    Found whole;
    search.Search(text, Need::kMatches, whole);
    ASSERT_EQ(whole.gaveUp.size(), 1U);
    EXPECT_EQ(LineAround(text, whole.gaveUp.front()).begin, 7U);
    Found joined;
    Found last;
    search.Search(text, Need::kMatches, last, [&](Found& portion) {
      Join(portion, joined);
      return true;
    });
    Join(last, joined);
    EXPECT_EQ(joined.matches, whole.matches) << expression;
    EXPECT_EQ(Begins(joined), Begins(whole)) << expression;
    EXPECT_EQ(joined.linesWithMatches, whole.linesWithMatches) << expression;
    ASSERT_EQ(joined.gaveUp.size(), 1U) << expression;
    EXPECT_EQ(LineAround(text, joined.gaveUp.front()).begin, 7U);
    search.Search("y\n", Need::kMatches, last);
    EXPECT_TRUE(last.gaveUp.empty());
  }
}

/// Texts of which every other line, or few, or none, hold an e, some with an accent of its own.
std::string LinesWithE(testing::Dice& dice, bool dense) {
  static const std::vector<std::string> kWith = {"ein Meer der Seen\n", "E\r\n", "kalt, e", "e\n\n",
                                                 "e\xCC\x81 und e\n"};
  static const std::vector<std::string> kWithout = {
      "kalt und hart\r\n", "\n", "x", "\r\n", "bl\xC3\xA9\n", "lune\xCC\x81\n", "lune\xCD\x81\n"};
  std::string text;
  for (int i = dice.Between(0, 300); i > 0; --i)
    text += dice.OneOf(dice.OneIn(dense ? 2 : 40) ? kWith : kWithout);
  return text;
}

TEST(TextSearch, FindsTheSameLinesHoweverDenseTheMatchesAre) {
  for (const char* expression : {"e", "!e", "ee", "!(e)"}) {
    for (const bool caseSensitive : {false, true}) {
      testing::Dice dice(7);
      ExpressionOptions how;
      how.caseSensitive = caseSensitive;
      const Query query = std::get<Query>(Query::Compile(expression, how));
      Options options;
      options.scope = Scope::kLine;
      const SearchPlan plan(query, options, 0);
      ASSERT_TRUE(plan.string.has_value());
      TextSearch search(plan);
      for (int round = 0; round < 200; ++round) {
        const std::string text = LinesWithE(dice, dice.OneIn(2));
        const Plain plain = SearchPlainly(query, text, Scope::kLine, 0);
        Found found;
        const Need need = std::vector{Need::kVerdict, Need::kCount,
                                      Need::kLines}[static_cast<std::size_t>(dice.Between(0, 2))];
        search.Search(text, need, found);
        ASSERT_EQ(found.Any(), !plain.lines.empty()) << expression << round;
        if (need == Need::kVerdict) continue;
        ASSERT_EQ(found.linesWithMatches, plain.linesWithMatches) << expression << round;
        ASSERT_EQ(found.unitsWithout, plain.unitsWithout) << expression << round;
        if (need == Need::kLines) {
          ASSERT_EQ(Begins(found), plain.lines) << expression << round;
        }
        for (const FoundLine& line : found.lines)
          ASSERT_EQ(line.line, LineAround(text, line.line.begin)) << expression << round;
      }
    }
  }
}

TEST(SearchPlan, ScansForPlainStringsAlone) {
  const auto scans = [](const char* expression, ExpressionOptions how) {
    Options options;
    options.scope = Scope::kLine;
    return SearchPlan(std::get<Query>(Query::Compile(expression, how)), options, 0)
        .string.has_value();
  };
  ExpressionOptions how;
  EXPECT_TRUE(scans("Haus", how));
  EXPECT_TRUE(scans("!(Haus2)", how));
  for (const char* other :
       {"Haus & Hof", "ha.s", "H\xC3\xA4user", "(Haus)(Hof)", "a|b", "~Haus", "Haus Hof"})
    EXPECT_FALSE(scans(other, how)) << other;
  how.words = true;
  EXPECT_FALSE(scans("Haus", how));
  how = {};
  how.variants = true;
  EXPECT_FALSE(scans("Haus", how));
}

TEST(TextSearch, WholeLinesAreMatchesFromEndToEnd) {
  Options options;
  options.scope = Scope::kLine;
  options.wholeLines = true;
  const SearchPlan plan(std::get<Query>(Query::Compile("ab+|c")), options, 0);
  TextSearch search(plan);
  Found found;
  search.Search("abb\r\nxab\nc\nab c\n", Need::kMatches, found);
  EXPECT_EQ(found.matches, (std::vector<Range>{{0, 3}, {9, 10}}));
  const SearchPlan inverse(std::get<Query>(Query::Compile("!(ab+|c)")), options, 0);
  TextSearch(inverse).Search("abb\r\nxab\nc\nab c\n", Need::kLines, found);
  EXPECT_EQ(Begins(found), (std::vector<std::size_t>{5, 11}));
}

TEST(SearchPlan, TakesTheRoadThatLeavesMostOut) {
  const auto roadOf = [](const char* expression, Scope scope) {
    Options options;
    options.scope = scope;
    return SearchPlan(std::get<Query>(Query::Compile(expression)), options, 0).road;
  };
  using Road = SearchPlan::Road;
  EXPECT_EQ(roadOf("a|~Meier", Scope::kFile), Road::kItems);
  EXPECT_EQ(roadOf("a & b", Scope::kFile), Road::kUnits);
  EXPECT_EQ(roadOf("a & b", Scope::kLine), Road::kCandidates);
  EXPECT_EQ(roadOf("(a & b)|(c & !d)", Scope::kLine), Road::kCandidates);
  EXPECT_EQ(roadOf("(a & b)|(!c)", Scope::kLine), Road::kUnits);
  EXPECT_EQ(roadOf("!a & !(b|c)", Scope::kParagraph), Road::kInverse);
}

}  // namespace
}  // namespace trovex::cli
