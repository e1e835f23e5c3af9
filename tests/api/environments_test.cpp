// Pattern environments: their numbers and kinds, what activating and restoring put into the
// matchers, and that no order of calls, however wrong, touches freed memory.
//
// The last test holds thousands of random calls against a model in which a compiled pattern is a
// number and a slot is a variable.

#include "api/environments.h"

#include "tests/heap_text.h"

#include <trovex/functions.h>

#include <gtest/gtest.h>
#include <array>
#include <climits>
#include <cstddef>
#include <memory>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::HeapText;

constexpr int kUntouched = -4711;

struct Range {
  int start;
  int end;
  friend bool operator==(const Range& a, const Range& b) {
    return a.start == b.start && a.end == b.end;
  }
  friend std::ostream& operator<<(std::ostream& out, const Range& range) {
    return out << range.start << ".." << range.end;
  }
};

std::optional<Range> Find(std::string_view text, int group = 0) {
  const HeapText heap(text);
  Range range{};
  if (Search(heap.Data(), heap.Length(), &range.start, &range.end, group) == 0) return std::nullopt;
  return range;
}

std::optional<Range> FindSoundex(std::string_view text) {
  const HeapText heap(text);
  Range range{};
  if (SearchSoundex(heap.Data(), &range.start, &range.end) == 0) return std::nullopt;
  return range;
}

/// Compiles a case-sensitive pattern that must be right and returns its number.
int PatternEnvironment(const char* pattern, int matchWords = 0) {
  int number = kUntouched;
  EXPECT_EQ(CompileToEnvironment(pattern, 1, 0, 1, matchWords, &number), nullptr) << pattern;
  return number;
}

int SoundexEnvironment(const char* word, int matchWords = 0) {
  int number = kUntouched;
  EXPECT_EQ(CompileToEnvironment(word, 0, 1, 0, matchWords, &number), nullptr) << word;
  return number;
}

bool IsPatternEnvironment(int number) {
  return dynamic_cast<CPatternEnvironment*>(::trovex::Environments().GetAt(number)) != nullptr;
}

bool IsSoundexEnvironment(int number) {
  return dynamic_cast<CSoundexEnvironment*>(::trovex::Environments().GetAt(number)) != nullptr;
}

/// Every test starts and ends with an empty matcher, no environment and no Soundex code.
class Environment : public ::testing::Test {
 protected:
  void SetUp() override { Clear(); }
  void TearDown() override { Clear(); }

 private:
  static void Clear() {
    FreeBuffersInTrovexDll();
    ResetEnvironment();
    const SoundexEnvironmentRecord none{};
    SetSoundexEnvironment(&none, 0);
  }
};

using EnvironmentNumbers = Environment;
using EnvironmentKinds = Environment;
using PatternEnvironments = Environment;
using SoundexEnvironments = Environment;
using EnvironmentFlags = Environment;
using EnvironmentMisuse = Environment;
using EnvironmentModel = Environment;

// ---- Numbers ----

TEST_F(EnvironmentNumbers, CountFromZero) {
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(PatternEnvironment("a"), i);
  }
}

TEST_F(EnvironmentNumbers, StartAgainAfterAReset) {
  PatternEnvironment("a");
  PatternEnvironment("b");
  ResetEnvironment();
  EXPECT_EQ(PatternEnvironment("c"), 0);
  EXPECT_EQ(SoundexEnvironment("Meier"), 1);
}

TEST_F(EnvironmentNumbers, AFaultWritesMinusOneAndUsesUpNoNumber) {
  EXPECT_EQ(PatternEnvironment("a"), 0);
  int number = kUntouched;
  EXPECT_STREQ(CompileToEnvironment("b)", 1, 0, 1, 0, &number),
               "The opening bracket is missing in a subexpression.");
  EXPECT_EQ(number, -1);
  EXPECT_EQ(PatternEnvironment("c"), 1);
  ASSERT_EQ(ActivateEnvironment(1), 1);
  EXPECT_EQ(Find("abc"), (Range{2, 3}));
}

