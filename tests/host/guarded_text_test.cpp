// Texts and patterns that end, or begin, at the border of what the host may touch: as a text does
// whose length is a multiple of the page, with one byte more after it and nothing after that.
//
// Each entry point must give the same answer there as on an ordinary text, and touch nothing
// beyond the byte after the text. A pattern, an expression and a text for the phonetic search end
// with their zero byte; a slice ends with its last.

#include "tests/host/guarded_text.h"
#include "tests/dice.h"
#include "tests/heap_text.h"

#include <trovex/trovex.h>

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace {

using trovex::testing::Dice;
using trovex::testing::Guard;
using trovex::testing::GuardedBytes;
using trovex::testing::HeapText;
using trovex::testing::PageSize;

constexpr Guard kGuards[] = {Guard::kAfter, Guard::kInFront};

/// Lengths with and without a page border at one end or at both.
std::vector<std::size_t> Lengths() {
  const std::size_t page = PageSize();
  return {0, 1, 2, 5, 13, 40, page - 1, page, page + 1, 2 * page - 1, 2 * page};
}

/// `length` bytes of short lines in which nothing but the needle is to be found, with the needle
/// at the front, at the end or nowhere.
std::string TextOf(std::size_t length, std::string_view needle, int place) {
  Dice dice(static_cast<std::uint32_t>(length));
  std::string text;
  while (text.size() < length)
    text += dice.Byte("xyzzq- ,;\n");
  const std::size_t size = std::min(needle.size(), length);
  if (place == 1) text.replace(0, size, needle.substr(0, size));
  if (place == 2) text.replace(length - size, size, needle.substr(needle.size() - size));
  return text;
}

/// What a search wrote.
struct Found {
  int answer = 0;
  int start = -77;
  int end = -77;
  bool operator==(const Found& other) const {
    return std::tie(answer, start, end) == std::tie(other.answer, other.start, other.end);
  }
};

Found FindPattern(const char* text, std::size_t length, int group) {
  Found found;
  found.answer = Search(text, static_cast<int>(length), &found.start, &found.end, group);
  return found;
}

Found FindSoundex(const char* text) {
  Found found;
  found.answer = SearchSoundex(text, &found.start, &found.end);
  return found;
}

/// Calls `check(text, guarded)` with texts of all lengths that hold `needle` somewhere, or not,
/// with `after` as the byte after them.
template <typename Check>
void ForEveryText(std::string_view needle, char after, const Check& check) {
  for (const std::size_t length : Lengths()) {
    for (const int place : {0, 1, 2}) {
      const std::string text = TextOf(length, needle, place);
      for (const Guard guard : kGuards) {
        GuardedBytes guarded(text + after, guard);
        SCOPED_TRACE(::testing::Message() << "length " << length << ", place " << place);
        check(text, guarded.Data());
        EXPECT_EQ(guarded.Data()[length], after);
        EXPECT_EQ(std::string_view(guarded.Data(), length), text);
      }
    }
  }
}

struct PatternCase {
  const char* pattern;
  int foldCase;
  int matchWords;
  const char* needle;
};

const PatternCase kPatterns[] = {
    {"Haus", 0, 0, "Haus"},
    {"H", 0, 0, "H"},
    {"Haus", 1, 0, "HAUS"},
    {"Haus", 0, 1, "Haus"},
    {"Haus", 1, 1, "haus"},
    {"(Hau(s))", 0, 0, "Haus"},
    {"(H)a*(us)?", 1, 1, "Haus"},
    {"H[a-u]+|M[oe]+", 0, 0, "Haus"},
    {"H[a-u]+|M[oe]+", 1, 1, "MOE"},
    {"(Haus|Hof)(tier|e)*$", 0, 0, "Haustier"},
    {"^(Haus|Hof)", 0, 0, "Hof"},
    {"\\bHaus\\b", 0, 0, "Haus"},
    {"Haus\\>", 0, 1, "Haus"},
    {"(a)b\\1", 0, 0, "aba"},
    {"(a|b)c\\1", 1, 1, "BcB"},
    {"a{3,}", 0, 0, "aaaa"},
    {"c*$", 0, 1, "c"},
    {"", 0, 0, ""},
    {"[^xyz]", 0, 0, "q"},
    {"Wahrscheinlichkeit|Unwahrscheinlichkeit", 1, 0, "unwahrscheinlichkeit"},
};

TEST(GuardedTextDeathTest, EndsTheProcessWhereAByteIsTouchedThatIsNotIts) {
  GuardedBytes after("ab", Guard::kAfter);
  GuardedBytes inFront("ab", Guard::kInFront);
  EXPECT_DEATH(after.Data()[2] = 'c', "");
  EXPECT_DEATH(inFront.Data()[-1] = 'c', "");
}

TEST(GuardedText, IsSearchedForAPatternWithinItsBounds) {
  for (const PatternCase& c : kPatterns) {
    SCOPED_TRACE(c.pattern);
    ASSERT_EQ(Compile(c.pattern, c.foldCase, c.matchWords), nullptr);
    for (const char after : {'\0', 'a', '\n'}) {
      ForEveryText(c.needle, after, [&](const std::string& text, const char* guarded) {
        const HeapText ordinary(text, after);
        for (int group = 0; group <= GetSubExpressionCount() + 1; ++group) {
          EXPECT_EQ(FindPattern(guarded, text.size(), group),
                    FindPattern(ordinary.Data(), text.size(), group))
              << "group " << group;
        }
      });
    }
  }
  FreeBuffersInTrovexDll();
}

TEST(GuardedText, IsSearchedForASoundexCodeWithinItsBounds) {
  for (const char* word : {"Meier", "M", "Bundesverfassungsgericht"}) {
    for (const int wordMode : {0, 1}) {
      SCOPED_TRACE(word);
      ASSERT_NE(CompileSoundex(word, wordMode), 0);
      ForEveryText(word, '\0', [](const std::string& text, const char* guarded) {
        EXPECT_EQ(FindSoundex(guarded), FindSoundex(text.c_str()));
      });
    }
  }
}

std::string Described(CFoundItemArray* array) {
  if (array == nullptr) return "null";
  std::string items = array->IsNegative() != 0 ? "not" : "";
  for (int i = 0; i < array->GetSize(); ++i) {
    CFoundItem* const item = array->GetAt(i);
    items.append(" ").append(std::to_string(item->GetStartPos()));
    items.append("-").append(std::to_string(item->GetEndPos()));
    if (item->TagMatched() != 0) items += '!';
  }
  return items;
}

std::string ItemsIn(CSearchTreeItem& tree, const char* text, std::size_t length, int tag) {
  return Described(
      std::unique_ptr<CFoundItemArray>(tree.Search(text, static_cast<int>(length), tag)).get());
}

TEST(GuardedText, IsSearchedWithTreesWithinItsBounds) {
  struct {
    const char* expression;
    int phonetic;
    int matchWords;
  } const cases[] = {
      {"Haus", 0, 0},
      {"H(au)s", 0, 1},
      {"(Haus & Ha)", 0, 0},
      {"Haus &3 (Ha|us)", 0, 0},
      {"!Haus", 0, 0},
      {"x & !Haus", 0, 0},
      {"x &4 !Haus", 0, 0},
      {"!Haus & !Hof", 0, 0},
      {"!(x & Haus) &2 y", 0, 1},
      {"Haus", 1, 0},
      {"Haus", 1, 1},
      {"Haus & !Hof", 1, 1},
      {"x* & Haus$", 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expression);
    CSearchTreeItem* root = nullptr;
    int tags = 0;
    ASSERT_EQ(
        GetSearchTree(c.expression, c.phonetic == 0, c.phonetic, c.matchWords, 0, root, &tags),
        nullptr);
    const std::unique_ptr<CSearchTreeItem> tree(root);
    ForEveryText("Haus", '\0', [&](const std::string& text, const char* guarded) {
      const HeapText ordinary(text);
      for (int tag = 0; tag <= tags; ++tag) {
        EXPECT_EQ(ItemsIn(*tree, guarded, text.size(), tag),
                  ItemsIn(*tree, ordinary.Data(), text.size(), tag));
      }
    });
  }
  ResetEnvironment();
}

TEST(GuardedText, IsPreparedWithinItsBounds) {
  for (const std::size_t length : Lengths()) {
    std::string text = TextOf(length, "\t\r", 1);
    if (length > 0) text.back() = '\r';
    std::string expected = text;
    std::replace(expected.begin(), expected.end(), '\r', '\n');
    std::replace(expected.begin(), expected.end(), '\t', ' ');
    for (const Guard guard : kGuards) {
      GuardedBytes guarded(text + '\0', guard);
      ReplaceChars(guarded.Data());
      EXPECT_EQ(std::string_view(guarded.Data(), length), expected) << length;
    }
  }
}

/// Patterns and expressions, faulty ones among them, which a reader may overrun: each ends in the
/// middle of something.
const char* const kTypedTexts[] = {
    "",     "a",      "Haus",   "(Haus)", "a|",        "a\\",  "[",     "[^",      "[a-",
    "[[.",  "[[=a",   "[a",     "a{",     "a{1",       "a{1,", "a{1,2", "(",       "(a",
    "a)",   "a\\&",   "a\\!",   "a & b",  "a &",       "a &5", "a &-",  "a & ",    "!",
    "!a",   "a & !",  "(a & b", "a &5 b", "(a & b)",   "\\",   "\\(",   "   ",     "a   ",
    "(a\\", "a & (b", "\\1",    "\xFC",   "M\xFCller", "^",    "$",     "ab(c)\\1"};

TEST(GuardedPattern, IsCompiledWithinItsBounds) {
  for (const std::string typed : kTypedTexts) {
    for (const int flags : {0, 1, 2, 3}) {
      const char* const plain = Compile(typed.c_str(), flags & 1, flags & 2);
      const std::string expected = plain == nullptr ? "" : plain;
      for (const Guard guard : kGuards) {
        GuardedBytes guarded(typed + '\0', guard);
        const char* const message = Compile(guarded.Data(), flags & 1, flags & 2);
        EXPECT_EQ(message == nullptr ? "" : message, expected) << typed;
      }
    }
  }
  FreeBuffersInTrovexDll();
}

TEST(GuardedPattern, IsCompiledToAnEnvironmentWithinItsBounds) {
  for (const std::string typed : kTypedTexts) {
    for (const int phonetic : {0, 1}) {
      int number = 0;
      const char* const plain = CompileToEnvironment(typed.c_str(), 0, phonetic, 0, 1, &number);
      const std::string expected = plain == nullptr ? "" : plain;
      for (const Guard guard : kGuards) {
        GuardedBytes guarded(typed + '\0', guard);
        const char* const message =
            CompileToEnvironment(guarded.Data(), 0, phonetic, 0, 1, &number);
        EXPECT_EQ(message == nullptr ? "" : message, expected) << typed;
      }
    }
  }
  ResetEnvironment();
}

TEST(GuardedPattern, IsCodedWithinItsBounds) {
  for (const std::string typed : kTypedTexts) {
    const int expected = CompileSoundex(typed.c_str(), 0);
    for (const Guard guard : kGuards) {
      GuardedBytes guarded(typed + '\0', guard);
      EXPECT_EQ(CompileSoundex(guarded.Data(), 0), expected) << typed;
    }
  }
}

TEST(GuardedPattern, IsParsedAsAnExpressionWithinItsBounds) {
  for (const std::string typed : kTypedTexts) {
    for (const int phonetic : {0, 1}) {
      CSearchTreeItem* root = nullptr;
      int tags = 0;
      const char* const plain = GetSearchTree(typed.c_str(), 0, phonetic, 0, 0, root, &tags);
      const std::string expected = plain == nullptr ? "" : plain;
      delete root;
      for (const Guard guard : kGuards) {
        GuardedBytes guarded(typed + '\0', guard);
        const char* const message = GetSearchTree(guarded.Data(), 0, phonetic, 0, 0, root, &tags);
        EXPECT_EQ(message == nullptr ? "" : message, expected) << typed;
        delete root;
      }
    }
  }
  ResetEnvironment();
}

TEST(GuardedPattern, IsTakenAsASliceWithNoByteAfterIt) {
  for (const std::string typed : kTypedTexts) {
    CSubExpression plain;
    plain.SetSubExpression(typed.c_str(), static_cast<int>(typed.size()), 3);
    for (const Guard guard : kGuards) {
      GuardedBytes guarded(typed, guard);
      CSubExpression leaf;
      leaf.SetSubExpression(guarded.Data(), static_cast<int>(typed.size()), 3);
      EXPECT_EQ(leaf.GetSubExpression(), plain.GetSubExpression()) << typed;
      EXPECT_EQ(leaf.GetGroupCount(), plain.GetGroupCount()) << typed;
    }
  }
}

TEST(GuardedRecord, IsCopiedWithinItsBounds) {
  for (const Guard guard : kGuards) {
    GuardedBytes guarded(std::string(sizeof(SoundexEnvironmentRecord), '?'), guard);
    auto* const record = reinterpret_cast<SoundexEnvironmentRecord*>(guarded.Data());
    int wordMode = -1;
    ASSERT_NE(CompileSoundex("Bundesverfassungsgericht", 1), 0);
    GetSoundexEnvironment(record, &wordMode);
    const std::string code(record->code, sizeof(record->code));
    EXPECT_EQ(code.size(), 10U);
    EXPECT_EQ(code.find('?'), std::string::npos);
    CompileSoundex("M", 0);
    SetSoundexEnvironment(record, wordMode);
    EXPECT_EQ(FindSoundex("ein Bundesverfassungsgericht."), (Found{1, 4, 28}));
  }
}

}  // namespace
