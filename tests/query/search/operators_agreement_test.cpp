// The operators against the plainest reading of what they mean: all pairs are compared, sets of items
// are kept whole, characters and words are counted one by one.

#include "query/search/item_stream.h"
#include "query/search/near_stream.h"
#include "tests/dice.h"
#include "tests/heap_text.h"
#include "tests/query/search/given_stream.h"
#include "text/code_page.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace trovex;
using trovex::testing::Dice;
using trovex::testing::GivenStream;
using trovex::testing::HeapText;
using trovex::testing::ViewOf;

using Range = std::pair<std::size_t, std::size_t>;
/// Items with their tags.
using Items = std::map<Range, std::set<int>>;

/// A text of characters that were chosen one by one, so that nobody has to decode it.
struct Text {
  std::string bytes;
  std::vector<std::size_t> begins;  // of the characters, and the end
  std::vector<bool> isWord;         // of each character
  std::vector<bool> isFeed;

  std::size_t CharacterAt(std::size_t byte) const {
    return static_cast<std::size_t>(std::find(begins.begin(), begins.end(), byte) - begins.begin());
  }
};

Text MakeText(Dice& dice) {
  static const std::vector<std::string> kCharacters = {
      "a", "b", " ", "\n", "\xC3\xBC", "-", "\xE2\x82\xAC", "u\xCC\x88", "\xFC"};
  Text text;
  const int length = dice.Between(0, 40);
  for (int i = 0; i < length; ++i) {
    const std::string& character = dice.OneOf(kCharacters);
    text.begins.push_back(text.bytes.size());
    text.bytes += character;
    text.isWord.push_back(character != " " && character != "\n" && character != "-" &&
                          character != "\xE2\x82\xAC");
    text.isFeed.push_back(character == "\n");
  }
  text.begins.push_back(text.bytes.size());
  return text;
}

/// A query of operators over leaves with given items.
struct Node {
  enum class Kind { kLeaf, kNot, kAnd, kOr, kNear, kStored };
  Kind kind = Kind::kLeaf;
  std::vector<Node> operands;
  std::vector<ByteRange> items;
  AndLink link;
  bool isLeftNegated = false;
  bool isRightNegated = false;
  std::vector<int> tags;
};

std::vector<ByteRange> MakeItems(const Text& text, Dice& dice) {
  std::set<Range> ranges;
  const int count = dice.OneIn(4) ? 0 : dice.Between(1, 6);
  const int last = static_cast<int>(text.begins.size()) - 1;
  for (int i = 0; i < count; ++i) {
    const int begin = dice.Between(0, last);
    const bool isLineAfterLast =
        begin == last && last > 0 && text.isFeed[static_cast<std::size_t>(last - 1)];
    if (isLineAfterLast) continue;
    int end = begin;
    for (int more = dice.Between(0, 5);
         more > 0 && end < last && !text.isFeed[static_cast<std::size_t>(end)]; --more)
      ++end;
    ranges.insert(
        {text.begins[static_cast<std::size_t>(begin)], text.begins[static_cast<std::size_t>(end)]});
  }
  std::vector<ByteRange> items;
  for (const Range& range : ranges)
    items.push_back({range.first, range.second});
  return items;
}

AndLink MakeLink(Dice& dice) {
  AndLink link;
  link.ordered = dice.OneIn(3);
  link.unit = dice.OneIn(3) ? DistanceUnit::kWords : DistanceUnit::kCharacters;
  if (!link.ordered || !dice.OneIn(3))
    link.distance = dice.OneIn(10) ? INT64_MAX : dice.Between(0, 12);
  return link;
}

Node MakeNode(const Text& text, Dice& dice, int depth, int& nextTag) {
  Node node;
  const int kind = depth == 0 ? 0 : dice.Between(0, 6);
  const auto operand = [&] { return MakeNode(text, dice, depth - 1, nextTag); };
  if (kind <= 1) {
    node.items = MakeItems(text, dice);
  } else if (kind == 2) {
    node.kind = Node::Kind::kNot;
    node.operands.push_back(operand());
  } else if (kind == 6) {
    node.kind = Node::Kind::kStored;
    node.operands.push_back(operand());
  } else {
    node.kind = kind == 3 ? Node::Kind::kAnd : kind == 4 ? Node::Kind::kOr : Node::Kind::kNear;
    node.operands.push_back(operand());
    node.operands.push_back(operand());
    if (node.kind != Node::Kind::kNear && dice.OneIn(2)) node.operands.push_back(operand());
    node.link = MakeLink(dice);
    node.isLeftNegated = dice.OneIn(5);
    node.isRightNegated = !node.isLeftNegated && dice.OneIn(4);
  }
  while (dice.OneIn(2))
    node.tags.push_back(nextTag++);
  return node;
}

