#include "matcher/automata/list_lead.h"

#include "matcher/costs.h"
#include "matcher/limits.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace trovex {

namespace {

using Byte = unsigned char;

/// How many bytes all that `tree` matches has; nothing where that differs.
std::optional<std::size_t> WidthOf(const SyntaxTree& tree) {
  std::vector<std::optional<std::size_t>> widths(tree.nodes.size());
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    const SyntaxNode& node = tree.nodes[i];
    const bool isByte = node.kind == SyntaxKind::kByte || node.kind == SyntaxKind::kSet;
    std::optional<std::size_t> width = isByte ? 1 : 0;
    for (int c = node.firstChild; c != kNoNode && width; c = tree.Node(c).nextSibling) {
      const std::optional<std::size_t>& child = widths[static_cast<std::size_t>(c)];
      const bool isFirst = c == node.firstChild;
      if (!child || (node.kind == SyntaxKind::kAlternate && !isFirst && *child != *width)) {
        width.reset();
      } else {
        width = node.kind == SyntaxKind::kConcat ? *width + *child : *child;
      }
    }
    if (node.kind == SyntaxKind::kRepeat && width) {
      const auto times = static_cast<std::size_t>(node.min);
      if (node.min != node.max || *width > kLongestFixedLead / std::max<std::size_t>(times, 1)) {
        width.reset();
      } else {
        *width *= times;
      }
    }
    if (width && *width > kLongestFixedLead) width.reset();
    widths[i] = width;
  }
  return widths.back();
}

/// Whether `graph` is a run of one set, without an end and with one byte at least, or none.
bool IsEndlessRun(const PositionGraph& graph) {
  const auto leadsToItself = [&](std::uint32_t node) {
    return graph.next[node].size() == 1 && graph.next[node][0].neighbours == kAnyNeighbours;
  };
  return graph.size == 1 && leadsToItself(0) && leadsToItself(graph.Start()) &&
         graph.ends[0] == kAnyNeighbours &&
         (graph.ends[graph.Start()] == 0 || graph.ends[graph.Start()] == kAnyNeighbours);
}

}  // namespace

std::optional<ListLead> ListLead::For(const SyntaxTree& tree, const GraphOptions& options,
                                      double mostCost, CompileBudget& budget) {
  if (mostCost <= kCostOfBuckets) return std::nullopt;
  CompileBudget part = budget.Part(kMaxWordListSteps, kMaxWordListBytes);
  std::optional<ListLead> lead;
  try {
    lead = Make(tree, options, mostCost, part);
  } catch (const BudgetExhausted&) {
    lead.reset();
  }
  budget.Settle(part);
  return lead;
}

std::optional<ListLead> ListLead::Make(const SyntaxTree& tree, const GraphOptions& options,
                                       double mostCost, CompileBudget& budget) {
  const double mostRate = (mostCost - kCostOfBuckets) / kCostOfPlace * 100'000;
  std::optional<ListInPattern> found = FindListInPattern(tree, mostRate, budget);
  if (!found) return std::nullopt;
  if (options.words && !found->before) {
    found->list.starts = static_cast<Neighbours>(found->list.starts & kNoLetterBefore);
  }
  if (options.words && !found->after) {
    found->list.stops = static_cast<Neighbours>(found->list.stops & kNoLetterAfter);
  }
  std::optional<WordScan> scan = WordScan::Make(found->list, true, budget);
  if (!scan) return std::nullopt;
  const double rate = ExpectedRate(found->list) / 100'000;
  if (scan->CostOfByte() + rate * kCostOfPlace > mostCost) return std::nullopt;
  ListLead lead(std::move(*scan));
  lead.kindOf_.fill(ByteKind::kOther);
  if (TellsLettersApart(found->list.starts) || TellsLettersApart(found->list.stops)) {
    for (std::size_t c = 0; c < lead.kindOf_.size(); ++c) {
      if (options.wordBytes[c]) lead.kindOf_[c] = ByteKind::kLetter;
    }
  }
  lead.kindOf_['\n'] = ByteKind::kNewline;
  GraphOptions part = options;
  part.budget = &budget;
  if (found->before && !lead.ReadBefore(*found->before, part)) return std::nullopt;
  if (found->after && !lead.ReadAfter(*found->after, part)) return std::nullopt;
  return lead;
}

