// Texts in memory that nobody can write, on every road of a search: nothing is written to a text, nor is
// anything outside of it read, except, for whole words, the byte after it.

#include "tests/dice.h"
#include "tests/heap_text.h"
#include "tests/host/guarded_text.h"

#include <trovex/trovex.h>

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using trovex::testing::Dice;
using trovex::testing::Guard;
using trovex::testing::GuardedBytes;
using trovex::testing::HeapText;

/// Patterns for each road: the string that is the match, the automata with and without leading bytes and
/// keyword, the engine, the own matcher; each with and without groups and anchors.
const char* const kPatterns[] = {
    "Haus",      "H",     "Haus|Hof",  "H[a-z]+",   "[a-z]+",         "(Haus).*e",  "x*",
    "^$",        "^",     "$",         "^Haus",     "Haus$",          "a$|^b",      "\\<Haus\\>",
    "\\bH",      "\\BH",  "s\\>",      "\\`H",      "s\\'",           "(.)\\1",     "([a-z]+) \\1",
    "(H|s)a\\1", "()\\1", "(^a|s)*",   "(^H|a)+u",  "(a|^)**",        "(()|a)*",    "[[.H.]]a",
    "a{0}H",     "{1}H",  "(H|\\b)+a", "[^\n]*us",  "(a{1,100}){3}b", "Ha\nus",     "([A-Za-z ]*)s",
    "_",         "\\w+",  "\\W",       "(a|b)*c|d", "(([ab]*a)+b)+",  "[H-]a.s\\b", "u(s|$)"};

std::string RandomText(Dice& dice) {
  static const std::vector<std::string> kWords = {
      "Haus", "haus", "Hof", "aa", "ab ab", "s", "_", "\n", " ", "\n\n", "e", "a", "\xFC", "1"};
  std::string text;
  for (int words = dice.Between(0, 8); words > 0; --words)
    text += dice.OneOf(kWords);
  if (dice.OneIn(6)) text += std::string(static_cast<std::size_t>(dice.Between(250, 6'000)), 'a');
  if (dice.OneIn(6)) text += "\nHaus";
  return text;
}

std::string Described(CFoundItemArray* array) {
  if (array == nullptr) return "null";
  std::string items;
  for (int i = 0; i < array->GetSize(); ++i) {
    CFoundItem* const item = array->GetAt(i);
    items.append(std::to_string(item->GetStartPos())).append("-");
    items.append(std::to_string(item->GetEndPos())).append(" ");
  }
  return items;
}

/// What tree and plain search find in `text`.
std::string Answers(CSearchTreeItem& tree, const char* pattern, int fold, int words,
                    const char* text, int length) {
  std::string answers;
  for (const int tag : {0, 1}) {
    answers += Described(std::unique_ptr<CFoundItemArray>(tree.Search(text, length, tag)).get());
    answers += "| ";
  }
  if (Compile(pattern, fold, words) != nullptr) return answers + "refused";
  for (const int group : {0, 1, 2}) {
    int start = -7;
    int end = -7;
    const int found = Search(text, length, &start, &end, group);
    answers.append(std::to_string(found)).append(" ").append(std::to_string(start));
    answers.append("-").append(std::to_string(end)).append(" ");
  }
  return answers;
}

void ExpectTheSameInReadOnlyMemory(const char* pattern, int fold, int words) {
  CSearchTreeItem* root = nullptr;
  int tags = 0;
  const char* const fault = GetSearchTree(pattern, 1, 0, words, fold == 0, root, &tags);
  const std::unique_ptr<CSearchTreeItem> tree(root);
  if (fault != nullptr) return;
  Dice dice(17);
  for (int round = 0; round < 12; ++round) {
    const std::string text = RandomText(dice);
    const auto length = static_cast<int>(text.size());
    const char after = dice.Byte("a \n");
    const HeapText ordinary(text, after);
    const std::string expected = Answers(*tree, pattern, fold, words, ordinary.Data(), length);
    for (const Guard guard : {Guard::kAfter, Guard::kInFront}) {
      GuardedBytes bytes(words != 0 || text.empty() ? text + after : text, guard);
      bytes.MakeReadOnly();
      ASSERT_EQ(Answers(*tree, pattern, fold, words, bytes.Data(), length), expected)
          << pattern << " fold " << fold << " words " << words << " round " << round;
    }
  }
}

TEST(ReadOnlyText, IsSearchedOnEveryRoad) {
  for (const char* const pattern : kPatterns) {
    for (const int fold : {0, 1}) {
      for (const int words : {0, 1})
        ExpectTheSameInReadOnlyMemory(pattern, fold, words);
    }
  }
  ResetEnvironment();
  FreeBuffersInTrovexDll();
}

TEST(ReadOnlyText, IsSearchedWithOperators) {
  for (const char* const expression :
       {"Haus & Hof", "Haus &3 !Hof", "!(.)\\1", "(a|b)\\1 & \\<a", "!Haus & !Hof"}) {
    for (const int words : {0, 1})
      ExpectTheSameInReadOnlyMemory(expression, 0, words);
  }
  ResetEnvironment();
  FreeBuffersInTrovexDll();
}

}  // namespace