// ---- The plain reading ----

std::size_t CharactersBetween(const Text& text, std::size_t from, std::size_t to) {
  return text.CharacterAt(to) - text.CharacterAt(from);
}

std::size_t WordsBetween(const Text& text, std::size_t from, std::size_t to) {
  std::size_t words = 0;
  const std::size_t first = text.CharacterAt(from);
  const std::size_t last = text.CharacterAt(to);
  for (std::size_t begin = 0; begin < text.isWord.size(); ++begin) {
    if (!text.isWord[begin] || (begin > 0 && text.isWord[begin - 1])) continue;
    std::size_t end = begin;
    while (end < text.isWord.size() && text.isWord[end])
      ++end;
    if (begin >= first && end <= last) ++words;
  }
  return words;
}

bool IsNear(const Text& text, const AndLink& link, const Range& left, const Range& right) {
  if (link.ordered && right.first < left.second) return false;
  const Range& a = left <= right ? left : right;
  const Range& b = left <= right ? right : left;
  const Range& before = link.ordered ? left : a;
  const Range& after = link.ordered ? right : b;
  if (after.first <= before.second || !link.distance.has_value()) return true;
  const std::size_t between = link.unit == DistanceUnit::kWords
                                  ? WordsBetween(text, before.second, after.first)
                                  : CharactersBetween(text, before.second, after.first);
  return between <= static_cast<std::size_t>(*link.distance);
}

struct Reading {
  bool isSatisfied = false;
  Items items;
};

void Unite(Items& all, const Items& more) {
  for (const auto& [range, tags] : more)
    all[range].insert(tags.begin(), tags.end());
}

Reading Read(const Text& text, const Node& node) {
  Reading result;
  std::vector<Reading> operands;
  for (const Node& operand : node.operands)
    operands.push_back(Read(text, operand));
  const auto satisfied = [](const Reading& r) { return r.isSatisfied; };
  switch (node.kind) {
    case Node::Kind::kLeaf:
      for (const ByteRange& item : node.items)
        result.items[{item.begin, item.end}];
      result.isSatisfied = !result.items.empty();
      break;
    case Node::Kind::kNot:
      result.isSatisfied = !operands[0].isSatisfied;
      break;
    case Node::Kind::kStored:
      result = operands[0];
      break;
    case Node::Kind::kAnd:
      result.isSatisfied = std::all_of(operands.begin(), operands.end(), satisfied);
      for (const Reading& operand : operands)
        Unite(result.items, operand.items);
      break;
    case Node::Kind::kOr:
      result.isSatisfied = std::any_of(operands.begin(), operands.end(), satisfied);
      for (const Reading& operand : operands)
        Unite(result.items, operand.items);
      break;
    case Node::Kind::kNear:
      for (const auto& [left, leftTags] : operands[0].items) {
        bool hasPartner = false;
        for (const auto& [right, rightTags] : operands[1].items)
          hasPartner = hasPartner || IsNear(text, node.link, left, right);
        if (!node.isLeftNegated && hasPartner != node.isRightNegated)
          Unite(result.items, {{left, leftTags}});
      }
      for (const auto& [right, rightTags] : operands[1].items) {
        bool hasPartner = false;
        for (const auto& [left, leftTags] : operands[0].items)
          hasPartner = hasPartner || IsNear(text, node.link, left, right);
        if (!node.isRightNegated && hasPartner != node.isLeftNegated)
          Unite(result.items, {{right, rightTags}});
      }
      result.isSatisfied = !result.items.empty();
      break;
  }
  if (!result.isSatisfied) result.items.clear();
  for (auto& [range, tags] : result.items)
    tags.insert(node.tags.begin(), node.tags.end());
  return result;
}

// ---- The streams ----

