// Taking chunks from the C library and giving them back.

#include "matcher/keywords/chunk_arena.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace trovex {

namespace {

/// The size of an ordinary chunk: a memory page less what the C library adds to it.
constexpr std::size_t kChunkSize = 4072;

/// Beyond this, no memory is asked for: sizes computed from it cannot wrap around.
constexpr std::size_t kLargestObject = std::numeric_limits<std::size_t>::max() / 2;

}  // namespace

ChunkArena::~ChunkArena() {
  while (chunk_ != nullptr) {
    Chunk* const previous = chunk_->previous;
    std::free(chunk_);
    chunk_ = previous;
  }
}

void* ChunkArena::Allocate(std::size_t size) {
  if (size > kLargestObject) return nullptr;
  const std::size_t rounded =
      (std::max<std::size_t>(size, 1) + kAlignment - 1) / kAlignment * kAlignment;
  if (static_cast<std::size_t>(limit_ - next_) < rounded && !Grow(rounded)) return nullptr;
  void* const object = next_;
  next_ += rounded;
  return object;
}

/// Opens a new chunk with room for `size` bytes. The rest of the old one stays unused.
bool ChunkArena::Grow(std::size_t size) {
  const std::size_t chunkSize = std::max(kChunkSize, sizeof(Chunk) + size);
  void* const memory = std::malloc(chunkSize);
  if (memory == nullptr) return false;
  chunk_ = new (memory) Chunk{chunk_};
  next_ = static_cast<unsigned char*>(memory) + sizeof(Chunk);
  limit_ = static_cast<unsigned char*>(memory) + chunkSize;
  return true;
}

}  // namespace trovex
