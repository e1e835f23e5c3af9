#include "matcher/scan/place_scan.h"

#include "tests/dice.h"
#include "tests/heap_text.h"
#include "tests/host/guarded_text.h"
#include "tests/matcher/scan/byte_blocks.h"
#include "tests/matcher/scan/scan_roads.h"
#include "tests/matcher/small_cases.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace trovex {
namespace {

using testing::AllScanRoads;
using testing::AllStrings;
using testing::Dice;
using testing::Guard;
using testing::GuardedBytes;
using testing::HeapText;
using testing::OnScanRoad;
using testing::ScanRoad;
using testing::SetOf;

using Byte = unsigned char;
using Alternatives = std::vector<Probes>;
using Places = std::vector<std::ptrdiff_t>;

CharSet RangeOf(int first, int last) {
  CharSet set;
  for (int c = first; c <= last; ++c)
    set.set(static_cast<std::size_t>(c));
  return set;
}

bool HoldAt(const Probes& probes, std::string_view text, std::size_t place) {
  return std::all_of(probes.begin(), probes.end(), [&](const Probe& probe) {
    const std::size_t at = place + static_cast<std::size_t>(probe.offset);
    return at < text.size() && probe.bytes.test(static_cast<Byte>(text[at]));
  });
}

/// The most trivial search: every probe of every alternative at every place.
Places TrivialPlaces(const Alternatives& alternatives, std::string_view text) {
  Places places;
  for (std::size_t place = 0; place < text.size(); ++place) {
    const auto hold = [&](const Probes& probes) { return HoldAt(probes, text, place); };
    if (std::any_of(alternatives.begin(), alternatives.end(), hold))
      places.push_back(static_cast<std::ptrdiff_t>(place));
  }
  return places;
}

Places TrivialPlaces(const Probes& probes, std::string_view text) {
  return TrivialPlaces(Alternatives{probes}, text);
}

/// All places in the bytes from `begin` to `end`, from each to the next by one call of `find`.
template <typename Find>
Places AllPlaces(const Byte* begin, const Byte* end, const Find& find) {
  Places places;
  for (const Byte* p = find(begin, end); p != nullptr; p = find(p + 1, end)) {
    places.push_back(p - begin);
    if (p < begin || p >= end) break;
  }
  return places;
}

/// The same by batches of hits.
Places AllHits(const PlaceScan& scan, const Byte* begin, const Byte* end) {
  Places places;
  HitBatch batch;
  const Byte* place = begin;
  while (end - place > scan.Reach() && scan.FindHits(place, end, HitBatch::kChunk, batch)) {
    for (std::size_t i = 0; i < batch.count; ++i) {
      const Byte* const hit = batch.base + batch.offsets[i];
      EXPECT_TRUE(place <= hit && hit < batch.tested);
      if (scan.AreHitsExact() || scan.AlternativesAt(hit) != 0) places.push_back(hit - begin);
    }
    place = batch.tested;
  }
  return places;
}

const Byte* Begin(const HeapText& text) {
  return reinterpret_cast<const Byte*>(text.Data());
}

/// One scan for every road.
class Scans {
 public:
  explicit Scans(const Probes& probes) {
    for (const ScanRoad& road : roads_) {
      const OnScanRoad only(road);
      scans_.emplace_back(probes);
    }
  }
  explicit Scans(const Alternatives& alternatives) {
    for (const ScanRoad& road : roads_) {
      const OnScanRoad only(road);
      scans_.push_back(PlaceScan::ForAlternatives(alternatives));
    }
  }

  /// Expects every road to find just `expected` in the bytes from `begin` to `end`.
  void Expect(const Places& expected, const Byte* begin, const Byte* end) const {
    for (std::size_t i = 0; i < scans_.size(); ++i) {
      const PlaceScan& scan = scans_[i];
      EXPECT_EQ(AllPlaces(begin, end, [&](auto* b, auto* e) { return scan.Find(b, e); }), expected)
          << roads_[i].name;
      EXPECT_EQ(AllHits(scan, begin, end), expected) << roads_[i].name << ", by batches";
      const bool mayFind = scan.MayFind(begin, end);
      EXPECT_TRUE(mayFind ? !scan.AreHitsExact() || !expected.empty() : expected.empty())
          << roads_[i].name << ", whether there are any";
    }
    EXPECT_EQ(
        AllPlaces(begin, end, [&](auto* b, auto* e) { return scans_.front().FindPlainly(b, e); }),
        expected)
        << "without vectors";
  }

