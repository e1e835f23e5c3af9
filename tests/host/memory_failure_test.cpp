// Memory that runs out at the first allocation, or the second, or the third, until a whole sequence
// of calls gets by without a failure.
//
// Whatever fails, the library must not crash, lose no block and let no exception out where it
// promises none. A call's answer is then the right one all the same, or the sentence for memory, or
// "not found". Afterwards, with memory again, everything works as if nothing had happened.
//
// Between arming the failure and disarming it no test code may allocate, so answers are kept in
// plain records and judged later.

#include "tests/heap_text.h"
#include "tests/host/failing_malloc.h"

#include <trovex/trovex.h>

#include <gtest/gtest.h>
#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

using trovex::testing::FailureKind;
using trovex::testing::HeapText;
using trovex::testing::LiveBlocks;
using trovex::testing::MallocFailure;
using trovex::testing::Owner;

constexpr const char* kMemoryOverflow = "Memory overflow!";

/// No sequence here needs that many allocations; a loop that gets there would never end.
constexpr long kTooMany = 100000;

constexpr int kUntouched = -77;

/// A message copied without allocating.
class Message {
 public:
  Message() = default;
  explicit Message(const char* text) : isNull_(text == nullptr) {
    if (text != nullptr) std::strncpy(text_, text, sizeof(text_) - 1);
  }

  bool IsNull() const { return isNull_; }
  bool IsMemory() const { return !isNull_ && std::strcmp(text_, kMemoryOverflow) == 0; }
  const char* Text() const { return isNull_ ? "(null)" : text_; }
  bool operator==(const Message& other) const {
    return isNull_ == other.isNull_ && std::strcmp(text_, other.text_) == 0;
  }

 private:
  bool isNull_ = true;
  char text_[160] = {};
};

struct Found {
  int answer = 0;
  int start = kUntouched;
  int end = kUntouched;
  bool operator==(const Found& other) const {
    return answer == other.answer && start == other.start && end == other.end;
  }
};

Found Find(const HeapText& text, int group) {
  Found found;
  found.answer = Search(text.Data(), text.Length(), &found.start, &found.end, group);
  return found;
}

constexpr Found kNothing{};

/// The items of an array, as far as they fit, without allocating.
struct Items {
  int isNull = 1;
  int negative = 0;
  int size = 0;
  struct {
    int start;
    int end;
    int tagged;
  } item[16] = {};

  explicit Items(CFoundItemArray* array) : isNull(array == nullptr ? 1 : 0) {
    if (array == nullptr) return;
    negative = array->IsNegative();
    size = array->GetSize();
    for (int i = 0; i < size && i < 16; ++i) {
      CFoundItem* const found = array->GetAt(i);
      item[i] = {found->GetStartPos(), found->GetEndPos(), found->TagMatched()};
    }
  }
  bool operator==(const Items& other) const {
    return std::memcmp(this, &other, sizeof(*this)) == 0;
  }
};

using Steps = std::function<void()>;
using Judgement = std::function<void(const std::string& where)>;

/// The three steps of a test: `before` makes things ready, `attempt` runs into the failure, `after`
/// judges the outcome and gives everything back. Only the attempt is ever short of memory.
struct Trial {
  Steps before;
  Steps attempt;
  Judgement after;
};

/// Runs `trial` and makes allocation `number` of the attempt fail. Returns whether there was one.
bool FailOnce(const Trial& trial, Owner owner, long number, FailureKind kind,
              const std::string& where) {
  trial.before();
  bool failed = false;
  {
    const MallocFailure failure(owner, number, kind);
    trial.attempt();
    failed = MallocFailure::Happened();
  }
  trial.after(where);
  return failed;
}

/// Runs `trial` with the first allocation failing, then with the second and so on, until none
/// fails. No block may be lost. Where the engine itself is refused one, it loses blocks of its own,
/// which nobody else knows; all others must still be given back.
void FailAtEveryAllocation(const Trial& trial, Owner owner, FailureKind kind) {
  const Owner watched = owner == Owner::kOthers ? Owner::kAnybody : Owner::kOthers;
  bool failed = true;
  for (long number = 1; failed; ++number) {
    ASSERT_LT(number, kTooMany);
    const std::string where = (kind == FailureKind::kOnce ? "allocation " : "all from ") +
                              std::to_string(number) + " on behalf of owner " +
                              std::to_string(static_cast<int>(owner));
    const long live = LiveBlocks(watched);
    failed = FailOnce(trial, owner, number, kind, where);
    ASSERT_EQ(LiveBlocks(watched), live) << "blocks lost: " << where;
    if (::testing::Test::HasFailure()) return;
  }
}

