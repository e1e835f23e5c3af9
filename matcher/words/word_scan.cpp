// Choosing groups and windows, and making their tables.

#include "matcher/words/word_scan.h"

#include "matcher/costs.h"
#include "matcher/limits.h"
#include "matcher/pattern/run_pattern.h"
#include "matcher/scan/byte_frequency.h"
#include "matcher/tuning.h"
#include "matcher/words/few_words.h"

#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

namespace trovex {

namespace {

using Byte = unsigned char;

constexpr std::size_t kLongestWindow = 8;
constexpr std::size_t kMostStride = 4;
/// What longer words offer beyond this makes no difference: windows of eight bytes at four offsets.
constexpr std::size_t kLongLength = kLongestWindow + kMostStride - 1;

/// Fewer places are looked at one by one.
constexpr std::size_t kFewHits = 8;

/// So many trees of words with the same beginning are told apart by the bytes after it.
constexpr std::size_t kMostTreesOfBeginning = RootTable::kEntriesOfBucket - 1;

/// `size` / `stride`, in the fifth of the time, for sizes up to a stretch.
std::size_t DividedByStride(std::size_t size, std::size_t stride) {
  constexpr int kShift = 17;
  static constexpr std::array<std::size_t, kMostStride + 1> kReciprocals = {
      0, 1 << kShift, (1 << kShift) / 2, (1 << kShift) / 3 + 1, (1 << kShift) / 4};
  static_assert(kLargestWordStretch + kMostStride < (std::size_t{1} << kShift));
  return size * kReciprocals[stride] >> kShift;
}

/// To look up a byte as the one of its class, in nanoseconds.
constexpr double kCostOfTranslation = 0.4;

int BitsFor(std::size_t entries) {
  return static_cast<int>(std::bit_width(std::max<std::size_t>(entries, 1) - 1));
}

struct Choice {
  std::size_t stride = 1;
  std::size_t length = 1;
  double cost = std::numeric_limits<double>::infinity();
  /// Set if these are looked up rather than windows.
  std::optional<BucketTable> buckets;
};

/// How often windows of words of one length come in a text, by offset in the word and length.
using Rates = std::array<std::array<double, kLongestWindow + 1>, kMostStride>;

}  // namespace

class WordScanMaker {
 public:
  /// `translates`: each class is looked up as one byte. `gathers`: see WordScan::Make().
  WordScanMaker(const WordList& list, bool translates, bool gathers, CompileBudget& budget)
      : list_(list), budget_(budget), scan_(list), hasOffsets_(!gathers) {
    scan_.translates_ = translates;
  }

  std::optional<WordScan> Make() {
    SortWords();
    ReadClasses();
    scan_.byteMask_ = byteMask_ * kEachByte;
    MeasureRates();
    // Groups of the lengths from one of these to the next.
    for (const auto& [from, to] : ChooseGroups()) {
      if (!AddGroup(from, to)) return std::nullopt;
    }
    scan_.areAllInBuckets_ =
        std::all_of(scan_.groups_.begin(), scan_.groups_.end(),
                    [](const auto& group) { return group.findInBuckets != nullptr; });
    budget_.ChargeBytes(static_cast<std::int64_t>(scan_.words_.Bytes()));
    return std::move(scan_);
  }

 private:
  using Lengths = std::pair<std::size_t, std::size_t>;

  void SortWords() {
    budget_.ChargeSteps(kSortStepsPerWord * static_cast<std::int64_t>(list_.Count()));
    budget_.ChargeBytes(static_cast<std::int64_t>(sizeof(std::string_view) * list_.Count()));
    for (std::size_t i = 0; i < list_.Count(); ++i)
      words_.push_back(list_.Word(i));
    std::sort(words_.begin(), words_.end());
    words_.erase(std::unique(words_.begin(), words_.end()), words_.end());
    for (const std::string_view word : words_) {
      scan_.longest_ = std::max(scan_.longest_, word.size());
      scan_.firstBytes_ |= list_.bytesOf[static_cast<Byte>(word[0])];
    }
  }

