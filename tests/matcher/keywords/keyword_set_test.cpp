#include "matcher/keywords/keyword_set.h"

#include "matcher/scan/place_scan.h"
#include "tests/matcher/keywords/malloc_watch.h"
#include "tests/matcher/scan/scan_roads.h"

#include <gtest/gtest.h>
#include <algorithm>
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

using testing::AllScanRoads;
using testing::OnScanRoad;
using testing::ScanRoad;

using Keywords = std::vector<std::string>;

/// An occurrence as an offset, for comparison and for printing.
struct Found {
  int index;
  int start;
  int length;

  friend bool operator==(const Found&, const Found&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Found& found) {
    return out << "keyword " << found.index << " at " << found.start << ", length " << found.length;
  }
};

/// A text in a heap block of exactly its length: a keyword search reads nothing after it.
class ExactText {
 public:
  explicit ExactText(std::string_view text)
      : bytes_(std::make_unique<char[]>(text.size())), size_(static_cast<int>(text.size())) {
    std::copy(text.begin(), text.end(), bytes_.get());
  }
  const char* Data() const { return bytes_.get(); }
  int Size() const { return size_; }
  std::string_view View() const { return {Data(), static_cast<std::size_t>(size_)}; }

 private:
  std::unique_ptr<char[]> bytes_;
  int size_;
};

ByteMap IdentityMap() {
  ByteMap map{};
  for (std::size_t c = 0; c < map.size(); ++c)
    map[c] = static_cast<unsigned char>(c);
  return map;
}

/// Lower case for A to Z and for the umlauts of Latin-1.
ByteMap LowerCaseMap() {
  ByteMap map = IdentityMap();
  for (unsigned char c = 'A'; c <= 'Z'; ++c)
    map[c] = static_cast<unsigned char>(c + ('a' - 'A'));
  map[0xC4] = 0xE4;
  map[0xD6] = 0xF6;
  map[0xDC] = 0xFC;
  return map;
}

KeywordSetPtr MakeSet(const Keywords& keywords, const ByteMap* fold = nullptr) {
  KeywordSetPtr set = KeywordSetCreate(fold);
  for (const std::string& keyword : keywords) {
    const MessageNumber error =
        KeywordSetAdd(*set, keyword.data(), static_cast<int>(keyword.size()));
    EXPECT_EQ(error, MessageNumber::kNone);
  }
  KeywordSetPrepare(*set);
  return set;
}

/// Searches `text` from `from` on.
std::optional<Found> Search(const KeywordSet& set, const ExactText& text, int from = 0) {
  KeywordMatch match{-1, nullptr, -1};
  const char* const start = KeywordSetSearch(set, text.Data() + from, text.Size() - from, &match);
  EXPECT_EQ(start, match.start);
  if (start == nullptr) return std::nullopt;
  return Found{match.index, static_cast<int>(start - text.Data()), match.length};
}

std::optional<Found> Search(const KeywordSetPtr& set, std::string_view text) {
  return Search(*set, ExactText(text));
}

/// The most trivial search: every keyword at every place.
class TrivialSearch {
 public:
  TrivialSearch(Keywords keywords, const ByteMap* fold)
      : keywords_(std::move(keywords)), fold_(fold == nullptr ? IdentityMap() : *fold) {
    for (std::string& keyword : keywords_)
      keyword = Folded(keyword);
  }

  std::string Folded(std::string_view bytes) const {
    std::string folded(bytes);
    for (char& c : folded)
      c = static_cast<char>(fold_[static_cast<unsigned char>(c)]);
    return folded;
  }

  /// Searches `folded` from `from` on.
  std::optional<Found> operator()(std::string_view folded, int from) const {
    for (int start = from; start <= static_cast<int>(folded.size()); ++start) {
      const std::string_view rest = folded.substr(static_cast<std::size_t>(start));
      std::optional<Found> longest;
      for (int i = 0; i < static_cast<int>(keywords_.size()); ++i) {
        const std::string& keyword = keywords_[static_cast<std::size_t>(i)];
        const int length = static_cast<int>(keyword.size());
        if (!rest.starts_with(keyword)) continue;
        if (!longest || length > longest->length) longest = Found{i, start, length};
      }
      if (longest) return longest;
    }
    return std::nullopt;
  }

