#include "matcher/automata/line_search.h"

#include "matcher/limits.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace trovex {

namespace {

constexpr std::size_t kBits = 64;

}  // namespace

LineSearch::LineSearch(const PositionGraph& graph)
    : graph_(graph),
      simulation_(graph),
      scratch_(simulation_.Words()),
      current_(simulation_.Words()),
      following_(simulation_.Words()) {}

bool LineSearch::Prepare(const Byte* begin, const Byte* end, ByteKind before, bool refusesEnd) {
  const std::size_t words = simulation_.Words();
  begin_ = nullptr;
  length_ = static_cast<std::size_t>(end - begin);
  blockSize_ = std::max(kLeastBlock, static_cast<std::size_t>(std::sqrt(double(length_))));
  const std::size_t blocks = length_ / blockSize_ + 1;
  if ((blocks + blockSize_ + 1) * words > kMaxLineWords) return false;
  kept_.resize(blocks * words);
  block_.resize((blockSize_ + 1) * words);
  starts_.assign(length_ / kBits + 1, 0);
  hasBlock_ = false;
  end_ = end;
  before_ = before;
  refusesEnd_ = refusesEnd;
  begin_ = begin;

  Word* hopes = current_.data();
  Word* earlier = following_.data();
  const unsigned lastPair = NeighbourPair(KindBefore(length_), ByteKind::kNewline);
  if (refusesEnd) {
    std::fill_n(hopes, words, Word{0});
  } else {
    std::copy_n(simulation_.Ends(lastPair), words, hopes);
  }
  for (std::size_t place = length_;; --place) {
    if (place % blockSize_ == 0)
      std::copy_n(hopes, words, kept_.data() + place / blockSize_ * words);
    if (simulation_.HasStart(hopes)) starts_[place / kBits] |= std::uint64_t{1} << place % kBits;
    if (place == 0) return true;
    simulation_.StepBackwards(hopes, PairAt(place - 1, KindBefore(place - 1)), begin_[place - 1],
                              earlier);
    std::swap(hopes, earlier);
  }
}

LineSearch::Match LineSearch::Find(const Byte* place, ByteKind before, bool refusesEmpty) {
  const auto first = static_cast<std::size_t>(place - begin_);
  const Match here = MatchAt(first, before, refusesEmpty);
  if (here.start != nullptr) return here;
  const std::size_t start = NextStart(first + 1);
  return start > length_ ? Match{} : MatchAt(start, KindBefore(start), false);
}

/// The first place from `place` on at which a match starts; beyond the end if there is none.
std::size_t LineSearch::NextStart(std::size_t place) const {
  std::size_t word = place / kBits;
  if (word >= starts_.size()) return length_ + 1;
  std::uint64_t bits = starts_[word] & ~std::uint64_t{0} << place % kBits;
  while (bits == 0) {
    if (++word == starts_.size()) return length_ + 1;
    bits = starts_[word];
  }
  return word * kBits + static_cast<std::size_t>(std::countr_zero(bits));
}

/// The longest match that starts at `place`.
LineSearch::Match LineSearch::MatchAt(std::size_t place, ByteKind before, bool refusesEmpty) {
  const std::size_t words = simulation_.Words();
  Word* set = current_.data();
  Word* next = following_.data();
  const Byte* end = nullptr;
  simulation_.SetStart(set);
  for (std::size_t i = place;; ++i) {
    const unsigned pair = PairAt(i, i == place ? before : KindBefore(i));
    if (!(refusesEmpty && i == place) && EndsHere(set, i, pair)) end = begin_ + i;
    if (i == length_) break;
    simulation_.StepForwards(set, pair, begin_[i], next);
    const Word* const hopes = HopesAt(i + 1);
    Word any = 0;
    for (std::size_t w = 0; w < words; ++w)
      any |= next[w] &= hopes[w];
    if (any == 0) break;
    std::swap(set, next);
  }
  return end == nullptr ? Match{} : Match{begin_ + place, end};
}

bool LineSearch::EndsHere(const Word* set, std::size_t place, unsigned pair) const {
  if (refusesEnd_ && place == length_) return false;
  const Word* const ends = simulation_.Ends(pair);
  Word any = 0;
  for (std::size_t w = 0; w < simulation_.Words(); ++w)
    any |= set[w] & ends[w];
  return any != 0;
}

/// The hopes at `place`, which is not the first. They are valid until those of another block are asked
/// for.
const LineSearch::Word* LineSearch::HopesAt(std::size_t place) {
  const std::size_t words = simulation_.Words();
  const std::size_t number = (place - 1) / blockSize_;
  const std::size_t first = number * blockSize_;
  if (!hasBlock_ || number != blockNumber_) {
    std::size_t last = std::min(first + blockSize_, length_);
    if (last % blockSize_ == 0) {
      std::copy_n(kept_.data() + last / blockSize_ * words, words, &block_[(last - first) * words]);
    } else {
      const unsigned pair = NeighbourPair(KindBefore(last), ByteKind::kNewline);
      std::copy_n(simulation_.Ends(pair), words, &block_[(last - first) * words]);
      if (refusesEnd_) std::fill_n(&block_[(last - first) * words], words, Word{0});
    }
    for (; last > first + 1; --last)
      StepBack(last - 1, &block_[(last - first) * words], &block_[(last - 1 - first) * words]);
    blockNumber_ = number;
    hasBlock_ = true;
  }
  return &block_[(place - first) * words];
}

/// Makes `to` the hopes at `place` from those one place further.
void LineSearch::StepBack(std::size_t place, const Word* from, Word* to) {
  std::copy_n(from, simulation_.Words(), scratch_.data());
  simulation_.StepBackwards(scratch_.data(), PairAt(place, KindBefore(place)), begin_[place], to);
}

/// The number of the neighbours of `place`, with a byte of kind `before` before it.
unsigned LineSearch::PairAt(std::size_t place, ByteKind before) const {
  return NeighbourPair(before,
                       place == length_ ? ByteKind::kNewline : graph_.kindOf[begin_[place]]);
}

ByteKind LineSearch::KindBefore(std::size_t place) const {
  return place == 0 ? before_ : graph_.kindOf[begin_[place - 1]];
}

}  // namespace trovex