/// What the engine does when it runs out of memory: it reports it, or it goes on with what it has
/// given back already, and ends the process. The latter happens when the table of the parts of a
/// pattern has to grow: the pattern has more of them than bytes.
enum class Engine { kReports, kCannotCompile };

void FailEverywhere(const Trial& trial, bool engineReports) {
  for (const FailureKind kind : {FailureKind::kOnce, FailureKind::kFromThenOn}) {
    FailAtEveryAllocation(trial, Owner::kOthers, kind);
    if (!engineReports) continue;
    FailAtEveryAllocation(trial, Owner::kCLibrary, kind);
    FailAtEveryAllocation(trial, Owner::kAnybody, kind);
  }
}

/// A pattern with a text and what is to be found there.
struct PatternCase {
  const char* pattern;
  int foldCase;
  int matchWords;
  const char* text;
  int group;
  Engine engine = Engine::kReports;
};

const PatternCase kPatterns[] = {
    {"Haus", 0, 0, "ein Haus am Hof", 0},
    {"haus", 1, 0, "ein HAUS am Hof", 0},
    {"Haus", 0, 1, "Haustier\nein Haus am Hof", 0},
    {"haus", 1, 1, "Haustier\nein Haus am Hof", 0},
    {"", 0, 0, "abc", 0},
    {"a*", 0, 0, "baac", 0},
    {"[a-f]+[^x-z]", 0, 0, "  cab1", 0},
    {"[a-f]+[^x-z]", 1, 1, "  CAB1 ", 0},
    {"x(a+)(b+)", 0, 0, "__xaabbb", 0, Engine::kCannotCompile},
    {"x(a+)(b+)", 0, 0, "first\n__xaabbb", 2, Engine::kCannotCompile},
    {"x(a+)(b+)", 1, 1, "first\n xaabbb", 1, Engine::kCannotCompile},
    {"(a|b)*c.*d", 0, 0, "zabacxxd", 1},
    {"(ab|cd|ef){2,3}", 0, 0, "abcdefab", 1, Engine::kCannotCompile},
    {"(Haus|Hof|Garten)(tier)?", 1, 0, "der gartentier", 2},
    {"^ab$", 0, 0, "xab\nab\n", 0, Engine::kCannotCompile},
    {"\\<ab\\>|\\Bcd\\b", 0, 0, "xcd ab", 0, Engine::kCannotCompile},
    {"(a)\\1", 0, 0, "aba aa", 0},
    {"(a*)b\\1", 1, 1, "aab aabaa", 1},
    {"(a?|b)*c", 0, 0, "xabac", 1},
    {"(a|b|)*\\1+c", 0, 0, "xabbac", 1},
    {"((a|ab)(c|bcd)(d*))", 0, 0, "xabcd", 4},
    {"a\nb", 0, 0, "xb", 0},
    {"\\w+\\W\\s", 0, 0, "abc. ", 0},
    {"M\xFCller|M\xE4hre", 1, 1, "die M\xDCLLER", 0},
    {"a.{1,5}b.{0,2}c", 0, 0, "a1234b5c", 0, Engine::kCannotCompile},
};

const PatternCase kFaultyPatterns[] = {
    {"(a", 0, 0, "a", 0},          {"a)", 0, 0, "a", 0},       {"[a", 0, 0, "a", 0},
    {"a{2", 1, 0, "a", 0},         {"a{3,1}", 1, 1, "a", 0},   {"a\\", 0, 1, "a", 0},
    {"((ab|c)*\\3", 0, 0, "a", 0}, {"a{40000}", 0, 0, "a", 0},
};

struct ExpressionCase;

class MemoryFailure : public ::testing::Test {
 protected:
  void SetUp() override { Reset(); }
  void TearDown() override { Reset(); }
  static void FailSearching(const ExpressionCase& c, const HeapText& text, int least);
  static void Reset() {
    FreeBuffersInTrovexDll();
    ResetEnvironment();
  }
};