 private:
  Keywords keywords_;
  ByteMap fold_;
};

/// Expects the set to find in `text` just what the trivial search finds, from every start on.
void ExpectAllFound(const Keywords& keywords, const ByteMap* fold, const ExactText& text) {
  const KeywordSetPtr set = MakeSet(keywords, fold);
  const TrivialSearch trivial(keywords, fold);
  const std::string folded = trivial.Folded(text.View());
  for (int from = 0; from <= text.Size();) {
    const std::optional<Found> expected = trivial(folded, from);
    ASSERT_EQ(Search(*set, text, from), expected) << "from " << from << " of " << text.View();
    if (!expected) break;
    from = expected->start + 1;
  }
}

std::string Describe(const Keywords& keywords, std::string_view text) {
  std::string description = "keywords ";
  for (const std::string& keyword : keywords)
    description.append(keyword).append(", ");
  return description.append("text ").append(text);
}

// One keyword.

TEST(KeywordSet, OneByteIsFound) {
  const KeywordSetPtr set = MakeSet({"a"});
  EXPECT_EQ(Search(set, "xxaxa"), (Found{0, 2, 1}));
  EXPECT_EQ(Search(set, "a"), (Found{0, 0, 1}));
  EXPECT_EQ(Search(set, "xyz"), std::nullopt);
}

TEST(KeywordSet, OneKeywordIsFoundAtBothEndsOfTheText) {
  const KeywordSetPtr set = MakeSet({"needle"});
  EXPECT_EQ(Search(set, "needle in hay"), (Found{0, 0, 6}));
  EXPECT_EQ(Search(set, "hay, needle"), (Found{0, 5, 6}));
  EXPECT_EQ(Search(set, "needle"), (Found{0, 0, 6}));
  EXPECT_EQ(Search(set, "needl"), std::nullopt);
  EXPECT_EQ(Search(set, "eedle"), std::nullopt);
}

TEST(KeywordSet, OneKeywordIsFoundAtEveryPlaceOfALongText) {
  for (const std::string_view keyword : {"ab", "aab", "aba", "abcabd", "ddddd"}) {
    const KeywordSetPtr set = MakeSet({std::string(keyword)});
    for (std::size_t place = 0; place <= 300; ++place) {
      std::string text(300, 'c');
      text.insert(place, keyword);
      ASSERT_EQ(Search(set, text),
                (Found{0, static_cast<int>(place), static_cast<int>(keyword.size())}));
    }
  }
}

TEST(KeywordSet, AByteThatIsRareInGermanMayBeCommonInTheText) {
  const KeywordSetPtr set = MakeSet({"aXb"});
  for (const std::size_t before : {0U, 40U, 1000U, 5000U}) {
    std::string text(before, 'X');
    EXPECT_EQ(Search(set, text), std::nullopt) << before;
    text += "aXb";
    EXPECT_EQ(Search(set, text), (Found{0, static_cast<int>(before), 3})) << before;
    text.insert(0, "aX");
    EXPECT_EQ(Search(set, text), (Found{0, static_cast<int>(before) + 2, 3})) << before;
  }
}

TEST(KeywordSet, AKeywordOfCommonBytesAloneIsFound) {
  const KeywordSetPtr set = MakeSet({"nene"});
  std::string text(3000, 'n');
  EXPECT_EQ(Search(set, text), std::nullopt);
  text.insert(1500, "ene");
  EXPECT_EQ(Search(set, text), (Found{0, 1499, 4}));
}

TEST(KeywordSet, NothingIsFoundInALongTextWithout) {
  const KeywordSetPtr set = MakeSet({"abcb"});
  for (std::size_t size = 0; size <= 300; ++size) {
    std::string text;
    while (text.size() < size)
      text += "acbcb";
    text.resize(size);
    ASSERT_EQ(Search(set, text), std::nullopt) << size;
  }
}

TEST(KeywordSet, TheEmptyKeywordIsFoundAtTheStart) {
  EXPECT_EQ(Search(MakeSet({""}), "abc"), (Found{0, 0, 0}));
  EXPECT_EQ(Search(MakeSet({""}), ""), (Found{0, 0, 0}));
}