  /// Notes of each class the bytes that its bytes are looked up as, and how often these come.
  void ReadClasses() {
    if (scan_.translates_) return ReadTranslation();
    for (std::size_t c = 0; c < 256; ++c) {
      const Byte other = static_cast<Byte>(c ^ kCaseBit);
      if (list_.classOf[c] != 0 && list_.classOf[c] == list_.classOf[other])
        byteMask_ = static_cast<Byte>(~kCaseBit);
    }
    std::array<double, 256> frequencies{};
    for (std::size_t c = 0; c < 256; ++c)
      frequencies[c & byteMask_] += kByteFrequency[c] + 0.5;
    values_.resize(list_.bytesOf.size());
    frequencies_.resize(list_.bytesOf.size());
    for (std::size_t number = 1; number < values_.size(); ++number) {
      CharSet values;
      for (std::size_t c = 0; c < 256; ++c) {
        if (list_.bytesOf[number][c]) values.set(c & byteMask_);
      }
      for (std::size_t c = 0; c < 256; ++c) {
        if (!values[c]) continue;
        values_[number] += static_cast<char>(c);
        frequencies_[number] += frequencies[c] / 100'000;
      }
    }
  }

  /// The same where each byte of a class is looked up as the first.
  void ReadTranslation() {
    values_.resize(list_.bytesOf.size());
    frequencies_.resize(list_.bytesOf.size());
    for (std::size_t number = 1; number < values_.size(); ++number) {
      const std::size_t first = list_.bytesOf[number]._Find_first();
      if (first < 256) values_[number] = static_cast<char>(first);
    }
    for (std::size_t c = 0; c < 256; ++c) {
      const Byte number = list_.classOf[c];
      if (number == 0) continue;
      scan_.translation_[c] = static_cast<Byte>(values_[number][0]);
      frequencies_[number] += (kByteFrequency[c] + 0.5) / 100'000;
    }
  }

  void MeasureRates() {
    for (const std::string_view word : words_) {
      const std::size_t size = std::min(word.size(), kLongLength);
      Rates& rates = rates_[size];
      ++counts_[size];
      for (std::size_t offset = 0; offset < std::min(kMostStride, size); ++offset) {
        double rate = 1 / kCorrelation;
        const std::size_t most = std::min(kLongestWindow, word.size() - offset);
        for (std::size_t i = 0; i < most; ++i) {
          rate *= std::min(1.0, kCorrelation * frequencies_[static_cast<Byte>(word[offset + i])]);
          rates[offset][i + 1] += rate;
        }
      }
    }
  }

  /// The best way to look for the words of the lengths [from, to), which are some.
  Choice ChooseLookup(std::size_t from, std::size_t to) {
    Choice best = ChooseWindows(from, to);
    if (scan_.translates_) best.cost += kCostOfTranslation;
    // Of many words, only the shortest may be few enough for buckets.
    if (from > 1 || LeastCostOfBuckets(to) >= best.cost) return best;
    const std::optional<Buckets>& buckets = BucketsFor(to);
    if (buckets && buckets->cost < best.cost) best = {1, 1, buckets->cost, buckets->table};
    return best;
  }

  /// What buckets for the words shorter than `to` cost if these are found nowhere else.
  double LeastCostOfBuckets(std::size_t to) const {
    double rate = 0;
    for (std::size_t length = 1; length < to; ++length)
      rate += rates_[length][0][std::min(length, BucketTable::kMostBytes)];
    return kCostOfBuckets + rate * kCostOfBeginning;
  }

  /// Buckets for the words shorter than `to`; none if the machine lacks the instructions.
  const std::optional<Buckets>& BucketsFor(std::size_t to) {
    std::optional<std::optional<Buckets>>& known = buckets_[to];
    if (!known) known = MakeBucketsFor(to);
    return *known;
  }

  std::optional<Buckets> MakeBucketsFor(std::size_t to) {
    const BucketLookup* const lookup = MachineBucketLookup();
    if (lookup == nullptr) return std::nullopt;
    std::vector<std::string_view> words;
    std::copy_if(words_.begin(), words_.end(), std::back_inserter(words),
                 [to](auto word) { return std::min(word.size(), kLongLength) < to; });
    const std::vector<BucketBeginning> beginnings = BeginningsOf(words);
    const auto count = static_cast<std::int64_t>(beginnings.size());
    budget_.ChargeSteps(count * count * kBucketStepsPerPair);
    std::array<double, 256> frequencies{};
    for (std::size_t c = 0; c < 256; ++c)
      frequencies[c] = (kByteFrequency[c] + 0.5) / 100'000;
    return MakeBuckets(beginnings, *lookup, frequencies, kCorrelation);
  }

