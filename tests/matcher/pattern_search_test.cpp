// All matches of a text against the most trivial matcher, for every pattern of a small grammar and every
// short text, and at random over large ones; on the ordinary road, and on that of lines alone.

#include "matcher/pattern_search.h"

#include "matcher/automata/line_search.h"
#include "tests/dice.h"
#include "tests/matcher/random_pattern.h"
#include "tests/matcher/tree_matcher.h"
#include "tests/visible.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>
#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using testing::RandomPattern;
using testing::TreeMatcher;
using testing::Visible;

using Program = std::shared_ptr<const PatternProgram>;
using Ranges = std::vector<ByteRange>;

/// Bytes in a heap block of exactly their length.
class ExactText {
 public:
  explicit ExactText(std::string_view text)
      : bytes_(std::make_unique<unsigned char[]>(text.size())), size_(text.size()) {
    if (!text.empty()) std::memcpy(bytes_.get(), text.data(), size_);
  }
  TextView View() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<unsigned char[]> bytes_;
  std::size_t size_;
};

CharSet Letters() {
  CharSet letters;
  for (const char c : std::string_view("aAbxyz"))
    letters.set(static_cast<unsigned char>(c));
  return letters;
}

SyntaxTree Parse(const std::string& pattern) {
  return ParsePattern(pattern.data(), pattern.size(), nullptr);
}

Program Compile(const SyntaxTree& tree, const ProgramOptions& options) {
  auto compiled = PatternProgram::Compile(tree, options);
  return std::holds_alternative<Program>(compiled) ? std::get<Program>(compiled) : nullptr;
}

Ranges AllMatches(PatternSearch& search, TextView text) {
  Ranges matches;
  search.Begin(text);
  ByteRange match;
  while (search.Next(match) == SearchOutcome::kFound)
    matches.push_back(match);
  EXPECT_EQ(search.Next(match), SearchOutcome::kNotFound);
  EXPECT_EQ(search.First(text, match) == SearchOutcome::kFound, !matches.empty());
  if (!matches.empty()) {
    EXPECT_EQ(match, matches.front());
  }
  return matches;
}

/// The same by `LineSearch` alone.
Ranges AllMatchesOnLines(const PositionGraph& graph, LineSearch& lines, TextView text) {
  Ranges matches;
  std::size_t size = text.size();
  if (size > 0 && text[size - 1] == '\n') --size;
  const unsigned char* const begin = text.data();
  const unsigned char* const end = begin + size;
  for (const unsigned char* line = begin;;) {
    const unsigned char* const lineEnd = std::find(line, end, '\n');
    EXPECT_TRUE(lines.Prepare(line, lineEnd, ByteKind::kNewline, false));
    bool touches = false;
    for (const unsigned char* place = line; place <= lineEnd;) {
      const ByteKind before = place == line ? ByteKind::kNewline : graph.kindOf[place[-1]];
      const LineSearch::Match match = lines.Find(place, before, touches);
      if (match.start == nullptr) break;
      matches.push_back({static_cast<std::size_t>(match.start - begin),
                         static_cast<std::size_t>(match.end - begin)});
      touches = match.end > match.start;
      place = match.end + (touches ? 0 : 1);
    }
    if (lineEnd == end) return matches;
    line = lineEnd + 1;
  }
}

std::string Told(const Ranges& ranges) {
  std::string told;
  for (const ByteRange& range : ranges)
    told.append("(")
        .append(std::to_string(range.begin))
        .append(",")
        .append(std::to_string(range.end))
        .append(") ");
  return told;
}