TEST_F(EnvironmentNumbers, APhoneticPatternOfPunctuationIsAFault) {
  int number = kUntouched;
  EXPECT_STREQ(CompileToEnvironment("?!., -", 0, 1, 0, 0, &number),
               "The search expression must contain at least one character.");
  EXPECT_EQ(number, -1);
  EXPECT_STREQ(CompileToEnvironment("", 0, 1, 0, 0, &number),
               "The search expression must contain at least one character.");
  EXPECT_EQ(PatternEnvironment("c"), 0);
}

TEST_F(EnvironmentNumbers, AnUnknownNumberIsNeitherActivatedNorRestored) {
  PatternEnvironment("a");
  PatternEnvironment("b");
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  for (const int number : {2, 3, -1, -2, 1 << 20, INT_MAX, INT_MIN}) {
    EXPECT_EQ(ActivateEnvironment(number), 0) << number;
    EXPECT_EQ(RestoreEnvironment(number), 0) << number;
    EXPECT_EQ(Find("abx"), (Range{2, 3})) << "the matcher keeps its pattern";
  }
}

TEST_F(EnvironmentNumbers, NoneIsKnownBeforeTheFirstCompile) {
  EXPECT_EQ(ActivateEnvironment(0), 0);
  EXPECT_EQ(RestoreEnvironment(0), 0);
}

TEST_F(EnvironmentNumbers, NoneIsKnownAfterAReset) {
  PatternEnvironment("a");
  ResetEnvironment();
  EXPECT_EQ(ActivateEnvironment(0), 0);
  EXPECT_EQ(RestoreEnvironment(0), 0);
  ResetEnvironment();
  EXPECT_EQ(ActivateEnvironment(0), 0);
}

TEST_F(EnvironmentNumbers, ANullPointerFailsAndTouchesNoPattern) {
  ASSERT_EQ(PatternEnvironment("a"), 0);
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  for (const int phonetic : {0, 1}) {
    int number = kUntouched;
    EXPECT_NE(CompileToEnvironment(nullptr, 0, phonetic, 1, 1, &number), nullptr);
    EXPECT_EQ(number, -1) << "which says that there is none";
    EXPECT_NE(CompileToEnvironment("b", 0, phonetic, 1, 1, nullptr), nullptr);
    EXPECT_NE(CompileToEnvironment(nullptr, 0, phonetic, 1, 1, nullptr), nullptr);
  }
  EXPECT_EQ(Find("axy"), (Range{1, 2})) << "pattern and flags of the matcher stay";
  SoundexEnvironmentRecord record{};
  int wordMode = kUntouched;
  GetSoundexEnvironment(&record, &wordMode);
  EXPECT_EQ(record.code[0], '\0');
  EXPECT_EQ(wordMode, 0);
  EXPECT_EQ(PatternEnvironment("c"), 1);
}

// ---- Kinds ----

TEST_F(EnvironmentKinds, TheRegularExpressionSwitchWinsOverThePhoneticOne) {
  int number = kUntouched;
  ASSERT_EQ(CompileToEnvironment("M[ea]ier", 1, 1, 1, 0, &number), nullptr);
  EXPECT_TRUE(IsPatternEnvironment(number));
  ASSERT_EQ(ActivateEnvironment(number), 1);
  EXPECT_EQ(Find("ein Maier"), (Range{4, 9}));
  EXPECT_EQ(FindSoundex("ein Maier"), std::nullopt);
}

TEST_F(EnvironmentKinds, FollowFromTheTwoSwitches) {
  constexpr std::array<int, 5> kFlags = {0, 1, 2, -1, INT_MIN};
  for (const int regularExpression : kFlags) {
    for (const int phonetic : kFlags) {
      int number = kUntouched;
      ASSERT_EQ(CompileToEnvironment("Meier", regularExpression, phonetic, 0, 0, &number), nullptr);
      const bool soundex = regularExpression == 0 && phonetic != 0;
      EXPECT_EQ(IsSoundexEnvironment(number), soundex);
      EXPECT_EQ(IsPatternEnvironment(number), !soundex);
    }
  }
}

TEST_F(EnvironmentKinds, APlainPatternIsAPatternEnvironmentToo) {
  int number = kUntouched;
  ASSERT_EQ(CompileToEnvironment("Mei?er", 0, 0, 1, 0, &number), nullptr);
  EXPECT_TRUE(IsPatternEnvironment(number));
  ASSERT_EQ(ActivateEnvironment(number), 1);
  EXPECT_EQ(Find("Meer"), (Range{0, 4}));
}

