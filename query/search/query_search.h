// The search of one query in one text after another: its streams, and the way from the last of them to
// the items that a host gets.

#ifndef TROVEX_QUERY_SEARCH_QUERY_SEARCH_H
#define TROVEX_QUERY_SEARCH_QUERY_SEARCH_H

#include "matcher/pattern_search.h"
#include "query/plan/search_plan.h"
#include "query/search/item_stream.h"
#include "query/search/search_context.h"
#include "query/search/string_search.h"
#include "text/byte_range.h"

#include <trovex/query.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace trovex {

class QuerySearch {
 public:
  /// Gets the items one after another; false ends the search. The item is valid during the call.
  using Visit = bool (*)(void* context, const Item& item);

  /// `plan` must outlive the search.
  explicit QuerySearch(const SearchPlan& plan);

  /// Searches `text`. With `options.mostItems` 0, `visit` is not called and may be null. What `visit`
  /// throws, and std::bad_alloc, leave; the next search is as good as any.
  Verdict Run(TextView text, const SearchOptions& options, Visit visit, void* visitContext);

  /// Where the latest search gave up; 0 otherwise.
  std::size_t GaveUpAt() const { return context_.gaveUpAt; }

  /// What the streams of the latest search have spent, in units of about a nanosecond; 0 where a lone
  /// pattern had no need of them.
  std::int64_t Work() const { return granted_ - context_.credit; }

 private:
  void MakeStream(const PlannedStream& planned);
  Verdict RunLooked(TextView text, const SearchOptions& options, Visit visit, void* visitContext);
  Verdict RunInDepth(TextView text, const SearchOptions& options, Visit visit, void* visitContext);
  void MakeSearchOfBytes(const PlannedStream& planned);
  bool MaySearchAsItIs(TextView text, const SearchOptions& options) const;
  StringSearch* StringsFor(TextView text, Encoding encoding, bool& isUtf8);
  bool MayBeSatisfied(std::size_t stream, TextView text);
  StringSearch* Strings();
  StringSearch* StringsOfUtf8();
  Verdict RunStreams(std::size_t passed, const SearchOptions& options, Visit visit,
                     void* visitContext);
  Verdict RunAlone(TextView text, const SearchOptions& options, Visit visit, void* visitContext);
  Verdict RunForAll(TextView text, const SearchOptions& options, Visit visit, void* visitContext);
  std::optional<Verdict> LookAtBytes(TextView text, const SearchOptions& options, Visit visit,
                                     void* visitContext);
  /// What is done with a block: the search goes on, ends with the verdict yes, or was interrupted, or it is not known.
  enum class BlockEnd { kGoOn, kEnough, kGaveUp, kUnknown };
  bool IsInterrupted(const SearchOptions& options, std::size_t at);
  std::optional<Verdict> RunByBlocks(TextView text, const SearchOptions& options, Visit visit,
                                     void* visitContext, std::size_t& passed);
  BlockEnd RunInBytes(TextView text, const ByteRange& range, const SearchOptions& options,
                      Visit visit, void* visitContext, std::size_t& passed);
  BlockEnd RunDecoded(TextView text, const ByteRange& range, std::size_t known,
                      const SearchOptions& options, Visit visit, void* visitContext,
                      std::size_t& passed);
  Verdict GiveUpAlone();
  Verdict RunSeveral(TextView text, std::size_t passed, const SearchOptions& options, Visit visit,
                     void* visitContext);
  void Begin(TextView text, const SearchOptions& options);
  bool Deliver(FoundPlace place, Visit visit, void* visitContext);

  const SearchPlan& plan_;
  SearchContext context_;
  std::int64_t granted_ = 0;
  std::vector<std::unique_ptr<ItemStream>> streams_;
  std::vector<StoredStream*> stored_;
  /// The patterns' own searches, by stream; null for other streams.
  std::vector<StringSearch::Pattern> patterns_;
  /// The same in the bytes of UTF-8; null also where these have to be decoded. Some are `ownBytes_`.
  std::vector<StringSearch::Pattern> bytes_;
  std::vector<std::unique_ptr<PatternSearch>> ownBytes_;
  PatternSearch* alone_ = nullptr;  // of a query that is nothing but a pattern
  /// What tells the matches of that pattern in short texts; null if nothing does.
  const LocatorProgram* looked_ = nullptr;
  /// What refuses short texts in Latin-1, and in UTF-8, that cannot satisfy the query; null: nothing does.
  const TextScreen* screen_ = nullptr;
  const TextScreen* screenOfUtf8_ = nullptr;
  /// The search for the query as one of strings, made when it is first wanted; null if it is no such query.
  std::unique_ptr<StringSearch> strings_;
  std::unique_ptr<StringSearch> stringsOfUtf8_;
  bool knowsStrings_ = false;
  bool knowsStringsOfUtf8_ = false;
  /// Whether all patterns can be looked for in the bytes of UTF-8: as they are; or in their forms, which may
  /// ask for a regular text.
  bool arePlain_ = true;
  bool areOfBytes_ = true;
  Utf8Guard guard_;
  OpenBlock decoded_;
  std::int64_t untilAsked_ = 0;
};

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_QUERY_SEARCH_H