/// Holds every text against the trivial matcher.
void CompareAll(const std::string& pattern, bool words, const std::vector<std::string>& texts) {
  const ProgramOptions options = {.wholeWords = words, .wordBytes = Letters()};
  const SyntaxTree tree = Parse(pattern);
  ASSERT_FALSE(tree.faulty) << Visible(pattern);
  const Program program = Compile(tree, options);
  ASSERT_NE(program, nullptr) << Visible(pattern);
  PatternSearch search(*program);
  GraphOptions graphOptions = {.words = words, .wordBytes = Letters()};
  graphOptions.mostPositions = graphOptions.mostEdges = 100'000;
  const auto graph = MakePositionGraph(tree, graphOptions);
  ASSERT_NE(graph, nullptr);
  LineSearch lines(*graph);
  TreeMatcher reference(tree, options);
  for (const std::string& text : texts) {
    const ExactText exact(text);
    const Ranges expected = reference.AllMatches(text);
    const Ranges found = AllMatches(search, exact.View());
    ASSERT_EQ(found, expected) << "pattern " << Visible(pattern) << " words " << words << " text "
                               << Visible(text) << " found " << Told(found) << " expected "
                               << Told(expected);
    const Ranges onLines = AllMatchesOnLines(*graph, lines, exact.View());
    ASSERT_EQ(onLines, expected) << "on lines: pattern " << Visible(pattern) << " words " << words
                                 << " text " << Visible(text) << " found " << Told(onLines)
                                 << " expected " << Told(expected);
  }
}

/// All texts of up to `longest` bytes of `alphabet`.
std::vector<std::string> AllTexts(std::string_view alphabet, std::size_t longest) {
  std::vector<std::string> texts = {""};
  for (std::size_t first = 0, length = 0; length < longest; ++length) {
    const std::size_t end = texts.size();
    for (; first < end; ++first) {
      for (const char c : alphabet)
        texts.push_back(texts[first] + c);
    }
  }
  return texts;
}

const std::vector<std::string> kAtoms = {"a",   "-",   ".",    "^",  "$",   "\\<", "\\>",
                                         "\\b", "\\B", "[^a]", "()", "\\`", "\\'"};