TEST_F(EnvironmentKinds, TheBaseDoesNothing) {
  class Bare : public CEnvironment {};
  Bare bare;
  ASSERT_EQ(::Compile("x", 0, 0), nullptr);
  EXPECT_EQ(bare.Compile(nullptr, 1, 1), nullptr);
  EXPECT_EQ(bare.Compile("a)", 1, 1), nullptr);
  bare.Activate();
  bare.Restore();
  EXPECT_EQ(Find("ax"), (Range{1, 2}));
}

// ---- Pattern environments ----

TEST_F(PatternEnvironments, CompilingLeavesTheMatcherEmpty) {
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  PatternEnvironment("(a)");
  EXPECT_EQ(Find("a x"), std::nullopt);
  EXPECT_EQ(GetSubExpressionCount(), 0);
}

TEST_F(PatternEnvironments, ActivatingInstallsThePattern) {
  const int number = PatternEnvironment("(a)(b)");
  ASSERT_EQ(ActivateEnvironment(number), 1);
  EXPECT_EQ(Find("xab"), (Range{1, 3}));
  EXPECT_EQ(Find("xab", 2), (Range{2, 3}));
  EXPECT_EQ(GetSubExpressionCount(), 2);
}

TEST_F(PatternEnvironments, RestoringPutsBackWhatWasInstalled) {
  const int number = PatternEnvironment("a");
  ASSERT_EQ(Compile("(x)", 0, 0), nullptr);
  ASSERT_EQ(ActivateEnvironment(number), 1);
  EXPECT_EQ(Find("xa"), (Range{1, 2}));
  EXPECT_EQ(RestoreEnvironment(number), 1);
  EXPECT_EQ(Find("xa"), (Range{0, 1}));
  EXPECT_EQ(GetSubExpressionCount(), 1);
}

TEST_F(PatternEnvironments, RestoringPutsBackNothingWhereNothingWas) {
  const int number = PatternEnvironment("a");
  ASSERT_EQ(ActivateEnvironment(number), 1);
  ASSERT_EQ(RestoreEnvironment(number), 1);
  EXPECT_EQ(Find("xa"), std::nullopt);
}

TEST_F(PatternEnvironments, KeepTheirPatternThroughManyRounds) {
  const int a = PatternEnvironment("a");
  const int b = PatternEnvironment("b");
  for (int round = 0; round < 3; ++round) {
    ASSERT_EQ(ActivateEnvironment(a), 1);
    EXPECT_EQ(Find("xab"), (Range{1, 2}));
    ASSERT_EQ(RestoreEnvironment(a), 1);
    ASSERT_EQ(ActivateEnvironment(b), 1);
    EXPECT_EQ(Find("xab"), (Range{2, 3}));
    ASSERT_EQ(RestoreEnvironment(b), 1);
  }
}

TEST_F(PatternEnvironments, DifferentOnesMayBeNested) {
  const int a = PatternEnvironment("a");
  const int b = PatternEnvironment("b");
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  ASSERT_EQ(ActivateEnvironment(a), 1);
  ASSERT_EQ(ActivateEnvironment(b), 1);
  EXPECT_EQ(Find("xab"), (Range{2, 3}));
  ASSERT_EQ(RestoreEnvironment(b), 1);
  EXPECT_EQ(Find("xab"), (Range{1, 2}));
  ASSERT_EQ(RestoreEnvironment(a), 1);
  EXPECT_EQ(Find("xab"), (Range{0, 1}));
}

TEST_F(PatternEnvironments, TheCaseSensitiveSwitchIsTheOppositeOfFolding) {
  int sensitive = kUntouched;
  int folding = kUntouched;
  ASSERT_EQ(CompileToEnvironment("abc", 1, 0, 1, 0, &sensitive), nullptr);
  ASSERT_EQ(CompileToEnvironment("abc", 1, 0, 0, 0, &folding), nullptr);
  ASSERT_EQ(ActivateEnvironment(sensitive), 1);
  EXPECT_EQ(Find("ABC abc"), (Range{4, 7}));
  ASSERT_EQ(RestoreEnvironment(sensitive), 1);
  ASSERT_EQ(ActivateEnvironment(folding), 1);
  EXPECT_EQ(Find("ABC abc"), (Range{0, 3}));
}