 private:
  const std::vector<ScanRoad> roads_ = AllScanRoads();
  std::vector<PlaceScan> scans_;
};

/// `wanted` are the probes or the alternatives that the scans were made for.
template <typename Wanted>
void ExpectAgreement(const Scans& scans, const Wanted& wanted, std::string_view bytes) {
  const HeapText text(bytes);
  scans.Expect(TrivialPlaces(wanted, bytes), Begin(text), Begin(text) + text.Length());
}

/// Probes of every kind that a road treats by itself.
std::vector<Probes> ProbesOfEveryKind() {
  const CharSet letter = SetOf("dD");
  const CharSet umlaut = SetOf("\xFC\xDC");
  const CharSet capitals = RangeOf('A', 'Z');
  const CharSet upper = RangeOf(128, 255);
  CharSet scattered;  // no two rows of sixteen bytes are alike
  for (std::size_t row = 0; row < 16; ++row) {
    scattered.set(16 * row + row);
    scattered.set(16 * row + row / 2);
  }
  return {
      {{0, SetOf("d")}},
      {{3, SetOf("d")}},
      {{2, SetOf("q")}, {0, SetOf("d")}},
      {{0, SetOf("d")}, {1, SetOf("D")}, {7, SetOf("\xFC")}},
      {{0, SetOf("d")}, {1, SetOf("d")}, {2, SetOf("d")}, {3, SetOf("d")}},
      {{0, letter}},
      {{1, letter}, {0, umlaut}},
      {{0, letter}, {4, letter}, {9, letter}},
      {{0, letter}, {1, umlaut}, {2, letter}, {3, SetOf("d")}},
      {{0, capitals}},
      {{5, capitals}, {0, upper}},
      {{0, capitals | upper}, {1, RangeOf('a', 'z')}, {2, RangeOf('0', '9')}},
      {{0, capitals}, {1, capitals}, {2, ~capitals}, {3, letter}},
      {{0, RangeOf('0', '9')}},
      {{1, SetOf("-")}, {0, RangeOf('0', '9') | SetOf(".")}, {4, RangeOf('0', '9')}},
      {{0, SetOf("FH")}, {3, RangeOf('a', 'z') | RangeOf('A', 'Z')}},
      {{0, RangeOf('d', 'k')}, {1, RangeOf('A', 'D') | RangeOf('a', 'd')}, {2, SetOf("d")}},
      {{0, RangeOf(250, 255)}, {2, RangeOf(0, 99)}},
      {{0, RangeOf('a', 'c')}, {1, RangeOf('1', '3')}, {2, RangeOf('a', 'c')}, {3, SetOf("xz")}},
      {{0, scattered}},
      {{0, scattered}, {250, letter}},
      {{0, scattered}, {1, scattered}, {2, scattered}, {3, scattered}},
      {{0, CharSet()}},
      {{0, letter}, {1, CharSet()}},
      {{0, ~CharSet()}},
      {{0, letter}, {1, ~CharSet()}},
      {{1, letter}, {1, SetOf("D")}},
  };
}

/// A text at one place of which, and hardly elsewhere, all probes hold.
std::string TextWithPlace(const Probes& probes, std::size_t length, std::size_t place) {
  std::string text(length, '-');
  for (const Probe& probe : probes) {
    const std::size_t at = place + static_cast<std::size_t>(probe.offset);
    std::size_t c = 0;
    while (c < 255 && !probe.bytes.test(c))
      ++c;
    if (at < length) text[at] = static_cast<char>(c);
  }
  return text;
}

TEST(PlaceScan, FindsAPlaceWhereverItIsInATextOfAnyLength) {
  for (const Probes& probes : ProbesOfEveryKind()) {
    const Scans scans(probes);
    for (std::size_t length = 0; length <= 600; length += length < 140 ? 1 : 23) {
      for (std::size_t place = 0; place < length; place += length < 70 ? 1 : 13)
        ExpectAgreement(scans, probes, TextWithPlace(probes, length, place));
      ASSERT_FALSE(HasFailure()) << "length " << length;
    }
  }
}

TEST(PlaceScan, FindsEveryPlaceWhenTheyAreOneAfterTheOther) {
  for (const Probes& probes : ProbesOfEveryKind()) {
    const Scans scans(probes);
    for (const char* const bytes : {"d", "D", "dD", "\xFC", "A\xE4", "D1\xFC"}) {
      std::string text;
      while (text.size() < 400)
        text += bytes;
      ExpectAgreement(scans, probes, text);
    }
    ASSERT_FALSE(HasFailure());
  }
}

TEST(PlaceScan, TellsEveryByteOfASetFromEveryOther) {
  for (const Probes& probes : ProbesOfEveryKind()) {
    const Probes one = {{0, probes[0].bytes}};
    const Scans scans(one);
    for (int c = 0; c < 256; ++c) {
      ExpectAgreement(scans, one, std::string(1, static_cast<char>(c)));
      ExpectAgreement(scans, one, std::string(200, static_cast<char>(c)));
    }
    ASSERT_FALSE(HasFailure());
  }
}

TEST(PlaceScan, AgreesWithTheTrivialSearchOnAllSmallTexts) {
  const std::vector<CharSet> sets = {SetOf("a"),    SetOf("A"),     SetOf("aA"),
                                     SetOf("\xE4"), SetOf("a\xE4"), SetOf("aA\xE4")};
  const std::vector<std::string> texts = AllStrings({"a", "A", "\xE4"}, 5);
  // Between two pieces that have no place, a small text lies across the border of two blocks.
  const std::vector<std::string> pieces = {"", std::string(14, '-'), std::string(62, '-')};
  for (const CharSet& first : sets) {
    for (const CharSet& second : sets) {
      for (const int offset : {0, 1, 2}) {
        const Probes probes = {{0, first}, {offset, second}};
        const Scans scans(probes);
        for (const std::string& text : texts) {
          for (const std::string& piece : pieces) {
            std::string longer = piece;
            longer.append(text).append(piece);
            ExpectAgreement(scans, probes, longer);
          }
        }
        ASSERT_FALSE(HasFailure());
      }
    }
  }
}

CharSet RandomSet(Dice& dice) {
  const int first = dice.Between(0, 255);
  switch (dice.Between(0, 4)) {
    case 0:
      return RangeOf(first, first);
    case 1: {
      const int bit = 1 << dice.Between(0, 7);
      return RangeOf(first, first) | RangeOf(first ^ bit, first ^ bit);
    }
    case 2:
      return RangeOf(first, dice.Between(first, 255));
    case 3: {
      CharSet set;
      for (int i = dice.Between(1, 60); i > 0; --i)
        set.set(static_cast<std::size_t>(dice.Between(0, 255)));
      return set;
    }
    default:
      return ~RangeOf(first, dice.Between(first, 255));
  }
}

Probes RandomProbes(Dice& dice) {
  Probes probes(static_cast<std::size_t>(dice.Between(1, static_cast<int>(PlaceScan::kMaxProbes))));
  const int farthest = dice.OneIn(4) ? PlaceScan::kMaxOffset : 12;
  for (Probe& probe : probes)
    probe = {dice.Between(0, farthest), RandomSet(dice)};
  return probes;
}

/// Bytes of the sets mostly, so that places are neither rare nor everywhere.
std::string RandomText(Dice& dice, const Probes& probes) {
  std::string text(static_cast<std::size_t>(dice.Between(0, 1500)), '\0');
  const int strangers = dice.Between(1, 6);
  for (char& c : text) {
    auto byte = static_cast<std::size_t>(dice.Between(0, 255));
    const CharSet& wanted =
        probes[static_cast<std::size_t>(dice.Between(0, static_cast<int>(probes.size()) - 1))]
            .bytes;
    if (!dice.OneIn(strangers)) {
      for (int tries = 0; tries < 256 && !wanted.test(byte); ++tries)
        byte = (byte + 1) % 256;
    }
    c = static_cast<char>(byte);
  }
  return text;
}

TEST(PlaceScan, AgreesWithTheTrivialSearchAtRandom) {
  std::uint32_t seed = std::random_device()();
  for (int round = 0; round < 1500; ++round, ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    const Probes probes = RandomProbes(dice);
    ExpectAgreement(Scans(probes), probes, RandomText(dice, probes));
    ASSERT_FALSE(HasFailure());
  }
}

TEST(PlaceScan, TouchesNothingOutsideOfTheText) {
  for (const Probes& probes : ProbesOfEveryKind()) {
    const Scans scans(probes);
    for (std::size_t length = 0; length <= 700; length += length < 150 ? 1 : 31) {
      const std::string bytes = TextWithPlace(probes, length, length / 2);
      for (const Guard guard : {Guard::kAfter, Guard::kInFront}) {
        GuardedBytes text(bytes, guard);
        const auto* const begin = reinterpret_cast<const Byte*>(text.Data());
        scans.Expect(TrivialPlaces(probes, bytes), begin, begin + length);
      }
      ASSERT_FALSE(HasFailure()) << "length " << length;
    }
  }
}

TEST(PlaceScan, FindsNothingInNoText) {
  for (const Probes& probes : ProbesOfEveryKind())
    Scans(probes).Expect({}, nullptr, nullptr);
}

TEST(PlaceScan, APlaceHasRoomForTheGreatestOffset) {
  const Probes probes = {{0, SetOf("a")}, {4, ~CharSet()}};
  const Scans scans(probes);
  for (const std::size_t room : {0U, 1U, 3U, 4U, 5U, 40U}) {
    std::string bytes(room + 1, '-');
    bytes[0] = 'a';
    const HeapText text(bytes);
    scans.Expect(room < 4 ? Places{} : Places{0}, Begin(text), Begin(text) + text.Length());
  }
}

TEST(PlaceScan, ACopySearchesLikeTheOriginal) {
  PlaceScan copy(Probes{{0, SetOf("x")}});
  {
    const PlaceScan original(Probes{{1, SetOf("bc")}, {0, SetOf("a")}});
    copy = original;
  }
  const HeapText text("xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxab");
  EXPECT_EQ(copy.Find(Begin(text), Begin(text) + text.Length()), Begin(text) + 33);
}

// Alternatives.

/// The sets that each of a few keywords wants at all its offsets, case ignored if `folded`.
Alternatives AlternativesOf(const std::vector<std::string_view>& keywords, bool folded) {
  Alternatives alternatives;
  for (const std::string_view keyword : keywords) {
    alternatives.emplace_back();
    for (std::size_t i = 0; i < keyword.size(); ++i) {
      CharSet bytes = SetOf(keyword.substr(i, 1));
      if (folded) bytes.set(static_cast<Byte>(keyword[i]) ^ 0x20U);
      alternatives.back().push_back({static_cast<int>(i), bytes});
    }
  }
  return alternatives;
}

TEST(PlaceScan, FindsThePlacesOfEachAlternative) {
  for (const bool folded : {false, true}) {
    const Alternatives alternatives = AlternativesOf({"abc", "bcd", "\xE4z?", "aaa"}, folded);
    const Scans scans(alternatives);
    for (std::size_t before = 0; before < 140; ++before) {
      for (const char* const piece :
           {"abc", "abcd", "bcD", "\xE4z?", "\xC4z?", "aaaa", "abd", "aza"}) {
        std::string text(before, '-');
        text.append(piece).append(before % 5, '-');
        ExpectAgreement(scans, alternatives, text);
      }
    }
  }
}

TEST(PlaceScan, MixesNoAlternativesAtAPlace) {
  const Alternatives alternatives = AlternativesOf({"ab", "cd"}, false);
  const Scans scans(alternatives);
  ExpectAgreement(scans, alternatives, "ad" + std::string(80, '-') + "cb" + std::string(80, 'a'));
  ExpectAgreement(scans, alternatives, "adcdcbab" + std::string(80, '-') + "adcbcdab");
}

TEST(PlaceScan, TellsWhichAlternativesHoldAtAPlace) {
  const PlaceScan scan =
      PlaceScan::ForAlternatives({{{0, SetOf("ab")}}, {{0, SetOf("bc")}}, {{0, SetOf("x")}}});
  const HeapText text("abcx-");
  EXPECT_EQ(scan.AlternativesAt(Begin(text)), 1U);
  EXPECT_EQ(scan.AlternativesAt(Begin(text) + 1), 3U);
  EXPECT_EQ(scan.AlternativesAt(Begin(text) + 2), 2U);
  EXPECT_EQ(scan.AlternativesAt(Begin(text) + 3), 4U);
  EXPECT_EQ(scan.AlternativesAt(Begin(text) + 4), 0U);
}

TEST(PlaceScan, AgreesWithTheTrivialSearchForRandomAlternatives) {
  std::uint32_t seed = std::random_device()();
  for (int round = 0; round < 1500; ++round, ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    Alternatives alternatives = {RandomProbes(dice)};
    for (int i = dice.Between(0, static_cast<int>(PlaceScan::kMaxAlternatives) - 1); i > 0; --i) {
      Probes probes = alternatives[0];
      for (Probe& probe : probes)
        probe.bytes = RandomSet(dice);
      alternatives.push_back(probes);
    }
    const Probes& wanted = alternatives[static_cast<std::size_t>(
        dice.Between(0, static_cast<int>(alternatives.size()) - 1))];
    ExpectAgreement(Scans(alternatives), alternatives, RandomText(dice, wanted));
    ASSERT_FALSE(HasFailure());
  }
}

TEST(PlaceScan, BytesWithTheSameLowerHalfAreTakenForNoneOfAnAlternative) {
  const std::vector<std::string> words = {"xyz", "qvj", "XWQ", "k#7"};
  Alternatives alternatives;
  std::string bytes;
  for (const std::string& word : words) {
    alternatives.emplace_back();
    for (int offset = 0; offset < 3; ++offset) {
      const std::string byte(1, word[static_cast<std::size_t>(offset)]);
      alternatives.back().push_back({offset, SetOf(byte.c_str())});
      for (int row = 0; row < 256; row += 16)
        bytes += static_cast<char>((static_cast<Byte>(byte[0]) % 16) + row);
    }
  }
  const Scans scans(alternatives);
  for (std::uint32_t seed = 1; seed <= 300; ++seed) {
    Dice dice(seed);
    std::string text;
    for (int piece = dice.Between(0, 120); piece > 0; --piece) {
      const bool isWord = dice.OneIn(4);
      const std::string& from =
          isWord ? words[static_cast<std::size_t>(dice.Between(0, 3))] : bytes;
      const int at = isWord ? 0 : dice.Between(0, static_cast<int>(bytes.size()) - 4);
      text += from.substr(static_cast<std::size_t>(at), isWord ? 3 : 1);
    }
    ExpectAgreement(scans, alternatives, text);
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
  }
}

TEST(PlaceScan, AlternativesTouchNothingOutsideOfTheText) {
  const Alternatives alternatives = AlternativesOf({"abc", "bcd", "\xE4z?"}, true);
  const Scans scans(alternatives);
  for (std::size_t length = 0; length <= 300; ++length) {
    std::string bytes(length, 'b');
    if (length >= 3) bytes.replace(length - 3, 3, "BCD");
    for (const Guard guard : {Guard::kAfter, Guard::kInFront}) {
      GuardedBytes text(bytes, guard);
      const auto* const begin = reinterpret_cast<const Byte*>(text.Data());
      scans.Expect(TrivialPlaces(alternatives, bytes), begin, begin + length);
    }
    ASSERT_FALSE(HasFailure()) << "length " << length;
  }
}

TEST(PlaceScan, IsFastWithoutVectorsOnlyWhenARareByteLeads) {
  const OnScanRoad plain(AllScanRoads().front());
  EXPECT_TRUE(PlaceScan(Probes{{0, SetOf("q")}, {1, SetOf("e")}}).IsFast());
  EXPECT_TRUE(PlaceScan(Probes{{0, SetOf("e")}}).IsFast());
  EXPECT_FALSE(PlaceScan(Probes{{0, SetOf("e")}, {1, SetOf("n")}}).IsFast());
  EXPECT_FALSE(PlaceScan(Probes{{0, SetOf("qQ")}}).IsFast());
  EXPECT_FALSE(PlaceScan::ForAlternatives(AlternativesOf({"q", "x"}, false)).IsFast());
}

TEST(PlaceScan, IsFastWithVectors) {
  for (const ScanRoad& road : AllScanRoads()) {
    if (road.target == AllScanRoads().front().target) continue;
    const OnScanRoad only(road);
    EXPECT_TRUE(PlaceScan(Probes{{0, SetOf("eE")}, {1, ~CharSet()}}).IsFast()) << road.name;
  }
}

// The choice of probes.

std::vector<CharSet> SetsOf(const std::vector<std::string_view>& sets) {
  std::vector<CharSet> all;
  all.reserve(sets.size());
  for (const std::string_view bytes : sets)
    all.push_back(SetOf(bytes));
  return all;
}

TEST(ChooseProbes, TakesTheRarestBytesFirst) {
  const Probes probes = ChooseProbes(SetsOf({"e", "x", "n", "q"}));
  ASSERT_GE(probes.size(), 2U);
  EXPECT_EQ(probes[0].offset, 3);
  EXPECT_EQ(probes[0].bytes, SetOf("q"));
  EXPECT_EQ(probes[1].offset, 1);
  EXPECT_EQ(probes[1].bytes, SetOf("x"));
}

TEST(ChooseProbes, TakesMoreWhenTheBytesAreCommon) {
  EXPECT_EQ(ChooseProbes(SetsOf({"q", "x", "j", "y"})).size(), 2U);
  EXPECT_GT(ChooseProbes(SetsOf({"e", "n", "e", "n", "e", "n"})).size(), 2U);
}

TEST(ChooseProbes, TakesNoMoreThanAScanCanHold) {
  const std::vector<CharSet> sets(30, SetOf("e"));
  EXPECT_EQ(ChooseProbes(sets).size(), PlaceScan::kMaxProbes);
}

TEST(ChooseProbes, TakesAByteRatherThanAClassAgain) {
  const CharSet digits = SetOf("0123456789");
  const Probes probes =
      ChooseProbes({digits, digits, SetOf("-"), digits, digits, SetOf("-"), digits});
  const auto isByte = [](const Probe& probe) { return probe.offset == 2 || probe.offset == 5; };
  EXPECT_EQ(std::count_if(probes.begin(), probes.end(), isByte), 2);
}

TEST(ChooseProbes, TakesNoPlaceAtWhichEveryByteCanStand) {
  const Probes probes = ChooseProbes({~CharSet(), SetOf("e"), ~CharSet()});
  ASSERT_EQ(probes.size(), 1U);
  EXPECT_EQ(probes[0].offset, 1);
}

TEST(ChooseProbes, TakesOneProbeEvenWhenNothingIsKnown) {
  EXPECT_EQ(ChooseProbes({~CharSet(), ~CharSet()}).size(), 1U);
  EXPECT_TRUE(ChooseProbes({}).empty());
}

TEST(ChooseProbes, TakesNoOffsetThatAScanCannotReach) {
  std::vector<CharSet> sets(300, SetOf("e"));
  sets[250] = SetOf("x");
  sets[251] = SetOf("q");
  const Probes probes = ChooseProbes(sets);
  EXPECT_EQ(probes[0].offset, 250);
  for (const Probe& probe : probes)
    EXPECT_LE(probe.offset, PlaceScan::kMaxOffset);
}

TEST(ChooseProbes, TakesForAlternativesTheOffsetsThatAreRareForAllOfThem) {
  const std::vector<Probes> chosen = ChooseProbesForAlternatives(
      {SetsOf({"q", "e", "y"}), SetsOf({"e", "q", "x"}), SetsOf({"e", "n", "j"})});
  ASSERT_EQ(chosen.size(), 3U);
  EXPECT_EQ(chosen[0][0].offset, 2);
  EXPECT_EQ(chosen[0][0].bytes, SetOf("y"));
  for (const Probes& probes : chosen) {
    ASSERT_EQ(probes.size(), chosen[0].size());
    for (std::size_t i = 0; i < probes.size(); ++i)
      EXPECT_EQ(probes[i].offset, chosen[0][i].offset);
  }
}

TEST(ChooseProbes, TakesARareByteAfterOneThatNeverComes) {
  const Probes probes = ChooseProbes(SetsOf({"e", std::string_view("\0", 1), "n", "q"}));
  ASSERT_GE(probes.size(), 2U);
  EXPECT_EQ(probes[0].offset, 1);
  EXPECT_EQ(probes[1].offset, 3);
}

TEST(ExpectedRate, MultipliesTheFrequenciesOfTheProbes) {
  const double e = ExpectedRate({{0, SetOf("e")}});
  const double r = ExpectedRate({{0, SetOf("r")}});
  EXPECT_GT(e, r);
  EXPECT_NEAR(ExpectedRate({{0, SetOf("er")}}), e + r, 1e-6);
  EXPECT_NEAR(ExpectedRate({{0, SetOf("e")}, {1, SetOf("r")}}), e * r / 100000, 1e-6);
  EXPECT_EQ(ExpectedRate({{0, CharSet()}}), 0);
}

TEST(ExpectedRate, OfAnyByteIsEveryPlace) {
  EXPECT_NEAR(ExpectedRate({{0, ~CharSet()}}), 100000, 200);
}

}  // namespace
}  // namespace trovex
