#include "query/search/near_stream.h"

#include "tests/query/search/given_stream.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::GivenStream;
using trovex::testing::ViewOf;

using Ranges = std::vector<ByteRange>;

AndLink Within(std::optional<std::int64_t> distance, bool ordered = false,
               DistanceUnit unit = DistanceUnit::kCharacters) {
  AndLink link;
  link.distance = distance;
  link.ordered = ordered;
  link.unit = unit;
  return link;
}

struct Joined {
  Ranges ranges;
  std::size_t leftAsked = 0;
  std::size_t rightAsked = 0;
};

/// Joins two lists of places of `text`, and takes up to `most` of what stays.
Joined Join(const std::string& text, const Ranges& left, const Ranges& right, const AndLink& link,
            bool isRightNegated = false, std::size_t most = SIZE_MAX) {
  SearchContext context;
  context.blocks.Begin(ViewOf(text), TextBlocks::Reading::kUtf8, 0x81);
  GivenStream leftStream(context, left);
  GivenStream rightStream(context, right);
  NearStream near(context, {&leftStream, false}, {&rightStream, isRightNegated}, link);
  leftStream.Begin();
  rightStream.Begin();
  near.Begin();
  Joined joined;
  while (joined.ranges.size() < most && near.Head() != nullptr) {
    const FoundPlace place = near.Take();
    joined.ranges.push_back({place.begin, place.end});
  }
  joined.leftAsked = leftStream.Asked();
  joined.rightAsked = rightStream.Asked();
  return joined;
}

const std::string kPlain(200, '.');

TEST(NearStream, KeepsWhatHasAPartnerInReachOnEitherSide) {
  const Ranges left = {{0, 2}, {50, 52}, {100, 102}};
  const Ranges right = {{7, 9}, {92, 95}, {150, 151}};
  EXPECT_EQ(Join(kPlain, left, right, Within(5)).ranges,
            (Ranges{{0, 2}, {7, 9}, {92, 95}, {100, 102}}));
  EXPECT_EQ(Join(kPlain, left, right, Within(4)).ranges, Ranges{});
}

TEST(NearStream, MeasuresFromTheEndThatLiesFarthest) {
  // The first left place ends after the second: it is the nearer one.
  const Ranges left = {{0, 30}, {5, 6}};
  EXPECT_EQ(Join(kPlain, left, {{33, 34}}, Within(3)).ranges, (Ranges{{0, 30}, {33, 34}}));
}

TEST(NearStream, TakesPlacesThatOverlapForNear) {
  EXPECT_EQ(Join(kPlain, {{0, 30}}, {{10, 11}}, Within(0)).ranges, (Ranges{{0, 30}, {10, 11}}));
  EXPECT_EQ(Join(kPlain, {{5, 5}}, {{5, 5}}, Within(0)).ranges, (Ranges{{5, 5}}));
}

TEST(NearStream, CountsCharactersNotBytes) {
  const std::string text =
      "a\xC3\xBC\xC3\xBCu\xCC\x88"
      "b";  // between them three letters, seven bytes
  EXPECT_EQ(Join(text, {{0, 1}}, {{8, 9}}, Within(3)).ranges, (Ranges{{0, 1}, {8, 9}}));
  EXPECT_EQ(Join(text, {{0, 1}}, {{8, 9}}, Within(2)).ranges, Ranges{});
}

TEST(NearStream, CountsOnlyWordsThatLieWhollyBetween) {
  const std::string text = "Hausboot am alten Hof";
  const auto words = [&](std::int64_t n) {
    return Join(text, {{0, 4}}, {{18, 21}}, Within(n, false, DistanceUnit::kWords)).ranges;
  };
  EXPECT_EQ(words(2).size(), 2U);  // "am" and "alten", not the rest of "Hausboot"
  EXPECT_EQ(words(1).size(), 0U);
}

TEST(NearStream, WithAnOrderLooksForTheFirstPlaceAfter) {
  const Ranges left = {{0, 10}, {2, 4}};
  EXPECT_EQ(Join(kPlain, left, {{5, 6}}, Within(3, true)).ranges, (Ranges{{2, 4}, {5, 6}}));
  EXPECT_EQ(Join(kPlain, {{10, 12}}, {{5, 6}}, Within(30, true)).ranges, Ranges{});
  EXPECT_EQ(Join(kPlain, {{0, 1}}, {{199, 200}}, Within(std::nullopt, true)).ranges,
            (Ranges{{0, 1}, {199, 200}}));
}

TEST(NearStream, WithANotKeepsWhatHasNoneInReach) {
  const Ranges left = {{0, 2}, {50, 52}, {100, 102}};
  EXPECT_EQ(Join(kPlain, left, {{7, 9}, {92, 95}}, Within(5), true).ranges, (Ranges{{50, 52}}));
  EXPECT_EQ(Join(kPlain, left, {}, Within(5), true).ranges, left);
}

TEST(NearStream, TheGreatestDistanceIsNoOverflow) {
  const AndLink link = Within(std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(Join(kPlain, {{0, 1}}, {{199, 200}}, link).ranges.size(), 2U);
}

TEST(NearStream, ReadsNoFurtherThanItNeeds) {
  Ranges many;
  for (std::size_t i = 0; i < 100; ++i)
    many.push_back({2 * i, 2 * i + 1});
  const Joined first = Join(kPlain, many, {{3, 4}, {150, 151}}, Within(1), false, 1);
  EXPECT_LE(first.leftAsked, 3U);
  EXPECT_LE(first.rightAsked, 2U);
  // After the reach of the only right place nothing can stay.
  EXPECT_LE(Join(kPlain, many, {{3, 4}}, Within(1)).leftAsked, 6U);
}

}  // namespace
