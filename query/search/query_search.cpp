#include "query/search/query_search.h"

#include "matcher/limits.h"
#include "matcher/tuning.h"
#include "query/search/leaf_stream.h"
#include "query/search/near_stream.h"
#include "query/tuning.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace trovex {

namespace {

/// A text of plain ASCII that is not longer is searched as it is: the patterns do not need another
/// scan before theirs. From 1,024 to 65,536 bytes this takes 0.98 to 1.05 of the time that it takes with that
/// scan (geometric mean of seven queries): less where patterns are found, more where they are rare.
constexpr std::size_t kShortText = 4096;

/// Hands out an item without tags.
bool Show(const ByteRange& range, QuerySearch::Visit visit, void* visitContext) {
  Item item;
  item.begin = range.begin;
  item.end = range.end;
  return visit(visitContext, item);
}

/// Where the line after that of `place` begins; after the last line, no place is before it.
std::size_t NextLine(TextView text, std::size_t place) {
  if (place >= text.size()) return kNowhere;
  const std::size_t next = AfterLineOf(text, place);
  return text[next - 1] == '\n' ? next : kNowhere;
}

/// The lines of a text, a block at a time, on which a pattern can have matches. Where the text must be regular, only the
/// lines of places that a scan for required strings finds: where these stand close together, longer and longer stretches.
class LineStretches {
 public:
  LineStretches(TextView text, const PlannedStream& pattern)
      : text_(text),
        scan_(pattern.utf8->guard.IsNeeded() ? &pattern.scan : nullptr),
        spelled_(pattern.spelled.has_value()) {}

  /// False where there are no more.
  bool Next(ByteRange& range) {
    if (next_ == text_.size()) return false;
    std::size_t begin = next_;
    std::size_t least = begin + kBlockSize - 1;
    if (scan_ != nullptr && scan_->has_value()) {
      const std::size_t candidate = FindCandidate();
      if (candidate == kNowhere) return false;
      begin = next_ + LineStart(text_.subspan(next_), candidate - next_);
      const bool isNear = next_ > 0 && begin - next_ < kShortestStretch;
      stretch_ = std::clamp(isNear ? 2 * stretch_ : stretch_ / 2, kShortestStretch, kBlockSize);
      least = std::max(candidate, begin + stretch_);
    }
    next_ = AfterLineOf(text_, std::min(least, text_.size() - 1));
    range = {begin, next_};
    return true;
  }

 private:
  /// The first place from `next_` on that the scan finds. Of a pattern that is a few strings it does not see the last ones
  /// of a text.
  std::size_t FindCandidate() const {
    const PlaceScan& scan = **scan_;
    const auto reach = static_cast<std::size_t>(scan.Reach());
    const unsigned char* const end = text_.data() + text_.size();
    const bool hasRoom = text_.size() - next_ > reach;
    const unsigned char* const place = hasRoom ? scan.Find(text_.data() + next_, end) : nullptr;
    if (place != nullptr) return static_cast<std::size_t>(place - text_.data());
    if (!spelled_) return kNowhere;
    return std::max(next_, text_.size() - std::min(text_.size(), reach + 1));
  }

  TextView text_;
  const std::optional<PlaceScan>* scan_;
  bool spelled_;
  std::size_t next_ = 0;
  std::size_t stretch_ = 0;
};

/// Of the patterns that a text must have for stream `stream` to be satisfied, the screen that refuses most texts, in UTF-8
/// or not; null if none refuses any.
const TextScreen* BestScreen(const SearchPlan& plan, std::size_t stream, bool isUtf8) {
  using Kind = PlannedStream::Kind;
  const PlannedStream& planned = plan.streams[stream];
  const TextScreen* best = nullptr;
  const auto consider = [&](std::size_t operand) {
    const TextScreen* const screen = BestScreen(plan, operand, isUtf8);
    const bool isBetter = screen != nullptr && (best == nullptr || screen->Rate() < best->Rate());
    if (isBetter) best = screen;
  };
  switch (planned.kind) {
    case Kind::kPattern: {
      const bool isKnown = !isUtf8 || (planned.utf8 && !planned.utf8->guard.IsNeeded());
      const PatternProgram& program = isUtf8 && isKnown ? *planned.utf8->program : *planned.program;
      const LocatorProgram* const locator = isKnown ? program.Locator() : nullptr;
      return locator != nullptr && locator->Screen().IsOfUse() ? &locator->Screen() : nullptr;
    }
    case Kind::kAnd:
      std::for_each(planned.operands.begin(), planned.operands.end(), consider);
      break;
    case Kind::kNear:
      if (!planned.isLeftNegated) consider(planned.operands[0]);
      if (!planned.isRightNegated) consider(planned.operands[1]);
      break;
    case Kind::kStored:
      consider(planned.operands[0]);
      break;
    case Kind::kOr:
    case Kind::kSound:
    case Kind::kNot:
      break;
  }
  return best;
}

}  // namespace

