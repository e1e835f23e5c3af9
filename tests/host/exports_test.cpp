// What the shared library shows to the loader: exactly the functions with C linkage and the exported
// classes, under its name, and nothing needed beyond the C and C++ libraries and, where it is built
// with it, Highway.
//
// The file's dynamic section and symbol table are read here directly, so that the test says what is
// in the file and not what some tool shows of it.

#include <cxxabi.h>
#include <elf.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

const std::set<std::string> kPlainFunctions = {
    "Compile",
    "Search",
    "GetSubExpressionCount",
    "ReplaceChars",
    "IsAlphaGer",
    "FreeBuffersInTrovexDll",
    "ResetEnvironment",
    "CompileToEnvironment",
    "ActivateEnvironment",
    "RestoreEnvironment",
    "CompileSoundex",
    "SearchSoundex",
    "GetSoundexEnvironment",
    "SetSoundexEnvironment",
    "GetSearchTree",
    "trovex_compile",
    "trovex_query_free",
    "trovex_tag_count",
    "trovex_describe",
    "trovex_part_count",
    "trovex_get_part",
    "trovex_required_clause_count",
    "trovex_required_string_count",
    "trovex_required_string",
    "trovex_required_folds_case",
    "trovex_searcher_new",
    "trovex_searcher_free",
    "trovex_matches",
    "trovex_search",
    "trovex_item_count",
    "trovex_get_item",
    "trovex_search_each",
    "trovex_gave_up_at",
};

const std::set<std::string> kClasses = {
    "CFoundItem",           "CFoundItemArray",       "CSearchTreeItem",
    "CUnarySearchTreeItem", "CBinarySearchTreeItem", "CSubExpression",
    "CNotOperator",         "CAndOperator",
};

/// Functions that belong to no class.
const std::set<std::string> kFunctions = {"trovex::AboutLibrary()"};

/// Classes without virtual functions: the loader knows their members alone.
const std::set<std::string> kPlainClasses = {"trovex::Query", "trovex::Searcher"};

/// The parts of a shared object file that the loader looks at.
class SharedObject {
 public:
  explicit SharedObject(const char* path) {
    std::ifstream file(path, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (bytes_.size() < sizeof(Elf64_Ehdr) || std::memcmp(bytes_.data(), ELFMAG, SELFMAG) != 0)
      return;
    const auto header = At<Elf64_Ehdr>(0);
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
      const auto section = At<Elf64_Shdr>(header.e_shoff + i * sizeof(Elf64_Shdr));
      if (section.sh_type == SHT_DYNSYM) ReadSymbols(header, section);
      if (section.sh_type == SHT_DYNAMIC) ReadDynamic(header, section);
    }
  }

  /// The mangled names that the object defines for others.
  const std::vector<std::string>& Exported() const { return exported_; }
  const std::vector<std::string>& Needed() const { return needed_; }
  const std::string& Name() const { return name_; }

 private:
  template <typename T>
  T At(std::size_t offset) const {
    T value{};
    if (offset + sizeof(T) <= bytes_.size()) std::memcpy(&value, &bytes_[offset], sizeof(T));
    return value;
  }

  /// The string at `index` of the string table that belongs to `section`.
  std::string Text(const Elf64_Ehdr& header, const Elf64_Shdr& section, std::size_t index) const {
    const auto strings = At<Elf64_Shdr>(header.e_shoff + section.sh_link * sizeof(Elf64_Shdr));
    return &bytes_.at(strings.sh_offset + index);
  }

  void ReadSymbols(const Elf64_Ehdr& header, const Elf64_Shdr& section) {
    for (std::size_t at = 0; at < section.sh_size; at += sizeof(Elf64_Sym)) {
      const auto symbol = At<Elf64_Sym>(section.sh_offset + at);
      const bool local = ELF64_ST_BIND(symbol.st_info) == STB_LOCAL;
      if (symbol.st_shndx == SHN_UNDEF || symbol.st_shndx == SHN_ABS || local) continue;
      exported_.push_back(Text(header, section, symbol.st_name));
    }
  }