TEST_F(PatternEnvironments, WhatWasRestoredIsFreedWithTheMatchersBuffers) {
  const int a = PatternEnvironment("a");
  const int b = PatternEnvironment("b");
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  const std::weak_ptr<PatternWork> installed = Matcher().installed;
  for (const int number : {a, b, a}) {
    ASSERT_EQ(ActivateEnvironment(number), 1);
    ASSERT_EQ(RestoreEnvironment(number), 1);
  }
  EXPECT_EQ(Find("xab"), (Range{0, 1}));
  FreeBuffersInTrovexDll();
  EXPECT_TRUE(installed.expired()) << "no environment keeps it";
  EXPECT_EQ(Find("xab"), std::nullopt);
  ASSERT_EQ(ActivateEnvironment(a), 1);
  EXPECT_EQ(Find("xab"), (Range{1, 2})) << "the environments keep their own";
}

TEST_F(PatternEnvironments, AFaultyCompileFreesWhatTheMatcherHeld) {
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  int number = kUntouched;
  ASSERT_NE(CompileToEnvironment("(x", 1, 0, 1, 0, &number), nullptr);
  EXPECT_EQ(Find("x"), std::nullopt);
}

// ---- Soundex environments ----

TEST_F(SoundexEnvironments, ActivatingInstallsCodeAndMode) {
  const int meier = SoundexEnvironment("Meier");
  const int tat = SoundexEnvironment("Tat", 1);
  EXPECT_EQ(FindSoundex("Tat Mayrhof"), (Range{0, 3})) << "the code compiled last stays";
  ASSERT_EQ(ActivateEnvironment(meier), 1);
  EXPECT_EQ(FindSoundex("Tat Mayrhof"), (Range{4, 8}));
  ASSERT_EQ(ActivateEnvironment(tat), 1);
  EXPECT_EQ(FindSoundex("Mayrhof Tat"), (Range{8, 11}));
}

TEST_F(SoundexEnvironments, RestoringKeepsTheCode) {
  const int meier = SoundexEnvironment("Meier");
  ASSERT_NE(CompileSoundex("Tat", 0), 0);
  ASSERT_EQ(ActivateEnvironment(meier), 1);
  EXPECT_EQ(RestoreEnvironment(meier), 1);
  EXPECT_EQ(FindSoundex("Tat Mayr"), (Range{4, 8}));
}

TEST_F(SoundexEnvironments, LeaveThePatternMatcherAlone) {
  ASSERT_EQ(Compile("a", 0, 0), nullptr);
  const int meier = SoundexEnvironment("Meier", 1);
  EXPECT_EQ(Find("xax"), (Range{1, 2})) << "neither the pattern nor its flags change";
  ASSERT_EQ(ActivateEnvironment(meier), 1);
  EXPECT_EQ(Find("xax"), (Range{1, 2}));
  ASSERT_EQ(RestoreEnvironment(meier), 1);
  EXPECT_EQ(Find("xax"), (Range{1, 2}));
}

TEST_F(SoundexEnvironments, MatchWordsIsTheWordMode) {
  for (const int matchWords : {0, 1, 16, -3}) {
    const int number = SoundexEnvironment("Meier", matchWords);
    const SoundexEnvironmentRecord none{};
    SetSoundexEnvironment(&none, kUntouched);
    ASSERT_EQ(ActivateEnvironment(number), 1);
    SoundexEnvironmentRecord record{};
    int wordMode = kUntouched;
    GetSoundexEnvironment(&record, &wordMode);
    EXPECT_STREQ(record.code, "M6");
    EXPECT_EQ(wordMode, matchWords);
  }
}

TEST_F(SoundexEnvironments, IgnoreTheCaseSwitch) {
  for (const int caseSensitive : {0, 1}) {
    int number = kUntouched;
    ASSERT_EQ(CompileToEnvironment("meier", 0, 1, caseSensitive, 0, &number), nullptr);
    ASSERT_EQ(ActivateEnvironment(number), 1);
    EXPECT_EQ(FindSoundex("MAYR"), (Range{0, 4}));
  }
}

