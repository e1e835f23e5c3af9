#include "matcher/groups/group_finder.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace trovex {

namespace {

/// Larger patterns are not written out: their groups are not found.
constexpr int kMaxSteps = 200'000;
/// A step that is looked at takes about a nanosecond or two.
constexpr std::uint64_t kStepsPerByte = 1000;
/// For short matches of large patterns. What all matches of a text take is paid for by whoever asks for them.
constexpr std::uint64_t kStepsPerMatch = 1'000'000;
/// How many bytes of a match are one stretch.
constexpr std::size_t kStretch = std::size_t{1} << 15;

constexpr std::size_t kWordBits = 64;

std::size_t WordsFor(std::size_t bits) {
  return (bits + kWordBits - 1) / kWordBits;
}
bool TestBit(const std::uint64_t* words, std::size_t bit) {
  return (words[bit / kWordBits] >> (bit % kWordBits) & 1) != 0;
}
void SetBit(std::uint64_t* words, std::size_t bit) {
  words[bit / kWordBits] |= std::uint64_t{1} << (bit % kWordBits);
}
void ClearBit(std::uint64_t* words, std::size_t bit) {
  words[bit / kWordBits] &= ~(std::uint64_t{1} << (bit % kWordBits));
}

/// Lists of sources, one behind the other, from pairs of a source and its target.
void MakeLists(std::size_t targets, const std::vector<std::pair<int, int>>& links,
               std::vector<std::uint32_t>& sources, std::vector<std::uint32_t>& first) {
  first.assign(targets + 1, 0);
  for (const auto& [source, target] : links)
    ++first[static_cast<std::size_t>(target) + 1];
  for (std::size_t i = 0; i < targets; ++i)
    first[i + 1] += first[i];
  sources.resize(links.size());
  std::vector<std::uint32_t> next(first.begin(), first.end() - 1);
  for (const auto& [source, target] : links)
    sources[next[static_cast<std::size_t>(target)]++] = static_cast<std::uint32_t>(source);
}

}  // namespace

GroupFinder::GroupFinder(const SyntaxTree& tree, const GroupOptions& options)
    : graph_(MakeWayGraph(tree, kMaxSteps)), options_(options), single_(SingleWay::Make(graph_)) {
  if (!single_) LinkSteps();
}

void GroupFinder::LinkSteps() {
  std::vector<std::pair<int, int>> byteLinks;
  std::vector<std::pair<int, int>> freeLinks;
  const std::size_t count = graph_.steps.size();
  endsAt_.resize(count);
  choiceOf_.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    const WayStep& step = graph_.steps[i];
    const int index = static_cast<int>(i);
    auto& links = step.kind == WayKind::kBytes ? byteLinks : freeLinks;
    if (step.next != kNoStep) links.emplace_back(index, step.next);
    if (step.other != kNoStep) links.emplace_back(index, step.other);
    endsAt_[i] = static_cast<std::uint32_t>(endCount_);
    endCount_ += static_cast<std::size_t>(step.depth);
    choiceOf_[i] = static_cast<std::uint32_t>(splitCount_);
    if (step.kind == WayKind::kSplit) ++splitCount_;
  }
  MakeLists(count, byteLinks, byteSources_, firstByteSource_);
  MakeLists(count, freeLinks, freeSources_, firstFreeSource_);
}

/// The passes over one match.
class GroupPass {
 public:
  GroupPass(const GroupFinder& finder, TextView text, const ByteRange& match,
            GroupFinder::Workspace& work)
      : finder_(finder),
        graph_(finder.graph_),
        text_(text),
        match_(match),
        length_(match.Length()),
        work_(work),
        stateWords_(WordsFor(graph_.steps.size())),
        choiceWords_(WordsFor(finder.splitCount_)),
        budget_(length_ * kStepsPerByte + kStepsPerMatch) {}

  ~GroupPass() { work_.used_ += used_; }
  GroupPass(const GroupPass&) = delete;
  GroupPass& operator=(const GroupPass&) = delete;

  SearchOutcome Run(std::vector<ByteRange>& groups) {
    Prepare();
    for (std::size_t stretch = StretchCount(); stretch-- > 0;) {
      if (!ReadStretch(stretch)) return SearchOutcome::kGaveUp;
    }
    if (!TestBit(work_.aliveBehind_.data(), static_cast<std::size_t>(graph_.start))) {
      return SearchOutcome::kNotFound;
    }
    return Follow(groups) ? SearchOutcome::kFound : SearchOutcome::kGaveUp;
  }

 private:
  /// Stretch s has the places from s * kStretch up to the next stretch, the last one also the end.
  std::size_t StretchCount() const { return length_ / kStretch + 1; }
  std::size_t StretchEnd(std::size_t stretch) const {
    return std::min((stretch + 1) * kStretch, length_ + 1);
  }