TEST(PatternSearchTest, EveryShortPatternInEveryShortText) {
  const std::vector<std::string> texts = AllTexts("a-\n", 5);
  std::vector<std::string> patterns;
  for (const std::string& x : kAtoms) {
    for (const char* form : {"X", "(X)*", "(X)+", "(X){2}", "((X)*)*", "(X){2,}", "(X){0,2}a"}) {
      std::string pattern = form;
      pattern.replace(pattern.find('X'), 1, x);
      patterns.push_back(pattern);
    }
  }
  for (const std::string& pattern : patterns) {
    for (const bool words : {false, true}) {
      CompareAll(pattern, words, texts);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(PatternSearchTest, EveryPairOfAtomsInEveryShortText) {
  const std::vector<std::string> texts = AllTexts("a-\n", 4);
  for (const std::string& x : kAtoms) {
    for (const std::string& y : kAtoms) {
      for (const char* form : {"XY", "X|Y", "(X|Y)*", "(XY)+", "(X*Y)*", "(X|aY)+-", "a*X-*Y",
                               "(X{1,2}|Y)?a", "(Xa|Y-){2}"}) {
        std::string pattern;
        for (const char* c = form; *c != '\0'; ++c) {
          const bool isAtom = *c == 'X' || *c == 'Y';
          if (isAtom) pattern.append("(").append(*c == 'X' ? x : y).append(")");
          if (!isAtom) pattern += *c;
        }
        for (const bool words : {false, true}) {
          CompareAll(pattern, words, texts);
          if (HasFatalFailure()) return;
        }
      }
    }
  }
}

TEST(PatternSearchTest, EveryRowOfRunsBetweenAnchorsInEveryShortText) {
  const std::vector<std::string> texts = AllTexts("ab-\n", 4);
  for (const char* first : {"", "^", "\\<", "\\b", "\\B", "^\\<"}) {
    for (const char* last : {"", "$", "\\>", "\\b", "\\B", "\\>$"}) {
      for (const char* row : {"a", "ab", "a+", "[ab]+", "[ab]{2}", "a*b", "[^b]+", "a-?", ".*b",
                              ".{2,}", "[ab]+-[ab]", "(a|b)-", "[^a]*ab?"}) {
        for (const bool words : {false, true}) {
          CompareAll(std::string(first) + row + last, words, texts);
          if (HasFatalFailure()) return;
        }
      }
    }
  }
}

TEST(PatternSearchTest, RowsOfRunsBetweenAnchorsInLongTexts) {
  const unsigned seed = std::random_device{}();
  Dice dice(seed);
  std::vector<std::string> texts;
  for (const int length : {0, 1, 40, 63, 64, 65, 127, 128, 129, 700, 9'000}) {
    std::string text;
    while (text.size() < static_cast<std::size_t>(length))
      text += dice.OneOf({"a", "ab", "Axy", "aaaaaaaaaaaaaaaaaaaaaaaaa", "-", " ", "\n", "b-x",
                          "xyz.\n", "\nA", "  b"});
    text.resize(static_cast<std::size_t>(length));
    texts.push_back(text);
  }
  for (const char* pattern : {"^a",
                              "x$",
                              "^xyz\\.$",
                              "\\<ab\\>",
                              "^ +[ab]",
                              "^[^ ]+",
                              "^.{20,}$",
                              "^A.*\\.$",
                              "^A[xyz]*",
                              "\\<[abxyz]{3}\\>",
                              "\\<a[abxyz]*\\>",
                              "[abxyz]+z\\.$",
                              "\\b[abx]+-x",
                              "^[abxyz]+-x$",
                              "\\<[abxyz]+yz\\>",
                              "-[ax]\\>",
                              "^(A|xyz).*z",
                              "^[ab-]{2,3}$",
                              "\\B[abx]+\\B",
                              "a+$"}) {
    for (const bool words : {false, true}) {
      CompareAll(pattern, words, texts);
      if (HasFatalFailure()) FAIL() << "seed " << seed;
    }
  }
}

TEST(PatternSearchTest, EveryTextOfSixBytes) {
  const std::vector<std::string> texts = AllTexts("ab\n", 6);
  for (const char* pattern :
       {"a*", "(^a|b)*", "(a$|b)+", "(\\<a|\\B)*", "a|ab|b*", "(a|ab)(b|ba)?", "^|b$", "(^|a)(b|$)",
        "(aa)*b|a", "()", "b*$", "(\\ba\\b|b)*", "^$", "(a|b){2}", "[^b]*b", "aab", "ab|ba|aa"}) {
    for (const bool words : {false, true}) {
      CompareAll(pattern, words, texts);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(PatternSearchTest, RandomPatternsInRandomTexts) {
  const unsigned seed = std::random_device{}();
  for (unsigned i = 0; i < 1'500; ++i) {
    RandomPattern random(seed + i, {.anchors = true});
    const std::string pattern = random.Pattern();
    if (Parse(pattern).faulty) continue;
    Dice dice(seed + i);
    std::vector<std::string> texts;
    for (int t = 0; t < 4; ++t)
      texts.push_back(dice.Bytes("aaabbA -\n", 60));
    CompareAll(pattern, dice.OneIn(2), texts);
    if (HasFatalFailure()) FAIL() << "seed " << seed + i;
  }
}

TEST(PatternSearchTest, ShortTextsThatLackWhatEveryMatchHolds) {
  const unsigned seed = std::random_device{}();
  Dice dice(seed);
  std::vector<std::string> texts;
  for (int t = 0; t < 3'000; ++t)
    texts.push_back(dice.Bytes("aaaaabAnn \n", 40));
  for (const char* pattern :
       {"a.{0,20}b", "a[an]*b|ab", "[A-Z][a-z]+ [A-Z][a-z]+", "n.*A", "ab.*n b"}) {
    for (const bool words : {false, true}) {
      CompareAll(pattern, words, texts);
      if (HasFatalFailure()) FAIL() << "seed " << seed;
    }
  }
}

TEST(PatternSearchTest, LongTextsWithLeapsAndScans) {
  const unsigned seed = std::random_device{}();
  Dice dice(seed);
  std::vector<std::string> texts;
  for (int t = 0; t < 12; ++t) {
    std::string text;
    while (text.size() < 700) {
      text += dice.OneOf({"xaz", "yyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyy", "a", "b", "\n",
                          "zz", "Aab", " ", "xyz-", "\n\n"});
    }
    texts.push_back(text);
  }
  for (const char* pattern : {"xyz-", "x[ab]z", "x.*z|a", "[^ ]+ab", "a.{0,20}b", "(x|y)*z",
                              "^x.*z$", "\\<a.*b\\>", "zz|b", "xyz-|Aab|xaz", "y+z?", "(.*)a",
                              "\\w+z", "$", "(a|^.|zz)*x", "[^\n]{3,5}", "Aabb*|b"}) {
    for (const bool words : {false, true}) {
      CompareAll(pattern, words, texts);
      if (HasFatalFailure()) FAIL() << "seed " << seed;
    }
  }
}

/// Bytes at the end of pages that can only be read, before one that cannot.
class ReadOnlyText {
 public:
  explicit ReadOnlyText(std::string_view text) : size_(text.size()) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    room_ = (size_ + page - 1) / page * page;
    memory_ = static_cast<unsigned char*>(
        mmap(nullptr, room_ + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    std::memcpy(memory_ + room_ - size_, text.data(), size_);
    mprotect(memory_, room_, PROT_READ);
    mprotect(memory_ + room_, page, PROT_NONE);
    mapped_ = room_ + page;
  }
  ~ReadOnlyText() { munmap(memory_, mapped_); }
  ReadOnlyText(const ReadOnlyText&) = delete;
  ReadOnlyText& operator=(const ReadOnlyText&) = delete;

  TextView View() const { return {memory_ + room_ - size_, size_}; }

 private:
  std::size_t size_;
  std::size_t room_ = 0;
  std::size_t mapped_ = 0;
  unsigned char* memory_ = nullptr;
};

TEST(PatternSearchTest, NothingIsWrittenAndNothingAfterItIsRead) {
  std::string text;
  for (int i = 0; i < 300; ++i)
    text += "Das Haus in der Datei 12-34 aab\n";
  for (const std::string_view end : {"", "x", "Haus", "\n", "Ha", "aa"}) {
    const ReadOnlyText readOnly(text + std::string(end));
    for (const char* pattern :
         {"Haus", "Haus|Datei", "[a-z]+i", ".*", "a*", "\\<Haus\\>", "^.*$", "(aa)*b|a",
          "a.{0,90}b", "[0-9]+-[0-9]+", "x$", "Datei.*(b|x)", "[^ ]+$", "(.)(.)"}) {
      for (const bool words : {false, true}) {
        const SyntaxTree tree = Parse(pattern);
        const ProgramOptions options = {.wholeWords = words, .wordBytes = Letters()};
        const Program program = Compile(tree, options);
        PatternSearch search(*program);
        AllMatches(search, readOnly.View());
        ByteRange match;
        std::vector<ByteRange> groups;
        search.Begin(readOnly.View());
        if (search.Next(match) == SearchOutcome::kFound) {
          EXPECT_EQ(search.Groups(match, groups), SearchOutcome::kFound) << pattern;
        }
      }
    }
  }
}

TEST(PatternSearchTest, ThreadsShareAProgram) {
  const Program program = Compile(Parse("(a|b)*c.{0,20}d|x+"), {.wordBytes = Letters()});
  Dice dice(11);
  std::string text;
  for (int i = 0; i < 20'000; ++i)
    text += dice.Byte("aabbcdx \n");
  const ExactText exact(text);
  PatternSearch alone(*program);
  const Ranges expected = AllMatches(alone, exact.View());
  std::vector<Ranges> found(8);
  std::vector<std::thread> threads;
  for (Ranges& matches : found) {
    threads.emplace_back([&] {
      PatternSearch search(*program);
      for (int round = 0; round < 3; ++round)
        matches = AllMatches(search, exact.View());
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  for (const Ranges& matches : found)
    EXPECT_EQ(matches, expected);
}

// The time of hostile patterns.

/// All matches of 256 KB, within what a search may take.
std::size_t CountMatches(const std::string& pattern, std::string_view text) {
  const Program program = Compile(Parse(pattern), {.wordBytes = Letters()});
  EXPECT_NE(program, nullptr) << pattern;
  PatternSearch search(*program);
  const ExactText exact(text);
  search.Begin(exact.View());
  std::size_t count = 0;
  ByteRange match;
  while (search.Next(match) == SearchOutcome::kFound)
    ++count;
  EXPECT_EQ(search.Next(match), SearchOutcome::kNotFound) << pattern;
  return count;
}

TEST(PatternSearchTest, WhatIsReadInVainIsNotReadAgainAndAgain) {
  const std::string text(256 * 1024, 'a');
  EXPECT_EQ(CountMatches("(aa)*b|a", text), text.size());
  EXPECT_EQ(CountMatches("a.*z|a", text), text.size());
  EXPECT_EQ(CountMatches("(..)*;|[a-z]", text), text.size());
  EXPECT_EQ(CountMatches("([a-z ]{5})+z|a", text), text.size());
}

TEST(PatternSearchTest, ManyStatesAreNeverMade) {
  Dice dice(7);
  std::string text;
  for (int i = 0; i < 128 * 1024; ++i)
    text += dice.Byte("aabcd");
  EXPECT_EQ(CountMatches("a.{0,500}b{20}|dddddddddddddddddddd", text), 0);
  EXPECT_GT(CountMatches("a.{0,500}b|d", text), 0);
  EXPECT_EQ(CountMatches("(a|b)*a(a|b|c){30}d{20}|d{20}", text), 0);
  EXPECT_GT(CountMatches("(([ab]*a[ab]{10})+[ab]{10})+", text), 0);
}

TEST(PatternSearchTest, ASearchThatTakesTooLongGivesUpWhereItIs) {
  // Too many states to be made, and too many positions to go through them at every byte.
  const Program program = Compile(Parse("([ab]*a[ab]{20}){2000}c|d"), {});
  ASSERT_NE(program, nullptr);
  PatternSearch search(*program);
  Dice dice(3);
  std::string text = "abd\nbad\n";
  while (text.size() < 50'000)
    text += dice.Byte("ab");
  const ExactText exact(text);
  search.Begin(exact.View());
  ByteRange match;
  EXPECT_EQ(search.Next(match), SearchOutcome::kFound);
  EXPECT_EQ(match, (ByteRange{2, 3}));
  EXPECT_EQ(search.Next(match), SearchOutcome::kFound);
  EXPECT_EQ(search.Next(match), SearchOutcome::kGaveUp);
  EXPECT_EQ(search.GaveUpAt(), 8U);
  EXPECT_EQ(search.Next(match), SearchOutcome::kGaveUp);
}

TEST(PatternSearchTest, PatternsThatAreTooLargeAreAFault) {
  EXPECT_EQ(std::get<MessageNumber>(PatternProgram::Compile(Parse("((a{1,900}){1,900})"), {})),
            MessageNumber::kMemoryOverflow);
  const std::string deep = std::string(2'000, '(') + std::string(2'000, ')');
  EXPECT_EQ(std::get<MessageNumber>(PatternProgram::Compile(Parse(deep), {})),
            MessageNumber::kExpressionTooLong);
}

}  // namespace
}  // namespace trovex