  /// What `words`, which are sorted, begin with. If there are many, words that have as much in common as makes them
  /// few are taken together.
  std::vector<BucketBeginning> BeginningsOf(std::span<const std::string_view> words) {
    const auto areAlike = [](std::size_t length) {
      return [length](auto a, auto b) { return a.substr(0, length) == b.substr(0, length); };
    };
    std::size_t common = BucketTable::kMostBytes;
    for (; common > 1; --common) {
      std::size_t count = 1;
      for (std::size_t i = 1; i < words.size(); ++i)
        count += areAlike(common)(words[i - 1], words[i]) ? 0 : 1;
      if (count <= kMostBucketWords) break;
    }
    budget_.ChargeSteps(static_cast<std::int64_t>(words.size()) * kSortStepsPerWord);
    std::vector<BucketBeginning> beginnings;
    for (std::size_t i = 0; i < words.size(); ++i) {
      if (i == 0 || !areAlike(common)(words[i - 1], words[i])) beginnings.emplace_back();
      AddTo(beginnings.back(), words[i]);
    }
    return beginnings;
  }

  void AddTo(BucketBeginning& beginning, std::string_view word) const {
    for (std::size_t i = 0; i < beginning.size(); ++i) {
      if (i < word.size()) {
        beginning[i] |= list_.bytesOf[static_cast<Byte>(word[i])];
      } else {
        beginning[i].set();
      }
    }
  }

  /// What the bytes of a class are looked up as after a beginning.
  CharSet LookedUpAs(Byte number) const {
    if (!scan_.translates_) return list_.bytesOf[number];
    return CharSet().set(static_cast<Byte>(values_[number][0]));
  }

  /// The best windows for these words.
  Choice ChooseWindows(std::size_t from, std::size_t to) const {
    std::size_t shortest = from;
    while (counts_[shortest] == 0)
      ++shortest;
    std::size_t count = 0;
    for (std::size_t length = shortest; length < to; ++length)
      count += counts_[length];
    Choice best;
    for (std::size_t stride = 1; stride <= kMostStride; ++stride) {
      for (const std::size_t most : {kLongestWindow, std::size_t{4}}) {
        const std::size_t length = std::min(WindowLength(shortest, stride), most);
        if (length == 0) continue;
        double rate = FillOf(count * stride);
        for (std::size_t one = shortest; one < to; ++one) {
          for (std::size_t offset = 0; offset < stride; ++offset)
            rate += rates_[one][offset][length];
        }
        rate = std::min(1.0, rate);
        const double perByte = CostOfWindow(length, rate) / static_cast<double>(stride);
        if (perByte < best.cost) best = {stride, length, perByte, std::nullopt};
      }
    }
    return best;
  }

  double CostOfWindow(std::size_t length, double rate) const {
    if (hasOffsets_) return kCostOfOffset + rate * kCostOfOffsetHit;
    return (length > 4 ? kCostOfLongWindow : kCostOfWindow) + rate * kCostOfHit;
  }

  /// The longest window with this stride of which all can lie within so many bytes of a word; 0: none.
  std::size_t WindowLength(std::size_t shortest, std::size_t stride) const {
    if (shortest < stride) return 0;
    constexpr std::array<std::size_t, kMostStride + 1> kMost = {0, 8, 8, 7, 4};
    return std::min(shortest - stride + 1, hasOffsets_ ? kLongestWindow : kMost[stride]);
  }

  int TableBits(std::size_t entries) const {
    if (hasOffsets_) return std::clamp(BitsFor(entries) + kOffsetBits, 8, 18);
    return std::clamp(BitsFor(entries) + 6, 10, 20);
  }
  double FillOf(std::size_t entries) const {
    return static_cast<double>(entries) / std::exp2(TableBits(entries));
  }

