// The second door for C++: thin handles around what query/ makes.

#include "matcher/scan/vector_scan.h"
#include "query/compiled_query.h"
#include "query/search/query_search.h"

#include <trovex/query.h>

#include <cstddef>
#include <utility>

namespace trovex {

Query::Query(std::shared_ptr<const CompiledQuery> compiled) noexcept
    : compiled_(std::move(compiled)) {}
Query::Query(const Query& other) noexcept = default;
Query::Query(Query&& other) noexcept = default;
Query& Query::operator=(const Query& other) noexcept = default;
Query& Query::operator=(Query&& other) noexcept = default;
Query::~Query() = default;

std::variant<Query, Fault> Query::Compile(std::string_view expression,
                                          const ExpressionOptions& options) {
  auto compiled = CompileQuery(expression, options);
  if (const auto* const fault = std::get_if<QueryFault>(&compiled)) {
    return Fault{static_cast<int>(fault->number), std::string(fault->Sentence()),
                 fault->typed.begin, fault->typed.end};
  }
  return Query(std::get<std::shared_ptr<const CompiledQuery>>(std::move(compiled)));
}

std::string_view Query::Expression() const noexcept {
  return compiled_->expression;
}

const ExpressionOptions& Query::Options() const noexcept {
  return compiled_->options;
}

int Query::TagCount() const noexcept {
  return compiled_->tagCount;
}

std::vector<QueryPart> Query::Parts() const {
  return compiled_->parts;
}

std::string Query::Describe() const {
  return compiled_->description;
}

RequiredStrings Query::Required() const {
  return {compiled_->plan.required, compiled_->plan.foldsCase};
}

/// The items of a search and what they need.
class SearcherWork {
 public:
  explicit SearcherWork(std::shared_ptr<const CompiledQuery> query)
      : query_(std::move(query)), search_(query_->plan) {}

  Verdict Run(std::string_view text, const SearchOptions& options, QuerySearch::Visit visit,
              void* context) {
    items_.clear();
    tags_.clear();
    return search_.Run({reinterpret_cast<const unsigned char*>(text.data()), text.size()}, options,
                       visit, context);
  }

  Verdict RunAndKeep(std::string_view text, const SearchOptions& options) {
    const auto keep = [](void* work, const Item& item) {
      static_cast<SearcherWork*>(work)->Keep(item);
      return true;
    };
    try {
      const Verdict verdict = Run(text, options, keep, this);
      PointAtTags();
      return verdict;
    } catch (...) {
      items_.clear();
      throw;
    }
  }

  ItemView Items() const noexcept { return {items_.data(), items_.size()}; }
  std::size_t GaveUpAt() const noexcept { return search_.GaveUpAt(); }

 private:
  void Keep(const Item& item) {
    if (item.tagCount != 0) tags_.insert(tags_.end(), item.tags, item.tags + item.tagCount);
    items_.push_back(item);
  }

  /// The tags lie side by side in the order of their items; now that no more come, they stay there.
  void PointAtTags() {
    if (tags_.empty()) return;
    const TagRange* next = tags_.data();
    for (Item& item : items_) {
      item.tags = item.tagCount == 0 ? nullptr : next;
      next += item.tagCount;
    }
  }

  std::shared_ptr<const CompiledQuery> query_;
  QuerySearch search_;
  std::vector<Item> items_;
  std::vector<TagRange> tags_;
};

Searcher::Searcher(const Query& query) : work_(std::make_unique<SearcherWork>(query.compiled_)) {}
Searcher::Searcher(Searcher&& other) noexcept = default;
Searcher& Searcher::operator=(Searcher&& other) noexcept = default;
Searcher::~Searcher() = default;

Verdict Searcher::Matches(std::string_view text, Encoding encoding) {
  SearchOptions options;
  options.encoding = encoding;
  options.mostItems = 0;
  return work_->Run(text, options, nullptr, nullptr);
}

Verdict Searcher::Search(std::string_view text, const SearchOptions& options) {
  return work_->RunAndKeep(text, options);
}

ItemView Searcher::Items() const noexcept {
  return work_->Items();
}

Verdict Searcher::Stream(std::string_view text, const SearchOptions& options,
                         bool (*visit)(void* context, const Item& item), void* context) {
  return work_->Run(text, options, visit, context);
}

std::size_t Searcher::GaveUpAt() const noexcept {
  return work_->GaveUpAt();
}

LibraryFacts AboutLibrary() noexcept {
  const VectorFacts vectors = VectorsInUse();
  return {TROVEX_VERSION, vectors.instructions, vectors.library};
}

}  // namespace trovex