TEST(KeywordSet, AByteFarFromTheEndOfAKeywordDoesNotEndIt) {
  // 'x' stands 256 bytes before the end, a distance that does not fit into a byte.
  const std::string head = std::string(43, 'a') + 'x' + std::string(255, 'a');
  const KeywordSetPtr set = MakeSet({head + 'b'});
  EXPECT_EQ(Search(set, head + 'x'), std::nullopt);
  EXPECT_EQ(Search(set, head + 'x' + head + 'b'), (Found{0, 300, 300}));
}

TEST(KeywordSet, AKeywordOfManyBytesIsFoundInAVeryLongText) {
  const std::string keyword = std::string(599, 'a') + 'b';
  const KeywordSetPtr set = MakeSet({keyword});
  for (const std::size_t place : {0U, 1U, 255U, 256U, 257U, 6599U, 6600U, 6601U, 20000U}) {
    std::string text(20000, 'a');
    text.insert(place, std::string(1, 'c') + keyword);
    EXPECT_EQ(Search(set, text), (Found{0, static_cast<int>(place) + 1, 600}));
  }
}

// Several keywords.

TEST(KeywordSet, TheLeftmostStartWins) {
  const KeywordSetPtr set = MakeSet({"he", "she", "his", "hers"});
  EXPECT_EQ(Search(set, "ushers"), (Found{1, 1, 3}));
  EXPECT_EQ(Search(set, "uhers"), (Found{3, 1, 4}));
  EXPECT_EQ(Search(set, "monkshood"), std::nullopt);
}

TEST(KeywordSet, LongerKeywordWinsAtTheSameStart) {
  const KeywordSetPtr set = MakeSet({"ab", "abcd"});
  EXPECT_EQ(Search(set, "xabcd"), (Found{1, 1, 4}));
  EXPECT_EQ(Search(set, "xabcx"), (Found{0, 1, 2}));
}

TEST(KeywordSet, AnEarlierStartWinsThoughItEndsLater) {
  const KeywordSetPtr set = MakeSet({"c", "bcd", "abcde"});
  EXPECT_EQ(Search(set, "xabcde"), (Found{2, 1, 5}));
  EXPECT_EQ(Search(set, "xabcdx"), (Found{1, 2, 3}));
  EXPECT_EQ(Search(set, "xabcxx"), (Found{0, 3, 1}));
}

TEST(KeywordSet, EqualKeywordsCountAndKeepTheFirstNumber) {
  const KeywordSetPtr set = MakeSet({"abc", "abc", "x"});
  EXPECT_EQ(Search(set, "..x"), (Found{2, 2, 1}));
  EXPECT_EQ(Search(set, ".abc"), (Found{0, 1, 3}));
}

TEST(KeywordSet, OneKeywordTwiceIsFoundLikeOnce) {
  EXPECT_EQ(Search(MakeSet({"abc", "abc"}), "xxabcabc"), (Found{0, 2, 3}));
}

TEST(KeywordSet, TheEmptyKeywordDoesNotHideALongerOneAtTheStart) {
  const KeywordSetPtr set = MakeSet({"", "ab", "abcd"});
  EXPECT_EQ(Search(set, "abcd"), (Found{2, 0, 4}));
  EXPECT_EQ(Search(set, "abcx"), (Found{1, 0, 2}));
  EXPECT_EQ(Search(set, "xabcd"), (Found{0, 0, 0}));
  EXPECT_EQ(Search(set, ""), (Found{0, 0, 0}));
}

TEST(KeywordSet, OnlyTheEmptyKeywordWithAFoldTableIsFoundAtTheStart) {
  const ByteMap fold = LowerCaseMap();
  EXPECT_EQ(Search(MakeSet({""}, &fold), "abc"), (Found{0, 0, 0}));
}

TEST(KeywordSet, ATextShorterThanEveryKeywordHasNone) {
  EXPECT_EQ(Search(MakeSet({"abc", "abcd"}), "ab"), std::nullopt);
  EXPECT_EQ(Search(MakeSet({"abc", "abcd"}), ""), std::nullopt);
  EXPECT_EQ(Search(MakeSet({"abc"}), "ab"), std::nullopt);
  EXPECT_EQ(Search(MakeSet({"abc"}), ""), std::nullopt);
}