  /// Parts the lengths into groups, the longest first.
  std::vector<Lengths> ChooseGroups() {
    std::vector<Lengths> best;
    double bestCost = std::numeric_limits<double>::infinity();
    for (unsigned cuts = 0; cuts < 1U << kWordCuts.size(); ++cuts) {
      std::vector<Lengths> groups;
      double cost = 0;
      std::size_t to = kLongLength + 1;
      for (std::size_t i = kWordCuts.size() + 1; i-- > 0;) {
        const bool isCut = i == 0 || (cuts >> (i - 1) & 1) != 0;
        if (!isCut) continue;
        const std::size_t from = i == 0 ? 1 : kWordCuts[i - 1];
        const bool hasWords = std::any_of(counts_.begin() + static_cast<std::ptrdiff_t>(from),
                                          counts_.begin() + static_cast<std::ptrdiff_t>(to),
                                          [](std::size_t count) { return count > 0; });
        if (hasWords) {
          groups.emplace_back(from, to);
          cost += ChooseLookup(from, to).cost;
        }
        to = from;
      }
      if (cost < bestCost) {
        bestCost = cost;
        best = std::move(groups);
      }
    }
    scan_.cost_ = bestCost;
    return best;
  }

  /// Adds the group of the words of the lengths [from, to).
  bool AddGroup(std::size_t from, std::size_t to) {
    std::vector<std::string_view> words;
    WordScan::Group group;
    group.shortest = SIZE_MAX;
    for (const std::string_view word : words_) {
      const std::size_t length = std::min(word.size(), kLongLength);
      if (length < from || length >= to) continue;
      words.push_back(word);
      group.shortest = std::min(group.shortest, word.size());
    }
    const Choice choice = ChooseLookup(from, to);
    if (choice.buckets) {
      group.buckets = *choice.buckets;
      group.findInBuckets = ChooseBucketScan(group.buckets);
      group.testInBuckets = ChooseBucketTest(group.buckets);
    } else if (!(hasOffsets_ ? AddOffsets(words, choice, group)
                             : AddWindows(words, choice, group))) {
      return false;
    }
    group.stride = choice.stride;
    if (!AddRoots(words, group)) return false;
    group.findWindows = ChooseWindowScan(group.windows);
    group.testWindows = ChooseWindowTest(group.windows);
    group.findBeginnings = ChooseBeginningScan(group.beginnings);
    scan_.groups_.push_back(std::move(group));
    return true;
  }

  /// Calls `take` with all values that `classes` are looked up as. False where they are too many.
  template <typename Take>
  bool ForEachValue(std::string_view classes, const Take& take) {
    std::size_t variants = 1;
    for (const char number : classes) {
      variants *= values_[static_cast<Byte>(number)].size();
      if (variants > kMostVariants) return false;
    }
    made_ += variants;
    if (made_ > kMaxWindows) return false;
    budget_.ChargeSteps(static_cast<std::int64_t>(4 * variants));
    for (std::size_t variant = 0; variant < variants; ++variant) {
      std::array<char, kLongestWindow> bytes{};
      std::size_t rest = variant;
      for (std::size_t i = 0; i < classes.size(); ++i) {
        const std::string& values = values_[static_cast<Byte>(classes[i])];
        bytes[i] = values[rest % values.size()];
        rest /= values.size();
      }
      take(bytes);
    }
    return true;
  }

  std::array<char, kLongestWindow> MaskOf(std::size_t length) const {
    std::array<char, kLongestWindow> mask{};
    std::fill_n(mask.begin(), length, static_cast<char>(byteMask_));
    return mask;
  }

  bool AddWindows(const std::vector<std::string_view>& words, const Choice& choice,
                  WordScan::Group& group) {
    WindowTable& table = group.windows;
    table.stride = choice.stride;
    table.length = choice.length;
    table.mask = std::bit_cast<Window>(MaskOf(choice.length));
    const std::size_t entries = words.size() * choice.stride;
    const int bits = TableBits(entries);
    table.shift = 32 - bits;
    budget_.ChargeBytes((std::int64_t{1} << bits) / 8);
    table.bits.assign(std::size_t{1} << (bits - 5), 0);
    return ForEachWindow(words, choice, [&](const auto& bytes, std::size_t /*offset*/) {
      table.Add(std::bit_cast<Window>(bytes));
    });
  }