// ---- The flags of the latest compile ----

// The patterns here are no fixed strings, and every line searched without words that was compiled
// for words holds a whole word as well: whichever stage decides on the line lets it pass.

TEST_F(EnvironmentFlags, APatternForWordsIsSearchedAnywhereAfterACompileWithoutWords) {
  const int words = PatternEnvironment("be[rq]", 1);
  ASSERT_EQ(ActivateEnvironment(words), 1);
  EXPECT_EQ(Find("xber ber"), (Range{5, 8}));
  ASSERT_EQ(RestoreEnvironment(words), 1);

  PatternEnvironment("an", 0);
  ASSERT_EQ(ActivateEnvironment(words), 1);
  EXPECT_EQ(Find("xber ber"), (Range{1, 4}));
}

TEST_F(EnvironmentFlags, APatternWithoutWordsIsSearchedForWordsAfterSuchACompile) {
  const int plain = PatternEnvironment("ca[tx]", 0);
  PatternEnvironment("dog", 1);
  ASSERT_EQ(ActivateEnvironment(plain), 1);
  EXPECT_EQ(Find("concat"), std::nullopt);
  EXPECT_EQ(Find("concat cat"), (Range{7, 10}));
}

TEST_F(EnvironmentFlags, AFixedStringWithoutWordsIsFoundAnywhereAfterSuchACompile) {
  const int plain = PatternEnvironment("c(a)t", 0);
  PatternEnvironment("dog", 1);
  ASSERT_EQ(ActivateEnvironment(plain), 1);
  EXPECT_EQ(Find("concat cat"), (Range{3, 6}));
}

TEST_F(EnvironmentFlags, AFaultyCompileSetsThemToo) {
  const int plain = PatternEnvironment("ca[tx]", 0);
  int number = kUntouched;
  ASSERT_NE(CompileToEnvironment("dog)", 1, 0, 1, 1, &number), nullptr);
  ASSERT_EQ(ActivateEnvironment(plain), 1);
  EXPECT_EQ(Find("concat"), std::nullopt);
}

TEST_F(EnvironmentFlags, CaseFoldingStaysWithThePattern) {
  int folding = kUntouched;
  ASSERT_EQ(CompileToEnvironment("abc", 1, 0, 0, 0, &folding), nullptr);
  PatternEnvironment("xyz");
  ASSERT_EQ(ActivateEnvironment(folding), 1);
  EXPECT_EQ(Find("ABC"), (Range{0, 3}));
}

// ---- Wrong orders are safe ----

TEST_F(EnvironmentMisuse, ASecondActivationLosesWhatWasInstalledFirst) {
  const int a = PatternEnvironment("a");
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  ASSERT_EQ(ActivateEnvironment(a), 1);
  ASSERT_EQ(ActivateEnvironment(a), 1);
  ASSERT_EQ(RestoreEnvironment(a), 1);
  EXPECT_EQ(Find("xa"), (Range{1, 2})) << "its own pattern is put back";
  ASSERT_EQ(RestoreEnvironment(a), 1);
  EXPECT_EQ(Find("xa"), (Range{1, 2}));
}

TEST_F(EnvironmentMisuse, RestoringWithoutActivatingEmptiesTheMatcher) {
  const int a = PatternEnvironment("a");
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  ASSERT_EQ(RestoreEnvironment(a), 1);
  EXPECT_EQ(Find("xa"), std::nullopt);
}

TEST_F(EnvironmentMisuse, RestoringAgainPutsTheSameBackAgain) {
  const int a = PatternEnvironment("a");
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  ASSERT_EQ(ActivateEnvironment(a), 1);
  ASSERT_EQ(RestoreEnvironment(a), 1);
  ASSERT_EQ(RestoreEnvironment(a), 1);
  EXPECT_EQ(Find("xa"), (Range{0, 1}));
}