  void ReadDynamic(const Elf64_Ehdr& header, const Elf64_Shdr& section) {
    for (std::size_t at = 0; at < section.sh_size; at += sizeof(Elf64_Dyn)) {
      const auto entry = At<Elf64_Dyn>(section.sh_offset + at);
      if (entry.d_tag == DT_SONAME) name_ = Text(header, section, entry.d_un.d_val);
      if (entry.d_tag == DT_NEEDED) needed_.push_back(Text(header, section, entry.d_un.d_val));
    }
  }

  std::vector<char> bytes_;
  std::vector<std::string> exported_;
  std::vector<std::string> needed_;
  std::string name_;
};

const SharedObject& Library() {
  static const SharedObject library(TROVEX_LIBRARY);
  return library;
}

/// The name as a C++ programmer writes it; a plain name stays as it is.
std::string Demangled(const std::string& name) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> text(
      abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), std::free);
  return status == 0 ? text.get() : name;
}

/// The class that a demangled C++ name belongs to: "CNotOperator" for its members and for what the
/// compiler adds to a class; empty for all else.
std::string ClassOf(const std::string& name) {
  for (const std::string_view prefix : {"vtable for ", "typeinfo for ", "typeinfo name for "}) {
    if (name.compare(0, prefix.size(), prefix) == 0) return name.substr(prefix.size());
  }
  const std::size_t scope = name.substr(0, name.find('(')).rfind("::");
  return scope == std::string::npos ? "" : name.substr(0, scope);
}

TEST(Exports, AreThePlainFunctionsAndTheClassesAndNothingElse) {
  ASSERT_FALSE(Library().Exported().empty()) << TROVEX_LIBRARY;
  for (const std::string& symbol : Library().Exported()) {
    const std::string name = Demangled(symbol);
    const bool known =
        name == symbol ? kPlainFunctions.count(name) == 1
                       : kClasses.count(ClassOf(name)) + kPlainClasses.count(ClassOf(name)) == 1;
    EXPECT_TRUE(known || kFunctions.count(name) == 1) << name;
  }
}

TEST(Exports, HoldEveryPlainFunctionOnceUnderItsPlainName) {
  for (const std::string& function : kPlainFunctions) {
    EXPECT_EQ(std::count(Library().Exported().begin(), Library().Exported().end(), function), 1)
        << function;
  }
}

TEST(Exports, HoldWhatAHostNeedsOfEveryClass) {
  std::set<std::string> names;
  for (const std::string& symbol : Library().Exported())
    names.insert(Demangled(symbol));
  for (const std::string& name : kClasses) {
    EXPECT_EQ(names.count("vtable for " + name), 1U) << name;
    EXPECT_EQ(names.count("typeinfo for " + name), 1U) << name;
    EXPECT_EQ(names.count("typeinfo name for " + name), 1U) << name;
    std::string destructor = name;
    destructor.append("::~").append(name).append("()");
    EXPECT_EQ(names.count(destructor), 1U) << name;
  }
  for (const std::string name : {"CSearchTreeItem", "CUnarySearchTreeItem", "CBinarySearchTreeItem",
                                 "CSubExpression", "CNotOperator", "CAndOperator"}) {
    const std::string source = "(" + name + " const&)";
    EXPECT_EQ(names.count(name + "::" + name + source), 1U) << name;
    EXPECT_EQ(names.count(name + "::operator=" + source), 1U) << name;
  }
  for (const char* member : {"CFoundItem::CFoundItem(int, int, int)",
                             "CFoundItem::CFoundItem(CFoundItem&)",
                             "CFoundItem::operator=(CFoundItem&)",
                             "CFoundItem::GetStartPos()",
                             "CFoundItem::GetEndPos()",
                             "CFoundItem::TagMatched()",
                             "CFoundItem::SetTagMatched(int)",
                             "CFoundItemArray::CFoundItemArray()",
                             "CFoundItemArray::DeleteItems()",
                             "CFoundItemArray::SetTagMatched(int)",
                             "CFoundItemArray::DeleteItemsWithTagNotMatched()",
                             "CFoundItemArray::Negate()",
                             "CFoundItemArray::IsNegative()",
                             "CFoundItemArray::SetNegative(int)",
                             "CFoundItemArray::GetItem(int, int)",
                             "CFoundItemArray::Merge(CFoundItemArray*, CFoundItemArray*, int)",
                             "CSearchTreeItem::CSearchTreeItem()",
                             "CSearchTreeItem::IsEmpty()",
                             "CSearchTreeItem::SetSearchOptions(unsigned long)",
                             "CSearchTreeItem::OptimizeAndCompile(int*)",
                             "CSearchTreeItem::Search(char const*, int, int)",
                             "CSearchTreeItem::GetTagNr()",
                             "CSearchTreeItem::SetTagNr(int)",
                             "CUnarySearchTreeItem::GetChild()",
                             "CUnarySearchTreeItem::SetChild(CSearchTreeItem*)",
                             "CBinarySearchTreeItem::GetLeftChild()",
                             "CBinarySearchTreeItem::GetRightChild()",
                             "CBinarySearchTreeItem::SetLeftChild(CSearchTreeItem*)",
                             "CBinarySearchTreeItem::SetRightChild(CSearchTreeItem*)",
                             "CSubExpression::CSubExpression()",
                             "CSubExpression::Search(char const*, int, int)",
                             "CSubExpression::SetSubExpression(CString const&)",
                             "CSubExpression::SetSubExpression(char const*, int, int)",
                             "CSubExpression::RegularExpression()",
                             "CSubExpression::PhoneticSearch()",
                             "CSubExpression::MatchWords()",
                             "CSubExpression::CaseSensitive()",
                             "CNotOperator::CNotOperator()",
                             "CNotOperator::Search(char const*, int, int)",
                             "CAndOperator::CAndOperator()",
                             "CAndOperator::Search(char const*, int, int)",
                             "CAndOperator::SearchChilds(char const*, int, int)",
                             "CAndOperator::GetNearBy()",
                             "CAndOperator::SetNearBy(int)"}) {
    EXPECT_EQ(names.count(member), 1U) << member;
  }
}