  bool AddOffsets(const std::vector<std::string_view>& words, const Choice& choice,
                  WordScan::Group& group) {
    OffsetTable& table = group.offsets;
    group.hasOffsets = true;
    table.stride = choice.stride;
    table.mask = (byteMask_ * kEachByte) >> (8 * (sizeof table.mask - choice.length));
    const int bits = TableBits(words.size() * choice.stride);
    table.shift = 64 - bits;
    budget_.ChargeBytes(std::int64_t{1} << bits);
    table.places.assign(std::size_t{1} << bits, 0);
    return ForEachWindow(words, choice, [&](const auto& bytes, std::size_t offset) {
      table.Add(EightBytes(reinterpret_cast<const Byte*>(bytes.data())), offset);
    });
  }

  /// Calls `take` with all values of the windows of `words`, and where in a word they stand. False where these are too
  /// many.
  template <typename Take>
  bool ForEachWindow(const std::vector<std::string_view>& words, const Choice& choice,
                     const Take& take) {
    for (const std::string_view word : words) {
      for (std::size_t offset = 0; offset < choice.stride; ++offset) {
        const bool fits = ForEachValue(word.substr(offset, choice.length),
                                       [&](const auto& bytes) { take(bytes, offset); });
        if (!fits) return false;
      }
    }
    return true;
  }

  /// Makes a tree of all words that begin with the same classes, and finds it by all values of these.
  bool AddRoots(const std::vector<std::string_view>& words, WordScan::Group& group) {
    FollowerTable& table = group.beginnings;
    table.length = std::min(group.shortest, FollowerTable::kMostBytes);
    table.mask = (byteMask_ * kEachByte) >> (8 * (sizeof table.mask - table.length));
    const int bits = std::clamp(BitsFor(words.size()) + 1, 8, 17);
    table.shift = 32 - bits;
    budget_.ChargeBytes(std::int64_t{4} << bits);
    table.followers.assign(std::size_t{1} << bits, 0);
    std::vector<RootTable::Entry> entries;
    for (std::size_t begin = 0; begin < words.size();) {
      const std::string_view prefix = words[begin].substr(0, table.length);
      std::size_t end = begin + 1;
      while (end < words.size() && words[end].substr(0, table.length) == prefix)
        ++end;
      const auto alike = std::span(words).subspan(begin, end - begin);
      const std::uint32_t followers = FollowersOf(alike, table.length);
      const std::vector<RootTable::Entry> trees = AddTrees(alike, table.length);
      const bool fits = ForEachValue(prefix, [&](const auto& bytes) {
        const auto* const first = reinterpret_cast<const Byte*>(bytes.data());
        const std::uint32_t hash = table.HashOf(EightBytes(first));
        table.followers[hash >> table.shift] |= followers;
        for (RootTable::Entry entry : trees) {
          entry.hash = hash;
          entries.push_back(entry);
        }
      });
      if (!fits) return false;
      begin = end;
    }
    budget_.ChargeBytes(static_cast<std::int64_t>(RootTable::BytesFor(entries.size())));
    group.roots.Fill(entries);
    return true;
  }

  /// Makes trees of `words`, which are sorted and have their first `length` bytes in common: a few of those
  /// that have the next bytes in common, too, or else a single one.
  std::vector<RootTable::Entry> AddTrees(std::span<const std::string_view> words,
                                         std::size_t length) {
    std::vector<std::size_t> ends;
    for (std::size_t i = 1; i <= words.size(); ++i) {
      const std::size_t most = length + RootTable::kMostTailBytes;
      if (i == words.size() || words[i].substr(0, most) != words[i - 1].substr(0, most))
        ends.push_back(i);
    }
    if (ends.size() > kMostTreesOfBeginning) ends.assign(1, words.size());
    std::vector<RootTable::Entry> trees;
    std::size_t begin = 0;
    for (const std::size_t end : ends) {
      const auto alike = words.subspan(begin, end - begin);
      trees.push_back({0, scan_.words_.Add(alike), TailOf(alike, length)});
      begin = end;
    }
    return trees;
  }

  /// What all of `words`, which are sorted, have after their first `length` bytes, as a RootTable keeps it.
  std::uint64_t TailOf(std::span<const std::string_view> words, std::size_t length) const {
    std::uint64_t tail = 0;
    std::size_t size = 0;
    for (; size < RootTable::kMostTailBytes; ++size) {
      const std::size_t offset = length + size;
      if (words.front().size() == offset || words.back().size() == offset) break;
      if (words.front()[offset] != words.back()[offset]) break;
      const std::string& values = values_[static_cast<Byte>(words.front()[offset])];
      if (values.size() != 1) break;
      tail |= std::uint64_t{static_cast<Byte>(values[0])} << (8 * size);
    }
    return tail | std::uint64_t{size} << (8 * RootTable::kMostTailBytes);
  }

