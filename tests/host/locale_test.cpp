// A host that sets a locale, or another one between compiling and searching.
//
// The library reads bytes of its own code page whatever the locale is: each kind of search must
// give the answers of the C locale when it is compiled or run under UTF-8, and a locale that knows
// more letters counts with what it was while the pattern was compiled.

#include "tests/heap_text.h"
#include "tests/host_locale.h"

#include <trovex/trovex.h>

#include <gtest/gtest.h>
#include <clocale>
#include <memory>
#include <string>
#include <string_view>

namespace {

using trovex::testing::BuiltHostLocale;
using trovex::testing::HeapText;

constexpr const char* kBytes = "C";
constexpr const char* kUtf8 = "C.UTF-8";

/// Bytes of the code page that are no valid UTF-8, bytes that are, and a byte that begins a
/// character which the text does not finish.
constexpr const char* kText =
    "Der M\xFCller, die M\xDCLLERIN; stra\xDF"
    "e STRASSE\n"
    "\xC3\xA4hnlich \xE4hnlich \xC4HNLICH Ma\xC3";

void AddRange(std::string& found, int start, int end) {
  found.append(" ").append(std::to_string(start)).append("-").append(std::to_string(end));
}

/// All that a pattern finds, from match to match.
std::string PatternFinds(const HeapText& text) {
  std::string found;
  for (int at = 0; at < text.Length();) {
    int start = -1;
    int end = -1;
    if (Search(text.Data() + at, text.Length() - at, &start, &end, 0) == 0 || end < 1) break;
    AddRange(found, at + start, at + end);
    at += end;
  }
  return found;
}

std::string TreeFinds(CSearchTreeItem& tree, const HeapText& text) {
  const std::unique_ptr<CFoundItemArray> items(tree.Search(text.Data(), text.Length(), 1));
  if (items == nullptr) return "null";
  std::string found = items->IsNegative() != 0 ? "not" : "";
  for (int i = 0; i < items->GetSize(); ++i)
    AddRange(found, items->GetAt(i)->GetStartPos(), items->GetAt(i)->GetEndPos());
  return found;
}

/// The locale while a pattern is compiled, and the one while it is searched for.
struct Locales {
  const char* compiling;
  const char* searching;
};

const Locales kOtherLocales[] = {{kUtf8, kUtf8}, {kUtf8, kBytes}, {kBytes, kUtf8}};

class HostLocales : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(Set(kUtf8)) << "this machine lacks a UTF-8 locale"; }
  void TearDown() override {
    Set(kBytes);
    FreeBuffersInTrovexDll();
    ResetEnvironment();
  }

  static bool Set(const char* locale) { return std::setlocale(LC_ALL, locale) != nullptr; }

  static std::string FindPattern(const char* pattern, int foldCase, int matchWords,
                                 Locales locales) {
    const HeapText text(kText);
    Set(locales.compiling);
    EXPECT_EQ(Compile(pattern, foldCase, matchWords), nullptr);
    Set(locales.searching);
    return PatternFinds(text);
  }

  static std::string FindWithTree(const char* expression, int phonetic, int matchWords,
                                  Locales locales) {
    const HeapText text(kText);
    CSearchTreeItem* root = nullptr;
    int tags = 0;
    Set(locales.compiling);
    EXPECT_EQ(GetSearchTree(expression, 0, phonetic, matchWords, 0, root, &tags), nullptr);
    const std::unique_ptr<CSearchTreeItem> tree(root);
    Set(locales.searching);
    return TreeFinds(*tree, text);
  }
};

TEST_F(HostLocales, DoNotChangeWhatAPatternFinds) {
  for (const char* pattern :
       {".", "M.ller", "m\xFCller", "M\xDCLLER", "[\xC0-\xFF]+", "[^a-z]", "\xE4", "\xC3", "\\w+",
        "\\W+", "\\b[a-z]", "(\xE4|\xC4).*", "stra(\xDF|ss)e", "a\xC3$", "(.)\\1", ""}) {
    for (const int foldCase : {0, 1}) {
      for (const int matchWords : {0, 1}) {
        const std::string expected = FindPattern(pattern, foldCase, matchWords, {kBytes, kBytes});
        for (const Locales locales : kOtherLocales) {
          EXPECT_EQ(FindPattern(pattern, foldCase, matchWords, locales), expected)
              << pattern << ", compiled under " << locales.compiling << ", searched under "
              << locales.searching;
        }
      }
    }
  }
}

