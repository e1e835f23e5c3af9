#include "matcher/words/few_words.h"

#include "matcher/costs.h"
#include "matcher/limits.h"
#include "matcher/pattern/run_pattern.h"
#include "matcher/runs/byte_words.h"
#include "matcher/scan/place_scan.h"
#include "matcher/tuning.h"
#include "matcher/words/list_in_pattern.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <string_view>

namespace trovex {

namespace {

/// Trees of more nodes are not even read for it.
constexpr std::size_t kMostNodes = 1'000;

/// Whether the words are a few, and to compare them takes no longer than it may: sets are looked at one by one.
bool AreFew(const WordList& list) {
  const auto isByte = [&](char number) {
    return MaskedByteOf(list.bytesOf[static_cast<unsigned char>(number)]).has_value();
  };
  for (std::size_t i = 0; i < list.Count(); ++i) {
    const std::string_view word = list.Word(i);
    if (word.size() > kLongestSearched && !std::all_of(word.begin(), word.end(), isByte))
      return false;
  }
  return list.Count() >= 2 && list.Count() <= FewWords::kMostWords;
}

/// At how many of 100,000 places the leading bytes of one of the words are to be expected.
double LeadingRate(const WordList& list) {
  std::size_t length = kLeadingBytes;
  for (std::size_t i = 0; i < list.Count(); ++i)
    length = std::min(length, list.Word(i).size());
  std::vector<std::vector<CharSet>> beginnings;
  for (std::size_t i = 0; i < list.Count(); ++i) {
    std::vector<CharSet>& sets = beginnings.emplace_back();
    for (const char number : list.Word(i).substr(0, length))
      sets.push_back(list.bytesOf[static_cast<unsigned char>(number)]);
  }
  double rate = 0;
  for (const Probes& probes : ChooseProbesForAlternatives(beginnings))
    rate += RateInClusters(probes);
  return rate;
}

}  // namespace

std::optional<FewWords> FewWords::For(const SyntaxTree& tree, bool words, CompileBudget& budget) {
  if (tree.nodes.size() > kMostNodes) return std::nullopt;
  std::optional<WordList> list = ReadWordList(tree, budget, WordSets::kWhole);
  if (!list) return words ? std::nullopt : BeforeRun(tree, budget);
  if (!AreFew(*list)) return std::nullopt;
  if (words) {
    list->starts = static_cast<Neighbours>(list->starts & kNoLetterBefore);
    list->stops = static_cast<Neighbours>(list->stops & kNoLetterAfter);
  }
  return FewWords(*list);
}

/// The words that `tree` begins with, and the run that is the rest of it.
std::optional<FewWords> FewWords::BeforeRun(const SyntaxTree& tree, CompileBudget& budget) {
  const auto hasAnchors = [](const SyntaxTree& part) {
    return std::any_of(part.nodes.begin(), part.nodes.end(),
                       [](const SyntaxNode& node) { return node.kind == SyntaxKind::kAnchor; });
  };
  CompileBudget part = budget.Part(kMaxWordListSteps, kMaxWordListBytes);
  std::optional<FewWords> few;
  try {
    const std::optional<ListInPattern> found = FindWordsInFront(tree, kMostWords, part);
    if (found && AreFew(found->list) && found->list.stops == kAnyNeighbours &&
        !hasAnchors(*found->after)) {
      const std::vector<Run> runs = RunsOf(*found->after);
      // No more than so many bytes of it are read in vain at each place.
      if (runs.size() == 1 && runs[0].least <= kMostTailBytes) {
        few = FewWords(found->list);
        few->run_.emplace(runs);
        few->inRun_ = MembersOf(runs[0].bytes);
      }
    }
  } catch (const BudgetExhausted&) {
    few.reset();
  }
  budget.Settle(part);
  return few;
}

FewWords::FewWords(const WordList& list) : starts_(list.starts), stops_(list.stops) {
  const double rate = LeadingRate(list);
  cost_ = rate < kWorthwhileLead ? kCostOfScannedByte + rate / 100'000 * kCostOfBeginning
                                 : std::numeric_limits<double>::infinity();
  std::vector<std::string_view> words;
  for (std::size_t i = 0; i < list.Count(); ++i)
    words.push_back(list.Word(i));
  std::stable_sort(words.begin(), words.end(),
                   [](std::string_view a, std::string_view b) { return a.size() > b.size(); });
  for (const std::string_view word : words)
    Add(word, list.bytesOf);
}

void FewWords::Add(std::string_view word, const std::vector<CharSet>& sets) {
  constexpr std::size_t kAtOnce = sizeof(std::uint64_t);
  std::vector<Piece> pieces((word.size() + kAtOnce - 1) / kAtOnce);
  for (std::size_t i = 0; i < word.size(); ++i) {
    const CharSet& set = sets[static_cast<Byte>(word[i])];
    const MaskedByte byte = MaskedByteAround(set);
    if (!MaskedByteOf(set)) sets_[count_].push_back({i, tables_.NumberOf(set)});
    const std::size_t shift = 8 * (i % kAtOnce);
    pieces[i / kAtOnce].mask |= std::uint64_t{byte.mask} << shift;
    pieces[i / kAtOnce].value |= std::uint64_t{byte.value} << shift;
  }
  masks_[count_] = pieces.front().mask;
  values_[count_] = pieces.front().value;
  lengths_[count_] = word.size();
  rests_[count_].assign(pieces.begin() + 1, pieces.end());
  if (rests_[count_].empty() && sets_[count_].empty()) told_ |= 1U << count_;
  ++count_;
}

bool FewWords::GoesOnAt(std::size_t number, const Byte* place, const Byte* begin,
                        const Byte* end) const {
  for (const SetAt& set : sets_[number]) {
    if (!tables_[set.table][place[set.offset]]) return false;
  }
  for (const Piece& piece : rests_[number]) {
    place += sizeof(std::uint64_t);
    if ((EightBytes(place, begin, end) & piece.mask) != piece.value) return false;
  }
  return true;
}

std::size_t FewWords::LongestWithRun(unsigned standing, const Byte* place, const Byte* begin,
                                     const Byte* end) const {
  std::size_t longest = 0;
  for (; standing != 0; standing &= standing - 1) {
    const auto number = static_cast<std::size_t>(std::countr_zero(standing));
    if (!StandsAt(number, place, begin, end)) continue;
    const Byte* const word = place + lengths_[number];
    if (word == end || !inRun_[*word]) continue;
    RunScan::Notes notes;
    const Byte* const stop = run_->EndOfMatch(word, begin, end, notes);
    if (stop != nullptr) longest = std::max(longest, static_cast<std::size_t>(stop - place));
  }
  return longest;
}

}  // namespace trovex