TEST_F(EnvironmentMisuse, RestoringAgainPutsNothingBackThatWasFreed) {
  const int a = PatternEnvironment("a");
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  ASSERT_EQ(ActivateEnvironment(a), 1);
  ASSERT_EQ(RestoreEnvironment(a), 1);
  ASSERT_EQ(Compile("y", 0, 0), nullptr);
  ASSERT_EQ(RestoreEnvironment(a), 1);
  EXPECT_EQ(Find("xya"), std::nullopt);
}

TEST_F(EnvironmentMisuse, CompilingWhileActiveFreesNothingThatIsStillUsed) {
  const int a = PatternEnvironment("a");
  ASSERT_EQ(ActivateEnvironment(a), 1);
  ASSERT_EQ(Compile("x", 0, 0), nullptr);
  EXPECT_EQ(Find("ax"), (Range{1, 2}));
  ASSERT_EQ(RestoreEnvironment(a), 1);
  EXPECT_EQ(Find("ax"), std::nullopt);
  ASSERT_EQ(ActivateEnvironment(a), 1);
  EXPECT_EQ(Find("ax"), (Range{0, 1}));
}

TEST_F(EnvironmentMisuse, FreeingTheBuffersWhileActiveLeavesTheEnvironmentItsPattern) {
  const int a = PatternEnvironment("a");
  ASSERT_EQ(ActivateEnvironment(a), 1);
  FreeBuffersInTrovexDll();
  EXPECT_EQ(Find("a"), std::nullopt);
  ASSERT_EQ(ActivateEnvironment(a), 1);
  EXPECT_EQ(Find("a"), (Range{0, 1}));
}

TEST_F(EnvironmentMisuse, ResettingWhileActiveIsSafe) {
  const int a = PatternEnvironment("a");
  ASSERT_EQ(ActivateEnvironment(a), 1);
  ResetEnvironment();
  EXPECT_EQ(Find("xa"), (Range{1, 2})) << "what is installed stays until it is replaced";
  EXPECT_EQ(RestoreEnvironment(a), 0);
  FreeBuffersInTrovexDll();
  EXPECT_EQ(Find("xa"), std::nullopt);
}

TEST_F(EnvironmentMisuse, CompilingAnEnvironmentWhileAnotherIsActiveIsSafe) {
  const int a = PatternEnvironment("a");
  ASSERT_EQ(ActivateEnvironment(a), 1);
  const int b = PatternEnvironment("b");
  EXPECT_EQ(Find("ab"), std::nullopt);
  ASSERT_EQ(ActivateEnvironment(b), 1);
  ASSERT_EQ(RestoreEnvironment(a), 1);
  EXPECT_EQ(Find("ab"), std::nullopt);
  ASSERT_EQ(ActivateEnvironment(a), 1);
  EXPECT_EQ(Find("ab"), (Range{0, 1}));
}

// ---- The model ----

constexpr std::string_view kProbe =
    "xalpha ALPHA beta_ BETA gammagamma xbeta beta alpha _gamma gamma";
constexpr std::string_view kSoundexProbe = "Tatort Meierhof Mayr Tat Strasse";

// No pattern is a fixed string, and each of the words stands somewhere in the probe as a whole word
// or stands there not at all: only the engine and the flags of the latest compile decide.
struct ModelPattern {
  const char* pattern;
  std::string_view word;
  int groups;
  bool foldCase;
};

constexpr std::array<ModelPattern, 6> kPatterns = {{
    {"alph[aq]", "alpha", 0, false},
    {"ALPH[AQ]", "ALPHA", 0, true},
    {"(be)(t[aq])", "beta", 2, false},
    {"(BET[AQ])", "BETA", 1, true},
    {"gam(m)[aq]", "gamma", 1, false},
    {"d(e)(l)(t)a", "delta", 3, true},
}};

struct ModelWord {
  const char* word;
  const char* code;
};

constexpr std::array<ModelWord, 4> kWords = {{
    {"Meier", "M6"},
    {"Tat", "T"},
    {"Stra\xDF"
     "e",
     "S362"},
    {"Quark", "Q62"},
}};

bool SameByte(char a, char b, bool foldCase) {
  const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; };
  return foldCase ? upper(a) == upper(b) : a == b;
}