  /// The kinds of bytes that stand after the first `length` bytes of `words`; all of them, if one of the words
  /// ends there.
  std::uint32_t FollowersOf(std::span<const std::string_view> words, std::size_t length) const {
    std::uint32_t followers = 0;
    for (const std::string_view word : words) {
      if (word.size() == length) return ~std::uint32_t{0};
      const CharSet bytes = LookedUpAs(static_cast<Byte>(word[length]));
      for (std::size_t c = bytes._Find_first(); c < bytes.size(); c = bytes._Find_next(c))
        followers |= std::uint32_t{1} << (c % FollowerTable::kFollowers);
    }
    return followers;
  }

  static constexpr std::uint64_t kEachByte = 0x0101010101010101U;
  /// The bit in which the two cases of nearly all letters differ.
  static constexpr Byte kCaseBit = 0x20;

  const WordList& list_;
  CompileBudget& budget_;
  WordScan scan_;
  std::vector<std::string_view> words_;         // sorted
  Byte byteMask_ = 0xFF;                        // what counts of a byte that is looked up
  std::vector<std::string> values_;             // by class: its bytes as they are looked up
  std::vector<double> frequencies_;             // by class: how often these come, of one
  std::array<Rates, kLongLength + 1> rates_{};  // by length of a word
  std::array<std::size_t, kLongLength + 1> counts_{};
  /// By the length that is too long for them, once they were asked for.
  std::array<std::optional<std::optional<Buckets>>, kLongLength + 2> buckets_;
  std::size_t made_ = 0;
  const bool hasOffsets_;  // set if windows are looked up with their offsets
};

std::optional<WordScan> WordScan::Make(const WordList& list, bool mayTranslate,
                                       CompileBudget& budget, bool gathers) {
  std::optional<WordScan> scan = WordScanMaker(list, false, gathers, budget).Make();
  if (!scan && mayTranslate) scan = WordScanMaker(list, true, gathers, budget).Make();
  return scan;
}

std::optional<WordScan> MakeWordScan(const SyntaxTree& tree, bool words, CompileBudget& budget) {
  std::optional<WordList> list = ReadWordList(tree, budget);
  if (!list || list->Count() < kFewestListedWords) return std::nullopt;
  if (words) {
    list->starts = static_cast<Neighbours>(list->starts & kNoLetterBefore);
    list->stops = static_cast<Neighbours>(list->stops & kNoLetterAfter);
  }
  CompileBudget part = budget.Part(kMaxWordListSteps, kMaxWordListBytes);
  std::optional<WordScan> scan;
  try {
    // Where large classes stand in rows, as in numbers, they are better read as these.
    scan = WordScan::Make(*list, RunsOf(tree).empty(), part);
  } catch (const BudgetExhausted&) {
    scan.reset();
  }
  budget.Settle(part);
  if (!scan) return std::nullopt;
  // Where sets of many bytes stand in them, a few words are many.
  const std::optional<FewWords> few = FewWords::For(tree, words, budget);
  if (few && few->CostOfByte() < scan->CostOfByte()) return std::nullopt;
  return scan;
}

void WordScan::MarkStarts(const Byte* from, std::size_t size, const Byte* textEnd,
                          std::uint64_t* marks, std::uint32_t* hits) const {
  if (!translates_ || areAllInBuckets_) return MarkIn(from, size, textEnd, marks, hits);
  std::array<Byte, kLargestWordStretch + kLookedAt> copy;
  const std::size_t copied = std::min(size + kLookedAt, static_cast<std::size_t>(textEnd - from));
  Translate(from, copied, copy.data());
  MarkIn(copy.data(), size, copy.data() + copied, marks, hits);
}

/// The text may be cut off kLookedAt bytes after what is looked at.
void WordScan::MarkIn(const Byte* from, std::size_t size, const Byte* textEnd, std::uint64_t* marks,
                      std::uint32_t* hits) const {
  if (size == 64 && textEnd - from <= 64) {
    *marks = MarkInShort(from, textEnd);
    return;
  }
  std::fill_n(marks, size / 64, 0);
  const auto textSize = static_cast<std::size_t>(textEnd - from);
  for (const Group& group : groups_) {
    const std::size_t stride = group.stride;
    const std::size_t shortest = std::min(group.shortest, kLookedAt);
    if (textSize < shortest) continue;
    // A word that starts at one of the places up to a window holds that window, if it is no further away than
    // the stride. Behind the last place with room for a word there is none.
    const std::size_t windows =
        DividedByStride(std::min(size, textSize - shortest + stride), stride);
    if (group.hasOffsets) {
      MarkByOffsets(group, from, windows, textEnd, marks, hits);
      continue;
    }
    const std::size_t count =
        group.findInBuckets != nullptr
            ? group.findInBuckets(group.buckets, from, windows, textEnd, hits)
            : group.findWindows(group.windows, from + (stride - 1), windows, textEnd, hits);
    std::size_t done = 0;
    // Eight bytes can be read at all places near a hit, but for those near the end.
    const auto isInside = [&](std::size_t last) {
      return hits[last] + stride - 1 + sizeof(std::uint64_t) <= textSize;
    };
    const bool isAsLookedUp = !translates_ || !areAllInBuckets_;
    while (isAsLookedUp && count - done >= kFewHits) {
      const std::size_t some = std::min(count - done, Beginnings::kMostHits);
      if (!isInside(done + some - 1)) break;
      MarkNear(group, from, {hits + done, some}, textEnd, marks);
      done += some;
    }
    MarkOneByOne(group, from, {hits + done, count - done}, textEnd, marks);
  }
}

/// Marks the places at which a word could start that has one of `count` windows.
void WordScan::MarkByOffsets(const Group& group, const Byte* from, std::size_t count,
                             const Byte* textEnd, std::uint64_t* marks, std::uint32_t* hits) const {
  const std::size_t found = FindOffsets(group.offsets, from, count, textEnd, hits);
  const auto textSize = static_cast<std::size_t>(textEnd - from);
  // Eight bytes can be read at all places of a hit, but for those near the end.
  const auto isInside = [&](std::uint32_t hit) {
    return OffsetHit::PlaceOf(hit) + group.stride - 1 + sizeof(std::uint64_t) <= textSize;
  };
  std::size_t inside = found;
  while (inside > 0 && !isInside(hits[inside - 1]))
    --inside;
  std::size_t done = 0;
  while (inside - done >= kFewHits) {
    const std::size_t some = std::min(inside - done, Beginnings::kMostHits);
    Beginnings beginnings;
    FindBeginningsOf(group.beginnings, from, {hits + done, some}, group.stride, beginnings);
    MarkFound(group, from, beginnings, textEnd, marks);
    done += some;
  }
  MarkHits(group, from, {hits + done, found - done}, textEnd, marks);
}

/// The same for windows that the table has, where there are a few, or where the text ends.
void WordScan::MarkHits(const Group& group, const Byte* from, std::span<const std::uint32_t> hits,
                        const Byte* textEnd, std::uint64_t* marks) const {
  for (const std::uint32_t hit : hits) {
    for (unsigned places = OffsetHit::PlacesOf(hit); places != 0; places &= places - 1) {
      const std::size_t place =
          OffsetHit::PlaceOf(hit) + static_cast<std::size_t>(std::countr_zero(places));
      if (from + place >= textEnd) break;
      const std::uint64_t may = MayStandAt(group, from + place, from, textEnd) ? 1 : 0;
      marks[place / 64] |= may << (place % 64);
    }
  }
}

/// The marks of up to 64 bytes. The tables of all groups are asked before anything depends on what they say: a
/// processor that does not foresee it then waits for them once.
std::uint64_t WordScan::MarkInShort(const Byte* from, const Byte* textEnd) const {
  const auto size = static_cast<std::size_t>(textEnd - from);
  std::array<std::uint64_t, kMostGroups> hits;
  std::uint64_t any = 0;
  std::uint64_t marks = 0;
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    const Group& group = groups_[i];
    const std::size_t stride = group.stride;
    const std::size_t shortest = std::min(group.shortest, kLookedAt);
    hits[i] = 0;
    if (size < shortest) continue;
    const std::size_t windows = DividedByStride(size - shortest + stride, stride);
    if (group.hasOffsets) {
      std::array<std::uint32_t, 64 + 1> found;
      const std::size_t count = FindOffsets(group.offsets, from, windows, textEnd, found.data());
      MarkHits(group, from, {found.data(), count}, textEnd, &marks);
      continue;
    }
    hits[i] = group.testInBuckets != nullptr
                  ? group.testInBuckets(group.buckets, from, windows, textEnd)
                  : group.testWindows(group.windows, from + (stride - 1), windows, textEnd);
    any |= hits[i];
  }
  for (std::size_t i = 0; any != 0 && i < groups_.size(); ++i) {
    const Group& group = groups_[i];
    const std::size_t stride = group.stride;
    const std::size_t shortest = std::min(group.shortest, kLookedAt);
    for (std::uint64_t bits = hits[i]; bits != 0; bits &= bits - 1) {
      const std::size_t hit = static_cast<std::size_t>(std::countr_zero(bits)) * stride;
      const std::size_t last = std::min(hit + stride, size - shortest + 1);
      for (std::size_t place = hit; place < last; ++place) {
        const bool may = MayStandAt(group, from + place, from, textEnd);
        marks |= std::uint64_t{may} << place;
      }
    }
  }
  return marks;
}

