// Choosing groups and windows, and making their tables.

#include "matcher/words/word_scan.h"

#include "matcher/costs.h"
#include "matcher/limits.h"
#include "matcher/scan/byte_frequency.h"
#include "matcher/tuning.h"

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

/// So many bytes after a start are looked at.
constexpr std::size_t kRoom = kLongestWindow + 1;

/// The longest window with this stride of which all can lie within so many bytes of a word; 0: none.
std::size_t WindowLength(std::size_t shortest, std::size_t stride) {
  if (shortest < stride) return 0;
  constexpr std::array<std::size_t, kMostStride + 1> kMost = {0, 8, 8, 7, 4};
  return std::min(shortest - stride + 1, kMost[stride]);
}

int BitsFor(std::size_t entries) {
  return static_cast<int>(std::bit_width(std::max<std::size_t>(entries, 1) - 1));
}

struct Choice {
  std::size_t stride = 1;
  std::size_t length = 1;
  double cost = std::numeric_limits<double>::infinity();
};

/// How often windows of words of one length come in a text, by offset in the word and length.
using Rates = std::array<std::array<double, kLongestWindow + 1>, kMostStride>;

}  // namespace

class WordScanMaker {
 public:
  WordScanMaker(const WordList& list, CompileBudget& budget)
      : list_(list), budget_(budget), scan_(list) {}

  std::optional<WordScan> Make() {
    SortWords();
    ReadClasses();
    MeasureRates();
    // Groups of the lengths from one of these to the next.
    for (const auto& [from, to] : ChooseGroups()) {
      if (!AddGroup(from, to)) return std::nullopt;
    }
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
    for (const std::string_view word : words_)
      scan_.longest_ = std::max(scan_.longest_, word.size());
  }

  /// Notes of each class the bytes that its bytes are looked up as, and how often these come.
  void ReadClasses() {
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

  /// The best windows for the words of the lengths [from, to), which are some.
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
        const double cost = length > 4 ? kCostOfLongWindow : kCostOfWindow;
        const double perByte = (cost + rate * kCostOfHit) / static_cast<double>(stride);
        if (perByte < best.cost) best = {stride, length, perByte};
      }
    }
    return best;
  }

  static int TableBits(std::size_t entries) { return std::clamp(BitsFor(entries) + 6, 10, 20); }
  static double FillOf(std::size_t entries) {
    return static_cast<double>(entries) / std::exp2(TableBits(entries));
  }

  /// Parts the lengths into groups, the longest first.
  std::vector<Lengths> ChooseGroups() const {
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
          cost += ChooseWindows(from, to).cost;
        }
        to = from;
      }
      if (cost < bestCost) {
        bestCost = cost;
        best = std::move(groups);
      }
    }
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
    const Choice choice = ChooseWindows(from, to);
    if (!AddWindows(words, choice, group) || !AddRoots(words, group)) return false;
    group.find = ChooseWindowScan(group.windows);
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
    for (const std::string_view word : words) {
      for (std::size_t offset = 0; offset < choice.stride; ++offset) {
        const bool fits = ForEachValue(word.substr(offset, choice.length), [&](const auto& bytes) {
          table.Add(std::bit_cast<Window>(bytes));
        });
        if (!fits) return false;
      }
    }
    return true;
  }

  /// Makes a tree of all words that begin with the same classes, and finds it by all values of these.
  bool AddRoots(const std::vector<std::string_view>& words, WordScan::Group& group) {
    const std::size_t length = std::min(group.shortest, kLongestWindow);
    group.keyLength = length;
    group.keyMask = std::bit_cast<std::uint64_t>(MaskOf(length));
    const int keyBits = std::clamp(BitsFor(words.size()) + 3, 8, 17);
    group.keyShift = 64 - keyBits;
    budget_.ChargeBytes(std::int64_t{4} << keyBits);
    group.followers.assign(std::size_t{1} << keyBits, 0);
    std::vector<WordScan::Slot> slots;
    for (std::size_t begin = 0; begin < words.size();) {
      const std::string_view prefix = words[begin].substr(0, length);
      std::size_t end = begin + 1;
      while (end < words.size() && words[end].substr(0, length) == prefix)
        ++end;
      const std::uint32_t root = scan_.words_.Add(std::span(words).subspan(begin, end - begin));
      const std::uint32_t followers =
          FollowersOf(std::span(words).subspan(begin, end - begin), length);
      const bool fits = ForEachValue(prefix, [&](const auto& bytes) {
        slots.push_back({std::bit_cast<std::uint64_t>(bytes), root});
        group.followers[group.KeyHash(slots.back().key)] |= followers;
      });
      if (!fits) return false;
      begin = end;
    }
    const int bits = std::max(BitsFor(slots.size()) + 1, 3);
    budget_.ChargeBytes(static_cast<std::int64_t>(sizeof(WordScan::Slot)) << bits);
    group.slotShift = 64 - bits;
    group.slots.resize(std::size_t{1} << bits);
    for (const WordScan::Slot& added : slots) {
      std::size_t slot = group.SlotOf(added.key);
      while (group.slots[slot].root != WordScan::kNoRoot)
        slot = (slot + 1) & (group.slots.size() - 1);
      group.slots[slot] = added;
    }
    return true;
  }

  /// The kinds of bytes that stand after the first `length` bytes of `words`; all of them, if one of the words
  /// ends there.
  std::uint32_t FollowersOf(std::span<const std::string_view> words, std::size_t length) const {
    std::uint32_t followers = 0;
    for (const std::string_view word : words) {
      if (word.size() == length) return ~std::uint32_t{0};
      const CharSet& bytes = list_.bytesOf[static_cast<Byte>(word[length])];
      for (std::size_t c = bytes._Find_first(); c < bytes.size(); c = bytes._Find_next(c))
        followers |= std::uint32_t{1} << (c % WordScan::kFollowers);
    }
    return followers;
  }

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
  std::size_t made_ = 0;
};