class Streams {
 public:
  /// Unless `wantsCharacters`, distances in characters are counted for each comparison.
  Streams(const Text& text, const Node& root, std::size_t blockSize, bool wantsCharacters)
      : bytes_(text.bytes), context_{TextBlocks(blockSize), {}} {
    context_.wantsTags = true;
    context_.wantsCharacters = wantsCharacters;
    root_ = Make(root);
  }

  void Begin() {
    context_.blocks.Begin({reinterpret_cast<const unsigned char*>(bytes_.Data()),
                           static_cast<std::size_t>(bytes_.Length())},
                          TextBlocks::Reading::kUtf8, 0x81);
    context_.tagLists.Reset();
    for (const auto& stream : all_)
      stream->Begin();
    for (StoredStream* const stored : stored_)
      stored->Fill();
  }

  bool IsSatisfied() { return root_->IsSatisfied(); }

  Items Take() {
    Items items;
    Range last{0, 0};
    while (root_->Head() != nullptr) {
      FoundPlace place = root_->Take();
      const Range range{place.begin, place.end};
      EXPECT_TRUE(items.empty() || last < range) << "order";
      last = range;
      std::set<int>& tags = items[range];
      if (place.tags == kNoTags) continue;
      for (const TagRange& tag : context_.tagLists.Of(place)) {
        EXPECT_TRUE(tags.insert(tag.tag).second) << "tag " << tag.tag << " twice";
        EXPECT_EQ(Range(tag.begin, tag.end), range);
      }
      context_.tagLists.Drop(place);
    }
    return items;
  }

 private:
  ItemStream* Make(const Node& node) {
    std::vector<ItemStream*> operands;
    for (const Node& operand : node.operands)
      operands.push_back(Make(operand));
    std::unique_ptr<ItemStream> stream;
    switch (node.kind) {
      case Node::Kind::kLeaf:
        stream = std::make_unique<GivenStream>(context_, node.items);
        break;
      case Node::Kind::kNot:
        stream = std::make_unique<NotStream>(context_, *operands[0]);
        break;
      case Node::Kind::kStored: {
        auto store = std::make_unique<StoredStream>(context_, *operands[0]);
        stored_.push_back(store.get());
        stream = std::move(store);
        break;
      }
      case Node::Kind::kAnd:
        stream = std::make_unique<MergeStream>(context_, MergeStream::Kind::kAnd, operands);
        break;
      case Node::Kind::kOr:
        stream = std::make_unique<MergeStream>(context_, MergeStream::Kind::kOr, operands);
        break;
      case Node::Kind::kNear:
        stream = std::make_unique<NearStream>(
            context_, NearStream::Operand{operands[0], node.isLeftNegated},
            NearStream::Operand{operands[1], node.isRightNegated}, node.link);
        break;
    }
    stream->SetTags(&node.tags);
    all_.push_back(std::move(stream));
    return all_.back().get();
  }

  HeapText bytes_;
  SearchContext context_;
  std::vector<std::unique_ptr<ItemStream>> all_;
  std::vector<StoredStream*> stored_;
  ItemStream* root_ = nullptr;
};

class OperatorsAgree : public ::testing::TestWithParam<int> {};

TEST_P(OperatorsAgree, WithThePlainReading) {
  constexpr std::uint32_t kCases = 12'000;
  for (std::uint32_t i = 0; i < kCases; ++i) {
    const std::uint32_t seed = static_cast<std::uint32_t>(GetParam()) * kCases + i;
    Dice dice(seed);
    const Text text = MakeText(dice);
    int nextTag = 1;
    const Node root = MakeNode(text, dice, dice.Between(1, 4), nextTag);
    const Reading expected = Read(text, root);
    Streams streams(text, root, dice.OneIn(2) ? 3 : 1000, dice.OneIn(2));
    streams.Begin();
    ASSERT_EQ(streams.IsSatisfied(), expected.isSatisfied) << "seed " << seed;
    ASSERT_EQ(streams.Take(), expected.items) << "seed " << seed;
    streams.Begin();  // places first, without asking for the verdict
    ASSERT_EQ(streams.Take(), expected.items) << "seed " << seed << ", second time";
    ASSERT_EQ(streams.IsSatisfied(), expected.isSatisfied) << "seed " << seed << ", second time";
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, OperatorsAgree, ::testing::Range(0, 4));

}  // namespace