/// Whether a word of `group` may start at `place`.
inline bool WordScan::MayStandAt(const Group& group, const Byte* place, const Byte* begin,
                                 const Byte* textEnd) const {
  std::uint32_t root = 0;
  if (translates_ && areAllInBuckets_) {
    const Start start = StartAt(group, place, textEnd);
    return group.roots.Has(start.hash, start.tail, root);
  }
  const std::uint64_t bytes = EightBytes(place, begin, textEnd);
  const std::uint32_t hash = group.beginnings.HashOf(bytes);
  if (!group.beginnings.MayBegin(bytes, hash)) return false;
  return group.roots.Has(hash, TailAt(group, place, begin, textEnd), root);
}

/// Marks the places from each of `hits` on at which a word could start that has the window at the last of them.
void WordScan::MarkNear(const Group& group, const Byte* from, std::span<const std::uint32_t> hits,
                        const Byte* textEnd, std::uint64_t* marks) const {
  Beginnings found;
  group.findBeginnings(group.beginnings, from, hits, group.stride, found);
  MarkFound(group, from, found, textEnd, marks);
}

/// Marks those of the places at which a word may begin where a word may stand.
void WordScan::MarkFound(const Group& group, const Byte* from, const Beginnings& found,
                         const Byte* textEnd, std::uint64_t* marks) const {
  for (std::size_t i = 0; i < found.count; ++i)
    group.roots.Prefetch(found.hashes[i]);
  for (std::size_t i = 0; i < found.count; ++i) {
    const std::uint32_t place = found.places[i];
    const std::uint64_t tail = TailAt(group, from + place, from, textEnd);
    std::uint32_t root = 0;
    const std::uint64_t may = group.roots.Has(found.hashes[i], tail, root) ? 1 : 0;
    words_.Prefetch(root);
    marks[place / 64] |= may << (place % 64);
  }
}

/// The same where there are a few, or where the text ends.
void WordScan::MarkOneByOne(const Group& group, const Byte* from,
                            std::span<const std::uint32_t> hits, const Byte* textEnd,
                            std::uint64_t* marks) const {
  const auto textSize = static_cast<std::size_t>(textEnd - from);
  for (const std::uint32_t hit : hits) {
    const std::size_t shortest = std::min(group.shortest, kLookedAt);
    const std::size_t last = std::min(hit + group.stride, textSize - shortest + 1);
    for (std::size_t place = hit; place < last; ++place) {
      const std::uint64_t may = MayStandAt(group, from + place, from, textEnd) ? 1 : 0;
      marks[place / 64] |= may << (place % 64);
    }
  }
}

void WordPlaces::Scan(const Byte* from, const Byte* textEnd) {
  begin_ = from;
  textEnd_ = textEnd;
  size_ = nextSize_;
  nextSize_ = std::min(2 * nextSize_, kLargestWordStretch);
  scan_.MarkStarts(from, size_, textEnd, marks_.data(), hits_.data());
}

}  // namespace trovex
