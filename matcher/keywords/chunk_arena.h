// Memory for many small objects that live and die together.
//
// An arena hands out pieces of large chunks, one after the other, and gives everything back at
// once when it goes. Running out of memory is an answer, not an exception: whoever builds on an
// arena reports it in its own words.
//
//   chunk_ --> [ previous | object | object | ...      free      ]
//                   |                         ^next_             ^limit_
//                   v
//              [ previous | object | object | ...                ]

#ifndef TROVEX_MATCHER_KEYWORDS_CHUNK_ARENA_H
#define TROVEX_MATCHER_KEYWORDS_CHUNK_ARENA_H

#include <cstddef>
#include <new>
#include <type_traits>

namespace trovex {

class ChunkArena {
 public:
  /// Every object starts at a multiple of this.
  static constexpr std::size_t kAlignment = 8;

  ChunkArena() = default;
  ~ChunkArena();
  ChunkArena(const ChunkArena&) = delete;
  ChunkArena& operator=(const ChunkArena&) = delete;

  /// `size` bytes of uninitialised memory, or null when there is none. An object of no bytes has an
  /// address, too.
  void* Allocate(std::size_t size);

  /// A new value-initialised `T`, or null. Its destructor will not run.
  template <typename T>
  T* New() {
    static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= kAlignment);
    void* const memory = Allocate(sizeof(T));
    return memory == nullptr ? nullptr : new (memory) T{};
  }

 private:
  struct alignas(kAlignment) Chunk {
    Chunk* previous;
  };

  bool Grow(std::size_t size);

  Chunk* chunk_ = nullptr;
  unsigned char* next_ = nullptr;
  unsigned char* limit_ = nullptr;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_KEYWORDS_CHUNK_ARENA_H