QuerySearch::QuerySearch(const SearchPlan& plan) : plan_(plan) {
  streams_.reserve(plan.streams.size());
  for (const PlannedStream& planned : plan.streams)
    MakeStream(planned);
  if (patterns_.size() == 1) alone_ = patterns_.front().search;
  if (alone_ != nullptr) looked_ = alone_->Looked();
  const std::size_t query = plan.streams.size() - 1;
  screen_ = BestScreen(plan, query, false);
  screenOfUtf8_ = BestScreen(plan, query, true);
}

void QuerySearch::MakeStream(const PlannedStream& planned) {
  using Kind = PlannedStream::Kind;
  patterns_.emplace_back();
  bytes_.emplace_back();
  std::vector<ItemStream*> operands;
  for (const std::size_t operand : planned.operands)
    operands.push_back(streams_[operand].get());
  std::unique_ptr<ItemStream> stream;
  switch (planned.kind) {
    case Kind::kPattern: {
      auto pattern = std::make_unique<PatternStream>(context_, planned);
      patterns_.back().search = &pattern->Search();
      MakeSearchOfBytes(planned);
      stream = std::move(pattern);
      break;
    }
    case Kind::kSound:
      stream = std::make_unique<SoundStream>(context_, planned.soundKey);
      break;
    case Kind::kNot:
      stream = std::make_unique<NotStream>(context_, *operands.front());
      break;
    case Kind::kAnd:
      stream = std::make_unique<MergeStream>(context_, MergeStream::Kind::kAnd, operands);
      break;
    case Kind::kOr:
      stream = std::make_unique<MergeStream>(context_, MergeStream::Kind::kOr, operands);
      break;
    case Kind::kNear:
      stream = std::make_unique<NearStream>(
          context_, NearStream::Operand{operands[0], planned.isLeftNegated},
          NearStream::Operand{operands[1], planned.isRightNegated}, planned.link);
      break;
    case Kind::kStored: {
      auto store = std::make_unique<StoredStream>(context_, *operands.front());
      stored_.push_back(store.get());
      stream = std::move(store);
      break;
    }
  }
  if (!planned.tags.empty()) stream->SetTags(&planned.tags);
  streams_.push_back(std::move(stream));
}

/// The search of the bytes of UTF-8 for the pattern that was made last.
void QuerySearch::MakeSearchOfBytes(const PlannedStream& planned) {
  arePlain_ = arePlain_ && planned.isPlain;
  areOfBytes_ = areOfBytes_ && planned.utf8.has_value();
  if (!planned.utf8.has_value()) return;
  guard_ = guard_.And(planned.utf8->guard);
  if (!planned.isPlain)
    ownBytes_.push_back(std::make_unique<PatternSearch>(*planned.utf8->program));
  bytes_.back() = {planned.isPlain ? patterns_.back().search : ownBytes_.back().get(),
                   &*planned.utf8};
}

void QuerySearch::Begin(TextView text, const SearchOptions& options) {
  const bool isUtf8 = options.encoding == Encoding::kUtf8;
  context_.blocks.Begin(text, isUtf8 ? TextBlocks::Reading::kUtf8 : TextBlocks::Reading::kPlain,
                        plan_.substitute);
  context_.tagLists.Reset();
  context_.skipsLines = options.firstOfLine && alone_ != nullptr;
  context_.wantsPositions = options.mostItems > 0 || plan_.measuresDistances;
  context_.wantsCharacters = plan_.countsCharacters;
  context_.countsWords = plan_.countsWords;
  context_.scansFirst = text.size() > kShortText || (isUtf8 && !IsPlainAscii(text));
  context_.interrupt = options.interrupt;
  context_.interruptContext = options.interruptContext;
  context_.credit = kWorkAtLeast + kWorkPerByte * static_cast<std::int64_t>(text.size());
  context_.askBelow = options.interrupt == nullptr
                          ? 0
                          : std::max<std::int64_t>(0, context_.credit - kWorkBetweenAsks);
  granted_ = context_.credit;
  for (const auto& stream : streams_)
    stream->Begin();
  for (StoredStream* const stored : stored_)
    stored->Fill();
}