TEST(KeywordSet, ATextCutInsideAKeywordDoesNotHaveIt) {
  const KeywordSetPtr set = MakeSet({"ab", "abcdef"});
  EXPECT_EQ(Search(set, "xxabcde"), (Found{0, 2, 2}));
  EXPECT_EQ(Search(MakeSet({"cdef", "abcdef"}), "bcdef"), (Found{0, 1, 4}));
}

TEST(KeywordSet, AllByteValuesAreOrdinary) {
  Keywords keywords;
  for (int c = 0; c < 256; ++c)
    keywords.push_back({'\0', static_cast<char>(c), '\0'});
  const KeywordSetPtr set = MakeSet(keywords);
  for (int c = 0; c < 256; ++c) {
    const std::string& keyword = keywords[static_cast<std::size_t>(c)];
    EXPECT_EQ(Search(set, "\n\n" + keyword), (Found{c, 2, 3}));
    EXPECT_EQ(Search(MakeSet({keyword}), "\n\n" + keyword), (Found{0, 2, 3}));
  }
}

TEST(KeywordSet, ManyKeywordsAreToldApart) {
  Keywords keywords;
  for (int i = 0; i < 20000; ++i)
    keywords.push_back(std::to_string(i).insert(0, 1, '<').append(1, '>'));
  const KeywordSetPtr set = MakeSet(keywords);
  for (int i = 0; i < 20000; ++i) {
    const std::string& keyword = keywords[static_cast<std::size_t>(i)];
    ASSERT_EQ(Search(set, "<<12" + keyword + "><1>"),
              (Found{i, 4, static_cast<int>(keyword.size())}));
  }
}

TEST(KeywordSet, LongKeywordsAreToldApart) {
  const std::string body(600, 'a');
  const KeywordSetPtr set = MakeSet({'b' + body, 'c' + body, body + 'd'});
  EXPECT_EQ(Search(set, std::string(5000, 'a') + 'c' + body), (Found{1, 5000, 601}));
  EXPECT_EQ(Search(set, std::string(5000, 'a') + 'd'), (Found{2, 4400, 601}));
  EXPECT_EQ(Search(set, 'b' + body + 'd'), (Found{0, 0, 601}));
}

// Fold tables.

TEST(KeywordSet, AFoldTableMakesCaseIrrelevant) {
  const ByteMap fold = LowerCaseMap();
  const KeywordSetPtr set = MakeSet({"\xE4"
                                     "b"},
                                    &fold);
  EXPECT_EQ(Search(set,
                   "x\xE4"
                   "By"),
            (Found{0, 1, 2}));
  EXPECT_EQ(Search(set,
                   "X\xC4"
                   "bY"),
            (Found{0, 1, 2}));
  EXPECT_EQ(Search(set, "xaby"), std::nullopt);
}

TEST(KeywordSet, KeywordsAreFoldedLikeTexts) {
  const ByteMap fold = LowerCaseMap();
  const KeywordSetPtr set = MakeSet({"ABC", "abc", "aBcD"}, &fold);
  EXPECT_EQ(Search(set, "xabcx"), (Found{0, 1, 3}));
  EXPECT_EQ(Search(set, "xAbCdx"), (Found{2, 1, 4}));
}

TEST(KeywordSet, TheFoldTableIsNotNeededAfterCreation) {
  auto fold = std::make_unique<ByteMap>(LowerCaseMap());
  const KeywordSetPtr set = MakeSet({"abc"}, fold.get());
  fold.reset();
  EXPECT_EQ(Search(set, "xABCx"), (Found{0, 1, 3}));
}

// The interface.

TEST(KeywordSet, ASearchWithoutAMatchLeavesTheDescriptionAlone) {
  const KeywordSetPtr set = MakeSet({"abc", "d"});
  KeywordMatch match{17, nullptr, 19};
  EXPECT_EQ(KeywordSetSearch(*set, "xyz", 3, &match), nullptr);
  EXPECT_EQ(match.index, 17);
  EXPECT_EQ(match.length, 19);
}

TEST(KeywordSet, TheDescriptionIsOptional) {
  const ExactText text("xxab");
  EXPECT_EQ(KeywordSetSearch(*MakeSet({"ab"}), text.Data(), 4, nullptr), text.Data() + 2);
  EXPECT_EQ(KeywordSetSearch(*MakeSet({"ab", "b"}), text.Data(), 4, nullptr), text.Data() + 2);
}

