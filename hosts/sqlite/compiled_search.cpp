#include "hosts/sqlite/compiled_search.h"

#include "hosts/sqlite/options.h"
#include "hosts/sqlite/sentences.h"

#include <algorithm>
#include <utility>

namespace trovex::sqlite {
namespace {

constexpr std::size_t kMostEntries = 32;
constexpr std::size_t kLongestTogether = std::size_t{64} * 1024;

}  // namespace

CompiledSearch::CompiledSearch(Query compiled) : query(std::move(compiled)), searcher(query) {}

SearchCache::Found SearchCache::Find(std::string_view expression, std::string_view options) {
  if (Entry* const entry = Lookup(expression, options)) {
    entry->lastUse = ++uses_;
    return entry->search;
  }
  const auto read = ReadOptions(options);
  if (const auto* const unknown = std::get_if<UnknownOption>(&read))
    return Refusal{SentenceFor(*unknown)};
  auto compiled = Query::Compile(expression, std::get<ExpressionOptions>(read));
  if (const auto* const fault = std::get_if<Fault>(&compiled))
    return Refusal{SentenceFor(*fault, expression)};
  auto search = std::make_shared<CompiledSearch>(std::get<Query>(std::move(compiled)));
  MakeRoomFor(expression.size());
  entries_.push_back({std::string(expression), std::string(options), search, ++uses_});
  length_ += expression.size();
  return search;
}

SearchCache::Entry* SearchCache::Lookup(std::string_view expression, std::string_view options) {
  for (Entry& entry : entries_) {
    if (entry.expression == expression && entry.options == options) return &entry;
  }
  return nullptr;
}

/// Drops what was not used for the longest time. An expression that is longer than all together may be is
/// kept alone.
void SearchCache::MakeRoomFor(std::size_t length) {
  while (!entries_.empty() &&
         (entries_.size() == kMostEntries || length_ + length > kLongestTogether)) {
    const auto oldest = std::min_element(
        entries_.begin(), entries_.end(),
        [](const Entry& left, const Entry& right) { return left.lastUse < right.lastUse; });
    length_ -= oldest->expression.size();
    entries_.erase(oldest);
  }
}

}  // namespace trovex::sqlite
