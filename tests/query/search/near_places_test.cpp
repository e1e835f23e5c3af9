// The places that stay of two operands of a distance, against trying every pair of them.

#include "query/search/near_places.h"
#include "tests/dice.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::Dice;

using Places = std::vector<ByteRange>;

/// All of it is bytes that belong to no word, so that a distance is one of bytes.
const std::string kText(64, '-');

MeasuredText Text() {
  return {{reinterpret_cast<const unsigned char*>(kText.data()), kText.size()}};
}

/// Whether the two are within the distance of each other, the left one first where the order counts.
bool AreNear(const AndLink& link, const ByteRange& left, const ByteRange& right) {
  const auto reaches = [&](const ByteRange& earlier, const ByteRange& later) {
    return !link.distance.has_value() ||
           later.begin <= earlier.end + static_cast<std::size_t>(*link.distance);
  };
  if (link.ordered) return left.end <= right.begin && reaches(left, right);
  return left < right ? reaches(left, right) : reaches(right, left);
}

/// What of `own` has a partner among `others`, or none where these are negated.
void Keep(const Places& own, const Places& others, bool areOthersNegated, bool isLeft,
          const AndLink& link, std::set<ByteRange>& kept) {
  for (const ByteRange& place : own) {
    const bool hasPartner = std::any_of(others.begin(), others.end(), [&](const ByteRange& other) {
      return isLeft ? AreNear(link, place, other) : AreNear(link, other, place);
    });
    if (hasPartner != areOthersNegated) kept.insert(place);
  }
}

Places Expected(const AndLink& link, const NearOperand& left, const NearOperand& right) {
  std::set<ByteRange> kept;
  if (!left.isNegated) Keep(left.places, right.places, right.isNegated, true, link, kept);
  if (!right.isNegated) Keep(right.places, left.places, left.isNegated, false, link, kept);
  return {kept.begin(), kept.end()};
}

/// Places that overlap each other and lie one inside the other, some of them empty.
Places RandomPlaces(Dice& dice) {
  std::set<ByteRange> places;
  const int longest = dice.OneIn(2) ? 2 : 20;
  for (int count = dice.Between(0, 8); count > 0; --count) {
    const auto begin = static_cast<std::size_t>(dice.Between(0, 40));
    places.insert({begin, begin + static_cast<std::size_t>(dice.Between(0, longest))});
  }
  return {places.begin(), places.end()};
}

TEST(NearPlaces, StayWhereTheyHaveAPartner) {
  NearPlaces near;
  Places kept;
  for (std::uint32_t seed = 1; seed <= 40'000; ++seed) {
    Dice dice(seed);
    const Places left = RandomPlaces(dice);
    const Places right = RandomPlaces(dice);
    const int negated = dice.Between(0, 2);
    AndLink link;
    link.ordered = dice.OneIn(2);
    if (!link.ordered || dice.OneIn(2)) link.distance = dice.Between(0, 12);
    const NearOperand l = {left, negated == 1};
    const NearOperand r = {right, negated == 2};
    near.Find(link, Text(), l, r, kept);
    ASSERT_EQ(kept, Expected(link, l, r)) << "seed " << seed;
  }
}

TEST(NearPlaces, AreUnitedInOrderAndOnce) {
  for (std::uint32_t seed = 1; seed <= 20'000; ++seed) {
    Dice dice(seed);
    Places places = RandomPlaces(dice);
    const Places more = RandomPlaces(dice);
    std::set<ByteRange> expected(places.begin(), places.end());
    expected.insert(more.begin(), more.end());
    NearPlaces().Unite(places, more);
    ASSERT_EQ(places, Places(expected.begin(), expected.end())) << "seed " << seed;
  }
}

}  // namespace