TEST(KeywordSet, WithoutKeywordsNothingIsFound) {
  EXPECT_EQ(Search(MakeSet({}), "abc"), std::nullopt);
  EXPECT_EQ(Search(MakeSet({}), ""), std::nullopt);
}

TEST(KeywordSet, FreeingNothingIsAllowed) {
  const long before = testing::AllocationCount();
  KeywordSetFree(nullptr);
  EXPECT_EQ(testing::AllocationCount(), before);
}

TEST(KeywordSet, SearchingDoesNotAllocate) {
  const ByteMap fold = LowerCaseMap();
  const ExactText text(std::string(5000, 'x') + "abcd" + std::string(5000, 'a') + "ABC");
  std::vector<KeywordSetPtr> sets;
  for (const Keywords& keywords : {Keywords{"a"}, Keywords{"abcd"}, Keywords{"none"},
                                   Keywords{"abc", "cd", "bcda"}, Keywords{"nn", "none"}}) {
    sets.push_back(MakeSet(keywords));
    sets.push_back(MakeSet(keywords, &fold));
  }
  const long before = testing::AllocationCount();
  int found = 0;
  for (const KeywordSetPtr& set : sets) {
    if (KeywordSetSearch(*set, text.Data(), text.Size(), nullptr) != nullptr) ++found;
  }
  EXPECT_EQ(testing::AllocationCount(), before);
  EXPECT_EQ(found, 6);
}

TEST(KeywordSet, NoSetIsCreatedWithoutMemory) {
  for (long allowed = 0; allowed < 2; ++allowed) {
    const testing::AllocationLimit limit(allowed);
    EXPECT_EQ(KeywordSetCreate(nullptr), nullptr);
  }
}

/// Adds a keyword of 5000 bytes 'b' with memory for `allowed` chunks, some of the hundred it takes.
MessageNumber AddWithLittleMemory(KeywordSet& set, long allowed) {
  const std::string keyword(5000, 'b');
  const testing::AllocationLimit limit(allowed);
  return KeywordSetAdd(set, keyword.data(), 5000);
}

TEST(KeywordSet, AKeywordWithoutMemoryIsReportedAndTheOthersStay) {
  const ByteMap fold = IdentityMap();
  const std::string text(5000, 'b');
  for (const ByteMap* const table : {static_cast<const ByteMap*>(nullptr), &fold}) {
    for (long allowed = 0; allowed < 90; allowed += 11) {
      const KeywordSetPtr set = KeywordSetCreate(table);
      ASSERT_EQ(KeywordSetAdd(*set, "abb", 3), MessageNumber::kNone);
      ASSERT_EQ(AddWithLittleMemory(*set, allowed), MessageNumber::kMemoryOverflow);
      KeywordSetPrepare(*set);
      EXPECT_EQ(Search(set, text + "abb"), (Found{0, 5000, 3}));
      EXPECT_EQ(Search(set, text), std::nullopt);
    }
  }
}

TEST(KeywordSet, AFailedKeywordTakesNoNumber) {
  const KeywordSetPtr set = KeywordSetCreate(nullptr);
  for (const long allowed : {0L, 1L, 2L, 40L})
    ASSERT_EQ(AddWithLittleMemory(*set, allowed), MessageNumber::kMemoryOverflow);
  ASSERT_EQ(KeywordSetAdd(*set, "ab", 2), MessageNumber::kNone);
  ASSERT_EQ(KeywordSetAdd(*set, "bc", 2), MessageNumber::kNone);
  KeywordSetPrepare(*set);
  EXPECT_EQ(Search(set, "bbbab"), (Found{0, 3, 2}));
  EXPECT_EQ(Search(set, "bbbcb"), (Found{1, 2, 2}));
}

// A few keywords are searched for by the places where their rarest bytes stand.

/// Calls `check` with every road that the search for places can take.
template <typename Check>
void OnEveryRoad(const Check& check) {
  for (const ScanRoad& road : AllScanRoads()) {
    SCOPED_TRACE(road.name);
    const OnScanRoad only(road);
    check();
    if (::testing::Test::HasFailure()) return;
  }
}