/// The screen refuses most short texts, which needs hardly anything: the rest of the search is kept apart from it.
Verdict QuerySearch::Run(TextView text, const SearchOptions& options, Visit visit,
                         void* visitContext) {
  // To a look, a match at no address is no match.
  static constexpr unsigned char kNoBytes[1] = {};
  if (text.data() == nullptr) text = TextView(kNoBytes, 0);
  context_.gaveUp = false;
  context_.gaveUpAt = 0;
  context_.credit = 0;
  granted_ = 0;
  if (text.size() > kLookedAtText || options.interrupt != nullptr)
    return RunInDepth(text, options, visit, visitContext);
  const TextScreen* const screen = options.encoding == Encoding::kLatin1 ? screen_ : screenOfUtf8_;
  const unsigned char* const begin = text.data();
  if (screen != nullptr && screen->Refuses(begin, begin + text.size())) return Verdict::kNo;
  if (looked_ != nullptr && options.encoding == Encoding::kLatin1)
    return RunLooked(text, options, visit, visitContext);
  return RunInDepth(text, options, visit, visitContext);
}

/// Where a query is nothing but a pattern, a look at a short text that the screen lets pass mostly tells all that is
/// asked for.
Verdict QuerySearch::RunLooked(TextView text, const SearchOptions& options, Visit visit,
                               void* visitContext) {
  using Answer = LocatorProgram::Answer;
  LocatedRange match;
  const unsigned char* const begin = text.data();
  const Answer answer = looked_->LookPastScreen(begin, begin + text.size(), match);
  if (answer == Answer::kNoMatch) return Verdict::kNo;
  if (answer == Answer::kUnknown || options.tags)
    return RunInDepth(text, options, visit, visitContext);
  if (options.mostItems > 1) return RunForAll(text, options, visit, visitContext);
  if (options.mostItems > 0) {
    Show({static_cast<std::size_t>(match.start - begin),
          static_cast<std::size_t>(match.end - begin)},
         visit, visitContext);
  }
  return Verdict::kYes;
}

Verdict QuerySearch::RunInDepth(TextView text, const SearchOptions& options, Visit visit,
                                void* visitContext) {
  context_.wantsTags = options.tags && plan_.hasTags && options.mostItems > 0;
  std::size_t passed = 0;
  const bool isAlone = alone_ != nullptr && !context_.wantsTags;
  const bool isOfBytes =
      isAlone && options.encoding == Encoding::kUtf8 && areOfBytes_ && !text.empty();
  const bool mayLook = text.size() <= kLookedAtText && options.interrupt == nullptr;
  const bool looksAtBytes = isOfBytes && mayLook && !guard_.IsNeeded();
  if (isAlone && !looksAtBytes && MaySearchAsItIs(text, options))
    return RunAlone(text, options, visit, visitContext);
  if (isOfBytes && mayLook) {
    const std::optional<Verdict> verdict = LookAtBytes(text, options, visit, visitContext);
    if (verdict.has_value()) return *verdict;
  }
  if (isOfBytes) {
    const std::optional<Verdict> verdict = RunByBlocks(text, options, visit, visitContext, passed);
    if (verdict.has_value()) return *verdict;
  }
  return RunSeveral(text, passed, options, visit, visitContext);
}

