#include "query/search/item_stream.h"

#include "tests/query/search/given_stream.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::GivenStream;
using trovex::testing::ViewOf;

class StreamsTest : public ::testing::Test {
 protected:
  StreamsTest() { context_.blocks.Begin(ViewOf(text_), TextBlocks::Reading::kUtf8, 0x81); }

  std::vector<ByteRange> TakeAll(ItemStream& stream) {
    std::vector<ByteRange> ranges;
    while (stream.Head() != nullptr) {
      const FoundPlace place = stream.Take();
      ranges.push_back({place.begin, place.end});
    }
    return ranges;
  }

  std::string text_ = std::string(100, 'x');
  SearchContext context_;
};

TEST_F(StreamsTest, AMergeIsOnePlaceAheadOfWhatWasTaken) {
  GivenStream left(context_, {{0, 1}, {10, 11}, {20, 21}});
  GivenStream right(context_, {{5, 6}, {15, 16}, {25, 26}});
  MergeStream both(context_, MergeStream::Kind::kOr, {&left, &right});
  for (ItemStream* const stream : std::vector<ItemStream*>{&left, &right, &both})
    stream->Begin();
  ASSERT_NE(both.Head(), nullptr);
  EXPECT_EQ(left.Asked(), 2U);
  EXPECT_EQ(right.Asked(), 1U);
}

TEST_F(StreamsTest, TheVerdictOnAnOrAsksNoMoreThanTheFirstOperandThatIsThere) {
  GivenStream left(context_, {{0, 1}});
  GivenStream right(context_, {{5, 6}});
  MergeStream either(context_, MergeStream::Kind::kOr, {&left, &right});
  for (ItemStream* const stream : std::vector<ItemStream*>{&left, &right, &either})
    stream->Begin();
  EXPECT_TRUE(either.IsSatisfied());
  EXPECT_EQ(right.Asked(), 0U);
}

TEST_F(StreamsTest, AnAndHasThePlacesOfBothOrNone) {
  for (const bool hasRight : {false, true}) {
    GivenStream left(context_, {{0, 1}, {10, 11}});
    GivenStream right(context_,
                      hasRight ? std::vector<ByteRange>{{5, 6}} : std::vector<ByteRange>{});
    MergeStream both(context_, MergeStream::Kind::kAnd, {&left, &right});
    for (ItemStream* const stream : std::vector<ItemStream*>{&left, &right, &both})
      stream->Begin();
    EXPECT_EQ(TakeAll(both), hasRight ? (std::vector<ByteRange>{{0, 1}, {5, 6}, {10, 11}})
                                      : std::vector<ByteRange>{});
    EXPECT_EQ(both.IsSatisfied(), hasRight);
  }
}

TEST_F(StreamsTest, PlacesWithTheSameRangeAreOneWithTheTagsOfAll) {
  context_.wantsTags = true;
  GivenStream left(context_, {{0, 1}, {10, 11}});
  GivenStream right(context_, {{0, 2}, {10, 11}});
  const std::vector<int> leftTags = {1, 2};
  const std::vector<int> rightTags = {3};
  left.SetTags(&leftTags);
  right.SetTags(&rightTags);
  MergeStream either(context_, MergeStream::Kind::kOr, {&left, &right});
  for (ItemStream* const stream : std::vector<ItemStream*>{&left, &right, &either})
    stream->Begin();
  std::vector<std::size_t> counts;
  while (either.Head() != nullptr) {
    FoundPlace place = either.Take();
    counts.push_back(context_.tagLists.Of(place).size());
    context_.tagLists.Drop(place);
  }
  EXPECT_EQ(counts, (std::vector<std::size_t>{2, 1, 3}));
}

TEST_F(StreamsTest, ANotHasAVerdictAndNoPlaces) {
  GivenStream there(context_, {{0, 1}});
  GivenStream none(context_, {});
  NotStream notThere(context_, there);
  NotStream notNone(context_, none);
  for (ItemStream* const stream : std::vector<ItemStream*>{&there, &none, &notThere, &notNone})
    stream->Begin();
  EXPECT_FALSE(notThere.IsSatisfied());
  EXPECT_TRUE(notNone.IsSatisfied());
  EXPECT_EQ(notNone.Head(), nullptr);
}

TEST_F(StreamsTest, AStoredStreamIsTheSameAfterItWasRead) {
  GivenStream given(context_, {{0, 1}, {3, 4}});
  StoredStream stored(context_, given);
  for (int round = 0; round < 2; ++round) {
    given.Begin();
    stored.Begin();
    stored.Fill();
    EXPECT_EQ(given.Asked(), 3U);
    EXPECT_TRUE(stored.IsSatisfied());
    EXPECT_EQ(TakeAll(stored), (std::vector<ByteRange>{{0, 1}, {3, 4}}));
  }
}

TEST(TagLists, AreUsedAgainOnceTheyAreFree) {
  TagLists lists;
  FoundPlace first;
  lists.Add(first, {1, 0, 1});
  const TagListNumber number = first.tags;
  lists.Drop(first);
  EXPECT_EQ(first.tags, kNoTags);
  FoundPlace second;
  lists.Add(second, {2, 0, 1});
  EXPECT_EQ(second.tags, number);
  EXPECT_EQ(lists.Of(second).size(), 1U);
  lists.Reset();
  FoundPlace third;
  lists.Add(third, {3, 0, 1});
  EXPECT_EQ(third.tags, number);
  EXPECT_EQ(lists.Of(third).front().tag, 3);
}

}  // namespace