  void Prepare() {
    const std::size_t kept = StretchCount() - 1;
    work_.alive_.assign(stateWords_, 0);
    work_.aliveBehind_.assign(stateWords_, 0);
    GrowTo(work_.ends_, finder_.endCount_);
    GrowTo(work_.endsBehind_, finder_.endCount_);
    GrowTo(work_.choices_, choiceWords_ * std::min(kStretch, length_ + 1));
    GrowTo(work_.keptAlive_, kept * stateWords_);
    GrowTo(work_.keptEnds_, kept * finder_.endCount_);
  }

  template <typename Vector>
  static void GrowTo(Vector& vector, std::size_t size) {
    if (vector.size() < size) vector.resize(size);
  }

  /// Reads a stretch from its end to its start and notes the choices at each of its places. The state
  /// behind it is at hand, or kept from the first time.
  bool ReadStretch(std::size_t stretch) {
    const std::size_t begin = stretch * kStretch;
    std::fill_n(work_.choices_.begin(), (StretchEnd(stretch) - begin) * choiceWords_, 0);
    for (std::size_t place = StretchEnd(stretch); place-- > begin;) {
      ReadPlace(place, work_.choices_.data() + (place - begin) * choiceWords_);
      if (used_ > budget_) return false;
    }
    return true;
  }

  /// Keeps the state at the start of `stretch`, which is the one behind the stretch before it.
  void Keep(std::size_t stretch) {
    const std::size_t at = stretch - 1;
    std::copy_n(work_.aliveBehind_.begin(), stateWords_,
                work_.keptAlive_.begin() + Offset(at * stateWords_));
    std::copy_n(work_.endsBehind_.begin(), finder_.endCount_,
                work_.keptEnds_.begin() + Offset(at * finder_.endCount_));
  }

  static std::ptrdiff_t Offset(std::size_t value) { return static_cast<std::ptrdiff_t>(value); }

  void ReadPlace(std::size_t place, std::uint64_t* choices) {
    std::uint64_t* const alive = work_.alive_.data();
    std::fill_n(alive, stateWords_, 0);
    if (place == length_) {
      if (graph_.end != kNoStep) SetBit(alive, static_cast<std::size_t>(graph_.end));
    } else {
      ReviveByteSteps(place);
    }
    for (std::size_t word = 0; word < stateWords_; ++word) {
      std::uint64_t done = 0;
      while (const std::uint64_t open = alive[word] & ~done) {
        const auto bit = static_cast<std::size_t>(std::countr_zero(open));
        done = (std::uint64_t{2} << bit) - 1;
        ReadStep(word * kWordBits + bit, place, choices);
      }
    }
    used_ += stateWords_;
    work_.alive_.swap(work_.aliveBehind_);
    work_.ends_.swap(work_.endsBehind_);
    if (place > 0 && place % kStretch == 0 && !isFollowing_) Keep(place / kStretch);
  }

  /// The steps that consume the byte at `place` and then go on alive.
  void ReviveByteSteps(std::size_t place) {
    const unsigned char byte = text_[match_.begin + place];
    for (std::size_t word = 0; word < stateWords_; ++word) {
      for (std::uint64_t open = work_.aliveBehind_[word]; open != 0; open &= open - 1) {
        const std::size_t target =
            word * kWordBits + static_cast<std::size_t>(std::countr_zero(open));
        const std::uint32_t last = finder_.firstByteSource_[target + 1];
        for (std::uint32_t i = finder_.firstByteSource_[target]; i < last; ++i) {
          const std::uint32_t source = finder_.byteSources_[i];
          if (graph_.SetOf(graph_.steps[source]).test(byte)) SetBit(work_.alive_.data(), source);
        }
      }
    }
  }