/// Where there is more than a pattern: strings are searched for together, or streams find the items. The first
/// `passed` items are known already.
Verdict QuerySearch::RunSeveral(TextView text, std::size_t passed, const SearchOptions& options,
                                Visit visit, void* visitContext) {
  const bool isPlainSearch =
      options.interrupt == nullptr && !context_.wantsTags && !options.firstOfLine;
  bool isUtf8 = false;
  StringSearch* const strings =
      isPlainSearch && alone_ == nullptr ? StringsFor(text, options.encoding, isUtf8) : nullptr;
  if (strings != nullptr) {
    using Answer = StringSearch::Answer;
    const StringSearch::Result result =
        strings->Run(text, isUtf8, options.mostItems, visit, visitContext);
    if (result.answer != Answer::kUnknown)
      return result.answer == Answer::kYes ? Verdict::kYes : Verdict::kNo;
    passed = result.visited;
  } else if (text.size() <= kLookedAtText && plan_.streams.size() <= kFewStreams &&
             MaySearchAsItIs(text, options)) {
    if (!MayBeSatisfied(plan_.streams.size() - 1, text)) return Verdict::kNo;
  }
  Begin(text, options);
  return RunStreams(passed, options, visit, visitContext);
}

/// Has the streams, which have begun with a text, find its items. The first `passed` are known already.
Verdict QuerySearch::RunStreams(std::size_t passed, const SearchOptions& options, Visit visit,
                                void* visitContext) {
  ItemStream& query = *streams_.back();
  std::size_t items = 0;
  std::size_t nextLine = 0;
  while (items < options.mostItems) {
    const FoundPlace* const head = query.Head();
    if (head == nullptr || context_.gaveUp) break;
    if (head->begin < nextLine) {
      query.Skip();
      continue;
    }
    if (options.firstOfLine && !context_.skipsLines)
      nextLine = NextLine(context_.blocks.Whole(), head->begin);
    if (items++ < passed)
      query.Skip();
    else if (!Deliver(query.Take(), visit, visitContext))
      return Verdict::kYes;
  }
  if (context_.gaveUp) return Verdict::kGaveUp;
  if (items > 0) return Verdict::kYes;
  const bool isSatisfied = query.IsSatisfied();
  if (context_.gaveUp) return Verdict::kGaveUp;
  return isSatisfied ? Verdict::kYes : Verdict::kNo;
}

/// Making the tables takes some microseconds, which a search that wants tags has no use for.
StringSearch* QuerySearch::Strings() {
  if (!std::exchange(knowsStrings_, true)) strings_ = StringSearch::Make(plan_, patterns_);
  return strings_.get();
}

/// The same in the bytes of UTF-8.
StringSearch* QuerySearch::StringsOfUtf8() {
  if (!std::exchange(knowsStringsOfUtf8_, true)) stringsOfUtf8_ = StringSearch::Make(plan_, bytes_);
  return stringsOfUtf8_.get();
}

/// Whether the patterns can be looked for in the bytes of `text`. Rows of a table are such texts: what
/// is done beside the search counts there.
bool QuerySearch::MaySearchAsItIs(TextView text, const SearchOptions& options) const {
  if (options.interrupt != nullptr) return false;
  if (options.encoding == Encoding::kLatin1) return true;
  if (text.size() > kShortText) return false;
  return IsPlainAscii(text) || (arePlain_ && !MayHoldMarks(text));
}

/// The search for strings that `text` can be given to, if there is one. Tells whether it is to be measured as UTF-8.
StringSearch* QuerySearch::StringsFor(TextView text, Encoding encoding, bool& isUtf8) {
  if (encoding == Encoding::kLatin1) return Strings();
  // Many characters take long to count again and again.
  const bool isOfBytes = areOfBytes_ && plan_.countsFew;
  if ((!isOfBytes || guard_.IsNeeded()) && IsPlainAscii(text)) return Strings();
  isUtf8 = true;
  StringSearch* const strings = isOfBytes ? StringsOfUtf8() : nullptr;
  return strings != nullptr && guard_.Allows(text) ? strings : nullptr;
}

