#include "matcher/automata/match_locator.h"

#include "matcher/limits.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

namespace trovex {

namespace {

using Byte = unsigned char;

/// The rate of all places.
constexpr double kEveryPlace = 100'000;

/// At how many of 100,000 places one of the ways to begin a match is to be expected.
double ExpectedRate(const std::vector<Probes>& ways) {
  double rate = 0;
  for (const Probes& probes : ways)
    rate += ExpectedRate(probes);
  return rate;
}

/// The probes for matches that begin in one of `ways`, and at how many of 100,000 places they hold.
struct LeadingProbes {
  std::vector<Probes> ways;
  double rate = kEveryPlace;
};

/// Whether only single bytes are looked for, which takes half as long as classes.
bool AreBytes(const Probes& probes) {
  return std::all_of(probes.begin(), probes.end(),
                     [](const Probe& probe) { return probe.bytes.count() == 1; });
}

/// Whether several ways are looked for as fast as one.
bool AreFastApart(const std::vector<Probes>& ways) {
  return PlaceScan::ForAlternatives(ways).Tables().form == ScanForm::kLowHalves;
}

/// Several ways are looked for as one, which mostly takes far less, where that leaves hardly more places: what sets
/// them apart need not be what is rare about them.
LeadingProbes ChooseLeading(const std::vector<LeadingBytes>& ways) {
  if (ways.empty() || ways.front().empty()) return {};
  LeadingProbes apart;
  apart.ways = ChooseProbesForAlternatives(ways);
  apart.rate = ExpectedRate(apart.ways);
  if (ways.size() == 1) return apart;
  LeadingBytes any(ways.front().size());
  for (const LeadingBytes& way : ways) {
    for (std::size_t offset = 0; offset < any.size(); ++offset)
      any[offset] |= way[offset];
  }
  LeadingProbes together;
  together.ways = {ChooseProbes(any)};
  together.rate = ExpectedRate(together.ways);
  if (!AreBytes(together.ways[0]) && AreFastApart(apart.ways)) return apart;
  const bool areRanges = PlaceScan(together.ways[0]).Tables().form != ScanForm::kKinds;
  const double more = areRanges ? kFewMorePlacesByRanges : kFewMorePlaces;
  return together.rate <= std::max(apart.rate + more, kHardlyMorePlaces * apart.rate) ? together
                                                                                      : apart;
}

/// Whether a required string with these probes is looked for twice as fast as what leads, and leaves hardly more places.
bool IsFaster(const Probes& required, double requiredRate, const LeadingProbes& leading) {
  const bool areLeadsBytes = leading.ways.size() == 1 && AreBytes(leading.ways[0]);
  return AreBytes(required) && !areLeadsBytes &&
         requiredRate <= std::max(kFewMorePlaces, leading.rate);
}

/// `string` without the sets at its ends that most bytes belong to: looking at them takes longer than it
/// saves. A short string needs them.
std::vector<CharSet> WithoutCommonEnds(std::vector<CharSet> string) {
  const auto isCommon = [](const CharSet& set) {
    return ExpectedRate(Probes{{0, set}}) > kCommonSet;
  };
  while (string.size() > kShortString && isCommon(string.back()))
    string.pop_back();
  while (string.size() > kShortString && isCommon(string.front()))
    string.erase(string.begin());
  return string;
}

/// The part of all bytes that belong to a set, as far as it counts.
double ShareOf(const CharSet& set) {
  return std::min(ExpectedRate(Probes{{0, set}}) / kEveryPlace, 1 - 1 / kLongestCountedRun);
}

/// At how many places after what was read of a run the next one may begin.
double RoomOf(const Run& run) {
  return run.IsFixed() ? 1 : 1 / (1 - ShareOf(run.bytes));
}

/// At how many of 100,000 places a row of runs is to be expected. A run that bytes of its own may follow goes on
/// for as long as they come; after any other one there is none of them.
double RateOf(const std::vector<Run>& runs) {
  double rate = kEveryPlace;
  double room = 1;  // at how many places after what was read the next run may begin
  for (const Run& run : runs) {
    const double share = ShareOf(run.bytes);
    double here = 1;
    for (std::uint32_t n = 0; n < std::min(run.least, kMostCountedBytes); ++n)
      here *= share;
    rate *= std::min(1.0, room * here);
    room = RoomOf(run);
  }
  return rate;
}

/// How many bytes those of the runs take that are longer than one, if bytes came independently of each other.
double VariableBytes(const std::vector<Run>& runs) {
  double bytes = 0;
  for (const Run& run : runs) {
    if (run.most == 1 && run.least == 1) continue;
    const double more = RoomOf(run) - 1;
    bytes += std::min(run.least + more, static_cast<double>(run.most));
  }
  return bytes;
}

/// Whether a row of runs is so much rarer than what it begins with, at `leadingRate`, that it is looked for as a
/// whole.
bool IsRareAsAWhole(const std::vector<Run>& runs, double leadingRate) {
  return leadingRate > kCommonLead && RateOf(runs) * kAdvantageOfRows < leadingRate;
}

/// The string in the middle of `runs`, where it is so much rarer than what they begin with, `leading`, that it is
/// worth the way back.
std::optional<RunMiddle> WorthwhileMiddle(const std::vector<Run>& runs, const Beside& beside,
                                          const LeadingProbes& leading) {
  std::optional<RunMiddle> middle = RunMiddle::For(runs, beside);
  if (!middle) return std::nullopt;
  double leadingRate = leading.ways.empty() ? kEveryPlace : 0;
  for (const Probes& way : leading.ways)
    leadingRate += RateInClusters(way);
  const bool hasOtherWay = leading.rate < kWorthwhileLead && IsRareAsAWhole(runs, leading.rate);
  const bool isCommon = hasOtherWay && middle->Rate() > kCommonMiddle;
  if (isCommon || middle->Rate() * kAdvantageOfMiddles > leadingRate) return std::nullopt;
  return middle;
}

/// A row of runs, and what must stand beside it as runs of one byte.
std::vector<Run> WithNeighbours(std::vector<Run> runs, const Beside& beside) {
  if (beside.AsksBefore()) runs.insert(runs.begin(), {beside.before, 1, 1});
  if (beside.AsksAfter()) runs.push_back({beside.after, 1, 1});
  return runs;
}

/// Whether a string is everywhere, and rare with what must stand beside it.
bool IsRareRow(const std::vector<CharSet>& string, const std::vector<Run>& runs,
               const Beside& beside) {
  const double rate = ExpectedRate(StringScan::ProbesFor(string, beside));
  return rate > kCommonString && IsRareAsAWhole(WithNeighbours(runs, beside), rate);
}

/// Whether matches start so whatever stands before them.
bool StartAnywhere(const PositionGraph& graph) {
  return std::all_of(graph.starts.begin(), graph.starts.end(),
                     [](Neighbours between) { return between == 0 || between == kAnyNeighbours; });
}

/// The bytes that matches that are not empty can start with.
CharSet FirstBytes(const PositionGraph& graph) {
  CharSet first;
  for (std::uint32_t position = 0; position < graph.size; ++position) {
    if (graph.starts[position] != 0) first |= graph.bytes[position];
  }
  return first;
}

/// The bytes that they can end with.
CharSet LastBytes(const PositionGraph& graph) {
  CharSet last;
  for (std::uint32_t position = 0; position < graph.size; ++position) {
    if (graph.ends[position] != 0) last |= graph.bytes[position];
  }
  return last;
}

/// How many bytes every match has at least.
std::ptrdiff_t ShortestMatch(const PositionGraph& graph) {
  if (graph.canBeEmpty) return 0;
  std::vector<bool> isReached(graph.size + 1, false);
  std::vector<std::uint32_t> reached = {graph.Start()};
  for (std::ptrdiff_t length = 0; !reached.empty(); ++length) {
    std::vector<std::uint32_t> further;
    for (const std::uint32_t node : reached) {
      if (node != graph.Start() && graph.ends[node] != 0) return length;
      for (const PositionEdge& edge : graph.next[node]) {
        if (isReached[edge.position]) continue;
        isReached[edge.position] = true;
        further.push_back(edge.position);
      }
    }
    reached = std::move(further);
  }
  return 0;
}

/// The bytes of the runs from `first` on, which go to `last`, up to one that cannot be missing.
template <typename Iterator>
CharSet BytesAtEdge(Iterator first, Iterator last) {
  CharSet bytes;
  for (; first != last; ++first) {
    bytes |= first->bytes;
    if (first->least > 0) break;
  }
  return bytes;
}

/// Whether all matches of `runs` have the same beside them, which is then told, and a scan can find where they end.
/// Where a run at an edge may be missing, its bytes must be among those that have it beside them: of "\< *a" no
/// blank has.
bool CanTakeRuns(const std::vector<Run>& runs, const PositionGraph& graph,
                 const std::optional<Beside>& beside) {
  if (runs.empty() || !beside) return false;
  const bool startsSo = !beside->AsksBefore() || runs.front().least > 0 ||
                        BytesAtEdge(runs.begin(), runs.end()) == FirstBytes(graph);
  const bool endsSo = !beside->AsksAfter() || runs.back().least > 0 ||
                      BytesAtEdge(runs.rbegin(), runs.rend()) == LastBytes(graph);
  return startsSo && endsSo && RunScan::CanTake(runs, beside->after);
}

/// Whether a run is looked for as such: not one byte, and not the same rare byte a few times, which is a string.
bool IsClassRun(const Run& run) {
  if (run.most == 1) return false;
  const bool isShortString = run.IsFixed() && run.bytes.count() == 1 && run.least <= kFewRunBytes;
  return !isShortString || ExpectedRate(Probes{{0, run.bytes}}) > kCommonLead;
}

/// What the words of a list are searched with beside them: the kinds of bytes.
std::unique_ptr<const PositionGraph> KindsAlone(const WordScan& scan, const CharSet& wordBytes) {
  auto graph = std::make_unique<PositionGraph>();
  graph->kindOf.fill(ByteKind::kOther);
  graph->kindOf['\n'] = ByteKind::kNewline;
  if (!TellsLettersApart(scan.Starts()) && !TellsLettersApart(scan.Stops())) return graph;
  for (std::size_t c = 0; c < graph->kindOf.size(); ++c) {
    if (wordBytes[c]) graph->kindOf[c] = ByteKind::kLetter;
  }
  return graph;
}

/// The end of the line that `place` belongs to, in a text that ends at `end`.
const Byte* LineEnd(const Byte* place, const Byte* end) {
  const void* feed = std::memchr(place, '\n', static_cast<std::size_t>(end - place));
  return feed != nullptr ? static_cast<const Byte*>(feed) : end;
}

}  // namespace

LocatorProgram::LocatorProgram(std::unique_ptr<const PositionGraph> graph, bool words,
                               const std::vector<CharSet>& required, const std::vector<Run>& runs)
    : graph_(std::move(graph)),
      words_(words),
      findsMany_(!graph_->canBeEmpty),
      startsAnywhere_(StartAnywhere(*graph_)) {
  canStart_ = MembersOf(FirstBytes(*graph_));
  const std::optional<Beside> beside = BesideOf(*graph_);
  const bool areRuns = CanTakeRuns(runs, *graph_, beside);
  shortest_ = ShortestMatch(*graph_);
  screen_ = TextScreen(shortest_);
  if (areRuns && beside->IsAny() && runs.size() == 1 && IsClassRun(runs[0])) {
    class_ = ClassRun::For(runs[0]);
    if (class_)
      screen_.Consider({LeadingBytes(std::min<std::size_t>(runs[0].least, 2), runs[0].bytes)});
  }
  const bool isInRow = areRuns && !class_ && IsRareRow(graph_->bytes, runs, *beside);
  if (IsOneString(*graph_) && !isInRow) {
    isToldBeside_ = beside.has_value();
    beside_ = beside.value_or(Beside{});
    isStringFree_ = isToldBeside_ && beside_.IsAny();
    string_.emplace(graph_->bytes, beside_);
    screen_.Consider({graph_->bytes});
    if (isToldBeside_) screen_.ConsiderBeside(graph_->bytes, beside_);
    ScreenByLines();
  }
  if (class_ || string_) return;
  if (areRuns) beside_ = *beside;
  ChooseLead(required, areRuns ? runs : std::vector<Run>{});
}

/// Chooses between what the pattern begins with, a string that it holds, and the row of runs that it is, if it is one.
void LocatorProgram::ChooseLead(const std::vector<CharSet>& required,
                                const std::vector<Run>& runs) {
  std::vector<LeadingBytes> ways = LeadingWays(*graph_, PlaceScan::kMaxAlternatives, kLeadingBytes);
  screen_.Consider({required});
  screen_.Consider(ways);
  ScreenByLines();
  const CharSet before = BytesBefore(*graph_);
  const bool asksBefore = runs.empty() ? before.count() == 1 : beside_.AsksBefore();
  if (asksBefore) {
    for (LeadingBytes& way : ways)
      way.insert(way.begin(), before);
  }
  const LeadingProbes leading = ChooseLeading(ways);
  const double leadingRate = leading.rate;
  const Probes requiredProbes = ChooseProbes(required);
  const double requiredRate = required.empty() ? kEveryPlace : ExpectedRate(requiredProbes);
  if (!runs.empty()) middle_ = WorthwhileMiddle(runs, beside_, leading);
  if (middle_) {
    runs_.emplace(runs, beside_.after);
    return;
  }
  double rate = std::min(leadingRate, kEveryPlace);
  const bool areRuns = !runs.empty() && leadingRate < kWorthwhileLead;
  if (leadingRate < kWorthwhileLead)
    starts_.emplace(leading.ways, asksBefore ? before : ~CharSet(), FirstBytes(*graph_));
  const std::vector<Run> row = WithNeighbours(runs, beside_);
  if (areRuns) {
    sieve_ = RunSieve::For(row, starts_->Lead(), beside_.AsksAfter() ? 1 : 0, starts_->Tables());
  }
  const bool areSifted = sieve_ && leadingRate <= kCommonLead;
  const bool isFaster =
      !areRuns && !required.empty() && IsFaster(requiredProbes, requiredRate, leading);
  const double advantage = areRuns ? kRequiredAdvantageOverRuns : kRequiredAdvantage;
  if (isFaster || (!areSifted && requiredRate * advantage < leadingRate)) {
    required_.emplace(WithoutCommonEnds(required));
  } else if (requiredRate < std::min(leadingRate, kWorthALook)) {
    rarer_.emplace(WithoutCommonEnds(required));
  }
  const bool isForShortTexts = required_ && (isFaster || leadingRate >= kRareLead);
  if (!isForShortTexts) leading_.swap(starts_);
  if (!leading_) rate = kEveryPlace;
  if (required_) rate = std::min(rate, RateInClusters(requiredProbes));
  cost_ = kCostOfScannedByte + rate / kEveryPlace * kCostOfPlace;
  if (!leading_ || required_ || !areRuns) {
    sieve_.reset();
    return;
  }
  cost_ = 0;
  runs_.emplace(runs, beside_.after);
  readsRuns_ = VariableBytes(runs) <= kFewReadBytes;
  if (IsRareAsAWhole(row, leadingRate)) filter_ = RunFilter::For(row);
}

/// Where matches begin as lines do, and the only empty one is an empty line, that is what the screen goes by.
void LocatorProgram::ScreenByLines() {
  constexpr Neighbours kLineBefore = AnchorNeighbours(Anchor::kLineStart);
  constexpr Neighbours kEmptyLine = NeighbourBit(ByteKind::kNewline, ByteKind::kNewline);
  const auto beginsLine = [](Neighbours between) { return (between & ~kLineBefore) == 0; };
  const auto first = graph_->starts.begin();
  const bool beginLines = std::all_of(first, first + graph_->size, beginsLine) &&
                          (graph_->ends[graph_->Start()] & ~kEmptyLine) == 0;
  if (beginLines) screen_.ConsiderBeginsOfLines(FirstBytes(*graph_));
}

void LocatorProgram::ConsiderList(const SyntaxTree& tree, const GraphOptions& options,
                                  CompileBudget& budget) {
  if ((leading_ || starts_) && !runs_) few_ = FewWords::For(tree, words_, budget);
  if (few_ && required_ && few_->CostOfByte() > cost_) few_.reset();
  if (few_) {
    if (!leading_) leading_.swap(starts_);
    required_.reset();
    return;
  }
  const bool makesStatesAllTheTime = cost_ > 0 && graph_->size > kMostLeadingPositions;
  listLead_ = ListLead::For(tree, options,
                            makesStatesAllTheTime ? std::numeric_limits<double>::infinity() : cost_,
                            budget);
}

void LocatorProgram::PrepareLooks(CompileBudget& budget) {
  if (!NeedsNoAutomata() || readsRuns_) reader_ = MatchReader::For(*graph_, budget);
}

bool LocatorProgram::HasNeighbours(const Byte* start, const Byte* stop, const Byte* begin,
                                   const Byte* end) const {
  const auto kindAt = [&](const Byte* place) {
    return place < begin || place == end ? ByteKind::kNewline : graph_->kindOf[*place];
  };
  const Neighbours atStart = NeighbourBit(kindAt(start - 1), kindAt(start));
  const Neighbours atStop = NeighbourBit(kindAt(stop - 1), kindAt(stop));
  return (graph_->starts[0] & atStart) != 0 && (graph_->ends[graph_->size - 1] & atStop) != 0;
}

inline LocatorProgram::Answer LocatorProgram::LookForString(const Byte* begin, const Byte* end,
                                                            LocatedRange& match) const {
  const Byte* const found = string_->Find(begin, end);
  if (found == nullptr) return Answer::kNoMatch;
  match = {found, found + string_->Length()};
  return isToldBeside_ ? Answer::kMatch : Answer::kUnknown;
}

inline LocatorProgram::Answer LocatorProgram::LookForFirst(const Byte* begin, const Byte* end,
                                                           LocatedRange& match) const {
  const Byte* place = begin;
  if (class_ || middle_) return LookForRuns(place, end, match);
  if (list_) return LookForListed(place, end, match);
  if (listLead_ && !listLead_->MayStandIn(place, end)) return Answer::kNoMatch;
  if (listLead_ && !reader_) return Answer::kUnknown;
  const StringScan* const required = required_ ? &*required_ : rarer_ ? &*rarer_ : nullptr;
  const Byte* const held = required != nullptr ? required->Find(place, end) : end;
  if (held == nullptr) return Answer::kNoMatch;
  if (const StartScan* const starts = Starts()) {
    place = starts->Find(place, begin, end);
    if (place == nullptr) return Answer::kNoMatch;
    const bool isBehind = required != nullptr && held < place;
    if (isBehind && required->Find(place, end) == nullptr) return Answer::kNoMatch;
  }
  if (few_) return LookForFewWords(place, begin, end, match);
  if (reader_ && !filter_) return LookByReading(place, begin, end, match);
  return runs_ ? LookForRows(place, begin, end, match) : Answer::kUnknown;
}

LocatorProgram::Answer LocatorProgram::LookPastScreen(const Byte* begin, const Byte* end,
                                                      LocatedRange& match) const {
  const Answer answer =
      string_ && !class_ ? LookForString(begin, end, match) : LookForFirst(begin, end, match);
  // Whether a whole word ends where the text does may depend on the byte after it.
  const bool isOpen = words_ && answer == Answer::kMatch && match.end == end;
  return isOpen ? Answer::kUnknown : answer;
}

/// The first match of a row of runs that its begin leads to.
LocatorProgram::Answer LocatorProgram::LookForRows(const Byte* place, const Byte* begin,
                                                   const Byte* end, LocatedRange& match) const {
  if (filter_) {
    RunFilter::Cursor places;
    const auto nextRow = [&](const Byte* from) { return NextRow(from, begin, end, places); };
    return TryRuns(nextRow(place), begin, end, nextRow, match);
  }
  const auto next = [&](const Byte* from) { return leading_->Find(from, begin, end); };
  return TryRuns(place, begin, end, next, match);
}

/// The first of a few words, at `place` or at one after it that the leading bytes lead to.
LocatorProgram::Answer LocatorProgram::LookForFewWords(const Byte* place, const Byte* begin,
                                                       const Byte* end, LocatedRange& match) const {
  for (; place != nullptr; place = leading_->Find(place + 1, begin, end)) {
    const Byte* const stop = EndOfWord(place, begin, end);
    if (stop == nullptr) continue;
    match = {place, stop};
    return Answer::kMatch;
  }
  return Answer::kNoMatch;
}

/// Where the longest of a few words ends that stands at `place` in a text from `begin` to `end`; null: there is none.
inline const Byte* LocatorProgram::EndOfWord(const Byte* place, const Byte* begin,
                                             const Byte* end) const {
  const auto kindAt = [&](const Byte* at) {
    return at < begin || at == end ? ByteKind::kNewline : graph_->kindOf[*at];
  };
  if ((few_->Starts() & NeighbourBit(kindAt(place - 1), kindAt(place))) == 0) return nullptr;
  const auto canEnd = [&](const Byte* stop) {
    return (few_->Stops() & NeighbourBit(kindAt(stop - 1), kindAt(stop))) != 0;
  };
  const std::size_t length = few_->LongestAt(place, begin, end, canEnd);
  return length > 0 ? place + length : nullptr;
}

/// Reads from `place` and the ones after it from which a match may start.
LocatorProgram::Answer LocatorProgram::LookByReading(const Byte* place, const Byte* begin,
                                                     const Byte* end, LocatedRange& match) const {
  const auto kindBefore = [&](const Byte* at) {
    return at == begin ? ByteKind::kNewline : graph_->kindOf[at[-1]];
  };
  const Byte* const last = end - shortest_;
  const StartScan* const starts = Starts();
  std::ptrdiff_t mayRead = kReadAgainInLook * (end - begin);
  for (;;) {
    if (shortest_ > 0) {
      while (place <= last && !canStart_[*place])
        ++place;
    }
    if (place > last) return Answer::kNoMatch;
    const MatchReader::Reading reading = reader_->Read(place, end, kindBefore(place));
    if (reading.end != nullptr) {
      // Whether there is a line after the last line feed, which would be empty, depends on who asks.
      if (place == end && (begin == end || end[-1] == '\n')) return Answer::kUnknown;
      match = {place, reading.end};
      return Answer::kMatch;
    }
    mayRead -= reading.readTo - place;
    if (mayRead < 0) return Answer::kUnknown;
    place = reading.next;
    if (starts != nullptr) {
      place = place <= last ? starts->Find(place, begin, end) : nullptr;
      if (place == nullptr) return Answer::kNoMatch;
    } else if (reader_->StartsLines()) {
      place = LineEnd(place - 1, end) + 1;
    }
  }
}

/// The first place from `place` on where the row of runs can begin as a whole; null if there is none. Where something
/// must stand before it, it may begin where the text does.
const unsigned char* LocatorProgram::NextRow(const Byte* place, const Byte* begin, const Byte* end,
                                             RunFilter::Cursor& cursor) const {
  const std::ptrdiff_t lead = leading_->Lead();
  for (; place < end; ++place) {
    if (lead == 0 || place != begin) {
      const Byte* const row = filter_->Find(place - lead, end, cursor);
      if (row == nullptr) return nullptr;
      place = row + lead;
    }
    if (leading_->MayStartAfter(begin, place)) return place;
  }
  return nullptr;
}

/// The first match of a run, or of a row of them that is found from its middle.
LocatorProgram::Answer LocatorProgram::LookForRuns(const Byte* place, const Byte* end,
                                                   LocatedRange& match) const {
  RunScan::Notes notes;
  const auto [start, stop] =
      class_ ? class_->First(place, end) : middle_->First(place, end, *runs_, notes);
  // Asked before anything is written: both at once would be waited for.
  if (start == nullptr) return Answer::kNoMatch;
  match = {start, stop};
  return Answer::kMatch;
}

/// Tries `place` and the ones after it that `next` gives.
template <typename Next>
LocatorProgram::Answer LocatorProgram::TryRuns(const Byte* place, const Byte* begin,
                                               const Byte* end, Next next,
                                               LocatedRange& match) const {
  RunScan::Notes notes;
  for (; place != nullptr; place = place <= end ? next(place) : nullptr) {
    const Byte* const last = runs_->EndOfMatch(place, begin, end, notes);
    if (last != nullptr) {
      match = {place, last};
      return Answer::kMatch;
    }
    place = runs_->NextStart(place, notes);
  }
  return Answer::kNoMatch;
}

/// The first of the words.
LocatorProgram::Answer LocatorProgram::LookForListed(const Byte* begin, const Byte* end,
                                                     LocatedRange& match) const {
  static_assert(kLookedAtText % 64 == 0);
  std::array<std::uint64_t, kLookedAtText / 64> marks;
  std::array<std::uint32_t, kLookedAtText + kWindowsAtOnce> hits;
  const std::size_t size = (static_cast<std::size_t>(end - begin) + 63) / 64 * 64;
  list_->MarkStarts(begin, size, end, marks.data(), hits.data());
  const auto kindAt = [&](const Byte* place) {
    return place < begin || place >= end ? ByteKind::kNewline : graph_->kindOf[*place];
  };
  const auto canEnd = [&](const Byte* stop) {
    return (list_->Stops() & NeighbourBit(kindAt(stop - 1), kindAt(stop))) != 0;
  };
  std::int64_t work = 0;
  for (std::size_t word = 0; word < size / 64; ++word) {
    for (std::uint64_t bits = marks[word]; bits != 0; bits &= bits - 1) {
      const Byte* const place = begin + 64 * word + std::countr_zero(bits);
      if ((list_->Starts() & NeighbourBit(kindAt(place - 1), kindAt(place))) == 0) continue;
      const std::size_t found = list_->LongestAt(place, end, canEnd, work);
      if (found == 0) continue;
      match = {place, place + found};
      return Answer::kMatch;
    }
  }
  return Answer::kNoMatch;
}

LocatorProgram::LocatorProgram(WordScan scan, bool words, const CharSet& wordBytes,
                               std::unique_ptr<const PositionGraph> graph)
    : graph_(graph != nullptr ? std::move(graph) : KindsAlone(scan, wordBytes)),
      words_(words),
      findsMany_(true),
      startsAnywhere_(scan.Starts() == kAnyNeighbours),
      canStart_(MembersOf(scan.FirstBytes())),
      list_(std::move(scan)),
      canDoWithoutList_(graph_->size > 0) {}

struct MatchLocator::Search {
  const Byte* place;
  const Byte* const begin;
  const Byte* const end;
  bool refusesEmpty;
  bool refusesLineEnd = false;
  Match match;
};

MatchLocator::MatchLocator(const LocatorProgram& program)
    : program_(program),
      graph_(*program.graph_),
      credit_(kFirstCredit, kMaxCredit),
      creditPerByte_(kCreditPerByte) {
  if (program.list_) places_ = std::make_unique<WordPlaces>(*program.list_);
  if (program.listLead_) listLead_ = std::make_unique<ListLeadSearch>(*program.listLead_);
}

void MatchLocator::Begin(const Byte* text, std::size_t length, std::int64_t most) {
  const auto bytes = static_cast<std::int64_t>(std::min(length, std::size_t{1} << 50));
  unitsGiven_ = std::min(kSearchUnitsAtLeast + bytes * kSearchUnitsPerByte, most);
  unitsLeft_ = unitsGiven_;
  credit_.ForgiveDebt();
  if (bytes >= kLongText) credit_.Grant(kFirstCredit);
  passed_ = text;
  nextReady_ = readyCount_ = 0;
  runNotes_.Forget();
  runPlaces_.Reset();
  hits_.Reset();
  requiredHits_.Reset();
  required_ = nullptr;
  if (line_ != nullptr) line_->Forget();
  if (places_ != nullptr) places_->Forget();
  if (listLead_ != nullptr) listLead_->Begin(length);
  if (classRuns_ != nullptr) classRuns_->Reset();
  givesUpNextAt_ = nullptr;
  listCredit_ = kFirstCredit + kCreditPerByte * bytes;
  readCredit_ = kReadAgain * bytes;
}

MatchLocator::Match MatchLocator::Find(const Byte* place, const Byte* begin, const Byte* end,
                                       bool refusesEmpty, int after) {
  Search search = {place, begin, end, refusesEmpty, false, {}};
  gaveUpAt_ = nullptr;
  const bool wordMayGoOn = after >= 0 && program_.words_ &&
                           graph_.kindOf[static_cast<std::size_t>(after)] == ByteKind::kLetter;
  if (program_.findsMany_ && !wordMayGoOn) return FindMany(search);
  if (!FindFrom(search)) return {};
  // A word ends before the byte after the text as it really is, unless it is the whole line.
  if (wordMayGoOn && search.match.end == end &&
      KindBefore(search, search.match.start) != ByteKind::kNewline) {
    search.place = search.match.start;
    search.refusesLineEnd = true;
    if (!FindFrom(search)) return {};
  }
  return search.match;
}

/// Finds the first match from the search's place on. Returns false where there is none, or where it gives
/// up.
bool MatchLocator::FindFrom(Search& search) {
  if (program_.NeedsNoAutomata() && !search.refusesLineEnd) return FindAlone(search);
  if (places_ != nullptr) {
    const Step step = FindListed(search);
    if (step != Step::kGoOn) return step == Step::kFound;
  }
  if (listLead_ != nullptr) {
    const Step step = FindAroundList(search);
    if (step != Step::kGoOn) return step == Step::kFound;
  }
  for (;;) {
    const bool isOnLine = line_ != nullptr && line_->Covers(search.place, search.refusesLineEnd);
    Step step = isOnLine || credit_.IsSpent() ? FindOnLines(search) : Step::kGoOn;
    if (step == Step::kSpent && !GrantMore()) {
      gaveUpAt_ = search.place;
      return false;
    }
    if (step == Step::kGoOn || step == Step::kSpent) step = FindByAutomata(search);
    if (step == Step::kSpent && TryPlaces()) step = FindByAutomata(search);
    if (step == Step::kNotFound) return false;
    if (step == Step::kFound) {
      PassTo(search.match.end);
      return true;
    }
  }
}

/// Finds the first match where the lead alone tells it. Nothing is kept beside it.
bool MatchLocator::FindAlone(Search& search) {
  const std::size_t count = FindTogether(search, 1);
  nextReady_ = readyCount_ = 0;
  if (count > 0) search.match = ready_[0];
  return count > 0;
}

/// Finds a few matches and hands out the first. Who asks for one only is not kept waiting for more.
MatchLocator::Match MatchLocator::FindMany(const Search& search) {
  const bool goesOn = nextReady_ == readyCount_ && readyCount_ > 0 &&
                      IsReadyFor(search.place, search.begin, search.end);
  if (goesOn && givesUpNextAt_ != nullptr) {
    gaveUpAt_ = givesUpNextAt_;
    return {};
  }
  givesUpNextAt_ = nullptr;
  const std::size_t most = goesOn ? std::min(2 * readyCount_, kMostReady) : 1;
  readyCount_ = FindTogether(search, most);
  if (readyCount_ == 0) return {};
  nextReady_ = 1;
  readyFrom_ = ready_[0].end;
  readyBegin_ = search.begin;
  readyEnd_ = search.end;
  return ready_[0];
}

/// Finds up to `most` matches. Returns how many there are.
std::size_t MatchLocator::FindTogether(const Search& search, std::size_t most) {
  if (program_.class_) return FindClassRuns(search, most);
  if (program_.middle_) return FindFromMiddle(search, most);
  if (program_.sieve_ && !program_.filter_) return FindSifted(search, most);
  if (program_.runs_) return FindRuns(search, most);
  if (program_.few_) return FindFewWords(search, most);
  if (program_.ReadsFromLeading() && readCredit_ >= 0) return FindRead(search, most);
  return program_.string_ ? FindStrings(search, most) : FindOneByOne(search, most);
}

std::size_t MatchLocator::FindClassRuns(const Search& search, std::size_t most) {
  if (classRuns_ == nullptr) classRuns_ = std::make_unique<ClassRun::Cursor>();
  std::size_t count = 0;
  program_.class_->ForEach(search.place, search.end, *classRuns_,
                           [&](const Byte* start, const Byte* end) {
                             ready_[count++] = {start, end};
                             return count < most;
                           });
  return count;
}

std::size_t MatchLocator::FindFromMiddle(const Search& search, std::size_t most) {
  std::size_t count = 0;
  program_.middle_->ForEach(search.place, search.begin, search.end, *program_.runs_, runNotes_,
                            hits_, [&](const Byte* start, const Byte* end) {
                              ready_[count++] = {start, end};
                              return count < most;
                            });
  return count;
}

std::size_t MatchLocator::FindStrings(const Search& search, std::size_t most) {
  const StringScan& string = *program_.string_;
  const auto length = static_cast<std::ptrdiff_t>(string.Length());
  std::size_t count = 0;
  const auto take = [&](const Byte* place) -> const Byte* {
    const Byte* const end = place + length;
    if (!program_.isToldBeside_ && !program_.IsStringBetween(place, end, search.begin, search.end))
      return place + 1;
    ready_[count++] = {place, end};
    return count < most ? end : nullptr;
  };
  string.ForEach(search.place, search.begin, search.end, hits_, take);
  return count;
}

std::size_t MatchLocator::FindRuns(const Search& search, std::size_t most) {
  const RunScan& runs = *program_.runs_;
  std::size_t count = 0;
  const auto take = [&](const Byte* place) -> const Byte* {
    const Byte* const end = runs.EndOfMatch(place, search.begin, search.end, runNotes_);
    if (end == nullptr) return runs.NextStart(place, runNotes_);
    ready_[count++] = {place, end};
    return count < most ? end : nullptr;
  };
  if (!program_.filter_) {
    program_.leading_->ForEach(search.place, search.begin, search.end, hits_, take);
    return count;
  }
  for (const Byte* place = search.place; place != nullptr;) {
    place = program_.NextRow(place, search.begin, search.end, runPlaces_);
    if (place != nullptr) place = take(place);
  }
  return count;
}

/// The same where most places are known by what a sieve has seen of them.
std::size_t MatchLocator::FindSifted(const Search& search, std::size_t most) {
  const RunScan& runs = *program_.runs_;
  const RunSieve& sieve = *program_.sieve_;
  const std::ptrdiff_t lead = program_.leading_->Lead();
  std::size_t count = 0;
  const auto take = [&](const Byte* place) -> const Byte* {
    const std::size_t number = hits_.NumberOf(place - lead);
    const std::ptrdiff_t length = number < rowLengths_.size() ? rowLengths_[number] : 0;
    const Byte* end = place - lead + length;
    if (length == 0 || !sieve.Confirms(end, search.end)) {
      end = runs.EndOfMatch(place, search.begin, search.end, runNotes_);
      if (end == nullptr) return runs.NextStart(place, runNotes_);
    }
    ready_[count++] = {place, end};
    return count < most ? end : nullptr;
  };
  const auto sift = [&](HitBatch& batch) { program_.sieve_->Sift(search.end, batch, rowLengths_); };
  program_.leading_->ForEach(search.place, search.begin, search.end, hits_, take, sift);
  return count;
}

std::size_t MatchLocator::FindFewWords(const Search& search, std::size_t most) {
  std::size_t count = 0;
  const auto take = [&](const Byte* place) -> const Byte* {
    const Byte* const end = program_.EndOfWord(place, search.begin, search.end);
    if (end == nullptr) return place + 1;
    ready_[count++] = {place, end};
    return count < most ? end : nullptr;
  };
  program_.leading_->ForEach(search.place, search.begin, search.end, hits_, take);
  return count;
}

/// Reads from the places that the leading bytes lead to. Where much is read in vain, the automata go on.
std::size_t MatchLocator::FindRead(const Search& search, std::size_t most) {
  const MatchReader& reader = *program_.reader_;
  std::size_t count = 0;
  const Byte* rest = nullptr;
  const auto take = [&](const Byte* place) -> const Byte* {
    const MatchReader::Reading reading = reader.Read(place, search.end, KindBefore(search, place));
    const Byte* const next = reading.end != nullptr ? reading.end : reading.next;
    readCredit_ -= std::max<std::ptrdiff_t>(reading.readTo - next, 0) +
                   std::max<std::ptrdiff_t>(reading.readTo - place - kLongReading, 0);
    if (reading.end != nullptr) ready_[count++] = {place, reading.end};
    if (readCredit_ < 0) rest = next;
    return count < most && readCredit_ >= 0 ? next : nullptr;
  };
  program_.leading_->ForEach(search.place, search.begin, search.end, hits_, take);
  if (count > 0 || rest == nullptr) return count;
  return FindOneByOne({rest, search.begin, search.end, false, false, {}}, most);
}

/// Finds matches that lie close together, one after another, by what finds any. Where it gives up after some,
/// that is told after them.
std::size_t MatchLocator::FindOneByOne(const Search& search, std::size_t most) {
  std::size_t count = 0;
  for (const Byte* place = search.place; count < most;) {
    Search next = {place, search.begin, search.end, false, false, {}};
    if (!FindFrom(next)) break;
    ready_[count++] = next.match;
    if (next.match.start - place > kFarMatch) break;
    place = next.match.end;
  }
  if (count > 0) givesUpNextAt_ = std::exchange(gaveUpAt_, nullptr);
  return count;
}

/// Goes from one place where a word may stand to the next. Where that takes too much, the automata go on.
MatchLocator::Step MatchLocator::FindListed(Search& search) {
  const WordScan& list = *program_.list_;
  const auto canEnd = [&](const Byte* end) {
    const ByteKind after = KindAt(search, end);
    if (search.refusesLineEnd && after == ByteKind::kNewline) return false;
    return (list.Stops() & NeighbourBit(graph_.kindOf[end[-1]], after)) != 0;
  };
  std::int64_t work = 0;
  const Byte* place = search.place;
  for (;; ++place) {
    if (listCredit_ < 0 && program_.canDoWithoutList_) break;
    place = places_->Next(place, search.end);
    if (place == nullptr) return Step::kNotFound;
    const Neighbours around = NeighbourBit(KindBefore(search, place), graph_.kindOf[*place]);
    if ((list.Starts() & around) == 0) continue;
    const std::size_t length = list.LongestAt(place, search.end, canEnd, work);
    listCredit_ -= std::exchange(work, 0);
    if (length == 0) continue;
    search.match = {place, place + length};
    return Step::kFound;
  }
  search.place = place;
  return Step::kGoOn;
}

/// The same where the words are part of the pattern.
MatchLocator::Step MatchLocator::FindAroundList(Search& search) {
  ListLeadSearch::Request request = {.place = search.place,
                                     .begin = search.begin,
                                     .end = search.end,
                                     .refusesLineEnd = search.refusesLineEnd};
  switch (listLead_->Find(request)) {
    case ListLeadSearch::Answer::kMatch:
      search.match = {request.matchStart, request.matchEnd};
      return Step::kFound;
    case ListLeadSearch::Answer::kNoMatch:
      return Step::kNotFound;
    case ListLeadSearch::Answer::kUnknown:
      break;
  }
  search.place = request.place;
  return Step::kGoOn;
}

MatchLocator::Step MatchLocator::FindByAutomata(Search& search) {
  if (!forward_) forward_.emplace(graph_, program_.HasScan(), credit_);
  ForwardAutomaton::Run run = {.place = nullptr, .textEnd = search.end, .before = ByteKind::kOther};
  run.refusesLineEnd = search.refusesLineEnd;
  run.startsAtPlace = tryPlaces_;
  for (;;) {
    bool isSpent = false;
    const Byte* const place = NextPlace(search, isSpent);
    if (isSpent) return Step::kSpent;
    if (place == nullptr) return Step::kNotFound;
    run.refusesEmpty = search.refusesEmpty && place == search.place;
    search.refusesEmpty = run.refusesEmpty;
    search.place = place;
    run.place = place;
    run.before = KindBefore(search, place);
    switch (forward_->Go(run)) {
      case ForwardAutomaton::Outcome::kMatch:
        search.match = {run.start, run.end};
        return run.start != nullptr || FindStart(search, place) ? Step::kFound : Step::kSpent;
      case ForwardAutomaton::Outcome::kEndOfText:
        return Step::kNotFound;
      case ForwardAutomaton::Outcome::kSpent:
        return Step::kSpent;
      case ForwardAutomaton::Outcome::kIdle:
        search.place = run.place;
        search.refusesEmpty = false;
        PassTo(run.place);
        if (credit_.IsSpent()) return Step::kSpent;
        break;
    }
  }
}

/// Looks for the start of the match that ends where `search.match` does, from `from` on. Returns false if
/// the credit is spent.
bool MatchLocator::FindStart(Search& search, const Byte* from) {
  const Byte* const end = search.match.end;
  const BackwardAutomaton::Answer start =
      Backward().StartOfMatch({from, KindBefore(search, from), end}, KindAt(search, end));
  if (!start) return false;
  search.match.start = *start;
  return true;
}

/// Whether it is worth a try to ask for matches at one place after the other; there is then new credit.
bool MatchLocator::TryPlaces() {
  if (!program_.leading_ || placesTooCostly_ == kTriesByPlace) return false;
  if (std::exchange(tryPlaces_, true)) {
    tryPlaces_ = ++placesTooCostly_ < kTriesByPlace;
    ChooseCreditPerByte();
    return false;
  }
  ChooseCreditPerByte();
  credit_.ForgiveDebt();
  credit_.Grant(kFirstCredit);
  return true;
}

/// Searches line by line for as long as the credit is spent.
MatchLocator::Step MatchLocator::FindOnLines(Search& search) {
  if (!CanSearchLines()) return Step::kSpent;
  for (;;) {
    if (!line_->Covers(search.place, search.refusesLineEnd)) {
      if (!credit_.IsSpent()) return Step::kGoOn;
      if (!PrepareLine(search)) return Step::kSpent;
    }
    const LineSearch::Match match =
        line_->Find(search.place, KindBefore(search, search.place), search.refusesEmpty);
    if (match.start != nullptr) {
      search.match = {match.start, match.end};
      return Step::kFound;
    }
    const Byte* const lineEnd = line_->LineEnd();
    line_->Forget();
    if (lineEnd == search.end) return Step::kNotFound;
    search.place = lineEnd + 1;
    search.refusesEmpty = false;
    PassTo(search.place);
  }
}

/// Whether lines can be searched as such. Makes what that takes.
bool MatchLocator::CanSearchLines() {
  if (line_ == nullptr && !linesAreTooCostly_) {
    if (!PositionSimulation::IsTooLarge(graph_)) line_ = std::make_unique<LineSearch>(graph_);
    linesAreTooCostly_ = line_ == nullptr || line_->IsTooCostly();
    if (linesAreTooCostly_) line_.reset();
    ChooseCreditPerByte();
  }
  return line_ != nullptr;
}

/// Reads the rest of the line from the next place on from which a match can start; where there is none,
/// the end of the text. Returns false where the line is too long, or the units are at an end.
bool MatchLocator::PrepareLine(Search& search) {
  if (program_.leading_) {
    const Byte* const place = program_.leading_->Find(search.place, search.begin, search.end);
    if (place != search.place) search.refusesEmpty = false;
    search.place = place != nullptr ? place : search.end;
  }
  const Byte* const lineEnd = LineEnd(search.place, search.end);
  unitsLeft_ -= line_->CostOf(static_cast<std::size_t>(lineEnd - search.place));
  return unitsLeft_ >= 0 && line_->Prepare(search.place, lineEnd, KindBefore(search, search.place),
                                           search.refusesLineEnd);
}

/// Lets the automata go on at the cost of what the search may take. Returns false when that is spent too.
bool MatchLocator::GrantMore() {
  const std::int64_t units = credit_.Debt() + kFirstCredit;
  if (unitsLeft_ < units) return false;
  unitsLeft_ -= units;
  credit_.Grant(units);
  return true;
}

/// Notes that the searches have come to `place`, for which there is new credit.
void MatchLocator::PassTo(const Byte* place) {
  if (place <= passed_) return;
  credit_.Grant((place - passed_) * creditPerByte_);
  passed_ = place;
}

/// Where lines can be searched at a low cost, states that never suffice must not cost far more: what is
/// granted for a byte is then no more than a part of what searching it on its line takes.
void MatchLocator::ChooseCreditPerByte() {
  const bool canSearchLines = line_ != nullptr && !tryPlaces_;
  creditPerByte_ =
      canSearchLines ? std::min(kCreditPerByte, line_->StepCost() / 2 + 1) : kCreditPerByte;
}

/// The first place from the search's on from which a match can start; null if there is none.
const Byte* MatchLocator::NextPlace(const Search& search, bool& isSpent) {
  if (program_.leading_) return PlaceByLeadingBytes(search);
  return program_.required_ ? PlaceByRequired(search, isSpent) : search.place;
}

const Byte* MatchLocator::PlaceByLeadingBytes(const Search& search) {
  for (const Byte* place = search.place;;) {
    place = program_.leading_->Find(place, search.begin, search.end, hits_);
    if (place == nullptr || !program_.required_) return place;
    if (NextRequired(search, place) == nullptr) return nullptr;
    if (requiredLine_ <= place) return place;
    place = requiredLine_;
  }
}

const Byte* MatchLocator::PlaceByRequired(const Search& search, bool& isSpent) {
  for (const Byte* place = search.place;;) {
    const Byte* const required = NextRequired(search, place);
    if (required == nullptr) return nullptr;
    const Byte* const end = required + program_.required_->Length();
    const BackwardAutomaton::Answer start =
        Backward().StartOfPrefix({place, KindBefore(search, place), end});
    isSpent = !start || credit_.IsSpent();
    if (isSpent) return nullptr;
    if (*start != nullptr && *start <= required) return *start;
    place = required + 1;
  }
}

/// The first required string from `place` on; null if there is none.
const Byte* MatchLocator::NextRequired(const Search& search, const Byte* place) {
  if (required_ != nullptr && requiredFrom_ <= place && place <= required_) return required_;
  required_ = program_.required_->Find(place, search.end, requiredHits_);
  if (required_ == nullptr) return nullptr;
  requiredFrom_ = place;
  if (program_.leading_) {
    const void* const feed = memrchr(place, '\n', static_cast<std::size_t>(required_ - place));
    requiredLine_ = feed != nullptr ? static_cast<const Byte*>(feed) + 1 : place;
  }
  return required_;
}

/// The kind of the byte before `place`.
ByteKind MatchLocator::KindBefore(const Search& search, const Byte* place) const {
  return place == search.begin ? ByteKind::kNewline : graph_.kindOf[place[-1]];
}

/// The kind of the byte at `place`.
ByteKind MatchLocator::KindAt(const Search& search, const Byte* place) const {
  return place == search.end ? ByteKind::kNewline : graph_.kindOf[*place];
}

BackwardAutomaton& MatchLocator::Backward() {
  if (!backward_) backward_.emplace(graph_, credit_);
  return *backward_;
}

}  // namespace trovex