TEST_F(HostLocales, LetADotMatchEveryByteButTheLineFeed) {
  const HeapText text(kText);
  for (const Locales locales : kOtherLocales) {
    Set(locales.compiling);
    ASSERT_EQ(Compile(".+", 0, 0), nullptr);
    Set(locales.searching);
    EXPECT_EQ(PatternFinds(text), " 0-40 41-69") << locales.compiling;
  }
}

TEST_F(HostLocales, DoNotChangeWhatATreeFinds) {
  for (const char* expression : {"m\xFCller",
                                 "(m\xFCller &20 stra\xDF"
                                 "e)",
                                 "!\xE4hnlich",
                                 "stra\xDF"
                                 "e & !garten",
                                 "(\xE4)hnlich"}) {
    for (const int phonetic : {0, 1}) {
      for (const int matchWords : {0, 1}) {
        const std::string expected =
            FindWithTree(expression, phonetic, matchWords, {kBytes, kBytes});
        EXPECT_NE(expected, "null");
        for (const Locales locales : kOtherLocales) {
          EXPECT_EQ(FindWithTree(expression, phonetic, matchWords, locales), expected)
              << expression << ", compiled under " << locales.compiling << ", searched under "
              << locales.searching;
        }
      }
    }
  }
}

TEST_F(HostLocales, DoNotChangeAnEnvironmentThatIsActivatedUnderAnother) {
  const HeapText text(kText);
  for (const Locales locales : kOtherLocales) {
    Set(locales.compiling);
    int number = -1;
    ASSERT_EQ(CompileToEnvironment("M\xFCLLER", 1, 0, 0, 1, &number), nullptr);
    Set(locales.searching);
    ASSERT_EQ(ActivateEnvironment(number), 1);
    EXPECT_EQ(PatternFinds(text), " 4-10") << locales.compiling;
    EXPECT_EQ(RestoreEnvironment(number), 1);
    ResetEnvironment();
  }
}

TEST_F(HostLocales, DoNotChangeASoundexCodeNorWhatHasIt) {
  for (const Locales locales : kOtherLocales) {
    Set(locales.compiling);
    ASSERT_EQ(CompileSoundex("M\xFCller", 1), 'M');
    Set(locales.searching);
    int start = -1;
    int end = -1;
    ASSERT_EQ(SearchSoundex(kText, &start, &end), 1);
    EXPECT_EQ(start, 4);
    EXPECT_EQ(end, 10);
  }
}

TEST_F(HostLocales, AreLeftAsTheyAre) {
  for (const char* locale : {kBytes, kUtf8}) {
    Set(locale);
    Compile("(a", 1, 1);
    Compile("M.ller|\xE4", 1, 1);
    PatternFinds(HeapText(kText));
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), locale);
    EXPECT_EQ(uselocale(static_cast<locale_t>(nullptr)), LC_GLOBAL_LOCALE);
  }
}

TEST_F(HostLocales, OfTheThreadAreLeftAsTheyAre) {
  const locale_t own = newlocale(LC_ALL_MASK, kUtf8, static_cast<locale_t>(nullptr));
  ASSERT_NE(own, static_cast<locale_t>(nullptr));
  const locale_t before = uselocale(own);
  EXPECT_EQ(Compile("M.ller|\xE4", 1, 1), nullptr);
  EXPECT_NE(PatternFinds(HeapText(kText)), "");
  EXPECT_EQ(uselocale(before), own);
  freelocale(own);
}

TEST_F(HostLocales, ThatKnowMoreLettersCountAsTheyWereAtTheCompile) {
  const HeapText text("une \xE9tude, \xC9TUDE");
  Set(kBytes);
  ASSERT_EQ(Compile("\xC9tude", 1, 0), nullptr);
  {
    const BuiltHostLocale locale("de_DE", "ISO-8859-1");
    if (!locale.IsSet()) GTEST_SKIP() << "no locale sources on this machine";
    EXPECT_EQ(PatternFinds(text), " 11-16") << "compiled under C, searched under ISO-8859-1";
    ASSERT_EQ(Compile("\xC9tude", 1, 0), nullptr);
    EXPECT_EQ(PatternFinds(text), " 4-9 11-16");
  }
  EXPECT_EQ(PatternFinds(text), " 4-9 11-16") << "compiled under ISO-8859-1, searched under C";
}

}  // namespace
