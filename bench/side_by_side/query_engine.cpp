// The library through query.h: one searcher, which gives its items one after another.

#include "bench/side_by_side/contestants.h"

#include <trovex/query.h>
#include <stdexcept>
#include <variant>

namespace trovex::bench {

namespace {

class QueryEngine : public PeerEngine<QueryEngine> {
 public:
  QueryEngine(const Query& query, int group) : searcher_(query), group_(group) {
    options_.encoding = Encoding::kLatin1;
    options_.tags = group != 0;
    first_ = options_;
    first_.mostItems = 1;
  }

  template <class Take>
  void ForEachMatch(std::string_view text, Take take) {
    const auto visit = [this, &take](const Item& item) {
      if (group_ == 0) return take(item.begin, item.end);
      const TagRange* const tag = item.Tag(group_);
      return tag == nullptr || take(tag->begin, tag->end);
    };
    if (searcher_.ForEach(text, options_, visit) == Verdict::kGaveUp)
      throw std::runtime_error("query.h gives up");
  }

  bool First(std::string_view text, Range& first) override {
    bool isFound = false;
    searcher_.ForEach(text, first_, [&](const Item& item) {
      const TagRange* const tag = group_ == 0 ? nullptr : item.Tag(group_);
      isFound = group_ == 0 || tag != nullptr;
      if (group_ == 0) first = MakeRange(item.begin, item.end);
      if (tag != nullptr) first = MakeRange(tag->begin, tag->end);
    });
    return isFound;
  }

 private:
  Searcher searcher_;
  SearchOptions options_;
  SearchOptions first_;  // for the first item alone
  int group_;
};

}  // namespace

std::unique_ptr<Engine> MakeQuery(const Row& row) {
  ExpressionOptions options;
  options.words = row.mode == Mode::kWholeWords;
  options.caseSensitive = row.mode != Mode::kFolded;
  options.phonetic = row.mode == Mode::kPhonetic;
  options.encoding = Encoding::kLatin1;
  const auto compiled = Query::Compile(row.expression, options);
  if (const auto* const fault = std::get_if<Fault>(&compiled))
    throw std::runtime_error(fault->sentence);
  return std::make_unique<QueryEngine>(std::get<Query>(compiled), row.group);
}

}  // namespace trovex::bench