TEST(Exports, HoldWhatAHostNeedsOfTheSecondDoor) {
  std::set<std::string> names;
  for (const std::string& symbol : Library().Exported())
    names.insert(Demangled(symbol));
  for (const char* member :
       {"trovex::Query::Query(trovex::Query const&)", "trovex::Query::Query(trovex::Query&&)",
        "trovex::Query::operator=(trovex::Query const&)",
        "trovex::Query::operator=(trovex::Query&&)", "trovex::Query::~Query()",
        "trovex::Query::Expression() const", "trovex::Query::Options() const",
        "trovex::Query::TagCount() const", "trovex::Query::Parts() const",
        "trovex::Query::Required() const", "trovex::Searcher::Searcher(trovex::Query const&)",
        "trovex::Searcher::Searcher(trovex::Searcher&&)",
        "trovex::Searcher::operator=(trovex::Searcher&&)", "trovex::Searcher::~Searcher()",
        "trovex::Searcher::Items() const", "trovex::Searcher::GaveUpAt() const"}) {
    EXPECT_EQ(names.count(member), 1U) << member;
  }
  for (const std::string beginning :
       {"trovex::Query::Compile(", "trovex::Query::Describe", "trovex::Searcher::Matches(",
        "trovex::Searcher::Search(", "trovex::Searcher::Stream("}) {
    EXPECT_TRUE(std::any_of(names.begin(), names.end(), [&beginning](const std::string& name) {
      return name.compare(0, beginning.size(), beginning) == 0;
    })) << beginning;
  }
}

TEST(SharedObjectFile, CarriesItsMajorVersionInItsName) {
  EXPECT_EQ(Library().Name(), "libtrovex.so.1");
}

TEST(SharedObjectFile, NeedsOnlyTheCAndTheCppLibraryAndHighway) {
  const std::vector<std::string> allowed = {
      "libstdc++.so.", "libgcc_s.so.", "libm.so.", "libc.so.", "ld-linux",
#ifdef TROVEX_USE_HIGHWAY
      "libhwy.so.",
#endif
#ifdef TROVEX_SANITIZE
      "libasan.so.",   "libubsan.so.",
#endif
  };
  ASSERT_FALSE(Library().Needed().empty());
  for (const std::string& needed : Library().Needed()) {
    EXPECT_TRUE(std::any_of(allowed.begin(), allowed.end(), [&needed](const std::string& name) {
      return needed.compare(0, name.size(), name) == 0;
    })) << needed;
  }
}

}  // namespace