TEST(KeywordSet, KeywordsAreFoundAtEveryPlaceOfALongText) {
  const ByteMap fold = LowerCaseMap();
  OnEveryRoad([&] {
    for (const Keywords& keywords : {Keywords{"q"}, Keywords{"er"}, Keywords{"Xylophon"},
                                     Keywords{"Fehler", "Warnung", "Ende"},
                                     Keywords{"ab", "abcd", "bc", "cdefgh"}, Keywords{"a", "bc"}}) {
      for (const std::string& keyword : keywords) {
        for (std::size_t before = 0; before < 150; ++before) {
          const std::string text =
              std::string(before, '-') + keyword + std::string(before % 7, '-');
          ASSERT_NO_FATAL_FAILURE(ExpectAllFound(keywords, nullptr, ExactText(text)));
          ASSERT_NO_FATAL_FAILURE(ExpectAllFound(keywords, &fold, ExactText(text)));
        }
      }
    }
  });
}

TEST(KeywordSet, AFoldTableMayPairBytesThatDifferInManyBits) {
  ByteMap fold = LowerCaseMap();
  fold[0xFF] = 0x9F;  // as in code pages where an upper case letter stands far from its lower case
  fold[0xD7] = 'x';
  fold['0'] = '9';
  fold['1'] = '9';
  fold[0x80] = '9';
  OnEveryRoad([&] {
    for (const Keywords& keywords :
         {Keywords{"x\x9F"}, Keywords{"91"}, Keywords{"a9\x9Fx", "0\xFF"}, Keywords{"\xFF"}}) {
      for (std::size_t before = 0; before < 90; ++before) {
        const std::string text = std::string(before, '-') + "X\xFF-\xD7\x9F" +
                                 "0\x80"
                                 "A1\xFFX" +
                                 std::string(before, '\x90') + "8" + "a9\x9F\xD7";
        ASSERT_NO_FATAL_FAILURE(ExpectAllFound(keywords, &fold, ExactText(text)));
      }
    }
  });
}

TEST(KeywordSet, PlacesThatComeTooCloseTogetherHideNoKeyword) {
  std::string text;
  for (int i = 0; i < 3000; ++i)
    text += i % 3 == 0 ? "XQb" : "XbQ";
  const std::string found = text + "aXQc" + text + "aXQd";
  OnEveryRoad([&] {
    for (const Keywords& keywords :
         {Keywords{"aXQd"}, Keywords{"aXQc"}, Keywords{"aXQc", "aXQd"}, Keywords{"XXXX", "bXQd"}}) {
      const std::optional<Found> expected = TrivialSearch(keywords, nullptr)(found, 0);
      ASSERT_EQ(Search(MakeSet(keywords), found), expected) << Describe(keywords, "");
      ASSERT_EQ(Search(MakeSet(keywords), text), std::nullopt);
    }
  });
}

TEST(KeywordSet, AKeywordMayBeLongerThanAPlaceScanLooks) {
  const std::string head(PlaceScan::kMaxOffset + 1, 'a');
  const std::string text = std::string(300, 'a') + "c" + std::string(400, 'a') + "b--";
  OnEveryRoad([&] {
    EXPECT_EQ(Search(MakeSet({head + "b"}), text), (Found{0, 450, 252}));
    EXPECT_EQ(Search(MakeSet({head + "d", head + "c"}), text), (Found{1, 49, 252}));
  });
}

TEST(KeywordSet, WithoutMemoryForThePlaceScanTheKeywordsAreFoundAllTheSame) {
  const std::string text = std::string(500, '-') + "Warnung";
  for (const Keywords& keywords : {Keywords{"Warnung"}, Keywords{"Fehler", "Warnung"}}) {
    for (long allowed = 0; allowed < 12; ++allowed) {
      const KeywordSetPtr set = KeywordSetCreate(nullptr);
      for (const std::string& keyword : keywords)
        KeywordSetAdd(*set, keyword.data(), static_cast<int>(keyword.size()));
      {
        const testing::AllocationLimit limit(allowed);
        KeywordSetPrepare(*set);
      }
      EXPECT_EQ(Search(set, text), (Found{static_cast<int>(keywords.size()) - 1, 500, 7}));
    }
  }
}

TEST(KeywordSet, MoreKeywordsThanAPlaceScanTakesAreToldApart) {
  Keywords keywords;
  for (char c = 'a'; c <= 'p'; ++c) {
    keywords.push_back(std::string("x") + c);
    keywords.push_back(std::string("x") + c + 'y');
    std::string text(100, '-');
    for (char d = 'a'; d <= 'q'; ++d)
      text.append("x") += d;
    OnEveryRoad(
        [&] { ASSERT_NO_FATAL_FAILURE(ExpectAllFound(keywords, nullptr, ExactText(text))); });
  }
}

