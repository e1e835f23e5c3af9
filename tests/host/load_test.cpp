// A host that loads the library while it runs, uses all of it, leaves everything behind and unloads
// it: the library must go completely and take along what it owns.
//
// This program is not linked with the library: it finds the plain functions by their names, and the
// classes' virtual operations through the objects. Built with the sanitizers, it runs under the
// leak checker.

#include <trovex/functions.h>
#include <trovex/search_tree.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

namespace {

class LoadedLibrary {
 public:
  LoadedLibrary() : handle_(dlopen(TROVEX_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {}
  ~LoadedLibrary() {
    if (handle_ != nullptr) dlclose(handle_);
  }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  bool IsLoaded() const { return handle_ != nullptr; }

  template <typename Function>
  Function* Get(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(handle_, name));
  }

 private:
  void* handle_;
};

bool LibraryIsInTheProcess() {
  void* const handle = dlopen(TROVEX_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

// The type of a plain function, by its name.
#define TROVEX_TESTS_LOADED(library, name) (library).Get<decltype(::name)>(#name)

void UsePatterns(const LoadedLibrary& library) {
  const auto compile = TROVEX_TESTS_LOADED(library, Compile);
  const auto search = TROVEX_TESTS_LOADED(library, Search);
  const auto count = TROVEX_TESTS_LOADED(library, GetSubExpressionCount);
  const auto freeBuffers = TROVEX_TESTS_LOADED(library, FreeBuffersInTrovexDll);
  ASSERT_TRUE(compile != nullptr && search != nullptr && count != nullptr &&
              freeBuffers != nullptr);
  std::string text = "ein Haus";
  int start = -1;
  int end = -1;
  EXPECT_STREQ(compile("(Haus", 1, 1), "The closing bracket ) is missing in a subexpression.");
  ASSERT_EQ(compile("(h)aus", 1, 1), nullptr);
  EXPECT_EQ(count(), 1);
  ASSERT_EQ(search(text.data(), static_cast<int>(text.size()), &start, &end, 0), 1);
  EXPECT_EQ(start, 4);
  EXPECT_EQ(end, 8);
  freeBuffers();
  EXPECT_EQ(search(text.data(), static_cast<int>(text.size()), &start, &end, 0), 0);
}

void UseTexts(const LoadedLibrary& library) {
  const auto replaceChars = TROVEX_TESTS_LOADED(library, ReplaceChars);
  const auto isAlpha = TROVEX_TESTS_LOADED(library, IsAlphaGer);
  ASSERT_TRUE(replaceChars != nullptr && isAlpha != nullptr);
  std::string text = "a\r\tb";
  replaceChars(text.data());
  EXPECT_EQ(text, "a\n b");
  EXPECT_EQ(isAlpha(252), 1);
  EXPECT_EQ(isAlpha('_'), 0);
}

void UseSoundex(const LoadedLibrary& library) {
  const auto compile = TROVEX_TESTS_LOADED(library, CompileSoundex);
  const auto search = TROVEX_TESTS_LOADED(library, SearchSoundex);
  const auto get = TROVEX_TESTS_LOADED(library, GetSoundexEnvironment);
  const auto set = TROVEX_TESTS_LOADED(library, SetSoundexEnvironment);
  ASSERT_TRUE(compile != nullptr && search != nullptr && get != nullptr && set != nullptr);
  ASSERT_NE(compile("Meier", 1), 0);
  SoundexEnvironmentRecord record{};
  int wordMode = -1;
  get(&record, &wordMode);
  EXPECT_STREQ(record.code, "M6");
  EXPECT_EQ(wordMode, 1);
  set(&record, 1);
  int start = -1;
  int end = -1;
  ASSERT_EQ(search("Frau Mayr", &start, &end), 1);
  EXPECT_EQ(start, 5);
  EXPECT_EQ(end, 9);
}

void UseEnvironments(const LoadedLibrary& library) {
  const auto reset = TROVEX_TESTS_LOADED(library, ResetEnvironment);
  const auto compile = TROVEX_TESTS_LOADED(library, CompileToEnvironment);
  const auto activate = TROVEX_TESTS_LOADED(library, ActivateEnvironment);
  const auto restore = TROVEX_TESTS_LOADED(library, RestoreEnvironment);
  ASSERT_TRUE(reset != nullptr && compile != nullptr && activate != nullptr && restore != nullptr);
  reset();
  int number = -1;
  ASSERT_EQ(compile("Haus", 1, 0, 0, 1, &number), nullptr);
  ASSERT_EQ(number, 0);
  EXPECT_EQ(activate(number), 1);
  EXPECT_EQ(restore(number), 1);
  ASSERT_EQ(compile("Meier", 0, 1, 0, 1, &number), nullptr);
  ASSERT_EQ(number, 1);
  EXPECT_EQ(activate(number), 1);
  EXPECT_EQ(restore(number), 1);
}

void UseATree(const LoadedLibrary& library) {
  using Function = const char*(const char*, int, int, int, int, CSearchTreeItem**, int*);
  const auto getSearchTree = library.Get<Function>("GetSearchTree");
  ASSERT_NE(getSearchTree, nullptr);
  CSearchTreeItem* root = nullptr;
  int tagCount = -1;
  ASSERT_EQ(getSearchTree("(Haus) & Hof", 1, 0, 1, 0, &root, &tagCount), nullptr);
  const std::unique_ptr<CSearchTreeItem> tree(root);
  EXPECT_EQ(tagCount, 1);
  std::string text = "Haus und Hof";
  const std::unique_ptr<CFoundItemArray> found(
      tree->Search(text.data(), static_cast<int>(text.size()), 0));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->GetSize(), 2);
  // Many matches leave memory for the next ones behind, in the library.
  constexpr int kManyHouses = 1000;
  text.clear();
  for (int i = 0; i < kManyHouses; ++i)
    text += "Haus ";
  text += "Hof";
  const std::unique_ptr<CFoundItemArray> many(
      tree->Search(text.data(), static_cast<int>(text.size()), 0));
  ASSERT_NE(many, nullptr);
  EXPECT_EQ(many->GetSize(), kManyHouses + 1);
}

/// Compiled patterns in the matcher and in environments of both kinds, one of them active.
void LeaveStateBehind(const LoadedLibrary& library) {
  const auto compileToEnvironment = TROVEX_TESTS_LOADED(library, CompileToEnvironment);
  int number = -1;
  ASSERT_EQ(compileToEnvironment("(a|b)+", 1, 0, 0, 1, &number), nullptr);
  ASSERT_EQ(compileToEnvironment("Schmidt", 0, 1, 0, 1, &number), nullptr);
  ASSERT_EQ(compileToEnvironment("x[yz]", 1, 0, 0, 1, &number), nullptr);
  ASSERT_EQ(TROVEX_TESTS_LOADED(library, ActivateEnvironment)(number), 1);
  ASSERT_EQ(TROVEX_TESTS_LOADED(library, Compile)("(left) behind", 1, 1), nullptr);
}

void UseEverything(const LoadedLibrary& library) {
  ASSERT_NO_FATAL_FAILURE(UsePatterns(library));
  ASSERT_NO_FATAL_FAILURE(UseTexts(library));
  ASSERT_NO_FATAL_FAILURE(UseSoundex(library));
  ASSERT_NO_FATAL_FAILURE(UseEnvironments(library));
  ASSERT_NO_FATAL_FAILURE(UseATree(library));
  ASSERT_NO_FATAL_FAILURE(LeaveStateBehind(library));
}

TEST(Loading, TheLibraryIsNotThereBefore) {
  EXPECT_FALSE(LibraryIsInTheProcess());
}

/// What the process holds: bytes that it has allocated, and bytes of files that are mapped. Both follow
/// from what the process itself does; how many of its pages are in memory, or how far its heap
/// reaches, is up to the rest of the machine too.
struct Footprint {
  std::size_t allocated = 0;
  std::size_t mapped = 0;
};

/// The bytes of the address range that a line of the list of mappings begins with.
std::size_t MappedBytes(const std::string& line) {
  const std::size_t dash = line.find('-');
  return std::stoull(line.substr(dash + 1), nullptr, 16) - std::stoull(line, nullptr, 16);
}

Footprint MeasureFootprint() {
  const auto held = mallinfo2();
  Footprint footprint{held.uordblks + held.hblkhd};
  std::ifstream mappings("/proc/self/maps");
  for (std::string line; std::getline(mappings, line);) {
    const bool isOfAFile = line.find('/') != std::string::npos;
    if (isOfAFile) footprint.mapped += MappedBytes(line);
  }
  return footprint;
}

// The sanitizers keep a record of every load, which takes time and memory.
#ifdef TROVEX_SANITIZE
constexpr int kRounds = 100;
constexpr bool kFootprintIsOurs = false;
#else
constexpr int kRounds = 1000;
constexpr bool kFootprintIsOurs = true;
#endif
constexpr int kWarmUpRounds = 100;

TEST(Loading, TheLibraryLeavesTheProcessHoweverOftenItIsLoadedAndTheProcessDoesNotGrow) {
  Footprint early{};
  for (int round = 0; round < kRounds; ++round) {
    if (round == kWarmUpRounds) early = MeasureFootprint();
    {
      const LoadedLibrary library;
      ASSERT_TRUE(library.IsLoaded()) << dlerror();
      ASSERT_NO_FATAL_FAILURE(UseEverything(library));
      EXPECT_TRUE(LibraryIsInTheProcess());
    }
    ASSERT_FALSE(LibraryIsInTheProcess()) << "round " << round;
  }
  if (!kFootprintIsOurs) return;
  const Footprint late = MeasureFootprint();
  // Less than the smallest block per load; the loader's own stocks settle within that.
  constexpr int kLoads = kRounds - kWarmUpRounds;
  EXPECT_LT(late.allocated, early.allocated + std::size_t{20} * kLoads);
  EXPECT_EQ(late.mapped, early.mapped) << "of files";
}

TEST(Loading, EveryLoadStartsEmpty) {
  for (int round = 0; round < 3; ++round) {
    const LoadedLibrary library;
    ASSERT_TRUE(library.IsLoaded()) << dlerror();
    EXPECT_EQ(TROVEX_TESTS_LOADED(library, GetSubExpressionCount)(), 0);
    EXPECT_EQ(TROVEX_TESTS_LOADED(library, ActivateEnvironment)(0), 0);
    SoundexEnvironmentRecord record{{'x'}};
    int wordMode = -1;
    TROVEX_TESTS_LOADED(library, GetSoundexEnvironment)(&record, &wordMode);
    EXPECT_EQ(record.code[0], '\0');
    EXPECT_EQ(wordMode, 0);
    ASSERT_NO_FATAL_FAILURE(LeaveStateBehind(library));
  }
}

TEST(Loading, AHostMayEndWithTheLibraryLoadedAndInUse) {
  EXPECT_EXIT(
      {
        auto* library = new LoadedLibrary;
        LeaveStateBehind(*library);
        std::exit(0);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