/// A look at a short text, before anything is begun with: false only where stream `stream` has the
/// verdict no. Most rows of a table lack the first pattern that they must hold.
bool QuerySearch::MayBeSatisfied(std::size_t stream, TextView text) {
  using Kind = PlannedStream::Kind;
  const PlannedStream& planned = plan_.streams[stream];
  const auto mayBe = [&](std::size_t operand) { return MayBeSatisfied(operand, text); };
  switch (planned.kind) {
    case Kind::kPattern: {
      PatternSearch& pattern = *patterns_[stream].search;
      ByteRange match;
      return pattern.First(text, match) != SearchOutcome::kNotFound;
    }
    case Kind::kAnd:
      return std::all_of(planned.operands.begin(), planned.operands.end(), mayBe);
    case Kind::kOr:
      return std::any_of(planned.operands.begin(), planned.operands.end(), mayBe);
    case Kind::kNear:
      return (planned.isLeftNegated || mayBe(planned.operands[0])) &&
             (planned.isRightNegated || mayBe(planned.operands[1]));
    case Kind::kStored:
      return mayBe(planned.operands[0]);
    case Kind::kSound:
    case Kind::kNot:
      break;
  }
  return true;
}

Verdict QuerySearch::RunAlone(TextView text, const SearchOptions& options, Visit visit,
                              void* visitContext) {
  PatternSearch& alone = *alone_;
  ByteRange match;
  if (options.mostItems <= 1 || text.size() <= kLookedAtText) {
    // Most short texts have no match, and of others often no more than the first is wanted.
    const SearchOutcome first = alone.First(text, match);
    if (first == SearchOutcome::kNotFound) return Verdict::kNo;
    if (options.mostItems <= 1 && first == SearchOutcome::kFound) {
      if (options.mostItems > 0) Show(match, visit, visitContext);
      return Verdict::kYes;
    }
    if (first == SearchOutcome::kGaveUp) return GiveUpAlone();
  }
  return RunForAll(text, options, visit, visitContext);
}

/// The same for more than the first item.
Verdict QuerySearch::RunForAll(TextView text, const SearchOptions& options, Visit visit,
                               void* visitContext) {
  PatternSearch& alone = *alone_;
  alone.Begin(text);
  ByteRange match = alone.Next();
  if (alone.Outcome() == SearchOutcome::kNotFound) return Verdict::kNo;
  for (std::size_t items = 1; alone.Outcome() == SearchOutcome::kFound; ++items) {
    if (!Show(match, visit, visitContext) || items == options.mostItems) return Verdict::kYes;
    if (options.firstOfLine) alone.SkipLine(match);
    match = alone.Next();
    if (alone.Outcome() == SearchOutcome::kNotFound) return Verdict::kYes;
  }
  return GiveUpAlone();
}

/// A look at a short text in UTF-8, which most patterns are not in, and of which often no more than the first item is
/// wanted. Nothing where more has to be done.
std::optional<Verdict> QuerySearch::LookAtBytes(TextView text, const SearchOptions& options,
                                                Visit visit, void* visitContext) {
  const StringSearch::Pattern& pattern = bytes_.back();
  ByteRange match;
  const SearchOutcome first = pattern.search->First(text, match);
  if (first == SearchOutcome::kGaveUp || !guard_.Allows(text)) return std::nullopt;
  if (first == SearchOutcome::kNotFound) return Verdict::kNo;
  const bool isOne = options.mostItems <= 1 && first == SearchOutcome::kFound;
  if (!isOne || pattern.utf8->Judge(text, match) != Utf8Edges::Answer::kMatch) return std::nullopt;
  if (options.mostItems > 0) Show(match, visit, visitContext);
  return Verdict::kYes;
}

/// The same in UTF-8, block by block, in the bytes of each that can be searched so. Nothing where the verdict is left to
/// the streams, after `passed` items that were handed out.
std::optional<Verdict> QuerySearch::RunByBlocks(TextView text, const SearchOptions& options,
                                                Visit visit, void* visitContext,
                                                std::size_t& passed) {
  LineStretches stretches(text, plan_.streams.back());
  for (ByteRange range; stretches.Next(range);) {
    untilAsked_ = 0;
    if (IsInterrupted(options, range.begin)) return Verdict::kGaveUp;
    const BlockEnd end = RunInBytes(text, range, options, visit, visitContext, passed);
    if (end == BlockEnd::kUnknown) return std::nullopt;
    if (end == BlockEnd::kGaveUp) return Verdict::kGaveUp;
    if (end == BlockEnd::kEnough) return Verdict::kYes;
  }
  return passed > 0 ? Verdict::kYes : Verdict::kNo;
}