TEST_F(MemoryFailure, OfACompileIsItsSentenceAndNothingIsFound) {
  for (const PatternCase& c : kPatterns) {
    SCOPED_TRACE(c.pattern);
    const HeapText text(c.text);
    ASSERT_EQ(Compile(c.pattern, c.foldCase, c.matchWords), nullptr);
    const Found expected = Find(text, c.group);
    ASSERT_EQ(expected.answer, 1);
    Reset();
    Message message;
    FailEverywhere(
        {[] {}, [&] { message = Message(Compile(c.pattern, c.foldCase, c.matchWords)); },
         [&](const std::string& where) {
           EXPECT_TRUE(message.IsNull() || message.IsMemory()) << where << ": " << message.Text();
           EXPECT_EQ(Find(text, c.group), message.IsNull() ? expected : kNothing) << where;
           EXPECT_EQ(Compile(c.pattern, c.foldCase, c.matchWords), nullptr) << where;
           EXPECT_EQ(Find(text, c.group), expected) << where;
           Reset();
         }},
        c.engine != Engine::kCannotCompile);
    ASSERT_FALSE(HasFailure());
  }
}

TEST_F(MemoryFailure, OfACompileHidesNoFaultOfThePatternButAfterItsSentence) {
  for (const PatternCase& c : kFaultyPatterns) {
    SCOPED_TRACE(c.pattern);
    const Message expected(Compile(c.pattern, c.foldCase, c.matchWords));
    ASSERT_FALSE(expected.IsNull());
    Reset();
    Message message;
    FailEverywhere({[] {}, [&] { message = Message(Compile(c.pattern, c.foldCase, c.matchWords)); },
                    [&](const std::string& where) {
                      EXPECT_TRUE(message == expected || message.IsMemory())
                          << where << message.Text();
                      Reset();
                    }},
                   true);
    ASSERT_FALSE(HasFailure());
  }
}

TEST_F(MemoryFailure, OfASearchIsNotFoundAndTheNextSearchFinds) {
  for (const PatternCase& c : kPatterns) {
    SCOPED_TRACE(c.pattern);
    const HeapText text(c.text);
    ASSERT_EQ(Compile(c.pattern, c.foldCase, c.matchWords), nullptr);
    const Found expected = Find(text, c.group);
    Reset();
    Found found;
    FailEverywhere({[&] { Compile(c.pattern, c.foldCase, c.matchWords); },
                    [&] { found = Find(text, c.group); },
                    [&](const std::string& where) {
                      EXPECT_TRUE(found == expected || found == kNothing)
                          << where << ": " << found.start << "-" << found.end;
                      EXPECT_EQ(text.After(), '\0') << where;
                      EXPECT_EQ(Find(text, c.group), expected) << where;
                      Reset();
                    }},
                   true);
    ASSERT_FALSE(HasFailure());
  }
}

TEST_F(MemoryFailure, OnALineNeverMakesTheMatchOfALaterLineTheFirst) {
  for (const PatternCase& c : kPatterns) {
    SCOPED_TRACE(c.pattern);
    const HeapText text(std::string(c.text) + "\n" + c.text + "\n" + c.text);
    ASSERT_EQ(Compile(c.pattern, c.foldCase, c.matchWords), nullptr);
    const Found expected = Find(text, c.group);
    Reset();
    Found found;
    FailEverywhere({[&] { Compile(c.pattern, c.foldCase, c.matchWords); },
                    [&] { found = Find(text, c.group); },
                    [&](const std::string& where) {
                      EXPECT_TRUE(found == expected || found == kNothing)
                          << where << ": " << found.start << "-" << found.end;
                      Reset();
                    }},
                   true);
    ASSERT_FALSE(HasFailure());
  }
}

TEST_F(MemoryFailure, OfAnEnvironmentIsItsSentenceAndUsesUpNoNumber) {
  struct {
    int regularExpression;
    int phonetic;
  } const kinds[] = {{1, 0}, {0, 0}, {0, 1}};
  const HeapText text("ein Haus am Hof");
  for (const auto& kind : kinds) {
    SCOPED_TRACE(kind.phonetic);
    Message message;
    int number = kUntouched;
    FailEverywhere({[&] { CompileToEnvironment("Hof", 1, 0, 1, 0, &number); },
                    [&] {
                      message = Message(CompileToEnvironment("Ha[u]s", kind.regularExpression,
                                                             kind.phonetic, 1, 0, &number));
                    },
                    [&](const std::string& where) {
                      EXPECT_TRUE(message.IsNull() || message.IsMemory())
                          << where << message.Text();
                      EXPECT_EQ(number, message.IsNull() ? 1 : -1) << where;
                      EXPECT_EQ(ActivateEnvironment(1), message.IsNull() ? 1 : 0) << where;
                      EXPECT_EQ(RestoreEnvironment(1), message.IsNull() ? 1 : 0) << where;
                      EXPECT_EQ(ActivateEnvironment(0), 1) << where;
                      EXPECT_EQ(Find(text, 0), (Found{1, 12, 15})) << where;
                      EXPECT_EQ(RestoreEnvironment(0), 1) << where;
                      Reset();
                    }},
                   true);
    ASSERT_FALSE(HasFailure());
  }
}