std::optional<WordScan> WordScan::Make(const WordList& list, CompileBudget& budget) {
  return WordScanMaker(list, budget).Make();
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
    scan = WordScan::Make(*list, part);
  } catch (const BudgetExhausted&) {
    scan.reset();
  }
  budget.Settle(part);
  return scan;
}

void WordScan::MarkStarts(const Byte* from, std::size_t size, const Byte* textEnd,
                          std::uint64_t* marks, std::uint32_t* hits) const {
  std::fill_n(marks, size / 64, 0);
  const auto textSize = static_cast<std::size_t>(textEnd - from);
  for (const Group& group : groups_) {
    const std::size_t stride = group.windows.stride;
    if (textSize < group.shortest) continue;
    // A word that starts at one of the places up to a window holds that window, if it is no further away than
    // the stride.
    const std::size_t count =
        group.find(group.windows, from + (stride - 1), size / stride, textEnd, hits);
    const bool isInside = textSize >= size + kRoom;
    for (std::size_t i = 0; i < count; ++i) {
      if (isInside) {
        Mark<true>(group, from, hits[i], textEnd, marks);
      } else {
        Mark<false>(group, from, hits[i], textEnd, marks);
      }
    }
  }
}

/// Marks the places from `first` on at which a word could start that has the window at the last of them. What
/// is read lies inside of the text in any case, if `kIsInside`.
template <bool kIsInside>
void WordScan::Mark(const Group& group, const Byte* begin, std::size_t first, const Byte* textEnd,
                    std::uint64_t* marks) {
  std::uint64_t starts = 0;
  const Byte* place = begin + first;
  for (std::size_t i = 0; i < group.windows.stride; ++i, ++place) {
    const std::uint64_t key = KeyAt<kIsInside>(place, textEnd, group.keyMask);
    const bool hasFollower =
        kIsInside || static_cast<std::size_t>(textEnd - place) > group.keyLength;
    starts |= group.MayStand(key, hasFollower ? place[group.keyLength] : Byte{0}) << i;
  }
  for (; starts != 0; starts &= starts - 1) {
    const std::size_t start = first + static_cast<std::size_t>(std::countr_zero(starts));
    marks[start / 64] |= std::uint64_t{1} << (start % 64);
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
