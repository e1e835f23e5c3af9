#include "matcher/automata/state_cache.h"

#include "matcher/limits.h"

#include <algorithm>

namespace trovex {

namespace {

constexpr std::size_t kTableSize = 256;

std::size_t HashOf(const StateCache::State& state) {
  std::uint64_t hash = state.tag;
  for (const std::uint32_t number : state.content) {
    hash = (hash ^ number) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 32;
  }
  return hash;
}

}  // namespace

StateCache::Number StateCache::NumberOf(const State& state) {
  const std::size_t hash = HashOf(state);
  const auto [begin, end] = byHash_.equal_range(hash);
  for (auto entry = begin; entry != end; ++entry) {
    if (At(entry->second) == state) return entry->second;
  }
  if (states_.size() >= kMaxLocatorTables || heldNumbers_ > kMaxLocatorPositions) Clear();

  // Should memory run out on the way, a state that is not listed stays behind, and harms nobody.
  const std::size_t number = states_.size();
  entries_.resize((number + 1) * kTableSize);
  std::fill_n(entries_.end() - kTableSize, kTableSize, kUnknownEntry);
  tags_.resize(number + 1);
  tags_[number] = state.tag;
  states_.push_back(state);
  heldNumbers_ += state.content.size();
  byHash_.emplace(hash, static_cast<Number>(number));
  return static_cast<Number>(number);
}

void StateCache::SetEntry(Number state, unsigned char byte, const ByteMap& classes, Entry entry) {
  Entry* const row = Entries() + RowOf(state);
  for (std::size_t c = 0; c < classes.size(); ++c) {
    if (classes[c] == classes[byte]) row[c] = entry;
  }
}

void StateCache::Clear() {
  states_.clear();
  tags_.clear();
  entries_.clear();
  byHash_.clear();
  heldNumbers_ = 0;
  ++generation_;
}

}  // namespace trovex