/// Asks now and then whether to go on with the text at byte `at`, where a place was found.
bool QuerySearch::IsInterrupted(const SearchOptions& options, std::size_t at) {
  if (options.interrupt == nullptr || (untilAsked_ -= kWorkOfPlace) > 0) return false;
  untilAsked_ = kWorkBetweenAsks;
  if (!options.interrupt(options.interruptContext)) return false;
  context_.GiveUp(at);
  return true;
}

/// Searches the bytes of a block, or decodes it where they do not tell.
QuerySearch::BlockEnd QuerySearch::RunInBytes(TextView text, const ByteRange& range,
                                              const SearchOptions& options, Visit visit,
                                              void* visitContext, std::size_t& passed) {
  const StringSearch::Pattern& pattern = bytes_.back();
  PatternSearch& search = *pattern.search;
  const TextView block = text.subspan(range.begin, range.Length());
  const auto decode = [&](std::size_t known) {
    return RunDecoded(text, range, known, options, visit, visitContext, passed);
  };
  if (!pattern.utf8->guard.Allows(block)) return decode(0);
  std::size_t known = 0;
  search.Begin(block);
  ByteRange match = search.Next();
  for (; search.Outcome() == SearchOutcome::kFound; match = search.Next()) {
    if (IsInterrupted(options, range.begin + match.begin)) return BlockEnd::kGaveUp;
    const Utf8Edges::Answer answer = pattern.utf8->Judge(block, match);
    if (answer == Utf8Edges::Answer::kNoMatch) continue;
    if (answer == Utf8Edges::Answer::kOtherLetter) return decode(known);
    if (options.mostItems == 0) return BlockEnd::kEnough;
    ++passed;
    ++known;
    const ByteRange item = {range.begin + match.begin, range.begin + match.end};
    if (!Show(item, visit, visitContext) || passed == options.mostItems) return BlockEnd::kEnough;
    if (options.firstOfLine) search.SkipLine(match);
  }
  return search.Outcome() == SearchOutcome::kGaveUp ? BlockEnd::kUnknown : BlockEnd::kGoOn;
}

/// Decodes a block and searches it. The first `known` of its items were handed out before.
QuerySearch::BlockEnd QuerySearch::RunDecoded(TextView text, const ByteRange& range,
                                              std::size_t known, const SearchOptions& options,
                                              Visit visit, void* visitContext,
                                              std::size_t& passed) {
  PatternSearch& search = *alone_;
  context_.blocks.Begin(text, TextBlocks::Reading::kUtf8, plan_.substitute);
  context_.blocks.OpenLines(decoded_, range);
  search.Begin(decoded_.Text());
  ByteRange match = search.Next();
  for (; search.Outcome() == SearchOutcome::kFound; match = search.Next()) {
    if (IsInterrupted(options, range.begin)) return BlockEnd::kGaveUp;
    if (options.mostItems == 0) return BlockEnd::kEnough;
    if (known > 0) {
      --known;
    } else {
      ++passed;
      const ByteRange item = {decoded_.ByteOf(match.begin), decoded_.ByteOf(match.end)};
      if (!Show(item, visit, visitContext) || passed == options.mostItems) return BlockEnd::kEnough;
    }
    if (options.firstOfLine) search.SkipLine(match);
  }
  return search.Outcome() == SearchOutcome::kGaveUp ? BlockEnd::kUnknown : BlockEnd::kGoOn;
}

Verdict QuerySearch::GiveUpAlone() {
  context_.GiveUp(alone_->GaveUpAt());
  return Verdict::kGaveUp;
}

bool QuerySearch::Deliver(FoundPlace place, Visit visit, void* visitContext) {
  Item item;
  item.begin = place.begin;
  item.end = place.end;
  if (place.tags == kNoTags) return visit(visitContext, item);
  std::vector<TagRange>& tags = context_.tagLists.Of(place);
  context_.Spend(kWorkOfTag * static_cast<std::int64_t>(tags.size()), place.begin);
  std::sort(tags.begin(), tags.end(),
            [](const TagRange& a, const TagRange& b) { return a.tag < b.tag; });
  item.tags = tags.data();
  item.tagCount = tags.size();
  const bool goesOn = visit(visitContext, item);
  context_.tagLists.Drop(place);
  return goesOn;
}

}  // namespace trovex