bool ListLead::ReadBefore(const SyntaxTree& tree, GraphOptions options) {
  options.wordsAtEnd = false;
  before_ = MakePositionGraph(tree, options);
  if (before_ == nullptr) return false;
  width_ = WidthOf(tree);
  if (width_ || !IsEndlessRun(*before_)) return true;
  run_ = std::make_unique<const MemberTable>(MembersOf(before_->bytes[0]));
  runMayBeEmpty_ = before_->canBeEmpty;
  return true;
}

bool ListLead::ReadAfter(const SyntaxTree& tree, GraphOptions options) {
  options.wordsAtStart = false;
  after_ = MakePositionGraph(tree, options);
  return after_ != nullptr;
}

bool ListLead::MayStandIn(const Byte* begin, const Byte* end) const {
  static_assert(kLookedAtText % 64 == 0);
  std::array<std::uint64_t, kLookedAtText / 64> marks;
  std::array<std::uint32_t, kLookedAtText + kWindowsAtOnce> hits;
  const std::size_t size = (static_cast<std::size_t>(end - begin) + 63) / 64 * 64;
  list_.MarkStarts(begin, size, end, marks.data(), hits.data());
  return std::any_of(marks.begin(), marks.begin() + static_cast<std::ptrdiff_t>(size / 64),
                     [](std::uint64_t bits) { return bits != 0; });
}

ListLeadSearch::ListLeadSearch(const ListLead& lead)
    : lead_(lead), places_(lead.list_), credit_(0, std::numeric_limits<std::int64_t>::max()) {
  if (lead.before_ != nullptr) {
    backward_.emplace(*lead.before_, credit_);
    ahead_.emplace(*lead.before_, true, credit_);
  }
  if (lead.after_ != nullptr) forward_.emplace(*lead.after_, true, credit_);
}

void ListLeadSearch::Begin(std::size_t length) {
  places_.Forget();
  runFrom_ = runTo_ = nullptr;
  const auto bytes = static_cast<std::int64_t>(std::min(length, std::size_t{1} << 50));
  credit_ = SearchCredit(kFirstCredit + kListLeadCreditPerByte * bytes,
                         std::numeric_limits<std::int64_t>::max());
}

ListLeadSearch::Answer ListLeadSearch::Find(Request& request) {
  const auto width = static_cast<std::ptrdiff_t>(lead_.width_.value_or(0));
  if (request.end - request.place < width) return Answer::kNoMatch;
  for (const Byte* word = request.place + width;; ++word) {
    if (credit_.IsSpent()) return Answer::kUnknown;
    word = places_.Next(word, request.end);
    if (word == nullptr) return Answer::kNoMatch;
    if (!CanStart(request, word)) continue;
    const BackwardAutomaton::Answer start = StartBefore(request, word);
    if (!start) return Answer::kUnknown;
    if (*start == nullptr) continue;
    const Byte* const end = EndAfter(request, word);
    if (credit_.IsSpent()) return Answer::kUnknown;
    if (end == nullptr) continue;
    request.matchStart = *start;
    request.matchEnd = end;
    return lead_.width_ ? Answer::kMatch : Lengthen(request, word);
  }
}

bool ListLeadSearch::CanStart(const Request& request, const Byte* word) const {
  const ByteKind before = word == request.begin ? ByteKind::kNewline : lead_.kindOf_[word[-1]];
  return (lead_.list_.Starts() & NeighbourBit(before, lead_.kindOf_[*word])) != 0;
}

/// What stands before the list from `lowest` on, up to `word`.
BackwardAutomaton::Stretch ListLeadSearch::StretchTo(const Request& request, const Byte* lowest,
                                                     const Byte* word) const {
  const ByteKind before =
      lowest == request.begin ? ByteKind::kNewline : lead_.before_->kindOf[lowest[-1]];
  return {lowest, before, word};
}

/// The leftmost start of what stands before the list where `word` does; null: there is none.
BackwardAutomaton::Answer ListLeadSearch::StartBefore(const Request& request, const Byte* word) {
  if (lead_.before_ == nullptr) return word;
  if (lead_.run_ != nullptr) return StartOfRun(request, word);
  const Byte* const lowest =
      lead_.width_ ? word - static_cast<std::ptrdiff_t>(*lead_.width_) : request.place;
  return backward_->StartOfMatch(StretchTo(request, lowest, word), lead_.before_->kindOf[*word]);
}