// Agreement with the trivial search.

/// All strings over 'a' and 'b' of at most `length` bytes.
std::vector<std::string> AllStrings(std::size_t length) {
  std::vector<std::string> strings{""};
  for (std::size_t i = 0; i < strings.size(); ++i) {
    if (strings[i].size() == length) continue;
    strings.push_back(strings[i] + 'a');
    strings.push_back(strings[i] + 'b');
  }
  return strings;
}

/// Holds the set of `keywords` against the trivial search in every one of `texts`.
void ExpectAgreement(const Keywords& keywords, const ByteMap* fold,
                     const std::vector<ExactText>& texts) {
  const std::vector<ScanRoad> roads = AllScanRoads();
  const KeywordSetPtr fast = MakeSet(keywords, fold);
  const OnScanRoad only(roads.front());
  const KeywordSetPtr plain = MakeSet(keywords, fold);
  const TrivialSearch trivial(keywords, nullptr);
  for (const ExactText& text : texts) {
    const std::optional<Found> expected = trivial(text.View(), 0);
    ASSERT_EQ(Search(*fast, text), expected) << Describe(keywords, text.View());
    ASSERT_EQ(Search(*plain, text), expected) << "plainly: " << Describe(keywords, text.View());
  }
}

class KeywordSetExhaustively : public ::testing::Test {
 protected:
  KeywordSetExhaustively() {
    for (const std::string& text : AllStrings(8))
      texts_.emplace_back(text);
  }

  std::vector<ExactText> texts_;
  // Keeps a single keyword from being searched for by itself where it goes by leaps.
  const ByteMap identity_ = IdentityMap();
};

TEST_F(KeywordSetExhaustively, OneKeyword) {
  for (const std::string& keyword : AllStrings(5)) {
    ASSERT_NO_FATAL_FAILURE(ExpectAgreement({keyword}, nullptr, texts_));
    ASSERT_NO_FATAL_FAILURE(ExpectAgreement({keyword}, &identity_, texts_));
  }
}

TEST_F(KeywordSetExhaustively, TwoKeywords) {
  for (const std::string& first : AllStrings(4)) {
    for (const std::string& second : AllStrings(4))
      ASSERT_NO_FATAL_FAILURE(ExpectAgreement({first, second}, nullptr, texts_));
  }
}

TEST_F(KeywordSetExhaustively, ThreeKeywords) {
  const std::vector<std::string> keywords = AllStrings(3);
  for (const std::string& first : keywords) {
    for (const std::string& second : keywords) {
      for (const std::string& third : keywords)
        ASSERT_NO_FATAL_FAILURE(ExpectAgreement({first, second, third}, nullptr, texts_));
    }
  }
}

/// What random sets and texts are made of.
struct Recipe {
  int rounds;
  int keywords;
  int keywordLength;
  int alphabet;
  int textLength;
  bool fold;
};

class RandomSearches {
 public:
  RandomSearches(const Recipe& recipe, unsigned seed) : recipe_(recipe), random_(seed) {}

  /// Builds one set and one text and searches the text again and again, after every start found.
  /// Returns the number of searches.
  int HoldAgainstTrivialSearch() {
    const ByteMap table = RandomMap();
    const ByteMap* const fold = recipe_.fold ? &table : nullptr;
    Keywords keywords(static_cast<std::size_t>(Number(1, recipe_.keywords)));
    for (std::string& keyword : keywords)
      keyword = Bytes(Number(Number(0, 9) == 0 ? 0 : 1, recipe_.keywordLength));
    const KeywordSetPtr set = MakeSet(keywords, fold);
    const TrivialSearch trivial(keywords, fold);
    const ExactText text(Text(keywords));
    const std::string folded = trivial.Folded(text.View());

    int searches = 0;
    for (int from = 0; from <= text.Size() && searches < kMostSearches;) {
      const std::optional<Found> found = Search(*set, text, from);
      ++searches;
      const std::optional<Found> expected = trivial(folded, from);
      EXPECT_EQ(found, expected) << "from " << from;
      if (!expected || found != expected) break;
      from = expected->start + 1;
    }
    return searches;
  }

