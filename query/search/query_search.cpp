#include "query/search/query_search.h"

#include "matcher/limits.h"
#include "query/plain_pattern.h"
#include "query/search/leaf_stream.h"
#include "query/search/near_stream.h"

#include <algorithm>
#include <utility>

namespace trovex {

namespace {

/// A text of plain ASCII that is not longer is searched as it is: the patterns do not need another
/// scan before theirs.
constexpr std::size_t kShortText = 4096;

}  // namespace

QuerySearch::QuerySearch(const SearchPlan& plan) : plan_(plan) {
  streams_.reserve(plan.streams.size());
  for (const PlannedStream& planned : plan.streams)
    MakeStream(planned);
}

void QuerySearch::MakeStream(const PlannedStream& planned) {
  using Kind = PlannedStream::Kind;
  std::vector<ItemStream*> operands;
  for (const std::size_t operand : planned.operands)
    operands.push_back(streams_[operand].get());
  std::unique_ptr<ItemStream> stream;
  switch (planned.kind) {
    case Kind::kPattern: {
      auto pattern = std::make_unique<PatternStream>(context_, planned);
      if (plan_.streams.size() == 1) alone_ = &pattern->Search();
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

void QuerySearch::Begin(TextView text, const SearchOptions& options) {
  const bool isUtf8 = options.encoding == Encoding::kUtf8;
  context_.blocks.Begin(text, isUtf8 ? TextBlocks::Reading::kUtf8 : TextBlocks::Reading::kPlain,
                        plan_.substitute);
  context_.tagLists.Reset();
  context_.wantsTags = options.tags && options.mostItems > 0;
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

Verdict QuerySearch::Run(TextView text, const SearchOptions& options, Visit visit,
                         void* visitContext) {
  context_.gaveUp = false;
  context_.gaveUpAt = 0;
  context_.credit = 0;
  granted_ = 0;
  if (MaySearchAlone(text, options)) return RunAlone(text, options.mostItems, visit, visitContext);
  Begin(text, options);
  ItemStream& query = *streams_.back();
  std::size_t items = 0;
  for (; items < options.mostItems; ++items) {
    if (query.Head() == nullptr || context_.gaveUp) break;
    if (!Deliver(query.Take(), visit, visitContext)) return Verdict::kYes;
  }
  if (context_.gaveUp) return Verdict::kGaveUp;
  if (items > 0) return Verdict::kYes;
  const bool isSatisfied = query.IsSatisfied();
  if (context_.gaveUp) return Verdict::kGaveUp;
  return isSatisfied ? Verdict::kYes : Verdict::kNo;
}

/// Whether the query is one pattern, and the text can be handed to its search as it is. Rows of a
/// table are such texts: what is done beside the search counts there.
bool QuerySearch::MaySearchAlone(TextView text, const SearchOptions& options) const {
  if (alone_ == nullptr || options.tags || options.interrupt != nullptr) return false;
  if (options.encoding == Encoding::kLatin1) return true;
  if (text.size() > kShortText) return false;
  return IsPlainAscii(text) || (plan_.streams.back().isPlain && !MayHoldMarks(text));
}

Verdict QuerySearch::RunAlone(TextView text, std::size_t mostItems, Visit visit,
                              void* visitContext) {
  alone_->Begin(text);
  ByteRange match;
  SearchOutcome outcome = alone_->Next(match);
  for (std::size_t items = 1; outcome == SearchOutcome::kFound; ++items) {
    if (mostItems == 0) return Verdict::kYes;
    Item item;
    item.begin = match.begin;
    item.end = match.end;
    if (!visit(visitContext, item) || items == mostItems) return Verdict::kYes;
    outcome = alone_->Next(match);
    if (outcome == SearchOutcome::kNotFound) return Verdict::kYes;
  }
  if (outcome == SearchOutcome::kNotFound) return Verdict::kNo;
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