TEST_F(MemoryFailure, OfManyEnvironmentsLeavesThoseThatWereCompiled) {
  constexpr int kCount = 12;  // the array grows on the way
  Message messages[kCount];
  int numbers[kCount];
  FailEverywhere({[] {},
                  [&] {
                    for (int i = 0; i < kCount; ++i)
                      messages[i] = Message(CompileToEnvironment("Meier", 0, 1, 0, 1, &numbers[i]));
                  },
                  [&](const std::string& where) {
                    int compiled = 0;
                    for (int i = 0; i < kCount; ++i) {
                      EXPECT_TRUE(messages[i].IsNull() || messages[i].IsMemory()) << where;
                      EXPECT_EQ(numbers[i], messages[i].IsNull() ? compiled++ : -1) << where;
                    }
                    EXPECT_EQ(ActivateEnvironment(compiled), 0) << where;
                    EXPECT_TRUE(compiled == 0 || ActivateEnvironment(compiled - 1) == 1) << where;
                    Reset();
                  }},
                 true);
}

TEST_F(MemoryFailure, DoesNotTouchWhatNeedsNoMemory) {
  HeapText text("\tFrau Mayr\r");
  int number = kUntouched;
  ASSERT_EQ(CompileToEnvironment("ayr", 1, 0, 1, 0, &number), nullptr);
  Found found;
  SoundexEnvironmentRecord record{};
  int wordMode = kUntouched;
  int answers[4] = {};
  {
    const MallocFailure failure(Owner::kAnybody, 1, FailureKind::kFromThenOn);
    ReplaceChars(text.Data());
    answers[0] = CompileSoundex("Meier", 1);
    found.answer = SearchSoundex(text.Data(), &found.start, &found.end);
    GetSoundexEnvironment(&record, &wordMode);
    SetSoundexEnvironment(&record, 0);
    answers[1] = IsAlphaGer(228);
    answers[2] = ActivateEnvironment(number);
    answers[3] = RestoreEnvironment(number);
    GetSubExpressionCount();
    FreeBuffersInTrovexDll();
    ResetEnvironment();
    EXPECT_FALSE(MallocFailure::Happened());
  }
  EXPECT_STREQ(text.Data(), " Frau Mayr\n");
  EXPECT_EQ(answers[0], 'M');
  EXPECT_EQ(found, (Found{1, 6, 10}));
  EXPECT_STREQ(record.code, "M6");
  EXPECT_EQ(wordMode, 1);
  EXPECT_EQ(answers[1], 1);
  EXPECT_EQ(answers[2], 1);
  EXPECT_EQ(answers[3], 1);
}

struct ExpressionCase {
  const char* expression;
  int phonetic;
  int tag;
  const char* text;
};

const ExpressionCase kExpressions[] = {
    {"Haus", 0, 0, "Haus und Haus, Haus"},
    {"(Haus)", 0, 1, "Haus und Haus\nHaus"},
    {"H(au|o)[sf]+", 0, 1, "Haus und Hof, Haus"},
    {"Haus & Hof", 0, 0, "Haus und Hof, Haus"},
    {"(Haus &9 H(o)f)", 0, 1, "Haus und Hof, Haus, Hof, Hof, Haus, Hof, Haus"},
    {"(Haus &9 H(o)f)", 0, 2, "Haus und Hof, Haus, Hof, Hof, Haus, Hof, Haus"},
    {"Haus & !Garten", 0, 0, "Haus und Haus"},
    {"Haus & !Garten", 0, 0, "Haus und Garten"},
    {"Haus &5 !Garten", 0, 0, "Haus und lange nichts, Garten, Haus"},
    {"!Garten", 0, 0, "Haus und Garten"},
    {"!Garten", 0, 0, "Haus und Hof"},
    {"!Garten &3 !Haus", 0, 0, "Haus, Garten"},
    {"Meier & Schmidt", 1, 0, "Frau Mayr, Herr Schmitt"},
    {"(Meier & (Schmidt & !Mueller))", 1, 1, "Frau Mayr, Herr Schmitt"},
};