 private:
  int Number(int least, int most) { return std::uniform_int_distribution(least, most)(random_); }

  /// Random bytes of the alphabet; half of the time a repeated piece, which keywords and texts then
  /// agree in for long stretches.
  std::string Bytes(int length) {
    const int period = Number(0, 1) == 0 ? length : std::min(length, Number(1, 3));
    std::string bytes;
    for (int i = 0; i < length; ++i) {
      bytes += i < period ? static_cast<char>(Number(0, recipe_.alphabet - 1))
                          : bytes[static_cast<std::size_t>(i - period)];
    }
    return bytes;
  }

  /// A text of random bytes and of keywords, some of them damaged.
  std::string Text(const Keywords& keywords) {
    const int length = Number(0, recipe_.textLength);
    std::string text;
    while (static_cast<int>(text.size()) < length) {
      std::string piece = Bytes(Number(0, recipe_.keywordLength * 3));
      if (Number(0, 2) == 0) {
        piece =
            keywords[static_cast<std::size_t>(Number(0, static_cast<int>(keywords.size()) - 1))];
      }
      if (!piece.empty() && Number(0, 1) == 0) {
        piece[static_cast<std::size_t>(Number(0, static_cast<int>(piece.size()) - 1))] =
            static_cast<char>(Number(0, recipe_.alphabet - 1));
      }
      text += piece + Bytes(1);
    }
    text.resize(static_cast<std::size_t>(length));
    return text;
  }

  /// A table of any kind: a byte need not be compared as one that is compared as itself.
  ByteMap RandomMap() {
    ByteMap map = IdentityMap();
    for (int changes = Number(0, recipe_.alphabet); changes > 0; --changes) {
      map[static_cast<std::size_t>(Number(0, recipe_.alphabet - 1))] =
          static_cast<unsigned char>(Number(0, recipe_.alphabet - 1));
    }
    return map;
  }

  /// Searches of one text: they are slow where long keywords are found at every place.
  static constexpr int kMostSearches = 50;

  Recipe recipe_;
  std::mt19937 random_;
};

class KeywordSetAtRandom : public ::testing::TestWithParam<Recipe> {};

TEST_P(KeywordSetAtRandom, AgreesWithTheTrivialSearch) {
  const Recipe& recipe = GetParam();
  int searches = 0;
  const std::vector<ScanRoad> roads = AllScanRoads();
  for (unsigned seed = 1; seed <= static_cast<unsigned>(recipe.rounds) && !HasFailure(); ++seed) {
    const ScanRoad& road = roads[seed % roads.size()];
    const OnScanRoad only(road);
    SCOPED_TRACE(road.name + ", seed " + std::to_string(seed));
    searches += RandomSearches(recipe, seed).HoldAgainstTrivialSearch();
  }
  RecordProperty("searches", searches);
  EXPECT_GE(searches, recipe.rounds);
}

// rounds, keywords, keyword length, alphabet, text length, fold
INSTANTIATE_TEST_SUITE_P(
    Recipes, KeywordSetAtRandom,
    ::testing::Values(Recipe{20000, 1, 8, 2, 100, false}, Recipe{5000, 1, 6, 3, 300, true},
                      Recipe{10000, 4, 8, 2, 60, false}, Recipe{10000, 12, 10, 3, 120, false},
                      Recipe{5000, 12, 10, 4, 120, true}, Recipe{2000, 60, 30, 3, 400, false},
                      Recipe{2000, 5, 12, 256, 1500, false}, Recipe{2000, 5, 12, 256, 1500, true},
                      Recipe{1000, 1, 600, 2, 12000, false}, Recipe{200, 1, 600, 256, 12000, false},
                      Recipe{200, 3, 600, 2, 9000, true}, Recipe{200, 3, 600, 256, 9000, false}),
    [](const ::testing::TestParamInfo<Recipe>& info) {
      const Recipe& recipe = info.param;
      return "UpTo" + std::to_string(recipe.keywords) + "KeywordsOf" +
             std::to_string(recipe.keywordLength) + "BytesFrom" + std::to_string(recipe.alphabet) +
             (recipe.fold ? "Folded" : "");
    });

}  // namespace
}  // namespace trovex
