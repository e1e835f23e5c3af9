// A host with functions of its own that bear the library's names.
//
// Names such as Search and Compile are common. This program defines them all, shows them to the
// dynamic linker (it is linked with -rdynamic), and so they stand in front of the library's
// everywhere. The library must go on calling its own: a host that only builds trees and searches
// with them must never find its functions called.

#include <trovex/search_tree.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

int callsOfOwnFunctions = 0;

int Called() {
  ++callsOfOwnFunctions;
  return 0;
}

}  // namespace

// The names are the library's, the functions this program's: other jobs, other parameters.
#define TROVEX_TESTS_OWN [[gnu::visibility("default"), gnu::used]]

extern "C" {
TROVEX_TESTS_OWN const char* Compile(const char* text) {
  Called();
  return text;
}
TROVEX_TESTS_OWN int Search(const char*) {
  return Called();
}
TROVEX_TESTS_OWN int GetSubExpressionCount(int) {
  return Called();
}
TROVEX_TESTS_OWN void ReplaceChars() {
  Called();
}
TROVEX_TESTS_OWN int IsAlphaGer() {
  return Called();
}
TROVEX_TESTS_OWN void FreeBuffersInTrovexDll() {
  Called();
}
TROVEX_TESTS_OWN void ResetEnvironment() {
  Called();
}
TROVEX_TESTS_OWN const char* CompileToEnvironment() {
  Called();
  return "the host's own";
}
TROVEX_TESTS_OWN int ActivateEnvironment() {
  return Called();
}
TROVEX_TESTS_OWN int RestoreEnvironment() {
  return Called();
}
TROVEX_TESTS_OWN int CompileSoundex() {
  return Called();
}
TROVEX_TESTS_OWN int SearchSoundex() {
  return Called();
}
TROVEX_TESTS_OWN void GetSoundexEnvironment() {
  Called();
}
TROVEX_TESTS_OWN void SetSoundexEnvironment() {
  Called();
}
}

namespace {

// The one function of the library that this host calls. functions.h cannot be included beside the
// host's own functions.
using GetSearchTreeFunction = const char* (*)(const char* expression, int regularExpression,
                                              int phoneticSearch, int matchWords, int caseSensitive,
                                              CSearchTreeItem** tree, int* tagCount);

GetSearchTreeFunction Library() {
  return reinterpret_cast<GetSearchTreeFunction>(dlsym(RTLD_DEFAULT, "GetSearchTree"));
}

struct Mode {
  int regularExpression;
  int phonetic;
};

constexpr Mode kPatterns{1, 0};
constexpr Mode kPhonetic{0, 1};

std::unique_ptr<CSearchTreeItem> TreeOf(const char* expression, Mode mode) {
  CSearchTreeItem* tree = nullptr;
  int tagCount = 0;
  EXPECT_EQ(Library()(expression, mode.regularExpression, mode.phonetic, 1, 0, &tree, &tagCount),
            nullptr);
  return std::unique_ptr<CSearchTreeItem>(tree);
}

int MatchCount(CSearchTreeItem& tree, std::string text) {
  const std::unique_ptr<CFoundItemArray> found(
      tree.Search(text.data(), static_cast<int>(text.size()), 0));
  return found ? found->GetSize() : -1;
}

class OwnNames : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(Library(), nullptr);
    callsOfOwnFunctions = 0;
  }
};

TEST_F(OwnNames, StandInFrontOfTheLibrarys) {
  for (const char* name :
       {"Compile", "Search", "GetSubExpressionCount", "ReplaceChars", "IsAlphaGer",
        "FreeBuffersInTrovexDll", "ResetEnvironment", "CompileToEnvironment", "ActivateEnvironment",
        "RestoreEnvironment", "CompileSoundex", "SearchSoundex", "GetSoundexEnvironment",
        "SetSoundexEnvironment"}) {
    void* const own = dlsym(RTLD_DEFAULT, name);
    Dl_info place{};
    ASSERT_NE(dladdr(own, &place), 0) << name;
    EXPECT_EQ(std::string(place.dli_fname).find("libtrovex"), std::string::npos) << name;
  }
}

TEST_F(OwnNames, ATreeOfPatternsCallsNoneOfThem) {
  const auto tree = TreeOf("(Haus|Hof) &20 !Katze", kPatterns);
  ASSERT_NE(tree, nullptr);
  EXPECT_EQ(MatchCount(*tree, "Haus und Hof und Hund"), 2);
  EXPECT_EQ(MatchCount(*tree, "Haus und Katze"), 0);
  EXPECT_EQ(callsOfOwnFunctions, 0);
}

TEST_F(OwnNames, APhoneticTreeCallsNoneOfThem) {
  const auto tree = TreeOf("Meier", kPhonetic);
  ASSERT_NE(tree, nullptr);
  EXPECT_EQ(MatchCount(*tree, "Herr Mayr und Frau Schmidt"), 1);
  EXPECT_EQ(callsOfOwnFunctions, 0);
}

TEST_F(OwnNames, AFaultCallsNoneOfThem) {
  CSearchTreeItem* tree = nullptr;
  int tagCount = 0;
  EXPECT_STREQ(Library()("Haus &", 1, 0, 0, 0, &tree, &tagCount),
               "The right operand of an and operator is missing.");
  EXPECT_STREQ(Library()("[a", 1, 0, 0, 0, &tree, &tagCount),
               "The bracket [ or ] is missing in an enumeration.");
  delete tree;
  EXPECT_EQ(callsOfOwnFunctions, 0);
}

/// A tree that the host makes itself calls the library's functions from the exported classes.
TEST_F(OwnNames, ATreeOfTheHostsMakingCallsNoneOfThem) {
  CSubExpression leaf;
  leaf.SetSubExpression(CString("Ha[ux]s"));
  leaf.SetSearchOptions(kSearchModeRegularExpression | kSearchCaseSensitive);
  int cost = 0;
  ASSERT_EQ(leaf.OptimizeAndCompile(&cost), nullptr);
  EXPECT_EQ(MatchCount(leaf, "Haus Haxs Hans"), 2);
  EXPECT_EQ(callsOfOwnFunctions, 0);
}

}  // namespace