const char* MakeTree(const ExpressionCase& c, std::unique_ptr<CSearchTreeItem>& tree, int* tags) {
  CSearchTreeItem* root = nullptr;
  const char* const message =
      GetSearchTree(c.expression, c.phonetic == 0, c.phonetic, 0, 0, root, tags);
  tree.reset(root);
  return message;
}

Items SearchTree(CSearchTreeItem& tree, const HeapText& text, int tag) {
  return Items(
      std::unique_ptr<CFoundItemArray>(tree.Search(text.Data(), text.Length(), tag)).get());
}

TEST_F(MemoryFailure, OfATreesMakingIsItsSentence) {
  for (const ExpressionCase& c : kExpressions) {
    SCOPED_TRACE(c.expression);
    const HeapText text(c.text);
    std::unique_ptr<CSearchTreeItem> tree;
    int tags = 0;
    ASSERT_EQ(MakeTree(c, tree, &tags), nullptr);
    const Items expected = SearchTree(*tree, text, c.tag);
    ASSERT_EQ(expected.isNull, 0);
    tree.reset();
    Reset();
    Message message;
    FailEverywhere({[] {}, [&] { message = Message(MakeTree(c, tree, &tags)); },
                    [&](const std::string& where) {
                      EXPECT_TRUE(message.IsNull() || message.IsMemory())
                          << where << message.Text();
                      if (message.IsNull()) {
                        EXPECT_EQ(SearchTree(*tree, text, c.tag), expected) << where;
                      }
                      tree.reset();
                      EXPECT_EQ(MakeTree(c, tree, &tags), nullptr) << where;
                      EXPECT_EQ(SearchTree(*tree, text, c.tag), expected) << where;
                      tree.reset();
                      Reset();
                    }},
                   true);
    ASSERT_FALSE(HasFailure());
  }
}

/// Makes and searches the tree of `c` with every allocation failing in turn: it finds what it finds with
/// memory, at least `least` items, or nothing, and goes on to find it.
void MemoryFailure::FailSearching(const ExpressionCase& c, const HeapText& text, int least) {
  SCOPED_TRACE(std::string(c.expression) + " in " + c.text);
  std::unique_ptr<CSearchTreeItem> tree;
  int tags = 0;
  ASSERT_EQ(MakeTree(c, tree, &tags), nullptr);
  const Items expected = SearchTree(*tree, text, c.tag);
  ASSERT_GE(expected.size, least);
  tree.reset();
  Reset();
  Items found(nullptr);
  FailEverywhere(
      {[&] { MakeTree(c, tree, &tags); }, [&] { found = SearchTree(*tree, text, c.tag); },
       [&](const std::string& where) {
         EXPECT_TRUE(found == expected || found.isNull != 0)
             << where << ": " << found.size << " items";
         EXPECT_EQ(SearchTree(*tree, text, c.tag), expected) << where;
         tree.reset();
         Reset();
       }},
      true);
  ASSERT_FALSE(HasFailure());
}

TEST_F(MemoryFailure, OfATreesSearchIsNull) {
  for (const ExpressionCase& c : kExpressions)
    FailSearching(c, HeapText(c.text), 0);
}

TEST_F(MemoryFailure, OfASearchWithManyMatchesIsNull) {
  constexpr int kMatches = 210;
  std::string houses;
  for (int i = 0; i < kMatches; ++i)
    houses += "Haus ";
  const HeapText text(houses);
  for (const ExpressionCase& c :
       {ExpressionCase{"Haus", 0, 0, ""}, {"Haus", 1, 0, ""}, {"Haus &9 Hau", 0, 0, ""}}) {
    FailSearching(c, text, kMatches);
  }
}

/// Runs `operation` and tells whether it threw for want of memory.
template <typename Operation>
bool RanOutOfMemory(const Operation& operation) {
  try {
    operation();
    return false;
  } catch (const std::bad_alloc&) {
    return true;
  }
}

