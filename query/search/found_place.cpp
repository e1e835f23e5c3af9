#include "query/search/found_place.h"

#include <utility>

namespace trovex {

void TagLists::Reset() {
  free_.clear();
  for (std::size_t i = lists_.size(); i > 0; --i) {
    lists_[i - 1].clear();
    free_.push_back(static_cast<TagListNumber>(i - 1));
  }
}

void TagLists::Add(FoundPlace& place, const TagRange& tag) {
  if (place.tags == kNoTags) {
    if (free_.empty()) {
      free_.reserve(lists_.size() + 1);  // so that dropping a list needs no memory
      lists_.emplace_back();
      free_.push_back(static_cast<TagListNumber>(lists_.size() - 1));
    }
    place.tags = free_.back();
    free_.pop_back();
  }
  lists_[place.tags].push_back(tag);
}

void TagLists::Unite(FoundPlace& to, FoundPlace& from) {
  if (to.tags == kNoTags) {
    to.tags = from.tags;
    from.tags = kNoTags;
    return;
  }
  if (from.tags == kNoTags) return;
  if (lists_[to.tags].size() < lists_[from.tags].size()) std::swap(to.tags, from.tags);
  std::vector<TagRange>& all = lists_[to.tags];
  const std::vector<TagRange>& more = lists_[from.tags];
  all.insert(all.end(), more.begin(), more.end());
  Drop(from);
}

void TagLists::Drop(FoundPlace& place) {
  if (place.tags == kNoTags) return;
  lists_[place.tags].clear();
  free_.push_back(place.tags);
  place.tags = kNoTags;
}

}  // namespace trovex