/// The same where that is an endless run. No byte is read twice on the way.
const Byte* ListLeadSearch::StartOfRun(const Request& request, const Byte* word) {
  const bool isKnown = runFrom_ != nullptr && runFrom_ <= request.place;
  if (!isKnown || word > runTo_) {
    const Byte* const lowest = isKnown ? std::max(runTo_, request.place) : request.place;
    const Byte* from = word;
    while (from > lowest && (*lead_.run_)[from[-1]])
      --from;
    if (!isKnown || from != runTo_) runFrom_ = from;
    runTo_ = word;
  }
  const Byte* const start = std::max(runFrom_, request.place);
  return start < word || lead_.runMayBeEmpty_ ? start : nullptr;
}

/// The furthest end of a word at `word` with what stands after the list; null if there is none.
const Byte* ListLeadSearch::EndAfter(const Request& request, const Byte* word) {
  const Byte* furthest = nullptr;
  std::int64_t work = kWordPlaceUnits;
  lead_.list_.LongestAt(
      word, request.end,
      [&](const Byte* wordEnd) {
        const Byte* const end = EndFrom(request, wordEnd);
        if (end != nullptr && (furthest == nullptr || end > furthest)) furthest = end;
        return false;  // the next one, too
      },
      work);
  credit_.Spend(work);
  return furthest;
}

/// The furthest end of what stands after a word that ends at `wordEnd`.
const Byte* ListLeadSearch::EndFrom(const Request& request, const Byte* wordEnd) {
  const ByteKind after = wordEnd == request.end ? ByteKind::kNewline : lead_.kindOf_[*wordEnd];
  if ((lead_.list_.Stops() & NeighbourBit(lead_.kindOf_[wordEnd[-1]], after)) == 0) return nullptr;
  if (lead_.after_ == nullptr) {
    return request.refusesLineEnd && after == ByteKind::kNewline ? nullptr : wordEnd;
  }
  ForwardAutomaton::Run run = {.place = wordEnd,
                               .textEnd = request.end,
                               .before = lead_.after_->kindOf[wordEnd[-1]],
                               .refusesLineEnd = request.refusesLineEnd,
                               .startsAtPlace = true};
  if (forward_->Go(run) != ForwardAutomaton::Outcome::kMatch) return nullptr;
  credit_.Spend(run.end - wordEnd);
  return run.end;
}

/// Makes the match around `word` the longest that begins where it does, if no match can begin further left.
ListLeadSearch::Answer ListLeadSearch::Lengthen(Request& request, const Byte* word) {
  if (lead_.run_ == nullptr) {
    const BackwardAutomaton::Answer other =
        backward_->StartOfPrefix(StretchTo(request, request.place, word));
    if (!other) return Answer::kUnknown;
    if (*other != nullptr && *other < request.matchStart) {
      request.place = *other;
      return Answer::kUnknown;
    }
  }
  const Byte* const last = LastEndBefore(request, word);
  if (last == nullptr) return Answer::kUnknown;
  const auto isAtLineEnd = [&](const Byte* place) {
    return place == request.end || *place == '\n';
  };
  for (const Byte* next = word + 1; !isAtLineEnd(request.matchEnd); ++next) {
    next = places_.Next(next, last == request.end ? last : last + 1, request.end);
    if (next == nullptr) break;
    if (!CanStart(request, next)) continue;
    if (lead_.run_ == nullptr) {
      const BackwardAutomaton::Answer start = backward_->StartOfMatch(
          StretchTo(request, request.matchStart, next), lead_.before_->kindOf[*next]);
      if (!start) return Answer::kUnknown;
      if (*start != request.matchStart) continue;
    }
    const Byte* const end = EndAfter(request, next);
    if (credit_.IsSpent()) return Answer::kUnknown;
    if (end != nullptr) request.matchEnd = std::max(request.matchEnd, end);
  }
  return Answer::kMatch;
}

/// The last place, `word` or one after it, up to which what stands before the list can reach from the match's start.
/// Null if the credit is spent.
const Byte* ListLeadSearch::LastEndBefore(const Request& request, const Byte* word) {
  const Byte* last = word;
  if (lead_.run_ != nullptr) {
    while (last < request.end && (*lead_.run_)[*last])
      ++last;
    return last;
  }
  ForwardAutomaton::Run run = {.place = request.matchStart,
                               .textEnd = request.end,
                               .before = StretchTo(request, request.matchStart, word).beforeLowest,
                               .startsAtPlace = true};
  if (ahead_->Go(run) != ForwardAutomaton::Outcome::kMatch) return nullptr;
  credit_.Spend(run.end - request.matchStart);
  return std::max(word, run.end);
}

}  // namespace trovex