bool BelongsToWord(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

/// Where the word of a pattern stands first in the probe.
std::optional<Range> Place(const ModelPattern& pattern, bool matchWords) {
  const std::size_t length = pattern.word.size();
  for (std::size_t at = 0; at + length <= kProbe.size(); ++at) {
    bool here = true;
    for (std::size_t i = 0; i < length; ++i)
      here = here && SameByte(kProbe[at + i], pattern.word[i], pattern.foldCase);
    const bool wordBefore = at > 0 && BelongsToWord(kProbe[at - 1]);
    const bool wordAfter = at + length < kProbe.size() && BelongsToWord(kProbe[at + length]);
    if (here && !(matchWords && (wordBefore || wordAfter)))
      return Range{static_cast<int>(at), static_cast<int>(at + length)};
  }
  return std::nullopt;
}

/// A compiled pattern: which one it is, and its number among all that were compiled. -1 stands for none
/// or a faulty one.
struct ModelCompiled {
  int pattern = -1;
  int serial = -1;
};

/// The module's state as plain values.
struct Model {
  struct Kept {
    bool soundex = false;
    ModelCompiled own;
    ModelCompiled saved;      // what the latest activation replaced
    bool savedIsOurs = true;  // it was not put back yet
    std::string code;
    int wordMode = 0;
  };

  /// Whether the matcher or an environment holds the compiled pattern.
  bool IsAlive(const ModelCompiled& compiled) const {
    bool alive = installed.serial == compiled.serial;
    for (const Kept& kept : environments) {
      alive = alive || kept.own.serial == compiled.serial ||
              (kept.savedIsOurs && kept.saved.serial == compiled.serial);
    }
    return alive;
  }

  ModelCompiled NewCompiled(int pattern) { return {pattern, ++serials}; }

  std::vector<Kept> environments;
  ModelCompiled installed;
  int serials = 0;
  bool matchWords = false;
  std::string code;
  int wordMode = 0;
};

class Calls {
 public:
  explicit Calls(unsigned seed) : random_(seed) {}

  void MakeOne() {
    switch (Below(16)) {
      case 0:
        return CompilePattern();
      case 1:
        return CompileFaultyPattern();
      case 2:
      case 3:
      case 4:
        return CompilePatternEnvironment();
      case 5:
        return CompileSoundexEnvironment();
      case 6:
        return CompileFaultyEnvironment();
      case 7:
        return CompileWord();
      case 8:
        return FreeOrReset();
      case 9:
      case 10:
      case 11:
      case 12:
        return ActivateSome();
      default:
        return RestoreSome();
    }
  }

  void ExpectTheModelsState() {
    std::optional<Range> expected;
    int groups = 0;
    if (model_.installed.pattern >= 0) {
      const ModelPattern& pattern = kPatterns.at(Index(model_.installed.pattern));
      expected = Place(pattern, model_.matchWords);
      groups = pattern.groups;
      EXPECT_EQ(GetSubExpressionCount(), groups);
    }
    EXPECT_EQ(Find(kProbe), expected);
    SoundexEnvironmentRecord record{};
    int wordMode = kUntouched;
    GetSoundexEnvironment(&record, &wordMode);
    EXPECT_EQ(std::string(record.code), model_.code);
    EXPECT_EQ(wordMode, model_.wordMode);
    EXPECT_EQ(FindSoundex(kSoundexProbe).has_value(), !model_.code.empty() && model_.code != "Q62");
  }

 private:
  static std::size_t Index(int value) { return static_cast<std::size_t>(value); }

  int Below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

  void CompilePattern() {
    model_.installed = model_.NewCompiled(Below(static_cast<int>(kPatterns.size())));
    model_.matchWords = Below(2) == 1;
    const ModelPattern& pattern = kPatterns.at(Index(model_.installed.pattern));
    EXPECT_EQ(Compile(pattern.pattern, pattern.foldCase, model_.matchWords), nullptr);
  }

  void CompileFaultyPattern() {
    model_.installed = {};
    model_.matchWords = Below(2) == 1;
    EXPECT_NE(Compile("alpha)", 0, model_.matchWords), nullptr);
  }

  void CompilePatternEnvironment() {
    const int index = Below(static_cast<int>(kPatterns.size()));
    const ModelPattern& pattern = kPatterns.at(Index(index));
    model_.matchWords = Below(2) == 1;
    model_.installed = {};
    Model::Kept kept;
    kept.own = model_.NewCompiled(index);
    ExpectNextNumber(pattern.pattern, Below(2), 0, !pattern.foldCase, model_.matchWords);
    model_.environments.push_back(kept);
  }

  void CompileSoundexEnvironment() {
    const ModelWord& word = kWords.at(Index(Below(static_cast<int>(kWords.size()))));
    Model::Kept kept;
    kept.soundex = true;
    kept.code = model_.code = word.code;
    kept.wordMode = model_.wordMode = Below(2);
    ExpectNextNumber(word.word, 0, 1, Below(2), kept.wordMode);
    model_.environments.push_back(kept);
  }

  void CompileFaultyEnvironment() {
    const bool soundex = Below(2) == 1;
    const int matchWords = Below(2);
    int number = kUntouched;
    EXPECT_NE(
        CompileToEnvironment(soundex ? "--" : "(a", soundex ? 0 : 1, 1, 0, matchWords, &number),
        nullptr);
    EXPECT_EQ(number, -1);
    if (soundex) {
      model_.code.clear();
      model_.wordMode = matchWords;
    } else {
      model_.installed = {};
      model_.matchWords = matchWords != 0;
    }
  }

  void CompileWord() {
    const ModelWord& word = kWords.at(Index(Below(static_cast<int>(kWords.size()))));
    model_.code = word.code;
    model_.wordMode = Below(2);
    EXPECT_NE(CompileSoundex(word.word, model_.wordMode), 0);
  }

  void FreeOrReset() {
    if (Below(4) != 0) {
      FreeBuffersInTrovexDll();
      model_.installed = {};
      return;
    }
    ResetEnvironment();
    model_.environments.clear();
  }

  void ActivateSome() {
    const int number = AnyNumber();
    if (!IsKnown(number)) {
      EXPECT_EQ(ActivateEnvironment(number), 0);
      return;
    }
    EXPECT_EQ(ActivateEnvironment(number), 1);
    Model::Kept& kept = model_.environments[Index(number)];
    if (kept.soundex) {
      model_.code = kept.code;
      model_.wordMode = kept.wordMode;
    } else {
      kept.saved = model_.installed;
      kept.savedIsOurs = true;
      model_.installed = kept.own;
    }
  }

  void RestoreSome() {
    const int number = AnyNumber();
    if (!IsKnown(number)) {
      EXPECT_EQ(RestoreEnvironment(number), 0);
      return;
    }
    EXPECT_EQ(RestoreEnvironment(number), 1);
    Model::Kept& kept = model_.environments[Index(number)];
    if (kept.soundex) return;
    model_.installed = model_.IsAlive(kept.saved) ? kept.saved : ModelCompiled{};
    kept.savedIsOurs = false;
  }

  void ExpectNextNumber(const char* pattern, int regularExpression, int phonetic, int caseSensitive,
                        int matchWords) {
    int number = kUntouched;
    EXPECT_EQ(CompileToEnvironment(pattern, regularExpression, phonetic, caseSensitive, matchWords,
                                   &number),
              nullptr);
    EXPECT_EQ(number, static_cast<int>(model_.environments.size()));
  }

  /// Mostly a number that exists, sometimes one beside them.
  int AnyNumber() { return Below(static_cast<int>(model_.environments.size()) + 3) - 1; }
  bool IsKnown(int number) const {
    return number >= 0 && Index(number) < model_.environments.size();
  }

  std::mt19937 random_;
  Model model_;
};

TEST_F(EnvironmentModel, RandomCallsAgreeWithPlainValues) {
  for (unsigned seed = 1; seed <= 100; ++seed) {
    SetUp();
    ASSERT_EQ(Compile("none", 0, 0), nullptr);
    FreeBuffersInTrovexDll();
    Calls calls(seed);
    for (int call = 0; call < 200; ++call) {
      calls.MakeOne();
      calls.ExpectTheModelsState();
      ASSERT_FALSE(HasFailure()) << "seed " << seed << ", call " << call;
    }
  }
}

}  // namespace
}  // namespace trovex