TEST_F(MemoryFailure, OfALeafsTextThrowsAndLeavesTheLeafAsItWas) {
  const std::string longText = "(" + std::string(100, 'x') + ")";
  std::unique_ptr<CString> string;
  std::unique_ptr<CSubExpression> leaf;
  std::unique_ptr<CSubExpression> other;
  bool threw[3] = {};
  FailEverywhere({[&] {
                    string = std::make_unique<CString>(longText.c_str());
                    leaf = std::make_unique<CSubExpression>();
                    leaf->SetSubExpression("(old)", 5, 4);
                    other = std::make_unique<CSubExpression>(*leaf);
                  },
                  [&] {
                    threw[0] =
                        RanOutOfMemory([&] { leaf->SetSubExpression(longText.data(), 102, 1); });
                    threw[1] = RanOutOfMemory([&] { *other = *leaf; });
                    threw[2] = RanOutOfMemory([&] { other->SetSubExpression(*string); });
                  },
                  [&](const std::string& where) {
                    EXPECT_EQ(leaf->GetSubExpression() == "old", threw[0]) << where;
                    EXPECT_EQ(leaf->GetTagBase(), threw[0] ? 3 : 0) << where;
                    EXPECT_EQ(other->GetSubExpression() == *string, !threw[2]) << where;
                    EXPECT_EQ(other->GetTagBase(), threw[0] || threw[1] ? 3 : 0) << where;
                    string.reset();
                    leaf.reset();
                    other.reset();
                  }},
                 true);
}

TEST_F(MemoryFailure, OfAnArraysGrowthThrowsAndLeavesItAsItWas) {
  for (const int size : {0, 1, 4, 5, 200, 8192, 20000}) {
    SCOPED_TRACE(size);
    std::unique_ptr<CFoundItemArray> array;
    bool threw = false;
    CFoundItem item(1, 2, 0);
    FailEverywhere({[&] {
                      array = std::make_unique<CFoundItemArray>();
                      for (int i = 0; i < size; ++i)
                        array->Add(new CFoundItem(i, i + 1, 0));
                    },
                    [&] {
                      threw = RanOutOfMemory([&] { array->Add(&item); }) ||
                              RanOutOfMemory([&] { array->SetSize(size + 1000); });
                    },
                    [&](const std::string& where) {
                      const bool added = array->GetAt(size) == &item;
                      if (threw) {
                        EXPECT_EQ(array->GetSize(), size + (added ? 1 : 0)) << where;
                      } else {
                        EXPECT_EQ(array->GetSize(), size + 1000) << where;
                      }
                      for (int i = 0; i < size; ++i)
                        EXPECT_EQ(array->GetAt(i)->GetStartPos(), i) << where;
                      if (added) array->SetAt(size, nullptr);
                      array.reset();
                    }},
                   true);
    ASSERT_FALSE(HasFailure());
  }
}

TEST_F(MemoryFailure, OfAMergeThrowsAndEveryItemStillHasOneOwner) {
  for (const int nearBy : {-1, 0, 1000}) {
    for (const int negatives : {0, 1, 3}) {
      SCOPED_TRACE(nearBy * 10 + negatives);
      std::unique_ptr<CFoundItemArray> arrays[3];
      constexpr int kItems = 20;
      FailEverywhere({[&] {
                        for (auto& array : arrays)
                          array = std::make_unique<CFoundItemArray>();
                        for (int i = 0; i < kItems; ++i)
                          arrays[i % 2]->Add(new CFoundItem(5 * i, 5 * i + 2, i));
                        arrays[0]->SetNegative(negatives & 1);
                        arrays[1]->SetNegative(negatives & 2);
                      },
                      [&] {
                        static_cast<void>(RanOutOfMemory(
                            [&] { arrays[2]->Merge(arrays[0].get(), arrays[1].get(), nearBy); }));
                      },
                      [&](const std::string& where) {
                        int owners[kItems] = {};
                        for (auto& array : arrays) {
                          for (int i = 0; i < array->GetSize(); ++i) {
                            if (CFoundItem* const found = array->GetAt(i))
                              ++owners[found->TagMatched()];
                          }
                          array.reset();
                        }
                        for (const int count : owners)
                          EXPECT_EQ(count, 1) << where;
                      }},
                     true);
      ASSERT_FALSE(HasFailure());
    }
  }
}

}  // namespace