  void ReadStep(std::size_t index, std::size_t place, std::uint64_t* choices) {
    const WayStep& step = graph_.steps[index];
    const auto depth = static_cast<std::size_t>(step.depth);
    used_ += 1 + depth / 16;
    std::uint32_t* const ends = work_.ends_.data() + finder_.endsAt_[index];
    const auto endsOf = [&](const std::vector<std::uint32_t>& row, int target) {
      return row.data() + finder_.endsAt_[static_cast<std::size_t>(target)];
    };
    switch (step.kind) {
      case WayKind::kMatch:
      case WayKind::kReference:
        break;
      case WayKind::kBytes:
        std::copy_n(endsOf(work_.endsBehind_, step.next), depth, ends);
        break;
      case WayKind::kAnchor:
        if (!AnchorHolds(static_cast<Anchor>(step.value), text_, match_.begin + place,
                         finder_.options_.wordBytes)) {
          ClearBit(work_.alive_.data(), index);
          return;
        }
        std::copy_n(endsOf(work_.ends_, step.next), depth, ends);
        break;
      case WayKind::kOpen:
      case WayKind::kClose:
        std::copy_n(endsOf(work_.ends_, step.next), depth, ends);
        break;
      case WayKind::kPieceEnd:
        std::copy_n(endsOf(work_.ends_, step.next), depth - 1, ends);
        ends[depth - 1] = static_cast<std::uint32_t>(place);
        break;
      case WayKind::kSplit: {
        const bool takesOther = IsOtherBetter(step, depth);
        if (takesOther) SetBit(choices, finder_.choiceOf_[index]);
        std::copy_n(endsOf(work_.ends_, takesOther ? step.other : step.next), depth, ends);
        break;
      }
    }
    const std::uint32_t last = finder_.firstFreeSource_[index + 1];
    for (std::uint32_t i = finder_.firstFreeSource_[index]; i < last; ++i)
      SetBit(work_.alive_.data(), finder_.freeSources_[i]);
  }

  /// At least one branch is alive.
  bool IsOtherBetter(const WayStep& split, std::size_t depth) const {
    const std::uint64_t* const alive = work_.alive_.data();
    if (split.next == kNoStep || !TestBit(alive, static_cast<std::size_t>(split.next))) return true;
    if (split.other == kNoStep || !TestBit(alive, static_cast<std::size_t>(split.other))) {
      return false;
    }
    const std::uint32_t* const first =
        work_.ends_.data() + finder_.endsAt_[static_cast<std::size_t>(split.next)];
    const std::uint32_t* const second =
        work_.ends_.data() + finder_.endsAt_[static_cast<std::size_t>(split.other)];
    for (std::size_t i = 0; i < depth; ++i) {
      if (first[i] != second[i]) return second[i] > first[i];
    }
    return false;
  }

  /// Follows the best way from the start.
  bool Follow(std::vector<ByteRange>& groups) {
    isFollowing_ = true;
    groups.assign(static_cast<std::size_t>(graph_.groupCount), {});
    GrowTo(work_.opened_, groups.size() + 1);
    std::size_t place = 0;
    std::size_t stretch = 0;
    int at = graph_.start;
    while (true) {
      if (place / kStretch != stretch) {
        stretch = place / kStretch;
        if (!ReadAgain(stretch)) return false;
      }
      const WayStep& step = graph_.Step(at);
      const auto value = static_cast<std::size_t>(step.value);
      at = step.next;
      switch (step.kind) {
        case WayKind::kMatch:
          return true;
        case WayKind::kBytes:
          ++place;
          break;
        case WayKind::kOpen:
          work_.opened_[value] = match_.begin + place;
          break;
        case WayKind::kClose:
          groups[value - 1] = {work_.opened_[value], match_.begin + place};
          break;
        case WayKind::kSplit: {
          const std::size_t index = static_cast<std::size_t>(&step - graph_.steps.data());
          const std::uint64_t* const choices =
              work_.choices_.data() + place % kStretch * choiceWords_;
          if (TestBit(choices, finder_.choiceOf_[index])) at = step.other;
          break;
        }
        default:
          break;
      }
    }
  }

  bool ReadAgain(std::size_t stretch) {
    if (stretch + 1 < StretchCount()) {
      std::copy_n(work_.keptAlive_.begin() + Offset(stretch * stateWords_), stateWords_,
                  work_.aliveBehind_.begin());
      std::copy_n(work_.keptEnds_.begin() + Offset(stretch * finder_.endCount_), finder_.endCount_,
                  work_.endsBehind_.begin());
    }
    return ReadStretch(stretch);
  }

  const GroupFinder& finder_;
  const WayGraph& graph_;
  const TextView text_;
  const ByteRange match_;
  const std::size_t length_;
  GroupFinder::Workspace& work_;
  const std::size_t stateWords_;
  const std::size_t choiceWords_;
  const std::uint64_t budget_;
  std::uint64_t used_ = 0;
  bool isFollowing_ = false;
};

SearchOutcome GroupFinder::Find(TextView text, const ByteRange& match,
                                std::vector<ByteRange>& groups, Workspace& work) const {
  if (graph_.groupCount == 0) {
    groups.clear();
    return SearchOutcome::kFound;
  }
  if (single_) {
    const bool isFound = single_->Find(text, match, groups, work.opened_);
    return isFound ? SearchOutcome::kFound : SearchOutcome::kNotFound;
  }
  const bool isTooLong = match.Length() >= std::numeric_limits<std::uint32_t>::max();
  if (graph_.isTooLarge || graph_.hasReferences || isTooLong) return SearchOutcome::kGaveUp;
  return GroupPass(*this, text, match, work).Run(groups);
}

}  // namespace trovex
